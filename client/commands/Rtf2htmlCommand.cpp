#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "body/Hrn.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "platform/Files.h"

namespace client {
namespace {

constexpr int kRtfToHtml = 2;  // the converter's selector

// The links to pictures are written with the output's folder, so it must not depend on ours.
CString WholePath(const std::string& path) {
  return CString::FromUtf8(std::filesystem::absolute(path).string());
}

// Whether the file is one of those that the converter deletes beside the page before it reads,
// under this name or, behind links, another.
bool IsOldPicture(const std::string& input, const std::string& output) {
  const std::filesystem::path folder = std::filesystem::absolute(output).parent_path();
  const std::vector<platform::FoundFile> pictures =
      platform::FindFiles(CString::FromUtf8(folder.string()) + u"/HTMLFile_*");
  return std::any_of(pictures.begin(), pictures.end(), [&](const platform::FoundFile& picture) {
    std::error_code ignored;  // of links that lead nowhere
    return std::filesystem::equivalent(input, folder / picture.strName.ToUtf8(), ignored);
  });
}

}  // namespace

int RunRtf2html(const Arguments& arguments) {
  std::string input;
  std::string output;
  CLI::App app(
      "Converts rich text, also in the compressed form of mail stores, to a page, with its "
      "pictures beside it as HTMLFile_1.png and so on; older files of such names there are deleted "
      "first. What could not be carried over is told on standard error.",
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
  if (std::filesystem::exists(output, ignored) &&
      !std::filesystem::is_regular_file(std::filesystem::symlink_status(output, ignored))) {
    fmt::print(stderr, "tarny rtf2html: {} is there and no regular file\n", output);
    return kExitUsage;  // it would be replaced, be it a device
  }
  if (IsOldPicture(input, output)) {
    fmt::print(stderr,
               "tarny rtf2html: the input is one of the files HTMLFile_* beside the output, which "
               "are deleted first\n");
    return kExitUsage;
  }
  Hrn converter;
  converter.HrsConvertFile(WholePath(input), WholePath(output), kRtfToHtml);
  for (const std::string& line : converter.LeftOut().Lines()) fmt::print(stderr, "{}\n", line);
  return kExitDone;
}

}  // namespace client
