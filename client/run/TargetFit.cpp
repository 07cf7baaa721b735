#include "client/run/TargetFit.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <fmt/format.h>

#include "client/run/ItemLoader.h"
#include "client/run/LastingPlace.h"
#include "client/run/MailKey.h"
#include "client/run/RunFolder.h"
#include "client/run/StopRequest.h"

namespace client {
namespace {

constexpr std::size_t kFolders = 5;        // that are asked, with a question each
constexpr std::size_t kUnknownItems = 20;  // of a folder, in its question
constexpr std::size_t kKnownItems = 4;

using Names = TargetLook::Names;

struct Misfit {
  std::string what;  // for people
  std::string advice;
};
using Found = std::optional<Misfit>;

// Some of the numbers that it was given, in that order by turns the first and some of all others: a
// run that was cut off sent the first ones, and what is new lies anywhere.
class SomeOf {
 public:
  void Add(std::size_t number) {
    if (m_first.size() < kFirst) return m_first.push_back(number);
    if (m_others++ % m_step != 0) return;
    m_spread.push_back(number);
    if (m_spread.size() < kMostSpread) return;
    for (std::size_t i = 0; i < kMostSpread / 2; ++i) m_spread[i] = m_spread[2 * i];
    m_spread.resize(kMostSpread / 2);
    m_step *= 2;
  }
  std::vector<std::size_t> Numbers() const {
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < std::max(m_first.size(), m_spread.size()); ++i) {
      if (i < m_first.size()) numbers.push_back(m_first[i]);
      if (i < m_spread.size()) numbers.push_back(m_spread[i]);
    }
    return numbers;
  }

 private:
  static constexpr std::size_t kFirst = 20;
  static constexpr std::size_t kMostSpread = 40;
  std::vector<std::size_t> m_first;
  std::vector<std::size_t> m_spread;
  std::size_t m_others = 0;
  std::size_t m_step = 1;
};

// Entries of a plan by folder, of each folder some.
class Sample {
 public:
  struct Folder {
    std::string name;
    SomeOf entries = {};
  };
  void Add(const std::string& folder, std::size_t number) {
    const auto [place, isNew] = m_places.try_emplace(folder, m_folders.size());
    if (isNew) m_folders.push_back({folder});
    m_folders[place->second].entries.Add(number);
  }
  const std::vector<Folder>& Folders() const { return m_folders; }
  // Those to be asked.
  std::vector<const Folder*> SomeFolders() const {
    std::vector<const Folder*> some;
    const std::size_t most = std::min(kFolders, m_folders.size());
    const std::size_t first = m_folders.size() > kFolders ? kFolders / 2 : most;
    for (std::size_t i = 0; i < most; ++i) {
      some.push_back(&m_folders[i < first ? i : i * m_folders.size() / most]);
    }
    return some;
  }

 private:
  std::vector<Folder> m_folders;
  std::unordered_map<std::string, std::size_t> m_places;
};

std::uint64_t HashOf(const std::string& location) {
  return std::hash<std::string>()(LastingPlace(location).path);
}

// The places that a journal knows, a million in 8 MB.
class KnownPlaces {
 public:
  enum class Place { kUnknown, kKnown, kArrived };

  explicit KnownPlaces(Journal& journal) {
    journal.EachItem([this](const Journal::ItemRow& row) {
      m_hashes.push_back((HashOf(std::string(row.source)) & ~kArrived) |
                         (row.result == ItemResult::kArrived ? kArrived : 0));
    });
    std::ranges::sort(m_hashes);
  }
  Place Of(const std::string& location) const {
    const std::uint64_t hash = HashOf(location) & ~kArrived;
    const auto found = std::ranges::lower_bound(m_hashes, hash);
    if (found == m_hashes.end() || (*found & ~kArrived) != hash) return Place::kUnknown;
    return (*found & kArrived) != 0 ? Place::kArrived : Place::kKnown;
  }

 private:
  static constexpr std::uint64_t kArrived = 1;  // in place of a hash's last bit
  std::vector<std::uint64_t> m_hashes;
};

struct Samples {
  Sample unknown;
  Sample arrived;
};

Samples SamplesOf(const Plan& plan, Journal& journal) {
  Samples samples;
  const KnownPlaces known(journal);
  for (const Plan::Entry& entry : plan.entries) {
    const auto place = known.Of(entry.item.location);
    using enum KnownPlaces::Place;
    if (place == kUnknown) samples.unknown.Add(entry.item.folder, entry.number);
    if (place == kArrived) samples.arrived.Add(entry.item.folder, entry.number);
  }
  return samples;
}

// Names of items that the run never had in its hands, wherever they lay then, by the key that would
// stand on them in the target. That of another source, even a mail with the same id, is none of
// them.
std::map<CString, std::string> NeverNamed(const FitQuestion& question, const SomeOf& some) {
  std::map<CString, std::string> names;
  for (const std::size_t number : some.Numbers()) {
    try {
      const Plan::Entry entry = question.plan.entries[number];
      LoadedItem item = ItemLoader::Load(entry);
      ItemLoader::Identify(entry, item);
      if (ItemLoader::WasNamed(question.journal, entry, item)) continue;
      names.emplace(CString::FromUtf8(KeyOnItem(item.key)), entry.name);
      if (names.size() == kUnknownItems) break;
    } catch (const SourceError&) {  // told when its turn comes
    }
  }
  return names;
}

Found WhatOthersSent(const FitQuestion& question, const Sample& unknown, bool isNew) {
  for (const Sample::Folder* folder : unknown.SomeFolders()) {
    const auto names = NeverNamed(question, folder->entries);
    Names keys;
    for (const auto& [key, name] : names) keys.keys.push_back(key);
    std::string there;
    question.look.Find(folder->name, keys, [&](const ews::FoundItem& found) {
      const auto name = names.find(found.strKey);
      if (name != names.end()) there = name->second;
    });
    if (there.empty()) continue;
    return Misfit{
        fmt::format("the target's folder {} holds items of this source already ({}, for one), and "
                    "this run folder {}",
                    folder->name, there,
                    isNew ? "knows of none" : "never sent them: it is an old copy, or another did"),
        "Name the run folder that they were sent with, or add --adopt to send only what is not "
        "there, or --no-adopt to send all that it does not know once more"};
  }
  return std::nullopt;
}

struct ArrivedNames {
  Names names;
  std::size_t items = 0;
  std::string example;
};

// Of an item that the run would pass over since this content arrived from this place.
std::optional<JournalEntry> ArrivedFrom(const FitQuestion& question, const Plan::Entry& entry) {
  std::optional<JournalEntry> known = question.journal.EntryAt(entry.item.location);
  if (!known || known->result != ItemResult::kArrived || known->folder != entry.item.folder) {
    return std::nullopt;
  }
  try {
    return ItemLoader::Load(entry).hash == known->hash ? known : std::nullopt;
  } catch (const SourceError&) {  // told when its turn comes
    return std::nullopt;
  }
}

ArrivedNames NamesOfArrived(const FitQuestion& question, const SomeOf& some) {
  ArrivedNames found;
  for (const std::size_t number : some.Numbers()) {
    const Plan::Entry entry = question.plan.entries[number];
    const std::optional<JournalEntry> known = ArrivedFrom(question, entry);
    if (!known) continue;
    // A prepared item's id may stand in its descriptor alone.
    const std::string id(entry.IsMail() ? IdInKey(known->key) : std::string_view());
    const std::string key = question.hasKeys ? KeyOnItem(known->key) : std::string();
    if (id.empty() && key.empty()) continue;
    found.names.keys.push_back(CString::FromUtf8(key));
    found.names.messageIds.push_back(CString::FromUtf8(id));
    if (found.example.empty()) found.example = entry.name;
    if (++found.items == kKnownItems) break;
  }
  return found;
}

// A sample may hold just what its user took away: where nothing of it is there, all that the target
// holds, first in the folders of the run, is set against all that the run knows.
bool IsAnythingThere(const FitQuestion& question, const Sample& arrived) {
  const std::hash<std::u16string_view> hashOf;
  std::vector<std::size_t> known;
  const auto add = [&](const CString& name) {
    if (!name.IsEmpty()) known.push_back(hashOf(name.Left(ews::kLongestFoundText).View()));
  };
  question.journal.EachItem([&](const Journal::ItemRow& row) {
    if (row.result != ItemResult::kArrived) return;
    add(CString::FromUtf8(KeyOnItem(row.key)));
    add(CString::FromUtf8(IdInKey(row.key)));
  });
  std::ranges::sort(known);
  const auto isKnown = [&](const ews::FoundItem& found) {
    if (StopRequested()) throw RunError("asked to stop");
    return std::ranges::binary_search(known, hashOf(found.strKey.View())) ||
           std::ranges::binary_search(known, hashOf(found.strMessageId.View()));
  };
  bool isThere = false;
  for (const Sample::Folder& folder : arrived.Folders()) {
    question.look.List(folder.name,
                       [&](const ews::FoundItem& found) { isThere = isThere || isKnown(found); });
    if (isThere) return true;
  }
  return question.look.HoldsAny(isKnown);
}

Found WhatIsGone(const FitQuestion& question, const Sample& arrived) {
  std::string example;
  bool isThere = false;
  for (const Sample::Folder* folder : arrived.SomeFolders()) {
    const ArrivedNames here = NamesOfArrived(question, folder->entries);
    question.look.Find(folder->name, here.names, [&](const ews::FoundItem&) { isThere = true; });
    if (isThere) return std::nullopt;
    if (example.empty()) example = here.example;
  }
  if (example.empty() || IsAnythingThere(question, arrived)) return std::nullopt;
  return Misfit{fmt::format("the target holds nothing of what this run folder knows to be there "
                            "({}, for one): it was emptied, or is another one",
                            example),
                "If it is the right target, add --adopt to send again what is not there, or "
                "--no-adopt to send only what is new"};
}

Found WhatMisfits(const FitQuestion& question) {
  const bool isNew = question.journal.IsNew();
  if (isNew && question.ledger.HasRows()) {
    return Misfit{fmt::format("this run folder has lost its journal: its ledger {} has rows of "
                              "what was sent",
                              kLedgerName),
                  "Put the journal back, or add --adopt to send what is not in the target, or "
                  "--no-adopt to go by the ledger, to which all mails of one message id are one"};
  }
  const Samples samples = SamplesOf(question.plan, question.journal);
  if (!question.adopt) {
    if (Found others = WhatOthersSent(question, samples.unknown, isNew)) return others;
  }
  return WhatIsGone(question, samples.arrived);
}

}  // namespace

bool ForgetsWhatMisfits(const FitQuestion& question, const Say& say) {
  Found misfit;
  try {
    misfit = WhatMisfits(question);
  } catch (const RunError&) {
    throw;
  } catch (const platform::SqliteError&) {
    throw;
  } catch (const std::runtime_error& error) {
    say(fmt::format("Nobody can tell whether this run folder fits the target: {}", error.what()));
  }
  if (!misfit) return false;
  if (!question.adopt) {
    throw RunError(fmt::format("{}. {}; nothing was sent", misfit->what, misfit->advice));
  }
  say(fmt::format("With --adopt, what is not there is sent again: {}", misfit->what));
  return true;
}

}  // namespace client
