#include "charset/CharsetNames.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/AsciiText.h"
#include "charset/CharsetNamesTable.h"
#include "platform/NarrowText.h"

// The tables are made for reading. The look-up works on an index of all names, built and checked by
// the compiler: sorted by their compared form, each name with one page.

namespace mail {
namespace {

constexpr std::size_t kShortestName = 3;  // a shorter one stands for the ANSI page
constexpr int kHexEncoding = 3;
constexpr std::string_view kNameSeparator = ", ";

struct NameEntry {
  std::string_view strName;
  int nCodePage;
};

// One byte of a name as it is compared.
constexpr char Folded(char ch) { return ch == '_' ? '-' : toLowerAscii(ch); }

constexpr bool Before(std::string_view a, std::string_view b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](char x, char y) { return Folded(x) < Folded(y); });
}

constexpr bool EntryBefore(const NameEntry& a, const NameEntry& b) {
  return Before(a.strName, b.strName);
}

// Calls objSink for each name that reads as the row's page.
template <class Sink>
constexpr void ForEachName(const CharsetRow& objRow, Sink&& objSink) {
  if (!objRow.strWritten.empty()) objSink(objRow.strWritten);
  std::string_view strRest = objRow.strAccepted;
  while (!strRest.empty()) {
    const std::size_t nEnd = std::min(strRest.find(kNameSeparator), strRest.size());
    objSink(strRest.substr(0, nEnd));
    strRest.remove_prefix(std::min(nEnd + kNameSeparator.size(), strRest.size()));
  }
}

template <class Sink>
constexpr void ForEachEntry(Sink&& objSink) {
  const auto addRows = [&](const auto& arrRows) {
    for (const CharsetRow& objRow : arrRows) {
      ForEachName(objRow, [&](std::string_view strName) {
        objSink(NameEntry{strName, objRow.nCodePage});
      });
    }
  };
  addRows(kCharsetRows);
  addRows(kEncodingRows);
}

constexpr std::size_t CountNames() {
  std::size_t nNames = 0;
  ForEachEntry([&](const NameEntry&) { ++nNames; });
  return nNames;
}

constexpr auto BuildIndex() {
  std::array<NameEntry, CountNames()> arrIndex{};
  std::size_t n = 0;
  ForEachEntry([&](const NameEntry& objEntry) { arrIndex[n++] = objEntry; });
  std::sort(arrIndex.begin(), arrIndex.end(), EntryBefore);
  return arrIndex;
}

constexpr auto kIndex = BuildIndex();

constexpr bool Ascending(const auto& arrRows) {
  return std::adjacent_find(arrRows.begin(), arrRows.end(), [](const auto& a, const auto& b) {
           return a.nCodePage >= b.nCodePage;
         }) == arrRows.end();
}

static_assert(kCharsetRows.size() == 148);
static_assert(Ascending(kCharsetRows) && Ascending(kWrittenOnlyRows) && Ascending(kEncodingRows));
static_assert(kEncodingRows.front().nCodePage > 0 &&
              kEncodingRows.back().nCodePage <= kLastEncoding);
static_assert(std::all_of(kIndex.begin() + 1, kIndex.end(),
                          [](const NameEntry& objEntry) {
                            const NameEntry& objLast = *(&objEntry - 1);
                            return EntryBefore(objLast, objEntry) ||
                                   objLast.nCodePage == objEntry.nCodePage;
                          }),
              "a name reads as one page");
static_assert(std::all_of(kIndex.begin(), kIndex.end(),
                          [](const NameEntry& objEntry) {
                            return !objEntry.strName.empty() && objEntry.strName.front() != ' ' &&
                                   objEntry.strName.back() != ' ' &&
                                   objEntry.strName.find(',') == std::string_view::npos;
                          }),
              "the lists are split where they should be");

template <class Rows>
std::string_view WrittenName(const Rows& arrRows, int nCodePage) {
  const auto pRow =
      std::lower_bound(arrRows.begin(), arrRows.end(), nCodePage,
                       [](const auto& objRow, int nSought) { return objRow.nCodePage < nSought; });
  const bool bFound = pRow != arrRows.end() && pRow->nCodePage == nCodePage;
  return bFound ? pRow->strWritten : std::string_view();
}

// "no-bom-" goes first: taking "bom-" out of its middle would leave a name that none has.
void Normalise(StringBuffer& strName) {
  strName.trim();
  strName.toLowerCaseLatin1();
  strName.replaceAnyOf("_", '-');
  strName.removeFirst("no-bom-");
  strName.removeFirst("bom-");
  strName.removeChar('"');
  strName.removeChar('\'');
}

}  // namespace

int nameToCodePage(StringBuffer& strName) {
  Normalise(strName);
  const std::string_view strSought = strName.view();
  if (strSought.size() < kShortestName || strSought == "ansi") {
    return static_cast<int>(platform::AnsiCodePage());
  }
  if (strSought.starts_with("hex")) return kHexEncoding;
  const auto pEntry =
      std::lower_bound(kIndex.begin(), kIndex.end(), NameEntry{strSought, 0}, EntryBefore);
  const bool bFound = pEntry != kIndex.end() && !Before(strSought, pEntry->strName);
  return bFound ? pEntry->nCodePage : 0;
}

bool codePageToName(int nCodePage, StringBuffer& strName) {
  std::string_view strFound = WrittenName(kCharsetRows, nCodePage);
  if (strFound.empty()) strFound = WrittenName(kWrittenOnlyRows, nCodePage);
  if (strFound.empty()) strFound = WrittenName(kEncodingRows, nCodePage);
  if (strFound.empty() && nCodePage > 0 && nCodePage <= kLastEncoding) {
    strFound = kOtherEncodingName;
  }
  return !strFound.empty() && strName.setString(strFound);
}

bool isKnownCharset(std::string_view strName) {
  StringBuffer strCopy(strName);
  return nameToCodePage(strCopy) != 0;
}

}  // namespace mail
