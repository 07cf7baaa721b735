#pragma once

#include "client/sources/Source.h"

namespace client {

// A tree of .eml, .ics and .vcf files and prepared items, or one such file. Mail in the root goes
// to the Inbox, a sub-folder to a folder of its own name beside the Inbox; events, tasks and
// contacts go to Calendar, Tasks and Contacts, and there to folders of the names of sub-folders: a
// folder of Exchange holds items of one kind. A folder that holds a descriptor is one prepared
// item, and nothing below it is looked at. Symbolic links to files are followed, links to folders
// are not.
class EmlSource : public Source {
 public:
  explicit EmlSource(std::string path) : m_path(std::move(path)) {}
  static bool IsOne(const std::string& path);  // by the name of a file

  const char* Kind() const override {
    return "a tree of .eml, .ics and .vcf files and prepared items";
  }
  Listing List() const override;
  std::string Read(const SourceItem& item) const override;
  void AddState(std::string_view bytes, MailState& state) const override;

 private:
  std::string m_path;
};

}  // namespace client
