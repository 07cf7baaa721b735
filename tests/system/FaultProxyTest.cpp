#include <future>
#include <map>
#include <string>
#include <utility>
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
using test_support::Mishap;
using test_support::TemporaryFolder;

constexpr int kMails = 56;
constexpr int kPrepared = 4;
constexpr unsigned kHarmOneIn = 12;

void WritePrepared(const TemporaryFolder& folder, int number) {
  const std::string item = "source/Prepared/" + std::to_string(number);
  folder.Write(item + "/TextFile1.txt", client_test::Wide("body"));
  folder.Write(item + "/11comtextjjAttach.t", client_test::Wide("a.txt\r\n"));
  folder.Write(item + "/a.txt", "attached to " + std::to_string(number));
  folder.Write(item + "/11comtextjj.t",
               client_test::Wide("EMAIL\r\n2\nCreation Date : 2024-02-29 10:00:00\r\n\r\nFrom : "
                                 "a@example.com\r\nTo : b@example.com\r\n\r\n\r\nSubject : item " +
                                 std::to_string(number) + "\r\nMessageID : \r\n"));
}

struct Arrival {
  Result result;
  Contents mails;
  std::map<std::string, int> prepared;  // by subject and attachments
  std::map<Mishap, int> mishaps;
};

// One run through a proxy of that seed. What arrived is read from the mailbox's own store.
Arrival RunThroughProxy(const TemporaryFolder& folder, unsigned seed) {
  Arrival arrival;
  {
    const Mailbox mailbox(folder.Path(), {});
    const FaultProxy proxy(std::stoi(mailbox.Port()), seed, kHarmOneIn);
    const auto arguments = ServerArguments(folder, proxy.Port(), {"--patience", "120"});
    arrival.result = RunProgram("tarny", arguments, folder.Path());
    arrival.mishaps = proxy.Mishaps();
  }
  for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
    if (item.folder == "Prepared") {
      std::string what = item.Property("tag:0x37");
      for (const auto& [name, bytes] : item.attachments) what += ", " + name + ": " + bytes;
      ++arrival.prepared[what];
    } else {
      ++arrival.mails[{item.folder, item.mime}];
    }
  }
  return arrival;
}

// Returns what befell it on the way.
std::map<Mishap, int> ExpectWhole(unsigned seed) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  const TemporaryFolder folder;
  const Contents expected = WriteMails(folder, kMails).expected;
  std::map<std::string, int> prepared;
  for (int i = 0; i < kPrepared; ++i) {
    WritePrepared(folder, i);
    const std::string number = std::to_string(i);
    prepared["item " + number + ", a.txt: attached to " + number] = 1;
  }
  Arrival arrival = RunThroughProxy(folder, seed);
  const nlohmann::json summary = SummaryOf(arrival.result);
  EXPECT_EQ(summary["failed"], 0) << arrival.result.err;
  EXPECT_EQ(arrival.prepared, prepared) << arrival.result.err;
  EXPECT_TRUE(arrival.mails == expected) << arrival.result.err;
  return std::move(arrival.mishaps);
}

class ThroughProxy : public testing::TestWithParam<unsigned> {};

// Ten seeds at a time: a run waits more than it works.
TEST_P(ThroughProxy, EachItemArrivesOnceInTheFirstRun) {
  std::vector<std::future<std::map<Mishap, int>>> runs;
  for (unsigned i = 1; i <= 10; ++i) {
    runs.push_back(std::async(std::launch::async, ExpectWhole, 10 * GetParam() + i));
  }
  std::map<Mishap, int> mishaps;
  for (auto& run : runs) {
    for (const auto& [mishap, times] : run.get()) mishaps[mishap] += times;
  }
  for (const Mishap one : test_support::kHarm) {
    EXPECT_GT(mishaps[one], 0) << "no run met mishap " << static_cast<int>(one);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ThroughProxy, testing::Values(0u));
INSTANTIATE_TEST_SUITE_P(Soak, ThroughProxy, testing::Range(1u, 20u));

}  // namespace
}  // namespace system_test
