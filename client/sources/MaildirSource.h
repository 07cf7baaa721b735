#pragma once

#include <string>
#include <string_view>

#include "client/sources/FolderWalk.h"
#include "client/sources/MovedMail.h"
#include "client/sources/Source.h"

namespace client {

// One of the three folders that make a Maildir.
bool IsMaildirPart(std::string_view name);
// The name of a folder beside them, or of a Maildir in a plain folder, as levels below that:
// ".Sub.Deeper" of Maildir++, ".Sub.directory" of KMail, "Sub".
std::string MaildirLevels(std::string_view name);
// Adds the mails of one Maildir without its sub-folders, and the folder.
void ListMaildirFolder(const SourceFolder& folder, Listing& listing);

// A Maildir with its sub-folders: those of Maildir++ (".Sub.Deeper" beside cur and new) and nested
// Maildirs in plain folders; prepared items may lie beside them. The root goes to the Inbox.
// Letters behind a mail's name say what became of it, in new/ too; a mail without S is unread.
class MaildirSource : public Source {
 public:
  explicit MaildirSource(std::string path) : m_path(std::move(path)) {}
  static bool IsMaildir(const std::string& path);  // holds cur, and new or tmp

  const char* Kind() const override { return "a Maildir"; }
  Listing List() const override;
  std::string Read(const SourceItem& item) const override;

 private:
  std::string m_path;
  mutable MovedMail m_moved;
};

}  // namespace client
