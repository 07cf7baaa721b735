#pragma once

#include <string>
#include <string_view>

namespace platform {

// The user's locale: the name in LC_ALL, else LC_CTYPE, else LANG, the first that is not empty.
// None, or C or POSIX with any suffix, is en-US. setlocale is never called.
struct UserLocale {
  std::string strLanguage = "en";   // lower case
  std::string strTerritory = "US";  // upper case; empty if the name has none
  std::string strScript;            // "Latn" or "Cyrl" where the name's modifier says so
  bool operator==(const UserLocale&) const = default;
};

// Parts a name such as "sr_RS.UTF-8@latin"; what is no locale name gives en-US.
UserLocale ParseLocaleName(std::string_view strName);
// Read anew at each call, so that it follows the environment.
UserLocale CurrentUserLocale();

// The code pages that go with a locale's language; 1252 and 437 for a language that has none of its
// own. Never 65001.
struct CodePages {
  unsigned nAnsi = 1252;
  unsigned nOem = 437;
};
CodePages CodePagesOf(const UserLocale& objLocale);

}  // namespace platform
