#pragma once

#include <string>

namespace client {

class Console;

// Says, behind the program's name, why a run ended, and returns the exit code. Is called where an
// exception is caught, and says what that one is.
int TellFailure(const std::string& program, const std::string& runFolder, Console& console);

}  // namespace client
