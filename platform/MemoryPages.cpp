#include "platform/MemoryPages.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace platform {

void GiveBackPages(const void* pBytes, std::size_t nBytes) {
  static const auto nPage = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto nStart = reinterpret_cast<std::uintptr_t>(pBytes);
  const std::uintptr_t nFirst = (nStart + nPage - 1) / nPage * nPage;
  const std::uintptr_t nEnd = (nStart + nBytes) / nPage * nPage;
  if (nFirst < nEnd) (void)madvise(reinterpret_cast<void*>(nFirst), nEnd - nFirst, MADV_DONTNEED);
}

void KeepFreedMemory() {
  constexpr int kKept = 64 << 20;
  constexpr int kLargestBlock = 32 << 20;  // the most that the allocator takes from its heap
  (void)mallopt(M_MMAP_THRESHOLD, kLargestBlock);
  (void)mallopt(M_TRIM_THRESHOLD, kKept);
}

}  // namespace platform
