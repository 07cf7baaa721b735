#include "client/sources/FolderNames.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>
#include <vector>

#include "base/AsciiText.h"
#include "client/sources/ContentLines.h"
#include "client/sources/LineDecoding.h"
#include "client/sources/Maildir.h"
#include "client/sources/PathParts.h"
#include "client/sources/Pieces.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

// "0A1B2C3D-1111-2222-3333-444455556666"
bool IsUuid(std::string_view name) {
  constexpr std::string_view kForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  return std::ranges::equal(name, kForm, [](char c, char form) {
    return form == '-' ? c == '-' : std::isxdigit(static_cast<unsigned char>(c)) != 0;
  });
}

// "V10"
bool IsVersion(std::string_view name) {
  return name.size() > 1 && name.front() == 'V' &&
         name.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

// "NAME.mbox/UUID/Data/4/2/Messages/24001.emlx"; once it was "NAME.mbox/Messages/24001.emlx".
bool IsApplePart(std::string_view name) {
  const bool isDigit = name.size() == 1 && name.front() >= '0' && name.front() <= '9';
  return isDigit || name == "Data" || name == "Messages" || IsUuid(name);
}

// The checksum in the names that offlineimap gives mails.
bool HasMailOfOfflineimap(const std::string& maildir) {
  const auto is = [](std::string_view name) {
    return name.find(",FMD5=") != std::string_view::npos;
  };
  return HasName(maildir + "/cur", is) || HasName(maildir + "/new", is);
}

// Once accounts were called by what they are.
bool IsAppleAccount(const std::string& parent, std::string_view name) {
  const bool isCalledSo = IsUuid(name) || name == "Mailboxes" || name.starts_with("IMAP-") ||
                          name.starts_with("POP-") || name.starts_with("EWS-");
  return isCalledSo && HasName(parent + "/" + std::string(name),
                               [](std::string_view each) { return each.ends_with(".mbox"); });
}

bool HoldsAppleAccounts(const std::string& path) {
  return HasName(path, [&](std::string_view each) { return IsAppleAccount(path, each); });
}

// Of a name that IsVersion() knows.
bool IsOlderVersion(std::string_view name, std::string_view other) {
  return std::pair(name.size(), name) < std::pair(other.size(), other);
}

}  // namespace

bool IsAppleVersion(const std::string& parent, std::string_view name) {
  const std::string path = parent + "/" + std::string(name);
  return IsVersion(name) && (IsThere(path + "/MailData") || HoldsAppleAccounts(path));
}

std::optional<SourceProblem> OlderAppleMailAt(const SourceFolder& parent, std::string_view name) {
  const std::string path = parent.path + "/" + std::string(name);
  if (!IsVersion(name) || !HoldsAppleAccounts(path)) return std::nullopt;
  std::string newest;
  HasName(parent.path, [&](std::string_view each) {
    const bool isNewer = IsVersion(each) && IsOlderVersion(newest.empty() ? name : newest, each) &&
                         IsAppleVersion(parent.path, each);
    if (isNewer) newest = each;
    return false;
  });
  if (newest.empty()) return std::nullopt;
  return SourceProblem{path,
                       "an Apple Mail had its mail there before it had it in " + newest +
                           ": name it as a source if it shall come",
                       /*isUnread=*/true};
}

bool IsAboveAppleFolders(const SourceFolder& parent, std::string_view name) {
  if (IsVersion(name)) return IsAppleVersion(parent.path, name);
  const std::size_t slash = std::min(parent.path.rfind('/'), parent.path.size());
  if (IsAppleVersion(parent.path.substr(0, slash), LastName(parent.path))) {
    return IsThere(parent.path + "/MailData") || IsAppleAccount(parent.path, name);
  }
  return IsUuid(name) && IsAppleAccount(parent.path, name);
}

bool IsAppleMailData(const SourceFolder& parent, std::string_view name) {
  return name == "MailData" && IsVersion(LastName(parent.path));
}

bool IsAboveEvolutionFolders(const SourceFolder& parent, std::string_view name) {
  const std::string path = parent.path + "/" + std::string(name);
  if (name == "mail") return IsThere(path + "/local/..maildir++");
  return name == "local" && LastName(parent.path) == "mail" && IsThere(path + "/..maildir++");
}

std::string_view AppleMailboxOf(std::string_view path) {
  constexpr std::string_view kMbox = ".mbox";
  for (;;) {
    const std::string_view name = LastName(path);
    if (name.size() > kMbox.size() && name.ends_with(kMbox)) return path;
    if (name.size() == path.size() || !IsApplePart(name)) return {};
    path.remove_suffix(name.size() + 1);
  }
}

bool IsBetweenAppleFolders(const SourceFolder& parent, std::string_view name) {
  return IsApplePart(name) && !AppleMailboxOf(parent.path).empty();
}

bool IsAppleGroup(const SourceFolder& parent, std::string_view name) {
  const std::string path = parent.path + "/" + std::string(name);
  return HasName(path, [&](std::string_view each) {
    return each.ends_with(".mbox") && HasEntry(path, std::string(each) + "/.");
  });
}

bool IsAppleAttachments(const SourceFolder& parent, std::string_view name) {
  return name == "Attachments" && !AppleMailboxOf(parent.path).empty() &&
         IsThere(parent.path + "/Messages");
}

bool HoldsServersFolders(const std::string& path) {
  static constexpr std::array<std::string_view, 4> kMarks = {".imap", ".subscriptions",
                                                             "subscriptions", ".mailboxlist"};
  if (std::ranges::any_of(kMarks, [&](auto mark) { return HasEntry(path, mark); })) return true;
  return HasName(path,
                 [&](std::string_view each) { return IsMaildir(path + "/" + std::string(each)); });
}

bool HasLevelsByDots(const SourceFolder& parent, std::string_view name) {
  const std::size_t dot = name.find('.');
  if (dot == 0 || dot == std::string_view::npos) return false;
  return HasMailOfOfflineimap(parent.path + "/" + std::string(name)) ||
         HasMailOfOfflineimap(parent.path + "/INBOX");
}

// The name stands first, and may hold commas.
EudoraNames::EudoraNames(std::string_view list) {
  for (std::string_view rest = list; !rest.empty();) {
    const std::string_view line = mail::trimmed(TakeUpTo(rest, '\n'));
    const std::size_t flags = line.rfind(',', line.rfind(',') - 1);
    if (flags == std::string_view::npos) continue;
    const std::size_t comma = line.rfind(',', flags - 1);
    if (comma == std::string_view::npos || comma == 0) continue;
    m_names.try_emplace(UpperAscii(line.substr(comma + 1, flags - comma - 1)),
                        ToUtf8(line.substr(0, comma), {}));
  }
}

std::optional<std::string> EudoraNames::Of(std::string_view file) const {
  const auto found = m_names.find(UpperAscii(file));
  return found == m_names.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace client
