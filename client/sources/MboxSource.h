#pragma once

#include "client/sources/Source.h"

namespace client {

// An mbox file. Its mail goes to a folder of the file's name without its extension. A mail begins
// at a "From " line at the start of the file or behind an empty line. ">From " lines lose one ">"
// when a mail is read. A mail whose Status field has no R is unread; without the field it is read.
class MboxSource : public Source {
 public:
  explicit MboxSource(std::string path) : m_path(std::move(path)) {}
  static bool IsMbox(const std::string& path);  // begins with "From "

  const char* Kind() const override { return "an mbox file"; }
  std::vector<SourceItem> List(std::vector<SourceProblem>& problems) const override;
  std::string Read(const SourceItem& item) const override;

 private:
  std::string m_path;
};

}  // namespace client
