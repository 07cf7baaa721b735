#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/run/Target.h"
#include "ews/FindItems.h"

namespace client {

// Looks at what the target holds, with requests of our own beside the engine's, and makes nothing
// there. Folders are paths as the engine gets them, in UTF-8, and lead to the folders that the
// engine would save into. ews::Settings() must hold the engine's options. Every function throws
// std::runtime_error with the reason when the target cannot be asked; Identity and List name the
// folder, too.
class TargetLook {
 public:
  explicit TargetLook(const Target& target) : m_target(target) {}  // which must outlive this

  // The same for paths that lead to one folder of the target; of one that is not there the path.
  std::string Identity(const std::string& folder);

  bool Has(const std::string& folder) { return FolderAt(folder).has_value(); }

  using Take = std::function<void(const ews::FoundItem&)>;

  // Hands over the items of the folder that carry the key or the id; nothing is looked for by an
  // empty one. A folder that is not there holds none.
  void Find(const std::string& folder, const CString& key, const CString& messageId,
            const Take& take);
  // The same for items that carry one of those keys.
  void FindKeys(const std::string& folder, const std::vector<CString>& keys, const Take& take);
  // Hands over every item of the folder.
  void List(const std::string& folder, const Take& take);

 private:
  ews::ExchangeService& Service();
  std::optional<ews::FolderId> FolderAt(const std::string& path);
  std::optional<ews::FolderId> ChildOf(const ews::FolderId& parent, const CString& name);
  void Page(const std::string& folder, const ews::SearchFilter* filter, const Take& take);
  bool PageThrough(const ews::FolderId& folder, const ews::SearchFilter* filter, const Take& take,
                   bool toTheEnd);

  const Target& m_target;
  std::shared_ptr<ews::ExchangeService> m_service;
  std::chrono::steady_clock::time_point m_since;
  std::map<std::string, ews::FolderId> m_folders;  // those that were found, by path
};

}  // namespace client
