#include "ews/Types.h"

#include <array>

namespace ews {
namespace {

template <typename Enum, size_t kCount>
using NameTable = std::array<std::pair<Enum, std::string_view>, kCount>;

template <typename Enum, size_t kCount>
constexpr std::string_view Look(const NameTable<Enum, kCount>& arrTable, Enum e) {
  for (const auto& [eRow, strName] : arrTable) {
    if (eRow == e) return strName;
  }
  return "";
}

constexpr NameTable<WellKnownFolderName, 18> kFolderNames{{
    {WellKnownFolderName::Calendar, "calendar"},
    {WellKnownFolderName::Contacts, "contacts"},
    {WellKnownFolderName::DeletedItems, "deleteditems"},
    {WellKnownFolderName::Drafts, "drafts"},
    {WellKnownFolderName::Inbox, "inbox"},
    {WellKnownFolderName::Journal, "journal"},
    {WellKnownFolderName::JunkEmail, "junkemail"},
    {WellKnownFolderName::MsgFolderRoot, "msgfolderroot"},
    {WellKnownFolderName::Notes, "notes"},
    {WellKnownFolderName::Outbox, "outbox"},
    {WellKnownFolderName::Root, "root"},
    {WellKnownFolderName::SentItems, "sentitems"},
    {WellKnownFolderName::Tasks, "tasks"},
    {WellKnownFolderName::PublicFoldersRoot, "publicfoldersroot"},
    {WellKnownFolderName::ArchiveRoot, "archiveroot"},
    {WellKnownFolderName::ArchiveMsgFolderRoot, "archivemsgfolderroot"},
    {WellKnownFolderName::ArchiveInbox, "archiveinbox"},
    {WellKnownFolderName::ArchiveDeletedItems, "archivedeleteditems"},
}};

constexpr NameTable<Importance, 3> kImportanceNames{{
    {Importance::Low, "Low"},
    {Importance::Normal, "Normal"},
    {Importance::High, "High"},
}};

constexpr NameTable<MapiPropertyType, 4> kPropertyTypes{{
    {MapiPropertyType::Boolean, "Boolean"},
    {MapiPropertyType::Integer, "Integer"},
    {MapiPropertyType::String, "String"},
    {MapiPropertyType::SystemTime, "SystemTime"},
}};

}  // namespace

std::string_view WireName(ExchangeVersion e) {
  return e == ExchangeVersion::Exchange2013_SP1 ? "Exchange2013_SP1" : "";
}
std::string_view WireName(WellKnownFolderName e) { return Look(kFolderNames, e); }
std::string_view WireName(Importance e) { return Look(kImportanceNames, e); }
std::string_view WireName(BodyType e) { return e == BodyType::HTML ? "HTML" : "Text"; }
std::string_view WireName(MapiPropertyType e) { return Look(kPropertyTypes, e); }

}  // namespace ews
