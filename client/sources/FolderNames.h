#pragma once

#include <string>
#include <string_view>

#include "client/sources/FolderWalk.h"

// What the names of folders mean in trees of programs that give them another name on disk, or put
// folders between that are nobody's.
namespace client {

// Apple Mail puts "V10" and a folder for each account above an account's own, and MailData, which
// holds no mail, beside these.
bool IsAboveAppleFolders(const SourceFolder& parent, std::string_view name);
bool IsAppleMailData(const SourceFolder& parent, std::string_view name);

// A Maildir that offlineimap wrote, whose name divides levels by dots: "Projekte.Kunde".
bool HasLevelsByDots(const SourceFolder& parent, std::string_view name);

// What the list of a Eudora calls that file or folder of it ("NAME.mbx", "NAME.fol"); its name
// without the ending where there is no list, or it does not stand there. UTF-8.
std::string EudoraName(const std::string& folder, std::string_view file);

}  // namespace client
