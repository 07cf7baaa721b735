#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/run/Target.h"
#include "client/run/TargetLook.h"
#include "client/run/TargetService.h"

namespace client {

// Looks at a server's mailbox with requests of our own beside the engine's. ews::Settings() must
// hold the engine's options.
class ServerLook : public TargetLook {
 public:
  explicit ServerLook(const Target& target)  // which must outlive this
      : m_target(target), m_service(target) {}

  std::string Identity(const Place& place) override;
  bool Has(const Place& place) override { return FolderAt(place).has_value(); }
  using TargetLook::Find;
  void Find(const Place& place, const Names& names, const Take& take) override;
  bool HoldsAny(const Is& is) override;
  void List(const Place& place, const Take& take) override;

 private:
  ews::ExchangeService& Service() { return *m_service.Get(); }
  std::optional<ews::FolderId> FolderAt(const Place& place);
  std::optional<ews::FolderId> ChildOf(const ews::FolderId& parent, const CString& name);
  bool HoldsAny(const ews::FolderId& folder, const Is& is);
  void Page(const Place& place, const ews::SearchFilter* filter, const Take& take);
  bool PageThrough(const ews::FolderId& folder, const ews::SearchFilter* filter, const Take& take,
                   bool toTheEnd);

  const Target& m_target;
  TargetService m_service;
  std::map<std::pair<Place::Root, std::string>, ews::FolderId> m_folders;  // those that were found
};

}  // namespace client
