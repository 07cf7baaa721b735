// The archive of a page in memory, with the files of its folder and no network: it always comes,
// the places of set-aside blocks never show, and its size follows the page's.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "archive/CkMht.h"

namespace {

// A folder with what a page of the seeds shows, made once for the process.
std::string MakeFolder() {
  std::string folder = std::filesystem::temp_directory_path() / "mht-fuzz-XXXXXX";
  if (!mkdtemp(folder.data())) std::abort();
  const std::pair<const char*, const char*> files[] = {
      {"a.gif", "GIF89a picture"},
      {"s.css", "@import \"t.css\"; p { background: url(a.gif) }"},
      {"t.css", "@import 's.css'; td { background-image: url(\"a.gif\") }"},
      {"f.html", "<body background=a.gif><iframe src=f.html><img src=a.gif>"},
      {"x.js", "alert('<img src=a.gif>')"},
  };
  for (const auto& [name, text] : files) std::ofstream(folder + "/" + name) << text;
  return folder;
}

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const std::string kFolder = MakeFolder();
  if (size == 0) return 0;
  const std::string html(reinterpret_cast<const char*>(data + 1), size - 1);
  CkMht mht;
  mht.put_Utf8(true);
  mht.put_NoNetwork(true);
  mht.put_ConfineToFolder(true);
  mht.put_BaseUrl(("file:///" + kFolder).c_str());
  mht.put_UseCids(data[0] & 1);
  mht.put_NoScripts(data[0] & 2);
  const char* const text =
      (data[0] & 4) ? mht.htmlToEML(html.c_str()) : mht.htmlToMHT(html.c_str());
  Require(text != nullptr);
  const std::string_view mime(text);
  Require(mime.find("Html--Url--Location") == std::string_view::npos);
  Require(mime.size() < (1 << 20) + 200 * size);
  if (html.find("velkor") == std::string::npos) {
    Require(mime.find("<velkor_") == std::string_view::npos);
  }
  return 0;
}
