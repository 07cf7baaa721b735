#include "ews/Appointment.h"

#include "platform/Paths.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/SchemaValidator.h"
#include "tests/support/TimeZone.h"

namespace {

using testing::HasSubstr;
using testing::Not;

const COleDateTime kStart(2024, 3, 11, 10, 0, 0);

class AppointmentTest : public ScriptedService {
 protected:
  void Save() {
    m_transport.Push(answers::Item("I="));
    m_appointment.Save(ews::WellKnownFolderName::Calendar);
  }
  std::string Update() {
    return TextOf([&] {
      m_appointment.Update(ews::ConflictResolutionMode::AlwaysOverwrite,
                           ews::SendInvitationsOrCancellationsMode::SendToNone);
    });
  }
  // Updates against an answer with a new change key; the request.
  const std::string& Updated() {
    m_transport.Push(answers::Updated("I="));
    EXPECT_EQ(Update(), "no exception");
    EXPECT_EQ(test_support::SchemaValidator::Violation(LastBody()), "") << LastBody();
    return LastBody();
  }

  const test_support::TimeZone m_zone{"EST5EDT,M3.2.0,M11.1.0"};
  ews::Appointment m_appointment{m_service};
};

TEST_F(AppointmentTest, AnUpdateSendsWhatWasChangedSinceTheLastOneAndNothingElse) {
  EXPECT_EQ(Update(), ews::kNoId);
  m_appointment.SetLocation(u"Room 1");
  m_appointment.SetStart(kStart);
  Save();
  EXPECT_EQ(Update(), "no exception");
  EXPECT_EQ(m_transport.Requests().size(), 1u);

  m_appointment.SetLocation(u"Room 2");
  m_appointment.SetBody(u"Agenda");
  m_appointment.SetExtendedProperty({0x37, ews::MapiPropertyType::String}, CString(u"New"));
  EXPECT_THAT(Updated(), AllOf(HasSubstr("item:Body"), HasSubstr("PropertyTag=\"55\""),
                               HasSubstr("<t:Location>Room 2</t:Location>"),
                               Not(HasSubstr("calendar:Start")), Not(HasSubstr("TimeZone"))));
  EXPECT_EQ(m_appointment.Id().strChangeKey, u"C2");
  EXPECT_EQ(Update(), "no exception");
  EXPECT_EQ(m_transport.Requests().size(), 2u);
}

TEST_F(AppointmentTest, AChangedDateGoesWithItsZoneAndWhatIsUnsetIsTakenAway) {
  m_appointment.SetRecurrence(ews::Recurrence::DailyPattern(kStart, 1));
  m_appointment.SetCategories(std::vector<CString>{u"Work"});
  Save();
  m_appointment.Recurrence().SetNumberOfOccurrences(3);
  EXPECT_THAT(Updated(), AllOf(HasSubstr("<t:NumberOfOccurrences>3<"),
                               HasSubstr("<t:TimeZoneDefinition Id=\"")));
  m_appointment.SetRecurrence(std::nullopt);
  m_appointment.SetCategories({});
  EXPECT_THAT(Updated(),
              AllOf(HasSubstr("<t:DeleteItemField><t:FieldURI FieldURI=\"item:Categories\"/>"),
                    HasSubstr("<t:DeleteItemField><t:FieldURI FieldURI=\"calendar:Recurrence\"/>"),
                    Not(HasSubstr("SetItemField"))));
  EXPECT_THROW(m_appointment.Recurrence(), ews::ServiceException);
}

TEST_F(AppointmentTest, AttendeesWhoAreOnlyLookedAtAreNoChange) {
  const auto add = [&](const CString& who) { m_appointment.RequiredAttendees().Add(who); };
  add(u"ann@example.com");
  Save();
  EXPECT_EQ(m_appointment.RequiredAttendees().Count(), 1);
  add(u" ");
  EXPECT_EQ(Update(), "no exception");
  EXPECT_EQ(m_transport.Requests().size(), 1u);
  add(u"bob@example.com");
  EXPECT_THAT(Updated(), AllOf(HasSubstr("ann@example.com"), HasSubstr("bob@example.com")));
  EXPECT_EQ(Update(), "no exception");
  EXPECT_EQ(m_transport.Requests().size(), 2u);
  m_appointment.RequiredAttendees() = {};
  EXPECT_THAT(Updated(), HasSubstr("<t:DeleteItemField><t:FieldURI FieldURI=\"calendar:Required"));
}

TEST_F(AppointmentTest, ARefusedUpdateKeepsItsChangesForTheNextOne) {
  Save();
  m_appointment.RequiredAttendees().Add(u"bob@example.com");
  m_transport.Push(answers::Error("UpdateItem", "ErrorInvalidPropertySet", "Not that one."));
  EXPECT_EQ(Update(), "Not that one.");
  const std::string refused = LastBody();
  EXPECT_EQ(Updated(), refused);
}

TEST_F(AppointmentTest, AttachmentsThatCameAfterTheSaveAreSentApartAndOnce) {
  const CString file = platform::ToWindowsPath("/proc/self/exe");
  m_appointment.Attachments().AddFileAttachment(u"first", file);
  m_transport.Push(answers::Item(
      "I=",
      "<t:Attachments><t:FileAttachment><t:AttachmentId Id=\"A1\"/></t:FileAttachment>"
      "<t:FileAttachment><t:AttachmentId Id=\"of the mail itself\"/></t:FileAttachment>"
      "</t:Attachments>"));
  m_appointment.Save(ews::WellKnownFolderName::Calendar);
  EXPECT_EQ(m_appointment.Attachments()[0].Id(), u"A1");
  m_appointment.Attachments().AddFileAttachment(u"second", file);
  m_transport.Push(answers::Success(
      "CreateAttachment",
      "<m:Attachments><t:FileAttachment><t:AttachmentId Id=\"A2\"/></t:FileAttachment>"
      "</m:Attachments>"));
  EXPECT_EQ(Update(), "no exception");
  EXPECT_THAT(LastBody(), AllOf(HasSubstr("second"), Not(HasSubstr("first"))));
  EXPECT_EQ(m_appointment.Attachments()[1].Id(), u"A2");
  EXPECT_EQ(Update(), "no exception");
  EXPECT_EQ(m_transport.Requests().size(), 2u);
}

// The wall clock of each date counts, on both sides of a change to summer time.
TEST_F(AppointmentTest, DatesGoByTheOffsetOfTheirOwnDay) {
  m_appointment.SetStart(COleDateTime(2024, 3, 9, 10, 0, 0));  // the clock changes on the 10th
  m_appointment.SetEnd(COleDateTime(2024, 3, 11, 10, 0, 0));
  ews::Recurrence pattern = ews::Recurrence::DailyPattern(COleDateTime(2024, 3, 9, 10, 0, 0), 1);
  pattern.SetEndDate(kStart);
  m_appointment.SetRecurrence(pattern);
  Save();
  EXPECT_THAT(LastBody(), AllOf(HasSubstr("<t:Start>2024-03-09T15:00:00Z<"),
                                HasSubstr("<t:End>2024-03-11T14:00:00Z<"),
                                HasSubstr("<t:StartDate>2024-03-09-05:00<"),
                                HasSubstr("<t:EndDate>2024-03-11-04:00<")));
}

TEST_F(AppointmentTest, AnInvalidDateIsRefusedWhereItIsSet) {
  EXPECT_THROW(m_appointment.SetStart(COleDateTime::Invalid()), ews::ServiceException);
  EXPECT_THROW(m_appointment.SetEnd(COleDateTime::Invalid()), ews::ServiceException);
  EXPECT_FALSE(m_appointment.Start());
  Save();
  EXPECT_THAT(LastBody(), HasSubstr("<t:CalendarItem/>"));
}

}  // namespace
