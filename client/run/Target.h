#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "engine/Records.h"
#include "ews/ExchangeService.h"
#include "ews/FolderId.h"

namespace client {

inline constexpr std::string_view kOffice365 = "office365";  // an address of a target

inline constexpr std::string_view kLocal = "local:";
inline constexpr std::string_view kStore = "store:";

// Where a run sends its items, and as whom. Texts are UTF-8.
struct Target {
  std::string address;  // --to as it is recorded: a URL, "office365", or "local:" or "store:" and a
                        // full path
  std::string kind = "mailbox";  // mailbox, archive, public or group
  std::string user;
  std::string password;
  std::string mailbox;  // the mailbox to impersonate, or the group's address; may be empty
  std::string tenant;   // set: the token route
  std::string clientId;
  std::string clientSecret;

  bool TokenRoute() const { return !tenant.empty(); }
  bool Group() const { return kind == "group"; }
  bool Local() const { return address.starts_with(kLocal); }
  std::string LocalFolder() const { return address.substr(kLocal.size()); }
  // A file of this machine, which the engine writes itself.
  bool Store() const { return address.starts_with(kStore); }
  std::string StoreFile() const { return address.substr(kStore.size()); }
  // The login id of the logon and of the ledger's rows: the address of the target mailbox. In the
  // password route the engine logs on with it, so that it is the user there.
  std::string Login() const { return TokenRoute() ? mailbox : user; }
  // Which target this is, for the record of a run.
  std::string Name() const;
  // True if a target of that name may be the same mailbox, its server reached by another address.
  bool MayBe(std::string_view name) const;
};

// The record of the logon command. Check with TargetProblem first: longer texts would be cut.
ST_LOGIN_INFO LoginRecord(const Target& target);

// What is missing or too long in a target, for people; empty when it can be used.
std::string TargetProblem(const Target& target);

// A connection of our own to the target, as the engine makes one; in the token route its token is
// good for an hour. ews::Settings() must hold the options that the engine gets. Throws
// std::runtime_error with the reason.
std::shared_ptr<ews::ExchangeService> LogOnTo(const Target& target);

// The folder that the paths of the run begin at. A group has three folders and no paths.
ews::FolderId RootOf(const Target& target);

// Logs on by itself and looks at the target's root folder, since the engine gives no reason when
// that fails. Returns the reason of a failure, empty on success.
std::string TryTarget(const Target& target);

}  // namespace client
