#include <fmt/format.h>
#include <gmock/gmock.h>

#include <regex>

#include "tests/pipeline/Descriptors.h"
#include "tests/pipeline/ImportRun.h"

// Appointments, tasks, contacts and lists, from their work files to what a mailbox holds of them.
namespace {

using namespace descriptors;
using ews::WellKnownFolderName;
using mailbox::EntryText;
using mailbox::FieldText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// The values in an element: " Interval 2 DaysOfWeek Wednesday".
std::string ValuesIn(const pugi::xml_node& element) {
  std::string text;
  for (const pugi::xml_node value : element.children()) {
    text += fmt::format(" {} {}", value.name() + 2, value.text().get());
  }
  return text;
}

// "Weekly Interval 2 DaysOfWeek Wednesday; EndDate StartDate 2024-03-13 …"
std::string SeriesOf(const mailbox::ItemInfo& item) {
  const mailbox::FieldTree tree(mailbox::FindField(item, "Recurrence"));
  std::string text;
  for (const pugi::xml_node part : tree.Root().children()) {
    text += (text.empty() ? "" : "; ") + std::string(part.name() + 2) + ValuesIn(part);
  }
  return std::regex_replace(text, std::regex("Recurrence|Z"), "");
}

// The addresses of the people in a field, in order.
std::vector<std::string> PeopleIn(const mailbox::ItemInfo& item, const char* field) {
  const mailbox::FieldTree tree(mailbox::FindField(item, field));
  std::vector<std::string> people;
  for (const pugi::xml_node one : tree.Root().children()) {
    people.push_back(one.child("t:Mailbox").child_value("t:EmailAddress"));
  }
  return people;
}

std::string PropertyText(const mailbox::ItemInfo& item, const std::string& key) {
  for (const mailbox::ExtendedProperty& property : item.properties) {
    if (property.key == key) return property.values.at(0);
  }
  return "none";
}

// What a series comes to; "-" for a single item, "lost" for none at all.
struct SeriesRow {
  const char16_t* text;
  std::string plain;
  std::string safe = {};  // where it is another one
  const std::string& Expected(bool isSafe) const { return isSafe && !safe.empty() ? safe : plain; }
};

// The day is a Monday, 2024-03-11; the series' own days are others.
const SeriesRow kSeries[] = {
    {u"D,0;3;10;2024-03-13;2024-05-01;2024-04-01;",
     "Daily Interval 3; EndDate StartDate 2024-03-13 EndDate 2024-04-01",
     "Daily Interval 3; EndDate StartDate 2024-03-11 EndDate 2024-04-01"},
    {u"D,0;3;10;x;x;x;", "Daily Interval 3; Numbered StartDate 2024-03-11 NumberOfOccurrences 10"},
    {u"W,3;2;10;2024-03-13;2024-05-22;;",
     "Weekly Interval 2 DaysOfWeek Wednesday; EndDate StartDate 2024-03-13 EndDate 2024-05-22"},
    {u"W,9;0; 4x;2024-03-17;;;",
     "Weekly Interval 1 DaysOfWeek Sunday; Numbered StartDate 2024-03-17 NumberOfOccurrences 4"},
    {u"W,1;1;5;x;2024-05-22;;", "-",
     "Weekly Interval 1 DaysOfWeek Monday; EndDate StartDate 2024-03-11 EndDate 2024-05-22"},
    {u"M,15;1;0;2024-03-15;;;",
     "AbsoluteMonthly Interval 1 DayOfMonth 15; NoEnd StartDate 2024-03-15"},
    {u"M,0;1;0;2024-03-15;;;", "-",
     "AbsoluteMonthly Interval 1 DayOfMonth 1; NoEnd StartDate 2024-03-15"},
    {u"M,0,2.3;1;6;2024-03-13;;;",
     "RelativeMonthly Interval 1 DaysOfWeek Wednesday DayOfWeekIndex Second;"
     " Numbered StartDate 2024-03-13 NumberOfOccurrences 6"},
    {u"M,0,7.5;1;0;2024-03-01;;;",
     "RelativeMonthly Interval 1 DaysOfWeek Friday DayOfWeekIndex First; NoEnd StartDate "
     "2024-03-01"},
    {u"Y,6,14;1;0;2024-06-14;;;",
     "AbsoluteYearly DayOfMonth 14 Month June; NoEnd StartDate 2024-06-14"},
    {u"Y,3,14;1;0;2024-03-14;;;",
     "AbsoluteYearly DayOfMonth 14 Month March; NoEnd StartDate 2024-03-14"},
    {u"Q,1;1;3;2024-03-14;;;", "-"},
    {u"99999999999999999999", "-"},
    {u"W,5;1;2;2024-03-15;2024-03-22",
     "Weekly Interval 1 DaysOfWeek Friday; Numbered StartDate 2024-03-15 NumberOfOccurrences 2",
     "Weekly Interval 1 DaysOfWeek Friday; EndDate StartDate 2024-03-15 EndDate 2024-03-22"},
};

TEST(OtherItems, EverySeriesOfAnAppointmentArrivesFromEitherForm) {
  ImportRun run;
  run.folder.WriteWork("TextFile1.eml", "");
  for (const SeriesRow& row : kSeries) {
    for (const bool safe : {false, true}) {
      for (const bool formB : {false, true}) {
        SCOPED_TRACE(CString(row.text).ToUtf8() + (safe ? " safe" : "") + (formB ? " B" : " A"));
        ews::Settings().bSafe = safe;
        ASSERT_EQ(run.Import(WellKnownFolderName::Calendar, Calendar(row.text, formB)), 1);
        const mailbox::ItemInfo item = run.Last("calendar");
        const std::string series = SeriesOf(item);
        EXPECT_EQ(series.empty() ? "-" : series, row.Expected(safe));
        EXPECT_EQ(item.subject, "s");
        EXPECT_EQ(item.starts, "2024-03-11T10:00:00Z");
        EXPECT_EQ(item.ends, "2024-03-11T11:00:00Z");
        EXPECT_EQ(item.importance, "High");
        EXPECT_EQ(item.body, "text");
        EXPECT_EQ(item.bodyType, "Text");
        EXPECT_THAT(item.categories, ElementsAre("Work"));
        EXPECT_EQ(FieldText(item, "Location"), "Room 1");
        EXPECT_EQ(PropertyText(item, "tag:0x39"), "2024-03-01T10:00:00Z");
      }
    }
  }
}

// Each pattern that the service knows, in place of the descriptor's own; a wrong one leaves that.
TEST(OtherItems, ASeriesOfThePropertiesStandsAboveTheDescriptors) {
  struct {
    const char* json;
    const char* series;
    bool wrong = false;
  } rows[] = {
      {R"("pattern": "daily", "interval": 2, "count": 4)",
       "Daily Interval 2; Numbered StartDate 2024-03-11 NumberOfOccurrences 4"},
      {R"("pattern": "weekly", "interval": 2, "days": ["Monday", "Thursday"], "firstDay": "Sunday")",
       "Weekly Interval 2 DaysOfWeek Monday Thursday FirstDayOfWeek Sunday;"
       " NoEnd StartDate 2024-03-11"},
      {R"("pattern": "monthly", "interval": 1, "dayOfMonth": 31, "end": "2024-12-31")",
       "AbsoluteMonthly Interval 1 DayOfMonth 31;"
       " EndDate StartDate 2024-03-11 EndDate 2024-12-31"},
      {R"("pattern": "relativeMonthly", "interval": 3, "days": ["Weekday"], "index": "Last")",
       "RelativeMonthly Interval 3 DaysOfWeek Weekday DayOfWeekIndex Last;"
       " NoEnd StartDate 2024-03-11"},
      {R"("pattern": "yearly", "interval": 1, "dayOfMonth": 24, "month": "December")",
       "AbsoluteYearly DayOfMonth 24 Month December; NoEnd StartDate 2024-03-11"},
      {R"("pattern": "relativeYearly", "days": ["Day"], "index": "First", "month": "May")",
       "RelativeYearly DaysOfWeek Day DayOfWeekIndex First Month May; NoEnd StartDate 2024-03-11"},
      {R"("pattern": "weekly", "days": ["Weekday"])", nullptr, true},
      {R"("pattern": "weekly", "days": [])", nullptr, true},
      {R"("pattern": "monthly", "dayOfMonth": 32)", nullptr, true},
      {R"("pattern": "yearly", "interval": 2, "dayOfMonth": 1, "month": "May")", nullptr, true},
      {R"("pattern": "daily", "end": "2024-03-10")", nullptr, true},
      {R"("pattern": "daily", "end": "2024-03-12", "count": 2)", nullptr, true},
      {R"("pattern": "daily", "interval": 99999999999)", nullptr, true},
      {R"("pattern": "daily", "interval": 1000)", nullptr, true},
      {R"("pattern": "monthly", "dayOfMonth": 11, "count": 1200)",
       "AbsoluteMonthly Interval 1 DayOfMonth 11; EndDate StartDate 2024-03-11 EndDate 2124-02-11"},
  };
  ImportRun run(/*safe=*/true);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.json);
    run.folder.WriteWork("ItemProps.json",
                         std::string(R"({"series": {"start": "2024-03-11", )") + row.json + "}}");
    for (const bool task : {false, true}) {
      ASSERT_EQ(task
                    ? run.Import(WellKnownFolderName::Tasks, Task(u"W,3;1;0;2024-03-13;;;"))
                    : run.Import(WellKnownFolderName::Calendar, Calendar(u"W,3;1;0;2024-03-13;;;")),
                1)
          << run.error;
      EXPECT_EQ(SeriesOf(run.Last(task ? "tasks" : "calendar")),
                row.wrong ? "Weekly Interval 1 DaysOfWeek Wednesday; NoEnd StartDate 2024-03-13"
                          : row.series);
      EXPECT_EQ(run.Trace().find("a wrong value, left out: series") != std::string::npos,
                row.wrong);
    }
  }
}

TEST(OtherItems, WhatOnlyThePropertiesSayOfAppointmentsAndTasksArrives) {
  ImportRun run;
  const auto appointment = [&](const std::string& json) {
    run.folder.WriteWork("ItemProps.json", json);
    EXPECT_EQ(run.Import(WellKnownFolderName::Calendar, Calendar(u"", false, u"z@example.com")), 1)
        << run.error;
    return run.Last("calendar");
  };
  const std::string event = R"({"sensitivity": "Private", "busy": "OOF", "reminder": 20,
      "zone": "Tokyo Standard Time",
      "series": {"pattern": "daily", "start": "2024-03-12", "count": 3},
      "organizer": {"address": "o@x", "name": "Olga"},
      "attendees": [{"address": "a@x", "name": "Ann", "answer": "accepted"},
                    {"address": "b@x", "role": "optional", "answer": "declined"},
                    {"address": "c@x", "role": "resource", "answer": "none"}]})";
  mailbox::ItemInfo item = appointment(event);
  EXPECT_EQ(FieldText(item, "LegacyFreeBusyStatus"), "") << "taken without the safe switch";
  ews::Settings().bSafe = true;
  item = appointment(event);
  EXPECT_EQ(item.sensitivity, "Private");
  EXPECT_EQ(FieldText(item, "LegacyFreeBusyStatus"), "OOF");
  EXPECT_EQ(FieldText(item, "ReminderIsSet"), "true");
  EXPECT_EQ(FieldText(item, "ReminderMinutesBeforeStart"), "20");
  const auto textOf = [&](const char* field) {
    const mailbox::ItemField* found = mailbox::FindField(item, field);
    return found ? found->xml : std::string();
  };
  EXPECT_THAT(textOf("StartTimeZone"), HasSubstr("Tokyo Standard Time"));
  EXPECT_THAT(textOf("EndTimeZone"), HasSubstr("Tokyo Standard Time"));
  EXPECT_THAT(textOf("RequiredAttendees"), AllOf(HasSubstr("a@x"), Not(HasSubstr("z@"))));
  EXPECT_THAT(textOf("OptionalAttendees"), HasSubstr("b@x"));
  EXPECT_THAT(textOf("Resources"), HasSubstr("c@x"));
  EXPECT_EQ(PropertyText(item, "tag:0x42") + PropertyText(item, "tag:0x64") +
                PropertyText(item, "tag:0x65"),
            "OlgaSMTPo@x");
  EXPECT_EQ(PropertyText(item, "named:PublicStrings:name:TarnyAnswers"),
            "a@x: accepted\nb@x: declined");

  item = appointment(R"({"allDay": true, "start": "2024-03-12T00:00:00",
                         "end": "2024-03-13T08:00:00", "reminder": false,
                         "zone": "Tokyo Standard Time"})");
  EXPECT_EQ(FieldText(item, "IsAllDayEvent"), "true");
  EXPECT_EQ(item.starts, "2024-03-12T00:00:00Z");
  EXPECT_EQ(item.ends, "2024-03-14T00:00:00Z");
  EXPECT_EQ(FieldText(item, "ReminderIsSet"), "false");
  EXPECT_THAT(textOf("StartTimeZone"), Not(HasSubstr("Tokyo")));
  EXPECT_THAT(textOf("RequiredAttendees"), HasSubstr("z@example.com"));

  item = appointment(R"({"allDay": 1, "busy": "Away", "reminder": -1, "zone": "Nowhere",
                         "attendees": "a@x", "sensitivity": 1})");
  EXPECT_EQ(item.starts, "2024-03-11T10:00:00Z");
  for (const char* name : {"allDay", "busy", "reminder", "zone", "attendees", "sensitivity"}) {
    EXPECT_THAT(run.Trace(), HasSubstr(std::string("wrong value, left out: ") + name));
  }

  run.folder.WriteWork("ItemProps.json",
                       R"({"status": "Completed", "percent": 100, "sensitivity": "Confidential",
                           "completed": "2024-03-14T08:00:00Z",
                           "reminderTime": "2024-03-11T06:00:00Z"})");
  ASSERT_EQ(run.Import(WellKnownFolderName::Tasks, Task(u"")), 1) << run.error;
  item = run.Last("tasks");
  EXPECT_EQ(FieldText(item, "Status"), "Completed");
  EXPECT_EQ(FieldText(item, "PercentComplete"), "100");
  EXPECT_THAT(FieldText(item, "CompleteDate"), HasSubstr("2024-03-14"));
  EXPECT_EQ(FieldText(item, "ReminderDueBy"), "2024-03-11T06:00:00Z");
  EXPECT_EQ(item.sensitivity, "Confidential");
}

// Above what its tagged fields say; what is wrong costs itself alone.
TEST(OtherItems, AContactHasAllThatThePropertiesSay) {
  ImportRun run(/*safe=*/true);
  run.folder.WriteWork("ContactPhoto.jpg", "\xFF\xD8\xFF");
  run.folder.WriteWork("ItemProps.json", R"({"sensitivity": "Private", "categories": ["A", "B"],
      "contact": {"displayName": "Ann Bell", "fileAs": "Bell, Ann", "givenName": "Ann",
        "middleName": "M", "surname": "Bell", "prefix": "Dr", "suffix": "Jr.", "nickname": "Annie",
        "company": "Port", "department": "Pilots", "jobTitle": "Pilot", "profession": "Sailor",
        "office": "Pier 3", "manager": "Bo", "assistant": "Cy", "spouse": "Dee",
        "businessHomePage": "http://w", "personalHomePage": "http://h",
        "birthday": "1980-03-05", "anniversary": "1604-02-29", "note": "one\ntwo",
        "emails": [{"address": "1@x", "name": "Ann Bell"}, {"address": "2@x"}, {"address": "3@x"},
                   {"address": "4@x"}],
        "ims": ["i1", "i2", "i3"], "children": ["Eve", "Fay"],
        "phones": [{"kind": "OtherTelephone", "number": "1"}, {"kind": "RadioPhone", "number": "2"},
                   {"kind": "AssistantPhone", "number": "3"}, {"kind": "Fax", "number": "4"}],
        "addresses": [{"kind": "Other", "street": "a\nb", "city": "Bremen", "state": "HB",
                       "postalCode": "1", "country": "DE"}]}})");
  ASSERT_EQ(run.Import(WellKnownFolderName::Contacts,
                       Contact(u"<ITEM>Namn : Other</ITEM><ITEM>Department : Docks</ITEM>")),
            1)
      << run.error;
  const mailbox::ItemInfo item = run.Last("contacts");
  const std::pair<const char*, const char*> texts[] = {
      {"DisplayName", "Ann Bell"},
      {"FileAs", "Bell, Ann"},
      {"GivenName", "Ann"},
      {"MiddleName", "M"},
      {"Surname", "Bell"},
      {"Generation", "Jr."},
      {"Nickname", "Annie"},
      {"CompanyName", "Port"},
      {"Department", "Pilots"},
      {"JobTitle", "Pilot"},
      {"Profession", "Sailor"},
      {"OfficeLocation", "Pier 3"},
      {"Manager", "Bo"},
      {"AssistantName", "Cy"},
      {"SpouseName", "Dee"},
      {"BusinessHomePage", "http://w"},
      {"Birthday", "1980-03-05T11:59:00Z"},
      {"WeddingAnniversary", "1604-02-29T11:59:00Z"}};
  for (const auto& [field, text] : texts) EXPECT_EQ(FieldText(item, field), text);
  EXPECT_EQ(PropertyText(item, "tag:0x3a45") + PropertyText(item, "tag:0x3a50"), "Drhttp://h");
  EXPECT_EQ(EntryText(item, "EmailAddresses", "EmailAddress1") +
                EntryText(item, "EmailAddresses", "EmailAddress3") +
                EntryText(item, "ImAddresses", "ImAddress3") +
                EntryText(item, "PhoneNumbers", "OtherTelephone") +
                EntryText(item, "PhoneNumbers", "RadioPhone") +
                EntryText(item, "PhoneNumbers", "AssistantPhone"),
            "1@x3@xi3123");
  EXPECT_THAT(mailbox::FindField(item, "Children")->xml, HasSubstr("<t:String>Fay<"));
  EXPECT_THAT(mailbox::FindField(item, "PhysicalAddresses")->xml,
              AllOf(HasSubstr("Key=\"Other\""), HasSubstr("<t:PostalCode>1<")));
  EXPECT_EQ(item.body, "one\r\ntwo");
  EXPECT_EQ(item.sensitivity, "Private");
  EXPECT_THAT(item.categories, ElementsAre("A", "B"));
  EXPECT_TRUE(run.Store().Attachments(item.id).at(0).isContactPhoto);
  EXPECT_THAT(run.Trace(), AllOf(HasSubstr("left out: emails"), HasSubstr("left out: phones")));
}

// A daily task repeats every day, and ends by field 5; one whose series fails is lost, unless safe.
TEST(OtherItems, ATaskWithABadSeriesIsLostOnlyWithoutTheSafeSwitch) {
  const SeriesRow rows[] = {
      {u"D,0;3;10;2024-03-13;2024-05-01;2024-04-01;",
       "Daily Interval 1; EndDate StartDate 2024-03-13 EndDate 2024-05-01",
       "Daily Interval 1; EndDate StartDate 2024-03-11 EndDate 2024-05-01"},
      {u"W,3;2;10;2024-03-13;2024-05-22;;",
       "Weekly Interval 2 DaysOfWeek Wednesday; EndDate StartDate 2024-03-13 EndDate 2024-05-22"},
      {u"W,3;2;10;2024-03-13;x;;", "lost",
       "Weekly Interval 2 DaysOfWeek Wednesday;"
       " Numbered StartDate 2024-03-13 NumberOfOccurrences 10"},
      {u"Q,1;1;1;2024-03-13;2024-03-13;;", "lost", "-"},
      {u"W,3;2;10;2024-03-13;2024-03-12;;", "refused", "-"},
      // What the service takes no number for.
      {u"W,1;99;1000;2024-03-11;;;", "lost",
       "Weekly Interval 99 DaysOfWeek Monday; EndDate StartDate 2024-03-11 EndDate 3919-09-01"},
      {u"D,0;1;2147483647;2024-03-11;;;", "lost", "Daily Interval 1; NoEnd StartDate 2024-03-11"},
      {u"M,15;100;3;2024-03-15;2054-03-15;;",
       "AbsoluteMonthly Interval 100 DayOfMonth 15;"
       " EndDate StartDate 2024-03-15 EndDate 2054-03-15",
       "-"},
      {u"", "-"},
  };
  for (const SeriesRow& row : rows) {
    for (const bool safe : {false, true}) {
      for (const bool formB : {false, true}) {
        SCOPED_TRACE(CString(row.text).ToUtf8() + (safe ? " safe" : "") + (formB ? " B" : " A"));
        ImportRun run(safe);
        const std::string& expected = row.Expected(safe);
        const bool isRefused = expected == "refused";  // by the server
        ASSERT_EQ(run.Import(WellKnownFolderName::Tasks, Task(row.text, formB)), isRefused ? 0 : 1);
        if (isRefused || expected == "lost") {
          EXPECT_THAT(run.Items(run.WellKnown("tasks")), IsEmpty());
          continue;
        }
        const mailbox::ItemInfo item = run.Last("tasks");
        const std::string series = SeriesOf(item);
        EXPECT_EQ(series.empty() ? "-" : series, expected);
        EXPECT_THAT(item.starts, HasSubstr("2024-03-11"));
        EXPECT_THAT(item.ends, HasSubstr("2024-03-15"));
        EXPECT_EQ(item.importance, "Low");  // the word, and not the number
        // The second of a form B with the same first line counts as known.
        ASSERT_EQ(run.Import(WellKnownFolderName::Tasks, Task(u"", formB)), 1);
        EXPECT_EQ(run.Items(run.WellKnown("tasks")).size(), formB ? 1u : 2u);
      }
    }
  }
}

// Without a start of its own, a daily one begins with field 4.
TEST(OtherItems, ADailyTaskWithoutAStartIsLostOnlyWithoutTheSafeSwitch) {
  std::u16string descriptor = Task(u"D,0;1;3;2024-03-13;;;");
  const std::u16string start = u"StartDate:2024-03-11";
  descriptor.replace(descriptor.find(start), start.size(), u"StartDate:x");
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    ASSERT_EQ(run.Import(WellKnownFolderName::Tasks, descriptor), 1);
    ASSERT_EQ(run.Items(run.WellKnown("tasks")).size(), safe ? 1u : 0u);
    if (safe) {
      EXPECT_EQ(SeriesOf(run.Last("tasks")),
                "Daily Interval 1; Numbered StartDate 2024-03-13 NumberOfOccurrences 3");
    }
  }
}

TEST(OtherItems, AQuoteInTheFolderMakesATaskKnownOnlyWithoutTheSafeSwitch) {
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    run.handler.SetFolderName(u"Ann's\\");
    EXPECT_EQ(run.Import(WellKnownFolderName::Tasks, Task(u"", /*formB=*/true)), 1);
    EXPECT_EQ(run.Items(run.WellKnown("tasks")).size(), safe ? 1u : 0u);
  }
}

// Where the value of one label is found in the mailbox: a field, and the key of its entry or the
// element in it.
struct LabelRow {
  std::vector<const char16_t*> labels;
  std::string field;
  std::string key;
};

TEST(OtherItems, EveryLabelOfAContactArrivesInItsProperty) {
  const LabelRow rows[] = {
      {{u"Complete Name", u"Namn"}, "DisplayName", ""},
      {{u"Complete Name", u"Namn", u"File As 1", u"File As 2"}, "FileAs", ""},
      {{u"E-Mail Address", u"E-postadress"}, "EmailAddresses", "EmailAddress1"},
      {{u"Email Address 2"}, "EmailAddresses", "EmailAddress2"},
      {{u"Email Address 3"}, "EmailAddresses", "EmailAddress3"},
      {{u"Comments"}, "body", ""},
      {{u"First Name", u"F\u00F6rnamn"}, "GivenName", ""},
      {{u"Last Name", u"Efternamn"}, "Surname", ""},
      {{u"Office Phone Number", u"Phone Number Busness"}, "PhoneNumbers", "BusinessPhone"},
      {{u"Home Phone Number"}, "PhoneNumbers", "HomePhone"},
      {{u"Organization"}, "CompanyName", ""},
      {{u"Title"}, "JobTitle", ""},
      {{u"Department"}, "Department", ""},
      {{u"Mailstop"}, "OfficeLocation", ""},
      {{u"Phone Number"}, "PhoneNumbers", "CompanyMainPhone"},
      {{u"Cellular Phone Number"}, "PhoneNumbers", "MobilePhone"},
      {{u"Im Address"}, "ImAddresses", "ImAddress1"},
      {{u"Pager Number"}, "PhoneNumbers", "Pager"},
      {{u"Phone Number Callback"}, "PhoneNumbers", "Callback"},
      {{u"Phone Number Busness 2"}, "PhoneNumbers", "BusinessPhone2"},
      {{u"Phone Number Home 2"}, "PhoneNumbers", "HomePhone2"},
      {{u"Fax Number"}, "PhoneNumbers", "HomeFax"},
      {{u"Phone Number Other fax"}, "PhoneNumbers", "OtherFax"},
      {{u"Phone Number Telex"}, "PhoneNumbers", "Telex"},
      {{u"Phone Number Isdn"}, "PhoneNumbers", "Isdn"},
      {{u"Phone Number Car"}, "PhoneNumbers", "CarPhone"},
      {{u"Phone Number Tty/dd"}, "PhoneNumbers", "TtyTddPhone"},
      {{u"Phone Number Busness fax"}, "PhoneNumbers", "BusinessFax"},
      {{u"Birthday"}, "property", "named:Address:id:14914"},
      {{u"Prefix"}, "property", "named:Address:id:14917"},
      {{u"Personal Web Site"}, "property", "named:Address:id:14928"},
      {{u"Suffix"}, "property", "named:Address:id:14853"},
      {{u"Office Web Site"}, "BusinessHomePage", ""},
      {{u"Assistent Name"}, "AssistantName", ""},
      {{u"Manager's Name"}, "Manager", ""},
      {{u"Categories"}, "categories", ""},
  };
  ImportRun run;
  int value = 0;
  for (const LabelRow& row : rows) {
    for (const char16_t* label : row.labels) {
      SCOPED_TRACE(CString(label).ToUtf8());
      const std::string text = fmt::format("v{} : <b>@example.com", ++value);
      const CString field = CString(u"junk<ITEM>") + label + u" : " + CString::FromUtf8(text);
      ASSERT_EQ(run.Import(WellKnownFolderName::Contacts,
                           Contact(std::u16string(field.View()) + u"</ITEM>junk")),
                1);
      const mailbox::ItemInfo item = run.Last("contacts");
      const std::string arrived = row.field == "body"         ? item.body
                                  : row.field == "categories" ? item.categories.at(0)
                                  : row.field == "property"   ? PropertyText(item, row.key)
                                  : row.key.empty()           ? FieldText(item, row.field)
                                                              : EntryText(item, row.field, row.key);
      EXPECT_EQ(arrived, text);
    }
  }
  EXPECT_EQ(run.Items(run.WellKnown("contacts")).size(), static_cast<size_t>(value));
}

TEST(OtherItems, AnAddressOfAContactHasFivePartsEachClosed) {
  const struct {
    const char16_t* label;
    const char16_t* value;
    std::string expected;
    std::string safe = {};  // where it is another one
  } rows[] = {
      {u"BussinessAddress", u"Main St;Springfield;IL;62701;USA;",
       "Business: Street Main St City Springfield State IL CountryOrRegion USA PostalCode 62701"},
      {u"HomeAddress", u"Main St;;IL", "Home: Street Main St", "Home: Street Main St State IL"},
      {u"HomeAddress", u"", "Home:"},
      {u"BusinessAddress", u"Main St;a;b;c;d;", ""},
  };
  for (const auto& row : rows) {
    for (const bool safe : {false, true}) {
      ImportRun run(safe);
      ASSERT_EQ(
          run.Import(WellKnownFolderName::Contacts, Contact(std::u16string(u"<ITEM>") + row.label +
                                                            u" : " + row.value + u"</ITEM>")),
          1);
      const mailbox::ItemInfo item = run.Last("contacts");
      const mailbox::FieldTree tree(mailbox::FindField(item, "PhysicalAddresses"));
      std::string text;
      for (const pugi::xml_node entry : tree.Root().children()) {
        text += std::string(entry.attribute("Key").value()) + ":" + ValuesIn(entry);
      }
      EXPECT_EQ(text, safe && !row.safe.empty() ? row.safe : row.expected);
    }
  }
}

TEST(OtherItems, TaggedFieldsAreToldApartHoweverTheirTagsStand) {
  ImportRun run;
  run.Import(WellKnownFolderName::Contacts,
             Contact(u"<ITEM>Organization : a<ITEM>Title : b</ITEM><ITEM>no separator</ITEM>"
                     u"<ITEM>Namn : Ann</ITEM></ITEM><ITEM>File As 1 : B, Ann"));
  const mailbox::ItemInfo item = run.Last("contacts");
  EXPECT_EQ(FieldText(item, "CompanyName"), "aTitle : b");
  EXPECT_EQ(FieldText(item, "JobTitle"), "b");
  EXPECT_EQ(FieldText(item, "DisplayName"), "Ann");
  EXPECT_EQ(FieldText(item, "FileAs"), "Ann");  // as many items as there are ends
  EXPECT_EQ(run.handler.RemoveTag(u"a<ITEM>b</ITEM>c</ITEM>"), u"ab");
  EXPECT_EQ(run.handler.CutContactItem(u"<ITEM>a</ITEM><ITEM>b</ITEM>", 1), u"b");
  EXPECT_EQ(run.handler.CutContactItem(u"<ITEM>a</ITEM>", 1), u"");

  // The last word on a property counts, whichever label says it.
  const std::u16string name = u"<ITEM>Namn : Ann</ITEM>";
  const std::u16string fileAs = u"<ITEM>File As 2 : B, Ann</ITEM>";
  run.Import(WellKnownFolderName::Contacts, Contact(name + fileAs));
  EXPECT_EQ(FieldText(run.Last("contacts"), "FileAs"), "B, Ann");
  run.Import(WellKnownFolderName::Contacts, Contact(name + fileAs + name));
  EXPECT_EQ(FieldText(run.Last("contacts"), "FileAs"), "Ann");

  // A group's entry is a contact without any field.
  run.Import(WellKnownFolderName::Contacts,
             Contact(u"<ITEM>A Child Group Name : x</ITEM><ITEM>Namn : Ann</ITEM>"));
  EXPECT_EQ(FieldText(run.Last("contacts"), "DisplayName"), "");
  EXPECT_THAT(run.Trace(), HasSubstr("SaveContactItem_GetIfGroup)\r\n TYPE_CONTACT OUT   \r\n"));
}

TEST(OtherItems, TheMembersOfAListAreDividedAsTheSwitchSays) {
  const struct {
    const char16_t* members;
    std::vector<std::string> expected;
    std::vector<std::string> safe;
  } rows[] = {
      {u"", {}, {}},
      {u"a@x.com", {"a@x.com"}, {"a@x.com"}},
      {u"a@x.com;b@x.com", {"a@x.com", "b@x.com"}, {"a@x.com", "b@x.com"}},
      {u"long@example.com;b@x.com;c@x.com",
       {"long@example.com"},
       {"long@example.com", "b@x.com", "c@x.com"}},
  };
  for (const auto& row : rows) {
    for (const bool safe : {false, true}) {
      ImportRun run(safe);
      ASSERT_EQ(run.Import(WellKnownFolderName::Contacts, List(row.members)), 1);
      const mailbox::ItemInfo item = run.Last("contacts");
      EXPECT_EQ(item.element, "DistributionList");
      EXPECT_EQ(FieldText(item, "DisplayName"), "Crew");
      EXPECT_EQ(item.body, "Who sails");
      EXPECT_EQ(PeopleIn(item, "Members"), safe ? row.safe : row.expected);
    }
  }
  // Of ten thousand, nobody is lost.
  ImportRun run(/*safe=*/true);
  std::u16string members;
  std::vector<std::string> all;
  for (int n = 0; n < 10000; ++n) {
    all.push_back(fmt::format("n{}@example.com", n));
    members += CString::FromUtf8(all.back() + ";").View();
  }
  ASSERT_EQ(run.Import(WellKnownFolderName::Contacts, List(members)), 1);
  EXPECT_EQ(PeopleIn(run.Last("contacts"), "Members"), all);
}

// ---- The ladders ----

TEST(OtherItems, AnAppointmentIsSavedTwiceAndGetsItsAttendees) {
  const std::u16string descriptor = Calendar(u"", false, u"b@x.com;c@x.com;");
  const struct {
    std::vector<std::string> faults;
    bool safe;
    std::vector<std::string> attendees;
  } rows[] = {
      {{}, false, {}},
      {{"ErrorInternalServerError:1"}, false, {"b@x.com", "c@x.com", "c@x.com"}},
      {{}, true, {"b@x.com", "c@x.com"}},
      {{"ErrorItemSave:1"}, true, {"b@x.com", "c@x.com"}},
  };
  for (const auto& row : rows) {
    ImportRun run(row.safe, row.faults);
    ASSERT_EQ(run.Import(WellKnownFolderName::Calendar, descriptor), 1);
    EXPECT_EQ(run.error, "");
    ASSERT_EQ(run.Items(run.WellKnown("calendar")).size(), 1u);
    EXPECT_EQ(PeopleIn(run.Last("calendar"), "RequiredAttendees"), row.attendees);
  }
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    EXPECT_EQ(run.Import(WellKnownFolderName::Inbox, descriptor), 0);  // the wrong folder
    EXPECT_THAT(run.error, HasSubstr("calendar"));
    EXPECT_EQ(test_support::ReadAll(run.folder.File("run.txt")), run.error + "\r\r\n");
    EXPECT_THAT(run.Trace(), HasSubstr("catch  try TYPE_CALENDER Save( in \r\n"
                                       "  catch(Exception^ ex) \r\nError : " +
                                       run.error));
  }
}

// A save without an answer must not become two items.
TEST(OtherItems, SafeDoesNotSendAgainWhatMayHaveArrived) {
  const struct {
    WellKnownFolderName target;
    const char* folder;
    std::u16string descriptor;
  } rows[] = {
      {WellKnownFolderName::Calendar, "calendar", Calendar(u"")},
      {WellKnownFolderName::Tasks, "tasks", Task(u"")},
      {WellKnownFolderName::Contacts, "contacts", Contact(u"<ITEM>Namn : Ann</ITEM>")},
      {WellKnownFolderName::Contacts, "contacts", List(u"a@x.com")},
  };
  for (const auto& row : rows) {
    ImportRun run(/*safe=*/true, {"drop-saved:1"});
    EXPECT_EQ(run.Import(row.target, row.descriptor), 0);
    EXPECT_THAT(run.error, HasSubstr("may have carried the request out"));
    EXPECT_EQ(run.Items(run.WellKnown(row.folder)).size(), 1u);
    EXPECT_EQ(run.Below(run.WellKnown("msgfolderroot"), "Task"), 0);
    EXPECT_EQ(run.Below(run.WellKnown("contacts"), "Other Contacts"), 0);
  }
}

TEST(OtherItems, ATaskThatIsRefusedGoesToAFolderOfItsOwn) {
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    EXPECT_EQ(run.Import(WellKnownFolderName::Inbox, Task(u"", /*formB=*/true)), 1);
    EXPECT_EQ(run.Items(run.Below(run.WellKnown("msgfolderroot"), "Task")).size(), 1u);
    EXPECT_EQ(run.handler.m_objWebAccess.m_fldCurrent.ToString(),
              ews::FolderId(WellKnownFolderName::Inbox).ToString());
    EXPECT_THAT(run.Trace(), HasSubstr(" task Save in   \r\n catch task Save in   \r\n"
                                       " catch task Save out   \r\n"));
    EXPECT_TRUE(run.handler.CheckIfDublicateItemPresent(u"StartDate:2024-03-11"));

    ImportRun refused(safe, {"ErrorQuotaExceeded:2"});
    EXPECT_EQ(refused.Import(WellKnownFolderName::Tasks, Task(u"", /*formB=*/true)), 0);
    EXPECT_THAT(refused.error, Not(IsEmpty()));
    EXPECT_THAT(refused.Trace(),
                HasSubstr(" catch Exception^ ex 2 task Save out  : " + refused.error));
    EXPECT_FALSE(refused.handler.CheckIfDublicateItemPresent(u"StartDate:2024-03-11"));

    // A folder that cannot be made fails the save into it, or with the switch tells itself.
    ImportRun homeless(safe, {"ErrorQuotaExceeded:1", "CreateFolder:ErrorAccessDenied:9"});
    EXPECT_EQ(homeless.Import(WellKnownFolderName::Tasks, Task(u"", /*formB=*/true)), 0);
    EXPECT_THAT(homeless.error, Not(IsEmpty()));
    EXPECT_THAT(homeless.Trace(), HasSubstr((safe ? " catch Exception^ ex task Save out  : "
                                                  : " catch Exception^ ex 2 task Save out  : ") +
                                            homeless.error));
    EXPECT_EQ(homeless.handler.m_objWebAccess.m_fldCurrent.ToString(),
              ews::FolderId(WellKnownFolderName::Tasks).ToString());
    EXPECT_FALSE(homeless.handler.CheckIfDublicateItemPresent(u"StartDate:2024-03-11"));
  }
}

TEST(OtherItems, AContactThatIsRefusedGoesBelowTheOtherContacts) {
  const std::u16string fields = u"<ITEM>Namn : Ann</ITEM>";
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    const std::int64_t contacts = run.WellKnown("contacts");
    EXPECT_EQ(run.Import(WellKnownFolderName::Inbox, Contact(fields, u"Team")), 1);
    const std::int64_t others = run.Below(contacts, "Other Contacts");
    EXPECT_EQ(run.Store().Folder(others)->folderClass, safe ? "IPF.Contact" : "IPF.Note");
    EXPECT_EQ(FieldText(run.Last(run.Below(others, "Team")), "DisplayName"), "Ann");
    EXPECT_EQ(run.handler.m_objWebAccess.m_fldCurrent.ToString(),
              ews::FolderId(WellKnownFolderName::Inbox).ToString());

    ImportRun plain(safe);
    EXPECT_EQ(plain.Import(WellKnownFolderName::Inbox, Contact(fields)), 1);
    EXPECT_EQ(plain.Items(plain.Below(plain.WellKnown("contacts"), "Other Contacts")).size(), 1u);

    ImportRun refused(safe, {"ErrorQuotaExceeded:2"});
    EXPECT_EQ(refused.Import(WellKnownFolderName::Contacts, Contact(fields)), 0);
    EXPECT_THAT(refused.error, Not(IsEmpty()));
    EXPECT_THAT(refused.Trace(), HasSubstr(" TYPE_CONTACT IN SAVE CATCH "));
  }
}

TEST(OtherItems, AListThatIsRefusedFailsOnlyWithTheSafeSwitch) {
  for (const bool safe : {false, true}) {
    ImportRun run(safe);
    EXPECT_EQ(run.Import(WellKnownFolderName::Inbox, List(u"a@x.com")), safe ? 0 : 1);
    EXPECT_EQ(run.error.empty(), !safe);
    EXPECT_THAT(run.Items(run.WellKnown("inbox")), IsEmpty());
  }
}

// A fallback that cannot be made is not what the next item waits for.
TEST(OtherItems, AFolderThatCouldNotBeMadeForOneItemIsForgotten) {
  ImportRun run(/*safe=*/true, {"soap:ErrorAccessDenied:3"});
  EXPECT_EQ(run.Import(WellKnownFolderName::Contacts, Contact(u"<ITEM>Namn : Ann</ITEM>")), 0);
  EXPECT_THAT(run.error, HasSubstr("The folder could not be made"));
  EXPECT_EQ(run.Import(WellKnownFolderName::Contacts, Contact(u"<ITEM>Namn : Bob</ITEM>")), 1);
  EXPECT_EQ(run.Items(run.WellKnown("contacts")).size(), 1u);
}

}  // namespace
