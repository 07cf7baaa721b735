#pragma once

#include <cstdint>

namespace mail {

// Where memory is refused, the library goes on without what it had no room for: a field, a form of
// a text, a table. Every refusal is counted, for its thread, so that those who must not take a part
// for the whole can compare the count with the one before.
std::uint64_t memoryShortages();
void noteMemoryShortage();

}  // namespace mail
