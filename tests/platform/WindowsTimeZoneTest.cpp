#include "platform/WindowsTimeZone.h"

#include <gmock/gmock.h>

#include "tests/support/TimeZone.h"

namespace {

std::string NameIn(const char* zone) {
  const test_support::TimeZone now(zone);
  return platform::WindowsTimeZoneName();
}

TEST(WindowsTimeZone, ZonesHaveTheirWindowsNames) {
  EXPECT_EQ(NameIn("Europe/Berlin"), "W. Europe Standard Time");
  EXPECT_EQ(NameIn(":Europe/Berlin"), "W. Europe Standard Time");
  EXPECT_EQ(NameIn("America/New_York"), "Eastern Standard Time");
  EXPECT_EQ(NameIn("US/Pacific"), "Pacific Standard Time");
  EXPECT_EQ(NameIn("Asia/Kolkata"), "India Standard Time");
  EXPECT_EQ(NameIn("Australia/Adelaide"), "Cen. Australia Standard Time");
  EXPECT_EQ(NameIn("UTC"), "UTC");
  EXPECT_EQ(NameIn(""), "UTC");
}

// The system reads such a text as a rule, and other libraries not at all.
TEST(WindowsTimeZone, ARuleHasTheNameOfAZoneThatKeepsIt) {
  EXPECT_THAT(NameIn("CET-1CEST,M3.5.0,M10.5.0/3"),
              testing::AnyOf("W. Europe Standard Time", "Central Europe Standard Time",
                             "Romance Standard Time", "Central European Standard Time"));
  EXPECT_THAT(NameIn("EST5EDT,M3.2.0,M11.1.0"),
              testing::AnyOf("Eastern Standard Time", "US Eastern Standard Time"));
  EXPECT_EQ(NameIn("XYZ-5:45"), "Nepal Standard Time");
}

TEST(WindowsTimeZone, AClockThatNobodyKeepsHasNoName) {
  EXPECT_EQ(NameIn("XYZ-3:07"), "");
  EXPECT_EQ(NameIn("CET-1CEST,M4.5.0,M10.5.0/3"), "");
}

}  // namespace
