#include "client/run/ItemKinds.h"

#include <map>
#include <string>
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
    bool isOwn = false;              // the mailbox's own folder, or one below it
  };

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
  static Taker OwnerOf(const std::string& folded) {
    static const std::string kTop = FoldedName(kInbox);
    if (folded == kTop) return {&kMail, true};
    for (const ItemKind* kind : {&kCalendar, &kTasks, &kContacts}) {
      if (folded.starts_with(FoldedName(kind->folder))) return {kind, true};
    }
    return {};
  }

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

void PlaceByKind(std::vector<Plan::Entry>& entries) {
  Takers takers;
  for (const Plan::Entry& entry : entries) {
    const ItemKind* kind = &KindOf(entry.item.type);
    Takers::Taker& taker = takers.Of(entry.item.folder);
    const bool takesIt = taker.kind == nullptr || kind == &kMail;
    if (takesIt && !taker.isOwn) taker.kind = kind;
  }
  for (Plan::Entry& entry : entries) {
    const ItemKind& kind = KindOf(entry.item.type);
    if (takers.Of(entry.item.folder).kind == &kind) continue;
    const bool isTop = entry.item.folder == kInbox;
    entry.item.folder = kind.folder + (isTop ? std::string() : entry.item.folder);
  }
}

}  // namespace client
