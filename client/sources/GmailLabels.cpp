#include "client/sources/GmailLabels.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>

#include "base/AsciiText.h"
#include "client/sources/FromLine.h"
#include "client/sources/Mbox.h"
#include "client/sources/Names.h"
#include "client/sources/Pieces.h"
#include "client/sources/SpecialFolders.h"

namespace client {
namespace {

enum class Means { kUnread, kStarred, kNothing };

struct Label {
  std::string_view name;
  Means means;
};
// In the languages that are known, the forms that may be meant; others' are special folders by
// their names, or categories.
constexpr auto kLabels = std::to_array<Label>({
    {"Unread", Means::kUnread},
    {"Ungelesen", Means::kUnread},
    {"Non lu", Means::kUnread},
    {"Non lus", Means::kUnread},
    {"No leído", Means::kUnread},
    {"No leídos", Means::kUnread},
    {"Sin leer", Means::kUnread},
    {"Da leggere", Means::kUnread},
    {"Non letti", Means::kUnread},
    {"Não lida", Means::kUnread},
    {"Não lidas", Means::kUnread},
    {"Não lido", Means::kUnread},
    {"Não lidos", Means::kUnread},
    {"Ongelezen", Means::kUnread},
    {"Ulæst", Means::kUnread},
    {"Ulæste", Means::kUnread},
    {"Ulest", Means::kUnread},
    {"Uleste", Means::kUnread},
    {"Oläst", Means::kUnread},
    {"Olästa", Means::kUnread},
    {"Lukematon", Means::kUnread},
    {"Lukemattomat", Means::kUnread},
    {"Nieprzeczytane", Means::kUnread},
    {"Nepřečtené", Means::kUnread},
    {"Neprečítané", Means::kUnread},
    {"Olvasatlan", Means::kUnread},
    {"Necitit", Means::kUnread},
    {"Necitite", Means::kUnread},
    {"Непрочитанные", Means::kUnread},
    {"Непрочитані", Means::kUnread},
    {"Μη αναγνωσμένα", Means::kUnread},
    {"Okunmamış", Means::kUnread},
    {"לא נקראו", Means::kUnread},
    {"غير مقروء", Means::kUnread},
    {"غير مقروءة", Means::kUnread},
    {"未読", Means::kUnread},
    {"읽지않음", Means::kUnread},
    {"읽지 않음", Means::kUnread},
    {"未读", Means::kUnread},
    {"未讀", Means::kUnread},
    {"Starred", Means::kStarred},
    {"Markiert", Means::kStarred},
    {"Suivis", Means::kStarred},
    {"Messages suivis", Means::kStarred},
    {"Destacados", Means::kStarred},
    {"Speciali", Means::kStarred},
    {"Com estrela", Means::kStarred},
    {"Met ster", Means::kStarred},
    {"Stjernemarkeret", Means::kStarred},
    {"Stjernemerket", Means::kStarred},
    {"Stjärnmärkta", Means::kStarred},
    {"Tähdelliset", Means::kStarred},
    {"Oznaczone gwiazdką", Means::kStarred},
    {"S hvězdičkou", Means::kStarred},
    {"Csillagozott", Means::kStarred},
    {"Помеченные", Means::kStarred},
    {"Yıldızlı", Means::kStarred},
    {"スター付き", Means::kStarred},
    {"별표편지함", Means::kStarred},
    {"已加星标", Means::kStarred},
    {"已加星號", Means::kStarred},
    {"Opened", Means::kNothing},
    {"Geöffnet", Means::kNothing},
    {"Ouvert", Means::kNothing},
    {"Ouverts", Means::kNothing},
    {"Abierto", Means::kNothing},
    {"Abiertos", Means::kNothing},
    {"Aperti", Means::kNothing},
    {"Aberto", Means::kNothing},
    {"Abertos", Means::kNothing},
    {"Geopend", Means::kNothing},
    {"Åbnet", Means::kNothing},
    {"Åpnet", Means::kNothing},
    {"Öppnat", Means::kNothing},
    {"Avattu", Means::kNothing},
    {"Otwarte", Means::kNothing},
    {"Otevřené", Means::kNothing},
    {"Открытые", Means::kNothing},
    {"開封済み", Means::kNothing},
    {"Archived", Means::kNothing},
    {"Archiviert", Means::kNothing},
    {"Archivés", Means::kNothing},
    {"Messages archivés", Means::kNothing},
    {"Archivado", Means::kNothing},
    {"Archivados", Means::kNothing},
    {"Archiviati", Means::kNothing},
    {"Arquivado", Means::kNothing},
    {"Arquivados", Means::kNothing},
    {"Gearchiveerd", Means::kNothing},
    {"Arkiveret", Means::kNothing},
    {"Arkivert", Means::kNothing},
    {"Arkiverat", Means::kNothing},
    {"Zarchiwizowane", Means::kNothing},
    {"Архивированные", Means::kNothing},
    {"アーカイブ済み", Means::kNothing},
    {"Important", Means::kNothing},
    {"Importants", Means::kNothing},
    {"Wichtig", Means::kNothing},
    {"Importante", Means::kNothing},
    {"Importantes", Means::kNothing},
    {"Importanti", Means::kNothing},
    {"Belangrijk", Means::kNothing},
    {"Vigtigt", Means::kNothing},
    {"Viktig", Means::kNothing},
    {"Viktigt", Means::kNothing},
    {"Ważne", Means::kNothing},
    {"Важное", Means::kNothing},
    {"重要", Means::kNothing},
});

std::optional<Means> MeaningOf(const std::string& folded) {
  static const std::unordered_map<std::string, Means> kMeanings = [] {
    std::unordered_map<std::string, Means> meanings;
    for (const Label& row : kLabels) meanings.emplace(FoldedName(row.name), row.means);
    return meanings;
  }();
  const auto found = kMeanings.find(folded);
  return found == kMeanings.end() ? std::nullopt : std::optional(found->second);
}

// A mail may be in several; the first of these is where people look for it.
constexpr std::array<SpecialFolder, 5> kRank{SpecialFolder::kDeleted, SpecialFolder::kJunk,
                                             SpecialFolder::kDrafts, SpecialFolder::kSent,
                                             SpecialFolder::kIncoming};

void TakeLabel(std::string_view label, StateFields& fields, std::size_t& place) {
  if (const auto means = MeaningOf(FoldedName(label))) {
    if (means == Means::kUnread) fields.read = false;
    if (means == Means::kStarred) fields.state.flagged = true;
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

// Quotes count around a whole label.
std::string_view TakeLabelText(std::string_view& labels) {
  labels = mail::trimmed(labels);
  const std::size_t quote = labels.starts_with('"') ? labels.find('"', 1) : std::string_view::npos;
  if (quote != std::string_view::npos) {
    const std::string_view behind = mail::trimmed(labels.substr(quote + 1));
    if (behind.empty() || behind.starts_with(',')) {
      const std::string_view label = labels.substr(1, quote - 1);
      labels = behind.substr(std::min<std::size_t>(1, behind.size()));
      return mail::trimmed(label);
    }
  }
  return mail::trimmed(TakeUpTo(labels, ','));
}

}  // namespace

bool IsGmailExport(std::string_view firstMail) {
  constexpr std::array<std::string_view, 2> kFields{"X-GM-THRID:", "X-Gmail-Labels:"};
  if (!firstMail.starts_with(kFrom)) return false;
  const FromLine from = ParseFromLine(firstMail.substr(0, firstMail.find('\n')));
  if (from.zone == FromLine::Zone::kBeforeYear && from.sender.ends_with("@xxx")) return true;
  const std::string_view header = WithoutFromLine(firstMail);
  return std::ranges::any_of(
      kFields, [&](std::string_view field) { return mail::beginsWithNoCase(header, field); });
}

std::string TakeGmailLabels(std::string_view labels, StateFields& fields) {
  constexpr std::size_t kMostLabels = 256;
  fields.read = true;
  std::size_t place = kRank.size();
  for (std::size_t count = 0; !labels.empty() && count < kMostLabels; ++count) {
    TakeLabel(TakeLabelText(labels), fields, place);
  }
  const SpecialFolder folder = place < kRank.size() ? kRank[place] : SpecialFolder::kArchive;
  if (folder == SpecialFolder::kDrafts) fields.state.draft = true;
  return std::string(ExchangeName(folder)) + "\\";
}

}  // namespace client
