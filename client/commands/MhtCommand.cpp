#include <filesystem>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "archive/CkMht.h"
#include "archive/MhtObserver.h"
#include "archive/UrlText.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/show/OutputText.h"

namespace client {
namespace {

struct Options {
  std::string page;
  bool locations = false;
  bool eml = false;
  bool confine = false;
};

// Tells on standard error what became of each resource; why there is no page is told at the end.
class Report : public mail::MhtObserver {
 public:
  explicit Report(std::string_view page) : m_page(page) {}
  const std::string& WhyNoPage() const { return m_whyNoPage; }

  void fetched(std::string_view url, std::size_t bytes) override {
    fmt::print(stderr, "fetched {} ({} bytes)\n", OneLine(std::string(url)), bytes);
  }
  void missing(std::string_view url, std::string_view reason) override {
    if (url == m_page) m_whyNoPage = reason;
    fmt::print(stderr, "missing {}: {}\n", OneLine(std::string(url)), OneLine(std::string(reason)));
  }

 private:
  std::string_view m_page;
  std::string m_whyNoPage = "there is no such file";
};

// The folder of a page on disk as a URL, so that every part has an absolute location.
std::string FolderUrl(const std::string& page) {
  const std::string folder = std::filesystem::absolute(page).parent_path().string();
  std::string url = "file://";
  for (const char c : folder) {
    const bool plain = c > ' ' && c < 0x7F && c != '%' && c != '#' && c != '?';
    url += plain ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
  }
  return url;
}

}  // namespace

int RunMht(const Arguments& arguments) {
  Options options;
  CLI::App app(
      "Makes one file of a page with its pictures, styles, scripts and frames, on standard output. "
      "What was fetched and what could not be is told on standard error; the page shows what is "
      "there. Exit code 1 when the page itself cannot be had. A server that is silent for a minute "
      "is "
      "not asked again; where three were, only those that have answered are.",
      "tarny mht");
  app.add_option("FILE|URL", options.page, "The page: a file, or an http, https or file URL")
      ->required();
  app.add_flag("--locations", options.locations,
               "Parts are found by their location, not by a content id");
  app.add_flag("--eml", options.eml, "Make a mail of it, which is dated and runs no scripts");
  app.add_flag("--confine", options.confine,
               "Take nothing from outside the page's folder and nothing from the network");
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  const bool isFile = !mail::isHttpUrl(options.page) && !options.page.starts_with("file:");
  if (isFile && mail::hasScheme(options.page) && !std::filesystem::exists(options.page)) {
    const std::string reason =
        CannotRead(OneLine(options.page), "it is no file, and no http, https or file URL");
    fmt::print(stderr, "tarny mht: {}\n", reason);
    return kExitFailed;
  }
  if (isFile) RequireReadable(options.page);
  CkMht mht;
  Report report(options.page);
  mht.put_Utf8(true);
  mht.setObserver(&report);
  mht.put_UseCids(!options.locations);
  mht.put_ConfineToFolder(options.confine);
  mht.put_NoNetwork(options.confine);
  mht.put_JudgeByBytes(true);
  if (options.locations && isFile) mht.put_BaseUrl(FolderUrl(options.page).c_str());
  CkString archive;
  const char* page = options.page.c_str();
  if (!(options.eml ? mht.GetEML(page, archive) : mht.GetMHT(page, archive))) {
    fmt::print(stderr, "tarny mht: {}\n", CannotRead(OneLine(options.page), report.WhyNoPage()));
    return kExitFailed;
  }
  WriteOutput(archive.getUtf8());
  return kExitDone;
}

}  // namespace client
