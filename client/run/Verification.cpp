#include "client/run/Verification.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

#include "client/run/Adoption.h"
#include "client/run/MailKey.h"
#include "client/run/RunFolder.h"
#include "client/run/StopRequest.h"

namespace client {
namespace {

// By what people know an item of the target.
SourceProblem Described(const ews::FoundItem& found) {
  const std::string subject = found.strSubject.ToUtf8();
  const CString& id = found.strMessageId.IsEmpty() ? found.strKey : found.strMessageId;
  return {subject.empty() ? "(no subject)" : subject, id.ToUtf8()};
}

// A folder of the target, and what of it stands for which item of the source.
struct TargetFolder {
  TargetIndex index;
  std::vector<SourceProblem> described;                       // in the order of the index
  std::unordered_map<std::size_t, const Plan::Entry*> taken;  // by number in the index
  std::unordered_set<std::string> keys;                       // of items of the source so far
};

void CheckItem(const Plan::Entry& entry, const LoadedItem& item, TargetFolder& target,
               FolderCheck& check) {
  if (!target.keys.insert(item.key).second) {  // the same mail, which stands there once
    ++check.there;
    return;
  }
  const auto number = target.index.Take(KeyOnItem(item.key), item.messageId, item.MimeSize());
  if (!number) {
    check.missing.push_back({entry.name, {}});
    return;
  }
  ++check.there;
  target.taken.emplace(*number, &entry);
  const auto size = target.index.SizeOf(*number);
  if (size && !entry.item.prepared && IsOtherSize(item.MimeSize(), *size)) {
    check.otherSize.push_back(
        {entry.name, fmt::format("{} bytes, {} in the target", item.MimeSize(), *size)});
  }
}

// What stands in the target and for no item of the source, told apart.
void TellLeft(const TargetFolder& target, FolderCheck& check) {
  std::unordered_map<const Plan::Entry*, std::size_t> more;
  for (const std::size_t number : target.index.Left()) {
    if (const auto twin = target.index.TwinOf(number)) {
      ++more[target.taken.at(*twin)];
    } else {
      check.beyond.push_back(target.described[number]);
    }
  }
  for (const auto& [entry, count] : more) {
    check.twice.push_back({entry->name, fmt::format("{} times", count + 1)});
  }
  std::ranges::sort(check.twice, {}, &SourceProblem::location);
}

}  // namespace

bool IsOtherSize(std::int64_t mimeSize, std::int64_t serverSize) {
  const auto [less, more] = std::minmax(mimeSize, serverSize);
  return more - less > kSizeSlack && more / kSizeFactor > less;
}

Verification::Verification(TargetLook& look, Journal& journal, LedgerLook& ledger,
                           std::string login, OnStep onStep)
    : m_look(look),
      m_journal(journal),
      m_loader(journal, ledger, std::move(login)),
      m_onStep(std::move(onStep)) {}

std::vector<FolderCheck> Verification::Run(const Plan& plan) {
  std::unordered_map<std::string, Entries> byFolder;
  for (const Plan::Entry& entry : plan.entries) byFolder[entry.item.folder].push_back(&entry);
  m_done = 0;
  m_total = plan.entries.size();
  std::vector<FolderCheck> checks;
  for (const Plan::Folder& folder : plan.Folders()) {
    checks.push_back(Check(folder.name, byFolder[folder.name]));
  }
  return checks;
}

FolderCheck Verification::Check(const std::string& folder, const Entries& entries) {
  FolderCheck check;
  check.folder = folder;
  check.items = entries.size();
  TargetFolder target;
  target.index = ReadTargetFolder(m_look, m_journal, folder, [&](const ews::FoundItem& found) {
    target.described.push_back(Described(found));
  });
  for (const Plan::Entry* entry : entries) {
    Step(*entry);
    try {
      LoadedItem item = ItemLoader::Load(*entry);
      m_loader.Name(*entry, item);
      CheckItem(*entry, item, target, check);
    } catch (const SourceError& error) {
      check.unread.push_back({entry->name, error.what()});
    }
  }
  TellLeft(target, check);
  return check;
}

void Verification::Step(const Plan::Entry& entry) {
  if (StopRequested()) throw RunError("stopped");
  m_onStep({++m_done, m_total, entry.name, {}, false});
}

}  // namespace client
