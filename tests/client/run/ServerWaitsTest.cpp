#include "client/run/ServerWaits.h"

#include <gtest/gtest.h>

namespace client {
namespace {

using std::chrono::seconds;

TEST(ServerWaits, AnOutageLastsFromItsFirstWaitToTheAnswer) {
  ServerWaits waits;
  const ServerWaits::Clock::time_point start{};
  waits.Note("[3/9] a.eml: sent", start);
  EXPECT_EQ(waits.Count(), 0u);
  const std::string wait =
      "mail.example.com does not answer (connection refused): next try in 1 s, for 30 min more";
  waits.Note(wait, start + seconds(10));
  waits.Note(wait, start + seconds(11));
  waits.Note("mail.example.com answers again after 4 s", start + seconds(14));
  waits.Note(wait, start + seconds(20));
  waits.End(start + seconds(25));  // given up
  waits.End(start + seconds(99));
  EXPECT_EQ(waits.Count(), 3u);
  EXPECT_EQ(waits.Time(), seconds(9));
  waits.Note("mail.example.com has been silent for 15 s; waiting up to 120 s", start + seconds(45));
  waits.End(start + seconds(50));
  waits.Add(seconds(3));
  EXPECT_EQ(waits.Count(), 5u);
  EXPECT_EQ(waits.Failures(), 3u);
  EXPECT_EQ(waits.Time(), seconds(32));
  waits.Note(wait, start + seconds(60));
  waits.Note("mail.example.com answers other requests, and not this one: no longer waited for",
             start + seconds(62));
  waits.End(start + seconds(99));
  EXPECT_EQ(waits.Time(), seconds(34));
}

}  // namespace
}  // namespace client
