#include "ews/Recurrence.h"

#include <gmock/gmock.h>

#include "ews/SoapWriter.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/TimeZone.h"

namespace {

using ews::Recurrence;
using testing::HasSubstr;

const COleDateTime kStart(2024, 5, 31, 10, 0, 0);

std::string Written(const Recurrence& recurrence) {
  const test_support::TimeZone zone("UTC");
  ews::SoapWriter writer(ews::ExchangeVersion::Exchange2013_SP1, nullptr);
  recurrence.WriteTo(writer);
  ews::RequestBody body = writer.Finish();
  std::string all(body.Length(), '\0');
  body.Read(all);
  return all;
}

TEST(Recurrence, AnIntervalBelowOneIsOne) {
  for (const int interval : {-3, 0, 1}) {
    EXPECT_THAT(Written(Recurrence::DailyPattern(kStart, interval)),
                HasSubstr("<t:Interval>1</t:Interval>"));
  }
}

TEST(Recurrence, ANumberThatIsNoMonthIsTheMonthOfTheStart) {
  Recurrence yearly = Recurrence::YearlyPattern(kStart, static_cast<ews::Month>(0), 3);
  EXPECT_THAT(Written(yearly), HasSubstr("<t:Month>May</t:Month>"));
  yearly.SetStartDate(COleDateTime(2024, 12, 1, 0, 0, 0));
  EXPECT_THAT(Written(yearly), HasSubstr("<t:Month>December</t:Month>"));
  EXPECT_THAT(Written(Recurrence::YearlyPattern(kStart, static_cast<ews::Month>(13), 3)),
              HasSubstr("<t:Month>May</t:Month>"));
}

TEST(Recurrence, ADayOutsideOfEveryMonthIsRefused) {
  for (const int day : {0, 32}) {
    EXPECT_EQ(TextOf([&] { Recurrence::MonthlyPattern(kStart, 1, day); }),
              "DayOfMonth must be between 1 and 31.");
    EXPECT_THROW(Recurrence::YearlyPattern(kStart, ews::Month::May, day), ews::ServiceException);
  }
  EXPECT_THAT(Written(Recurrence::MonthlyPattern(kStart, 1, 31)), HasSubstr(">31<"));
}

TEST(Recurrence, TheLaterOfNumberAndEndWinsAndNoNumberIsNoEnd) {
  Recurrence daily = Recurrence::DailyPattern(kStart, 1);
  daily.SetNumberOfOccurrences(0);
  EXPECT_THAT(Written(daily), HasSubstr("<t:NoEndRecurrence><t:StartDate>2024-05-31Z<"));
  daily.SetEndDate(kStart);
  daily.SetNumberOfOccurrences(-1);
  EXPECT_THAT(Written(daily), HasSubstr("EndDateRecurrence"));
  daily.SetNumberOfOccurrences(2);
  EXPECT_FALSE(daily.EndDate());
  EXPECT_THAT(Written(daily), HasSubstr("NumberedRecurrence"));
}

TEST(Recurrence, AnInvalidDateChangesNothing) {
  Recurrence daily = Recurrence::DailyPattern(kStart, 1);
  daily.SetNumberOfOccurrences(2);
  EXPECT_THROW(daily.SetStartDate(COleDateTime::Invalid()), ews::ServiceException);
  EXPECT_THROW(daily.SetEndDate(COleDateTime::Invalid()), ews::ServiceException);
  EXPECT_EQ(daily.NumberOfOccurrences(), 2);
  EXPECT_EQ(daily.StartDate().GetMonth(), 5);
  EXPECT_THROW(Recurrence::DailyPattern(COleDateTime::Invalid(), 1), ews::ServiceException);
}

}  // namespace
