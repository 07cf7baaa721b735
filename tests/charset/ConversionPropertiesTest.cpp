// What holds for any bytes and any pages: the one-pass loops against plain ones written here, cut
// texts, and round trips.

#include <algorithm>
#include <array>
#include <ctime>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ConversionSupport.h"
#include "charset/CharsetTables.h"
#include "charset/StoredPages.h"

namespace {

constexpr std::array kPairPages = {932U, 936U, 949U, 950U, 1361U, 10001U, 51932U, 51936U, 51949U};

std::vector<unsigned> TablePages() {
  std::vector<unsigned> pages = {38598, 51936, 52936};
  for (const mail::StoredPage& page : mail::storedPages()) pages.push_back(page.nCodePage);
  return pages;
}

std::vector<unsigned> AllPages() {
  std::vector<unsigned> pages = TablePages();
  pages.insert(pages.end(), {kUtf16, 1201, 12000, 12001, 65005, 65006, 65000, kUtf8, 50220, 50221,
                             50222, 50225});
  return pages;
}

// Bytes of three kinds, mixed in stretches: ASCII, high bytes, anything.
std::string RandomText(std::mt19937& random, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    const unsigned kind = random() % 3;
    for (unsigned left = random() % 40; left > 0 && text.size() < size; --left) {
      const unsigned byte = random() % 256;
      text += static_cast<char>(kind == 0 ? byte % 0x5F + 0x20 : kind == 1 ? byte | 0x80 : byte);
    }
  }
  return text;
}

// --- Judges: the same conversions as plain loops, a character at a time. ---

std::string PlainUtf16ToUtf8(std::string_view units) {
  std::string utf8;
  const auto put = [&](unsigned character, unsigned leastMore = 0) {
    const unsigned lead[] = {0x00, 0xC0, 0xE0, 0xF0};
    const unsigned needed = character < 0x80      ? 0
                            : character < 0x800   ? 1
                            : character < 0x10000 ? 2
                                                  : 3;
    const unsigned more = std::max(needed, leastMore);
    if (character == 0) return;
    utf8 += static_cast<char>(lead[more] | character >> 6 * more);
    for (unsigned n = more; n-- > 0;) utf8 += static_cast<char>(0x80 | (character >> 6 * n & 0x3F));
  };
  const std::u16string text = Text(units);
  for (std::size_t n = 0; n < text.size(); ++n) {
    const unsigned first = text[n];
    if (first < 0xD800 || first > 0xDBFF || n + 1 == text.size()) {
      put(first);
      continue;
    }
    const unsigned second = text[++n];
    if (second >= 0xDC00 && second <= 0xDFFF) {
      put(0x10000 + (first - 0xD800) * 0x400 + (second - 0xDC00));
    } else {
      put(first);
      put(second, 2);
    }
  }
  return utf8;
}

// What the page's table has for a code of one byte or two; 0 for nothing.
unsigned UnitOf(unsigned page, unsigned code) {
  const bool pair = code > 0xFF;
  if (!mail::charset_tables::hasPairs(page)) {
    const auto* singles = mail::charset_tables::unicodeLookup(page);
    return pair ? 0 : singles->unit(static_cast<unsigned char>(code));
  }
  const auto* table = mail::charset_tables::toUnicode(page);
  return pair ? table->lookup(static_cast<std::uint16_t>(code))
              : table->single(static_cast<unsigned char>(code));
}

std::string PlainToUtf16(unsigned page, std::string_view bytes) {
  std::u16string units;
  const auto byte = [&](std::size_t n) { return static_cast<unsigned char>(bytes[n]); };
  for (std::size_t n = 0; n < bytes.size(); ++n) {
    const unsigned first = byte(n);
    unsigned unit = 0;
    if (first >= 0x80 && n + 1 < bytes.size()) unit = UnitOf(page, first << 8 | byte(n + 1));
    if (unit != 0) {
      ++n;
    } else {
      unit = UnitOf(page, first);
    }
    if (unit != 0 || first == 0) units += static_cast<char16_t>(unit);
  }
  return Units(units);
}

// Units of UTF-8; sets hadErrors if anything was left out.
std::string PlainUtf8ToUtf16(std::string_view utf8, bool& hadErrors) {
  std::u16string units;
  for (std::size_t n = 0; n < utf8.size();) {
    const unsigned lead = static_cast<unsigned char>(utf8[n]);
    const unsigned more = lead < 0x80 ? 0 : (lead & 0x20) == 0 ? 1 : (lead & 0x10) == 0 ? 2 : 3;
    unsigned character = more == 0 ? lead : lead & (0x3FU >> more);
    bool whole = true;
    ++n;
    for (unsigned left = more; left > 0 && whole; --left) {
      whole = n < utf8.size() && utf8[n] != 0;
      if (n < utf8.size())
        character = character << 6 | (static_cast<unsigned char>(utf8[n++]) & 0x3FU);
    }
    if (!whole || character == 0) {
      hadErrors = true;
    } else if (more == 3) {
      units += static_cast<char16_t>(0xD7C0 + (character >> 10));
      units += static_cast<char16_t>(0xDC00 | (character & 0x3FF));
    } else {
      units += static_cast<char16_t>(character);
    }
  }
  return Units(units);
}

// Text in the main of one script, with characters of others and damage strewn in.
std::string StrewnUtf8(std::mt19937& random, std::size_t size) {
  static const std::vector<std::string> kMain = {"a", "\xD0\x96", "\xE8\xAA\x9E", "\xEA\xB0\x80"};
  static const std::vector<std::string> kStrewn = {
      " ",        "\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", Bytes("\0"),
      "\xC0\x80", "\xC1\x81", "\xE0\x80\x80", "\xED\xA0\x80",     "\xED\xB0\x80",
      "\x80",     "\xD0",     "\xE4",         "\xE4\xBB",         "\xF0\x9F",
      "\xF8",     "\xFF",     "\xEF\xBF\xBF"};
  const std::string& main = kMain[random() % kMain.size()];
  const unsigned rarity = 1U << random() % 8;
  std::string text = "a";  // no mark
  while (text.size() < size) {
    const bool strewn = random() % rarity == 0;
    text += strewn ? kStrewn[random() % kStrewn.size()] : main;
  }
  return text;
}

TEST(ConversionProperties, RunsOfUtf8AreReadAsTheirCharactersAre) {
  std::mt19937 random(3);
  for (int round = 0; round < 4000; ++round) {
    const std::string text = StrewnUtf8(random, round % 100 == 0 ? 40000 : random() % 150);
    bool hadErrors = false;
    const std::string units = PlainUtf8ToUtf16(text, hadErrors);
    EXPECT_EQ(Convert(kUtf8, kUtf16, text), (Converted{units, true, hadErrors}));
    EXPECT_EQ(Convert(kUtf16, kUtf8, units).bytes, PlainUtf16ToUtf8(units));
    for (const unsigned page : {1251U, 949U, 500U}) {
      Converted expected = Convert(kUtf16, page, units);  // has no runs
      if (units.empty()) continue;
      expected.hadErrors = expected.hadErrors || hadErrors;
      EXPECT_EQ(Convert(kUtf8, page, text), expected) << page;
    }
  }
}

TEST(ConversionProperties, OnePassGivesWhatTwoPassesGive) {
  std::mt19937 random(1);
  const std::vector<unsigned> pages = TablePages();
  for (int round = 0; round < 1000; ++round) {
    const unsigned from = pages[random() % pages.size()];
    const unsigned to = pages[random() % pages.size()];
    if (from == to || from == 10004 || (from == 20127 && to >= 1250)) continue;  // their own roads
    const std::string text = RandomText(random, random() % 600);
    const std::string units = PlainToUtf16(from, text);
    EXPECT_EQ(Convert(from, kUtf16, text).bytes, units) << from;
    EXPECT_EQ(Convert(from, kUtf8, text).bytes, PlainUtf16ToUtf8(units)) << from;
    EXPECT_EQ(Convert(from, to, text).bytes, Convert(kUtf16, to, units).bytes) << from << " " << to;
    EXPECT_EQ(Convert(kUtf16, kUtf8, text).bytes, PlainUtf16ToUtf8(text));
    EXPECT_EQ(Convert(kUtf8, to, text).bytes,
              Convert(kUtf16, to, Convert(kUtf8, kUtf16, text).bytes).bytes)
        << to;
  }
}

// The loops look at 16 bytes at a time and work in blocks: a foreign character at every place.
TEST(ConversionProperties, NoPlaceOfACharacterIsSpecial) {
  for (std::size_t size = 1; size < 70; ++size) {
    for (std::size_t at = 0; at < size; ++at) {
      std::string text(size, 'a');
      text[at] = '\0';
      EXPECT_EQ(Convert(1252, kUtf8, text).bytes, std::string(size - 1, 'a'));
      EXPECT_EQ(Convert(kUtf8, kUtf16, text).bytes, Units(std::u16string(size - 1, u'a')));
      text[at] = '\xE4';
      std::string expected(text);
      expected.replace(at, 1, "\xC3\xA4");
      EXPECT_EQ(Convert(1252, kUtf8, text).bytes, expected);
      EXPECT_EQ(Convert(kUtf8, 1252, expected).bytes, text);
      const std::string units = Convert(1252, kUtf16, text).bytes;
      EXPECT_EQ(units, PlainToUtf16(1252, text));
      EXPECT_EQ(Convert(kUtf16, kUtf8, units).bytes, expected);
      EXPECT_EQ(Convert(kUtf16, 1252, units).bytes, text);
      EXPECT_EQ(Convert(kUtf8, kUtf16, expected).bytes, units);
    }
  }
}

TEST(ConversionProperties, BlocksJoinWithoutASeam) {
  constexpr std::size_t kBlock = 32 * 1024;
  for (std::size_t shift = 0; shift < 4; ++shift) {
    std::string sjis(kBlock - 2 + shift, 'a');
    std::string utf8 = sjis;
    sjis += "\x93\xFA\x96\x7B\x93\xFA";
    utf8 += "\xE6\x97\xA5\xE6\x9C\xAC\xE6\x97\xA5";
    EXPECT_EQ(Convert(932, kUtf8, sjis).bytes, utf8);
    EXPECT_EQ(Convert(kUtf8, 932, utf8).bytes, sjis);
    std::u16string text(kBlock / 2 - 2 + shift, u'a');
    text += u"\xD83D\xDE00\xD83D\xDE00";
    const std::string joined =
        std::string(text.size() - 4, 'a') + "\xF0\x9F\x98\x80\xF0\x9F\x98\x80";
    EXPECT_EQ(Convert(kUtf16, kUtf8, Units(text)).bytes, joined);
    EXPECT_EQ(Convert(kUtf8, kUtf16, joined).bytes, Units(text));
    EXPECT_EQ(Convert(50220, 932, Convert(932, 50220, sjis).bytes).bytes, sjis);
  }
}

// --- Hostile bytes. ---

TEST(ConversionProperties, AnyBytesConvertBetweenAnyPagesUnderAnyAction) {
  std::mt19937 random(2);
  const std::vector<unsigned> pages = AllPages();
  for (int round = 0; round < 4000; ++round) {
    const unsigned from = pages[random() % pages.size()];
    const unsigned to = pages[random() % pages.size()];
    const std::string text = RandomText(random, random() % 200);
    mail::EncodingConvert converter;
    converter.m_errorAction = random() % 9;
    converter.m_alternateCodePage = random() % 2 == 0 ? 0 : pages[random() % pages.size()];
    ASSERT_TRUE(converter.setSubstitution("[?]"));
    const Converted converted = Convert(converter, from, to, text);
    // The most that one byte can become: a substitution, or an escape and a pair on either side.
    EXPECT_LE(converted.bytes.size(), 64 * text.size() + 64) << from << " " << to;
    if (converter.m_errorAction == 0 && to == kUtf8 && from != to) {
      EXPECT_EQ(converted.bytes.find('\0'), std::string::npos) << from;
    }
  }
}

TEST(ConversionProperties, EveryPrefixOfASampleConverts) {
  const std::string text =
      "Gr\xC3\xBC\xC3\x9F"
      "e \xD0\x9F\xD1\x80\xD0\xB8 \xE6\x97\xA5\xE6\x9C\xAC\xEA\xB0\x80 "
      "\xF0\x9F\x98\x80 \xEF\xBD\xB6\xEF\xBE\x9E end";
  for (const unsigned page : AllPages()) {
    const std::string sample = Convert(kUtf8, page, text).bytes;
    const std::string whole = Convert(page, kUtf16, sample).bytes;
    for (std::size_t size = 0; size < sample.size(); ++size) {
      const std::string cut = Convert(page, kUtf16, sample.substr(0, size)).bytes;
      // But for the character or the escape that is cut, the text is what it was.
      const std::size_t sure = cut.size() > 8 ? cut.size() - 8 : 0;
      EXPECT_EQ(cut.substr(0, sure), whole.substr(0, sure)) << page << " " << size;
    }
  }
}

// The processor's time for a conversion, the best of three: other programs do not count.
double Seconds(unsigned from, unsigned to, const std::string& text, std::uint32_t action) {
  mail::EncodingConvert converter;
  converter.m_errorAction = action;
  double best = 1e9;
  for (int round = 0; round < 3; ++round) {
    const std::clock_t start = std::clock();
    Convert(converter, from, to, text);
    best = std::min(best, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  }
  return best;
}

// Four times the input in far less than sixteen times the time, for the inputs that look worst.
TEST(ConversionProperties, TimeGrowsWithTheInputAndNotWithItsSquare) {
  const struct {
    unsigned from, to;
    std::string piece;
    std::uint32_t action;
  } kWorst[] = {
      {932, kUtf8, "\xFF", 2},     {kUtf8, 1252, "\xE4\xB8\xAD", 1}, {kUtf8, kUtf16, "\xC0", 2},
      {50220, kUtf8, "\x1B", 0},   {50220, kUtf8, "\x1B$B!", 0},     {932, 50220, "\xB6x", 0},
      {50225, kUtf8, "\x1B$)", 0}, {65000, kUtf8, "+", 0},           {kUtf16, 65000, "+\0a\0", 0},
      {10004, kUtf8, "\xB1", 0},   {kUtf16, kUtf8, "\xFD\xEF", 7},   {950, kUtf8, "\xFF\xFE", 7},
  };
  for (const auto& row : kWorst) {
    std::string text;
    while (text.size() < 100'000) text += row.piece;
    const std::string fourfold = text + text + text + text;
    const double once = Seconds(row.from, row.to, text, row.action);
    EXPECT_LT(Seconds(row.from, row.to, fourfold, row.action), 12 * once + 0.002)
        << row.from << " " << row.to;
  }
}

// --- Round trips. ---

// Codes that are read as a character which is written as another code: "PAGE CODE WRITTEN".
std::map<unsigned, std::map<unsigned, unsigned>> ListedAmbiguities() {
  std::map<unsigned, std::map<unsigned, unsigned>> listed;
  for (const std::string& row : DataRows("ambiguous.txt")) {
    std::istringstream in(row);
    unsigned page = 0, code = 0, written = 0;
    in >> std::dec >> page >> std::hex >> code >> written;
    listed[page][code] = written;
  }
  return listed;
}

// The codes that the page's table reads.
std::vector<unsigned> CodesOf(unsigned page) {
  std::vector<unsigned> codes;
  for (unsigned code = 1; code <= 0xFFFF; ++code) {
    if (UnitOf(page, code) != 0) codes.push_back(code);
  }
  return codes;
}

TEST(ConversionProperties, EveryCodeComesBackButForTheAmbiguousOnes) {
  std::map<unsigned, std::map<unsigned, unsigned>> found;
  for (const unsigned page : TablePages()) {
    const mail::HashConvert* back = mail::charset_tables::fromUnicode(page);
    ASSERT_NE(back, nullptr) << page;
    for (const unsigned code : CodesOf(page)) {
      const auto unit = static_cast<std::uint16_t>(UnitOf(page, code));
      if (back->lookup(unit) != code) found[page][code] = back->lookup(unit);
    }
  }
  EXPECT_EQ(found, ListedAmbiguities());
}

// A text of one mebibyte that holds every unambiguous code of the page, between ASCII.
TEST(ConversionProperties, AMebibyteOfEachEastAsianPageRoundTrips) {
  auto listed = ListedAmbiguities();
  for (const unsigned page : kPairPages) {
    std::vector<unsigned> codes = CodesOf(page);
    std::erase_if(codes, [&](unsigned code) { return listed[page].contains(code); });
    std::string text;
    for (std::size_t n = 0; text.size() < 1024 * 1024; ++n) {
      text += BytesOf(codes[n * 7919 % codes.size()]);
    }
    const Converted utf8 = Convert(page, kUtf8, text);
    EXPECT_TRUE(utf8.result && !utf8.hadErrors) << page;
    EXPECT_TRUE(Convert(kUtf8, page, utf8.bytes) == (Converted{text, true, false})) << page;
    std::printf("%-6u %zu codes round trip, %zu do not\n", page, codes.size(), listed[page].size());
  }
}

}  // namespace
