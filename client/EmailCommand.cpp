#include <string>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "client/CommandFiles.h"
#include "client/Commands.h"
#include "client/EmailJson.h"
#include "client/EmailText.h"
#include "client/Names.h"
#include "client/Source.h"
#include "mime/base/LogNull.h"
#include "mime/email/EmailBuilding.h"

namespace client {
namespace {

using nlohmann::ordered_json;

std::string Json(const mail::Email2& email) {
  return EmailJson(email).dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
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
    const auto email = mail::buildEmail(ReadMailFile(path), /*bUtf8=*/false, log);
    if (email == nullptr) throw SourceError("this is no mail");
    WriteOutput(html ? HtmlOfMail(*email) : json ? Json(*email) : ReadableMail(*email));
    return kExitDone;
  } catch (const SourceError& error) {
    fmt::print(stderr, "tarny email: {}: {}\n", OneLine(path), error.what());
    return kExitFailed;
  }
}

}  // namespace client
