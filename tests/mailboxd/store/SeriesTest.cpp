#include "mailboxd/store/Series.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/ItemFields.h"

namespace {

using mailbox::Series;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Tag(const std::string& name, const std::string& content) {
  return "<t:" + name + ">" + content + "</t:" + name + ">";
}
std::string Daily(const std::string& interval) {
  return Tag("DailyRecurrence", Tag("Interval", interval));
}
std::string Weekly(int interval, const std::string& days, const std::string& first = "") {
  return Tag("WeeklyRecurrence", Tag("Interval", std::to_string(interval)) +
                                     Tag("DaysOfWeek", days) +
                                     (first.empty() ? "" : Tag("FirstDayOfWeek", first)));
}
std::string Monthly(int interval, int day) {
  return Tag("AbsoluteMonthlyRecurrence",
             Tag("Interval", std::to_string(interval)) + Tag("DayOfMonth", std::to_string(day)));
}
std::string Place(const std::string& place, const std::string& days) {
  return Tag("DaysOfWeek", days) + Tag("DayOfWeekIndex", place);
}
std::string MonthlyOn(const std::string& place, const std::string& days) {
  return Tag("RelativeMonthlyRecurrence", Tag("Interval", "1") + Place(place, days));
}
std::string Yearly(int day, const std::string& month) {
  return Tag("AbsoluteYearlyRecurrence",
             Tag("DayOfMonth", std::to_string(day)) + Tag("Month", month));
}
std::string Endless(const std::string& from) {
  return Tag("NoEndRecurrence", Tag("StartDate", from));
}
std::string Until(const std::string& from, const std::string& last) {
  return Tag("EndDateRecurrence", Tag("StartDate", from) + Tag("EndDate", last));
}
std::string Times(const std::string& from, const std::string& count) {
  return Tag("NumberedRecurrence", Tag("StartDate", from) + Tag("NumberOfOccurrences", count));
}

mailbox::ItemInfo Entry(const std::string& starts, const std::string& recurrence,
                        const std::string& zone = "") {
  mailbox::ItemInfo item;
  item.element = "CalendarItem";
  item.starts = starts;
  item.fields.push_back({"Recurrence", Tag("Recurrence", recurrence)});
  if (!zone.empty()) {
    item.fields.push_back({"StartTimeZone", "<t:StartTimeZone Id=\"" + zone + "\"/>"});
  }
  return item;
}

// The starts from one month's beginning to another's, as "03-04 09:00".
std::vector<std::string> In(const std::string& from, const std::string& to,
                            const mailbox::ItemInfo& item) {
  const auto series = Series::Of(item);
  if (!series) return {"no series"};
  std::vector<std::string> texts;
  for (const Series::Occurrence& one :
       series->Between(*mailbox::ReadSeconds(from + "-01T00:00:00Z"),
                       *mailbox::ReadSeconds(to + "-01T00:00:00Z"))) {
    EXPECT_EQ(series->StartOf(one.number), one.start);
    const std::string text = mailbox::FormatDateTime(one.start);
    texts.push_back(text.substr(5, 5) + " " + text.substr(11, 5));
  }
  return texts;
}
// In UTC at ten, the days of March 2024: "4".
std::vector<int> March(const std::string& from, const std::string& recurrence) {
  std::vector<int> days;
  for (const std::string& text : In("2024-03", "2024-04", Entry(from + "T10:00:00Z", recurrence))) {
    EXPECT_EQ(text.substr(5), " 10:00");
    days.push_back(std::stoi(text.substr(3, 2)));
  }
  return days;
}

TEST(Series, DaysAndWeeksAreCountedFromTheFirst) {
  EXPECT_THAT(March("2024-02-27", Daily("3") + Endless("2024-02-27")),
              ElementsAre(1, 4, 7, 10, 13, 16, 19, 22, 25, 28, 31));
  EXPECT_THAT(March("2024-03-01", Daily("1") + Until("2024-03-01", "2024-03-03+01:00")),
              ElementsAre(1, 2, 3));
  EXPECT_THAT(March("2024-02-28", Daily("2") + Times("2024-02-28", "3")), ElementsAre(1, 3));
  EXPECT_THAT(March("2024-03-04", Weekly(2, "Monday Friday") + Endless("2024-03-04")),
              ElementsAre(4, 8, 18, 22));
  // It begins within its week, whose days before that are no occurrences.
  EXPECT_THAT(March("2024-03-08", Weekly(2, "Monday Friday") + Times("2024-03-06", "3")),
              ElementsAre(8, 18, 22));
  EXPECT_THAT(March("2024-03-08", Weekly(1, "Weekday") + Times("2024-03-07", "4")),
              ElementsAre(7, 8, 11, 12));
  // The week begins on Sunday unless the pattern says otherwise.
  const std::string from = Endless("2024-03-04");
  EXPECT_THAT(March("2024-03-04", Weekly(2, "Sunday Monday") + from), ElementsAre(4, 17, 18, 31));
  EXPECT_THAT(March("2024-03-04", Weekly(2, "Sunday Monday", "Monday") + from),
              ElementsAre(4, 10, 18, 24));
}

TEST(Series, MonthsAndYearsHaveOneDayEach) {
  const auto year = [](const std::string& from, const std::string& recurrence) {
    return In("2024-01", "2026-01", Entry(from + "T10:00:00Z", recurrence));
  };
  // The last day of a month that is too short for it.
  EXPECT_THAT(year("2024-01-31", Monthly(1, 31) + Times("2024-01-31", "4")),
              ElementsAre("01-31 10:00", "02-29 10:00", "03-31 10:00", "04-30 10:00"));
  // Its day is over in the month that it begins in.
  EXPECT_THAT(year("2024-03-05", Monthly(2, 5) + Times("2024-01-10", "2")),
              ElementsAre("03-05 10:00", "05-05 10:00"));
  EXPECT_THAT(year("2024-02-29", Yearly(29, "February") + Endless("2024-02-29")),
              ElementsAre("02-29 10:00", "02-28 10:00"));
  EXPECT_THAT(year("2025-01-10", Yearly(10, "January") + Times("2024-03-01", "1")),
              ElementsAre("01-10 10:00"));
  EXPECT_THAT(year("2024-11-28", Tag("RelativeYearlyRecurrence",
                                     Place("Fourth", "Thursday") + Tag("Month", "November")) +
                                     Endless("2024-01-01")),
              ElementsAre("11-28 10:00", "11-27 10:00"));
  const struct {
    const char* place;
    const char* days;
    int day;
  } rows[] = {{"Last", "Friday", 29},     {"Third", "Tuesday", 19}, {"Second", "Weekday", 4},
              {"First", "WeekendDay", 2}, {"Last", "Day", 31},      {"Fourth", "Sunday", 24}};
  for (const auto& row : rows) {
    EXPECT_THAT(March("2024-03-01", MonthlyOn(row.place, row.days) + Endless("2024-01-01")),
                ElementsAre(row.day))
        << row.place << row.days;
  }
}

TEST(Series, KeepsItsHourAndItsDaysInItsOwnZone) {
  const std::string mondays = Weekly(1, "Monday") + Endless("2024-03-18+01:00");
  EXPECT_THAT(
      In("2024-03", "2024-05", Entry("2024-03-18T09:00:00Z", mondays, "W. Europe Standard Time")),
      ElementsAre("03-18 09:00", "03-25 09:00", "04-01 08:00", "04-08 08:00", "04-15 08:00",
                  "04-22 08:00", "04-29 08:00"));
  // Monday evening in New York, Tuesday in UTC; the last of March is one of April here.
  const std::string evenings = Weekly(1, "Monday") + Endless("2024-03-04-05:00");
  const std::string first = "2024-03-05T01:00:00Z";
  EXPECT_THAT(In("2024-03", "2024-04", Entry(first, evenings, "Eastern Standard Time")),
              ElementsAre("03-05 01:00", "03-12 00:00", "03-19 00:00", "03-26 00:00"));
  // Of a zone that is not known, the offset at the beginning is.
  EXPECT_THAT(In("2024-03", "2024-04", Entry(first, evenings, "Nowhere Standard Time")),
              ElementsAre("03-05 01:00", "03-12 01:00", "03-19 01:00", "03-26 01:00"));
  const mailbox::ItemInfo leap =
      Entry("2024-03-01T01:00:00Z", Daily("1") + Times("2024-02-29-05:00", "1"));
  EXPECT_THAT(In("2024-02", "2024-03", leap), IsEmpty());
  EXPECT_THAT(In("2024-03", "2024-04", leap), ElementsAre("03-01 01:00"));
  // The zone counts, whatever offset its dates are written with.
  EXPECT_THAT(In("2024-05", "2024-06",
                 Entry("2024-05-01T22:00:00Z", Daily("1") + Times("2024-05-01+05:00", "1"), "UTC")),
              ElementsAre("05-01 22:00"));
}

TEST(Series, AnyNumbersAreBorneAndWhatIsNoSeriesIsTold) {
  EXPECT_THAT(In("9999-11", "9999-12",
                 Entry("0001-01-01T00:00:00Z", Monthly(1, 30) + Endless("0001-01-01"))),
              ElementsAre("11-30 00:00"));
  const std::string from = Endless("2024-03-01");
  for (const char* const bad : {"0", "-1", "x", "", "99999999999999999999"}) {
    EXPECT_THAT(In("2024-03", "2024-04", Entry("2024-03-01T10:00:00Z", Daily(bad) + from)),
                ElementsAre("no series"))
        << bad;
  }
  EXPECT_THAT(March("2024-03-01", Daily("9223372036854775807") + from), ElementsAre(1));
  EXPECT_THAT(March("2024-03-01", Daily("1") + Times("2024-03-01", "-7")), IsEmpty());
  EXPECT_THAT(March("2024-03-30", Daily("1") + Endless("no day")), ElementsAre(30, 31));
  for (const std::string& bad :
       {Weekly(1, "Someday") + from, MonthlyOn("First", "") + from, Yearly(1, "Smarch") + from,
        Tag("DailyRegeneration", Tag("Interval", "1")) + from, Daily("1"), std::string()}) {
    EXPECT_FALSE(Series::Of(Entry("2024-03-01T10:00:00Z", bad))) << bad;
  }
  EXPECT_FALSE(Series::Of(Entry("", Daily("1") + from)));
  EXPECT_FALSE(Series::Of(mailbox::ItemInfo()));
}

}  // namespace
