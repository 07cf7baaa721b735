#include "base/Reallocate.h"

#include <atomic>
#include <cstdlib>

namespace mail {
namespace {

std::atomic<ReallocateFunction> g_pReallocate{std::realloc};

}  // namespace

ReallocateFunction SetReallocate(ReallocateFunction pFunction) {
  return g_pReallocate.exchange(pFunction != nullptr ? pFunction : std::realloc);
}

void* Reallocate(void* pBlock, std::size_t nBytes) { return g_pReallocate.load()(pBlock, nBytes); }

}  // namespace mail
