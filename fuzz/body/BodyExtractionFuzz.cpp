// What is taken out of a raw message. Whatever it holds: a page is found only where its end or a
// charset is, the whole mail stays as it is, and the text that is kept of one with the safe switch
// is there wherever there is one without.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "charset/LibraryNarrow.h"
#include "ews/Settings.h"
#include "mime/CkMime.h"
#include "platform/Paths.h"
#include "target/CTarnyOutlookHandler.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// A program folder with its Temp, which goes at the end.
class Folder {
 public:
  Folder() : m_path("/tmp/body-fuzz-" + std::to_string(getpid())) {
    mail::installLibraryNarrow();
    std::filesystem::create_directories(m_path + "/Temp");
    platform::SetProgramFolder(m_path);
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  std::string Work(const std::string& name) const { return m_path + "/Temp/" + name; }
  void Write(const std::string& name, std::string_view bytes) const {
    std::ofstream(Work(name), std::ios::binary) << bytes;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(Work(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Work(name)); }
  void Remove(const std::string& name) const { std::filesystem::remove(Work(name)); }

 private:
  std::string m_path;
};

std::string TextOf(const Folder& folder, CTarnyOutlookHandler& handler, bool safe) {
  ews::Settings().bSafe = safe;
  folder.Remove("TextFile1.txt");
  Require(handler.GetHTMLbODY(GetCurrPath()) == 0);
  return folder.Read("TextFile1.txt");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const Folder folder;
  static CTarnyOutlookHandler handler;
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  folder.Write("EmlFile.Eml", bytes);
  const std::string plain = TextOf(folder, handler, false);
  const std::string safe = TextOf(folder, handler, true);
  Require(plain.empty() || !safe.empty());
  Require(safe.size() % 2 == 0);
  Require(folder.Read("EmlFile.Eml") == bytes);

  folder.Write("ssaa.txt", bytes);
  for (const char* name : {"ch111.html", "HtmlTemFile.txt"}) folder.Remove(name);
  CkMime mime;
  const int result = handler.ExtractHtmlFile(&mime, GetCurrPath(), CString());
  Require(result == 0 || result == 1);
  Require(!folder.Exists("ch111.html") || bytes.find("charset") != std::string::npos);
  Require(folder.Read("ssaa.txt") == bytes);
  handler.CreateEML(GetCurrPath());
  (void)handler.ExtractImageFromFile(&mime, GetCurrPath() + u"ssaa.txt", u"list.txt");
  for (const auto& entry : std::filesystem::directory_iterator(folder.Work(""))) {
    std::filesystem::remove_all(entry.path());
  }
  return 0;
}
