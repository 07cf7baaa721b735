#pragma once

#include <string>

#include "client/sources/IcsComponents.h"

namespace client {

// Exchange has no field for the address of an event's page or of its video call: without it there
// would be a meeting that nobody can join.

// The description, with those addresses behind it where it does not name them.
std::string EventText(const IcsComponent& component);
// Adds them to the page that stands in the description's place; nothing to an empty one.
void AddPages(const IcsComponent& component, std::string& html);

}  // namespace client
