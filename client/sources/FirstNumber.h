#pragma once

#include <cstddef>

namespace client {

// The first of the numbers from begin up to end for which isIt is true, as it must be for all
// behind it; end where there is none.
template <typename IsIt>
std::size_t FirstNumber(std::size_t begin, std::size_t end, const IsIt& isIt) {
  while (begin < end) {
    const std::size_t middle = begin + (end - begin) / 2;
    if (isIt(middle)) {
      end = middle;
    } else {
      begin = middle + 1;
    }
  }
  return end;
}

}  // namespace client
