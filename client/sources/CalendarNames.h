#pragma once

#include <string_view>

namespace client {

// Whether a property of an event or task has no place in a mailbox and says something that a person
// would miss there: what is read by its name does not, nor does what programs keep for themselves.
// The name is in upper case.
bool HasNoPlace(std::string_view name);

}  // namespace client
