#pragma once

#include "client/sources/Source.h"

namespace client {

// A Maildir with its sub-folders: those of Maildir++ (".Sub.Deeper" beside cur and new) and nested
// Maildirs in plain folders; prepared items may lie beside them. The root goes to the Inbox.
// Letters behind a mail's name say what became of it, in new/ too; a mail without S is unread.
class MaildirSource : public Source {
 public:
  explicit MaildirSource(std::string path) : m_path(std::move(path)) {}
  static bool IsMaildir(const std::string& path);  // holds cur and new

  const char* Kind() const override { return "a Maildir"; }
  Listing List() const override;
  std::string Read(const SourceItem& item) const override;

 private:
  std::string m_path;
};

}  // namespace client
