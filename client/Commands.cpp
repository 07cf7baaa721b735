#include "client/Commands.h"

#include <CLI/CLI.hpp>

namespace client {

bool ParseArguments(CLI::App& app, const Arguments& arguments, int* exitCode) {
  try {
    app.parse(Arguments(arguments.rbegin(), arguments.rend()));  // it takes them from the back
    return true;
  } catch (const CLI::ParseError& error) {
    *exitCode = app.exit(error) == 0 ? kExitDone : kExitUsage;
    return false;
  }
}

}  // namespace client
