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

// Tells on standard error what became of each resource.
class Report : public mail::MhtObserver {
 public:
  void fetched(std::string_view url, std::size_t bytes) override {
    fmt::print(stderr, "fetched {} ({} bytes)\n", OneLine(std::string(url)), bytes);
  }
  void missing(std::string_view url, std::string_view reason) override {
    fmt::print(stderr, "missing {}: {}\n", OneLine(std::string(url)), OneLine(std::string(reason)));
  }
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
      "there. Exit code 1 when the page itself cannot be had.",
      "tarny mht");
  app.add_option("FILE|URL", options.page, "The page: a file, or an http or https URL")->required();
  app.add_flag("--locations", options.locations,
               "Parts are found by their location, not by a content id");
  app.add_flag("--eml", options.eml, "Make a mail of it, which is dated and runs no scripts");
  app.add_flag("--confine", options.confine,
               "Take nothing from outside the page's folder and nothing from the network");
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  const bool isFile = !mail::isHttpUrl(options.page) && !options.page.starts_with("file:");
  if (isFile) RequireReadable(options.page);
  CkMht mht;
  Report report;
  mht.put_Utf8(true);
  mht.setObserver(&report);
  mht.put_UseCids(!options.locations);
  mht.put_ConfineToFolder(options.confine);
  mht.put_NoNetwork(options.confine);
  if (options.locations && isFile) mht.put_BaseUrl(FolderUrl(options.page).c_str());
  CkString archive;
  const char* page = options.page.c_str();
  if (!(options.eml ? mht.GetEML(page, archive) : mht.GetMHT(page, archive))) {
    fmt::print(stderr, "tarny mht: {}\n", CannotRead(OneLine(options.page), "no page is there"));
    return kExitFailed;
  }
  WriteOutput(archive.getUtf8());
  return kExitDone;
}

}  // namespace client
