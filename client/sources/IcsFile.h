#pragma once

#include <string>
#include <vector>

#include "client/sources/Source.h"

namespace client {

// The events and tasks of an .ics file: those of an event's series that differ belong to it. Events
// go below Calendar, tasks below Tasks, each with the levels given. One that nothing can be made of
// is told, and costs the others nothing.
void ListIcsFile(const std::string& path, const std::string& levels, std::vector<SourceItem>& items,
                 std::vector<SourceProblem>& problems);

// A calendar with that item alone. Lines that change with each export and say nothing of the item
// are left out, so that the same event is the same text. Throws SourceError.
std::string ReadIcsItem(const SourceItem& item);

}  // namespace client
