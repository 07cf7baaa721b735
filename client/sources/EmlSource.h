#pragma once

#include "client/sources/EudoraFiles.h"
#include "client/sources/MovedMail.h"
#include "client/sources/Source.h"

namespace client {

// A tree of mail as programs keep it, with .ics and .vcf files and prepared items in it, or one
// .eml, .ics or .vcf file: files of .eml, mboxes, Maildirs, MH folders, the folders of Apple Mail,
// the profile of a Thunderbird. Mail in the root goes to the Inbox, a sub-folder and an mbox to a
// folder of its own name beside the Inbox; events, tasks and contacts go to Calendar, Tasks and
// Contacts, and there to folders of the names of sub-folders: a folder of Exchange holds items of
// one kind. A folder that holds a descriptor is one prepared item, and nothing below it is looked
// at. Symbolic links to files are followed, links to folders are not.
class EmlSource : public Source {
 public:
  EmlSource(std::string path, MboxKind mbox) : m_path(std::move(path)), m_mbox(mbox) {}
  static bool IsOne(const std::string& path);  // by the name of a file

  Listing List() const override;
  std::string Read(const SourceItem& item) const override;
  void AddFiles(const SourceItem& item, std::string& bytes, FilesBeside& files) const override;
  void AddState(const SourceItem& item, std::string_view bytes, MailState& state) const override;

 private:
  std::string m_path;
  MboxKind m_mbox;
  mutable MovedMail m_moved;
  mutable EudoraFiles m_eudora;
};

}  // namespace client
