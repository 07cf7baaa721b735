#include "base/MemoryShortage.h"

namespace mail {
namespace {

thread_local std::uint64_t t_nShortages = 0;

}  // namespace

std::uint64_t memoryShortages() { return t_nShortages; }

void noteMemoryShortage() { ++t_nShortages; }

}  // namespace mail
