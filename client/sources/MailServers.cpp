#include "client/sources/MailServers.h"

#include "client/sources/Prefs.h"

namespace client {

std::map<std::string, MailServer> MailServersIn(std::string_view prefs) {
  std::map<std::string, MailServer> servers;
  EachPref(prefs, "mail.server.", [&](std::string_view key, const std::string& value) {
    const std::size_t dot = key.find('.');
    if (dot == std::string_view::npos) return;
    const std::string_view name = key.substr(dot + 1);
    MailServer& server = servers[std::string(key.substr(0, dot))];
    if (name == "type") server.type = value;
    if (name == "directory") server.directory = value;
    if (name == "directory-rel") server.relative = value;
    if (name == "trash_folder_name") server.trash = value;
    if (name == "spamActionTargetFolder") server.junk = value;
    if (name == "moveOnSpam") server.isJunkMoved = value == "true";
    if (name == "moveTargetMode") server.isJunkChosen = value == "1";
  });
  return servers;
}

}  // namespace client
