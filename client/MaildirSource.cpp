#include "client/MaildirSource.h"

#include <sys/stat.h>

#include <optional>
#include <string_view>

#include "client/Names.h"
#include "client/SourceFiles.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";

bool IsFolder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The units of one "&...-" group without its ends; nothing where it is not well formed.
std::optional<std::u16string> DecodeGroup(std::string_view digits) {
  std::u16string units;
  std::uint32_t bits = 0;
  int count = 0;
  for (char c : digits) {
    const size_t value = kAlphabet.find(c);
    if (value == std::string_view::npos) return std::nullopt;
    bits = (bits << 6) | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 16) continue;
    count -= 16;
    units += static_cast<char16_t>(bits >> count);
    bits &= (1u << count) - 1;
  }
  // What is left over is padding: fewer than six bits, all zero.
  if (count >= 6 || bits != 0 || units.empty()) return std::nullopt;
  return units;
}

bool IsUnread(std::string_view fileName) {
  const size_t info = fileName.rfind(":2,");
  return info == std::string_view::npos || fileName.find('S', info) == std::string_view::npos;
}

// ".Sub.Deeper" as levels below the target of the Maildir that it stands in.
std::string DotLevels(std::string_view name) {
  std::string levels;
  while (!name.empty()) {
    const size_t dot = name.find('.');
    const std::string_view level = name.substr(0, dot);
    if (!level.empty()) levels += LevelName(FromModifiedUtf7(level)) + "\\";
    if (dot == std::string_view::npos) break;
    name.remove_prefix(dot + 1);
  }
  return levels;
}

struct PendingFolder {
  std::string path;
  std::string target;  // empty for the root
};

void AddMails(const PendingFolder& folder, const char* part, std::vector<SourceItem>& items,
              std::vector<SourceProblem>& problems) {
  const std::string target = folder.target.empty() ? std::string(kInbox) : folder.target;
  const std::string path = folder.path + "/" + part;
  for (const FolderEntry& entry : ListFolder(path, problems)) {
    if (entry.kind != EntryKind::kFile || entry.name.starts_with('.')) continue;
    const bool read = std::string_view(part) == "cur" && !IsUnread(entry.name);
    items.push_back({path + "/" + entry.name, target, read, 0, entry.size});
  }
}

}  // namespace

std::string FromModifiedUtf7(std::string_view name) {
  std::string text;
  std::string_view rest = name;
  while (!rest.empty()) {
    const unsigned char c = static_cast<unsigned char>(rest[0]);
    if (c < 0x20 || c > 0x7E) return std::string(name);
    if (c != '&') {
      text += rest[0];
      rest.remove_prefix(1);
      continue;
    }
    const size_t end = rest.find('-');
    if (end == std::string_view::npos) return std::string(name);
    if (end == 1) {
      text += '&';
    } else {
      const std::optional<std::u16string> units = DecodeGroup(rest.substr(1, end - 1));
      if (!units) return std::string(name);
      text += platform::Utf16ToUtf8(*units);
    }
    rest.remove_prefix(end + 1);
  }
  return text;
}

bool MaildirSource::IsMaildir(const std::string& path) {
  return IsFolder(path + "/cur") && IsFolder(path + "/new");
}

std::vector<SourceItem> MaildirSource::List(std::vector<SourceProblem>& problems) const {
  std::vector<SourceItem> items;
  std::vector<PendingFolder> pending = {{m_path, ""}};
  while (!pending.empty()) {
    const PendingFolder folder = std::move(pending.back());
    pending.pop_back();
    const bool maildir = IsMaildir(folder.path);
    if (maildir) {
      AddMails(folder, "cur", items, problems);
      AddMails(folder, "new", items, problems);
    }
    std::vector<PendingFolder> below;
    for (const FolderEntry& entry : ListFolder(folder.path, problems)) {
      if (entry.kind != EntryKind::kFolder) continue;
      if (maildir && (entry.name == "cur" || entry.name == "new" || entry.name == "tmp")) continue;
      const std::string path = folder.path + "/" + entry.name;
      const std::string levels = entry.name.starts_with('.')
                                     ? DotLevels(entry.name)
                                     : LevelName(FromModifiedUtf7(entry.name)) + "\\";
      below.push_back({path, folder.target + levels});
    }
    pending.insert(pending.end(), below.rbegin(), below.rend());
  }
  return items;
}

std::string MaildirSource::Read(const SourceItem& item) const {
  std::string bytes = ReadWholeFile(item.location);
  RequireMail(bytes);
  return bytes;
}

}  // namespace client
