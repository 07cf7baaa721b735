#include <string>

#include <CLI/CLI.hpp>

#include "charset/CodePages.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "html/PageCharset.h"
#include "html/WholeText.h"

namespace client {
namespace {

std::string PlainText(const std::string& page) {
  std::string text = mail::wholeText(page);
  std::erase(text, '\r');
  return text.empty() ? text : text + '\n';
}

}  // namespace

int RunHtml2text(const Arguments& arguments) {
  std::string path;
  CLI::App app(
      "Converts HTML to plain text of 80 columns, in UTF-8 on standard output. The charset is the "
      "one that the page names; without one it is UTF-8 or, where it cannot be, windows-1252.",
      "tarny html2text");
  app.add_option("FILE", path, "The page; standard input if left out");
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  constexpr unsigned kWesternPage = mail::code_page::kWindows1252;
  WriteOutput(PlainText(mail::pageAsUtf8(ReadFileOrInput(path), kWesternPage)));
  return kExitDone;
}

}  // namespace client
