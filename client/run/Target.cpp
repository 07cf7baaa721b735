#include "client/run/Target.h"

#include <array>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/run/StoreLook.h"
#include "ews/Autodiscover.h"
#include "ews/Connection.h"
#include "ews/ExchangeService.h"
#include "ews/FindFolders.h"
#include "ews/FolderId.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"

namespace client {
namespace {

struct TargetKind {
  std::string_view name;
  const char16_t* wireName;
  ews::WellKnownFolderName root;
};
constexpr std::array<TargetKind, 4> kKinds = {{
    {"mailbox", u"Mailbox", ews::WellKnownFolderName::MsgFolderRoot},
    {"archive", u"Archive Mailbox", ews::WellKnownFolderName::ArchiveMsgFolderRoot},
    {"public", u"Public Folder", ews::WellKnownFolderName::PublicFoldersRoot},
    {"group", u"Group", ews::WellKnownFolderName::Inbox},
}};

const TargetKind* FindKind(std::string_view name) {
  for (const TargetKind& kind : kKinds) {
    if (kind.name == name) return &kind;
  }
  return nullptr;
}

// The beginning of a target's name, with all but the way to it.
std::string WhoseName(const Target& target) {
  return fmt::format("{} of {} at ", target.kind,
                     target.mailbox.empty() ? target.user : target.mailbox);
}

struct Slot {
  std::string_view what;
  const std::string& text;
  int units;  // longest text that the logon record carries
};

// Both give the service its address and what it logs on with, and throw where they cannot.
void GoByToken(const Target& target, ews::ExchangeService& service) {
  CString tenant = CString::FromUtf8(target.tenant);
  CString clientId = CString::FromUtf8(target.clientId);
  CString secret = CString::FromUtf8(target.clientSecret);
  CString reason;
  const CString token =
      ConnectionDLL::Connection().GetAccessToken(tenant, clientId, secret, reason);
  if (token.IsEmpty()) throw std::runtime_error("no token: " + reason.ToUtf8());
  service.SetUrl(ews::Settings().TokenRouteUrl());
  service.SetCredentials(ews::OAuthCredentials(token));
  service.SetNewLogon([tenant, clientId, secret] {
    return ews::Credentials(ConnectionDLL::NewToken(tenant, clientId, secret));
  });
  if (target.Group()) return;
  service.HttpHeaders().Add(u"X-AnchorMailbox", CString::FromUtf8(target.mailbox));
}

void GoByPassword(const Target& target, ews::ExchangeService& service) {
  const CString user = CString::FromUtf8(target.user);
  service.SetCredentials(ews::WebCredentials(user, CString::FromUtf8(target.password)));
  service.AutodiscoverUrl(user, Device::RedirectionUrlValidationCallback);
}

}  // namespace

std::string Target::Name() const {
  return fmt::format("{}{}{}", WhoseName(*this), address,
                     TokenRoute() ? " (tenant " + tenant + ")" : "");
}

bool Target::MayBe(std::string_view name) const {
  if (name == Name()) return true;
  const std::string whose = WhoseName(*this);
  if (Local() || Store() || !mail::beginsWithNoCase(name, whose)) return false;
  const std::string_view at = name.substr(whose.size());  // a folder is a mailbox of its own
  return !at.starts_with(kLocal) && !at.starts_with(kStore);
}

ST_LOGIN_INFO LoginRecord(const Target& target) {
  ST_LOGIN_INFO info;
  info.strLoginId = CString::FromUtf8(target.Login());
  info.strLoginPassword = CString::FromUtf8(target.password);
  info.strImpersonatedUserMail = CString::FromUtf8(target.mailbox);
  if (const TargetKind* kind = FindKind(target.kind)) info.strTargetType = kind->wireName;
  info.strTenantId = CString::FromUtf8(target.tenant);
  info.strClientId = CString::FromUtf8(target.clientId);
  info.strClientSecret = CString::FromUtf8(target.clientSecret);
  info.bAllowDuplicates = 1;  // turns the ledger's check on
  info.iConnType = target.TokenRoute() ? kTokenRoute : 0;
  return info;
}

std::string TargetProblem(const Target& target) {
  if (!FindKind(target.kind)) return "--target is mailbox, archive, public or group";
  if (target.TokenRoute() && target.clientId.empty()) return "--tenant needs --client";
  if (target.TokenRoute() && target.mailbox.empty()) return "--tenant needs --mailbox";
  if (target.Group() && target.mailbox.empty()) return "--target group needs --mailbox";
  if (!target.TokenRoute() && target.user.empty()) return "--user is needed";
  const std::array<Slot, 6> slots = {{{"--user", target.user, 259},
                                      {"the password", target.password, 499},
                                      {"--mailbox", target.mailbox, 259},
                                      {"--tenant", target.tenant, 259},
                                      {"--client", target.clientId, 259},
                                      {"the client secret", target.clientSecret, 259}}};
  for (const Slot& slot : slots) {
    if (CString::FromUtf8(slot.text).GetLength() > slot.units) {
      return fmt::format("{} is longer than {} characters", slot.what, slot.units);
    }
  }
  return {};
}

std::shared_ptr<ews::ExchangeService> LogOnTo(const Target& target) {
  const CString mailbox = CString::FromUtf8(target.mailbox);
  auto service = std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
  target.TokenRoute() ? GoByToken(target, *service) : GoByPassword(target, *service);
  if (!target.Group() && !mailbox.IsEmpty()) {
    service->SetImpersonatedUserId({ews::ConnectingIdType::SmtpAddress, mailbox});
  }
  return service;
}

ews::FolderId RootOf(const Target& target) {
  const TargetKind* kind = FindKind(target.kind);
  if (target.Group()) {
    return ews::FolderId(kind->root, ews::Mailbox(CString::FromUtf8(target.mailbox)));
  }
  return ews::FolderId(kind->root);
}

std::string TryTarget(const Target& target) {
  if (target.Store()) return TryStore(target);
  try {
    (void)LogOnTo(target)->FindFolders(RootOf(target), ews::FolderView(1));
  } catch (const std::exception& error) {
    return error.what();
  }
  return {};
}

}  // namespace client
