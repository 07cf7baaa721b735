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

#include "client/run/LastingPlace.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/SpecialFolders.h"

namespace client {
namespace {

using Mails = std::vector<KnownMail>;

// Whether what lay in a folder may be wanted there; asks the target once for each.
class Wanted {
 public:
  explicit Wanted(TargetLook& look) : m_look(look) {}
  bool operator()(const std::string& folder) {
    const auto [known, isNew] = m_folders.try_emplace(folder, false);
    if (isNew) known->second = !IsEmptiedAsAHabit(folder) && m_look.Has(folder);
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

  TargetLook& m_look;
  std::unordered_map<std::string, bool> m_folders;
};

struct FolderCount {
  std::size_t brought = 0;
  std::size_t missing = 0;
  std::size_t elsewhere = 0;  // of those, in another folder of the source
};
using FolderCounts = std::map<std::string, FolderCount>;

FolderCounts CountFolders(const Mails& missing, Journal& journal, const SeenMails& seen) {
  FolderCounts counts;
  std::unordered_map<std::string_view, bool> isElsewhere;  // by hash
  for (const KnownMail& mail : missing) {
    ++counts[mail.folder].missing;
    isElsewhere.try_emplace(mail.hash, false);
  }
  journal.EachBrought([&](const KnownMail& mail) {
    if (const auto folder = counts.find(mail.folder); folder != counts.end()) {
      ++folder->second.brought;
    }
    const auto same = isElsewhere.find(mail.hash);
    if (same != isElsewhere.end() && seen.Has(mail.folder, mail.hash)) same->second = true;
  });
  for (const KnownMail& mail : missing) counts[mail.folder].elsewhere += isElsewhere[mail.hash];
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
// line.
std::optional<std::uint64_t> CutSizeOf(const std::string& path) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path, error);
  if (error) return std::nullopt;
  try {
    if (size > 0 && ReadFileRange(path, size - 1, 1) == "\n") return std::nullopt;
  } catch (const SourceError&) {  // told with the source
    return std::nullopt;
  }
  return size;
}

void TakeLostFolders(Mails& missing, const FolderCounts& counts, Wanted& isWanted,
                     std::vector<LostMails>& lost) {
  for (const auto& [folder, count] : counts) {
    if (!IsLost(count) || !isWanted(folder)) continue;
    lost.push_back({folder,
                    "nothing of that folder is in the source any more (should it go, delete the "
                    "folder there)",
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

void TakeLostOfMboxes(Mails& missing, Wanted& isWanted, std::vector<LostMails>& lost) {
  std::map<std::string, Mbox> mboxes;  // that lost some
  for (const KnownMail& mail : missing) {
    const auto place = MboxPlaceOf(mail.source);
    if (!place) continue;
    const auto [found, isNew] = mboxes.try_emplace(place->file);
    Mbox& mbox = found->second;
    if (isNew) mbox.cutSize = CutSizeOf(place->file);
    if (mbox.cutSize && place->offset >= *mbox.cutSize) ++mbox.behindEnd;
  }
  std::erase_if(mboxes, [](const auto& mbox) { return !mbox.second.IsLost(); });
  std::erase_if(missing, [&](const KnownMail& mail) {
    const auto place = MboxPlaceOf(mail.source);
    const auto mbox = place ? mboxes.find(place->file) : mboxes.end();
    if (mbox == mboxes.end() || !isWanted(mail.folder)) return false;
    ++mbox->second.lost;
    return true;
  });
  for (const auto& [file, mbox] : mboxes) {
    if (mbox.lost == 0) continue;
    lost.push_back({file, "they lay behind the end of that file, which looks cut", mbox.lost});
  }
}

}  // namespace

std::vector<LostMails> TakeLost(Mails& missing, Journal& journal, const SeenMails& seen,
                                TargetLook& look) {
  std::vector<LostMails> lost;
  Wanted isWanted(look);
  TakeLostFolders(missing, CountFolders(missing, journal, seen), isWanted, lost);
  TakeLostOfMboxes(missing, isWanted, lost);
  return lost;
}

}  // namespace client
