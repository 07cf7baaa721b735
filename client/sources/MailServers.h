#pragma once

#include <map>
#include <string>
#include <string_view>

namespace client {

// What the prefs.js of a Thunderbird says of one of its accounts:
//
//   user_pref("mail.server.server2.directory-rel", "[ProfD]Mail/pop.example");
//   user_pref("mail.server.server2.trash_folder_name", "INBOX/Papierkorb");
struct MailServer {
  std::string type;       // "imap"; "none" of the folders of this machine
  std::string directory;  // of its mail, as it was on the machine of the profile
  std::string relative;   // the same, by where the profile lies; either may be missing
  std::string trash;      // the path of the folder to which what is deleted goes
  std::string junk;       // the address of the folder that its owner chose for junk
  bool isJunkMoved = false;
  bool isJunkChosen = false;  // that folder, and not the "Junk" of an account
};

// By what the preferences call them: "server2".
std::map<std::string, MailServer> MailServersIn(std::string_view prefs);

}  // namespace client
