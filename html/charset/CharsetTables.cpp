#include "html/charset/CharsetTables.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "html/charset/StoredPages.h"

namespace mail::charset_tables {
namespace {

// Pages that have the table of another one.
struct Alias {
  unsigned nCodePage;
  unsigned nTable;
};
constexpr std::array kAliases = {
    Alias{38598, 28598}, Alias{51936, 936},
    Alias{52936, 936},  // as it stands; the escapes of HZ are not read
};

constexpr std::array kPairPages = {932U,   936U,   949U,   950U,   1361U,
                                   10001U, 51932U, 51936U, 51949U, 52936U};
static_assert(std::is_sorted(kPairPages.begin(), kPairPages.end()));

// What has been built of a stored page.
struct Slot {
  std::atomic<const UnicodeLookup*> pLookup{nullptr};
  std::atomic<const HashConvert*> pTo{nullptr};
  std::atomic<const HashConvert*> pFrom{nullptr};
};

constexpr std::size_t kMaxPages = 160;
std::array<Slot, kMaxPages> g_aSlots;

struct Place {
  const StoredPage* pPage;
  Slot* pSlot;
};

std::optional<Place> find(unsigned nCodePage) {
  for (const Alias& objAlias : kAliases) {
    if (objAlias.nCodePage == nCodePage) nCodePage = objAlias.nTable;
  }
  const auto arrPages = storedPages();
  const auto it = std::lower_bound(
      arrPages.begin(), arrPages.end(), nCodePage,
      [](const StoredPage& objPage, unsigned nPage) { return objPage.nCodePage < nPage; });
  if (it == arrPages.end() || it->nCodePage != nCodePage) return std::nullopt;
  const auto nIndex = static_cast<std::size_t>(it - arrPages.begin());
  if (nIndex >= kMaxPages) return std::nullopt;
  return Place{&*it, &g_aSlots[nIndex]};
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

std::unique_ptr<const HashConvert> build(const StoredPage& objPage,
                                         HashConvert::Direction nDirection) {
  std::string strText;
  for (const std::string_view strPiece : objPage.arrText) strText += strPiece;
  const auto objContents = contents(strText);
  auto pTable = std::make_unique<HashConvert>(objPage.nCodePage, nDirection);
  if (!objContents || !pTable->load(*objContents)) return nullptr;
  if (nDirection == HashConvert::Direction::kToUnicode) return pTable;
  if (!objPage.strEdit.empty()) {
    const auto objEdit = contents(objPage.strEdit);
    if (!objEdit || !pTable->load(*objEdit)) return nullptr;
  }
  if (objPage.nCodePage == 1256) addArabicDigits(*pTable);
  return pTable;
}

// The slot's object; made and put there first if it is empty.
template <class T, class Make>
const T* obtain(std::atomic<const T*>& pSlot, Make make) {
  if (const T* pBuilt = pSlot.load(std::memory_order_acquire)) return pBuilt;
  try {
    std::unique_ptr<const T> pNew = make();
    if (pNew == nullptr) return nullptr;
    const T* pOther = nullptr;
    if (pSlot.compare_exchange_strong(pOther, pNew.get(), std::memory_order_acq_rel)) {
      return pNew.release();  // kept for the life of the process
    }
    return pOther;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

bool hasPairs(unsigned nCodePage) {
  return std::binary_search(kPairPages.begin(), kPairPages.end(), nCodePage);
}

const UnicodeLookup* unicodeLookup(unsigned nCodePage) {
  const auto objPlace = find(nCodePage);
  if (!objPlace || hasPairs(nCodePage)) return nullptr;
  return obtain(objPlace->pSlot->pLookup, [&]() -> std::unique_ptr<const UnicodeLookup> {
    const auto pTable = build(*objPlace->pPage, HashConvert::Direction::kToUnicode);
    return pTable ? std::make_unique<UnicodeLookup>(*pTable) : nullptr;
  });
}

const HashConvert* toUnicode(unsigned nCodePage) {
  const auto objPlace = find(nCodePage);
  if (!objPlace || !hasPairs(nCodePage)) return nullptr;
  return obtain(objPlace->pSlot->pTo,
                [&] { return build(*objPlace->pPage, HashConvert::Direction::kToUnicode); });
}

const HashConvert* fromUnicode(unsigned nCodePage) {
  const auto objPlace = find(nCodePage);
  if (!objPlace) return nullptr;
  return obtain(objPlace->pSlot->pFrom,
                [&] { return build(*objPlace->pPage, HashConvert::Direction::kFromUnicode); });
}

}  // namespace mail::charset_tables
