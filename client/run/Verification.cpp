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
#include "client/run/NumberRanges.h"
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
  std::size_t number;  // of its entry
  bool isMail;
  FolderCheck* check;  // of its folder
  std::string key;     // as it stands on the item
  std::string messageId;
  std::int64_t size;
  bool once;                       // alike ones of its folder are one in the target
  std::optional<Place> elsewhere;  // where it stands instead
};

using Records = std::vector<SourceRecord>;

// Adds an item of the source to what its folder has.
void Add(const Plan::Entry& entry, FolderCheck& check, Records& all) {
  ++check.items;
  try {
    LoadedItem item = ItemLoader::Load(entry);
    ItemLoader::Identify(entry, item);
    ItemLoader::AddFiles(entry, item);  // which count for its size
    all.push_back({entry.number, entry.IsMail(), &check, KeyOnItem(item.key),
                   std::move(item.messageId), item.MimeSize(),
                   !entry.item.IsOther() && (!entry.item.prepared || !item.id.empty()),
                   item.elsewhere});
  } catch (const SourceError& error) {
    check.unread.push_back({entry.name, error.what()});
  }
}

// A folder of the target, and what of it stands for which item of the source.
struct TargetFolder {
  const Plan& plan;
  struct Taken {
    std::size_t number;  // of an entry
    FolderCheck* check;
  };
  TargetIndex index = {};
  std::vector<SourceProblem> described = {};          // in the order of the index
  std::unordered_map<std::size_t, Taken> taken = {};  // by number in the index

  std::string NameOf(std::size_t entry) const { return plan.entries[entry].name; }
};

// True if the target has the item; what stands for it stands for no other.
bool Stands(const SourceRecord& item, TargetFolder& target) {
  const auto number = target.index.Take(item.key, item.messageId, item.size);
  if (!number) return false;
  target.taken.emplace(*number, TargetFolder::Taken{item.number, item.check});
  const auto size = target.index.SizeOf(*number);
  if (size && item.isMail && IsOtherSize(item.size, *size)) {
    item.check->otherSize.push_back(
        {target.NameOf(item.number), fmt::format("{} bytes, {} in the target", item.size, *size)});
  }
  return true;
}

constexpr const char* kCannotTell =
    "it may be there: it has no message id, and what --as-is sends has no key to know it by";

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

  void TellWhere(bool mayLackKeys) const {
    for (const Missing& one : missing) {
      const bool hasNoId = one.names.back() == TargetIndex::Digest{};
      if (mayLackKeys && hasNoId) one.check->missing[one.number].reason = kCannotTell;
      for (const TargetIndex::Digest& name : one.names) {
        const auto at = name == TargetIndex::Digest{} ? beyond.end() : beyond.find(name);
        if (at == beyond.end()) continue;
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
    taken.check->twice.push_back({target.NameOf(taken.number), fmt::format("{} times", count + 1)});
  }
}

void CheckFolder(TargetLook& look, SecondPlaces& second, const Plan& plan, const Records& items,
                 FolderCheck& first, Strays& strays) {
  OwnKeys own;
  for (const SourceRecord& item : items) own.insert(TargetIndex::DigestOf(item.key));
  TargetFolder target{plan};
  target.index = ReadTargetFolder(look, first.folder, own, [&](const ews::FoundItem& found) {
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
      item.check->missing.push_back({target.NameOf(item.number), {}});
      strays.missing.push_back(
          {item.check,
           item.check->missing.size() - 1,
           {TargetIndex::DigestOf(item.key), TargetIndex::DigestOf(item.messageId)}});
    }
  }
  TellLeft(target, first, strays);
}

// The numbers of each folder's entries.
std::vector<NumberRanges> NumbersOf(const Plan& plan, const std::vector<FolderCheck>& checks) {
  std::unordered_map<std::string_view, std::size_t> byFolder;
  for (std::size_t i = 0; i < checks.size(); ++i) byFolder.emplace(checks[i].folder, i);
  std::vector<NumberRanges> numbers(checks.size());
  for (const Plan::Entry& entry : plan.entries) {
    numbers[byFolder.at(entry.item.folder)].Add(entry.number);
  }
  return numbers;
}

// What stands in its folder and where it would be shown otherwise, too.
void TellElsewhere(const Plan& plan, const Records& items, SecondPlaces& second) {
  for (const SourceRecord& item : items) {
    while (second.Take(item.elsewhere, item.key)) {
      item.check->twice.push_back(
          {plan.entries[item.number].name, "in " + item.elsewhere->path + ", too"});
    }
  }
}

}  // namespace

bool IsOtherSize(std::int64_t mimeSize, std::int64_t serverSize) {
  const auto [less, more] = std::minmax(mimeSize, serverSize);
  return more - less > kSizeSlack && more / kSizeFactor > less;
}

std::vector<FolderCheck> Verification::Run(const Plan& plan) {
  m_done = 0;
  m_total = plan.entries.size();
  std::vector<FolderCheck> checks;
  for (const Plan::Folder& folder : plan.Folders()) checks.emplace_back().folder = folder.name;
  const std::vector<NumberRanges> numbers = NumbersOf(plan, checks);
  // By target folder: several of the source may lead to one. What its items say is kept no longer
  // than it is looked at, but for the few that may stand elsewhere, too.
  std::map<std::string, std::vector<std::size_t>> places;
  for (std::size_t i = 0; i < checks.size(); ++i) {
    places[m_look.Identity(checks[i].folder)].push_back(i);
  }
  std::set<std::string> identities;
  for (const auto& [identity, sharing] : places) identities.insert(identity);
  SecondPlaces second(m_look, std::move(identities));
  Records elsewhere;
  Strays strays;
  for (const auto& [identity, sharing] : places) {
    Records all;
    for (const std::size_t i : sharing) {
      for (const std::size_t number : numbers[i]) {
        const Plan::Entry entry = plan.entries[number];
        Step(entry);
        Add(entry, checks[i], all);
      }
    }
    CheckFolder(m_look, second, plan, all, checks[sharing.front()], strays);
    std::ranges::copy_if(all, std::back_inserter(elsewhere),
                         [](const SourceRecord& item) { return item.elsewhere.has_value(); });
  }
  strays.TellWhere(m_mayLackKeys);
  TellElsewhere(plan, elsewhere, second);
  for (FolderCheck& check : checks) std::ranges::sort(check.twice, {}, &SourceProblem::location);
  return checks;
}

void Verification::Step(const Plan::Entry& entry) {
  if (StopRequested()) throw RunError("stopped");
  m_onStep({++m_done, m_total, entry.name, {}, false});
}

}  // namespace client
