// Every mapping of every page, in both directions, against other programs' tables of the same page.
// tests/data/charset/ says which converters those are (peers.txt) and which differences stay, each
// with its reason (differences.txt). A difference that no row explains fails, and so does a row
// that explains another number of differences than it says.

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CharsetPeer.h"
#include "base/LogNull.h"
#include "charset/CharsetTables.h"
#include "charset/EncodingConvert.h"

namespace {

constexpr const char* kFolder = TARNY_SOURCE "/tests/data/charset/";
constexpr unsigned kUtf16 = 1200;

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

std::string BytesOfCode(unsigned code) {
  std::string bytes;
  if (code > 0xFF) bytes += static_cast<char>(code >> 8);
  return bytes += static_cast<char>(code);
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
class Page {
 public:
  explicit Page(unsigned number) : m_number(number) {}

  unsigned Read(unsigned code) {
    const std::string bytes = BytesOfCode(code);
    const std::string units = Run(m_number, kUtf16, bytes);
    if (m_converter.m_hadErrors) return kNone;
    std::u16string text(units.size() / 2, u'\0');
    units.copy(reinterpret_cast<char*>(text.data()), units.size());
    return UnitOfText(text);
  }

  unsigned Write(unsigned unit) {
    const char16_t text = static_cast<char16_t>(unit);
    const std::string bytes =
        Run(kUtf16, m_number, {reinterpret_cast<const char*>(&text), sizeof text});
    return m_converter.m_hadErrors ? kNone : CodeOfBytes(bytes);
  }

 private:
  std::string Run(unsigned from, unsigned to, std::string_view input) {
    m_output.weakClear();
    m_converter.EncConvert(from, to, input.data(), input.size(), m_output, m_log);
    return std::string(m_output.view());
  }

  unsigned m_number;
  mail::EncodingConvert m_converter;
  mail::DataBuffer m_output;
  mail::LogNull m_log;
};

struct Tally {
  int read = 0;
  int written = 0;
  int same = 0;
  std::vector<Difference> differences;
};

void Note(Tally& tally, char direction, unsigned key, unsigned ours, unsigned theirs) {
  if (ours != theirs) {
    tally.differences.push_back({direction, key, ours, theirs});
  } else if (ours != kNone) {
    ++tally.same;
  }
}

bool IsSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// The byte 0 and U+0000 are the same in all pages and stay out of it; so do the marks, which at the
// start of a text are none of its characters.
Tally Compare(unsigned number, CharsetPeer& peer) {
  Tally tally;
  Page page(number);
  const unsigned last = mail::charset_tables::hasPairs(number) ? 0xFFFF : 0xFF;
  for (unsigned code = 1; code <= last; ++code) {
    const auto read = peer.Read(BytesOfCode(code));
    unsigned theirs = read ? UnitOfText(*read) : kNone;
    unsigned ours = page.Read(code);
    if (code > 0xFF && ours == kText && theirs == kText) continue;  // two characters of one byte
    if (code > 0xFF && ours == kText) ours = kNone;
    if (code > 0xFF && theirs == kText) theirs = kNone;
    tally.read += ours != kNone ? 1 : 0;
    Note(tally, '>', code, ours, theirs);
  }
  for (unsigned unit = 1; unit <= 0xFFFF; ++unit) {
    if (IsSurrogate(unit) || unit == 0xFEFF || unit == 0xFFFE) continue;
    const auto text = static_cast<char16_t>(unit);
    const auto written = peer.Write({&text, 1});
    const unsigned ours = page.Write(unit);
    tally.written += ours != kNone ? 1 : 0;
    Note(tally, '<', unit, ours, written ? CodeOfBytes(*written) : kNone);
  }
  return tally;
}

std::vector<std::string> Lines(const std::string& name) {
  std::ifstream file(kFolder + name);
  EXPECT_TRUE(file.is_open()) << name;
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return lines;
}

using Rows = std::map<std::string, std::vector<Row>>;  // by "PAGE PEER"

Rows ReadRows() {
  Rows rows;
  for (const std::string& line : Lines("differences.txt")) {
    std::istringstream in(line);
    std::string page, peer, range;
    Row row;
    row.text = line;
    in >> page >> peer >> row.direction >> range >> row.ours >> row.theirs >> row.count;
    EXPECT_TRUE(in.good()) << line;
    const std::size_t dash = range.find('-');
    row.first = static_cast<unsigned>(std::stoul(range.substr(0, dash), nullptr, 16));
    row.last = dash == std::string::npos
                   ? row.first
                   : static_cast<unsigned>(std::stoul(range.substr(dash + 1), nullptr, 16));
    rows[page + " " + peer].push_back(row);
  }
  return rows;
}

// Counts each difference on the first row that explains it; returns what no row does.
std::vector<std::string> Explain(const std::string& key, const Tally& tally,
                                 std::vector<Row>& rows) {
  std::vector<std::string> unexplained;
  for (const Difference& difference : tally.differences) {
    bool explained = false;
    for (Row& row : rows) {
      if (row.direction != difference.direction || difference.key < row.first ||
          difference.key > row.last || !Fits(row.ours, difference.ours) ||
          !Fits(row.theirs, difference.theirs)) {
        continue;
      }
      ++row.found;
      explained = true;
      break;
    }
    if (explained) continue;
    unexplained.push_back(key + " " + difference.direction + " " + Hex(difference.key) + " " +
                          Hex(difference.ours) + " " + Hex(difference.theirs));
  }
  return unexplained;
}

TEST(Tables, EveryPageAgreesWithItsPeersButForTheListedDifferences) {
  Rows rows = ReadRows();
  std::printf("%-6s %-28s %7s %7s %8s %10s\n", "page", "peer", "read", "written", "same",
              "different");
  const char* const dump = std::getenv("TARNY_DUMP_DIFFERENCES");  // a file, to write rows from
  std::ofstream dumped(dump != nullptr ? dump : "/dev/null");
  for (const std::string& line : Lines("peers.txt")) {
    std::istringstream in(line);
    std::string page, name;
    in >> page;
    const auto number = static_cast<unsigned>(std::stoul(page));
    EXPECT_NE(mail::charset_tables::fromUnicode(number), nullptr) << page;
    if (in.eof()) std::printf("%-6s no peer on this machine\n", page.c_str());
    while (in >> name) {
      const auto peer = CharsetPeer::Open(name);
      if (peer == nullptr) {
        std::printf("%-6s %-28s is not on this machine\n", page.c_str(), name.c_str());
        rows.erase(page + " " + name);
        continue;
      }
      const Tally tally = Compare(number, *peer);
      std::printf("%-6s %-28s %7d %7d %8d %10zu\n", page.c_str(), name.c_str(), tally.read,
                  tally.written, tally.same, tally.differences.size());
      const std::string key = page + " " + name;
      std::vector<std::string> unexplained = Explain(key, tally, rows[key]);
      for (const std::string& text : unexplained) dumped << text << "\n";
      if (unexplained.size() > 20) unexplained.resize(20);
      EXPECT_THAT(unexplained, testing::IsEmpty());
      for (const Row& row : rows[key]) EXPECT_EQ(row.found, row.count) << row.text;
      rows.erase(key);
    }
  }
  for (const auto& [key, unused] : rows) ADD_FAILURE() << "rows without a peer: " << key;
}

}  // namespace
