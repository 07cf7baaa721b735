#pragma once

#include <optional>
#include <utility>

#include "charset/CharsetTables.h"
#include "charset/SourcesAndSinks.h"

namespace mail::convert_loops {

// Calls fnConvert with the source that reads the page by its table and returns what that gives;
// nothing if the page has no table.
template <class Convert>
auto withTableSource(unsigned nPage, Convert fnConvert)
    -> std::optional<decltype(fnConvert(std::declval<const SingleSource&>()))> {
  if (charset_tables::hasPairs(nPage)) {
    const HashConvert* pTable = charset_tables::toUnicode(nPage);
    if (pTable == nullptr) return std::nullopt;
    return fnConvert(PairSource{*pTable});
  }
  const UnicodeLookup* pTable = charset_tables::unicodeLookup(nPage);
  if (pTable == nullptr) return std::nullopt;
  return fnConvert(SingleSource{*pTable});
}

}  // namespace mail::convert_loops
