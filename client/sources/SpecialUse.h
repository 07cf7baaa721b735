#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "client/sources/FolderWalk.h"
#include "client/sources/Source.h"
#include "client/sources/SpecialFolders.h"

namespace client {

// What the folders of a Dovecot are for, by the marks of IMAP, where it was told to keep such
// things: "dovecot-attributes" has a line for a folder's number and one for its use,
//
//   priv/f9b14e022f9a086b2a75000083ecc375/specialuse
//   \Sent
//
// and each folder its own number in the first line of its "dovecot-uidlist". As names do, they say
// it of the folders of the source alone, and not where it holds mailboxes in folders of their own.
class SpecialUse {
 public:
  // Of one folder after the other, what lies above before what lies below it: tells the listing
  // what it is for.
  void See(const SourceFolder& folder, Listing& listing);

  // Both of the texts of those files: what the one says, and of the folder of the other.
  void TakeAttributes(std::string_view text);
  std::optional<SpecialFolder> Of(std::string_view uidList) const;

 private:
  FolderMarks m_uses;  // by the folder's number
};

// Tells the listing in which folders the owner of a Thunderbird keeps what was sent, drafts and the
// archive, and to which one mail goes that is deleted or junk, by its prefs.js. A folder whose name
// says more is what that says: some people have copies of what they send among what they get.
//
//   user_pref("mail.identity.id1.fcc_folder", "imap://jane%40example.com@host/INBOX/Ausgang");
//   user_pref("mail.server.server1.trash_folder_name", "INBOX/Weg");
void AddFoldersOfPrefs(const SourceFolder& profile, Listing& listing);
// The same of its text.
void AddMarksOfPrefs(std::string_view prefs, FolderMarks& marks);

}  // namespace client
