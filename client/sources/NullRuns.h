#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "client/sources/Mbox.h"

namespace client {

// Hands over bytes of a mailbox's file, one run of NULs or of others after the other. `nulls`
// counts those of the run in work, from one call to the next; endHole is told of a hole before what
// stands behind it is handed over.
template <typename EndHole, typename Take>
void EachRun(std::string_view bytes, std::uint64_t& nulls, EndHole endHole, Take take) {
  while (!bytes.empty()) {
    const bool isNull = bytes.front() == '\0';
    const std::size_t end =
        std::min(isNull ? bytes.find_first_not_of('\0') : bytes.find('\0'), bytes.size());
    if (!isNull) {
      if (nulls >= kLeastHole) endHole();
      nulls = 0;
    } else {
      nulls += end;
    }
    take(bytes.substr(0, end));
    bytes.remove_prefix(end);
  }
}

}  // namespace client
