#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "ews/Appointment.h"
#include "ews/Contact.h"
#include "ews/ContactGroup.h"
#include "ews/CurlTransport.h"
#include "ews/EmailMessage.h"
#include "ews/Task.h"
#include "mailboxd/Server.h"
#include "platform/Paths.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/TemporaryFolder.h"

// What a mailbox holds of the items that the client sends, each into the folder that is for it.
namespace {

using ews::WellKnownFolderName;
using testing::ElementsAre;
using testing::HasSubstr;

class StoredItems : public testing::Test {
 protected:
  StoredItems() {
    mailbox::ServerOptions options;
    options.dataFolder = m_folder.File("mailbox");
    m_server = std::make_unique<mailbox::Server>(options);
    m_server->Start();
    m_service->SetUrl(CString::FromUtf8(m_server->EwsUrl()));
    m_service->SetCredentials(ews::WebCredentials(u"ann@example.com", u"x"));
  }
  // What the server's folder of that name holds; the only item there.
  mailbox::ItemInfo Only(const char* folder) {
    mailbox::Store& store = m_server->Mailboxes();
    const auto place = store.FindWellKnown(store.Mailbox("ann@example.com"), folder);
    const auto items = store.Items(*place, 0, 10);
    EXPECT_EQ(items.size(), 1u) << folder;
    return items.empty() ? mailbox::ItemInfo() : items.front();
  }
  static std::string Field(const mailbox::ItemInfo& item, const std::string& name) {
    for (const mailbox::ItemField& field : item.fields) {
      if (field.name == name) return field.xml;
    }
    return {};
  }
  CString File(const std::string& name) {
    return platform::ToWindowsPath(m_folder.Write(name, "data of " + name));
  }

  SettingsKeeper m_settings;
  ews::CurlTransport m_transport;
  ews::ScopedTransport m_scope{m_transport};
  const test_support::TemporaryFolder m_folder;
  std::unique_ptr<mailbox::Server> m_server;
  std::shared_ptr<ews::ExchangeService> m_service =
      std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
};

TEST_F(StoredItems, AnAppointmentWithItsSeriesItsFileAndWhoIsAskedLater) {
  const COleDateTime start(2024, 3, 11, 10, 0, 0);
  ews::Appointment appointment(m_service);
  appointment.SetExtendedProperty({0x0037, ews::MapiPropertyType::String},
                                  CString(u"Round & tour"));
  appointment.SetLocation(u"Room 1");
  appointment.SetStart(start);
  appointment.SetEnd(COleDateTime(2024, 3, 11, 11, 0, 0));
  ews::Recurrence weekly = ews::Recurrence::WeeklyPattern(start, 2, ews::DayOfTheWeek::Monday);
  weekly.SetNumberOfOccurrences(5);
  appointment.SetRecurrence(weekly);
  appointment.Attachments().AddFileAttachment(File("plan.txt"));
  appointment.Save(WellKnownFolderName::Calendar);
  EXPECT_FALSE(appointment.Id().strUniqueId.IsEmpty());
  EXPECT_FALSE(appointment.Attachments()[0].Id().IsEmpty());

  appointment.RequiredAttendees().Add(u"Bob <bob@example.com>");
  appointment.Update(ews::ConflictResolutionMode::AlwaysOverwrite,
                     ews::SendInvitationsOrCancellationsMode::SendToNone);
  const mailbox::ItemInfo stored = Only("calendar");
  EXPECT_EQ(stored.itemClass, "IPM.Appointment");
  EXPECT_EQ(stored.subject, "Round & tour");
  EXPECT_EQ(stored.attachmentCount, 1);
  EXPECT_THAT(stored.starts, HasSubstr("2024-03-11"));
  EXPECT_THAT(Field(stored, "Location"), HasSubstr("Room 1"));
  EXPECT_THAT(Field(stored, "Recurrence"), HasSubstr("<t:Interval>2</t:Interval>"));
  EXPECT_THAT(Field(stored, "Recurrence"), HasSubstr("<t:NumberOfOccurrences>5<"));
  EXPECT_THAT(Field(stored, "RequiredAttendees"), HasSubstr("bob@example.com"));
}

TEST_F(StoredItems, AMailIsBoundAsItWasSaved) {
  ews::EmailMessage mail(m_service);
  mail.SetBody({ews::BodyType::Text, u"a < b\r\n\u20AC"});
  mail.SetCategories(std::vector<CString>{u"Blue & green", u"Red"});
  mail.SetImportance(ews::Importance::High);
  mail.SetIsRead(true);
  mail.SetFrom(ews::EmailAddress(u"Ann <ann@example.com>"));
  mail.ToRecipients().Add(u"Bob <bob@example.com>");
  mail.ToRecipients().Add(u"carl@example.com");
  mail.BccRecipients().Add(u"dora@example.com");
  mail.Save(WellKnownFolderName::Inbox);
  ews::EmailMessage bound =
      ews::EmailMessage::Bind(m_service, mail.Id(), ews::PropertySet::FirstClassProperties);
  EXPECT_EQ(bound.Id().strUniqueId, mail.Id().strUniqueId);
  ASSERT_TRUE(bound.Body());
  EXPECT_EQ(bound.Body()->BodyType(), ews::BodyType::Text);
  EXPECT_EQ(bound.Body()->Text(), mail.Body()->Text());
  EXPECT_EQ(bound.Categories(), mail.Categories());
  EXPECT_EQ(bound.Importance(), ews::Importance::High);
  EXPECT_EQ(bound.IsRead(), true);
  ASSERT_TRUE(bound.From());
  EXPECT_EQ(bound.From()->Name(), u"Ann");
  ASSERT_EQ(bound.ToRecipients().Count(), 2);
  EXPECT_EQ(bound.ToRecipients()[0].Name(), u"Bob");
  EXPECT_EQ(bound.ToRecipients()[1].Address(), u"carl@example.com");
  EXPECT_EQ(bound.CcRecipients().Count(), 0);
  EXPECT_EQ(bound.BccRecipients().Count(), 1);
  EXPECT_THROW(bound.Save(WellKnownFolderName::Inbox), ews::ServiceException);  // it is there
  EXPECT_THROW(
      ews::EmailMessage::Bind(m_service, {u"none", u""}, ews::PropertySet::FirstClassProperties),
      ews::ServiceException);
}

TEST_F(StoredItems, ATaskAndAContact) {
  ews::Task task(m_service);
  task.SetStartDate(COleDateTime(2024, 3, 11, 0, 0, 0));
  task.SetDueDate(COleDateTime(2024, 3, 15, 0, 0, 0));
  task.SetBody(ews::MessageBody(ews::BodyType::Text, u"Do it"));
  task.SetCategories(std::vector<CString>{u"Work"});
  task.Save(WellKnownFolderName::Tasks);
  const mailbox::ItemInfo storedTask = Only("tasks");
  EXPECT_THAT(storedTask.ends, HasSubstr("2024-03-15"));
  EXPECT_EQ(storedTask.body, "Do it");
  EXPECT_THAT(storedTask.categories, ElementsAre("Work"));

  ews::Contact contact(m_service);
  contact.SetDisplayName(u"Zo\u00EB Example");
  contact.SetFileAs(u"Example, Zo\u00EB");
  contact.EmailAddresses()[ews::EmailAddressKey::EmailAddress1] =
      ews::EmailAddress(CString(u"zoe@example.com"));
  contact.PhoneNumbers()[ews::PhoneNumberKey::MobilePhone] = u"+1 555 0100";
  contact.PhysicalAddresses()[ews::PhysicalAddressKey::Home] = {u"1 Main St", u"Springfield", u"IL",
                                                                u"62701", u"USA"};
  contact.Save(WellKnownFolderName::Contacts);
  const mailbox::ItemInfo storedContact = Only("contacts");
  EXPECT_EQ(storedContact.element, "Contact");
  EXPECT_THAT(Field(storedContact, "DisplayName"), HasSubstr("Zo\xC3\xAB Example"));
  EXPECT_THAT(Field(storedContact, "EmailAddresses"), HasSubstr("zoe@example.com"));
  EXPECT_THAT(Field(storedContact, "PhoneNumbers"), HasSubstr("+1 555 0100"));
  EXPECT_THAT(Field(storedContact, "PhysicalAddresses"), HasSubstr("Springfield"));
}

TEST_F(StoredItems, AGroupWithItsMembersAndAnItemInTheWrongFolder) {
  ews::ContactGroup group(m_service);
  group.SetDisplayName(u"Crew");
  group.Members().Add(ews::GroupMember(u"Bob <bob@example.com>"));
  group.Members().Add(ews::GroupMember(u"carl@example.com"));
  group.Save(WellKnownFolderName::Contacts);
  const mailbox::ItemInfo stored = Only("contacts");
  EXPECT_EQ(stored.element, "DistributionList");
  EXPECT_THAT(Field(stored, "Members"), HasSubstr("bob@example.com"));
  EXPECT_THAT(Field(stored, "Members"), HasSubstr("carl@example.com"));

  ews::Contact contact(m_service);
  contact.SetDisplayName(u"Ann");
  for (const WellKnownFolderName wrong :
       {WellKnownFolderName::Calendar, WellKnownFolderName::Inbox}) {
    EXPECT_THROW(contact.Save(wrong), ews::ServiceException);
    EXPECT_TRUE(contact.Id().strUniqueId.IsEmpty());
  }
  contact.Save(WellKnownFolderName::Contacts);  // it is still as it was
  EXPECT_FALSE(contact.Id().strUniqueId.IsEmpty());
}

}  // namespace
