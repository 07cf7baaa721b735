#pragma once

#include "client/sources/Source.h"

namespace client {

// A Maildir with its sub-folders: those of Maildir++ (".Sub.Deeper" beside cur and new) and nested
// Maildirs in plain folders; prepared items may lie beside them. The root goes to the Inbox. A mail
// without the flag S is unread; mail with the flag T, which waits for its deletion, comes along.
class MaildirSource : public Source {
 public:
  explicit MaildirSource(std::string path) : m_path(std::move(path)) {}
  static bool IsMaildir(const std::string& path);  // holds cur and new

  const char* Kind() const override { return "a Maildir"; }
  std::vector<SourceItem> List(std::vector<SourceProblem>& problems) const override;
  std::string Read(const SourceItem& item) const override;

 private:
  std::string m_path;
};

}  // namespace client
