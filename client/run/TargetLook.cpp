#include "client/run/TargetLook.h"

#include <algorithm>
#include <set>

#include "ews/CWebAccessHandler.h"
#include "ews/ServiceException.h"

// The way from a path to a folder is the engine's: names of the source's own folders are changed to
// those of the target, and of the folders that hold a name the first with exactly that name, in any
// case, is meant. Only that here every page is looked at, and that a failure is no "not there".
//
// Pages are cut by offset while a mailbox may be at work: an item that moves behind the cut comes
// twice, and is passed over then. Nobody takes items out of a mailbox that is being filled.

namespace client {
namespace {

constexpr int kFoldersOnPage = 200;
constexpr auto kTokenUse = std::chrono::minutes(45);  // of the hour that a token is good for

bool EqualName(CString a, CString b) { return a.MakeUpper() == b.MakeUpper(); }

// As the engine goes in a group's mailbox.
ews::FolderId GroupFolder(const std::string& path, const Target& target) {
  CWebAccessHandler groups;
  groups.SetFolderStore(CString::FromUtf8(path), CString::FromUtf8(target.mailbox));
  return groups.m_fldCurrent;
}

}  // namespace

ews::ExchangeService& TargetLook::Service() {
  const auto now = std::chrono::steady_clock::now();
  if (!m_service || (m_target.TokenRoute() && now - m_since > kTokenUse)) {
    m_service = LogOnTo(m_target);
    m_since = now;
  }
  return *m_service;
}

std::optional<ews::FolderId> TargetLook::ChildOf(const ews::FolderId& parent, const CString& name) {
  const ews::ContainsSubstring filter(ews::FolderSchema::DisplayName, name);
  for (int offset = 0;;) {
    const ews::FindFoldersResults found =
        Service().FindFolders(parent, filter, ews::FolderView(kFoldersOnPage, offset));
    for (const ews::Folder& folder : found.Folders()) {
      if (EqualName(folder.DisplayName(), name)) return folder.Id();
    }
    offset += static_cast<int>(found.Folders().size());
    if (found.Folders().empty() || offset >= found.TotalCount()) return std::nullopt;
  }
}

std::optional<ews::FolderId> TargetLook::FolderAt(const std::string& path) {
  if (m_target.Group()) return GroupFolder(path, m_target);
  if (const auto known = m_folders.find(path); known != m_folders.end()) return known->second;
  const CWebAccessHandler names;
  const CString levels = CString::FromUtf8(path);
  ews::FolderId folder = RootOf(m_target);
  for (int i = 0; i < names.getTotCountSlash(levels); ++i) {
    const auto child = ChildOf(folder, names.UpdateName(names.GetNameBySlash(levels, i)));
    if (!child) return std::nullopt;
    folder = *child;
  }
  m_folders.emplace(path, folder);
  return folder;
}

void TargetLook::Page(const std::string& folder, const ews::SearchFilter* filter,
                      const Take& take) {
  const std::optional<ews::FolderId> id = FolderAt(folder);
  if (!id) return;
  std::set<std::u16string> previous;  // ids of the page before
  for (int offset = 0;;) {
    const ews::FindItemsResults page =
        Service().FindItems(*id, filter, ews::ItemView(ews::ItemView::kMostOnPage, offset));
    std::set<std::u16string> ids;
    bool news = false;
    for (const ews::FoundItem& item : page.arrItems) {
      const bool isNew = ids.emplace(item.strId.View()).second &&
                         !previous.contains(std::u16string(item.strId.View()));
      if (isNew) take(item);
      news = news || isNew;
    }
    offset += static_cast<int>(page.arrItems.size());
    if (page.bLastPage || !news) return;
    previous = std::move(ids);
  }
}

std::string TargetLook::Identity(const std::string& folder) {
  const std::optional<ews::FolderId> id = FolderAt(folder);
  return id ? id->ToString().ToUtf8() : folder;
}

void TargetLook::Find(const std::string& folder, const CString& key, const CString& messageId,
                      const Take& take) {
  const ews::IsEqualTo byKey(ews::ItemKeyProperty(), key);
  const ews::IsEqualTo byId(ews::MessageIdProperty(), messageId);
  if (key.IsEmpty() && messageId.IsEmpty()) return;
  if (key.IsEmpty() || messageId.IsEmpty()) {
    return Page(folder, key.IsEmpty() ? &byId : &byKey, take);
  }
  ews::SearchFilterCollection either(ews::LogicalOperator::Or);
  either.Add(byKey);
  either.Add(byId);
  Page(folder, &either, take);
}

void TargetLook::List(const std::string& folder, const Take& take) { Page(folder, nullptr, take); }

}  // namespace client
