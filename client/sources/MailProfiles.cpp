#include "client/sources/MailProfiles.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/sources/ContentLines.h"
#include "client/sources/Names.h"
#include "client/sources/Pieces.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::string_view kList = "profiles.ini";
constexpr std::string_view kProfiles = "Profiles";

struct ListedProfile {
  std::string name;
  std::string path;
  bool isRelative = true;
  bool isDefault = false;
};

// Lists of either system are read here.
std::string_view NameOf(std::string_view path) { return path.substr(path.find_last_of("/\\") + 1); }

std::string ParentOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

bool IsProfile(const std::string& path) {
  return HasEntry(path, "prefs.js") && (HasEntry(path, "Mail") || HasEntry(path, "ImapMail"));
}

// Or the folder above some.
bool HoldsProfiles(const std::string& path) { return IsProfile(path) || HasEntry(path, kList); }

std::vector<ListedProfile> ReadList(const std::string& folder) {
  constexpr std::uint64_t kMostBytes = 1 << 20;
  constexpr std::size_t kMost = 1000;
  std::string text;
  try {
    text = ReadFileRange(folder + "/" + std::string(kList), 0, kMostBytes);
  } catch (const SourceError&) {
    return {};
  }
  std::vector<ListedProfile> listed;
  std::string ofInstall;  // path of the profile that the program opens
  bool isOne = false;
  bool isInstall = false;
  for (std::string_view rest = text; !rest.empty();) {
    std::string_view line = mail::trimmed(TakeUpTo(rest, '\n'));
    if (line.starts_with('[')) {
      isInstall = line.starts_with("[Install");
      isOne = line.starts_with("[Profile") && listed.size() < kMost;
      if (isOne) listed.emplace_back();
      continue;
    }
    const std::string_view key = TakeUpTo(line, '=');
    if (isInstall && key == "Default") ofInstall = line;
    if (!isOne) continue;
    if (key == "Name") listed.back().name = line;
    if (key == "Path") listed.back().path = line;
    if (key == "IsRelative") listed.back().isRelative = line != "0";
    if (key == "Default") listed.back().isDefault = line == "1";
  }
  // It comes first, then what older versions have for it.
  const auto takeToTheFront = [&](const auto& isFirst) {
    std::stable_partition(listed.begin(), listed.end(), isFirst);
  };
  takeToTheFront([](const ListedProfile& profile) { return profile.isDefault; });
  takeToTheFront([&](const ListedProfile& profile) { return profile.path == ofInstall; });
  return listed;
}

// The name on disk of the one whose mail goes where that of a single one would, so that another one
// which comes later moves no mail: the first of the list that is there. Empty where none is listed.
std::string MainOf(const std::vector<ListedProfile>& listed,
                   const std::vector<std::string>& found) {
  for (const ListedProfile& profile : listed) {
    const auto name = std::ranges::find(found, NameOf(profile.path));
    if (name != found.end()) return *name;
  }
  return found.size() == 1 ? found.front() : std::string();
}

// By the last name of the path.
std::string ListedName(const std::vector<ListedProfile>& listed, std::string_view name) {
  const auto found = std::ranges::find_if(
      listed, [&](const ListedProfile& each) { return NameOf(each.path) == name; });
  return found == listed.end() || found->name.empty() ? std::string(name) : found->name;
}

// Copied from another machine it may be listed by the path that it had there.
bool LiesBelow(const std::string& folder, const ListedProfile& profile) {
  const bool leadsOut = profile.path.find("..") != std::string::npos;
  if (profile.isRelative && !leadsOut) return HasEntry(folder, profile.path);
  const std::string name = "/" + std::string(NameOf(profile.path));
  return IsProfile(folder + name) || IsProfile(folder + "/" + std::string(kProfiles) + name);
}

}  // namespace

void MailProfiles::Find() const {
  std::vector<std::string> found;
  std::vector<SourceProblem> toldBefore;
  EachName(m_folder, toldBefore, [&](std::string_view name) {
    if (HoldsProfiles(m_folder + "/" + std::string(name))) found.emplace_back(name);
    return true;
  });
  std::ranges::sort(found);
  const bool isProfiles = NameOf(m_folder) == kProfiles;
  const auto listed = ReadList(isProfiles ? ParentOf(m_folder) : m_folder);
  const std::string main = MainOf(listed, found);
  if (!main.empty()) m_levels[main] = "";
  std::set<std::string> taken;
  for (const std::string& name : found) {
    if (name == main) continue;
    std::string level = LevelName(ListedName(listed, name));
    if (!taken.insert(UpperAscii(level)).second) level = LevelName(name);
    m_levels[name] = level + "\\";
  }
}

std::optional<std::string> MailProfiles::LevelOf(std::string_view name) const {
  if (name == kProfiles && HasEntry(m_folder, kList)) return "";
  if (!HoldsProfiles(m_folder + "/" + std::string(name))) return std::nullopt;
  if (m_levels.empty()) Find();
  const auto found = m_levels.find(name);
  return found == m_levels.end() ? std::nullopt : std::optional(found->second);
}

bool IsBesideProfiles(const SourceFolder& parent, std::string_view name) {
  return (name == "Crash Reports" || name == "Pending Pings") && HasEntry(parent.path, kList);
}

void NameProfilesElsewhere(const std::string& folder, std::vector<SourceProblem>& problems) {
  for (const ListedProfile& profile : ReadList(folder)) {
    if (profile.path.empty() || LiesBelow(folder, profile)) continue;
    problems.push_back(
        {folder + "/" + std::string(kList),
         fmt::format("its profile \"{}\" lies elsewhere, in {}: name that as a source",
                     WithoutForbiddenControls(profile.name),
                     WithoutForbiddenControls(profile.path)),
         /*isUnread=*/true});
  }
}

}  // namespace client
