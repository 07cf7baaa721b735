#include "client/run/ItemKinds.h"

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "client/sources/SourceFiles.h"
#include "client/sources/SpecialFolders.h"
#include "ews/FolderNameTable.h"
#include "pipeline/ST_EML_INFO.h"
#include "platform/CString.h"

namespace client {
namespace {

constexpr ItemKind kMail = {0, 0, "Inbox\\"};
constexpr ItemKind kCalendar = {4, 6, "Calendar\\"};
constexpr ItemKind kTasks = {2, 2, "Tasks\\"};
constexpr ItemKind kContacts = {3, 14, "Contacts\\"};

constexpr const ItemKind* kOtherKinds[] = {&kCalendar, &kTasks, &kContacts};

// The mailbox's own for what no source has.
constexpr ItemKind kNobodys = {};
constexpr const char* kNobodysFolders[] = {"Notes\\", "Journal\\"};

// A target goes by the name of a path's last level before it goes by the kind: "Calendar" takes no
// task, wherever it lies, "Calendar (Tasks)" does.
std::string NamedFor(const ItemKind& kind, const std::string& folder) {
  if (folder.size() < 2 || &kind == &kMail) return folder;
  const std::string levels = folder.substr(0, folder.size() - 1);
  const CString last = CString::FromUtf8(levels.substr(levels.rfind('\\') + 1));
  const auto byName = FolderClassByNameAndType(last, kind.folderType);
  if (byName == FolderClassByNameAndType({}, kind.folderType)) return folder;
  const std::string_view own = kind.folder;
  return levels + " (" + std::string(own.substr(0, own.size() - 1)) + ")\\";
}

bool Took(const FolderKinds& known, const std::string& folder, const ItemKind& kind) {
  const auto taken = known.find(FoldedName(folder));
  return taken != known.end() && taken->second == kind.folderType;
}

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
    for (const ItemKind* kind : kOtherKinds) {
      if (folded.starts_with(FoldedName(kind->folder))) return {kind, true};
    }
    if (Took(m_earlier, folded, kMail)) return {&kMail, true};
    for (const char* own : kNobodysFolders) {
      if (folded.starts_with(FoldedName(own))) return {&kNobodys, true};
    }
    for (const ItemKind* kind : kOtherKinds) {
      if (Took(m_earlier, folded, *kind)) return {kind, true};
    }
    for (const ItemKind* kind : kOtherKinds) {
      if (Took(m_earlier, NamedFor(*kind, folded), *kind)) return {kind, true};
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

void PlaceByKind(ItemList& items, const FolderKinds& known) {
  Takers takers(known);
  for (const ItemList::Shared& shared : items.Parts()) {
    const ItemKind* kind = &KindOf(shared.type);
    Takers::Taker& taker = takers.Of(shared.folder);
    const bool takesIt = taker.kind == nullptr || kind == &kMail;
    if (takesIt && !taker.isSettled) taker.kind = kind;
  }
  items.Move([&](const ItemList::Shared& shared) {
    const ItemKind& kind = KindOf(shared.type);
    std::string folder = shared.folder;
    if (takers.Of(folder).kind != &kind) {
      folder = kind.folder + (folder == kInbox ? std::string() : folder);
    }
    std::string named = NamedFor(kind, folder);
    return Took(known, folder, kind) ? folder : named;
  });
}

FolderKinds KindsOf(const ItemList& items) {
  std::unordered_map<std::string_view, std::int32_t> kinds;
  for (const ItemList::Shared& shared : items.Parts()) {
    kinds.try_emplace(shared.folder, KindOf(shared.type).folderType);
  }
  FolderKinds folded;
  for (const auto& [folder, kind] : kinds) folded.try_emplace(FoldedName(folder), kind);
  return folded;
}

}  // namespace client
