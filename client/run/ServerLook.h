#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/run/Plan.h"
#include "client/run/Target.h"
#include "client/run/TargetLook.h"
#include "client/run/TargetService.h"

namespace client {

// Looks at a server's mailbox with requests of our own beside the engine's. ews::Settings() must
// hold the engine's options.
class ServerLook : public TargetLook {
 public:
  // The target must outlive this. The kinds tell the folders of mail, by whose paths the engine may
  // have gone elsewhere (ews/FolderNameTable.h).
  explicit ServerLook(const Target& target, FolderKinds kinds = {})
      : m_target(target), m_kinds(std::move(kinds)), m_service(target) {}

  std::string Identity(const Place& place) override;
  bool Has(const Place& place) override { return FolderAt(place).has_value(); }
  using TargetLook::Find;
  void Find(const Place& place, const Names& names, const Take& take) override;
  bool HoldsAny(const Is& is) override;
  void List(const Place& place, const Take& take) override;

 private:
  struct Way {
    std::optional<ews::FolderId> folder;  // at its end, where it is there
    bool showsMail = true;                // and so does all on the way
  };
  ews::ExchangeService& Service() { return *m_service.Get(); }
  std::optional<ews::FolderId> FolderAt(const Place& place);
  Way Follow(const CString& path, const ews::FolderId& root);
  bool IsElsewhere(const Place& place, const Way& way) const;
  std::optional<ews::Folder> ChildOf(const ews::FolderId& parent, const CString& name);
  bool HoldsAny(const ews::FolderId& folder, const Is& is);
  void Page(const Place& place, const ews::SearchFilter* filter, const Take& take);
  bool PageThrough(const ews::FolderId& folder, const ews::SearchFilter* filter, const Take& take,
                   bool toTheEnd);

  const Target& m_target;
  FolderKinds m_kinds;
  TargetService m_service;
  std::map<std::pair<Place::Root, std::string>, ews::FolderId> m_folders;  // those that were found
};

}  // namespace client
