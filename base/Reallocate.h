#pragma once

#include <cstddef>

namespace mail {

// As std::realloc, for the storage of StringBuffer and DataBuffer. It is realloc and not new
// because the system moves a large block without copying it, so that growth in steps stays cheap.
using ReallocateFunction = void* (*)(void* pBlock, std::size_t nBytes);

// Sets the function for the whole process and returns the one before it; null sets std::realloc.
// For tests that let an allocation fail; the blocks themselves are always freed with std::free.
ReallocateFunction SetReallocate(ReallocateFunction pFunction);

// Null on failure; pBlock is then as before.
void* Reallocate(void* pBlock, std::size_t nBytes);

}  // namespace mail
