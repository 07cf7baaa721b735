#include "body/BodyText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "charset/LibraryNarrow.h"
#include "platform/Unicode.h"
#include "tests/support/TemporaryFolder.h"

namespace {

std::string Text(std::string_view bytes) {
  mail::installLibraryNarrow();
  return BodyText(bytes).ToUtf8();
}

// 16-bit text is what it is, whatever its bytes look like.
TEST(BodyText, SixteenBitTextIsNeverTakenForNarrow) {
  const std::string texts[] = {
      "",
      "a",
      "two words\r\nand a line",
      "你好",  // "`O}Y" byte for byte
      "好的……怠",
      "他说：“明天—来吧……”※€",
      "水水水水水水水水水水水水水水水水水水水水",
      "明日　一緒に",
      "あのね",  // "B0n0m0"
      "ひらがなだけでかいたてがみです",
      "我们明天早上在老地方见面再谈",
      "안녕하세요",
      "Привет",
      "ਹਨ",  // "9\n(\n"
      "ഊഞ്ഞാല്‍",
      "ଡ଼ିଆ",
      "हिन्दी",
      "ગુજરાતી",
      "😀",
  };
  for (const std::string& text : texts) {
    const std::string bytes = test_support::WideBytes(platform::Utf8ToUtf16(text));
    EXPECT_EQ(Text(bytes), text);
    EXPECT_EQ(Text("\xFF\xFE" + bytes), text);
  }
}

TEST(BodyText, NarrowTextIsKnownByItsBytes) {
  const std::pair<std::string, std::string> rows[] = {
      {"odd", "odd"},
      {"Hello Tom,\r\nsee you\r\n", "Hello Tom,\r\nsee you\r\n"},
      {"see you at the station", "see you at the station"},
      {"a\r\n\r\nbc", "a\r\n\r\nbc"},
      {"Thanks", "Thanks"},
      {"OK, fine", "OK, fine"},
      {"https://example.com/a/b", "https://example.com/a/b"},
      {"<div dir=\"ltr\">Thanks!<br></div>", "<div dir=\"ltr\">Thanks!<br></div>"},
      {"<html><body><p>Gr\xFC\xDF"
       "e!</p></body></html>",
       "<html><body><p>Grüße!</p></body></html>"},
      {"Приветы", "Приветы"},
      {"Gr\xFC\xDF"
       "e, bis morgen",
       "Grüße, bis morgen"},
      {"Grüße, bis morgen um 9", "Grüße, bis morgen um 9"},
      {"明日一緒に\r\n行きます\r\n", "明日一緒に\r\n行きます\r\n"},
      {"\xEF\xBB\xBF"
       "ab",
       "ab"},
      {std::string("\xFE\xFF\0a\x20\xAC", 6), "a€"},
      {std::string("a\0b\0c", 5), "ab"},  // cut in its last character
  };
  for (const auto& [bytes, text] : rows) EXPECT_EQ(Text(bytes), text);
}

TEST(BodyText, LinesEndInCrLf) {
  EXPECT_EQ(InLines(u""), u"");
  EXPECT_EQ(InLines(u"a\nb\r\n\n\rc"), u"a\r\nb\r\n\r\n\rc\r\n");
}

}  // namespace
