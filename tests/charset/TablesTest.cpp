// Every mapping of every page, in both directions, against other programs' tables of the same page.
// tests/data/charset/ says which converters those are (peers.txt) and which differences stay, each
// with its reason (differences.txt). A difference that no row explains fails, and so does a row
// that explains another number of differences than it says.

#include <algorithm>
#include <cstdio>
#include <map>
#include <sstream>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CharsetPeer.h"
#include "ConversionSupport.h"
#include "charset/CharsetTables.h"

namespace {

// A mapping in one direction: codes and units as numbers, kNone where there is no mapping, kText
// for several characters.
constexpr unsigned kNone = 0xFFFFFFFF;
constexpr unsigned kText = 0xFFFFFFFE;

struct Difference {
  char direction;  // '>' to Unicode, '<' from Unicode
  unsigned key;
  unsigned ours;
  unsigned theirs;
};

// One row of differences.txt: `PAGE PEER DIRECTION FIRST-LAST OURS THEIRS COUNT REASON`. OURS and
// THEIRS are a number, "-" for no mapping, "*" for any mapping, "~" for several characters.
struct Row {
  std::string text;
  char direction = 0;
  unsigned first = 0;
  unsigned last = 0;
  std::string ours;
  std::string theirs;
  int count = 0;
  int found = 0;
};

std::string Hex(unsigned number) {
  if (number == kNone) return "-";
  if (number == kText) return "~";
  char text[16];
  std::snprintf(text, sizeof text, number > 0xFF ? "%04X" : "%02X", number);
  return text;
}

bool Fits(const std::string& pattern, unsigned number) {
  if (pattern == "*") return number != kNone && number != kText;
  return pattern == Hex(number) || pattern == "0" + Hex(number) || pattern == "00" + Hex(number);
}

unsigned CodeOfBytes(std::string_view bytes) {
  if (bytes.empty()) return kNone;
  if (bytes.size() > 2) return kText;
  const auto at = [&](std::size_t n) { return static_cast<unsigned char>(bytes[n]); };
  return bytes.size() == 1 ? at(0) : at(0) * 256U + at(1);
}

unsigned UnitOfText(std::u16string_view text) {
  return text.empty() ? kNone : text.size() == 1 ? text[0] : kText;
}

// Our conversion of one code and of one unit, through the whole engine.
unsigned ReadCode(unsigned page, unsigned code) {
  const Converted units = Convert(page, kUtf16, BytesOf(code));
  return units.hadErrors ? kNone : UnitOfText(Text(units.bytes));
}

unsigned WriteUnit(unsigned page, char16_t unit) {
  const Converted bytes = Convert(kUtf16, page, Units({&unit, 1}));
  return bytes.hadErrors ? kNone : CodeOfBytes(bytes.bytes);
}

struct Tally {
  int read = 0;
  int written = 0;
  int same = 0;
  std::vector<Difference> differences;
};

void Note(Tally& tally, char direction, unsigned key, unsigned ours, unsigned theirs) {
  if (ours != theirs) tally.differences.push_back({direction, key, ours, theirs});
  if (ours == kNone) return;
  ++(direction == '>' ? tally.read : tally.written);
  tally.same += ours == theirs ? 1 : 0;
}

bool IsSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// The byte 0 and U+0000 are the same in all pages and stay out of it; so do the marks, which at the
// start of a text are none of its characters.
Tally Compare(unsigned page, CharsetPeer& peer) {
  Tally tally;
  const unsigned last = mail::charset_tables::hasPairs(page) ? 0xFFFF : 0xFF;
  for (unsigned code = 1; code <= last; ++code) {
    unsigned theirs = UnitOfText(peer.Read(BytesOf(code)));
    unsigned ours = ReadCode(page, code);
    if (code > 0xFF && ours == kText && theirs == kText) continue;  // two characters of one byte
    if (code > 0xFF && ours == kText) ours = kNone;
    if (code > 0xFF && theirs == kText) theirs = kNone;
    Note(tally, '>', code, ours, theirs);
  }
  for (unsigned unit = 1; unit <= 0xFFFF; ++unit) {
    if (IsSurrogate(unit) || unit == 0xFEFF || unit == 0xFFFE) continue;
    const auto text = static_cast<char16_t>(unit);
    Note(tally, '<', unit, WriteUnit(page, text), CodeOfBytes(peer.Write({&text, 1})));
  }
  return tally;
}

using Rows = std::map<std::string, std::vector<Row>>;  // by "PAGE PEER"

Rows ReadRows() {
  Rows rows;
  for (const std::string& line : DataRows("differences.txt")) {
    std::istringstream in(line);
    std::string page, peer, range;
    Row row;
    row.text = line;
    in >> page >> peer >> row.direction >> range >> row.ours >> row.theirs >> row.count;
    EXPECT_TRUE(in.good()) << line;
    row.first = static_cast<unsigned>(std::stoul(range, nullptr, 16));
    row.last = static_cast<unsigned>(std::stoul(range.substr(range.find('-') + 1), nullptr, 16));
    rows[page + " " + peer].push_back(row);
  }
  return rows;
}

// Counts each difference on the first row that explains it; returns what no row does.
std::vector<std::string> Explain(const std::string& key, const Tally& tally,
                                 std::vector<Row>& rows) {
  std::vector<std::string> unexplained;
  for (const Difference& difference : tally.differences) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) {
      return row.direction == difference.direction && row.first <= difference.key &&
             row.last >= difference.key && Fits(row.ours, difference.ours) &&
             Fits(row.theirs, difference.theirs);
    });
    if (found != rows.end()) {
      ++found->found;
      continue;
    }
    unexplained.push_back(key + " " + difference.direction + " " + Hex(difference.key) + " " +
                          Hex(difference.ours) + " " + Hex(difference.theirs));
  }
  return unexplained;
}

TEST(Tables, EveryPageAgreesWithItsPeersButForTheListedDifferences) {
  Rows rows = ReadRows();
  std::printf("%-35s %7s %7s %8s %10s\n", "page and peer", "read", "written", "same", "different");
  const char* const dump = std::getenv("TARNY_DUMP_DIFFERENCES");  // a file, to write rows from
  std::ofstream dumped(dump != nullptr ? dump : "/dev/null");
  for (const std::string& line : DataRows("peers.txt")) {
    std::istringstream in(line);
    std::string page, name;
    in >> page;
    const auto number = static_cast<unsigned>(std::stoul(page));
    EXPECT_NE(mail::charset_tables::fromUnicode(number), nullptr) << page;
    if (in.eof()) std::printf("%-35s no peer on this machine\n", page.c_str());
    while (in >> name) {
      const std::string key = page + " " + name;
      std::vector<Row> listed = std::move(rows[key]);
      rows.erase(key);
      const auto peer = CharsetPeer::Open(name);
      if (peer == nullptr) {
        std::printf("%-35s is not on this machine\n", key.c_str());
        continue;
      }
      const Tally tally = Compare(number, *peer);
      std::printf("%-35s %7d %7d %8d %10zu\n", key.c_str(), tally.read, tally.written, tally.same,
                  tally.differences.size());
      std::vector<std::string> unexplained = Explain(key, tally, listed);
      for (const std::string& text : unexplained) dumped << text << "\n";
      if (unexplained.size() > 20) unexplained.resize(20);
      EXPECT_THAT(unexplained, testing::IsEmpty());
      for (const Row& row : listed) EXPECT_EQ(row.found, row.count) << row.text;
    }
  }
  for (const auto& [key, unused] : rows) ADD_FAILURE() << "rows without a peer: " << key;
}

}  // namespace
