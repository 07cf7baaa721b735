#include "html/NamedEntities.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/StringBuffer.h"
#include "html/NamedEntitiesTable.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

struct Row {
  std::string_view strName;
  std::size_t nPlace;  // in the table
};

constexpr auto kByName = [] {
  std::array<Row, kNamedEntities.size()> arrRows{};
  for (std::size_t n = 0; n < arrRows.size(); ++n) arrRows[n] = {kNamedEntities[n].strName, n};
  std::sort(arrRows.begin(), arrRows.end(),
            [](const Row& left, const Row& right) { return left.strName < right.strName; });
  return arrRows;
}();
static_assert(std::adjacent_find(kByName.begin(), kByName.end(), [](const Row& a, const Row& b) {
                return a.strName == b.strName;
              }) == kByName.end());

constexpr std::size_t kMaxName = [] {
  std::size_t nMax = 0;
  for (const NamedEntity& objEntity : kNamedEntities) {
    nMax = std::max(nMax, objEntity.strName.size());
  }
  return nMax;
}();

constexpr std::size_t placeOf(std::string_view strName) {
  const auto it = std::lower_bound(
      kByName.begin(), kByName.end(), strName,
      [](const Row& objRow, std::string_view strSought) { return objRow.strName < strSought; });
  return it != kByName.end() && it->strName == strName ? it->nPlace : kNone;
}

constexpr std::size_t kAmp = placeOf("amp");
constexpr std::size_t kNbsp = placeOf("nbsp");

// The entity of which the text holds all but the "&"; kNone if it is none.
std::size_t entityIn(std::string_view strText) {
  const std::size_t nEnd = strText.substr(0, kMaxName + 1).find(';');
  return nEnd == kNone ? kNone : placeOf(strText.substr(0, nEnd));
}

}  // namespace

// One pass gives what a pass for each name would: only the "&" of an "&amp;" can begin an entity
// that was none before, and only one whose turn comes after that of "amp" is still replaced.
void decodeNamedEntities(std::string_view strText, NbspEntity nNbsp, std::string& strOut) {
  const auto find = [&](std::string_view strBehind) {
    const std::size_t nPlace = entityIn(strBehind);
    return nPlace == kNbsp && nNbsp == NbspEntity::kStays ? kNone : nPlace;
  };
  for (;;) {
    const std::size_t nAmp = strText.find('&');
    strOut.append(strText.substr(0, nAmp));
    if (nAmp == kNone) return;
    strText.remove_prefix(nAmp + 1);
    std::size_t nPlace = find(strText);
    if (nPlace == kAmp) {
      strText.remove_prefix(kNamedEntities[kAmp].strName.size() + 1);
      nPlace = find(strText);
      if (nPlace <= kAmp) nPlace = kNone;
    }
    if (nPlace == kNone) {
      strOut += '&';
    } else {
      strOut.append(kNamedEntities[nPlace].strText);
      strText.remove_prefix(kNamedEntities[nPlace].strName.size() + 1);
    }
  }
}

bool StringBuffer::decodeNamedEntities() {
  if (!isValid()) return false;
  if (view().find('&') == std::string_view::npos) return true;
  std::string strDecoded;
  strDecoded.reserve(getSize());
  mail::decodeNamedEntities(view(), NbspEntity::kBlank, strDecoded);
  return setString(strDecoded);
}

}  // namespace mail
