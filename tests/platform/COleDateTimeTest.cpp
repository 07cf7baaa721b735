#include "platform/COleDateTime.h"

#include <gtest/gtest.h>

#include "tests/support/TimeZone.h"

namespace {

using test_support::TimeZone;

std::int64_t Utc(const COleDateTime& local) { return platform::LocalToUtcSeconds(local); }

TEST(COleDateTime, CountsDaysFromItsDayZero) {
  EXPECT_EQ(COleDateTime(1899, 12, 30, 0, 0, 0).Value(), 0.0);
  EXPECT_EQ(COleDateTime(1900, 1, 1, 18, 0, 0).Value(), 2.75);
  EXPECT_EQ(COleDateTime(1899, 12, 29, 6, 0, 0).Value(), -1.25);
  EXPECT_EQ(COleDateTime(2024, 2, 29, 0, 0, 0).Value(), 45351.0);
}

TEST(COleDateTime, EveryPartComesBack) {
  for (const int year : {100, 1582, 1899, 1900, 1970, 2000, 2024, 9999}) {
    for (int second = 0; second < 86400; second += 997) {
      const COleDateTime date(year, 3, 1, second / 3600, second / 60 % 60, second % 60);
      ASSERT_EQ(date.GetStatus(), COleDateTime::valid);
      ASSERT_EQ(date.GetYear(), year);
      ASSERT_EQ(date.GetMonth(), 3);
      ASSERT_EQ(date.GetDay(), 1);
      ASSERT_EQ(date.GetHour() * 3600 + date.GetMinute() * 60 + date.GetSecond(), second);
    }
  }
}

TEST(COleDateTime, WhatIsNoDateIsInvalid) {
  for (const COleDateTime& date :
       {COleDateTime(2023, 2, 29, 0, 0, 0), COleDateTime(99, 1, 1, 0, 0, 0),
        COleDateTime(10000, 1, 1, 0, 0, 0), COleDateTime(2024, 13, 1, 0, 0, 0),
        COleDateTime(2024, 4, 31, 0, 0, 0), COleDateTime(2024, 1, 1, 24, 0, 0),
        COleDateTime(2024, 1, 1, 0, 60, 0), COleDateTime(2024, 1, 1, 0, 0, 60)}) {
    EXPECT_EQ(date.GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(date.GetYear(), -1);
    EXPECT_EQ(date.GetDayOfWeek(), -1);
    EXPECT_EQ(date.Format(u"%Y"), u"");
  }
}

TEST(COleDateTime, FormatsInEnglish) {
  const COleDateTime date(2024, 3, 5, 7, 8, 9);
  EXPECT_EQ(date.Format(u"%A %a %B %b %d.%m.%Y %y %H:%M:%S 100%%"),
            u"Tuesday Tue March Mar 05.03.2024 24 07:08:09 100%");
  EXPECT_EQ(date.Format(u"%"), u"%");
}

TEST(LocalTime, ADoubledHourIsStandardTimeAndASkippedOneHasItsOffset) {
  const TimeZone zone("Europe/Berlin");
  EXPECT_EQ(Utc({2024, 7, 1, 12, 0, 0}), 1719828000);
  EXPECT_EQ(Utc({2024, 1, 1, 12, 0, 0}), 1704106800);
  EXPECT_EQ(Utc({2024, 10, 27, 2, 30, 0}), 1729992600);  // 01:30 UTC, the second one
  EXPECT_EQ(Utc({2024, 10, 27, 1, 59, 59}), 1729987199);
  EXPECT_EQ(Utc({2024, 3, 31, 2, 30, 0}), 1711848600);  // 01:30 UTC
  EXPECT_EQ(Utc({2024, 3, 31, 3, 0, 0}), 1711846800);
}

TEST(LocalTime, AZoneOfTheSouthAndOneWhoseSummerIsStandardReadAlike) {
  {
    const TimeZone zone("Australia/Sydney");
    EXPECT_EQ(Utc({2024, 4, 7, 2, 30, 0}), 1712421000);   // the second, at +10
    EXPECT_EQ(Utc({2024, 10, 6, 2, 30, 0}), 1728145800);  // skipped, at +10
  }
  const TimeZone zone("Europe/Dublin");
  EXPECT_EQ(Utc({2024, 10, 27, 1, 30, 0}), 1729992600);  // at +0
}

}  // namespace
