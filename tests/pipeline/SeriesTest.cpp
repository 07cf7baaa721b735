#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>

#include "ews/FindItems.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/Occurrences.h"
#include "pipeline/SeriesSaving.h"
#include "tests/ews/Answers.h"
#include "tests/pipeline/Descriptors.h"
#include "tests/pipeline/ImportRun.h"
#include "tests/support/SchemaValidator.h"

// On which days an appointment takes place in the mailbox, against lists of days made by hand.
namespace {

using descriptors::Calendar;
using ews::WellKnownFolderName;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class Series : public testing::Test {
 protected:
  void TearDown() override { SetZone("UTC"); }
  static void SetZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  // The descriptor of an appointment with another start and, with it, end.
  static std::u16string At(const std::u16string& start, std::u16string descriptor) {
    for (const std::u16string old : {u"2024-03-11 10:00", u"2024-03-11 11:00"}) {
      if (const size_t at = descriptor.find(old); start != u"2024-03-11 10:00") {
        descriptor.replace(at, old.size(), start);
      }
    }
    return descriptor;
  }
  // "2024-03-11 10:00 s;…": start and subject of all of 2024 to 2026.
  static std::string Days(const mailbox::ItemInfo& item) {
    const auto occurrences = mailbox::Occurrences::Of(item);
    if (!occurrences) return "no series";
    std::string text;
    for (const auto& place : occurrences->Between(*mailbox::ReadSeconds("2024-01-01T00:00:00Z"),
                                                  *mailbox::ReadSeconds("2027-01-01T00:00:00Z"))) {
      const std::string start = mailbox::FormatDateTime(place.start);
      text += (text.empty() ? "" : "; ") + start.substr(0, 10) + " " + start.substr(11, 5);
      if (place.isChanged) text += " " + occurrences->At(place.number)->subject;
    }
    return text;
  }
};

// The entry itself is on Monday, 2024-03-11, from 10 to 11.
TEST_F(Series, OfEveryCodeIsOnTheDaysOfTheCalendar) {
  const struct {
    const char* zone;
    const char16_t* text;
    const char* days;
    std::u16string start = u"2024-03-11 10:00";
  } rows[] = {
      {"UTC", u"D,0;3;10;2024-03-11;2024-05-01;2024-03-21;",
       "2024-03-11 10:00; 2024-03-14 10:00; 2024-03-17 10:00; 2024-03-20 10:00"},
      {"Europe/Berlin", u"D,0;1;4;2024-03-29;;2024-04-01;",  // the clock changes on 03-31
       "2024-03-29 09:00; 2024-03-30 09:00; 2024-03-31 08:00; 2024-04-01 08:00",
       u"2024-03-29 10:00"},
      {"America/New_York", u"W,0;2;4;2024-10-20;;;",  // and back there on 11-03
       "2024-10-20 14:00; 2024-11-03 15:00; 2024-11-17 15:00; 2024-12-01 15:00"},
      {"UTC", u"W,3;2;10;2024-03-13;2024-05-08;;",
       "2024-03-13 10:00; 2024-03-27 10:00; 2024-04-10 10:00; 2024-04-24 10:00; 2024-05-08 10:00"},
      {"UTC", u"M,15;2;3;2024-03-15;;;", "2024-03-15 10:00; 2024-05-15 10:00; 2024-07-15 10:00"},
      {"UTC", u"M,31;1;3;2024-03-31;;;", "2024-03-31 10:00; 2024-04-30 10:00; 2024-05-31 10:00"},
      {"UTC", u"M,0,2.3;1;4;2024-03-13;;;",
       "2024-03-13 10:00; 2024-04-10 10:00; 2024-05-08 10:00; 2024-06-12 10:00"},
      {"UTC", u"M,0,5.5;1;3;2024-03-29;;;", "2024-03-29 10:00; 2024-04-26 10:00; 2024-05-31 10:00"},
      {"UTC", u"Y,6,14;1;3;2024-06-14;;;", "2024-06-14 10:00; 2025-06-14 10:00; 2026-06-14 10:00"},
      {"UTC", u"Y,1,31;1;2;2025-01-31;;;", "2025-01-31 10:00; 2026-01-31 10:00"},
      {"UTC", u"Q,1;1;3;2024-03-14;;;", "no series"},
  };
  for (const auto& row : rows) {
    SetZone(row.zone);
    ImportRun run;
    for (const bool safe : {false, true}) {
      for (const bool formB : {false, true}) {
        SCOPED_TRACE(CString(row.text).ToUtf8() + (safe ? " safe" : "") + (formB ? " B" : " A"));
        ews::Settings().bSafe = safe;
        const std::u16string descriptor = At(row.start, Calendar(row.text, formB));
        ASSERT_EQ(run.Import(WellKnownFolderName::Calendar, descriptor), 1) << run.error;
        EXPECT_EQ(Days(run.Last("calendar")), row.days);
      }
    }
  }
}

// In its own zone, whatever the machine's is, with what single occurrences have of their own.
TEST_F(Series, KeepsItsClockAndWhatIsChangedOfIt) {
  SetZone("Asia/Tokyo");
  ImportRun run(/*safe=*/true);
  const auto days = [&](const std::string& json, const std::u16string& start) {
    const std::u16string descriptor = At(start, Calendar(u""));
    run.folder.WriteWork("ItemProps.json", json);
    EXPECT_EQ(run.Import(WellKnownFolderName::Calendar, descriptor), 1) << run.error;
    return Days(run.Last("calendar"));
  };
  // New York's clock changes on 03-10; 21:00 of 03-08 there is 11:00 of 03-09 in Tokyo.
  EXPECT_EQ(days(R"({"key": "k", "zone": "Eastern Standard Time",
      "series": {"pattern": "daily", "start": "2024-03-08", "count": 5},
      "deleted": ["2024-03-09T21:00:00", "2024-03-09T21:00:00"],
      "changed": [{"original": "2024-03-10T21:00:00", "start": "2024-03-13T18:30:00",
                   "end": "2024-03-13T19:00:00", "subject": "Moved", "location": "",
                   "body": "two\nlines", "busy": "OOF", "reminder": 5},
                  {"original": "2024-03-09T21:00:00", "start": "2024-03-09T20:00:00",
                   "end": "2024-03-09T21:00:00"}]})",
                 u"2024-03-09 11:00"),
            "2024-03-09 02:00; 2024-03-12 01:00; 2024-03-13 01:00; 2024-03-13 22:30 Moved");
  mailbox::ItemInfo item = run.Last("calendar");
  const mailbox::ItemInfo moved = *mailbox::Occurrences::Of(item)->At(3);
  EXPECT_EQ(moved.ends, "2024-03-13T23:00:00Z");
  EXPECT_EQ(moved.occurrence.originalStart, "2024-03-11T01:00:00Z");
  EXPECT_EQ(moved.body, "two\nlines");
  EXPECT_EQ(mailbox::FieldText(moved, "LegacyFreeBusyStatus"), "OOF");
  EXPECT_EQ(mailbox::FieldText(moved, "ReminderMinutesBeforeStart"), "5");
  EXPECT_EQ(mailbox::FieldText(moved, "Location"), "");
  EXPECT_EQ(mailbox::Occurrences::Of(item)->At(1)->subject, "s");
  EXPECT_EQ(run.Trace().find("wrong value"), std::string::npos);

  // Whole days are the same in every zone.
  EXPECT_EQ(days(R"({"allDay": true, "start": "2024-03-04T00:00:00", "end": "2024-03-05T00:00:00",
      "zone": "Eastern Standard Time", "deleted": ["2024-03-11T00:00:00"],
      "series": {"pattern": "weekly", "days": ["Monday", "Friday"], "firstDay": "Monday",
                 "start": "2024-03-04", "end": "2024-03-15"}})",
                 u"2024-03-04 00:00"),
            "2024-03-03 15:00; 2024-03-07 15:00; 2024-03-14 15:00");

  // What is no occurrence costs itself alone, and is told.
  EXPECT_EQ(days(R"({"zone": "Tokyo Standard Time", "deleted": ["2024-03-12T11:00:00", 5],
      "series": {"pattern": "weekly", "days": ["Monday"], "start": "2024-03-11", "count": 2},
      "changed": [{"original": "2024-03-18T11:00:00", "start": "x", "subject": "Later"}]})",
                 u"2024-03-11 11:00"),
            "2024-03-11 02:00; 2024-03-18 02:00 Later");
  for (const char* name : {"deleted", "changed"}) {
    EXPECT_THAT(run.Trace(), HasSubstr(std::string("wrong value, left out: ") + name));
  }
}

// Occurrences that the server refuses leave the series, with a word; an item of an earlier try that
// was not finished gives way.
TEST_F(Series, IsThereOnceThoughNotAllOfItIsTaken) {
  ImportRun run(/*safe=*/true);
  const std::string json = R"({"key": "k", "zone": "UTC",
      "series": {"pattern": "daily", "start": "2024-03-11", "count": 4},
      "deleted": ["2024-03-12T10:00:00"],
      "changed": [{"original": "2024-03-13T10:00:00", "start": "2024-03-13T12:00:00",
                   "end": "2024-03-13T13:00:00"}]})";
  run.folder.WriteWork("ItemProps.json", R"({"key": "unfinished: k"})");
  ASSERT_EQ(run.Import(WellKnownFolderName::Calendar, Calendar(u"")), 1);
  run.folder.WriteWork("ItemProps.json", json);
  ASSERT_EQ(run.Import(WellKnownFolderName::Calendar, Calendar(u"")), 1) << run.error;
  ASSERT_EQ(run.Items(run.WellKnown("calendar")).size(), 1u);
  EXPECT_EQ(Days(run.Last("calendar")), "2024-03-11 10:00; 2024-03-13 12:00 s; 2024-03-14 10:00");
}

// The requests of a series, against a server that fails in between.
class SeriesSaving : public ScriptedService {
 protected:
  SeriesSaving() {
    m_item.SetExtendedProperty(ews::ItemKeyProperty(), CString(u"k"));
    m_item.SetStart(COleDateTime(2024, 3, 11, 10, 0, 0));
    m_item.SetRecurrence(ews::Recurrence::DailyPattern(COleDateTime(2024, 3, 11, 0, 0, 0), 1));
    m_item.Occurrences().arrDeleted = {2, 3};
    ews::OccurrenceChange change{.nIndex = 4, .strSubject = u"Other"};
    change.objBody = ews::MessageBody(ews::BodyType::Text, u"text");
    change.objStart = ews::UtcTime{1710410400};
    change.objEnd = ews::UtcTime{1710414000};
    change.nReminderMinutes = 5;
    change.eFreeBusy = ews::LegacyFreeBusyStatus::Free;
    change.strLocation = u"";
    m_item.Occurrences().arrChanged = {change};
  }
  std::string Save() {
    m_told.Empty();
    return TextOf(
        [&] { m_told = SaveWithOccurrences(m_item, WellKnownFolderName::Calendar, *m_service); });
  }
  // The names of the requests so far, each valid.
  std::string Requests() {
    std::string names;
    for (const ScriptedTransport::Sent& sent : m_transport.Requests()) {
      EXPECT_EQ(test_support::SchemaValidator::Violation(sent.body), "") << sent.body;
      const size_t at = sent.body.find("<m:", sent.body.find("Body>"));
      names += sent.body.substr(at + 3, sent.body.find_first_of(" >", at) - at - 3) + " ";
      EXPECT_EQ(sent.body.find("SendToAll"), std::string::npos);
    }
    return names;
  }
  static std::string Found(const std::string& items = "") {
    return answers::FoundItems(items, " IncludesLastItemInRange=\"true\"");
  }
  static std::string Many(const std::string& name, int good, const std::string& code = "") {
    std::string messages;
    for (int i = 0; i < good; ++i) {
      messages += "<m:" + name +
                  "ResponseMessage ResponseClass=\"Success\"><m:ResponseCode>NoError"
                  "</m:ResponseCode></m:" +
                  name + "ResponseMessage>";
    }
    if (!code.empty()) {
      messages += "<m:" + name +
                  "ResponseMessage ResponseClass=\"Error\"><m:MessageText>No."
                  "</m:MessageText><m:ResponseCode>" +
                  code + "</m:ResponseCode></m:" + name + "ResponseMessage>";
    }
    return answers::Envelope("<m:" + name + "Response xmlns:m=\"m\"><m:ResponseMessages>" +
                             messages + "</m:ResponseMessages></m:" + name + "Response>");
  }

  ews::Appointment m_item{m_service};
  CString m_told;
};

TEST_F(SeriesSaving, GetsItsKeyWhenAllOfItIsThere) {
  m_transport.PushAll({Found(), answers::Item("I="), Many("DeleteItem", 2), Many("UpdateItem", 1),
                       answers::Updated("I=")});
  EXPECT_EQ(Save(), "no exception");
  EXPECT_EQ(m_told, u"");
  EXPECT_EQ(Requests(), "FindItem CreateItem DeleteItem UpdateItem UpdateItem ");
  const auto& sent = m_transport.Requests();
  EXPECT_THAT(sent[1].body, HasSubstr(">unfinished: k<"));
  EXPECT_THAT(sent[2].body, AllOf(HasSubstr("RecurringMasterId=\"I=\" InstanceIndex=\"2\""),
                                  HasSubstr("InstanceIndex=\"3\"")));
  EXPECT_THAT(sent[3].body, AllOf(HasSubstr("InstanceIndex=\"4\""), HasSubstr(">Other<"),
                                  HasSubstr(">2024-03-14T10:00:00Z<")));
  EXPECT_THAT(sent[4].body, AllOf(HasSubstr("<t:Value>k<"), Not(HasSubstr("Instance"))));
}

TEST_F(SeriesSaving, IsTakenAwayWhereItCannotBeFinished) {
  m_transport.PushAll({Found(), answers::Item("I="), Many("DeleteItem", 2)});
  m_transport.PushFailure("The connection was lost.");
  m_transport.Push(Many("DeleteItem", 1));
  EXPECT_EQ(Save(), "The connection was lost.");
  EXPECT_FALSE(m_item.Id().IsSet());
  EXPECT_THAT(m_transport.Requests().back().body, HasSubstr("<t:ItemId Id=\"I=\"/>"));

  // Where it stays behind, the next one finds it by its mark.
  m_transport.PushAll({Found(), answers::Item("J=")});
  m_transport.PushFailure("The connection was lost.");
  m_transport.PushFailure("The connection was lost.");
  EXPECT_THAT(Save(), HasSubstr("It is there without."));
  ews::Appointment again(m_service);
  again.SetExtendedProperty(ews::ItemKeyProperty(), CString(u"k"));
  again.SetRecurrence(ews::Recurrence::DailyPattern(COleDateTime(2024, 3, 11, 0, 0, 0), 1));
  again.Occurrences().arrDeleted = {1};
  m_transport.PushAll(
      {Found("<t:CalendarItem><t:ItemId Id=\"J=\"/><t:ExtendedProperty>"
             "<t:ExtendedFieldURI DistinguishedPropertySetId=\"PublicStrings\" "
             "PropertyName=\"TarnyKey\" PropertyType=\"String\"/><t:Value>unfinished: k"
             "</t:Value></t:ExtendedProperty></t:CalendarItem>"),
       Many("DeleteItem", 1), answers::Item("K="),
       Many("DeleteItem", 0, "ErrorCalendarOccurrenceIsDeletedFromRecurrence"),
       answers::Updated("K=")});
  EXPECT_EQ(SaveWithOccurrences(again, WellKnownFolderName::Calendar, *m_service), u"");
  EXPECT_THAT(Requests(),
              testing::EndsWith("FindItem DeleteItem CreateItem DeleteItem UpdateItem "));
}

TEST_F(SeriesSaving, TellsTheOccurrencesThatAreRefused) {
  m_transport.PushAll({Found(), answers::Item("I="),
                       Many("DeleteItem", 1, "ErrorCalendarOccurrenceIndexIsOutOfRecurrenceRange"),
                       Many("UpdateItem", 0, "ErrorOccurrenceCrossingBoundary"),
                       answers::Updated("I=")});
  EXPECT_EQ(Save(), "no exception");
  EXPECT_EQ(m_told.ToUtf8(),
            "The series is there, but 2 of its occurrences could not be changed: number 3: No.; "
            "number 4: No.");
}

}  // namespace
