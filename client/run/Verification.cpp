#include "client/run/Verification.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

#include <fmt/format.h>

#include "client/run/Adoption.h"
#include "client/run/MailKey.h"
#include "client/run/RunFolder.h"
#include "client/run/SecondPlaces.h"
#include "client/run/StopRequest.h"

namespace client {
namespace {

// By what people know an item of the target.
SourceProblem Described(const ews::FoundItem& found) {
  const std::string subject = found.strSubject.ToUtf8();
  const CString& id = found.strMessageId.IsEmpty() ? found.strKey : found.strMessageId;
  return {subject.empty() ? "(no subject)" : subject, id.ToUtf8()};
}

// An item of the source, without its content.
struct SourceRecord {
  const Plan::Entry* entry;
  FolderCheck* check;  // of its folder
  std::string key;     // as it stands on the item
  std::string messageId;
  std::int64_t size;
  bool once;                       // alike ones of its folder are one in the target
  std::optional<Place> elsewhere;  // where it stands instead
};

using Records = std::vector<SourceRecord>;

std::optional<SourceRecord> ReadItem(const Plan::Entry& entry, FolderCheck& check) {
  try {
    LoadedItem item = ItemLoader::Load(entry);
    ItemLoader::Identify(entry, item);
    return SourceRecord{&entry,
                        &check,
                        KeyOnItem(item.key),
                        std::move(item.messageId),
                        item.MimeSize(),
                        !entry.item.IsOther() && (!entry.item.prepared || !item.id.empty()),
                        item.elsewhere};
  } catch (const SourceError& error) {
    check.unread.push_back({entry.name, error.what()});
    return std::nullopt;
  }
}

// A folder of the target, and what of it stands for which item of the source.
struct TargetFolder {
  struct Taken {
    const Plan::Entry* entry;
    FolderCheck* check;
  };
  TargetIndex index;
  std::vector<SourceProblem> described;          // in the order of the index
  std::unordered_map<std::size_t, Taken> taken;  // by number in the index
};

// True if the target has the item; what stands for it stands for no other.
bool Stands(const SourceRecord& item, TargetFolder& target) {
  const auto number = target.index.Take(item.key, item.messageId, item.size);
  if (!number) return false;
  target.taken.emplace(*number, TargetFolder::Taken{item.entry, item.check});
  const auto size = target.index.SizeOf(*number);
  const bool isMail = !item.entry->item.prepared && !item.entry->item.IsOther();
  if (size && isMail && IsOtherSize(item.size, *size)) {
    item.check->otherSize.push_back(
        {item.entry->name, fmt::format("{} bytes, {} in the target", item.size, *size)});
  }
  return true;
}

// What is missing from its folder, and what other folders of the target hold for which the source
// has nothing there: a user may have moved it.
struct Strays {
  struct Missing {
    FolderCheck* check;
    std::size_t number;                        // in its list
    std::array<TargetIndex::Digest, 2> names;  // by key and by id
  };
  std::vector<Missing> missing;
  std::map<TargetIndex::Digest, std::string> beyond;  // and its folder

  void TellWhere() const {
    for (const Missing& one : missing) {
      for (const TargetIndex::Digest& name : one.names) {
        const auto at = name == TargetIndex::Digest{} ? beyond.end() : beyond.find(name);
        if (at != beyond.end())
          one.check->missing[one.number].reason = "there is one in " + at->second;
      }
    }
  }
};

// What stands in the target and for no item of the source, told apart.
void TellLeft(const TargetFolder& target, FolderCheck& first, Strays& strays) {
  std::map<std::size_t, std::size_t> more;  // by number in the index
  for (const std::size_t number : target.index.Left()) {
    if (const auto twin = target.index.TwinOf(number)) {
      ++more[*twin];
    } else {
      first.beyond.push_back(target.described[number]);
      strays.beyond.emplace(target.index.NameOf(number), first.folder);
    }
  }
  for (const auto& [number, count] : more) {
    const TargetFolder::Taken& taken = target.taken.at(number);
    taken.check->twice.push_back({taken.entry->name, fmt::format("{} times", count + 1)});
  }
}

void CheckFolder(TargetLook& look, SecondPlaces& second, const std::string& folder,
                 const Records& items, FolderCheck& first, Strays& strays) {
  OwnKeys own;
  for (const SourceRecord& item : items) own.insert(TargetIndex::DigestOf(item.key));
  TargetFolder target;
  target.index = ReadTargetFolder(look, folder, own, [&](const ews::FoundItem& found) {
    target.described.push_back(Described(found));
  });
  std::map<std::pair<const FolderCheck*, std::string_view>, bool> seen;  // and whether it is there
  for (const SourceRecord& item : items) {
    if (StopRequested()) throw RunError("stopped");
    const auto [known, isNew] = seen.try_emplace({item.check, item.key}, false);
    if (isNew || !item.once) {
      known->second = Stands(item, target) || second.Take(item.elsewhere, item.key);
    }
    if (known->second) {
      ++item.check->there;
    } else {
      item.check->missing.push_back({item.entry->name, {}});
      strays.missing.push_back(
          {item.check,
           item.check->missing.size() - 1,
           {TargetIndex::DigestOf(item.key), TargetIndex::DigestOf(item.messageId)}});
    }
  }
  TellLeft(target, first, strays);
}

}  // namespace

bool IsOtherSize(std::int64_t mimeSize, std::int64_t serverSize) {
  const auto [less, more] = std::minmax(mimeSize, serverSize);
  return more - less > kSizeSlack && more / kSizeFactor > less;
}

std::vector<FolderCheck> Verification::Run(const Plan& plan) {
  const std::vector<Plan::Folder> folders = plan.Folders();
  std::vector<FolderCheck> checks(folders.size());
  std::unordered_map<std::string_view, FolderCheck*> byFolder;
  for (std::size_t i = 0; i < folders.size(); ++i) {
    checks[i].folder = folders[i].name;
    byFolder.emplace(folders[i].name, &checks[i]);
  }
  m_done = 0;
  m_total = plan.entries.size();
  std::unordered_map<std::string_view, Records> items;
  for (const Plan::Entry& entry : plan.entries) {
    Step(entry);
    const auto [folder, check] = *byFolder.find(entry.item.folder);
    ++check->items;
    if (std::optional<SourceRecord> item = ReadItem(entry, *check)) items[folder].push_back(*item);
  }
  // By target folder: several of the source may lead to one.
  std::map<std::string, std::vector<FolderCheck*>> places;
  for (FolderCheck& check : checks) places[m_look.Identity(check.folder)].push_back(&check);
  std::set<std::string> identities;
  for (const auto& [identity, sharing] : places) identities.insert(identity);
  SecondPlaces second(m_look, std::move(identities));
  Strays strays;
  for (const auto& [identity, sharing] : places) {
    Records all;
    for (const FolderCheck* check : sharing)
      std::ranges::copy(items[check->folder], std::back_inserter(all));
    CheckFolder(m_look, second, sharing.front()->folder, all, *sharing.front(), strays);
  }
  strays.TellWhere();
  for (const auto& [folder, records] : items) {
    for (const SourceRecord& item : records) {
      while (second.Take(item.elsewhere, item.key)) {
        item.check->twice.push_back({item.entry->name, "in " + item.elsewhere->path + ", too"});
      }
    }
  }
  for (FolderCheck& check : checks) std::ranges::sort(check.twice, {}, &SourceProblem::location);
  return checks;
}

void Verification::Step(const Plan::Entry& entry) {
  if (StopRequested()) throw RunError("stopped");
  m_onStep({++m_done, m_total, entry.name, {}, false});
}

}  // namespace client
