#include "client/commands/Commands.h"

#include <cstdio>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "client/show/OutputText.h"

namespace client {

namespace {

// What is wrong, in a few words. CLI11 looks for what is missing before it looks at what it did not
// know, which is the likelier mistake. A value behind "=" is not repeated: it may be a secret.
std::string Problem(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = app.remaining(/*recurse=*/true);
  if (unknown.empty()) return error.what();
  if (!unknown[0].starts_with('-')) return "unexpected argument '" + unknown[0] + "'";
  return "there is no option " + unknown[0].substr(0, unknown[0].find('='));
}

}  // namespace

bool ParseArguments(CLI::App& app, const Arguments& arguments, int* exitCode) {
  try {
    app.parse(Arguments(arguments.rbegin(), arguments.rend()));  // it takes them from the back
    return true;
  } catch (const CLI::Success& help) {
    *exitCode = app.exit(help);
  } catch (const CLI::ParseError& error) {
    fmt::print(stderr, "{}: {}\n", app.get_name(), OneLine(Problem(app, error)));
    *exitCode = kExitUsage;
  }
  return false;
}

}  // namespace client
