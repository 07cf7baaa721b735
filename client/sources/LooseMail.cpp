#include "client/sources/LooseMail.h"

#include <fmt/format.h>

#include "client/sources/DboxStore.h"
#include "client/sources/ItemNames.h"
#include "client/sources/Maildir.h"
#include "client/sources/MboxBegin.h"
#include "client/sources/MboxSource.h"
#include "client/sources/MhSequences.h"
#include "client/sources/OtherFiles.h"
#include "client/sources/PreparedItem.h"

namespace client {
namespace {

// Why a file is to be told; empty for one that is no mail.
std::string ReasonOf(const std::string& folder, const FolderEntry& file) {
  constexpr const char* kNotLookedAt =
      "its program does not look there: name it as a source if it shall come";
  const std::string path = folder + "/" + file.name;
  if (file.size == 0 || IsOfMac(file.name)) return {};
  try {
    const std::string head = ReadFileRange(path, 0, kFileHead);
    const bool isMh = MhNumber(file.name) && LooksLikeField(WithoutRelayTrace(head));
    const bool isOfMaildir = !file.name.starts_with('.') && HoldsMailOfMaildir(folder);
    const bool isItem = ItemFileOf(file.name) != ItemFile::kNone;
    if (isItem || isMh || isOfMaildir || MboxSource::IsMbox(head)) {
      return kNotLookedAt;
    }
    if (IsBesideMail(file.name) && MailFormOf(head).empty()) return {};
    std::string form = UnreadMailForm(path, file.size, head);
    const bool isDamaged = form.empty() && BeginOfMails(path, head, /*isPlaceOfMbox=*/false);
    return isDamaged ? kNotLookedAt : form;
  } catch (const SourceError& error) {
    return error.what();
  }
}

// The first of a folder and those below it; empty where there is none.
std::string FirstIn(const std::string& folder, const std::set<std::string>& known) {
  std::string first;
  std::vector<std::string> pending = {folder};
  while (!pending.empty() && first.empty()) {
    const std::string path = std::move(pending.back());
    pending.pop_back();
    if (known.contains(path)) continue;
    if (HoldsDescriptor(path) || DboxStoreAt(path)) return path;
    std::vector<SourceProblem> unread;
    std::vector<std::string> below;
    EachEntry(path, unread, [&](const FolderEntry& entry) {
      if (!first.empty()) return;
      const std::string own = path + "/" + entry.name;
      if (entry.kind == EntryKind::kFolder) {
        below.push_back(own);
      } else if (entry.kind == EntryKind::kFile ? !ReasonOf(path, entry).empty()
                                                : OddEntry(own, entry.kind).isUnread) {
        first = own;
      }
    });
    if (first.empty() && !unread.empty()) first = path;
    pending.insert(pending.end(), below.rbegin(), below.rend());
  }
  return first;
}

}  // namespace

void NameLooseMail(const std::string& folder, const FolderEntry& entry,
                   const std::set<std::string>& known, std::vector<SourceProblem>& problems) {
  const std::string path = folder + "/" + entry.name;
  if (entry.kind == EntryKind::kFile) {
    std::string reason = ReasonOf(folder, entry);
    if (!reason.empty()) problems.push_back({path, std::move(reason), /*isUnread=*/true});
  } else if (entry.kind == EntryKind::kFolder) {
    const std::string first = FirstIn(path, known);
    if (first.empty()) return;
    problems.push_back(
        {path,
         fmt::format("its program does not look into it, and there may be mail ({}): "
                     "name it as a source if it shall come",
                     first == path ? "." : first.substr(path.size() + 1)),
         /*isUnread=*/true});
  } else {
    problems.push_back(OddEntry(path, entry.kind));
  }
}

}  // namespace client
