#pragma once

#include <string_view>

// The small vocabulary of the mailbox service, with the names that its protocol gives it.
namespace ews {

enum class ExchangeVersion { Exchange2013_SP1 = 5 };

enum class WellKnownFolderName {
  Calendar,
  Contacts,
  DeletedItems,
  Drafts,
  Inbox,
  Journal,
  JunkEmail,
  MsgFolderRoot,
  Notes,
  Outbox,
  Root,
  SentItems,
  Tasks,
  PublicFoldersRoot,
  ArchiveRoot,
  ArchiveMsgFolderRoot,
  ArchiveInbox,
  ArchiveDeletedItems,
  Archive,  // within the mailbox; servers of 2013 do not know it yet
};

enum class Importance { Low, Normal, High };
enum class Sensitivity { Normal, Personal, Private, Confidential };
enum class LegacyFreeBusyStatus { Free, Tentative, Busy, OOF, WorkingElsewhere };
enum class TaskStatus { NotStarted, InProgress, Completed, WaitingOnOthers, Deferred };
enum class BodyType { HTML, Text };
enum class MapiPropertyType { Boolean, Integer, String, SystemTime };
enum class ConnectingIdType { SmtpAddress = 2 };
enum class PropertySet { FirstClassProperties };

// What a change does to one that somebody else made meanwhile.
enum class ConflictResolutionMode { NeverOverwrite, AutoResolve, AlwaysOverwrite };
// Whom a change is sent to. The service knows more; a migration writes to nobody.
enum class SendInvitationsOrCancellationsMode { SendToNone };

// The last three are any of several: every day, Monday to Friday, Saturday and Sunday.
enum class DayOfTheWeek {
  Sunday,
  Monday,
  Tuesday,
  Wednesday,
  Thursday,
  Friday,
  Saturday,
  Day,
  Weekday,
  WeekendDay,
};
constexpr bool IsOneDay(DayOfTheWeek e) { return e <= DayOfTheWeek::Saturday; }
enum class DayOfTheWeekIndex { First, Second, Third, Fourth, Last };
// A number that is none of these is told apart by IsMonth.
enum class Month {
  January = 1,
  February,
  March,
  April,
  May,
  June,
  July,
  August,
  September,
  October,
  November,
  December,
};
constexpr bool IsMonth(Month e) { return e >= Month::January && e <= Month::December; }

enum class EmailAddressKey { EmailAddress1, EmailAddress2, EmailAddress3 };
enum class ImAddressKey { ImAddress1, ImAddress2, ImAddress3 };
enum class PhysicalAddressKey { Business, Home, Other };
enum class PhoneNumberKey {
  AssistantPhone,
  BusinessFax,
  BusinessPhone,
  BusinessPhone2,
  Callback,
  CarPhone,
  CompanyMainPhone,
  HomeFax,
  HomePhone,
  HomePhone2,
  Isdn,
  MobilePhone,
  OtherFax,
  OtherTelephone,
  Pager,
  PrimaryPhone,
  RadioPhone,
  Telex,
  TtyTddPhone,
};

// The names on the wire; each stays good for ever.
std::string_view WireName(ExchangeVersion e);
std::string_view WireName(WellKnownFolderName e);  // all lower case
std::string_view WireName(Importance e);
std::string_view WireName(Sensitivity e);
std::string_view WireName(LegacyFreeBusyStatus e);
std::string_view WireName(TaskStatus e);
std::string_view WireName(BodyType e);
std::string_view WireName(MapiPropertyType e);
std::string_view WireName(ConflictResolutionMode e);
std::string_view WireName(SendInvitationsOrCancellationsMode e);
std::string_view WireName(DayOfTheWeek e);
std::string_view WireName(DayOfTheWeekIndex e);
std::string_view WireName(Month e);  // empty for a number that is no month
std::string_view WireName(EmailAddressKey e);
std::string_view WireName(ImAddressKey e);
std::string_view WireName(PhysicalAddressKey e);
std::string_view WireName(PhoneNumberKey e);

}  // namespace ews
