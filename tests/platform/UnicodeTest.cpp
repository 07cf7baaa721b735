#include "platform/Unicode.h"

#include <gtest/gtest.h>
#include <unicode/unistr.h>

#include <random>

#include "platform/CString.h"

namespace {

using platform::Utf16ToUtf8;
using platform::Utf8ToUtf16;

std::u16string Judge(std::string_view utf8) {
  const auto text = icu::UnicodeString::fromUTF8(
      icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
  return {text.getBuffer(), static_cast<size_t>(text.length())};
}

TEST(Unicode, EveryThreeByteTextConvertsAsTheJudgeSays) {
  // The bytes at the edges of every class: each combination of three, with ASCII around.
  const unsigned char edges[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0,
                                 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0,
                                 0xF1, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFC, 0xFE, 0xFF};
  for (const unsigned char a : edges) {
    for (const unsigned char b : edges) {
      for (const unsigned char c : edges) {
        for (const char* tail : {"", "z", "\x80", "\xBFz"}) {
          const unsigned char front[] = {'x', a, b, c};
          const std::string text = std::string(std::begin(front), std::end(front)) + tail;
          const std::u16string wide = Utf8ToUtf16(text);
          ASSERT_EQ(wide, Judge(text)) << testing::PrintToString(text);
          ASSERT_EQ(platform::IsValidUtf8(text), Utf16ToUtf8(wide) == text);
        }
      }
    }
  }
}

TEST(Unicode, RandomTextGoesThereAndBack) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    std::u16string wide;
    for (unsigned i = random() % 60; i > 0; --i) {
      const char16_t unit = static_cast<char16_t>(random() % 3 ? random() % 0x80 : random());
      if ((unit & 0xF800) == 0xD800) {
        wide += static_cast<char16_t>(0xD800 | (unit & 0x3FF));
        wide += static_cast<char16_t>(0xDC00 | random() % 0x400);
      } else {
        wide += unit;
      }
    }
    ASSERT_EQ(Utf8ToUtf16(Utf16ToUtf8(wide)), wide);
  }
}

TEST(Unicode, ALoneSurrogateBecomesAReplacement) {
  for (const std::u16string text : {u"\xD800", u"\xDC00", u"\xDBFF\xD800\xDC00", u"\xDC00\xD800"}) {
    std::string expected;
    icu::UnicodeString(text.data(), static_cast<int32_t>(text.size())).toUTF8String(expected);
    EXPECT_EQ(Utf16ToUtf8(text), expected);
  }
}

TEST(Unicode, UpperCaseIsOneUnitToOneUnit) {
  EXPECT_EQ(platform::UpperUnits(u"straße éÿ ωя \u01C6\xD801\xDC28"),
            u"STRAßE ÉŸ ΩЯ \u01C4\xD801\xDC28");
  EXPECT_TRUE(platform::EqualNoCase(u"Żółć\\TEMP", u"żÓŁĆ\\temp"));
  EXPECT_FALSE(platform::EqualNoCase(u"ss", u"ß"));
  EXPECT_FALSE(platform::EqualNoCase(u"ab", u"abc"));
}

}  // namespace
