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

constexpr NameTable<WellKnownFolderName, 19> kFolderNames{{
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
    {WellKnownFolderName::Archive, "archive"},
}};

constexpr NameTable<Importance, 3> kImportanceNames{{
    {Importance::Low, "Low"},
    {Importance::Normal, "Normal"},
    {Importance::High, "High"},
}};

constexpr NameTable<Sensitivity, 4> kSensitivityNames{{
    {Sensitivity::Normal, "Normal"},
    {Sensitivity::Personal, "Personal"},
    {Sensitivity::Private, "Private"},
    {Sensitivity::Confidential, "Confidential"},
}};

constexpr NameTable<LegacyFreeBusyStatus, 5> kFreeBusyNames{{
    {LegacyFreeBusyStatus::Free, "Free"},
    {LegacyFreeBusyStatus::Tentative, "Tentative"},
    {LegacyFreeBusyStatus::Busy, "Busy"},
    {LegacyFreeBusyStatus::OOF, "OOF"},
    {LegacyFreeBusyStatus::WorkingElsewhere, "WorkingElsewhere"},
}};

constexpr NameTable<TaskStatus, 5> kTaskStatusNames{{
    {TaskStatus::NotStarted, "NotStarted"},
    {TaskStatus::InProgress, "InProgress"},
    {TaskStatus::Completed, "Completed"},
    {TaskStatus::WaitingOnOthers, "WaitingOnOthers"},
    {TaskStatus::Deferred, "Deferred"},
}};

constexpr NameTable<MapiPropertyType, 4> kPropertyTypes{{
    {MapiPropertyType::Boolean, "Boolean"},
    {MapiPropertyType::Integer, "Integer"},
    {MapiPropertyType::String, "String"},
    {MapiPropertyType::SystemTime, "SystemTime"},
}};

constexpr NameTable<ConflictResolutionMode, 3> kConflictNames{{
    {ConflictResolutionMode::NeverOverwrite, "NeverOverwrite"},
    {ConflictResolutionMode::AutoResolve, "AutoResolve"},
    {ConflictResolutionMode::AlwaysOverwrite, "AlwaysOverwrite"},
}};

constexpr NameTable<DayOfTheWeek, 10> kDayNames{{
    {DayOfTheWeek::Sunday, "Sunday"},
    {DayOfTheWeek::Monday, "Monday"},
    {DayOfTheWeek::Tuesday, "Tuesday"},
    {DayOfTheWeek::Wednesday, "Wednesday"},
    {DayOfTheWeek::Thursday, "Thursday"},
    {DayOfTheWeek::Friday, "Friday"},
    {DayOfTheWeek::Saturday, "Saturday"},
    {DayOfTheWeek::Day, "Day"},
    {DayOfTheWeek::Weekday, "Weekday"},
    {DayOfTheWeek::WeekendDay, "WeekendDay"},
}};

constexpr NameTable<DayOfTheWeekIndex, 5> kDayIndexNames{{
    {DayOfTheWeekIndex::First, "First"},
    {DayOfTheWeekIndex::Second, "Second"},
    {DayOfTheWeekIndex::Third, "Third"},
    {DayOfTheWeekIndex::Fourth, "Fourth"},
    {DayOfTheWeekIndex::Last, "Last"},
}};

constexpr NameTable<Month, 12> kMonthNames{{
    {Month::January, "January"},
    {Month::February, "February"},
    {Month::March, "March"},
    {Month::April, "April"},
    {Month::May, "May"},
    {Month::June, "June"},
    {Month::July, "July"},
    {Month::August, "August"},
    {Month::September, "September"},
    {Month::October, "October"},
    {Month::November, "November"},
    {Month::December, "December"},
}};

constexpr NameTable<EmailAddressKey, 3> kEmailAddressKeys{{
    {EmailAddressKey::EmailAddress1, "EmailAddress1"},
    {EmailAddressKey::EmailAddress2, "EmailAddress2"},
    {EmailAddressKey::EmailAddress3, "EmailAddress3"},
}};

constexpr NameTable<ImAddressKey, 3> kImAddressKeys{{
    {ImAddressKey::ImAddress1, "ImAddress1"},
    {ImAddressKey::ImAddress2, "ImAddress2"},
    {ImAddressKey::ImAddress3, "ImAddress3"},
}};

constexpr NameTable<PhysicalAddressKey, 3> kPhysicalAddressKeys{{
    {PhysicalAddressKey::Business, "Business"},
    {PhysicalAddressKey::Home, "Home"},
    {PhysicalAddressKey::Other, "Other"},
}};

constexpr NameTable<PhoneNumberKey, 19> kPhoneNumberKeys{{
    {PhoneNumberKey::AssistantPhone, "AssistantPhone"},
    {PhoneNumberKey::BusinessFax, "BusinessFax"},
    {PhoneNumberKey::BusinessPhone, "BusinessPhone"},
    {PhoneNumberKey::BusinessPhone2, "BusinessPhone2"},
    {PhoneNumberKey::Callback, "Callback"},
    {PhoneNumberKey::CarPhone, "CarPhone"},
    {PhoneNumberKey::CompanyMainPhone, "CompanyMainPhone"},
    {PhoneNumberKey::HomeFax, "HomeFax"},
    {PhoneNumberKey::HomePhone, "HomePhone"},
    {PhoneNumberKey::HomePhone2, "HomePhone2"},
    {PhoneNumberKey::Isdn, "Isdn"},
    {PhoneNumberKey::MobilePhone, "MobilePhone"},
    {PhoneNumberKey::OtherFax, "OtherFax"},
    {PhoneNumberKey::OtherTelephone, "OtherTelephone"},
    {PhoneNumberKey::Pager, "Pager"},
    {PhoneNumberKey::PrimaryPhone, "PrimaryPhone"},
    {PhoneNumberKey::RadioPhone, "RadioPhone"},
    {PhoneNumberKey::Telex, "Telex"},
    {PhoneNumberKey::TtyTddPhone, "TtyTddPhone"},
}};

}  // namespace

std::string_view WireName(ExchangeVersion e) {
  return e == ExchangeVersion::Exchange2013_SP1 ? "Exchange2013_SP1" : "";
}
std::string_view WireName(WellKnownFolderName e) { return Look(kFolderNames, e); }
std::string_view WireName(Importance e) { return Look(kImportanceNames, e); }
std::string_view WireName(Sensitivity e) { return Look(kSensitivityNames, e); }
std::string_view WireName(LegacyFreeBusyStatus e) { return Look(kFreeBusyNames, e); }
std::string_view WireName(TaskStatus e) { return Look(kTaskStatusNames, e); }
std::string_view WireName(BodyType e) { return e == BodyType::HTML ? "HTML" : "Text"; }
std::string_view WireName(MapiPropertyType e) { return Look(kPropertyTypes, e); }
std::string_view WireName(ConflictResolutionMode e) { return Look(kConflictNames, e); }
std::string_view WireName(SendInvitationsOrCancellationsMode e) {
  return e == SendInvitationsOrCancellationsMode::SendToNone ? "SendToNone" : "";
}
std::string_view WireName(DayOfTheWeek e) { return Look(kDayNames, e); }
std::string_view WireName(DayOfTheWeekIndex e) { return Look(kDayIndexNames, e); }
std::string_view WireName(Month e) { return Look(kMonthNames, e); }
std::string_view WireName(EmailAddressKey e) { return Look(kEmailAddressKeys, e); }
std::string_view WireName(ImAddressKey e) { return Look(kImAddressKeys, e); }
std::string_view WireName(PhysicalAddressKey e) { return Look(kPhysicalAddressKeys, e); }
std::string_view WireName(PhoneNumberKey e) { return Look(kPhoneNumberKeys, e); }

}  // namespace ews
