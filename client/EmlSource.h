#pragma once

#include "client/Source.h"

namespace client {

// A tree of .eml files, or one such file. Mail in the root goes to the Inbox, a sub-folder to a
// folder of its own name beside the Inbox. Symbolic links to files are followed, links to folders
// are not.
class EmlSource : public Source {
 public:
  explicit EmlSource(std::string path) : m_path(std::move(path)) {}
  const char* Kind() const override { return "a tree of .eml files"; }
  std::vector<SourceItem> List(std::vector<SourceProblem>& problems) const override;
  std::string Read(const SourceItem& item) const override;

 private:
  std::string m_path;
};

}  // namespace client
