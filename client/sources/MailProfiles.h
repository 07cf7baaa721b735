#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/sources/FolderWalk.h"

namespace client {

// The profiles of a Thunderbird that lie in a folder, and what levels they make. The accounts of
// the one that the program opens are at the folder's own level; each other has a level of its name:
//
//   profiles.ini          [Profile0] Name=Work IsRelative=1 Path=Profiles/abcd.default
//   Profiles/abcd.default/prefs.js
class MailProfiles {
 public:
  explicit MailProfiles(std::string folder) : m_folder(std::move(folder)) {}
  // For a folder in it: its level with a backslash, nothing where it has none of its own; null for
  // one that has to do with no profile.
  std::optional<std::string> LevelOf(std::string_view name) const;

 private:
  void Find() const;

  std::string m_folder;
  mutable std::map<std::string, std::string, std::less<>> m_levels;  // by the name on disk
};

// A folder of crashes and the like, beside profiles.
bool IsBesideProfiles(const SourceFolder& parent, std::string_view name);

// Adds those profiles to the problems that a profiles.ini in the folder lists and that do not lie
// below it.
void NameProfilesElsewhere(const std::string& folder, std::vector<SourceProblem>& problems);

}  // namespace client
