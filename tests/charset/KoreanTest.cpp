#include <gtest/gtest.h>

#include "CharsetPeer.h"
#include "ConversionSupport.h"

namespace {

constexpr unsigned kKsc = 949;
constexpr unsigned kIso2022 = 50225;
const std::string kHeader = "\x1B$)C";
const std::string kOut = "\x0E";
const std::string kIn = "\x0F";

std::string ToKsc(std::string_view text) { return Convert(kIso2022, kKsc, text).bytes; }
std::string ToIso2022(std::string_view text) { return Convert(kKsc, kIso2022, text).bytes; }

TEST(Korean, ShiftsChooseTheCharacterSet) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {kHeader + kOut + "0!" + kIn + "z", "\xB0\xA1z"},
      {kOut + "0!" + kHeader + "0!", "\xB0\xA1\x30!"},  // the header returns to ASCII
      {"ab" + kHeader + "cd", "abcd"},
      {kOut + "0!0", "\xB0\xA1"},  // a lone byte ends it
      {kOut + "0!\r\n0\"" + kIn + "z", "\xB0\xA1\r\n\xB0\xA2z"},
      {"\x1B$)", "\x1B$)"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(ToKsc(text), expected) << text;
}

TEST(Korean, TheHeaderIsWrittenFirstAndShiftsWhereTheyAreNeeded) {
  EXPECT_EQ(ToIso2022("abc"), kHeader + "abc");
  EXPECT_EQ(ToIso2022("a\xB0\xA1\xB0\xA2z\r\n\xB0\xA1"),
            kHeader + "a" + kOut + "0!0\"" + kIn + "z\r\n" + kOut + "0!");
}

// Half of the syllables of 949 lie outside KS X 1001. They are written too, less their top bits.
TEST(Korean, SyllablesOutsideTheSmallSetAreWritten) {
  EXPECT_EQ(ToIso2022("\x8D\x8A\x8D\x41"), kHeader + kOut + "\r\n\r\xC1");
  const std::string text = "\x8C\x63\xB0\xE6\xB0\xA2 \x94\xEE";
  const std::string written = kHeader + "\x0E\x0C\xE3\x30\x66\x30\x22\x0F \x0E\x14\x6E";
  EXPECT_EQ(Convert(kKsc, kIso2022, text), Clean(written));
  EXPECT_EQ(Convert(kIso2022, kKsc, written), Clean(text));
}

TEST(Korean, ALoneHalfIsLeftOutAndTold) {
  EXPECT_EQ(Convert(kKsc, kIso2022, "a\xB0"), WithErrors(kHeader + "a"));
  EXPECT_EQ(Convert(kIso2022, kKsc, "a\x0E\x30"), WithErrors("a"));
}

TEST(Korean, EveryPairIsThatOfThePageLessItsTopBits) {
  const auto mapped = ReadEveryPair("icu:windows-949-2000", kIso2022, kHeader + kOut, "");
  EXPECT_GT(mapped.size(), 8000U);
  for (const auto& [text, units] : mapped) {
    ASSERT_EQ(Convert(kUtf16, kIso2022, units).bytes, text);
  }
}

}  // namespace
