#include <charconv>
#include <cstdio>
#include <optional>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "base/LogNull.h"
#include "charset/CharsetNames.h"
#include "charset/EncodingConvert.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"

namespace client {
namespace {

// The code page of a name or number; nothing for a name that is unknown.
std::optional<unsigned> PageOf(const std::string& text) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size()) return number;
  mail::StringBuffer name(text);
  const int page = mail::nameToCodePage(name);
  if (page == 0) return std::nullopt;
  return static_cast<unsigned>(page);
}

int Convert(unsigned from, unsigned to) {
  const std::string input = ReadInput();
  mail::EncodingConvert converter;
  mail::DataBuffer output;
  mail::LogNull log;
  const bool converted = converter.EncConvert(from, to, input.data(), input.size(), output, log);
  WriteOutput(output.view());
  if (converted && !converter.m_hadErrors) return kExitDone;
  // A page that never converts is another matter than a stray character.
  if (!mail::EncodingConvert::converts(from) || !mail::EncodingConvert::converts(to)) {
    fmt::print(stderr, "tarny convert: there is no conversion from page {} to page {}\n", from, to);
    return kExitFailed;
  }
  fmt::print(stderr, "had errors\n");
  return converted ? kExitDone : kExitFailed;
}

}  // namespace

int RunConvert(const Arguments& arguments) {
  std::string fromName;
  std::string toName;
  CLI::App app(
      "Converts standard input from one charset to another, on standard output. What does not map "
      "is left out: \"had errors\" on standard error tells. Exit code 1 when the target lacks a "
      "character, or when one of the two has no conversion.",
      "tarny convert");
  app.add_option("--from", fromName, "Charset of the input, a name or the number of a code page")
      ->required();
  app.add_option("--to", toName, "Charset of the output")->required();
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  const std::optional<unsigned> from = PageOf(fromName);
  const std::optional<unsigned> to = PageOf(toName);
  if (!from || !to) {
    fmt::print(stderr, "tarny convert: the charset '{}' is unknown\n", !from ? fromName : toName);
    return kExitUsage;
  }
  return Convert(*from, *to);
}

}  // namespace client
