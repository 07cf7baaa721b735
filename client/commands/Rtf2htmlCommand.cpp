#include <cstdio>
#include <filesystem>
#include <system_error>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "body/Hrn.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"

namespace client {
namespace {

constexpr int kRtfToHtml = 2;  // the converter's selector

// The links to pictures are written with the output's folder, so it must not depend on ours.
CString WholePath(const std::string& path) {
  return CString::FromUtf8(std::filesystem::absolute(path).string());
}

}  // namespace

int RunRtf2html(const Arguments& arguments) {
  std::string input;
  std::string output;
  CLI::App app(
      "Converts rich text, also in the compressed form of mail stores, to a page, with its "
      "pictures "
      "beside it as HTMLFile_1.png and so on; older files of such names there are deleted first. "
      "What could not be carried over is told on standard error.",
      "tarny rtf2html");
  app.add_option("IN.rtf", input, "The rich text")->required();
  app.add_option("OUT.html", output, "The page, which is written anew")->required();
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  RequireReadable(input);
  std::error_code ignored;  // of files that are not there
  if (std::filesystem::equivalent(input, output, ignored)) {
    fmt::print(stderr, "tarny rtf2html: input and output are the same file\n");
    return kExitUsage;
  }
  Hrn converter;
  converter.HrsConvertFile(WholePath(input), WholePath(output), kRtfToHtml);
  for (const std::string& line : converter.LeftOut().Lines()) fmt::print(stderr, "{}\n", line);
  return kExitDone;
}

}  // namespace client
