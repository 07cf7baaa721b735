#pragma once

#include <cstddef>

namespace platform {

// Gives the memory pages that lie whole within a stretch of the heap back to the system. The
// stretch stays allocated, and is freed as ever; what it held is lost, and it may be written anew.
// Nothing happens where the system has no use for the offer. Does not throw.
void GiveBackPages(const void* pBytes, std::size_t nBytes);

// For a program that works on one item after the other: what it frees stays its own, up to 64 MB,
// so that the next item does not ask the system for the same pages anew. To be called at its start.
void KeepFreedMemory();

}  // namespace platform
