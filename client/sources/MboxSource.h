#pragma once

#include "client/sources/EudoraFiles.h"
#include "client/sources/Source.h"

namespace client {

// The level that an mbox file is called by: its name without ".mbox" and the like.
std::string MboxFolder(const std::string& path);
// Whether a file is an mbox of more than one mail, which may be called otherwise: a line by which a
// mail begins is not enough for the second, its header must follow. Throws SourceError.
bool HoldsSeveralMails(const std::string& path, MboxKind kind);
// Adds the mails of an mbox or MMDF file, and the folder that they go to; an export of Gmail names
// one for each mail. What lies before begin, in bytes, is damaged and becomes a problem. Throws
// SourceError.
void ListMbox(const std::string& path, const std::string& folder, MboxKind kind, Listing& listing,
              std::uint64_t begin = 0);
// The bytes of one of them. Throws SourceError.
std::string ReadMboxItem(const SourceItem& item, MboxKind kind);

// An mbox file, or an MMDF file; one of 0 bytes is a folder without mail. Its mail goes to a folder
// of the file's name without its extension. Where mails begin and which ">" belong to the file,
// Mbox.h says. A mail is read or not as the fields of its program say (StateFields.h); one without
// any is read, but where others of the file have one.
class MboxSource : public Source {
 public:
  MboxSource(std::string path, MboxKind kind, std::uint64_t begin = 0)
      : m_path(std::move(path)), m_kind(kind), m_begin(begin) {}
  // Begins with "From ", empty lines and a byte order mark aside, or with what parts the mails of
  // an MMDF file.
  static bool IsMbox(std::string_view head);

  Listing List() const override;
  std::string Read(const SourceItem& item) const override;
  void AddFiles(const SourceItem& item, std::string& bytes, FilesBeside& files) const override;

 private:
  std::string m_path;
  MboxKind m_kind;
  std::uint64_t m_begin;  // of the first mail where it is damaged
  mutable EudoraFiles m_eudora;
};

}  // namespace client
