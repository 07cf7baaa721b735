#include "client/run/MailDate.h"

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "client/run/ReceivedTime.h"
#include "mime/MailHeader.h"
#include "mime/header/MailDate.h"

namespace client {
namespace {

struct DateCase {
  const char* text;
  std::int64_t seconds;
};

TEST(MailDate, ReadsWhatMailersWrite) {
  const DateCase cases[] = {
      {"Mon, 4 Mar 2024 08:12:41 +0100", 1709536361},
      {"4 Mar 2024 07:12:41 GMT", 1709536361},
      {"Mon,4 Mar 2024 02:12:41 EST", 1709536361},
      {"Mon, 4 Mar 2024 07:12:41 +0000 (UTC (so they say))", 1709536361},
      {"Mon, 04 March 2024 07:12:41", 1709536361},
      {"4 Mar 24 07:12 Z", 1709536320},
      {"29 Feb 24 22:05 EST", 1709262300},
      {"Sat, 1 Jan 00 00:00:00 +0000", 946684800},
      {"1 Jan 70 00:00:00 +0000", 0},
      {"Wed, 31 Dec 1969 23:59:59 -0000", -1},
      {"31 Dec 2016 23:59:60 +0000", 1483228799},
      {" \t Tue,  11 Jun 2024\r\n 09:47 +0200", 1718092020},
      {"4 Mar 2024 24:00:00 +0000", 1709596800},
      {"\"Mon, 4 Mar 2024 08:12:41.25 +0100\" W. Europe", 1709536361},
      // zones
      {"4 Mar 2024 08:12:41 +01:00", 1709536361},
      {"4 Mar 2024 08:12:41 GMT+0100", 1709536361},
      {"4 Mar 2024 08:12:41 UTC+01:00", 1709536361},
      {"4 Mar 2024 08:12:41 + 0100.", 1709536361},
      {"4 Mar 2024 08:12:41 0100", 1709536361},
      {"4 Mar 2024 08:12:41 +100", 1709536361},
      {"4 Mar 2024 03:42:41 -0330 (NST)", 1709536361},
      {"4 Mar 2024 08:12:41 CET", 1709536361},
      {"4 Mar 2024 09:12:41 MESZ", 1709536361},
      {"4 Mar 2024 08:12:41 GMT +0100", 1709536361},
      {"4 Mar 2024 08:12:41 AM +0100", 1709536361},
      {"4 Mar 2024 08:12:41PM +0100", 1709579561},
      {"4 Mar 2024 12:12:41 am +0000", 1709511161},
      // orders and spellings
      {"Mon Mar  4 07:12:41 2024", 1709536361},
      {"Mon Mar  4 02:12:41 EST 2024", 1709536361},
      {"Mon Mar  4 08:12:41 2024 +0100", 1709536361},
      {"Mon, Mar 4, 2024 08:12:41 +0100", 1709536361},
      {"Monday, 04-Mar-24 07:12:41 GMT", 1709536361},
      {"2024-03-04 08:12:41 +0100", 1709536361},
      {"2024-03-04T08:12:41.5+01:00", 1709536361},
      {"2024-03-04T07:12:41Z", 1709536361},
      {"Mo, 4. M\xC3\xA4rz 2024 08.12.41 +0100", 1709536361},
      {"mar., 05 mars 2024 07:12:41 GMT", 1709622761},
      {"Di, 04.03.2024 07:12:41", 1709536361},
      {"Tue, 05 Mar 19102 10:20:30 +0100", 1015320030},
  };
  for (const DateCase& c : cases) {
    const auto date = mail::parseMailDate(c.text);
    ASSERT_TRUE(date.has_value()) << c.text;
    EXPECT_EQ(*date, c.seconds) << c.text;
  }
}

TEST(MailDate, RefusesWhatIsNoDate) {
  const char* const cases[] = {"",
                               "yesterday",
                               "30 Feb 2024 10:00:00 +0000",
                               "29 Feb 2023 10:00:00 +0000",
                               "4 Mar 2024",
                               "4 Mar 2024 24:00:01 +0000",
                               "4 Mar 2024 10:60 +0000",
                               "4 Mar 2024 10:00:00:00 +0000",
                               "0 Mar 2024 10:00:00 +0000",
                               "4 Foo 2024 10:00:00 +0000",
                               "4 Mar 1066 10:00:00 +0000",
                               "2024-13-04T07:12:41Z",
                               "04/03/2024 07:12:41",
                               "4t10:00:00 Mar 2024",
                               "2024-03-04",
                               "4 Mar 2024 10:00 11:00",
                               "((((((((((4 Mar 2024 10:00:00 +0000"};
  for (const char* text : cases) EXPECT_FALSE(mail::parseMailDate(text).has_value()) << text;
}

TEST(MailDate, TakesLinearTimeOnLongText) {
  EXPECT_FALSE(mail::parseMailDate(std::string(5'000'000, '(')).has_value());
  std::string words;
  for (int i = 0; i < 1'000'000; ++i) words += "a ";
  EXPECT_FALSE(mail::parseMailDate(words).has_value());
}

TEST(MailDate, IsWrittenInLocalTimeOfTheZone) {
  const char* before = std::getenv("TZ");
  const std::string saved = before ? before : "";
  setenv("TZ", "Europe/Oslo", 1);
  tzset();
  EXPECT_EQ(DescriptorDate(1711883100), "2024-03-31 13:05:00");  // in summer time
  EXPECT_EQ(DescriptorDate(1709536361), "2024-03-04 08:12:41");
  if (before) {
    setenv("TZ", saved.c_str(), 1);
  } else {
    unsetenv("TZ");
  }
  tzset();
}

TEST(ReceivedTime, IsTheFirstThatCanBe) {
  constexpr std::int64_t kNow = 1709536361;
  const std::string received = "Received: from a (b; c) by d;\r\n Mon, 4 Mar 2024 07:12:40 GMT\r\n";
  const struct {
    std::string header;
    std::optional<std::int64_t> ofStore;
    std::optional<std::int64_t> time;
  } rows[] = {
      {received + "Received: by x; 1 Mar 2024 00:00:00 GMT\r\nDate: 1 Mar 2024 00:00:00 GMT\r\n", 5,
       kNow - 1},
      {"Received: from a by d\r\nDate: 4 Mar 2024 07:12:39 GMT\r\n", kNow - 5, kNow - 5},
      {"Received: from a by d\r\nReceived: by c; soon\r\n" + received +
           "Received: by x; 1 Mar 2024 "
           "00:00:00 GMT\r\n",
       kNow - 5, kNow - 1},
      {"Received: by d; 4 Mar 2034 07:12:40 GMT\r\n", 946684800, 946684800},
      {"Date: 4 Mar 2024 07:12:39 GMT\r\n", kNow + 1, kNow - 2},
      {"Date: 4 Mar 2024 07:12:39 GMT\r\n", std::nullopt, kNow - 2},
      {"Date: 31 Dec 1979 23:59:59 GMT\r\n", std::nullopt, std::nullopt},
      {"Date: 4 Mar 2024 07:12:42 GMT\r\n", -1, std::nullopt},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ReceivedTime(mail::MailHeader(row.header + "\r\nx"), row.ofStore, kNow), row.time)
        << row.header;
  }
}

}  // namespace
}  // namespace client
