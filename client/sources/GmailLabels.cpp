#include "client/sources/GmailLabels.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "client/sources/Names.h"
#include "client/sources/SpecialFolders.h"

namespace client {
namespace {

enum class Means { kUnread, kStarred, kNothing };

struct Label {
  std::string_view name;
  Means means;
};
// In the languages that are known; others' are special folders by their names, or categories.
constexpr std::array<Label, 10> kLabels{{
    {"Unread", Means::kUnread},
    {"Ungelesen", Means::kUnread},
    {"Opened", Means::kNothing},
    {"Geöffnet", Means::kNothing},
    {"Starred", Means::kStarred},
    {"Markiert", Means::kStarred},
    {"Archived", Means::kNothing},
    {"Archiviert", Means::kNothing},
    {"Important", Means::kNothing},
    {"Wichtig", Means::kNothing},
}};

// A mail may be in several; the first of these is where people look for it.
constexpr std::array<SpecialFolder, 5> kRank{SpecialFolder::kDeleted, SpecialFolder::kJunk,
                                             SpecialFolder::kDrafts, SpecialFolder::kSent,
                                             SpecialFolder::kIncoming};

void TakeLabel(std::string_view label, StateFields& fields, std::size_t& place) {
  const std::string folded = FoldedName(label);
  for (const Label& row : kLabels) {
    if (FoldedName(row.name) != folded) continue;
    if (row.means == Means::kUnread) fields.read = false;
    if (row.means == Means::kStarred) fields.state.flagged = true;
    return;
  }
  if (const auto special = SpecialFolderNamed(label)) {
    const auto rank = std::ranges::find(kRank, *special);
    place = std::min(place, static_cast<std::size_t>(rank - kRank.begin()));
    return;
  }
  std::string name = WithoutForbiddenControls(label);
  std::vector<std::string>& categories = fields.state.categories;
  if (!name.empty() && std::ranges::find(categories, name) == categories.end()) {
    categories.push_back(std::move(name));
  }
}

}  // namespace

std::string TakeGmailLabels(std::string_view labels, StateFields& fields) {
  constexpr std::size_t kMostLabels = 256;
  fields.read = true;
  std::size_t place = kRank.size();
  for (std::size_t count = 0; !labels.empty() && count < kMostLabels; ++count) {
    const std::size_t end = std::min(labels.find(','), labels.size());
    TakeLabel(mail::trimmed(labels.substr(0, end)), fields, place);
    labels.remove_prefix(std::min(end + 1, labels.size()));
  }
  const SpecialFolder folder = place < kRank.size() ? kRank[place] : SpecialFolder::kArchive;
  if (folder == SpecialFolder::kDrafts) fields.state.draft = true;
  return std::string(ExchangeName(folder)) + "\\";
}

}  // namespace client
