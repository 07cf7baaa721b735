#include "client/run/ServerLook.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <unordered_set>

#include "client/run/ItemKinds.h"
#include "client/sources/SpecialFolders.h"
#include "ews/CWebAccessHandler.h"
#include "ews/FolderNameTable.h"
#include "ews/OwnFolders.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"
#include "pipeline/ST_EML_INFO.h"

// The way from a path to a folder is the engine's: names of the source's own folders are changed to
// those of the target, a mailbox's own folders are known, and of the folders that hold a name the
// first with exactly that name, in any case, is meant; mail goes where it is shown. Only that here
// every page is looked at, and that a failure is no "not there".
//
// Pages are cut by offset while a mailbox may be at work. Each begins with the last item of the one
// before: where that item is on the page, nothing was passed over, since items keep their order.
// Where it is not, somebody took items away before it, and the folder is read from its start again.
// What comes a second time is passed over.

namespace client {
namespace {

constexpr int kFoldersOnPage = 200;
constexpr int kMostFolders = 1000;  // that a search of all goes through
constexpr int kMostReadings = 5;    // of a folder that others take items out of all the time

bool EqualName(CString a, CString b) { return a.MakeUpper() == b.MakeUpper(); }

// Null where there is no name.
std::unique_ptr<ews::SearchFilter> FilterFor(const TargetLook::Names& names) {
  std::vector<ews::IsEqualTo> equal;
  const auto add = [&equal](const ews::ExtendedPropertyDefinition& property, const CString& text) {
    if (!text.IsEmpty()) equal.emplace_back(property, text);
  };
  for (const CString& key : names.keys) add(ews::ItemKeyProperty(), key);
  for (const CString& id : names.messageIds) add(ews::MessageIdProperty(), id);
  if (equal.empty()) return nullptr;
  if (equal.size() == 1) return std::make_unique<ews::IsEqualTo>(std::move(equal.front()));
  auto any = std::make_unique<ews::SearchFilterCollection>(ews::LogicalOperator::Or);
  for (ews::IsEqualTo& one : equal) any->Add(std::move(one));
  return any;
}

// What fails in there is told with the folder's name.
template <typename Work>
auto Named(const std::string& folder, Work work) {
  try {
    return work();
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("the target's folder " + folder + " cannot be read: " + error.what());
  }
}

// As the engine goes in a group's mailbox.
ews::FolderId GroupFolder(const std::string& path, const Target& target) {
  CWebAccessHandler groups;
  groups.SetFolderStore(CString::FromUtf8(path), CString::FromUtf8(target.mailbox));
  return groups.m_fldCurrent;
}

}  // namespace

std::optional<ews::Folder> ServerLook::ChildOf(const ews::FolderId& parent, const CString& name) {
  const ews::ContainsSubstring filter(ews::FolderSchema::DisplayName, name);
  for (int offset = 0;;) {
    const ews::FindFoldersResults found =
        Service().FindFolders(parent, filter, ews::FolderView(kFoldersOnPage, offset));
    for (const ews::Folder& folder : found.Folders()) {
      if (EqualName(folder.DisplayName(), name)) return folder;
    }
    offset += static_cast<int>(found.Folders().size());
    if (found.Folders().empty() || offset >= found.TotalCount()) return std::nullopt;
  }
}

std::optional<ews::FolderId> ServerLook::FolderAt(const Place& place) {
  if (m_target.Group() && !place.root) return GroupFolder(place.path, m_target);
  const auto named = std::make_pair(place.root, place.path);
  if (const auto known = m_folders.find(named); known != m_folders.end()) return known->second;
  const CString path = CString::FromUtf8(place.path);
  const ews::FolderId root = place.root ? ews::FolderId(*place.root) : RootOf(m_target);
  Way way = Follow(path, root);
  if (IsElsewhere(place, way)) {
    way = Follow(CString(kMailElsewhere) + path, root);
    if (IsElsewhere(place, way)) return std::nullopt;
  }
  if (way.folder) m_folders.emplace(named, *way.folder);
  return way.folder;
}

ServerLook::Way ServerLook::Follow(const CString& path, const ews::FolderId& root) {
  const CWebAccessHandler names;
  Way way{root};
  for (int i = 0; way.folder && i < names.getTotCountSlash(path); ++i) {
    const CString name = names.UpdateName(names.GetNameBySlash(path, i));
    const auto own = ews::FindOwnFolder(
        [this]() -> auto& { return Service(); }, name.View(), *way.folder);
    if (own) {
      way.folder = own;
      continue;
    }
    const auto child = ChildOf(*way.folder, name);
    way.showsMail = way.showsMail && !(child && ShowsNoMail(child->Class().View()));
    way.folder = child ? std::optional(child->Id()) : std::nullopt;
  }
  return way;
}

// A folder that no item is for is there, whatever it shows.
bool ServerLook::IsElsewhere(const Place& place, const Way& way) const {
  if (way.showsMail || place.root || !ews::Settings().bSafe) return false;
  const auto kind = m_kinds.find(FoldedName(place.path));
  if (kind == m_kinds.end()) return !way.folder;
  return kind->second == KindOf(TYPE_EMAIL).folderType;
}

void ServerLook::Page(const Place& place, const ews::SearchFilter* filter, const Take& take) {
  const std::optional<ews::FolderId> id = FolderAt(place);
  if (!id) return;
  std::unordered_set<std::size_t> taken;  // hashes of ids
  const Take takeOnce = [&](const ews::FoundItem& item) {
    if (taken.insert(std::hash<std::u16string_view>()(item.strId.View())).second) take(item);
  };
  for (int reading = 1; !PageThrough(*id, filter, takeOnce, /*toTheEnd=*/reading == kMostReadings);
       ++reading) {
  }
}

// False where items may have been passed over; with toTheEnd it goes on then.
bool ServerLook::PageThrough(const ews::FolderId& folder, const ews::SearchFilter* filter,
                             const Take& take, bool toTheEnd) {
  CString last;  // item of the page before
  for (int offset = 0;;) {
    const ews::FindItemsResults page =
        Service().FindItems(folder, filter, ews::ItemView(ews::ItemView::kMostOnPage, offset));
    const auto isLast = [&](const ews::FoundItem& item) {
      return !last.IsEmpty() && item.strId == last;
    };
    const bool joins = last.IsEmpty() || std::ranges::any_of(page.arrItems, isLast);
    if (!joins && !toTheEnd) return false;
    std::ranges::for_each(page.arrItems, take);
    // A server that does not come further has no more, whatever it says.
    if (page.bLastPage || isLast(page.arrItems.back())) return true;
    last = page.arrItems.back().strId;
    offset += std::max(static_cast<int>(page.arrItems.size()) - 1, 1);
  }
}

std::string ServerLook::Identity(const Place& place) {
  const auto id = Named(place.path, [&] { return FolderAt(place); });
  return id ? id->ToString().ToUtf8() : place.path;
}

void ServerLook::Find(const Place& place, const Names& names, const Take& take) {
  if (const auto filter = FilterFor(names)) Page(place, filter.get(), take);
}

// In a group there are only the folders that the run puts things into.
bool ServerLook::HoldsAny(const Is& is) {
  for (int offset = 0; !m_target.Group();) {
    if (offset >= kMostFolders) throw std::runtime_error("it has very many folders");
    const ews::FolderView view(kFoldersOnPage, offset, ews::FolderView::Traversal::kDeep);
    const ews::FindFoldersResults found = Service().FindFolders(RootOf(m_target), view);
    for (const ews::Folder& folder : found.Folders()) {
      if (HoldsAny(folder.Id(), is)) return true;
    }
    offset += static_cast<int>(found.Folders().size());
    if (found.Folders().empty() || offset >= found.TotalCount()) break;
  }
  return false;
}

bool ServerLook::HoldsAny(const ews::FolderId& folder, const Is& is) {
  for (int offset = 0;;) {
    const ews::FindItemsResults page =
        Service().FindItems(folder, nullptr, ews::ItemView(ews::ItemView::kMostOnPage, offset));
    if (std::ranges::any_of(page.arrItems, is)) return true;
    if (page.bLastPage || page.arrItems.empty()) return false;
    offset += static_cast<int>(page.arrItems.size());
  }
}

void ServerLook::List(const Place& place, const Take& take) {
  Named(place.path, [&] { Page(place, nullptr, take); });
}

}  // namespace client
