#pragma once

#include <string>
#include <string_view>

namespace client {

// The files that the subcommands read and write. Errors are thrown as std::runtime_error whose text
// names the file.

// "cannot read PATH: REASON", of a file or folder that was named.
std::string CannotRead(std::string_view path, std::string_view reason);
// Throws unless a regular file can be opened there.
void RequireReadable(const std::string& path);

// All of standard input.
std::string ReadInput();
// The bytes of a file, or of standard input for an empty path.
std::string ReadFileOrInput(const std::string& path);

// The bytes of a mail, at least one. From here on 1252 is the ANSI page, so that the same file
// shows the same in every locale.
std::string ReadMailFile(const std::string& path);

// Writes to standard output, all of it or not without an error.
void WriteOutput(std::string_view bytes);
// Throws if anything of what was written to standard output so far did not get there.
void RequireOutputWritten();

}  // namespace client
