#include <cstdlib>
#include <ctime>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/sources/CalendarItem.h"
#include "client/sources/Source.h"
#include "platform/Unicode.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
using client_test::Problems;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

// The clock of this process is another one than the calendars'.
class Calendar : public testing::Test {
 protected:
  void SetUp() override { Use("Europe/Berlin"); }
  void TearDown() override { Use("UTC"); }
  static void Use(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  static CalendarItem Read(const std::string& lines, const std::string& more = "") {
    return ReadCalendarItem("BEGIN:VCALENDAR\n" + more + "BEGIN:VEVENT\n" + lines +
                            "END:VEVENT\nEND:VCALENDAR\n");
  }
};

std::string Dump(const Series& series) {
  std::string text =
      std::to_string(static_cast<int>(series.pattern)) + "/" + std::to_string(series.interval);
  for (const std::string& day : series.days) text += " " + day;
  for (const auto& [name, value] :
       {std::pair("day ", series.dayOfMonth), std::pair("month ", series.month),
        std::pair("index ", series.index), std::pair("count ", series.count)}) {
    if (value) text += std::string(" ") + name + std::to_string(value);
  }
  return text + (series.end ? " end " + series.end->Date() : "");
}

TEST_F(Calendar, RulesBecomePatternsAndLinesOfADescriptor) {
  // All begin on Tuesday, 5 March 2024, at nine in the evening of New York: on Wednesday in Berlin.
  const CivilTime start{2024, 3, 5, 21, 0, 0};
  const CivilTime next{2024, 3, 6, 3, 0, 0};
  struct Case {
    const char* rule;
    const char* pattern;  // 0 daily, 1 weekly, 2 monthly, 3 relative, 4 yearly, 5 relative
    const char* here;     // the line where the engine's clock is the series' own
    const char* there;    // where it is that of Berlin
  };
  const Case cases[] = {
      {"FREQ=DAILY;INTERVAL=3;COUNT=5", "0/3 count 5", "D,0;3;5;2024-03-05;;;",
       "D,0;3;5;2024-03-06;;;"},
      {"FREQ=DAILY;BYDAY=MO,TU,WE,TH,FR", "1/1 Monday Tuesday Wednesday Thursday Friday",
       "W,2;1;0;2024-03-05;;;", "W,3;1;0;2024-03-06;;;"},
      {"FREQ=WEEKLY;UNTIL=20240403T010000Z", "1/1 Tuesday end 2024-04-02",
       "W,2;1;0;2024-03-05;2024-04-02;2024-04-02;", "W,3;1;0;2024-03-06;2024-04-03;2024-04-03;"},
      {"FREQ=WEEKLY;UNTIL=20240403T005900Z", "1/1 Tuesday end 2024-04-01",
       "W,2;1;0;2024-03-05;2024-04-01;2024-04-01;", "W,3;1;0;2024-03-06;2024-04-02;2024-04-02;"},
      {"FREQ=WEEKLY;INTERVAL=2;BYDAY=SA,TU;WKST=SU", "1/2 Tuesday Saturday",
       "W,2;2;0;2024-03-05;;;", "W,3;2;0;2024-03-06;;;"},
      {"FREQ=MONTHLY", "2/1 day 5", "M,5;1;0;2024-03-05;;;", "M,6;1;0;2024-03-06;;;"},
      {"FREQ=MONTHLY;BYMONTHDAY=-1", "3/1 Day index 5", "", ""},
      {"FREQ=MONTHLY;BYMONTHDAY=28,29,30;BYSETPOS=-1", "2/1 day 30", "M,30;1;0;2024-03-05;;;",
       "M,6;1;0;2024-03-06;;;"},
      {"FREQ=MONTHLY;BYDAY=1TU;INTERVAL=2", "3/2 Tuesday index 1", "M,0,1.2;2;0;2024-03-05;;;", ""},
      {"FREQ=MONTHLY;BYDAY=FR;BYSETPOS=-1", "3/1 Friday index 5", "M,0,5.5;1;0;2024-03-05;;;", ""},
      {"FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=1", "3/1 Weekday index 1", "", ""},
      {"FREQ=MONTHLY;BYDAY=SA,SU;BYSETPOS=2", "3/1 WeekendDay index 2", "", ""},
      {"FREQ=YEARLY", "4/1 day 5 month 3", "M,5;12;0;2024-03-05;;;", "M,6;12;0;2024-03-06;;;"},
      {"FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=7", "4/1 day 7 month 6", "Y,6,7;1;0;2024-03-05;;;",
       "M,6;12;0;2024-03-06;;;"},
      {"FREQ=YEARLY;INTERVAL=2", "2/24 day 5 month 3", "M,5;24;0;2024-03-05;;;",
       "M,6;24;0;2024-03-06;;;"},
      {"FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU", "5/1 Sunday month 3 index 5",
       "M,0,5.0;12;0;2024-03-05;;;", ""},
      {"FREQ=YEARLY;BYDAY=1MO", "5/1 Monday month 1 index 1", "", ""},
      {"FREQ=YEARLY;BYMONTHDAY=15", "2/1 day 15", "M,15;1;0;2024-03-05;;;",
       "M,6;1;0;2024-03-06;;;"},
  };
  const CalendarZone zone = *CalendarZone::ByName("America/New_York");
  for (const Case& each : cases) {
    std::vector<std::string> left;
    const std::optional<Series> series = SeriesOf(each.rule, start, zone, left);
    ASSERT_TRUE(series) << each.rule;
    EXPECT_EQ(Dump(*series), each.pattern) << each.rule;
    EXPECT_EQ(RecurrenceText(*series, start, start), each.here) << each.rule;
    if (std::string_view(each.rule).find("BYMONTH=6") != std::string_view::npos) continue;
    EXPECT_EQ(RecurrenceText(*series, start, next), each.there) << each.rule;
    EXPECT_THAT(left, IsEmpty()) << each.rule;
  }
  for (const char* rule :
       {"FREQ=HOURLY", "FREQ=MONTHLY;BYMONTHDAY=1,15", "FREQ=MONTHLY;BYDAY=1TU,3TU",
        "FREQ=YEARLY;BYMONTH=1,7", "FREQ=YEARLY;BYWEEKNO=20", "FREQ=YEARLY;BYYEARDAY=100",
        "FREQ=MONTHLY;BYDAY=5FR", "FREQ=WEEKLY;BYMONTH=3", "FREQ=DAILY;INTERVAL=1000", "nonsense",
        "", "FREQ=YEARLY;INTERVAL=9", "FREQ=WEEKLY;INTERVAL=100", "FREQ=MONTHLY;BYDAY=TU",
        "FREQ=YEARLY;INTERVAL=2;BYMONTHDAY=15"}) {
    std::vector<std::string> left;
    EXPECT_FALSE(SeriesOf(rule, start, zone, left)) << rule;
  }
  std::vector<std::string> left;
  EXPECT_TRUE(SeriesOf("FREQ=MONTHLY;BYMONTHDAY=31", start, zone, left));
  EXPECT_EQ(left.size(), 1u);
}

TEST_F(Calendar, ZonesAreKnownByEveryName) {
  const std::string vienna =
      "BEGIN:VTIMEZONE\nTZID:Ours\nBEGIN:STANDARD\nDTSTART:16010101T030000\nTZOFFSETFROM:+0200\n"
      "TZOFFSETTO:+0100\nRRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10\nEND:STANDARD\nBEGIN:DAYLIGHT\n"
      "DTSTART:16010101T020000\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0200\n"
      "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3\nEND:DAYLIGHT\nEND:VTIMEZONE\n";
  struct Case {
    const char* zone;
    const char* utc;
    const char* windows;
  };
  for (const Case& each : {
           Case{";TZID=Europe/Vienna", "2024-07-01T07:00:00", "W. Europe Standard Time"},
           Case{";TZID=/example.org/2005_1/Europe/Vienna", "2024-07-01T07:00:00",
                "W. Europe Standard Time"},
           Case{";TZID=Eastern Standard Time", "2024-07-01T13:00:00", "Eastern Standard Time"},
           Case{";TZID=\"Pacific\"", "2024-07-01T16:00:00", "Pacific Standard Time"},
           Case{";TZID=\"(UTC+01:00) Amsterdam, Berlin, Bern, Rom\"", "2024-07-01T07:00:00",
                "W. Europe Standard Time"},
           Case{";TZID=\"(GMT-05.00) Eastern Time (US & Canada)\"", "2024-07-01T13:00:00",
                "Eastern Standard Time"},
           Case{";TZID=Ours", "2024-07-01T07:00:00", "Central Europe Standard Time"},
           Case{"", "2024-07-01T07:00:00", "W. Europe Standard Time"},
       }) {
    const CalendarItem item =
        Read("DTSTART" + std::string(each.zone) + ":20240701T090000\n", vienna);
    EXPECT_EQ(CivilTime::OfUtc(item.start->utc).Text(), each.utc) << each.zone;
    EXPECT_EQ(item.zone.WindowsName(), each.windows) << each.zone;
    EXPECT_THAT(item.left, IsEmpty()) << each.zone;
  }
  // Rules without an offset are none.
  EXPECT_THAT(Read("DTSTART;TZID=Half:20240701T090000\n",
                   "BEGIN:VTIMEZONE\nTZID:Half\nBEGIN:STANDARD\nDTSTART:16010101T030000\n"
                   "TZOFFSETFROM:+0200\nEND:STANDARD\nEND:VTIMEZONE\n")
                  .left,
              ElementsAre("the time zone, which nobody knows: Half"));
  EXPECT_THAT(Read("DTSTART;TZID=Nowhere:20240701T090000\n").left,
              ElementsAre("the time zone, which nobody knows: Nowhere"));
  // One that Windows does not have: its clock is nobody else's.
  const CalendarItem troll = Read(
      "DTSTART;TZID=Antarctica/Troll:20240110T100000\n"
      "DTEND;TZID=Antarctica/Troll:20240110T120000\n");
  EXPECT_EQ(troll.start->wall.Text(), "2024-01-10T11:00:00");
  EXPECT_EQ(troll.end->wall.Text(), "2024-01-10T13:00:00");
}

TEST_F(Calendar, DaysAndTimesEndAsTheirProgramMeansIt) {
  struct Case {
    const char* lines;
    const char* end;
    bool allDay;
  };
  for (const Case& each : {
           Case{"DTSTART;VALUE=DATE:20240330\nDTEND;VALUE=DATE:20240401\n", "2024-04-01T00:00:00",
                true},
           Case{"DTSTART;VALUE=DATE:20240330\nDTEND;VALUE=DATE:20240330\n", "2024-03-31T00:00:00",
                true},
           Case{"DTSTART:20240330\n", "2024-03-31T00:00:00", true},
           Case{"DTSTART;TZID=Europe/Berlin:20240330T230000\nDURATION:PT5H\n",
                "2024-03-31T05:00:00", false},
           Case{"DTSTART;TZID=Europe/Berlin:20240330T230000\nDURATION:P1DT5H\n",
                "2024-04-01T04:00:00", false},
           Case{"DTSTART;TZID=Europe/Berlin:20240330T230000\nDTEND:20240331T000000Z\n",
                "2024-03-31T01:00:00", false},
           Case{"DTSTART:20240330T230000\n", "2024-03-30T23:00:00", false},
           Case{"DTSTART:20240330T000000\nDTEND:20240331T000000\n"
                "X-MICROSOFT-CDO-ALLDAYEVENT:TRUE\n",
                "2024-03-31T00:00:00", true},
           // The midnights of Berlin, which is where this process is.
           Case{"DTSTART:20240329T230000Z\nDTEND:20240330T230000Z\n"
                "X-MICROSOFT-CDO-ALLDAYEVENT:TRUE\n",
                "2024-03-31T00:00:00", true},
       }) {
    const CalendarItem item = Read(each.lines);
    EXPECT_EQ(item.end->wall.Text(), each.end) << each.lines;
    EXPECT_EQ(item.allDay, each.allDay) << each.lines;
  }
}

TEST_F(Calendar, OccurrencesRemindersAndPeopleAreKept) {
  const CalendarItem item = ReadCalendarItem(
      "BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:1\nSUMMARY;LANGUAGE=en:Round \\, all\n"
      "DTSTART;TZID=America/New_York:20240305T090000\nDTEND;TZID=America/New_York:20240305T100000\n"
      "RRULE:FREQ=WEEKLY;COUNT=10\nEXDATE;TZID=America/New_York:20240312T090000,20240319T090000\n"
      "EXDATE:20240326T130000Z\nEXDATE;VALUE=DATE:20240402\nRDATE:20240501T090000Z\n"
      "CLASS:PRIVATE\nTRANSP:TRANSPARENT\nPRIORITY:1\nCATEGORIES:Work,Port\\, north\n"
      "ORGANIZER;CN=\"Bell, Ann\":MAILTO:ann@x.example\n"
      "ATTENDEE;PARTSTAT=ACCEPTED;ROLE=OPT-PARTICIPANT;CN=Bo:mailto:bo@x.example\n"
      "ATTENDEE;CUTYPE=ROOM;PARTSTAT=NEEDS-ACTION:mailto:room@x.example\n"
      "ATTENDEE;CN=Nobody:urn:uuid:7\nURL:https://x.example/join\nGEO:1;2\n"
      "CONFERENCE;VALUE=URI:https://x.example/join\nCONFERENCE;VALUE=URI:tel:+1-2\n"
      "X-APPLE-STRUCTURED-LOCATION;VALUE=URI;X-TITLE=\"Pier, 4\":geo:1,2\n"
      "BEGIN:VALARM\nACTION:DISPLAY\nTRIGGER:PT5M\nEND:VALARM\n"
      "BEGIN:VALARM\nACTION:DISPLAY\nTRIGGER;RELATED=END:-PT90M\nEND:VALARM\n"
      "BEGIN:VALARM\nACTION:NONE\nTRIGGER:19760401T005545Z\nEND:VALARM\nEND:VEVENT\n"
      "BEGIN:VEVENT\nUID:1\nRECURRENCE-ID:20240409T130000Z\nSUMMARY:Moved\n"
      "DTSTART;TZID=Europe/Berlin:20240410T160000\nDURATION:PT1H\nEND:VEVENT\n"
      "BEGIN:VEVENT\nUID:1\nRECURRENCE-ID;TZID=America/New_York:20240416T090000\n"
      "STATUS:CANCELLED\nDTSTART;TZID=America/New_York:20240416T090000\nEND:VEVENT\n"
      "END:VCALENDAR\n");
  std::vector<std::string> deleted;
  for (const CivilTime& time : item.deleted) deleted.push_back(time.Text());
  EXPECT_THAT(deleted,
              ElementsAre("2024-03-12T09:00:00", "2024-03-19T09:00:00", "2024-03-26T09:00:00",
                          "2024-04-02T09:00:00", "2024-04-16T09:00:00"));
  ASSERT_EQ(item.changed.size(), 1u);
  EXPECT_EQ(item.changed[0].original.Text(), "2024-04-09T09:00:00");
  EXPECT_EQ(item.changed[0].start.Text(), "2024-04-10T10:00:00");
  EXPECT_EQ(item.changed[0].end.Text(), "2024-04-10T11:00:00");
  EXPECT_EQ(item.changed[0].subject, "Moved");
  EXPECT_EQ(item.reminder, 30);
  EXPECT_EQ(item.subject + item.busy + item.sensitivity + item.importance,
            "Round , allFreePrivate1");
  EXPECT_THAT(item.categories, ElementsAre("Work", "Port, north"));
  EXPECT_EQ(item.organizer->name, "Bell, Ann");
  ASSERT_EQ(item.attendees.size(), 2u);
  EXPECT_EQ(std::string(item.attendees[0].role) + item.attendees[0].answer, "optionalaccepted");
  EXPECT_EQ(std::string(item.attendees[1].role) + item.attendees[1].answer, "resourcenone");
  EXPECT_EQ(item.body, "https://x.example/join\n\ntel:+1-2");
  EXPECT_EQ(item.location, "Pier, 4");
  EXPECT_THAT(item.left,
              ElementsAre("someone without an address: Nobody", "a reminder behind the start",
                          "occurrences beside the rule: 20240501T090000Z", "GEO 1;2"));
}

TEST_F(Calendar, APageInHtmlGetsTheAddressOfTheCall) {
  struct Case {
    const char* html;
    const char* shown;
  };
  for (const Case& each : {
           Case{"<BODY>x</Body></html>",
                "<BODY>x<p><a href=\"https://x.example/?a&amp;b\">"
                "https://x.example/?a&amp;b</a></p></Body></html>"},
           Case{"y",
                "y<p><a href=\"https://x.example/?a&amp;b\">https://x.example/?a&amp;b</a></p>"},
           Case{"<a href='https://x.example/?a&amp;b'>", "<a href='https://x.example/?a&amp;b'>"},
           Case{"", ""},
       }) {
    const CalendarItem item = Read(
        "DTSTART:20240305\nX-GOOGLE-CONFERENCE:https://x.example/?a&b\n"
        "X-ALT-DESC;FMTTYPE=text/html:" +
        std::string(each.html) + "\n");
    EXPECT_EQ(item.html, each.shown);
  }
}

TEST_F(Calendar, WhatASeriesDoesNotHoldIsTold) {
  const std::string first = "UID:1\nSUMMARY:Round\nDTSTART:20240305T090000\n";  // a Tuesday
  const std::string next = "END:VEVENT\nBEGIN:VEVENT\nUID:1\nRECURRENCE-ID:";
  struct Case {
    std::string lines;
    std::size_t kept;  // deleted and changed occurrences
    std::vector<std::string> left;
    bool isReduced = false;
  };
  for (const Case& each : {
           Case{"RRULE:FREQ=WEEKLY;COUNT=3\nEXDATE:20240312T090000,20240313T090000\n"
                "EXDATE:20240326T090000\n",
                1,
                {"the deletion of a day that the rule does not name: 2024-03-13"}},
           Case{"RRULE:FREQ=WEEKLY;COUNT=3\n" + next + "20240326T090000\nSUMMARY:x\n" + next +
                    "20240306T090000\nSTATUS:CANCELLED\n" + next + "20240319T090000\nSUMMARY:x\n",
                1,
                {"a changed occurrence on a day that the rule does not name: 2024-03-26",
                 "the deletion of a day that the rule does not name: 2024-03-06"},
                true},
           Case{"RRULE:FREQ=MONTHLY;BYMONTHDAY=5,20\n",
                0,
                {"all occurrences but the first, of a rule that Exchange does not have: "
                 "FREQ=MONTHLY;BYMONTHDAY=5,20"},
                true},
           Case{"RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=1TU\nEXDATE:20250304T090000,20250401T090000\n",
                1,
                {"the deletion of a day that the rule does not name: 2025-04-01"}},
           Case{"RRULE:FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=3;UNTIL=20240601T000000Z\n"
                "EXDATE:20240403T090000,20240503T090000,20240605T090000\n",
                2,
                {}},
           Case{"RRULE:FREQ=DAILY;UNTIL=20240101T000000Z\nEXDATE:20240305T090000\n",
                0,
                {"the series, whose rule ends before it begins: "
                 "FREQ=DAILY;UNTIL=20240101T000000Z"}},
           Case{"RRULE:FREQ=WEEKLY\nCATEGORIES:a\nATTENDEE:mailto:bo@x\n" + next +
                    "20240312T090000\nATTENDEE:mailto:bo@x\nCATEGORIES:b\nCOMMENT:c\n",
                1,
                {"the categories of the occurrence of 2024-03-12",
                 "the comment of the occurrence of 2024-03-12"}},
           // The latest version of an occurrence, though it stands among the deleted ones.
           Case{"RRULE:FREQ=WEEKLY\nEXDATE:20240312T090000\n" + next +
                    "20240312T090000\nSEQUENCE:2\nSUMMARY:late\n" + next +
                    "20240312T090000\nSEQUENCE:1\nCOMMENT:c\n" + next +
                    "20240312T090000\nSTATUS:CANCELLED\n" + next +
                    "20240319T090000\nSUMMARY:x\nCOMMENT:c\n" + next +
                    "20240319T090000\nSEQUENCE:1\nSTATUS:CANCELLED\n",
                2,
                {}},
           // Once each, and not what is empty or a program's own.
           Case{"RRULE:FREQ=WEEKLY\nX-COST:5 EUR\nX-COST:6 "
                "EUR\nCOMMENT:\nX-PIC;ENCODING=BASE64;VALUE=BINARY:AAAA\nX-HIRED-BY: \n"
                "X-MOZ-LASTACK:20240305T090000Z\nX-MICROSOFT-CDO-INSTTYPE:1\nX-APPLE-SORT-ORDER:7\n"
                "X-MICROSOFT-DONOTFORWARDMEETING:FALSE\nX-OC-HIDESUBTASKS:0\nX-PINNED:false\n"
                "X-CREATOR-UID:9\nX-MICROSOFT-SKYPETEAMSMEETINGURL:https://x.example\n" +
                    next + "20240312T090000\nX-COST:5 EUR\nX-MOZ-SNOOZE-TIME:1\nX-TENT:big\n" +
                    next + "20240319T090000\nX-COST:6 EUR\nX-COST:5 EUR\n",
                2,
                {"X-COST of the occurrence of 2024-03-12", "X-TENT of the occurrence of 2024-03-12",
                 "X-COST 5 EUR", "X-PIC"}},
           Case{"RRULE:FREQ=WEEKLY;BYDAY=WE\nEXDATE:20240313T090000\n",
                1,
                {"the first occurrence, on a day that the rule does not name: 2024-03-05"},
                true},
       }) {
    const CalendarItem item = Read(first + each.lines);
    EXPECT_EQ(item.isReduced, each.isReduced) << each.lines;
    EXPECT_EQ(item.deleted.size() + item.changed.size(), each.kept) << each.lines;
    EXPECT_EQ(item.left, each.left) << each.lines;
  }
}

TEST_F(Calendar, AFileGivesItsItemsAndADamagedOneCostsItself) {
  const TemporaryFolder folder;
  const std::string path = folder.Write(
      "port.ics",
      "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:1\r\nRECURRENCE-ID:20240312T090000\r\n"
      "DTSTART:20240312T100000\r\nSUMMARY:Round\r\nEND:VEVENT\r\n"
      "BEGIN:VEVENT\r\nUID:1\r\nDTSTAMP:20240101T000000Z\r\nDTSTART:20240305T090000\r\n"
      "SUMMARY:Ro\r\n und\r\nRRULE:FREQ=WEEKLY\r\nEND:VEVENT\r\n"
      "BEGIN:VEVENT\r\nSUMMARY:No start\r\nEND:VEVENT\r\n"
      "BEGIN:VEVENT\r\nSUMMARY:No date\r\nDTSTART:20241305T090000\r\nEND:VEVENT\r\n"
      "BEGIN:VEVENT\r\nSUMMARY:Ever\r\nDTSTART:99991231T235959Z\r\nEND:VEVENT\r\n"
      "BEGIN:VTODO\r\nSUMMARY:First\r\nDTSTART:00010101T000000Z\r\nEND:VTODO\r\n"
      "BEGIN:VEVENT\r\nSUMMARY:Cut\r\nDTSTART:20240305T090000\r\n"
      "BEGIN:VTODO\r\nSUMMARY:Paint\r\nDUE;VALUE=DATE:20240701\r\nEND:VTODO\r\n"
      "BEGIN:VJOURNAL\r\nSUMMARY:Diary\r\nEND:VJOURNAL\r\nEND:VCALENDAR\r\n"
      "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nDTSTART:20240305\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  const Plan plan = MakePlan({path});
  EXPECT_THAT(Items(plan), ElementsAre("Calendar\\|port.ics: Round (2024-03-05)",
                                       "Tasks\\|port.ics: Paint (2024-07-01)",
                                       "Calendar\\|port.ics: untitled (2024-03-05)"));
  EXPECT_THAT(
      Problems(plan, folder.Path()),
      ElementsAre(
          "port.ics: No start: an event without a start",
          "port.ics: No date (2024-13-05): the start of the event is no date: 20241305T090000",
          "port.ics: Ever (9999-12-31): the start of the event is a time that Exchange has no "
          "place "
          "for: 99991231T235959Z",
          "port.ics: First (0001-01-01): the start of the task is a time that Exchange has no "
          "place "
          "for: 00010101T000000Z",
          "port.ics: Cut (2024-03-05): the event is cut off",
          "port.ics: Diary: a journal entry, which no calendar of Exchange holds"));
  EXPECT_FALSE(plan.IsWhole());
  const std::string text = plan.entries[0].source->Read(plan.entries[0].item);
  EXPECT_EQ(text.find("DTSTAMP"), std::string::npos);
  const CalendarItem item = ReadCalendarItem(text);
  EXPECT_EQ(item.subject, "Round");
  EXPECT_EQ(item.changed.size(), 1u);
}

TEST_F(Calendar, OfTwoVersionsTheLaterCountsAndUtf16IsRead) {
  const std::string event = "BEGIN:VEVENT\r\nUID:1\r\nDTSTART:20240305T090000\r\n";
  const std::string calendar =
      "BEGIN:VCALENDAR\r\n" + event + "SEQUENCE:1\r\nSUMMARY:Old\r\nEND:VEVENT\r\n" + event +
      "SEQUENCE:2\r\nSUMMARY:N\u00EBw\r\nDTEND:20240304T090000\r\nEND:VEVENT\r\n" + event +
      "SUMMARY:Oldest\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
  for (const char* mark : {"", "\xFF\xFE", "\xFE\xFF"}) {
    const TemporaryFolder folder;
    std::string bytes = mark;
    for (const char16_t unit : platform::Utf8ToUtf16(calendar)) {
      const char low = static_cast<char>(unit & 0xFF);
      const char high = static_cast<char>(unit >> 8);
      bytes += bytes[0] == '\xFF' ? std::string{low, high} : std::string{high, low};
    }
    const std::string path = folder.Write("a.ics", *mark == 0 ? calendar : bytes);
    const Plan plan = MakePlan({path});
    EXPECT_THAT(Items(plan), ElementsAre("Calendar\\|a.ics: N\u00EBw (2024-03-05)"));
    const std::string why = ": an earlier version of what comes with the same UID";
    EXPECT_THAT(Problems(plan, folder.Path()),
                ElementsAre("a.ics: Old (2024-03-05)" + why, "a.ics: Oldest (2024-03-05)" + why));
    EXPECT_TRUE(plan.IsWhole());
    const CalendarItem item = ReadCalendarItem(plan.entries[0].source->Read(plan.entries[0].item));
    EXPECT_EQ(item.subject, "N\u00EBw");
    EXPECT_THAT(item.left, ElementsAre("an end before the start: 2024-03-04T09:00:00"));
  }
}

}  // namespace
}  // namespace client
