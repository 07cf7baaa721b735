#include "tests/ews/RequestSamples.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/ContactGroup.h"
#include "ews/EmailMessage.h"
#include "ews/Task.h"
#include "platform/Paths.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/SchemaValidator.h"
#include "tests/support/TemporaryFolder.h"

// What goes over the wire: each request is valid by the schema and has, element by element, what a
// request of the same kind has that another client sent. Schema and samples may be present beside
// the source tree.

namespace {

using ews::MapiPropertyType;
using ews::Recurrence;
using ews::WellKnownFolderName;
using test_support::SchemaValidator;

const ews::FolderId kInbox{CString(u"AAMkFolderInbox=")};
const COleDateTime kStart(2024, 3, 11, 10, 0, 0);
const COleDateTime kSeriesEnd(2024, 6, 28, 10, 0, 0);

// What a row of the table needs to send its request.
struct Sender {
  std::shared_ptr<ews::ExchangeService> service;
  ScriptedTransport& transport;
  test_support::TemporaryFolder folder;

  // A file of that name that says so, in Windows form.
  CString File(const std::string& name, const std::string& text) {
    return platform::ToWindowsPath(folder.Write(name, text));
  }
  CString File(const std::string& name) { return File(name, "data of " + name); }

  void Save(ews::Item& item, const std::string& attachments = "") {
    transport.Push(answers::Item("AAMkItem=", attachments));
    item.Save(kInbox);
    EXPECT_EQ(item.Id().strUniqueId, u"AAMkItem=");
  }
  template <typename Kind>
  void MakeFolder(const ews::FolderId& parent, const CString& name) {
    transport.Push(answers::NewFolder("AAMkNew="));
    Kind made(service);
    made.SetDisplayName(name);
    made.Save(parent);
    EXPECT_EQ(made.Id().ToString(), u"AAMkNew=");
  }
  void FindFolders(const ews::FolderId& parent) {
    transport.Push(answers::Found({}));
    service->FindFolders(parent, ews::FolderView(10));
  }
  void FindByName(const ews::FolderId& parent, const CString& name) {
    ews::SearchFilterCollection filter(ews::LogicalOperator::Or);
    filter.Add(ews::ContainsSubstring(ews::FolderSchema::DisplayName, name));
    filter.Add(ews::ContainsSubstring(ews::FolderSchema::DisplayName, name));
    transport.Push(answers::Found({}));
    service->FindFolders(parent, filter, ews::FolderView(10));
  }
};

void SetProperties(ews::Item& item, int flags) {
  const ews::UtcTime time{1709630100};  // 2024-03-05 09:15:00
  item.SetExtendedProperty({0x0E07, MapiPropertyType::Integer}, 7);
  item.SetExtendedProperty({0x0E06, MapiPropertyType::SystemTime}, time);
  item.SetExtendedProperty({0x0039, MapiPropertyType::SystemTime}, time);
  item.SetExtendedProperty({0x0037, MapiPropertyType::String}, CString(u"Status & plan"));
  item.SetExtendedProperty({0x0E07, MapiPropertyType::Integer}, flags);  // the later value stands
}

// In another order than the schema's.
ews::EmailMessage MakeMail(Sender& sender) {
  ews::EmailMessage mail(sender.service);
  mail.SetIsRead(true);
  mail.SetFrom(ews::EmailAddress(CString(u"ann@example.com")));
  mail.BccRecipients().Add(u"dora@example.com");
  mail.CcRecipients().Add(u"carl@example.com");
  mail.ToRecipients().Add(u"bob@example.com");
  mail.ToRecipients().Add(u"\"Eve, Ex\" <eve@example.com>");
  SetProperties(mail, 1);
  return mail;
}

// An item is deleted only where it was just made and its attachments were refused.
void TakeBackMailWithoutItsFile(Sender& sender) {
  ews::Settings().bSafe = true;
  ews::EmailMessage mail(sender.service);
  mail.Attachments().AddFileAttachment(sender.File("a.txt"));
  sender.transport.Push(answers::Item("AAMkItem1="));
  sender.transport.Push(answers::Error("CreateAttachment", "ErrorQuotaExceeded", "Full."));
  sender.transport.Push(answers::Success("DeleteItem", ""));
  EXPECT_EQ(TextOf([&] { mail.Save(kInbox); }),
            "At least one attachment couldn't be created; the mailbox is full.");
  EXPECT_FALSE(mail.Id().IsSet());
}

ews::Appointment MakeAppointment(Sender& sender) {
  ews::Appointment appointment(sender.service);
  appointment.SetLocation(u"Room 1");
  appointment.SetEnd(COleDateTime(2024, 3, 11, 11, 0, 0));
  appointment.SetStart(kStart);
  SetProperties(appointment, 1);
  appointment.SetImportance(ews::Importance::High);
  return appointment;
}

void SaveSeries(Sender& sender, Recurrence pattern) {
  ews::Appointment appointment = MakeAppointment(sender);
  appointment.SetRecurrence(pattern);
  sender.Save(appointment);
}

void SaveSeriesUntil(Sender& sender, Recurrence pattern) {
  pattern.SetNumberOfOccurrences(10);  // the later setting wins
  pattern.SetEndDate(kSeriesEnd);
  SaveSeries(sender, pattern);
}

ews::Task MakeTask(Sender& sender) {
  ews::Task task(sender.service);
  task.SetStartDate(COleDateTime(2024, 3, 11, 0, 0, 0));
  task.SetDueDate(COleDateTime(2024, 3, 15, 0, 0, 0));
  task.SetImportance(ews::Importance::Low);
  ews::StringList categories;
  categories.Add(u"Work");
  task.SetCategories(categories);
  task.SetBody(ews::MessageBody(ews::BodyType::Text, u"Do it"));
  SetProperties(task, 1);
  return task;
}

void SaveMimeMail(Sender& sender) {
  const std::string bytes =
      "From: ann@example.com\r\nTo: bob@example.com\r\nSubject: Hi\r\n\r\nBody\r\n";
  auto copy = std::make_unique<unsigned char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), copy.get());
  ews::EmailMessage mail = MakeMail(sender);
  mail.SetMimeContent(ews::MimeContent(u"ASCII", std::move(copy), bytes.size()));
  mail.SetImportance(ews::Importance::Normal);
  sender.Save(mail);
}

void SaveMailWithFiles(Sender& sender) {
  ews::EmailMessage mail(sender.service);
  mail.SetBody(u"<img src=\"cid:HTMLFile_1.jpg@01C77B50.1E294610\">");
  mail.Attachments().AddFileAttachment(sender.File("HTMLFile_1.jpg"));
  mail.Attachments()[0].SetContentType(u"image/jpeg");
  mail.Attachments()[0].SetContentId(u"HTMLFile_1.jpg@01C77B50.1E294610");
  mail.Attachments().AddFileAttachment(u"report.pdf",
                                       sender.File("other.bin", "data of report.pdf"));
  SetProperties(mail, 1);
  sender.Save(mail,
              "<t:Attachments><t:FileAttachment><t:AttachmentId Id=\"A1\"/>"
              "</t:FileAttachment><t:FileAttachment><t:AttachmentId Id=\"A2\"/>"
              "</t:FileAttachment></t:Attachments>");
  EXPECT_EQ(mail.Attachments()[1].Id(), u"A2");
  EXPECT_EQ(sender.transport.Requests().size(), 1u);
}

// The server lists none, so they are sent apart.
void SaveMailWithFilesApart(Sender& sender) {
  ews::EmailMessage mail(sender.service);
  mail.SetBody(ews::MessageBody(ews::BodyType::Text, u"x"));
  mail.Attachments().AddFileAttachment(sender.File("a.txt")).SetContentId(u"a.txt@example");
  mail.Attachments().AddFileAttachment(sender.File("b.txt"));
  sender.transport.Push(answers::Item("AAMkItemZXhhbXBsZS0xMQ=="));
  sender.transport.Push(answers::Success(
      "CreateAttachment",
      "<m:Attachments><t:FileAttachment><t:AttachmentId Id=\"A1\"/></t:FileAttachment>"
      "<t:FileAttachment><t:AttachmentId Id=\"A2\"/></t:FileAttachment></m:Attachments>"));
  mail.Save(kInbox);
  EXPECT_EQ(sender.transport.Requests().size(), 2u);
  EXPECT_EQ(mail.Attachments()[0].Id(), u"A1");
  EXPECT_EQ(mail.Attachments()[1].Id(), u"A2");
}

void UpdateAttendees(Sender& sender) {
  ews::Appointment appointment = MakeAppointment(sender);
  sender.transport.Push(answers::Success(
      "CreateItem",
      "<m:Items><t:CalendarItem><t:ItemId Id=\"AAMkItemZXhhbXBsZS0yNA==\" ChangeKey=\"CQAAABYA\"/>"
      "</t:CalendarItem></m:Items>"));
  appointment.Save(kInbox);
  appointment.RequiredAttendees().Add(u"bob@example.com");
  appointment.RequiredAttendees().Add(u"Carl <carl@example.com>");
  sender.transport.Push(answers::Success("UpdateItem", ""));
  appointment.Update(ews::ConflictResolutionMode::AlwaysOverwrite,
                     ews::SendInvitationsOrCancellationsMode::SendToNone);
}

// Ten in the morning in New York, in summer.
void SaveInNewYork(Sender& sender) {
  setenv("TZ", "America/New_York", 1);
  const COleDateTime start(2024, 7, 11, 10, 0, 0);
  ews::Appointment appointment(sender.service);
  appointment.SetExtendedProperty(
      {0x0039, MapiPropertyType::SystemTime},
      ews::UtcTime{platform::LocalToUtcSeconds(COleDateTime(2024, 7, 5, 9, 15, 0))});
  appointment.SetStart(start);
  appointment.SetEnd(COleDateTime(2024, 7, 11, 11, 0, 0));
  Recurrence pattern = Recurrence::DailyPattern(start, 1);
  pattern.SetEndDate(COleDateTime(2024, 7, 20, 0, 0, 0));
  appointment.SetRecurrence(pattern);
  sender.Save(appointment);
}

void SetPhones(ews::Contact& contact) {
  using enum ews::PhoneNumberKey;
  int number = 555'0100;
  for (const ews::PhoneNumberKey key :
       {BusinessPhone, HomePhone, CompanyMainPhone, MobilePhone, Pager, Callback, BusinessPhone2,
        HomePhone2, HomeFax, OtherFax, Telex, Isdn, CarPhone, TtyTddPhone, BusinessFax}) {
    const std::string digits = std::to_string(number++);
    contact.PhoneNumbers()[key] =
        CString::FromUtf8("+1 " + digits.substr(0, 3) + " " + digits.substr(3));
  }
}

void SaveContact(Sender& sender) {
  ews::Contact contact(sender.service);
  contact.SetDisplayName(u"Ann Example");
  contact.SetFileAs(u"Example, Ann");
  contact.SetGivenName(u"Ann");
  contact.SetSurname(u"Example");
  contact.SetCompanyName(u"Example Ltd");
  contact.SetJobTitle(u"Engineer");
  contact.SetDepartment(u"R&D");
  contact.SetOfficeLocation(u"B2");
  contact.SetBusinessHomePage(u"http://www.example.com/");
  contact.SetAssistantName(u"Bob");
  contact.SetManager(u"Carl");
  using enum ews::EmailAddressKey;
  contact.EmailAddresses()[EmailAddress1] = ews::EmailAddress(CString(u"ann@example.com"));
  contact.EmailAddresses()[EmailAddress2] = ews::EmailAddress(CString(u"ann2@example.com"));
  contact.EmailAddresses()[EmailAddress3] = ews::EmailAddress(CString(u"ann3@example.com"));
  SetPhones(contact);
  contact.ImAddresses()[ews::ImAddressKey::ImAddress1] = u"sip:ann@example.com";
  const ews::PhysicalAddressEntry address{u"1 Main St", u"Springfield", u"IL", u"62701", u"USA"};
  contact.PhysicalAddresses()[ews::PhysicalAddressKey::Business] = address;
  contact.PhysicalAddresses()[ews::PhysicalAddressKey::Home] = address;
  const CString set = u"{00062004-0000-0000-C000-000000000046}";
  contact.SetExtendedProperty({set, 0x3A42, MapiPropertyType::String}, CString(u"1980-01-02"));
  contact.SetExtendedProperty({set, 0x3A45, MapiPropertyType::String}, CString(u"Dr"));
  contact.SetExtendedProperty({set, 0x3A50, MapiPropertyType::String},
                              CString(u"http://ann.example.com/"));
  contact.SetExtendedProperty({set, 0x3A05, MapiPropertyType::String}, CString(u"Jr"));
  contact.SetCategories(std::vector<CString>{u"Friends"});
  contact.SetImportance(ews::Importance::Normal);
  contact.Attachments()
      .AddFileAttachment(u"ContactPhoto.jpg", sender.File("ContactPhoto.jpg"))
      .SetContentId(u"ContactPhoto.jpg");
  contact.SetBody(u"Note");
  sender.Save(contact, "<t:Attachments/>");
}

void SaveGroup(Sender& sender, const CString& name, const std::vector<CString>& members,
               const std::optional<ews::MessageBody>& body) {
  ews::ContactGroup group(sender.service);
  group.SetDisplayName(name);
  for (const CString& member : members) group.Members().Add(ews::GroupMember(member));
  if (body) group.SetBody(*body);
  sender.Save(group);
}

void FindImpersonating(Sender& sender, const CString& address) {
  sender.service->SetImpersonatedUserId({ews::ConnectingIdType::SmtpAddress, address});
  sender.FindFolders(WellKnownFolderName::MsgFolderRoot);
}

struct Row {
  const char* sample;
  void (*send)(Sender&);
  size_t behind = 0;  // how many requests follow the one that counts
};

const CString kFolderName = u"Projects & Plans";

const Row kRows[] = {
    {"01-findfolder-archive-probe",
     [](Sender& s) { s.FindFolders(WellKnownFolderName::ArchiveMsgFolderRoot); }},
    {"02-findfolder-by-name",
     [](Sender& s) { s.FindByName(WellKnownFolderName::MsgFolderRoot, u"Inbox"); }},
    {"04-createfolder-plain",
     [](Sender& s) { s.MakeFolder<ews::Folder>(WellKnownFolderName::MsgFolderRoot, kFolderName); }},
    {"05-createfolder-calendar",
     [](Sender& s) { s.MakeFolder<ews::CalendarFolder>(kInbox, kFolderName); }},
    {"06-createfolder-tasks",
     [](Sender& s) { s.MakeFolder<ews::TasksFolder>(kInbox, kFolderName); }},
    {"07-createfolder-contacts",
     [](Sender& s) { s.MakeFolder<ews::ContactsFolder>(kInbox, kFolderName); }},
    {"08-findfolder-parent-absent-folder",
     [](Sender& s) { s.FindByName(ews::FolderId(u"-NO-"), u"A"); }},
    {"10-createitem-message-text",
     [](Sender& s) {
       ews::EmailMessage mail = MakeMail(s);
       mail.SetImportance(ews::Importance::High);
       mail.SetBody(ews::MessageBody(ews::BodyType::Text, u"Line one\nLine <two>"));
       s.Save(mail);
     }},
    {"11-createitem-message-html",
     [](Sender& s) {
       ews::EmailMessage mail = MakeMail(s);
       mail.SetIsRead(false);
       mail.SetExtendedProperty({0x7FFE, MapiPropertyType::Boolean}, true);
       mail.SetCategories(std::vector<CString>{u"Blue & green"});
       mail.SetImportance(ews::Importance::Low);
       mail.SetBody(u"<html><body><p>Hi &amp; bye</p></body></html>");
       s.Save(mail);
     }},
    {"12-createitem-message-mime", SaveMimeMail},
    {"13-createitem-message-attachments", SaveMailWithFiles},
    {"14-createitem-no-attachment-ids", SaveMailWithFilesApart, 1},
    {"15-createattachment", SaveMailWithFilesApart},
    {"16-getitem-bind",
     [](Sender& s) {
       s.transport.Push(answers::Success(
           "GetItem",
           "<m:Items><t:Message><t:ItemId Id=\"AAMkItemBound=\"/></t:Message></m:Items>"));
       const auto bound = ews::EmailMessage::Bind(s.service, {u"AAMkItemBound=", u""},
                                                  ews::PropertySet::FirstClassProperties);
       EXPECT_EQ(bound.Id().strUniqueId, u"AAMkItemBound=");
     }},
    {"17-createitem-group-mailbox",
     [](Sender& s) {
       ews::EmailMessage mail(s.service);
       mail.SetBody(ews::MessageBody(ews::BodyType::Text, u"x"));
       s.transport.Push(answers::Item("I="));
       mail.Save(ews::FolderId(WellKnownFolderName::Inbox, ews::Mailbox(u"group@example.com")));
     }},
    {"18-createfolder-empty-name", [](Sender& s) { s.MakeFolder<ews::Folder>(kInbox, u""); }},
    {"20-createitem-calendar",
     [](Sender& s) {
       ews::Appointment appointment = MakeAppointment(s);
       appointment.SetCategories(std::vector<CString>{u"Work"});
       appointment.Attachments().AddFileAttachment(s.File("agenda.txt"));
       appointment.SetBody(ews::MessageBody(ews::BodyType::Text, u"Agenda"));
       s.Save(appointment, "<t:Attachments/>");
     }},
    {"21-createitem-calendar-daily-both-ends-set",
     [](Sender& s) { SaveSeriesUntil(s, Recurrence::DailyPattern(kStart, 2)); }},
    {"22-createitem-calendar-weekly",
     [](Sender& s) {
       SaveSeriesUntil(s, Recurrence::WeeklyPattern(kStart, 1, ews::DayOfTheWeek::Monday));
     }},
    {"23-createitem-calendar-monthly-numbered",
     [](Sender& s) {
       Recurrence pattern = Recurrence::MonthlyPattern(kStart, 1, 11);
       pattern.SetNumberOfOccurrences(10);
       SaveSeries(s, pattern);
     }},
    {"24-createitem-calendar-relative-monthly",
     [](Sender& s) {
       SaveSeriesUntil(s,
                       Recurrence::RelativeMonthlyPattern(kStart, 1, ews::DayOfTheWeek::Wednesday,
                                                          ews::DayOfTheWeekIndex::Second));
     }},
    {"25-createitem-calendar-yearly",
     [](Sender& s) {
       SaveSeriesUntil(s, Recurrence::YearlyPattern(kStart, ews::Month::June, 14));
     }},
    {"26-createitem-calendar-yearly-no-end",
     [](Sender& s) { SaveSeries(s, Recurrence::YearlyPattern(kStart, ews::Month::January, 1)); }},
    {"27-createitem-calendar-before-update",
     [](Sender& s) {
       ews::Appointment appointment(s.service);
       appointment.SetStart(kStart);
       appointment.SetEnd(COleDateTime(2024, 3, 11, 11, 0, 0));
       s.Save(appointment);
     }},
    {"28-updateitem-calendar-attendees", UpdateAttendees},
    {"30-createitem-task",
     [](Sender& s) {
       ews::Task task = MakeTask(s);
       s.Save(task);
     }},
    {"31-createitem-task-recurring",
     [](Sender& s) {
       ews::Task task = MakeTask(s);
       task.SetRecurrence(Recurrence::WeeklyPattern(kStart, 1, ews::DayOfTheWeek::Friday));
       task.Recurrence().SetEndDate(kSeriesEnd);
       s.Save(task);
     }},
    {"32-createitem-calendar-timezone", SaveInNewYork},
    {"40-createitem-contact", SaveContact},
    {"41-createitem-contact-empty",
     [](Sender& s) {
       ews::Contact contact(s.service);
       s.Save(contact);
     }},
    {"42-createitem-contactgroup",
     [](Sender& s) {
       SaveGroup(s, u"Team", {u"bob@example.com", u"carl@example.com", u" Carl@Example.com "},
                 CString(u"All of us"));
     }},
    {"43-createitem-contactgroup-display-name-address",
     [](Sender& s) { SaveGroup(s, u"x", {u"Bob Builder <bob@example.com>"}, std::nullopt); }},
    {"74-deleteitem", TakeBackMailWithoutItsFile},
    {"50-impersonation-basic", [](Sender& s) { FindImpersonating(s, u"target@example.com"); }},
    {"51-oauth-impersonation-anchor",
     [](Sender& s) { FindImpersonating(s, u"target@example.com"); }},
    {"53-ntlm-last-leg", [](Sender& s) { s.FindFolders(kInbox); }},
};

// Samples of what this client does not send.
const std::pair<const char*, const char*> kNotSent[] = {
    {"03-findfolder-deep-publicroot", "searches look at direct children only"},
    {"70-getfolder", "folders are found, not fetched"},
    {"71-finditem", "ids and keys are asked for, not all properties"},
    {"72-getitem-mime-attachments", "contents are not read back"},
};

class RequestSample : public ScriptedService, public testing::WithParamInterface<Row> {
 protected:
  void SetUp() override {
    if (!SchemaValidator::Available()) GTEST_SKIP() << "no schema beside the source tree";
    setenv("TZ", "UTC", 1);
  }
  void TearDown() override { unsetenv("TZ"); }
};

TEST_P(RequestSample, IsValidAndHasWhatTheOtherClientSends) {
  Sender sender{m_service, m_transport, {}};
  GetParam().send(sender);
  ASSERT_GT(m_transport.Requests().size(), GetParam().behind);
  const std::string& body = m_transport.Requests().rbegin()[GetParam().behind].body;
  EXPECT_EQ(SchemaValidator::Violation(body), "") << body;
  EXPECT_EQ(request_samples::DumpOf(body), request_samples::Expected(GetParam().sample));
}

INSTANTIATE_TEST_SUITE_P(All, RequestSample, testing::ValuesIn(kRows), [](const auto& row) {
  return "Number" + std::string(row.param.sample, 2);
});

TEST(RequestSamples, EveryDifferenceAndEverySampleIsAccountedFor) {
  if (!SchemaValidator::Available()) GTEST_SKIP() << "no samples beside the source tree";
  for (const request_samples::Difference& difference : request_samples::kDifferences) {
    EXPECT_TRUE(std::any_of(std::begin(kRows), std::end(kRows), [&](const Row& row) {
      return difference.IsIn(row.sample);
    })) << difference.reason;
  }
  std::set<std::string> known;
  for (const Row& row : kRows) known.insert(row.sample);
  for (const auto& [sample, reason] : kNotSent) known.insert(sample);
  constexpr std::string_view kEnd = ".request.xml";
  for (const auto& file :
       std::filesystem::directory_iterator(SchemaValidator::Folder() + "/samples")) {
    std::string name = file.path().filename().string();
    if (!name.ends_with(kEnd)) continue;
    name.resize(name.size() - kEnd.size());
    EXPECT_TRUE(known.contains(name)) << name;
  }
}

}  // namespace
