#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/client/WideText.h"
#include "tests/support/FaultProxy.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// Migrations over a network that fails: each arrives whole, in one run.
namespace system_test {
namespace {

using test_support::FaultProxy;
using test_support::TemporaryFolder;

constexpr int kMails = 56;
constexpr int kPrepared = 4;
constexpr unsigned kHarmOneIn = 12;

void WritePrepared(const TemporaryFolder& folder, int number) {
  const std::string item = "source/Prepared/" + std::to_string(number);
  folder.Write(item + "/TextFile1.txt", client_test::Wide("body"));
  folder.Write(item + "/11comtextjj.t",
               client_test::Wide("EMAIL\r\n2\nCreation Date : 2024-02-29 10:00:00\r\n\r\nFrom : "
                                 "a@example.com\r\nTo : b@example.com\r\n\r\n\r\nSubject : item " +
                                 std::to_string(number) + "\r\nMessageID : \r\n"));
}

struct Arrival {
  Result result;
  Contents mails;
  std::map<std::string, int> prepared;  // by subject
  int harmed = 0;
};

// One run through a proxy of that seed. What arrived is read from the mailbox's own store.
Arrival RunThroughProxy(const TemporaryFolder& folder, unsigned seed) {
  Arrival arrival;
  {
    const Mailbox mailbox(folder.Path(), {});
    const FaultProxy proxy(std::stoi(mailbox.Port()), seed, kHarmOneIn);
    const auto arguments = ServerArguments(folder, proxy.Port(), {"--patience", "120"});
    arrival.result = RunProgram("tarny", arguments, folder.Path());
    for (const auto& [mishap, times] : proxy.Mishaps()) {
      if (mishap != test_support::Mishap::kNone) arrival.harmed += times;
    }
  }
  for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
    if (item.folder == "Prepared") {
      ++arrival.prepared[item.Property("tag:0x37")];
    } else {
      ++arrival.mails[{item.folder, item.mime}];
    }
  }
  return arrival;
}

void ExpectWhole(unsigned seed) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  const TemporaryFolder folder;
  const Contents expected = WriteMails(folder, kMails).expected;
  std::map<std::string, int> prepared;
  for (int i = 0; i < kPrepared; ++i) {
    WritePrepared(folder, i);
    prepared["item " + std::to_string(i)] = 1;
  }
  const Arrival arrival = RunThroughProxy(folder, seed);
  const nlohmann::json summary = SummaryOf(arrival.result);
  EXPECT_EQ(summary["failed"], 0) << arrival.result.err;
  EXPECT_GT(arrival.harmed, 0);
  EXPECT_EQ(arrival.prepared, prepared) << arrival.result.err;
  EXPECT_TRUE(arrival.mails == expected) << arrival.result.err;
}

class ThroughProxy : public testing::TestWithParam<unsigned> {};

TEST_P(ThroughProxy, EachItemArrivesOnceInTheFirstRun) { ExpectWhole(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Seeds, ThroughProxy, testing::Range(1u, 11u));
INSTANTIATE_TEST_SUITE_P(Soak, ThroughProxy, testing::Range(11u, 201u));

}  // namespace
}  // namespace system_test
