#include "client/run/ItemKinds.h"

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "client/sources/SourceFiles.h"
#include "client/sources/SpecialFolders.h"
#include "pipeline/ST_EML_INFO.h"

namespace client {
namespace {

constexpr ItemKind kMail = {0, 0, "Inbox\\"};
constexpr ItemKind kCalendar = {4, 6, "Calendar\\"};
constexpr ItemKind kTasks = {2, 2, "Tasks\\"};
constexpr ItemKind kContacts = {3, 14, "Contacts\\"};

// Which kind each folder takes.
class Takers {
 public:
  struct Taker {
    const ItemKind* kind = nullptr;  // nobody's yet
    // The mailbox's own folder, one below it, or one that has taken items of that kind.
    bool isSettled = false;
  };

  explicit Takers(const FolderKinds& known) : m_earlier(known) {}

  // Paths that lead to one folder have one taker.
  Taker& Of(const std::string& folder) {
    const auto [known, isNew] = m_known.try_emplace(folder, nullptr);
    if (isNew) {
      const std::string folded = FoldedName(folder);
      known->second = &m_takers.try_emplace(folded, OwnerOf(folded)).first->second;
    }
    return *known->second;
  }

 private:
  Taker OwnerOf(const std::string& folded) const {
    static const std::string kTop = FoldedName(kInbox);
    if (folded == kTop) return {&kMail, true};
    for (const ItemKind* kind : {&kCalendar, &kTasks, &kContacts}) {
      if (folded.starts_with(FoldedName(kind->folder))) return {kind, true};
    }
    const auto earlier = m_earlier.find(folded);
    if (earlier == m_earlier.end()) return {};
    for (const ItemKind* kind : {&kMail, &kCalendar, &kTasks, &kContacts}) {
      if (kind->folderType == earlier->second) return {kind, true};
    }
    return {};
  }

  const FolderKinds& m_earlier;
  std::map<std::string, Taker> m_takers;  // by folded path; they stay where they are
  std::unordered_map<std::string, Taker*> m_known;
};

}  // namespace

const ItemKind& KindOf(std::int32_t itemType) {
  switch (itemType) {
    case TYPE_CALENDER:
      return kCalendar;
    case TYPE_TASK:
      return kTasks;
    case TYPE_CONTACT:
    case TYPE_DIST_LIST:
      return kContacts;
    default:
      return kMail;
  }
}

void PlaceByKind(std::vector<Plan::Entry>& entries, const FolderKinds& known) {
  Takers takers(known);
  for (const Plan::Entry& entry : entries) {
    const ItemKind* kind = &KindOf(entry.item.type);
    Takers::Taker& taker = takers.Of(entry.item.folder);
    const bool takesIt = taker.kind == nullptr || kind == &kMail;
    if (takesIt && !taker.isSettled) taker.kind = kind;
  }
  for (Plan::Entry& entry : entries) {
    const ItemKind& kind = KindOf(entry.item.type);
    if (takers.Of(entry.item.folder).kind == &kind) continue;
    const bool isTop = entry.item.folder == kInbox;
    entry.item.folder = kind.folder + (isTop ? std::string() : entry.item.folder);
  }
}

FolderKinds KindsOf(const std::vector<Plan::Entry>& entries) {
  std::unordered_map<std::string_view, std::int32_t> kinds;
  for (const Plan::Entry& entry : entries) {
    kinds.try_emplace(entry.item.folder, KindOf(entry.item.type).folderType);
  }
  FolderKinds folded;
  for (const auto& [folder, kind] : kinds) folded.try_emplace(FoldedName(folder), kind);
  return folded;
}

}  // namespace client
