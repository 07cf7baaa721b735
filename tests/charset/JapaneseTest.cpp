#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CharsetPeer.h"
#include "ConversionSupport.h"
#include "charset/Japanese.h"

namespace {

std::string ToShiftJis(std::string_view text) {
  mail::DataBuffer output;
  mail::LogNull log;
  (void)mail::Japanese().iso2022ToShiftJis(reinterpret_cast<const unsigned char*>(text.data()),
                                           text.size(), output, log);
  return std::string(output.view());
}

std::string ToIso2022(std::string_view text) {
  mail::DataBuffer output;
  mail::LogNull log;
  (void)mail::Japanese().shiftJisToIso2022(reinterpret_cast<const unsigned char*>(text.data()),
                                           text.size(), output, log);
  return std::string(output.view());
}

TEST(Japanese, EscapesChooseTheCharacterSet) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\x1B$B$\"\x1B(Bab",
       "\x82\xA0"
       "ab"},
      {"\x1B$@$\"\x1B(Jab",
       "\x82\xA0"
       "ab"},
      {"\x1B$(B$\"\x1B(B", "\x82\xA0"},  // the long form of the same
      {"\x1B\x1B\x1B$B$\"\x1B\x1B(B!", "\x82\xA0!"},
      {"\x1B(I6^\x1B(Ba",
       "\xB6\xDE"
       "a"},
      {"\x0E"
       "6^\x0F"
       "a",
       "\xB6\xDE"
       "a"},
      {"a\x0F"
       "b",
       "a\x0F"
       "b"},  // SI without an SO before it is a byte
      {"\x1B$B\x0F$\"", "\x0F\x82\xA0"},
      {"\x1B(Hab", "ab"},  // another set of single bytes
      {"\x1B.A"
       "ab",
       "ab"},
      {"\x1B$(D0!0\"\x1B(Bz", "z"},  // JIS X 0212: not in Shift_JIS
      {"a\x1B"
       "b",
       "ab"},
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
  EXPECT_EQ(ToShiftJis(ToIso2022("a\xB6\xDE\xC5\x82\xA0"
                                 "b")),
            "a\x83\x4B\x83\x69\x82\xA0"
            "b");
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
  const auto peer = CharsetPeer::Open("icu:euc-jp-2007");
  ASSERT_NE(peer, nullptr);
  int mapped = 0;
  for (unsigned high = 0x21; high <= 0x7E; ++high) {
    for (unsigned low = 0x21; low <= 0x7E; ++low) {
      const std::string pair = {static_cast<char>(high), static_cast<char>(low)};
      const std::string euc = {static_cast<char>(high + 0x80), static_cast<char>(low + 0x80)};
      const Converted read = Convert(50220, 1200, "\x1B$B" + pair + "\x1B(B");
      const auto expected = peer->Read(euc);
      ASSERT_EQ(read.hadErrors, !expected) << high << " " << low;
      if (!expected) continue;
      ASSERT_EQ(read.bytes, Units(*expected)) << high << " " << low;
      ++mapped;
      const Converted written = Convert(1200, 50220, read.bytes);
      ASSERT_FALSE(written.hadErrors);
      ASSERT_EQ(Convert(50220, 1200, written.bytes).bytes, read.bytes) << high << " " << low;
    }
  }
  EXPECT_GT(mapped, 7000);
}

// Every character of 932 but the user-defined ones, from the code it has there.
TEST(Japanese, EveryShiftJisPairKeepsItsCharacter) {
  for (unsigned lead = 0x81; lead <= 0xFC; ++lead) {
    if (lead >= 0xA0 && lead <= 0xDF) continue;
    for (unsigned trail = 0x40; trail <= 0xFC; ++trail) {
      const std::string pair = {static_cast<char>(lead), static_cast<char>(trail)};
      const std::string character = Convert(932, 1200, pair).bytes;
      if (Convert(932, 1200, pair).hadErrors || character.size() != 2) continue;
      const std::string iso = ToIso2022(pair);
      const bool userDefined = lead >= 0xF0 && lead <= 0xF9;
      ASSERT_EQ(iso.empty(), userDefined) << lead << " " << trail;
      if (!userDefined) {
        ASSERT_EQ(Convert(50220, 1200, iso).bytes, character) << lead << " " << trail;
        for (const unsigned char ch : iso) ASSERT_LT(ch, 0x80);
      }
    }
  }
}

TEST(Japanese, WhatHasNoPlaceInJisIsToldAsAnError) {
  EXPECT_EQ(Convert(932, 50220,
                    "a\xF0\x40"
                    "b"),
            (Converted{"ab", true, true}));
  EXPECT_EQ(Convert(50220, 932, "\x1B$(D0!\x1B(Ba"), (Converted{"a", true, true}));
  EXPECT_EQ(Convert(932, 50220,
                    "a\x80\xA0\xFD"
                    "b"),
            (Converted{"ab", true, true}));
}

}  // namespace
