#include "client/run/LostMails.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "client/run/LastingPlace.h"
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

// Where the mail began, and the file, where that is an mbox.
struct MboxPlace {
  std::string file;
  std::uint64_t offset = 0;
};
std::optional<MboxPlace> MboxPlaceOf(const std::string& location) {
  MboxPlace place{LastingPlace(location).path};
  if (place.file.size() >= location.size() || location[place.file.size()] != ':') {
    return std::nullopt;
  }
  const char* const end = location.data() + location.size();
  const auto [next, error] =
      std::from_chars(location.data() + place.file.size() + 1, end, place.offset);
  return error == std::errc() && next == end ? std::optional(place) : std::nullopt;
}

// Its size, of one that looks as if it were cut: programs end what they write into one with its
// line, which in one of an old Mac a CR ends.
std::optional<std::uint64_t> CutSizeOf(const std::string& path) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path, error);
  if (error) return std::nullopt;
  try {
    const std::string last = size > 0 ? ReadFileRange(path, size - 1, 1) : std::string();
    if (last == "\n" || last == "\r") return std::nullopt;
  } catch (const SourceError&) {  // told with the source
    return std::nullopt;
  }
  return size;
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

struct Mbox {
  std::optional<std::uint64_t> cutSize;
  std::size_t behindEnd = 0;  // mails
  std::size_t lost = 0;

  bool IsLost() const { return behindEnd >= kManyMails; }
};

void TakeLostOfMboxes(Mails& missing, const Counts& counts, const StillThere& isStillThere,
                      std::vector<LostMails>& lost) {
  const auto placeOf = [&](const KnownMail& mail) {
    return counts.elsewhere.contains(mail.hash) ? std::nullopt : MboxPlaceOf(mail.source);
  };
  std::map<std::string, Mbox> mboxes;  // that lost some
  for (const KnownMail& mail : missing) {
    const auto place = placeOf(mail);
    if (!place) continue;
    const auto [found, isNew] = mboxes.try_emplace(place->file);
    Mbox& mbox = found->second;
    if (isNew) mbox.cutSize = CutSizeOf(place->file);
    if (mbox.cutSize && place->offset >= *mbox.cutSize) ++mbox.behindEnd;
  }
  std::erase_if(mboxes, [](const auto& mbox) { return !mbox.second.IsLost(); });
  if (mboxes.empty()) return;
  Wanted isWanted(missing, isStillThere);
  std::vector<bool> isLost;
  for (const KnownMail& mail : missing) {
    const auto place = placeOf(mail);
    const auto mbox = place ? mboxes.find(place->file) : mboxes.end();
    isLost.push_back(mbox != mboxes.end() && isWanted(mail.folder));
    if (isLost.back()) ++mbox->second.lost;
  }
  std::size_t at = 0;
  std::erase_if(missing, [&](const KnownMail&) { return isLost[at++]; });
  for (const auto& [file, mbox] : mboxes) {
    if (mbox.lost == 0) continue;
    lost.push_back({file, "they lay behind the end of that file, which looks cut", mbox.lost});
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
