#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/sources/ArchiveFiles.h"
#include "client/sources/CutParts.h"
#include "client/sources/EudoraFiles.h"
#include "client/sources/EudoraToc.h"
#include "client/sources/FolderNames.h"
#include "client/sources/HashedName.h"
#include "client/sources/MailServers.h"
#include "client/sources/MixedMail.h"
#include "client/sources/PackedFiles.h"
#include "client/sources/PictureLinks.h"
#include "client/sources/ProfileAccounts.h"
#include "client/sources/SpecialUse.h"

// What programs keep beside their mails, or took out of them: a Eudora's list of folders, of mails
// and the names of its files, the index and the preferences of a Thunderbird, the parts that an
// Apple Mail cut off, and what is packed. No name leads out of its folder, and no place lies behind
// the end.

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckNames(std::string_view text) {
  const client::EudoraNames names(text);
  for (const char* file : {"In.mbx", "Customer.fol", ""}) {
    const auto name = names.Of(file);
    Require(!name || name->size() <= 3 * text.size());
  }
  const std::string_view name = text.substr(0, text.find('\n'));
  const auto own = client::NameInIndex(text.substr(std::min(name.size() + 1, text.size())), name);
  Require(!own || own->starts_with(name.substr(0, name.size() - 8)));
  const client::EudoraToc toc(text);
  client::StateFields fields;
  toc.AddState(0, fields);
  Require(text.size() >= 322 || !fields.read);
}

void CheckFiles(std::string_view mail) {
  const std::vector<std::string> names = client::EudoraFileNames(mail);
  Require(names.size() <= client::kMostEudoraFiles + 1);
  for (const std::string& name : names) {
    Require(!name.empty() && name != "." && name != "..");
    Require(name.find_first_of("\\/:\n") == std::string::npos);
  }
  std::uint64_t before = 0;
  for (const client::CutPart& part : client::CutPartsOf(mail)) {
    Require(part.body >= before && part.body <= mail.size() && !part.name.empty());
    before = part.body;
  }
}

// Each link is one that a field can hold.
void CheckLinks(std::string_view page) {
  const std::set<std::string> keys = {client::FoldedFileName(page.substr(0, page.find('\n'))),
                                      "logo.gif"};
  for (const auto& [key, link] : client::PictureLinksIn(page, keys)) {
    Require(keys.contains(key) && !link.empty());
    Require(std::ranges::all_of(link, [](char c) { return c > ' ' && c < 0x7F; }));
  }
}

// The body stays as it is, and the files stand behind it.
void CheckMixed(std::string_view mail) {
  client::MixedMail mixed(mail);
  if (mixed.IsPage()) mixed.Show("logo.gif", "pic", "cid:logo.gif");
  mixed.Attach(mail.substr(0, 300), "file");
  const std::string whole = std::move(mixed).Finish();
  const std::size_t end = mail.find("\n\n");
  const std::string_view body = end == std::string_view::npos ? "" : mail.substr(end + 2);
  Require(whole.find(body) != std::string::npos && whole.find("\nZmlsZQ==") != std::string::npos);
}

void CheckPacked(std::string_view bytes) {
  const client::PartlyRead file{
      bytes.size(), [&](std::uint64_t offset, std::uint64_t length) {
        return std::string(bytes.substr(std::min(offset, bytes.size()), length));
      }};
  (void)client::LookIntoArchive(file, bytes.substr(0, 4096));
  if (client::PackingOf(bytes).empty()) return;
  try {
    Require(client::Unpacked(bytes).size() <= client::kMostUnpacked);
  } catch (const client::SourceError&) {  // its word for what is damaged
  }
}

// What a prefs.js calls a folder of junk and the like is one below others, which its name does not
// show to be another; no account that it says lies in the profile lies outside.
void CheckPrefs(std::string_view prefs) {
  client::FolderMarks marks;
  client::AddMarksOfPrefs(prefs, marks);
  for (const auto& [levels, use] : marks) {
    Require(levels.ends_with('\\') && !client::NamesSpecialFolder(levels));
  }
  for (const auto& [name, server] : client::MailServersIn(prefs)) {
    Require(name.size() + server.relative.size() + server.trash.size() <= 2 * prefs.size());
    const std::string place = client::PlaceBelowProfile(server.relative);
    Require(!place.starts_with('/') && place != ".." && !place.starts_with("../"));
    Require(place.find("/../") == std::string::npos && !place.ends_with("/.."));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  CheckNames(input);
  CheckFiles(input);
  CheckLinks(input);
  CheckMixed(input);
  CheckPacked(input);
  CheckPrefs(input);
  return 0;
}
