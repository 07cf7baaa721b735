#include "client/run/LostMails.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "client/run/LastingPlace.h"
#include "client/sources/MboxSource.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/SpecialFolders.h"

namespace client {
namespace {

using Mails = std::vector<KnownMail>;

// Whether what lay in a folder may be wanted there: some of it is there. Asks the target for one
// mail after the other until one is.
class Wanted {
 public:
  Wanted(const Mails& missing, const StillThere& isStillThere) : m_isStillThere(isStillThere) {
    for (const KnownMail& mail : missing) m_mails[mail.folder].push_back(&mail);
  }
  bool operator()(const std::string& folder) {
    const auto [known, isNew] = m_folders.try_emplace(folder, false);
    if (isNew && !IsEmptiedAsAHabit(folder)) {
      known->second = std::ranges::any_of(
          m_mails[folder], [&](const KnownMail* mail) { return m_isStillThere(*mail); });
    }
    return known->second;
  }

 private:
  static bool IsEmptiedAsAHabit(const std::string& folder) {
    const std::string path = FoldedName(WithExchangeNames(folder));
    return std::ranges::any_of(
        std::array{SpecialFolder::kDeleted, SpecialFolder::kJunk}, [&](SpecialFolder special) {
          return path.starts_with(FoldedName(std::string(ExchangeName(special)) + "\\"));
        });
  }

  const StillThere& m_isStillThere;
  std::unordered_map<std::string, std::vector<const KnownMail*>> m_mails;  // by folder
  std::unordered_map<std::string, bool> m_folders;
};

struct FolderCount {
  std::size_t brought = 0;
  std::size_t missing = 0;
  std::size_t elsewhere = 0;  // of those
};
struct Counts {
  std::map<std::string, FolderCount> folders;
  std::unordered_set<std::string> elsewhere;  // hashes of what another folder of the source has
};

Counts CountFolders(const Mails& missing, Journal& journal, const SeenMails& seen) {
  Counts counts;
  std::unordered_set<std::string_view> hashes;
  for (const KnownMail& mail : missing) {
    ++counts.folders[mail.folder].missing;
    hashes.insert(mail.hash);
  }
  journal.EachBrought([&](const KnownMail& mail) {
    if (const auto folder = counts.folders.find(mail.folder); folder != counts.folders.end()) {
      ++folder->second.brought;
    }
    if (hashes.contains(mail.hash) && seen.Has(mail.folder, mail.hash)) {
      counts.elsewhere.insert(mail.hash);
    }
  });
  for (const KnownMail& mail : missing) {
    counts.folders[mail.folder].elsewhere += counts.elsewhere.contains(mail.hash);
  }
  return counts;
}

bool IsLost(const FolderCount& count) {
  return count.missing == count.brought && count.missing >= kManyMails &&
         2 * count.elsewhere < count.missing;
}

// The mbox that a mail lay in; empty where it lay in none.
std::string MboxOf(const std::string& location) {
  std::string path = LastingPlace(location).path;
  const bool isBehind = path.size() < location.size() && location[path.size()] == ':';
  return isBehind ? path : std::string();
}

// It is there, and no mbox any more.
bool IsEmptied(const std::string& path) {
  constexpr std::uint64_t kHead = 64;  // bytes
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  try {
    return !MboxSource::IsMbox(ReadFileRange(path, 0, kHead));
  } catch (const SourceError&) {  // told with the source
    return false;
  }
}

void TakeLostFolders(Mails& missing, const Counts& counts, const StillThere& isStillThere,
                     std::vector<LostMails>& lost) {
  Wanted isWanted(missing, isStillThere);
  for (const auto& [folder, count] : counts.folders) {
    if (!IsLost(count) || !isWanted(folder)) continue;
    lost.push_back({folder,
                    "nothing of that folder is in the source any more (should it go, delete it "
                    "there)",
                    count.missing});
  }
  std::erase_if(missing, [&](const KnownMail& mail) {
    return std::ranges::binary_search(lost, mail.folder, {}, &LostMails::where);
  });
}

void TakeLostOfMboxes(Mails& missing, const Counts& counts, const StillThere& isStillThere,
                      std::vector<LostMails>& lost) {
  const auto mboxOf = [&](const KnownMail& mail) {
    return counts.elsewhere.contains(mail.hash) ? std::string() : MboxOf(mail.source);
  };
  std::map<std::string, std::size_t> mboxes;  // mails that each lost
  for (const KnownMail& mail : missing) ++mboxes[mboxOf(mail)];
  std::erase_if(mboxes, [](const auto& mbox) {
    return mbox.second < kManyMails || mbox.first.empty() || !IsEmptied(mbox.first);
  });
  if (mboxes.empty()) return;
  Wanted isWanted(missing, isStillThere);
  std::map<std::string, std::size_t> wanted;
  std::vector<bool> isLost;
  for (const KnownMail& mail : missing) {
    const std::string mbox = mboxOf(mail);
    isLost.push_back(mboxes.contains(mbox) && isWanted(mail.folder));
    if (isLost.back()) ++wanted[mbox];
  }
  std::size_t at = 0;
  std::erase_if(missing, [&](const KnownMail&) { return isLost[at++]; });
  for (const auto& [file, count] : wanted) {
    lost.push_back({file, "no mail is in that file any more", count});
  }
}

}  // namespace

std::vector<LostMails> TakeLost(Mails& missing, Journal& journal, const SeenMails& seen,
                                const StillThere& isStillThere) {
  std::vector<LostMails> lost;
  const Counts counts = CountFolders(missing, journal, seen);
  TakeLostFolders(missing, counts, isStillThere, lost);
  TakeLostOfMboxes(missing, counts, isStillThere, lost);
  return lost;
}

}  // namespace client
