#pragma once

#include <cstddef>
#include <cstdlib>

#include "base/Reallocate.h"

namespace test_support {

// While it lives, the library gets no block of more than that many bytes.
class BlockLimit {
 public:
  explicit BlockLimit(std::size_t largest) : m_before(mail::SetReallocate(UpToLargest)) {
    s_largest = largest;
  }
  ~BlockLimit() { mail::SetReallocate(m_before); }
  BlockLimit(const BlockLimit&) = delete;
  BlockLimit& operator=(const BlockLimit&) = delete;

 private:
  static void* UpToLargest(void* block, std::size_t bytes) {
    return bytes > s_largest ? nullptr : std::realloc(block, bytes);
  }

  inline static std::size_t s_largest = 0;
  mail::ReallocateFunction m_before;
};

}  // namespace test_support
