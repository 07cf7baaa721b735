#include <array>
#include <regex>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ConversionSupport.h"
#include "base/CkLogger.h"
#include "charset/CharsetTables.h"
#include "platform/NarrowText.h"

namespace {

using mail::EncodingConvert;

// --- Which pages. ---

TEST(Conversion, EqualOrUnnamedPagesCopy) {
  EXPECT_EQ(Convert(65001, 65001, "\xEF\xBB\xBF\xFF"), Clean("\xEF\xBB\xBF\xFF"));
  EXPECT_EQ(Convert(0, 932, "\x81"), Clean("\x81"));
  EXPECT_EQ(Convert(1252, 0, "\x81"), Clean("\x81"));
  EXPECT_EQ(Convert(3, 3, "x"), Clean("x"));
  EXPECT_EQ(Convert(1252, 65001, ""), Clean(""));
}

TEST(Conversion, NumbersOfEncodingsAreNoCharsetsButTheLowestPageIs) {
  EXPECT_EQ(Convert(1, 65001, "x"), (Converted{"", false, false}));
  EXPECT_EQ(Convert(65001, 99, "x"), (Converted{"", false, false}));
  EXPECT_EQ(Convert(65001, 37, "Ab"), Clean("\xC1\x82"));
  EXPECT_EQ(Convert(37, 65001, "\xC1\x82"), Clean("Ab"));
}

TEST(Conversion, PagesWithoutTablesFail) {
  for (const unsigned page : {709U, 10002U, 20000U, 29001U, 50000U, 50229U, 51950U, 54936U, 57002U,
                              65535U, 0xFFFFFFFFU}) {
    for (const unsigned other : {65001U, 1200U, 12000U, 65000U, 50220U}) {
      EXPECT_EQ(Convert(page, other, "x"), Failed()) << page << " " << other;
    }
    EXPECT_EQ(Convert(65001, page, "x"), Failed()) << page;
    EXPECT_EQ(Convert(page, 1201, "x"), WithErrors("")) << page;  // the swap is done all the same
  }
}

TEST(Conversion, AnUnknownNameCountsAsUtf8AndIsLoggedForTheSource) {
  EncodingConvert converter;
  mail::_ckLogger source, target;
  mail::DataBuffer output;
  EXPECT_TRUE(converter.EncConvert("klingon", "windows-1252", "\xC3\xA4", 2, output, source));
  EXPECT_TRUE(converter.EncConvert("windows-1252", "klingon", "\xE4", 1, output, target));
  EXPECT_EQ(output.view(), "\xE4\xC3\xA4");
  EXPECT_THAT(source.text(), testing::AllOf(testing::HasSubstr("Unrecognized fromCharset"),
                                            testing::HasSubstr("klingon")));
  EXPECT_THAT(target.text(), testing::Not(testing::HasSubstr("Unrecognized")));
}

// What the log of a conversion reads without its indentation, a line after another.
std::string LogOf(bool verbose, unsigned from, unsigned to, std::string_view input,
                  std::uint32_t action) {
  mail::_ckLogger log;
  log.m_bVerbose = verbose;
  EncodingConvert converter;
  converter.m_errorAction = action;
  mail::DataBuffer output;
  (void)converter.EncConvert(from, to, input.data(), input.size(), output, log);
  return std::regex_replace(log.text(), std::regex("\r\n *"), "|");
}

// Support people match on these texts: they are the same with either way through the pivot.
TEST(Conversion, TheLogTellsTheWayAndTheFailure) {
  const struct {
    bool verbose;
    unsigned from, to;
    std::string input;
    std::string expected;
  } kCases[] = {
      {false, 1252, 65001, "a",
       "Converting to utf-8 using utf-16 as a pivot table...|convertToUnicodeHC:|"},
      {false, 65001, 1252, "a",
       "Converting from utf-8 using utf-16 as a pivot table...|convertFromUnicodeHC:|"},
      {false, 1251, 1252, "a",
       "Converting by using utf-16 as a pivot table...|convertToUnicodeHC:|convertFromUnicodeHC:|"},
      {false, 10002, 65001, "a",
       "Converting to utf-8 using utf-16 as a pivot table...|convertToUnicodeHC:|"
       "ensureHashToUnicode failed.|"},
      {false, 65001, 10002, "a",
       "Converting from utf-8 using utf-16 as a pivot table...|convertFromUnicodeHC:|"
       "ensureHashFromUnicode failed.|"},
      {false, 65001, 10002, Bytes("\0"),  // not a unit of text, but a page without a table
       "Converting from utf-8 using utf-16 as a pivot table...|convertFromUnicodeHC:|"
       "ensureHashFromUnicode failed.|"},
      {true, 932, 1252, "a\x81",
       "fromCodePage: 932|toCodePage: 1252|convert_a:|"
       "Converting by using utf-16 as a pivot table...|convertToUnicodeHC:|fromCodePage: 932|"
       "inDataLen: 2|imperfect conversion in convertToUnicodeHCVar|convertFromUnicodeHC:|"
       "toCodePage: 1252|inDataLen: 2|isLittleEndian: 1|"},
      {true, 10002, 65001, "a", "ensureHashToUnicode failed.|convertToUnicodeHC failed.|"},
      {true, 65001, 1252, "\xE4\xB8\xAD", "isLittleEndian: 1|convertFromUnicodeHC failed.|"},
      {false, 1200, 65001, Units(u"a"), "convert_a:|converting from utf-16 to utf-8|"},
      {false, 65001, 1200, "a", "convert_a:|converting from utf-8 to utf-16|"},
      {false, 1252, 12000, "a", "converting from utf-8 to utf-32|"},
      {false, 12000, 1200, Bytes("a\0\0\0"),
       "converting from utf-32 to utf-8|converting from utf-8 to utf-16|"},
      {false, 50220, 65001, "a", "EncConvert:|Converting from iso-2022-*|EncConvert:|convert_a:|"},
  };
  for (const auto& row : kCases) {
    for (const std::uint32_t action : {0U, 1U}) {
      const std::string lines = LogOf(row.verbose, row.from, row.to, row.input, action);
      EXPECT_THAT(lines, testing::HasSubstr(row.expected))
          << row.from << " to " << row.to << " action " << action;
    }
  }
}

TEST(Conversion, TheAnsiPageStandsOnEitherSide) {
  const unsigned before = platform::AnsiCodePage();
  platform::SetAnsiCodePage(1251);
  EncodingConvert converter;
  mail::LogNull log;
  mail::DataBuffer output;
  EXPECT_TRUE(converter.EncConvertFromAnsi(65001, "\xC6", 1, output, log));
  EXPECT_TRUE(converter.EncConvertToAnsi(65001, "\xD0\x96", 2, output, log));
  EXPECT_EQ(output.view(), "\xD0\x96\xC6");  // the second behind the first
  platform::SetAnsiCodePage(before);
}

TEST(Conversion, APdfIsNeverTranscoded) {
  const std::string pdf = "%PDF-1.4\n\xE2\xE3\xCF\xD3\x00\x81";
  for (const unsigned from : {1252U, 932U, 1201U, 50220U, 20127U, 3U, 709U}) {
    EXPECT_EQ(Convert(from, 65001, pdf), Clean(pdf)) << from;
  }
  EXPECT_EQ(Convert(1252, 1200, "%PDF-1"), Clean(Units(u"%PDF-1")));  // too short for one
}

// --- Byte order marks. ---

TEST(Conversion, AMarkOfTheSourceIsReadAndNotPassedOn) {
  for (const unsigned page : {1200U, 1201U}) {
    EXPECT_EQ(Convert(page, 65001, Bytes("\xFE\xFF\0X")), Clean("X")) << page;
    EXPECT_EQ(Convert(page, 65001, Bytes("\xFF\xFEX\0")), Clean("X")) << page;
  }
  EXPECT_EQ(Convert(1200, 65001, Bytes("A\0")), Clean("A"));
  EXPECT_EQ(Convert(1201, 65001, Bytes("\0A")), Clean("A"));
  EXPECT_EQ(Convert(65001, 1252, "\xEF\xBB\xBFX"), Clean("X"));
  for (const unsigned page : {12000U, 12001U, 65005U, 65006U}) {
    EXPECT_EQ(Convert(page, 65001, Bytes("\0\0\xFE\xFF\0\0\0A")), Clean("A")) << page;
    EXPECT_EQ(Convert(page, 65001, Bytes("\xFF\xFE\0\0A\0\0\0")), Clean("A")) << page;
  }
  EXPECT_EQ(Convert(1252, 65001, "\xEF\xBB\xBF"), Clean("\xC3\xAF\xC2\xBB\xC2\xBF"));
}

TEST(Conversion, AMarkAloneIsNoText) {
  EXPECT_EQ(Convert(65001, 1252, "\xEF\xBB\xBF"), Clean(""));
  EXPECT_EQ(Convert(65001, 1200, "\xEF\xBB\xBF"), Clean(""));
  EXPECT_EQ(Convert(1200, 65001, "\xFE\xFF"), Clean(""));
  EXPECT_EQ(Convert(1201, 932, "\xFF\xFE"), Clean(""));
  EXPECT_EQ(Convert(12000, 65001, Bytes("\xFF\xFE\0\0")), Clean(""));
}

TEST(Conversion, APreambleFollowsTheTarget) {
  const struct {
    unsigned from, to;
    std::string expected;
  } kCases[] = {
      {1252, 65001, "\xEF\xBB\xBFX"},
      {1252, 1200, Bytes("\xFF\xFEX\0")},
      {1252, 1201, Bytes("\xFE\xFF\0X")},
      {65001, 0, "\xEF\xBB\xBFX"},
      {65001, 1252, "X"},
      {1252, 12000, Bytes("X\0\0\0")},
  };
  for (const auto& row : kCases) {
    EncodingConvert converter;
    mail::LogNull log;
    mail::DataBuffer output;
    output.append("kept ");
    EXPECT_TRUE(converter.EncConvertWithPreamble(row.from, row.to, "X", 1, output, log));
    EXPECT_EQ(output.view(), "kept " + row.expected) << row.to;
  }
}

// --- Lengths and NULs. ---

TEST(Conversion, AnOddByteOfUtf16IsDropped) {
  EXPECT_EQ(Convert(1200, 65001, Bytes("A\0B")), Failed("A"));  // the text is there all the same
  EXPECT_EQ(Convert(1200, 65001, "A"), Failed());
  EXPECT_EQ(Convert(1200, 1252, Bytes("A\0B")), Clean("A"));
  EXPECT_EQ(Convert(1200, 1252, "A"), Failed());
  EXPECT_EQ(Convert(1201, 65001, Bytes("\0AB")), Clean("A"));
  EXPECT_EQ(Convert(1201, 65001, "A"), Clean(""));
  EXPECT_EQ(Convert(1201, 1200, Bytes("\0AB")), Clean(Bytes("A\0")));
  EXPECT_EQ(Convert(1200, 1201, Bytes("A\0B")), Clean(Bytes("\0A")));
  EXPECT_EQ(Convert(1200, 1201, "A"), Clean(""));
}

TEST(Conversion, BytesPastTheLastUtf32ValueAreDropped) {
  EXPECT_EQ(Convert(12000, 65001, Bytes("A\0\0\0BCD")), Clean("A"));
  EXPECT_EQ(Convert(12001, 65001, Bytes("\0\0\0ABCD")), Clean("A"));
  EXPECT_EQ(Convert(12001, 65001, "ABC"), Clean(""));
}

TEST(Conversion, ANulVanishesTowardsUtf8AndStaysTowardsAPage) {
  EXPECT_EQ(Convert(1200, 65001, Bytes("A\0\0\0B\0")), Clean("AB"));
  EXPECT_EQ(Convert(1252, 65001, Bytes("A\0B")), Clean("AB"));
  EXPECT_EQ(Convert(932, 65001, Bytes("A\0B\0")), Clean("AB"));
  EXPECT_EQ(Convert(1200, 1252, Bytes("A\0\0\0B\0")), Clean(Bytes("A\0B")));
  EXPECT_EQ(Convert(1252, 1251, Bytes("A\0B")), Clean(Bytes("A\0B")));
  EXPECT_EQ(Convert(1252, 1200, Bytes("A\0")), Clean(Bytes("A\0\0\0")));
  EXPECT_EQ(Convert(932, 1200, Bytes("A\0")), Clean(Bytes("A\0\0\0")));
  EXPECT_EQ(Convert(500, 1200, Bytes("\xC1\0")), Clean(Bytes("A\0\0\0")));
}

// --- What has no mapping, by default. ---

TEST(Conversion, WhatDoesNotMapVanishesAndTheResultTellsWhichSideLackedIt) {
  EXPECT_EQ(Convert(1252, 65001, "x\x81y"), WithErrors("xy"));
  EXPECT_EQ(Convert(1252, 28591, "x\x81y"), WithErrors("xy"));
  EXPECT_EQ(Convert(1252, 28591, "x\x80y"), Failed("xy"));  // the euro
  EXPECT_EQ(Convert(65001, 28591, "x\xE2\x82\xACy"), Failed("xy"));
  EXPECT_EQ(Convert(1200, 28591, Units(u"a\u20ACb")), Failed("ab"));
  EXPECT_EQ(Convert(1252, 1200, "x\x81y"), WithErrors(Units(u"xy")));
  EXPECT_EQ(Convert(65001, 1252, "\xF0\x9F\x98\x80!"), Failed("!"));
}

TEST(Conversion, ABadLeadByteLosesItselfAlone) {
  EXPECT_EQ(Convert(932, 65001, "\x81\x20X"), WithErrors(" X"));
  EXPECT_EQ(Convert(932, 65001, "\x81\nA"), WithErrors("\nA"));
  EXPECT_EQ(Convert(932, 65001, "A\x81"), WithErrors("A"));
  EXPECT_EQ(Convert(936, 65001, "\x80"), Clean("\xE2\x82\xAC"));  // a single byte among pairs
  EXPECT_EQ(Convert(936, 65001, "\x80X\x80"), Clean("\xE2\x82\xACX\xE2\x82\xAC"));
  EXPECT_EQ(Convert(932, 65001, "\xB6"), Clean("\xEF\xBD\xB6"));
  // The escapes of HZ are text as any other.
  EXPECT_EQ(Convert(52936, 65001, "~{VPND~}\xD6\xD0"), Clean("~{VPND~}\xE4\xB8\xAD"));
}

// --- The actions. ---

TEST(Conversion, EachActionPutsItsOwnInPlace) {
  const std::string sub = "[not in this charset]";
  const struct {
    unsigned action, from, to;
    std::string input;
    Converted expected;
  } kCases[] = {
      // From Unicode: the unit's bytes as they lie in memory.
      {1, 1200, 1252, Units(u"a\u4E2Db"), Failed("a" + sub + "b")},
      {2, 1200, 1252, Units(u"a\u4E2Db"), Failed("a&#x2D4E;b")},
      {6, 1200, 1252, Units(u"x\u0416y"), Failed("x\xC6y")},  // in 1251
      {6, 1200, 1252, Units(u"a\u4E2Db"), Failed("ab")},      // not even there
      {7, 1200, 1252, Units(u"x\u4E2Dy"), Failed("x\x2D\x4Ey")},
      {8, 1200, 1252, Units(u"a\u4E2Db"), Failed("ab")},
      {3, 1200, 1252, Units(u"a\u4E2Db"), Failed("ab")},
      // To Unicode.
      {1, 1252, 1200, "\x81", WithErrors(sub)},
      {2, 1252, 1200, "\x81", WithErrors("&#x81;")},
      {7, 1252, 1200, "\x81", WithErrors("\x81")},
      {8, 1252, 1200, "\x81", WithErrors(Bytes("\x81\0"))},
      // Through the pivot, in either half.
      {1, 1252, 65001, "x\x81y", WithErrors("x" + sub + "y")},
      {2, 1252, 65001, "x\x81y", WithErrors("x&#x81;y")},
      {7, 1252, 65001, "x\x81y", WithErrors("x\x81y")},
      {8, 1252, 65001, "x\x81y", WithErrors("x\xC2\x81y")},
      {1, 1252, 1250, "\x81\xE4\x81", WithErrors(sub + "\xE4" + sub)},
      {2, 1252, 1251, "a\x81\xE4", Failed("a&#x81;&#xE400;")},
      {2, 65001, 1252, "a\xE4\xB8\xAD", Failed("a&#x2D4E;")},
      {7, 65001, 1252, "\xF0\x9F\x98\x80", Failed(Bytes("\x3D\xD8\x00\xDE"))},
      {6, 65001, 28591, "\xD0\x96", Failed("\xC6")},
      // How much is taken along.
      {2, 932, 65001, "\x81\x20X", WithErrors("&#x8120;X")},
      {2, 932, 65001, "A\x81", WithErrors("A&#x81;")},
      {2, 1361, 65001, "\x84\x20X", WithErrors("&#x84; X")},
      {2, 52936, 65001, "\xA1\x20", WithErrors("&#xA1; ")},
      {2, 65001, 1200, "\xE3\x81", WithErrors("&#xE381;")},  // cut: what is left
      // Overlong: one, and its rest is cut.
      {2, 65001, 1200, "\xC0\x80", WithErrors("&#xC0;&#x80;")},
  };
  for (const auto& row : kCases) {
    EncodingConvert converter;
    converter.m_errorAction = row.action;
    converter.m_alternateCodePage = 1251;
    ASSERT_TRUE(converter.setSubstitution(sub));
    EXPECT_EQ(Convert(converter, row.from, row.to, row.input), row.expected)
        << row.action << " " << row.from << " " << row.to;
  }
}

TEST(Conversion, AnAlternatePageOfZeroIsTheTarget) {
  EncodingConvert converter;
  converter.m_errorAction = EncodingConvert::kAlternatePage;
  EXPECT_EQ(Convert(converter, 1200, 1252, Units(u"a\u4E2D")), Failed("a"));
  EXPECT_EQ(Convert(converter, 932, 950, "\x81\x20X"), WithErrors(" X"));
}

TEST(Conversion, ASubstitutionHasALimit) {
  EncodingConvert converter;
  converter.m_errorAction = EncodingConvert::kSubstitute;
  EXPECT_EQ(Convert(converter, 1252, 65001, "a\x81"), WithErrors("a"));  // none is set
  const std::string longest(EncodingConvert::kMaxSubstitution, 'x');
  EXPECT_TRUE(converter.setSubstitution(longest));
  EXPECT_FALSE(converter.setSubstitution(longest + "x"));
  EXPECT_EQ(Convert(converter, 1252, 65001, "a\x81"), WithErrors("a" + longest));
}

// U+EFFD looks like a marker of the pivot, and 950 has it as a user-defined character.
TEST(Conversion, TextThatLooksLikeAMarkerStaysText) {
  const std::string big5 = Convert(1200, 950, Units(u"\uEFFD\u4E2D\uEFFDx")).bytes;
  ASSERT_EQ(big5.size(), 7U);
  EXPECT_EQ(Convert(950, 65001, big5), Clean("\xEE\xBF\xBD\xE4\xB8\xAD\xEE\xBF\xBDx"));
  EncodingConvert converter;
  converter.m_errorAction = EncodingConvert::kHexReference;
  EXPECT_EQ(Convert(converter, 950, 65001, big5), Clean("\xEE\xBF\xBD\xE4\xB8\xAD\xEE\xBF\xBDx"));
}

// --- Surrogates. ---

TEST(Conversion, SurrogatesAreJoinedUnlessToldOtherwise) {
  const std::string pair = Units(u"\xD83D\xDE00!");
  const std::string apart = "\xED\xA0\xBD\xED\xB8\x80!";
  EXPECT_EQ(Convert(1200, 65001, pair), Clean("\xF0\x9F\x98\x80!"));
  EncodingConvert converter;
  converter.m_pairSurrogates = false;
  EXPECT_EQ(Convert(converter, 1200, 65001, pair), Clean(apart));
  mail::g_joinSurrogates = false;
  EXPECT_EQ(Convert(1200, 65001, pair), Clean(apart));
  mail::g_joinSurrogates = true;
  // A lone one takes the next unit with it.
  EXPECT_EQ(Convert(1200, 65001, Units(u"\xD83DX\xDE00")),
            Clean("\xED\xA0\xBD\xE0\x81\x98\xED\xB8\x80"));
  EXPECT_EQ(Convert(1200, 65001, Bytes("\x3D\xD8\0\0X\0")), Clean("\xED\xA0\xBDX"));
  EXPECT_EQ(Convert(1200, 65001, Units(u"\xD83D\xD83D\xDE00")),
            Clean("\xED\xA0\xBD\xED\xA0\xBD\xED\xB8\x80"));
  EXPECT_EQ(Convert(1200, 65001, Units(u"A\xD83D")), Clean("A\xED\xA0\xBD"));
}

// --- UTF-8 as it comes. ---

TEST(Conversion, Utf8IsReadByItsLeadBytesAlone) {
  const auto units = [](std::string_view utf8) { return Convert(65001, 1200, utf8); };
  EXPECT_EQ(units("\xF0\x9F\x98\x80"), Clean(Units(u"\xD83D\xDE00")));
  EXPECT_EQ(units("\xC3\x41"), Clean(Units(u"\u00C1")));      // any byte continues
  EXPECT_EQ(units("\x81\x82"), Clean(Units(u"\u0042")));      // a stray byte leads
  EXPECT_EQ(units("\xED\xA0\xBD"), Clean(Units(u"\xD83D")));  // a surrogate
  EXPECT_EQ(units("\xC0\x81"), Clean(Units(u"\u0001")));      // overlong
  EXPECT_EQ(units("\xC0\x80X"), WithErrors(Units(u"X")));     // comes out as 0
  EXPECT_EQ(units(Bytes("\xE3\x81\0A")), WithErrors(Units(u"A")));
  EXPECT_EQ(units(Bytes("A\0B")), WithErrors(Units(u"AB")));
  for (const std::string_view cut : {"A\xC3", "A\xE3", "A\xE3\x81", "A\xF0\x9F", "A\xF0\x9F\x98"}) {
    EXPECT_EQ(units(cut), WithErrors(Units(u"A"))) << cut;
  }
  // Past the last character, whatever comes out is bounded.
  EXPECT_EQ(units("\xFF\xFF\xFF\xFF").bytes.size(), 4U);
}

// --- The families. ---

TEST(Conversion, Utf32GoesBothWaysInBothOrders) {
  const std::string text = "A\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80";
  const std::string little = Bytes("A\0\0\0\xE4\0\0\0\x2D\x4E\0\0\x00\xF6\x01\0");
  const std::string big = Bytes("\0\0\0A\0\0\0\xE4\0\0\x4E\x2D\0\x01\xF6\0");
  for (const auto& [page, utf32] :
       {std::pair(12000U, little), {12001U, big}, {65005U, little}, {65006U, big}}) {
    EXPECT_EQ(Convert(65001, page, text), Clean(utf32)) << page;
    EXPECT_EQ(Convert(page, 65001, utf32), Clean(text)) << page;
    EXPECT_EQ(Convert(page, 936, utf32), Failed("A\xD6\xD0")) << page;
    EXPECT_EQ(Convert(936, page, "A\xD6\xD0"), Convert(65001, page, "A\xE4\xB8\xAD")) << page;
  }
  EXPECT_EQ(Convert(12000, 12001, little), Clean(big));
  EXPECT_EQ(Convert(12000, 65001, Bytes("\0\0\x11\0A\0\0\0")), WithErrors("A"));
  EXPECT_EQ(Convert(65001, 12000, "\xF7\xBF\xBF\xBFX"), WithErrors(Bytes("X\0\0\0")));
}

TEST(Conversion, Utf7RoundTripsAndReadsDamage) {
  const std::array<std::pair<std::u16string_view, std::string_view>, 7> cases = {{
      {u"Az09'(),-./:? \t\r\n", "Az09'(),-./:? \t\r\n"},
      {u"1 + 1 = 2", "1 +- 1 +AD0- 2"},
      {u"+\u00E4", "+ACsA5A-"},
      {u"\u00E4-", "+AOQ--"},
      {u"\u65E5\u672C\u8A9E", "+ZeVnLIqe-"},
      {u"Hi Mom \u263A!", "Hi Mom +JjoAIQ-"},
      {u"\xD83D\xDE00", "+2D3eAA-"},
  }};
  for (const auto& [text, utf7] : cases) {
    EXPECT_EQ(Convert(1200, 65000, Units(text)), Clean(std::string(utf7)));
    EXPECT_EQ(Convert(65000, 1200, utf7), Clean(Units(text)));
  }
  EXPECT_EQ(Convert(1200, 65000, Units(u"\uFEFFA")), Clean("A"));
  EXPECT_EQ(Convert(65000, 1200, "+AOQ"), Clean(Units(u"\u00E4")));     // no end
  EXPECT_EQ(Convert(65000, 1200, "+AOQ."), Clean(Units(u"\u00E4.")));   // ended by a character
  EXPECT_EQ(Convert(65000, 1200, "+AOR-"), Clean(Units(u"\u00E4")));    // bits left over
  EXPECT_EQ(Convert(65000, 1200, "+.\xE4"), Clean(Units(u".\u00E4")));  // empty; a high byte
  EXPECT_EQ(Convert(65000, 1252, "a +AOQ- +Ti0-"), Failed("a \xE4 "));
  EXPECT_EQ(Convert(1252, 65000, "\xE4"), Clean("+AOQ-"));
}

TEST(Conversion, UsAsciiIsTrustedByItsSupersets) {
  for (const unsigned page : {1250U, 1258U, 28591U, 28605U}) {
    EXPECT_EQ(Convert(20127, page, Bytes("A\0\xE4")), Clean(Bytes("A\0\xE4"))) << page;
  }
  EXPECT_EQ(Convert(20127, 1200, "A\xE4"), WithErrors(Units(u"A")));
  EXPECT_EQ(Convert(20127, 932, "A\xE4"), WithErrors("A"));
  // Towards utf-8 the whole buffer is cleaned.
  EncodingConvert converter;
  mail::LogNull log;
  mail::DataBuffer output;
  output.append(Bytes("x\xC3\xA4\0y"));
  EXPECT_TRUE(converter.EncConvert(20127, 65001, "X\0\xE4Y", 4, output, log));
  EXPECT_EQ(output.view(), "xyXY");
}

TEST(Conversion, ArabicDigitsBecomeAsciiDigitsIn1256) {
  EXPECT_EQ(Convert(1200, 1256, Units(u"\u0660\u0669\u06F0\u06F9")), Clean("0909"));
  EXPECT_EQ(Convert(65001, 1256, "\xD9\xA5"), Clean("5"));
  EXPECT_EQ(Convert(1200, 28596, Units(u"\u0660")), Failed());
}

TEST(Conversion, MacArabicFoldsItsRightToLeftForms) {
  EXPECT_EQ(Convert(10004, 65001, "\xA1"), Clean("!"));            // alone: no run
  EXPECT_EQ(Convert(10004, 65001, "\xB1\xB2\xB3"), Clean("321"));  // a run is turned round
  EXPECT_EQ(Convert(10004, 65001, "\xA8\xA9X\xA8\xA9"), Clean(")(X)("));
  EXPECT_EQ(Convert(10004, 65001, "\xB1\n\xB2"), Clean("1\n2"));
  EXPECT_EQ(Convert(10004, 65001, "\xC7\xAC\xBB\xBF"),
            Clean("\xD8\xA7\xD8\x8C\xD8\x9B\xD8\x9F"));  // letters and their own signs stay
  EXPECT_EQ(Convert(10004, 65001, "\x81"), Clean("\xC2\xA0"));
  EXPECT_EQ(Convert(10004, 1200, "\xDC\xFB"), Clean(Units(u"{\\")));
  EXPECT_EQ(Convert(10004, 10004, "\xB1\xB2"), Clean("\xB1\xB2"));
}

TEST(Conversion, Iso2022GoesByWayOfItsDoubleBytePage) {
  const std::string jis = "\x1B$B$\"\x1B(B!";
  for (const unsigned page : {50220U, 50221U, 50222U}) {
    EXPECT_EQ(Convert(page, 932, jis), Clean("\x82\xA0!")) << page;
    EXPECT_EQ(Convert(page, 65001, jis), Clean("\xE3\x81\x82!")) << page;
    EXPECT_EQ(Convert(932, page, "\x82\xA0!"), Clean(jis)) << page;
    EXPECT_EQ(Convert(65001, page, "\xE3\x81\x82!"), Clean(jis)) << page;
    EXPECT_EQ(Convert(65001, page, "\xC3\xA4!"), Failed("!")) << page;  // the rest is written
    EXPECT_EQ(Convert(page, 65001, "\x1B(B"), Clean("")) << page;
  }
  EXPECT_EQ(Convert(50220, 50221, jis), Clean(jis));
  const std::string ksc = "\x1B$)C\x0E\x30!\x0F!";
  EXPECT_EQ(Convert(949, 50225, "\xB0\xA1!"), Clean(ksc));
  EXPECT_EQ(Convert(50225, 949, ksc), Clean("\xB0\xA1!"));
  EXPECT_EQ(Convert(50225, 65001, ksc), Clean("\xEA\xB0\x80!"));
  EXPECT_EQ(Convert(50225, 50220, "\x1B$)C\x0E$!"), Convert(949, 50220, "\xA4\xA1"));
}

// --- Tables in use by many threads. ---

TEST(Conversion, ThreadsThatRaceForATableGetOne) {
  std::array<const mail::HashConvert*, 8> tables{};
  std::array<const mail::UnicodeLookup*, 8> lookups{};
  {
    std::vector<std::jthread> threads;
    for (std::size_t n = 0; n < tables.size(); ++n) {
      threads.emplace_back([&, n] {
        tables[n] = mail::charset_tables::fromUnicode(949);
        lookups[n] = mail::charset_tables::unicodeLookup(20880);
      });
    }
  }
  EXPECT_THAT(tables, testing::Each(tables[0]));
  EXPECT_THAT(lookups, testing::Each(lookups[0]));
  EXPECT_NE(tables[0], nullptr);
  EXPECT_EQ(tables[0]->lookup(0xAC00), 0xB0A1);
}

}  // namespace
