#pragma once

#include <cstddef>

namespace platform {

// Gives the memory pages that lie whole within a stretch of the heap back to the system. The
// stretch stays allocated, and is freed as ever; what it held is lost, and it may be written anew.
// Nothing happens where the system has no use for the offer. Does not throw.
void GiveBackPages(const void* pBytes, std::size_t nBytes);

}  // namespace platform
