#pragma once

#include <string>
#include <string_view>

#include "mailboxd/store/Store.h"

namespace mailbox {

// The directory's lists of people and groups, in pages as Graph gives them.

struct DirectoryReply {
  int status = 200;
  std::string json;
};

// Where such a list is: /v1.0/users, /v1.0/groups.
bool IsDirectoryPath(std::string_view path);

// One page. People are the mailboxes of the store; more of them, and the groups, stand in the file
// `directory.txt` of the data folder, a line each: "users" or "groups", name and address, divided
// by tabs. `top` and `skip` are what the request says, or "". `url` is that of the path, for the
// link to the next page. Throws platform::SqliteError.
DirectoryReply AnswerDirectory(Store& store, const std::string& dataFolder, std::string_view path,
                               std::string_view top, std::string_view skip, const std::string& url);

}  // namespace mailbox
