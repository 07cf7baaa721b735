#include <gtest/gtest.h>

#include "CharsetPeer.h"
#include "ConversionSupport.h"
#include "base/ByteSearch.h"

namespace {

constexpr unsigned kShiftJis = 932;
constexpr unsigned kIso2022 = 50220;
const std::string kOut = "\x0E";
const std::string kIn = "\x0F";

std::string ToShiftJis(std::string_view text) { return Convert(kIso2022, kShiftJis, text).bytes; }
std::string ToIso2022(std::string_view text) { return Convert(kShiftJis, kIso2022, text).bytes; }

TEST(Japanese, EscapesChooseTheCharacterSet) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\x1B$B$\"\x1B(Bxy", "\x82\xA0xy"},
      {"\x1B$@$\"\x1B(Jxy", "\x82\xA0xy"},
      {"\x1B$(B$\"\x1B(B", "\x82\xA0"},  // the long form of the same
      {"\x1B\x1B\x1B$B$\"\x1B\x1B(B!", "\x82\xA0!"},
      {"\x1B(I6^\x1B(Bx", "\xB6\xDEx"},
      {kOut + "6^" + kIn + "x", "\xB6\xDEx"},
      {"x\x0Fy", "x\x0Fy"},  // SI without an SO before it is a byte
      {"\x1B$B\x0F$\"", "\x0F\x82\xA0"},
      {"\x1B(Hxy", "xy"},  // another set of single bytes
      {"\x1B.Axy", "xy"},
      {"\x1B$(D0!0\"\x1B(Bz", "z"},  // JIS X 0212: not in Shift_JIS
      {"x\x1By", "xy"},
      {"\x82\xA0", "\x82\xA0"},  // Shift_JIS that strayed in
      {"\x1B$B$\"\x82\xA0$$\x1B(B", "\x82\xA0\x82\xA0\x82\xA2"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(ToShiftJis(text), expected) << text;
}

TEST(Japanese, ALineEndReturnsToAscii) {
  EXPECT_EQ(ToShiftJis("\x1B$B$\"\r\n$\""), "\x82\xA0\r\n$\"");
  EXPECT_EQ(ToShiftJis("\x1B$B$\"\r$\""), "\x82\xA0\r$\"");
  EXPECT_EQ(ToShiftJis("\x1B(I6\n6"), "\xB6\n6");
  EXPECT_EQ(ToIso2022("\x82\xA0\r\n\x82\xA0\n"), "\x1B$B$\"\x1B(B\r\n\x1B$B$\"\x1B(B\n");
}

TEST(Japanese, ACutCharacterIsLeftOut) {
  EXPECT_EQ(ToShiftJis("\x1B$B$\"$"), "\x82\xA0");
  EXPECT_EQ(ToShiftJis("\x1B$B$\n$"), "\n$");
  EXPECT_EQ(ToShiftJis("\x1B$"), "$");
  EXPECT_EQ(ToShiftJis("\x1B"), "");
  EXPECT_EQ(ToIso2022("a\x82"), "a");
  EXPECT_EQ(ToIso2022("\x82\xA0\x82"), "\x1B$B$\"\x1B(B");
  EXPECT_EQ(ToIso2022("\x82\nb"), "\nb");  // what cannot be its trail is a character of its own
}

TEST(Japanese, HalfWidthKatakanaAreWidenedWithTheirMarks) {
  const auto wide = [](const std::string& pair) { return "\x1B$B" + pair + "\x1B(B"; };
  EXPECT_EQ(ToIso2022("\xA1"), wide("\x81\x42"));
  EXPECT_EQ(ToIso2022("\xB1"), wide("\x83\x41"));
  EXPECT_EQ(ToIso2022("\xB6\xDE"), wide("\x83\x4B"));
  EXPECT_EQ(ToIso2022("\xCA\xDE\xCA\xDF"), wide("\x83\x6F\x83\x70"));
  EXPECT_EQ(ToIso2022("\xB3\xDE"), wide("\x83\x94"));
  EXPECT_EQ(ToIso2022("\xB1\xDE"), wide("\x83\x41\x81\x4A"));  // takes no mark
  EXPECT_EQ(ToIso2022("\xB6\xDF"), wide("\x83\x4A\x81\x4B"));
  EXPECT_EQ(ToIso2022("\xB6"), wide("\x83\x4A"));
  // Our own text reads back, as full-width characters.
  EXPECT_EQ(ToShiftJis(ToIso2022("x\xB6\xDE\xC5\x82\xA0y")), "x\x83\x4B\x83\x69\x82\xA0y");
}

// The full-width form that Unicode gives each half-width one (its compatibility mapping), through
// tables that know nothing of this class.
TEST(Japanese, EveryHalfWidthKatakanaHasItsFullWidthForm) {
  const std::u16string full =
      u"。「」、・ヲァィゥェォャュョッーアイウエオカキクケコサシスセソタチツテトナニヌネノハヒフヘ"
      u"ホマミ"
      u"ムメモヤユヨラリルレロワン゛゜";
  ASSERT_EQ(full.size(), 63U);
  for (std::size_t n = 0; n < full.size(); ++n) {
    const std::string half(1, static_cast<char>(0xA1 + n));
    const std::string widened = ToIso2022(half).substr(3, 2);
    EXPECT_EQ(Convert(932, 1200, widened).bytes, Units(full.substr(n, 1))) << n;
  }
}

// Rows 0x21 to 0x7E, the extensions of the makers among them, against another program's EUC-JP,
// whose pairs are those of JIS with the top bits set.
TEST(Japanese, EveryPairReadsAsItsCharacterAndWritesBack) {
  const auto mapped = ReadEveryPair("icu:euc-jp-2007", kIso2022, "\x1B$B", "\x1B(B");
  EXPECT_GT(mapped.size(), 7000U);
  for (const auto& [text, units] : mapped) {
    const Converted written = Convert(kUtf16, kIso2022, units);
    ASSERT_FALSE(written.hadErrors) << text;
    ASSERT_EQ(Convert(kIso2022, kUtf16, written.bytes).bytes, units) << text;
  }
}

// Every character of 932 but the user-defined ones, from the code it has there.
TEST(Japanese, EveryShiftJisPairKeepsItsCharacter) {
  for (unsigned code = 0x8140; code <= 0xFCFC; ++code) {
    const Converted character = Convert(kShiftJis, kUtf16, BytesOf(code));
    if (character.hadErrors || character.bytes.size() != 2) continue;
    const std::string iso = ToIso2022(BytesOf(code));
    const bool userDefined = code >= 0xF000 && code <= 0xF9FF;
    ASSERT_EQ(iso.empty(), userDefined) << std::hex << code;
    ASSERT_TRUE(mail::byte_search::is7bit(iso)) << std::hex << code;
    if (userDefined) continue;
    ASSERT_EQ(Convert(kIso2022, kUtf16, iso).bytes, character.bytes) << std::hex << code;
  }
}

TEST(Japanese, WhatHasNoPlaceInJisIsToldAsAnError) {
  EXPECT_EQ(Convert(kShiftJis, kIso2022, "x\xF0\x40y"), WithErrors("xy"));
  EXPECT_EQ(Convert(kIso2022, kShiftJis, "\x1B$(D0!\x1B(Bx"), WithErrors("x"));
  EXPECT_EQ(Convert(kShiftJis, kIso2022, "x\x80\xA0\xFDy"), WithErrors("xy"));
}

}  // namespace
