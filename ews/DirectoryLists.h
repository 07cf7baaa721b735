#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ews/Credentials.h"

// The lists of a tenant's directory, which come in pages of JSON.
namespace ews {

enum class DirectoryList { kUsers, kGroups };  // the latter: those with a mailbox of their own

struct DirectoryEntry {
  std::string strName;     // may be empty
  std::string strAddress;  // of its mailbox, or what a user logs on with who has none
};

struct DirectoryPage {
  std::vector<DirectoryEntry> arrEntries;  // UTF-8; without those that have no address at all
  std::string strNextUrl;                  // empty behind the last one
};

inline constexpr size_t kMaxDirectoryPageBytes = 8u << 20;
inline constexpr size_t kMaxDirectoryPages = 10000;       // of up to 999 entries
inline constexpr size_t kMaxDirectoryBytes = 256u << 20;  // of all entries in memory

// Throws ServiceException for what is no page of a list, or longer than one may be.
DirectoryPage ReadDirectoryPage(std::string_view strJson);

// Asks the directory of the settings for all pages, in its order. A busy one is waited for, page by
// page. Throws ServiceException: there is no part of a list.
std::vector<DirectoryEntry> ReadDirectoryList(DirectoryList eList,
                                              const OAuthCredentials& objCredentials);

// A line "name<TAB>address" for each entry, each ended by LF; control characters are blanks.
std::string DirectoryText(const std::vector<DirectoryEntry>& arrEntries);

}  // namespace ews
