#include "client/run/ItemKinds.h"

#include <array>
#include <string>
#include <unordered_map>

#include "client/sources/SourceFiles.h"
#include "pipeline/ST_EML_INFO.h"

namespace client {
namespace {

constexpr ItemKind kMail = {0, 0, ""};
constexpr ItemKind kCalendar = {4, 6, "Calendar\\"};
constexpr ItemKind kTasks = {2, 2, "Tasks\\"};
constexpr ItemKind kContacts = {3, 14, "Contacts\\"};

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
  std::unordered_map<std::string, const ItemKind*> kinds = {{std::string(kInbox), &kMail}};
  for (const Plan::Entry& entry : entries) {
    const ItemKind* kind = &KindOf(entry.item.type);
    const ItemKind*& taken = kinds.try_emplace(entry.item.folder, kind).first->second;
    if (kind == &kMail) taken = kind;
  }
  for (Plan::Entry& entry : entries) {
    const ItemKind& kind = KindOf(entry.item.type);
    if (kinds.at(entry.item.folder) == &kind) continue;
    const bool isTop = entry.item.folder == kInbox;
    entry.item.folder = kind.folder + (isTop ? std::string() : entry.item.folder);
  }
}

}  // namespace client
