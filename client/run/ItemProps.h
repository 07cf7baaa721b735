#pragma once

#include <string>
#include <string_view>

namespace client {

// Writes the properties of an item that its descriptor cannot carry into the work folder, of which
// we know its key. What a prepared item brought in a file of that name stays beside it. Throws
// WriteError, and SourceError when the file that is there cannot be read.
void WriteItemProps(const std::string& workFolder, std::string_view key);

}  // namespace client
