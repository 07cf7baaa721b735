#include "ews/WireTime.h"

#include <gtest/gtest.h>

#include "tests/support/TimeZone.h"

namespace {

using test_support::TimeZone;

TEST(UtcTime, IsWrittenWithAZ) {
  EXPECT_EQ(ews::FormatUtc({1709630100}), "2024-03-05T09:15:00Z");
  EXPECT_EQ(ews::FormatUtc({-1}), "1969-12-31T23:59:59Z");
  EXPECT_EQ(ews::FormatUtc({951782400}), "2000-02-29T00:00:00Z");
}

TEST(WireTime, AWallClockDateHasTheOffsetOfItsSeason) {
  const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const COleDateTime winter(2024, 3, 31, 1, 59, 59);
  EXPECT_EQ(ews::FormatUtc(winter), "2024-03-31T00:59:59Z");
  EXPECT_EQ(ews::FormatLocal(winter), "2024-03-31T01:59:59+01:00");
  const COleDateTime summer(2024, 3, 31, 3, 0, 0);
  EXPECT_EQ(ews::FormatUtc(summer), "2024-03-31T01:00:00Z");
  EXPECT_EQ(ews::FormatLocal(summer), "2024-03-31T03:00:00+02:00");
  EXPECT_EQ(ews::FormatLocalDay(summer), "2024-03-31+01:00");  // as at midnight
}

TEST(WireTime, AnHourThatIsSkippedOrOccursTwiceHasStandardTime) {
  const TimeZone zone("EST5EDT,M3.2.0,M11.1.0");
  EXPECT_EQ(ews::FormatLocal(COleDateTime(2024, 3, 10, 2, 30, 0)), "2024-03-10T02:30:00-05:00");
  EXPECT_EQ(ews::FormatUtc(COleDateTime(2024, 3, 10, 2, 30, 0)), "2024-03-10T07:30:00Z");
  EXPECT_EQ(ews::FormatLocal(COleDateTime(2024, 11, 3, 1, 30, 0)), "2024-11-03T01:30:00-05:00");
}

TEST(WireTime, OddOffsetsAreWrittenAsFarAsTheFormHasRoom) {
  const COleDateTime date(2024, 6, 1, 12, 0, 0);
  {
    const TimeZone zone("XYZ-5:45");
    EXPECT_EQ(ews::FormatLocal(date), "2024-06-01T12:00:00+05:45");
    EXPECT_EQ(ews::FormatLocalDay(date), "2024-06-01+05:45");
  }
  const TimeZone zone("XYZ-0:53:28");
  EXPECT_EQ(ews::FormatLocal(date), "2024-06-01T11:06:32Z");
  EXPECT_EQ(ews::FormatLocalDay(date), "2024-06-01");
}

TEST(WireTime, TheFirstAndTheLastYearHaveFourDigits) {
  const TimeZone zone("UTC");
  EXPECT_EQ(ews::FormatLocal(COleDateTime(100, 1, 1, 0, 0, 0)), "0100-01-01T00:00:00Z");
  EXPECT_EQ(ews::FormatUtc(COleDateTime(9999, 12, 31, 23, 59, 59)), "9999-12-31T23:59:59Z");
}

}  // namespace
