#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "base/LogNull.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/show/EmailJson.h"
#include "client/show/EmailText.h"
#include "client/show/JsonText.h"
#include "client/show/MimeNotes.h"
#include "client/show/OutputText.h"
#include "client/sources/Source.h"
#include "mime/email/EmailBuilding.h"
#include "mime/tree/MimeMessage2.h"

namespace client {
namespace {

// Says on standard error where to look when the mail came out wrong, if it may have.
void PointAtNotes(const std::string& path, const std::string& source) {
  mail::MimeMessage2 root;
  MimeNotes notes;
  const bool loaded = notes.Load(source, root);
  if (loaded && !notes.Any() && !root.hasUndivided()) return;
  fmt::print(stderr, "tarny email: some of it is damaged or a guess; tarny mime tells: {}\n",
             OneLine(path));
}

}  // namespace

int RunEmail(const Arguments& arguments) {
  std::string path;
  bool json = false;
  bool html = false;
  CLI::App app("Shows a mail as a reader of mail would.", "tarny email");
  app.add_option("FILE", path, "The mail, as it travels (.eml)")->required();
  CLI::Option* const asJson = app.add_flag("--json", json, "As JSON, with sizes and hashes");
  app.add_flag("--html", html, "The HTML text alone, in UTF-8")->excludes(asJson);
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  try {
    mail::LogNull log;
    const std::string source = ReadMailFile(path);
    const auto email = mail::buildEmail(source, /*bUtf8=*/false, log);
    if (email == nullptr) throw SourceError("this is no mail");
    if (html) {
      const auto text = HtmlOfMail(*email);
      if (!text) throw SourceError(kNoHtmlText);
      WriteOutput(text->view());
    } else {
      WriteOutput(json ? JsonText(EmailJson(*email)) : ReadableMail(*email));
    }
    if (!html && !json) PointAtNotes(path, source);
    return kExitDone;
  } catch (const SourceError& error) {
    fmt::print(stderr, "tarny email: {}: {}\n", OneLine(path), error.what());
    return kExitFailed;
  }
}

}  // namespace client
