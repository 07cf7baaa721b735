#include "client/sources/EudoraFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>

#include "base/AsciiText.h"
#include "client/sources/LineDecoding.h"
#include "client/sources/MixedMail.h"
#include "client/sources/PathParts.h"
#include "client/sources/PictureLinks.h"
#include "client/sources/Pieces.h"
#include "mime/tree/ContentTypeTable.h"

namespace client {
namespace {

constexpr std::array<std::string_view, 5> kFolders = {"attach", "attachments", "embedded",
                                                      "attachments folder", "parts folder"};
constexpr std::string_view kMbx = ".mbx";
constexpr std::string_view kFirstLine = "From ???@???";

bool IsFilesFolder(std::string_view name) {
  return std::ranges::any_of(kFolders,
                             [&](std::string_view each) { return mail::equalsNoCase(each, name); });
}

bool IsPicture(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot != std::string_view::npos &&
         mail::contentTypeOfExtension(name.substr(dot + 1)).starts_with("image/");
}

// What stands in front of the numbers: "logo.gif: 00000001,1a2b3c4d".
std::string_view WithoutNumbers(std::string_view text) {
  const std::size_t colon = text.rfind(": ");
  if (colon == std::string_view::npos) return text;
  const std::size_t other = text.find_first_not_of("0123456789abcdefABCDEF, ", colon + 2);
  return other == std::string_view::npos ? text.substr(0, colon) : text;
}

// Without " (TEXT/MSWD) (0001234A)".
std::string_view WithoutMacTypes(std::string_view path) {
  constexpr std::size_t kTypes = 12;
  std::string_view rest = path;
  const std::size_t open = rest.rfind(" (");
  const bool hasNumber =
      rest.ends_with(')') && open != std::string_view::npos &&
      rest.find_first_not_of("0123456789abcdefABCDEF", open + 2) == rest.size() - 1;
  if (hasNumber) rest = rest.substr(0, open);
  if (rest.size() < kTypes) return path;
  const std::string_view types = rest.substr(rest.size() - kTypes);
  const bool areTypes = types.starts_with(" (") && types[6] == '/' && types.ends_with(')');
  return areTypes ? rest.substr(0, rest.size() - kTypes) : path;
}

// "C:\Eudora\Attach\offer.doc", with or without quotes, or as another system divides paths.
std::string FileNamed(std::string_view path) {
  path = WithoutMacTypes(mail::trimmed(path));
  if (path.starts_with('"')) path = path.substr(1, path.find('"', 1) - 1);
  path = mail::trimmed(path.substr(path.find_last_of("\\/:") + 1));
  return path == "." || path == ".." ? std::string() : std::string(path);
}

// Names in the order of the mail.
class NameList {
 public:
  void Add(std::string name) {
    if (name.empty() || m_names.size() > kMostEudoraFiles) return;
    if (m_seen.insert(FoldedFileName(name)).second) m_names.push_back(std::move(name));
  }
  bool IsEmpty() const { return m_names.empty(); }
  std::vector<std::string> Take() { return std::move(m_names); }

 private:
  std::set<std::string> m_seen;
  std::vector<std::string> m_names;
};

void TakeBodyLine(std::string_view line, NameList& names) {
  constexpr std::string_view kConverted = "Attachment Converted:";
  constexpr std::string_view kEmbedded = "Embedded Content:";
  if (mail::beginsWithNoCase(line, kConverted)) {
    names.Add(FileNamed(line.substr(kConverted.size())));
  } else if (mail::beginsWithNoCase(line, kEmbedded)) {
    names.Add(FileNamed(WithoutNumbers(mail::trimmed(line.substr(kEmbedded.size())))));
  }
}

// The value of a field, its lines one behind the other, up to the end of the header, of which
// nothing is left in the text.
std::string TakeHeader(std::string_view& text, std::string_view wanted) {
  std::string value;
  bool isWanted = false;
  while (!text.empty()) {
    const std::string_view line = TakeUpTo(text, '\n');
    if (mail::trimmed(line).empty()) break;
    if (!mail::isBlankOrTab(line.front())) isWanted = mail::beginsWithNoCase(line, wanted);
    if (!isWanted) continue;
    value += mail::trimmed(mail::isBlankOrTab(line.front()) ? line : line.substr(wanted.size()));
  }
  return value;
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::vector<SourceProblem> ignored;
  EachName(folder, ignored, [&](std::string_view name) {
    names.emplace_back(name);
    return true;
  });
  return names;
}

bool BeginsAsEudoras(const std::string& path) {
  try {
    return ReadFileRange(path, 0, kFirstLine.size()) == kFirstLine;
  } catch (const SourceError&) {
    return false;
  }
}

// Folders of one lie in another, "Customers.fol/Old.fol/In.mbx", and on a Mac in one of their own.
bool IsBelowEudora(std::string_view folder) {
  const std::string_view name = LastName(folder);
  return EndsWithNoCase(name, ".fol") || mail::equalsNoCase(name, "Mail Folder");
}

// The nearest comes first.
std::vector<std::string> FilesFoldersFor(const std::string& mbox) {
  std::vector<std::string> found;
  for (std::string folder(FolderOf(mbox));; folder = std::string(FolderOf(folder))) {
    for (const std::string& name : NamesIn(folder)) {
      const std::string path = folder + "/" + name;
      struct stat status;
      const bool isIt =
          IsFilesFolder(name) && lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
      if (isIt) found.push_back(path);
    }
    if (!IsBelowEudora(folder)) return found;
  }
}

PictureLinks LinksTo(const std::vector<std::string>& names, std::string_view html) {
  std::set<std::string> keys;
  for (const std::string& name : names) {
    if (IsPicture(name)) keys.insert(FoldedFileName(name));
  }
  return keys.empty() ? PictureLinks() : PictureLinksIn(html, keys);
}

}  // namespace

std::vector<std::string> EudoraFileNames(std::string_view mail) {
  NameList names;
  const std::string sent = TakeHeader(mail, "X-Attachments:");
  while (!mail.empty()) TakeBodyLine(TakeUpTo(mail, '\n'), names);
  // One that came has both where its sender told his own paths.
  if (!names.IsEmpty()) return names.Take();
  for (std::string_view rest = sent; !rest.empty();) names.Add(FileNamed(TakeUpTo(rest, ';')));
  return names.Take();
}

bool IsEudoraMbox(const std::string& path) {
  const std::string folder(FolderOf(path));
  const bool isMbx = EndsWithNoCase(path, kMbx);
  const std::string stem = path.substr(0, path.size() - (isMbx ? kMbx.size() : 0));
  return BeginsAsEudoras(path) || (isMbx && (IsThere(stem + ".toc") || IsThere(stem + ".TOC"))) ||
         (isMbx && (IsThere(folder + "/descmap.pce") || EndsWithNoCase(folder, ".fol")));
}

bool IsEudoraFilesFolder(const std::string& parent, std::string_view name) {
  if (!IsFilesFolder(name)) return false;
  constexpr int kMostLooks = 100;
  int looks = 0;
  return std::ranges::any_of(NamesIn(parent), [&](const std::string& each) {
    return EndsWithNoCase(each, kMbx) && ++looks <= kMostLooks && IsEudoraMbox(parent + "/" + each);
  });
}

void EudoraFiles::Look(const std::string& mbox) {
  if (m_mbox == mbox) return;
  m_mbox = mbox;
  m_isEudoras = IsEudoraMbox(mbox);
  if (!m_isEudoras || m_folder == FolderOf(mbox)) return;
  m_folder = FolderOf(mbox);
  m_paths.clear();
  for (const std::string& folder : FilesFoldersFor(mbox)) {
    for (const std::string& name : NamesIn(folder)) {
      m_paths.try_emplace(FoldedFileName(name), folder + "/" + name);
    }
  }
}

void EudoraFiles::AddTo(const std::string& mbox, std::string& mail, FilesBeside& files) {
  const std::lock_guard lock(m_mutex);
  Look(mbox);
  if (!m_isEudoras) return;
  std::vector<std::string> names = EudoraFileNames(mail);
  if (names.empty()) return;
  const bool areMore = names.size() > kMostEudoraFiles;
  if (areMore) names.pop_back();
  MixedMail whole(mail);
  const PictureLinks links = whole.IsPage() ? LinksTo(names, mail) : PictureLinks();
  std::stable_partition(names.begin(), names.end(), [&](const std::string& name) {
    return links.contains(FoldedFileName(name));
  });
  for (const std::string& name : names) {
    const std::string key = FoldedFileName(name);
    const auto found = m_paths.find(key);
    const std::string own = ToUtf8(name, {});
    if (found == m_paths.end()) {
      files.NoteMissing(own);
      continue;
    }
    const auto bytes = files.Read(found->second, Links::kRefuse, own);
    if (!bytes) continue;
    const std::string shown = ToUtf8(LastName(found->second), {});
    if (const auto link = links.find(key); link != links.end()) {
      whole.Show(shown, *bytes, link->second);
    } else {
      whole.Attach(shown, *bytes);
    }
  }
  if (areMore) files.NoteMissing("and all others", "more than a mail can have");
  if (!whole.IsEmpty()) mail = std::move(whole).Finish();
}

}  // namespace client
