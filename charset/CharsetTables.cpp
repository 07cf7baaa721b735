#include "charset/CharsetTables.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "base/MemoryShortage.h"
#include "charset/CodePages.h"
#include "charset/StoredPages.h"

namespace mail::charset_tables {

using namespace code_page;

namespace {

// Pages that have the table of another one.
struct Alias {
  unsigned nCodePage;
  unsigned nTable;
};
constexpr std::array kAliases = {
    Alias{kLogicalHebrew, kHebrew}, Alias{kEucCn, kGbk},
    Alias{kHz, kGbk},  // as it stands; the escapes of HZ are not read
};

constexpr std::array<unsigned, 10> kPairPages = {kShiftJis,    kGbk,   kKorean, kBig5,  kJohab,
                                                 kMacJapanese, kEucJp, kEucCn,  kEucKr, kHz};
static_assert(std::is_sorted(kPairPages.begin(), kPairPages.end()));

// What has been built of a stored page.
struct Slot {
  std::atomic<const UnicodeLookup*> pLookup{nullptr};
  std::atomic<const HashConvert*> pTo{nullptr};
  std::atomic<const HashConvert*> pFrom{nullptr};
};

constexpr std::size_t kMaxPages = 160;
std::array<Slot, kMaxPages> g_aSlots;

// Where the tables of each page are: a hash table that is never more than half full, so that even
// the conversion of a short string does not spend its time on the search.
class PageIndex {
 public:
  struct Entry {
    unsigned nCodePage = 0;  // 0: the entry is free
    std::uint8_t nIndex = 0;
    bool bPairs = false;
  };

  PageIndex() {
    const auto arrPages = storedPages();
    for (std::size_t n = 0; n < std::min(arrPages.size(), kMaxPages); ++n) {
      add(arrPages[n].nCodePage, n);
      for (const Alias& objAlias : kAliases) {
        if (objAlias.nTable == arrPages[n].nCodePage) add(objAlias.nCodePage, n);
      }
    }
  }

  // The page's entry, or a free one.
  const Entry& find(unsigned nCodePage) const {
    std::size_t n = hash(nCodePage);
    while (m_aEntries[n].nCodePage != nCodePage && m_aEntries[n].nCodePage != 0) {
      n = (n + 1) % kEntries;
    }
    return m_aEntries[n];
  }

 private:
  static constexpr std::size_t kEntries = 512;
  static_assert(kEntries >= 2 * (kMaxPages + kAliases.size()) && kMaxPages <= 256);

  static std::size_t hash(unsigned nCodePage) { return nCodePage * 0x9E3779B1U >> 23; }

  void add(unsigned nCodePage, std::size_t nIndex) {
    const bool bPairs = std::binary_search(kPairPages.begin(), kPairPages.end(), nCodePage);
    const auto nSmall = static_cast<std::uint8_t>(nIndex);
    m_aEntries[static_cast<std::size_t>(&find(nCodePage) - m_aEntries.data())] = {nCodePage, nSmall,
                                                                                  bPairs};
  }

  std::array<Entry, kEntries> m_aEntries{};
};

const PageIndex::Entry& entryOf(unsigned nCodePage) {
  static const PageIndex objIndex;
  return objIndex.find(nCodePage);
}

std::optional<stored_table::Contents> contents(std::string_view strStored) {
  const std::optional<std::string> strTable = stored_table::unpack(strStored);
  return strTable ? stored_table::parse(*strTable) : std::nullopt;
}

// U+0660 to U+0669 and U+06F0 to U+06F9.
void addArabicDigits(HashConvert& objTable) {
  stored_table::Contents objDigits;
  objDigits.bEdit = true;
  for (std::uint16_t n = 0; n < 10; ++n) {
    const auto nCode = static_cast<std::uint16_t>('0' + n);
    objDigits.arrSingles.push_back({nCode, static_cast<std::uint16_t>(0x0660 + n)});
    objDigits.arrSingles.push_back({nCode, static_cast<std::uint16_t>(0x06F0 + n)});
  }
  (void)objTable.load(objDigits);
}

// Puts an object into an empty slot; drops it if another thread was there first.
template <class T>
void publish(std::atomic<const T*>& pSlot, std::unique_ptr<const T> pNew) {
  const T* pOther = nullptr;
  if (pSlot.compare_exchange_strong(pOther, pNew.get(), std::memory_order_acq_rel)) {
    (void)pNew.release();  // kept for the life of the process
  }
}

// Builds the page's tables in both directions: unpacking takes ten times as long as all the rest,
// and who reads a charset soon writes it.
void build(const StoredPage& objPage, bool bPairs, Slot& objSlot) {
  using enum HashConvert::Direction;
  std::string strText;
  for (const std::string_view strPiece : objPage.arrText) strText += strPiece;
  const auto objContents = contents(strText);
  auto pTo = std::make_unique<HashConvert>(objPage.nCodePage, kToUnicode);
  if (!objContents || !pTo->load(*objContents)) return;
  if (bPairs) {
    publish<HashConvert>(objSlot.pTo, std::move(pTo));
  } else {
    publish<UnicodeLookup>(objSlot.pLookup, std::make_unique<UnicodeLookup>(*pTo));
  }
  auto pFrom = std::make_unique<HashConvert>(objPage.nCodePage, kFromUnicode);
  if (!pFrom->load(*objContents)) return;
  if (!objPage.strEdit.empty()) {
    const auto objEdit = contents(objPage.strEdit);
    if (!objEdit || !pFrom->load(*objEdit)) return;
  }
  if (objPage.nCodePage == kWindows1256) addArabicDigits(*pFrom);
  publish<HashConvert>(objSlot.pFrom, std::move(pFrom));
}

// The object of the page's slot that pWhich names; built first if it is not there.
template <class T>
const T* obtain(const PageIndex::Entry& objEntry, std::atomic<const T*> Slot::*pWhich) {
  Slot& objSlot = g_aSlots[objEntry.nIndex];
  if (const T* pBuilt = (objSlot.*pWhich).load(std::memory_order_acquire)) return pBuilt;
  try {
    build(storedPages()[objEntry.nIndex], objEntry.bPairs, objSlot);
  } catch (const std::bad_alloc&) {
    noteMemoryShortage();
    return nullptr;
  }
  return (objSlot.*pWhich).load(std::memory_order_acquire);
}

}  // namespace

bool hasPairs(unsigned nCodePage) { return entryOf(nCodePage).bPairs; }

const UnicodeLookup* unicodeLookup(unsigned nCodePage) {
  const PageIndex::Entry& objEntry = entryOf(nCodePage);
  if (objEntry.nCodePage == 0 || objEntry.bPairs) return nullptr;
  return obtain(objEntry, &Slot::pLookup);
}

const HashConvert* toUnicode(unsigned nCodePage) {
  const PageIndex::Entry& objEntry = entryOf(nCodePage);
  return objEntry.bPairs ? obtain(objEntry, &Slot::pTo) : nullptr;
}

const HashConvert* fromUnicode(unsigned nCodePage) {
  const PageIndex::Entry& objEntry = entryOf(nCodePage);
  return objEntry.nCodePage != 0 ? obtain(objEntry, &Slot::pFrom) : nullptr;
}

}  // namespace mail::charset_tables
