#include "mailboxd/store/FolderLanguages.h"

#include <algorithm>
#include <array>
#include <span>

namespace mailbox {
namespace {

struct FolderName {
  std::string_view id;  // DistinguishedFolderId
  std::string_view name;
};
using FolderNames = std::span<const FolderName>;

constexpr std::array<FolderName, 14> kGerman{{
    {"inbox", "Posteingang"},
    {"drafts", "Entwürfe"},
    {"sentitems", "Gesendete Elemente"},
    {"deleteditems", "Gelöschte Elemente"},
    {"junkemail", "Junk-E-Mail"},
    {"outbox", "Postausgang"},
    {"calendar", "Kalender"},
    {"contacts", "Kontakte"},
    {"tasks", "Aufgaben"},
    {"notes", "Notizen"},
    {"journal", "Journal"},
    {"archive", "Archiv"},
    {"archiveinbox", "Posteingang"},
    {"archivedeleteditems", "Gelöschte Elemente"},
}};

constexpr std::array<FolderName, 14> kJapanese{{
    {"inbox", "受信トレイ"},
    {"drafts", "下書き"},
    {"sentitems", "送信済みアイテム"},
    {"deleteditems", "削除済みアイテム"},
    {"junkemail", "迷惑メール"},
    {"outbox", "送信トレイ"},
    {"calendar", "予定表"},
    {"contacts", "連絡先"},
    {"tasks", "タスク"},
    {"notes", "メモ"},
    {"journal", "履歴"},
    {"archive", "アーカイブ"},
    {"archiveinbox", "受信トレイ"},
    {"archivedeleteditems", "削除済みアイテム"},
}};

constexpr std::array<FolderName, 14> kArabic{{
    {"inbox", "علبة الوارد"},
    {"drafts", "المسودات"},
    {"sentitems", "العناصر المرسلة"},
    {"deleteditems", "العناصر المحذوفة"},
    {"junkemail", "البريد الإلكتروني غير الهام"},
    {"outbox", "صندوق الصادر"},
    {"calendar", "التقويم"},
    {"contacts", "جهات الاتصال"},
    {"tasks", "المهام"},
    {"notes", "الملاحظات"},
    {"journal", "دفتر اليومية"},
    {"archive", "الأرشيف"},
    {"archiveinbox", "علبة الوارد"},
    {"archivedeleteditems", "العناصر المحذوفة"},
}};

struct Language {
  std::string_view code;
  FolderNames names;
};
constexpr std::array<Language, 4> kLanguages{
    {{"ar", kArabic}, {"de", kGerman}, {"en", {}}, {"ja", kJapanese}}};

FolderNames g_names;  // of the language that was set

}  // namespace

bool SetFolderLanguage(std::string_view language) {
  const auto row = std::ranges::find(kLanguages, language, &Language::code);
  if (row == kLanguages.end()) return false;
  g_names = row->names;
  return true;
}

std::string_view NameOfFolder(const WellKnownFolder& folder) {
  const auto own = std::ranges::find(g_names, folder.id, &FolderName::id);
  return own == g_names.end() ? folder.name : own->name;
}

}  // namespace mailbox
