#include "client/sources/MissingMail.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "client/sources/FolderIndex.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"
#include "client/sources/SourceFiles.h"
#include "client/sources/ThunderbirdProfile.h"

namespace client {
namespace {

constexpr std::string_view kIndex = ".msf";
constexpr std::string_view kBelow = ".sbd";

// Looks through the folders of one account for mail that their indexes know and that is not there.
class AccountLook {
 public:
  using Counts = std::unordered_map<std::string, std::uint64_t>;  // by what mails lie in

  AccountLook(MailAccounts::One account, const Counts& counts, TrueNames& names)
      : m_account(std::move(account.path)),
        m_isOfServer(account.isOfServer),
        m_counts(counts),
        m_names(names) {}

  void Run(std::vector<SourceProblem>& problems) {
    std::vector<SourceProblem> toldBefore;
    std::vector<Place> pending = {{m_account, ""}};
    while (!pending.empty()) {
      const Place place = std::move(pending.back());
      pending.pop_back();
      std::vector<Place> below;
      EachEntry(place.path, toldBefore, [&](const FolderEntry& entry) {
        std::string_view name = entry.name;
        if (entry.kind == EntryKind::kFile && TakeEnd(name, kIndex)) Look(place, std::string(name));
        if (entry.kind == EntryKind::kFolder && TakeEnd(name, kBelow)) {
          below.push_back({place.path + "/" + entry.name, place.shown + Shown(place, name) + "/"});
        }
      });
      pending.insert(pending.end(), below.rbegin(), below.rend());
    }
    if (m_folders > 0) problems.push_back({m_account, Reason(), /*isUnread=*/true});
  }

 private:
  struct Place {
    std::string path;
    std::string shown;  // as people know it, a slash behind each name
  };

  static bool TakeEnd(std::string_view& name, std::string_view end) {
    if (!name.ends_with(end) || name.size() == end.size()) return false;
    name.remove_suffix(end.size());
    return true;
  }

  std::string Shown(const Place& place, std::string_view name) const {
    return LevelName(FromModifiedUtf7(m_names.Of(place.path, name)));
  }

  std::uint64_t CountOf(const std::string& path) const {
    std::uint64_t count = 0;
    for (const char* end : {"", "/cur/", "/new/"}) {
      const auto found = m_counts.find(path + end);
      if (found != m_counts.end()) count += found->second;
    }
    return count;
  }

  // Where an account is of this machine alone, an index that is too large is only an old one.
  void Look(const Place& place, const std::string& name) {
    const std::string path = place.path + "/" + name;
    if (!m_isOfServer && HasEntry(place.path, name)) return;
    FolderIndex index;
    try {
      index = ReadFolderIndex(path + std::string(kIndex));
    } catch (const SourceError&) {  // it knows as much as one that counted nothing
    }
    if (index.isSearch) return;
    const std::uint64_t count = CountOf(path);
    if (index.mails && *index.mails > count) {
      Add(place, name, std::to_string(*index.mails - count));
    } else if (!index.mails && !index.isLevel && count == 0 && m_isOfServer &&
               (name == "INBOX" || !HasEntry(place.path, name + std::string(kBelow)))) {
      Add(place, name, "number unknown");
    }
  }

  void Add(const Place& place, const std::string& name, const std::string& number) {
    constexpr std::size_t kMostTold = 8;
    if (++m_folders > kMostTold) return;
    m_told.push_back(fmt::format("{}{} ({})", place.shown, Shown(place, name), number));
  }

  std::string Reason() const {
    const std::size_t untold = m_folders - m_told.size();
    return fmt::format("{}: {}{}",
                       m_isOfServer ? "mail is on its server alone, not made available offline"
                                    : "of mail the index alone is here",
                       fmt::join(m_told, ", "),
                       untold > 0 ? fmt::format(" and {} more folders", untold) : "");
  }

  const std::string m_account;
  const bool m_isOfServer;
  const Counts& m_counts;
  TrueNames& m_names;
  std::size_t m_folders = 0;
  std::vector<std::string> m_told;
};

}  // namespace

void NameMissingMail(const std::string& source, const MailAccounts& accounts, TrueNames& names,
                     Listing& listing) {
  std::vector<MailAccounts::One> all;
  const auto add = [&](const std::string& above, std::string_view name) {
    all.push_back({above + "/" + std::string(name), above.ends_with("/ImapMail")});
  };
  const std::size_t slash = source.rfind('/');
  if (slash != std::string::npos && IsAboveAccounts(source.substr(0, slash))) {
    add(source.substr(0, slash), source.substr(slash + 1));
  }
  std::vector<SourceProblem> toldBefore;
  for (const std::string& above : accounts.above) {
    for (const FolderEntry& entry : ListFolder(above, toldBefore)) {
      if (entry.kind == EntryKind::kFolder) add(above, entry.name);
    }
  }
  all.insert(all.end(), accounts.elsewhere.begin(), accounts.elsewhere.end());
  if (all.empty()) return;
  AccountLook::Counts counts;
  for (const ItemList::Shared& shared : listing.items.Parts()) counts[shared.path] += shared.items;
  std::unordered_set<std::string> told;  // profiles may share one
  for (const MailAccounts::One& each : all) {
    if (told.insert(each.path).second) AccountLook(each, counts, names).Run(listing.problems);
  }
}

}  // namespace client
