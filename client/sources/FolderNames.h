#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "client/sources/FolderWalk.h"

// What the names of folders mean in trees of programs that give them another name on disk, or put
// folders between that are nobody's.
namespace client {

// Apple Mail puts "V10" and a folder for each account above an account's own, and MailData, which
// holds no mail, beside these.
// It has a new one for each version, "V2" to "V10" so far, and what is in the older ones is told.
bool IsAppleVersion(const std::string& parent, std::string_view name);
std::optional<SourceProblem> OlderAppleMailAt(const SourceFolder& parent, std::string_view name);
bool IsAboveAppleFolders(const SourceFolder& parent, std::string_view name);
bool IsAppleMailData(const SourceFolder& parent, std::string_view name);

// An Evolution has its own Maildir two levels below its data.
bool IsAboveEvolutionFolders(const SourceFolder& parent, std::string_view name);
// The "NAME.mbox" that a folder is, or lies in with nothing between but what Apple Mail puts there;
// empty for any other. A view into the path.
std::string_view AppleMailboxOf(std::string_view path);
// That program puts it between a folder and its mail.
bool IsBetweenAppleFolders(const SourceFolder& parent, std::string_view name);
// A plain folder that holds some of its folders, as it once put them into groups.
bool IsAppleGroup(const SourceFolder& parent, std::string_view name);
// Holds bodies of parts, which are read with their mails.
bool IsAppleAttachments(const SourceFolder& parent, std::string_view name);

// A folder that holds Maildirs, or what a server puts beside its folders of mail: what lies there
// and below it has the names that it has on the server, in modified UTF-7.
bool HoldsServersFolders(const std::string& path);

// A Maildir that offlineimap wrote, whose name divides levels by dots: "Projekte.Kunde".
bool HasLevelsByDots(const SourceFolder& parent, std::string_view name);

// What a Eudora calls the files and folders in one of its folders ("NAME.mbx", "NAME.fol"):
// descmap.pce has a line for each, as in "Customers & Co,Customer.fol,F,N".
class EudoraNames {
 public:
  static constexpr const char* kFile = "descmap.pce";
  explicit EudoraNames(std::string_view list);
  // UTF-8; nothing for what does not stand there.
  std::optional<std::string> Of(std::string_view file) const;

 private:
  std::map<std::string, std::string> m_names;  // by the file, in capitals
};

}  // namespace client
