#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/MissingMail.h"

namespace client {

// The folders of a profile in which the accounts lie, unless its prefs.js names others.
inline constexpr std::array<std::string_view, 2> kMailFolders = {"ImapMail", "Mail"};
bool IsNameAboveAccounts(std::string_view name);

// Those others.
struct ProfileAccounts {
  std::vector<MailAccounts::One> below;  // in folders of the profile, none in another
  std::vector<MailAccounts::One> met;    // in other folders of the source, met by who walks it
  std::vector<std::string> gone;         // below the profile, where nothing is
  std::vector<std::string> elsewhere;    // as they stand there, in no folder of the source
};

// A prefs.js that cannot be read becomes a problem.
ProfileAccounts AccountsOfProfile(const std::string& profile, const std::string& source,
                                  std::vector<SourceProblem>& problems);

// The place below a profile that a path in its prefs.js means, "Mail/pop.example"; empty for one
// that leads out of it, or to itself.
std::string PlaceBelowProfile(std::string_view path);

}  // namespace client
