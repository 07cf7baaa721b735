#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CharsetPeer.h"
#include "ConversionSupport.h"
#include "charset/Korean.h"

namespace {

const std::string kHeader = "\x1B$)C";

std::string ToKsc(std::string_view text) {
  mail::DataBuffer output;
  (void)mail::Korean().iso2022ToKsc(reinterpret_cast<const unsigned char*>(text.data()),
                                    text.size(), output);
  return std::string(output.view());
}

std::string ToIso2022(std::string_view text) {
  mail::DataBuffer output;
  (void)mail::Korean().kscToIso2022(reinterpret_cast<const unsigned char*>(text.data()),
                                    text.size(), output);
  return std::string(output.view());
}

TEST(Korean, ShiftsChooseTheCharacterSet) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {kHeader + "\x0E"
                 "0!\x0F"
                 "a",
       "\xB0\xA1"
       "a"},
      {"\x0E"
       "0!" +
           kHeader + "0!",
       "\xB0\xA1"
       "0!"},  // the header returns to ASCII
      {"ab" + kHeader + "cd", "abcd"},
      {"\x0E"
       "0!0",
       "\xB0\xA1"},  // a lone byte ends it
      {"\x0E"
       "0!\r\n0\"\x0F"
       "a",
       "\xB0\xA1\r\n\xB0\xA2"
       "a"},
      {"\x1B$)", "\x1B$)"},
      {"", ""},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(ToKsc(text), expected) << text;
}

TEST(Korean, TheHeaderIsWrittenFirstAndShiftsWhereTheyAreNeeded) {
  EXPECT_EQ(ToIso2022("abc"), kHeader + "abc");
  EXPECT_EQ(ToIso2022("a\xB0\xA1\xB0\xA2"
                      "b\r\n\xB0\xA1"),
            kHeader +
                "a\x0E"
                "0!0\"\x0F"
                "b\r\n\x0E"
                "0!");
  EXPECT_EQ(ToIso2022("a\xB0"), kHeader + "a");
}

// Half of the syllables of 949 lie outside KS X 1001. They are written too, less their top bits.
TEST(Korean, SyllablesOutsideTheSmallSetAreWritten) {
  EXPECT_EQ(ToIso2022("\x8D\x8A\x8D\x41"), kHeader + "\x0E\r\n\r\xC1");
  const std::string text = "\x8C\x63\xB0\xE6\xB0\xA2 \x94\xEE";
  const Converted written = Convert(949, 50225, text);
  EXPECT_EQ(written,
            (Converted{kHeader + "\x0E\x0C\xE3\x30\x66\x30\x22\x0F \x0E\x14\x6E", true, false}));
  EXPECT_EQ(Convert(50225, 949, written.bytes), (Converted{text, true, false}));
}

TEST(Korean, ALoneHalfIsLeftOutAndTold) {
  EXPECT_EQ(Convert(949, 50225, "a\xB0"), (Converted{kHeader + "a", true, true}));
  EXPECT_EQ(Convert(50225, 949, "a\x0E\x30"), (Converted{"a", true, true}));
}

TEST(Korean, EveryPairIsThatOfThePageLessItsTopBits) {
  const auto peer = CharsetPeer::Open("icu:windows-949-2000");
  ASSERT_NE(peer, nullptr);
  int mapped = 0;
  for (unsigned high = 0x21; high < 0x7F; ++high) {
    for (unsigned low = 0x21; low < 0x7F; ++low) {
      const std::string pair = {static_cast<char>(high), static_cast<char>(low)};
      const std::string euc = {static_cast<char>(high + 0x80), static_cast<char>(low + 0x80)};
      const std::string text = kHeader + "\x0E" + pair;
      const auto expected = peer->Read(euc);
      const Converted read = Convert(50225, 1200, text);
      ASSERT_EQ(read.hadErrors, !expected) << high << " " << low;
      if (!expected) continue;
      ++mapped;
      ASSERT_EQ(read.bytes, Units(*expected)) << high << " " << low;
      ASSERT_EQ(Convert(1200, 50225, read.bytes).bytes, text) << high << " " << low;
    }
  }
  EXPECT_GT(mapped, 8000);
}

}  // namespace
