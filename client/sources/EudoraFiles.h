#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/FilesBeside.h"

// A Eudora takes the attachments out of a mail and puts them into a folder beside its mailboxes.
// The mail keeps their names, in lines of its text:
//
//   Attachment Converted: "C:\Eudora\Attach\offer.doc"
//   Attachment converted: Macintosh HD:offer.doc (TEXT/MSWD) (0001234A)
//   Embedded Content: logo.gif: 00000001,1a2b3c4d,00000000,00000000
//
// and one that was sent from it has "X-Attachments: C:\My Documents\offer.doc;" in its header.
namespace client {

// The names alone, each once, as the mail has them: of at most kMostEudoraFiles files, and of one
// more where there are more.
inline constexpr std::size_t kMostEudoraFiles = 1000;
std::vector<std::string> EudoraFileNames(std::string_view mail);

// True of an mbox that a Eudora keeps: by its first line or by what lies beside it. Any other mail
// may quote such lines.
bool IsEudoraMbox(const std::string& path);

// A folder in which a Eudora keeps such files, of the folder that it lies in.
bool IsEudoraFilesFolder(const std::string& parent, std::string_view name);

// Puts the files back into the mails, as their attachments. They are looked for by their names in
// the listing of those folders: no name of a mail leads anywhere else. May be used by several
// threads.
class EudoraFiles {
 public:
  // Into a mail of that mbox, where a Eudora keeps it.
  void AddTo(const std::string& mbox, std::string& mail, FilesBeside& files);

 private:
  using Paths = std::map<std::string, std::string>;  // by the names without regard to case

  void Look(const std::string& mbox);

  std::mutex m_mutex;
  std::string m_mbox;  // whose answers these are
  bool m_isEudoras = false;
  std::string m_folder;
  Paths m_paths;
};

}  // namespace client
