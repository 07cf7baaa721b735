#include "client/run/FilledTarget.h"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "client/run/ItemLoader.h"
#include "client/run/MailKey.h"
#include "client/run/RunFolder.h"

namespace client {
namespace {

constexpr std::size_t kFolders = 5;  // with a request each, and those that find it
constexpr std::size_t kItems = 20;   // of each

using Numbers = std::vector<std::size_t>;  // of entries

Numbers EntriesOf(const Plan& plan, const std::string& folder) {
  Numbers entries;
  for (const Plan::Entry& entry : plan.entries) {
    if (entry.item.folder == folder) entries.push_back(entry.number);
  }
  return entries;
}

// Half of them the first, which a run sends first, and half from the rest, should these be new.
Numbers Sample(const Numbers& entries) {
  if (entries.size() <= kItems) return entries;
  Numbers sample(entries.begin(), entries.begin() + kItems / 2);
  for (std::size_t i = kItems / 2; i < kItems; ++i) {
    sample.push_back(entries[i * entries.size() / kItems]);
  }
  return sample;
}

// Names of items, by the key that stands on them in the target.
std::map<CString, std::string> KeysOf(const Plan& plan, const Numbers& entries) {
  std::map<CString, std::string> keys;
  for (const std::size_t number : entries) {
    try {
      const Plan::Entry entry = plan.entries[number];
      LoadedItem item = ItemLoader::Load(entry);
      ItemLoader::Identify(entry, item);
      keys.emplace(CString::FromUtf8(KeyOnItem(item.key)), entry.name);
    } catch (const SourceError&) {  // told when its turn comes
    }
  }
  return keys;
}

// The name of an item of that folder which stands in the target; empty if none was found.
std::string FindOne(TargetLook& look, const Plan& plan, const std::string& folder) {
  const std::map<CString, std::string> names = KeysOf(plan, Sample(EntriesOf(plan, folder)));
  std::vector<CString> keys;
  for (const auto& [key, name] : names) keys.push_back(key);
  std::string there;
  look.FindKeys(folder, keys, [&](const ews::FoundItem& found) {
    const auto name = names.find(found.strKey);
    if (name != names.end() && there.empty()) there = name->second;
  });
  return there;
}

}  // namespace

void RequireNotFilled(TargetLook& look, const Plan& plan, const Say& say) {
  std::vector<Plan::Folder> folders = plan.Folders();
  if (folders.size() > kFolders) folders.resize(kFolders);
  for (const auto& [folder, items, bytes] : folders) {
    std::string there;
    try {
      there = FindOne(look, plan, folder);
    } catch (const std::runtime_error& error) {
      return say(
          fmt::format("Nobody can tell whether the target was filled before: {}", error.what()));
    }
    if (there.empty()) continue;
    throw RunError(fmt::format(
        "the target's folder {} holds items of this source already ({}, for one), and this run "
        "folder knows of none. Name the run folder that they were sent with, or add --adopt to "
        "send only what is not there, or --no-adopt to send all of it once more; nothing was sent",
        folder, there));
  }
}

}  // namespace client
