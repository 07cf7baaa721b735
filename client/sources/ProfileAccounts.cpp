#include "client/sources/ProfileAccounts.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <set>

#include "client/sources/MailServers.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kProfile = "[ProfD]";

std::string WithSlashes(std::string path) {
  std::ranges::replace(path, '\\', '/');
  return path;
}

// Without links; of what is not there as it stands.
std::string Resolved(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(path, error);
  return error ? path : resolved.string();
}

// What stands behind a folder in the path of one below it; nothing for other paths.
std::optional<std::string> Behind(const std::string& folder, std::string_view path) {
  if (folder.empty() || !path.starts_with(folder + "/")) return std::nullopt;
  return std::string(path.substr(folder.size() + 1));
}

// The last two names, "Mail/pop.example".
std::string LastTwo(const std::string& path) {
  const std::size_t last = path.rfind('/');
  const std::size_t before =
      last == std::string::npos || last == 0 ? last : path.rfind('/', last - 1);
  return before == std::string::npos ? path : path.substr(before + 1);
}

// Finds the folders of accounts. A profile may be the copy of one that another machine has, whose
// paths say nothing here.
class Finder {
 public:
  Finder(const std::string& profile, const std::string& source)
      : m_profile(profile), m_resolved(Resolved(profile)), m_source(source) {}

  ProfileAccounts Find(const std::map<std::string, MailServer>& servers) {
    for (const auto& [name, server] : servers) FindOldPlace(server);
    ProfileAccounts accounts;
    std::map<std::string, bool> below;  // whether it is of a server, by the place
    std::set<std::string> gone;
    std::set<std::string> elsewhere;
    for (const auto& [name, server] : servers) {
      if (!HasMail(server)) continue;
      const std::string place = PlaceOf(server);
      if (place.empty()) {
        const std::string met = PathInSource(server);
        if (met.empty()) elsewhere.insert(NamedPlace(server));
        if (!met.empty()) accounts.met.push_back({met, IsOfServer(server)});
      } else if (!HasEntry(m_profile, place)) {
        gone.insert(m_profile + "/" + place);
      } else if (!IsNameAboveAccounts(place.substr(0, place.find('/')))) {
        below.emplace(place, IsOfServer(server));
      }
    }
    for (const auto& [place, isOfServer] : below) {
      if (LiesInOther(place, below)) continue;
      accounts.below.push_back({m_profile + "/" + place, isOfServer});
    }
    accounts.gone.assign(gone.begin(), gone.end());
    accounts.elsewhere.assign(elsewhere.begin(), elsewhere.end());
    return accounts;
  }

 private:
  static const std::string& NamedPlace(const MailServer& server) {
    return server.directory.empty() ? server.relative : server.directory;
  }

  static bool IsOfServer(const MailServer& server) {
    return server.type == "imap" || server.type == "ews";
  }

  static bool HasMail(const MailServer& server) {
    static constexpr std::array<std::string_view, 3> kOfNone = {"", "im", "nntp"};
    return std::ranges::find(kOfNone, server.type) == kOfNone.end() && !NamedPlace(server).empty();
  }

  static bool LiesInOther(std::string_view place, const std::map<std::string, bool>& others) {
    for (std::size_t end = place.rfind('/'); end != std::string_view::npos;
         end = place.rfind('/')) {
      place = place.substr(0, end);
      if (others.contains(std::string(place))) return true;
    }
    return false;
  }

  // Where both forms of a path are there they tell where the profile was.
  void FindOldPlace(const MailServer& server) {
    const std::string path = WithSlashes(server.directory);
    if (!m_oldPlace.empty() || !server.relative.starts_with(kProfile)) return;
    const std::string end = "/" + server.relative.substr(kProfile.size());
    if (path.ends_with(end)) m_oldPlace = path.substr(0, path.size() - end.size());
  }

  std::string PlaceOf(const MailServer& server) const {
    if (server.relative.starts_with(kProfile)) {
      return Unlinked(PlaceBelowProfile(server.relative.substr(kProfile.size())));
    }
    const std::string path = WithSlashes(server.directory);
    if (path.starts_with('/') && IsThere(path)) {
      const auto place = Behind(m_resolved, Resolved(path));
      return place ? Unlinked(*place) : "";
    }
    // Of another machine; a path of another system than the profile was on says less.
    const bool isComparable =
        !m_oldPlace.empty() && path.starts_with('/') == m_oldPlace.starts_with('/');
    if (isComparable) return Unlinked(PlaceBelowProfile(Behind(m_oldPlace, path).value_or("")));
    const std::string place = PlaceBelowProfile(LastTwo(path));
    const bool isLikely = IsNameAboveAccounts(place.substr(0, place.find('/')));
    return isLikely && HasEntry(m_profile, place) ? place : "";
  }

  // Empty for one to which a link leads.
  std::string Unlinked(std::string place) const {
    const bool isLinked =
        !place.empty() && Resolved(m_profile + "/" + place) != m_resolved + "/" + place;
    return isLinked ? "" : place;
  }

  // As whoever walks the source meets it; empty for what is not there. Of the two forms of a path
  // the first that is there counts.
  std::string PathInSource(const MailServer& server) const {
    std::string path = server.directory.starts_with('/') ? server.directory : "";
    if (server.relative.starts_with(kProfile)) {
      const std::string own = m_profile + "/" + server.relative.substr(kProfile.size());
      if (path.empty() || IsThere(own)) path = own;
    }
    if (path.empty() || !IsThere(path)) return {};
    const std::string resolved = Resolved(path);
    if (resolved == Resolved(m_source)) return m_source;
    const auto behind = Behind(Resolved(m_source), resolved);
    return behind ? m_source + "/" + *behind : "";
  }

  const std::string& m_profile;
  const std::string m_resolved;
  const std::string& m_source;
  std::string m_oldPlace;
};

}  // namespace

bool IsNameAboveAccounts(std::string_view name) {
  return std::ranges::find(kMailFolders, name) != kMailFolders.end();
}

std::string PlaceBelowProfile(std::string_view path) {
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  std::string place = fs::path(path).lexically_normal().string();
  while (place.ends_with('/')) place.pop_back();
  const bool leadsOut =
      place == ".." || place.starts_with("../") || place.find('\0') != std::string::npos;
  return leadsOut || place == "." ? "" : place;
}

ProfileAccounts AccountsOfProfile(const std::string& profile, const std::string& source,
                                  std::vector<SourceProblem>& problems) {
  const std::string path = profile + "/prefs.js";
  std::string prefs;
  try {
    prefs = ReadFileRange(path, 0, kMostText);
  } catch (const ReadError& error) {
    problems.push_back({path,
                        std::string(error.what()) + ": it may name folders of accounts elsewhere",
                        /*isUnread=*/true});
  }
  return Finder(profile, source).Find(MailServersIn(prefs));
}

}  // namespace client
