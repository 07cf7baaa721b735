#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/CkLogger.h"
#include "base/LogNull.h"
#include "charset/UnicodeInfo.h"

namespace {

using mail::UnicodeInfo;

UnicodeInfo Count(std::u16string_view text) {
  UnicodeInfo info;
  info.countScripts(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  return info;
}

int Suggest(std::u16string_view text, std::string_view preferred = "") {
  mail::_ckCharset charset;
  charset.setByCodePage(1252);  // to be replaced
  mail::LogNull log;
  Count(text).SuggestCharset(charset, preferred, log);
  return charset.getCodePage();
}

TEST(UnicodeInfo, EachUnitCountsInTheFirstRangeThatFits) {
  const std::vector<std::pair<char16_t, UnicodeInfo::Script>> cases = {
      {0x007F, UnicodeInfo::kAscii},           {0x0080, UnicodeInfo::kLatin1},
      {0x0100, UnicodeInfo::kCentralEuropean}, {0x0152, UnicodeInfo::kLatin1},
      {0x02C6, UnicodeInfo::kLatin1},          {0x02C7, UnicodeInfo::kCentralEuropean},
      {0x02FF, UnicodeInfo::kCentralEuropean}, {0x0300, UnicodeInfo::kUnknown},
      {0x2122, UnicodeInfo::kLatin1},          {0x2013, UnicodeInfo::kLatin1},
      {0x2015, UnicodeInfo::kUnknown},         {0x203A, UnicodeInfo::kLatin1},
      {0x20AC, UnicodeInfo::kUnknown},         {0x03A9, UnicodeInfo::kGreek},
      {0x0416, UnicodeInfo::kCyrillic},        {0x05D0, UnicodeInfo::kHebrew},
      {0x0627, UnicodeInfo::kArabic},          {0x0E01, UnicodeInfo::kThai},
      {0xAC00, UnicodeInfo::kKorean},          {0x1100, UnicodeInfo::kKorean},
      {0xD7AF, UnicodeInfo::kKorean},          {0xD7B0, UnicodeInfo::kUnknown},
      {0x4E2D, UnicodeInfo::kChinese},         {0x9FB0, UnicodeInfo::kUnknown},
      {0x3400, UnicodeInfo::kChinese},         {0x3042, UnicodeInfo::kJapanese},
      {0x30A2, UnicodeInfo::kJapanese},        {0x3001, UnicodeInfo::kNoScript},
      {0xFF21, UnicodeInfo::kNoScript},        {0x25A0, UnicodeInfo::kNoScript},
      {0x1EA0, UnicodeInfo::kVietnamese},      {0x0915, UnicodeInfo::kDevanagari},
      {0x0FFF, UnicodeInfo::kTibetan},         {0x109F, UnicodeInfo::kMyanmar},
      {0x10A0, UnicodeInfo::kGeorgian},        {0x10FF, UnicodeInfo::kGeorgian},
      {0xD83D, UnicodeInfo::kUnknown},
  };
  for (const auto& [unit, script] : cases) {
    EXPECT_EQ(Count({&unit, 1}).count(script), 1U) << std::hex << unsigned{unit};
  }
  const UnicodeInfo info = Count(u"abä中中");
  EXPECT_EQ(info.total(), 5U);
  EXPECT_EQ(info.count(UnicodeInfo::kChinese), 2U);
}

TEST(UnicodeInfo, TheCharsetFollowsTheScripts) {
  const std::vector<std::pair<std::u16string_view, int>> cases = {
      {u"", 0},
      {u"plain", 0},
      {u"Grüße – “ja”", 28591},
      {u"Łódź", 28592},
      {u"日本語のテキスト", 932},
      {u"한국어 中", 949},
      {u"中文", 936},
      {u"中文 Ω", 936},  // Chinese goes before Greek
      {u"שלום", 28598},
      {u"سلام", 28596},
      {u"Привет", 28595},
      {u"Γειά", 28597},
      {u"ไทย", 874},
      {u"Ω Ж", 65001},
      {u"Жä", 65001},
      {u"Łод", 65001},
      {u"の한", 65001},
      {u"a。", 65001},  // no script at all
      {u"€", 65001},
  };
  for (const auto& [text, page] : cases) EXPECT_EQ(Suggest(text), page) << Count(text).total();
}

TEST(UnicodeInfo, APreferenceServesTheLogAlone) {
  EXPECT_EQ(Suggest(u"plain", "iso-8859-1"), 65001);
  mail::_ckCharset charset;
  mail::_ckLogger log;
  Count(u"Ж").SuggestCharset(charset, "koi8-r", log);
  EXPECT_THAT(log.text(), testing::AllOf(testing::HasSubstr("preferredCharset: koi8-r"),
                                         testing::HasSubstr("preferredCodePage: 20866")));
}

TEST(UnicodeInfo, AVerboseLogTellsTheCounts) {
  mail::_ckCharset charset;
  mail::_ckLogger log;
  log.m_bVerbose = true;
  Count(u"Ж中a").SuggestCharset(charset, "", log);
  EXPECT_THAT(log.text(), testing::AllOf(testing::HasSubstr("NumChinese: 1"),
                                         testing::HasSubstr("NumCyrillic: 1"),
                                         testing::Not(testing::HasSubstr("NumGreek"))));
}

}  // namespace
