#pragma once

#include <string>
#include <string_view>

#include "client/sources/FolderWalk.h"
#include "client/sources/Source.h"

namespace client {

// Holds cur, and new or tmp; or one of cur and new alone, where mail lies in it by its names: what
// copies a Maildir may leave empty folders out.
bool IsMaildir(const std::string& path);
// cur or new of one.
bool HoldsMailOfMaildir(const std::string& path);
// One of the three folders that make a Maildir.
bool IsMaildirPart(std::string_view name);
// The name of a folder beside them, or of a Maildir in the plain folder of that path, as levels
// below that: ".Sub.Deeper" of Maildir++, ".Sub.directory" of KMail, "Sub". In modified UTF-7, but
// for an Evolution's, which leaves a mark.
std::string MaildirLevels(const std::string& parent, std::string_view name);
// Adds the mails of one Maildir without its sub-folders, and the folder. Letters behind a mail's
// name say what became of it, in new/ too; a mail without S is unread.
void ListMaildirFolder(const SourceFolder& folder, Listing& listing);

}  // namespace client
