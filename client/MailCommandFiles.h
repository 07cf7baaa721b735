#pragma once

#include <string>
#include <string_view>

namespace client {

// What the commands that show one mail share. Errors are thrown as SourceError.

// The bytes of the file. From here on 1252 is the ANSI page, so that the same file shows the same
// in every locale.
std::string ReadMailFile(const std::string& path);

// Writes to standard output, all of it or not without an error.
void WriteOutput(std::string_view bytes);

// "312 bytes", "1 byte"
std::string SizeText(std::size_t bytes);

}  // namespace client
