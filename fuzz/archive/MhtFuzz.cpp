#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "archive/CkMht.h"
#include "base/LogNull.h"
#include "mime/tree/MimeMessage2.h"

// Pages from text, with files of their own folder and nothing else. Whatever the page holds, there
// is an archive of it: a MIME message whose first part is the page, whose other parts each have an
// id that is theirs alone, and whose size the page and what it may bring in explain. No name of our
// own for a field is left in it, and nothing from outside the folder.

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

constexpr std::string_view kSecret = "this lies outside";

// Made once; the folder of the pages is DIR/in.
const std::string& Folder() {
  static const std::string folder = [] {
    std::string pattern = std::filesystem::temp_directory_path() / "mht-fuzz-XXXXXX";
    Require(mkdtemp(pattern.data()) != nullptr);
    const std::filesystem::path in = std::filesystem::path(pattern) / "in";
    std::filesystem::create_directories(in / "sub");
    std::ofstream(in / "a.gif") << "GIF89a a picture";
    std::ofstream(in / "sub" / "s.css") << "@import 's.css'; b{background:url(../a.gif)}";
    std::ofstream(in / "f.html") << "<iframe src=f.html></iframe><img src=a.gif>";
    std::ofstream(in / "frame") << "<html><img src=x.js>";
    std::ofstream(in / "x.js") << "go()";
    std::ofstream(std::filesystem::path(pattern) / "o.gif") << kSecret;
    std::filesystem::create_symlink("../o.gif", in / "l.gif");
    return in.string();
  }();
  return folder;
}

void Check(const char* mime, std::size_t size, bool byId) {
  Require(mime != nullptr);
  const std::string_view text(mime);
  Require(text.size() < 200 * size + 1'000'000);
  Require(text.find("Html--Url--Location") == text.npos);
  Require(text.find(kSecret) == text.npos);
  mail::LogNull log;
  mail::MimeMessage2 root;
  Require(root.loadMimeComplete(text, false, {}, false, log));
  if (root.partCount() == 0) return;
  Require(root.part(0)->contentType().beginsWith("text/"));
  for (std::size_t n = 1; n < root.partCount(); ++n) {
    const std::string_view id = root.part(n)->header().valueOf("content-id");
    Require(byId == (id.size() == 42));
    if (byId) Require(text.find(id) == text.rfind(id));
  }
}

}  // namespace

// The first byte holds switches.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  std::string narrow = text;  // a page may be in wide units
  std::erase(narrow, '\0');
  if (narrow.find(kSecret) != narrow.npos) return 0;  // where it came from would tell nothing
  const bool byId = (data[0] & 1) != 0;
  CkMht mht;
  mht.put_Utf8(true);
  mht.put_NoNetwork(true);
  mht.put_ConfineToFolder(true);
  mht.put_UseCids(byId);
  mht.put_NoScripts((data[0] & 4) != 0);
  mht.put_JudgeByBytes((data[0] & 16) != 0);
  if ((data[0] & 8) != 0) {
    const std::string page = Folder() + "/page.html";
    std::ofstream(page, std::ios::binary) << text;
    Check((data[0] & 2) != 0 ? mht.getEML(page.c_str()) : mht.getMHT(page.c_str()), size, byId);
  } else {
    mht.put_BaseUrl(("file://" + Folder()).c_str());
    Check((data[0] & 2) != 0 ? mht.htmlToEML(text.c_str()) : mht.htmlToMHT(text.c_str()), size,
          byId);
  }
  return 0;
}
