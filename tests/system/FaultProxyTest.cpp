#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/Sqlite.h"
#include "tests/client/WideText.h"
#include "tests/ews/Answers.h"
#include "tests/support/FaultProxy.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Holdings.h"
#include "tests/system/Programs.h"

// Migrations over a network that fails: each arrives whole, in one run.
namespace system_test {
namespace {

using test_support::FaultProxy;
using test_support::Mishap;
using test_support::TemporaryFolder;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kMails = 56;
constexpr int kPrepared = 4;
constexpr int kOthers = 2;  // cards, groups, events, and series
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
  Holdings others;     // cards and events
  Holdings prepared;   // by subject and attachments
  int unfinished = 0;  // series that a lost try began
  std::map<Mishap, int> mishaps;
};

bool IsUnfinished(const StoredItem& item) {
  return std::ranges::any_of(item.info.properties, [](const auto& property) {
    return !property.values.empty() && property.values.front().starts_with("unfinished: ");
  });
}

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
    } else if (IsUnfinished(item)) {
      ++arrival.unfinished;
    } else if (item.mime.empty()) {
      ++arrival.others[HoldingOf(item)];
    } else {
      ++arrival.mails[{item.folder, item.mime}];
    }
  }
  return arrival;
}

// Takes away the copies of what is there more often than expected; how many those were.
template <typename Copies>
int TakeSurplus(Copies& arrived, const Copies& expected) {
  int surplus = 0;
  for (auto& [item, times] : arrived) {
    const auto most = expected.find(item);
    if (most == expected.end() || times <= most->second) continue;
    surplus += times - most->second;
    times = most->second;
  }
  return surplus;
}

// How many copies the remarks tell of, each beyond the first.
int ToldSurplus(const nlohmann::json& remarks) {
  int told = 0;
  for (const nlohmann::json& remark : remarks) {
    const std::string text = remark["text"];
    constexpr std::string_view kThere = "it is there ";
    const size_t at = text.find(kThere);
    if (at == std::string::npos) continue;
    const int times = std::atoi(text.c_str() + at + kThere.size());
    told += times > 0 ? times - 1 : 1;  // "twice"
  }
  return told;
}

// Returns what befell it on the way.
std::map<Mishap, int> ExpectWhole(unsigned seed, const Holdings& others) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  const TemporaryFolder folder;
  const Contents expected = WriteMails(folder, kMails).expected;
  WriteOthers(folder, kOthers);
  Holdings prepared;
  for (int i = 0; i < kPrepared; ++i) {
    WritePrepared(folder, i);
    const std::string number = std::to_string(i);
    prepared["item " + number + ", a.txt: attached to " + number] = 1;
  }
  Arrival arrival = RunThroughProxy(folder, seed);
  const nlohmann::json summary = SummaryOf(arrival.result);
  EXPECT_EQ(summary["failed"], 0) << arrival.result.err;
  // A server that nobody knew to be so slow may have the last word. It is told then, and what it
  // made twice is there twice, and not instead of another.
  if (test_support::LatenessOf(seed) == test_support::Lateness::kLong) {
    const int surplus = TakeSurplus(arrival.mails, expected) + TakeSurplus(arrival.others, others) +
                        TakeSurplus(arrival.prepared, prepared);
    EXPECT_EQ(surplus + arrival.unfinished, ToldSurplus(summary["remarks"])) << arrival.result.err;
  } else {
    EXPECT_EQ(arrival.unfinished, 0) << arrival.result.err;
  }
  EXPECT_EQ(arrival.prepared, prepared) << arrival.result.err;
  EXPECT_TRUE(arrival.others == others) << arrival.result.err;
  EXPECT_TRUE(arrival.mails == expected) << arrival.result.err;
  return std::move(arrival.mishaps);
}

class ThroughProxy : public testing::TestWithParam<unsigned> {};

// Ten seeds at a time: a run waits more than it works.
TEST_P(ThroughProxy, EachItemArrivesOnceInTheFirstRun) {
  const Holdings others = ExpectedOthers(kOthers);
  std::vector<std::future<std::map<Mishap, int>>> runs;
  for (unsigned i = 1; i <= 10; ++i) {
    const unsigned seed = 10 * GetParam() + i;
    runs.push_back(std::async(std::launch::async, ExpectWhole, seed, std::cref(others)));
  }
  std::map<Mishap, int> mishaps;
  for (auto& run : runs) {
    for (const auto& [mishap, times] : run.get()) mishaps[mishap] += times;
  }
  for (const Mishap one : test_support::kHarm) {
    EXPECT_GT(mishaps[one], 0) << "no run met mishap " << static_cast<int>(one);
  }
}

// Two mails, through a proxy that harms saves by their number.
class ChosenHarm : public testing::Test {
 protected:
  using Step = FaultProxy::Step;
  ChosenHarm() {
    for (const std::string name : {"1", "2"}) {
      folder.Write("source/" + name + ".eml",
                   "Message-ID: <" + name + "@x.example>\r\n\r\n" + name);
    }
  }
  std::vector<std::string> Arguments() const { return ServerArguments(folder, proxy.Port(), more); }
  nlohmann::json Run(int status) {
    return SummaryOf(RunProgram("tarny", Arguments(), folder.Path()), status);
  }
  // How often each is in the mailbox.
  std::vector<int> Copies() {
    std::map<std::string, int> copies;
    for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) ++copies[item.mime];
    std::vector<int> counts;
    for (const auto& [mime, count] : copies) counts.push_back(count);
    return counts;
  }
  // Of a list with one problem.
  static std::string Text(const nlohmann::json& list) {
    if (list.size() != 1) return list.dump();
    return list[0]["item"].get<std::string>() + ": " + list[0]["text"].get<std::string>();
  }

  const TemporaryFolder folder;
  std::map<int, Step> saves;          // by their number, from 1
  std::optional<Step> look;           // what becomes of each question for items
  std::map<std::string, Step> each;   // of each request that holds that
  std::vector<std::string> more;      // arguments
  int requests = 0;                   // to save
  std::function<void()> afterSecond;  // of them

 private:
  FaultProxy::Step Choose(std::string_view request) {
    for (const auto& [part, step] : each) {
      if (request.find(part) != std::string_view::npos) return step;
    }
    if (look && request.find("FindItem ") != std::string_view::npos) return *look;
    if (requests == 2 && afterSecond) std::exchange(afterSecond, nullptr)();
    const bool isSave = request.find("CreateItem ") != std::string_view::npos;
    const auto harm = saves.find(isSave ? ++requests : 0);
    return harm == saves.end() ? FaultProxy::Step{} : harm->second;
  }

  const Mailbox mailbox{folder.Path(), {}};
  const FaultProxy proxy{std::stoi(mailbox.Port()),
                         [this](std::string_view request) { return Choose(request); }};
};

TEST_F(ChosenHarm, WhereNobodyCanAskAnItemIsSentOnceMoreAndTellsOfEachCopy) {
  look = {Mishap::kStatus,
          200,
          false,
          {},
          answers::Error("FindItem", "ErrorAccessDenied", "You may not look.")};
  for (const int number : {1, 2, 3}) saves[number] = {Mishap::kCutBehindRequest};
  const std::string why = ": the target could not be asked (You may not look.)";
  const nlohmann::json first = Run(1);
  EXPECT_THAT(Text(first["failures"]), EndsWith("it may be there, up to twice" + why));
  EXPECT_EQ(Text(first["remarks"]), "2.eml: may be there twice" + why);
  EXPECT_THAT(Copies(), ElementsAre(2, 2));

  // What could not be told of it is settled, wherever it lies now.
  std::filesystem::rename(folder.File("source/1.eml"), folder.File("source/3.eml"));
  const nlohmann::json second = Run(0);
  EXPECT_EQ(Text(second["remarks"]), "3.eml: may be there 3 times" + why);
  EXPECT_EQ(Text(second["doubts"]), "2.eml: may be there twice" + why);
  EXPECT_THAT(Copies(), ElementsAre(3, 2));
}

// Somebody else's mail with the id of ours, whose save never came to the server, is not ours.
TEST_F(ChosenHarm, AMailOfTheSameIdThatWasThereBeforeIsNotTakenForTheOneThatWasLost) {
  std::filesystem::remove(folder.File("source/2.eml"));
  more = {"--as-is"};  // it carries no key
  EXPECT_EQ(Run(0)["sent"], 1);
  std::filesystem::remove_all(folder.File("run"));
  folder.Write("source/2.eml", "Message-ID: <1@x.example>\r\n\r\n2");
  more = {"--no-adopt"};
  saves[3] = {Mishap::kCutBeforeRequest};
  EXPECT_EQ(Run(0)["sent"], 2);
  EXPECT_THAT(Copies(), ElementsAre(2, 1));
}

// The server takes an item, then neither its attachment nor the request to delete it again.
TEST_F(ChosenHarm, WhatIsThereWithoutItsAttachmentsGoesBeforeItIsSentAnew) {
  std::filesystem::remove_all(folder.File("source"));
  folder.Write("source/1.ics",
               "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:1\r\nDTSTART:20240102T100000Z\r\n"
               "ATTACH;ENCODING=BASE64;VALUE=BINARY;X-FILENAME=a.txt:QUJD\r\n"
               "END:VEVENT\r\nEND:VCALENDAR\r\n");
  const auto refused = [](const std::string& name) {
    return Step{Mishap::kStatus, 200, false, {}, answers::Error(name, "ErrorAccessDenied", "No.")};
  };
  saves[1] = {Mishap::kStatusForAnswer, 200, false, {}, answers::Item("I=")};
  each = {{"CreateAttachment ", refused("CreateAttachment")},
          {"DeleteItem ", refused("DeleteItem")}};
  const auto attachments = [this] {
    std::vector<std::size_t> counts;
    for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
      counts.push_back(item.attachments.size());
    }
    return counts;
  };
  EXPECT_THAT(Text(Run(1)["failures"]), EndsWith("The item is there without it."));
  EXPECT_THAT(Text(Run(1)["failures"]), HasSubstr("could not be deleted; it has to go first"));
  EXPECT_THAT(attachments(), ElementsAre(1));
  // A run that ends at it leaves it what it is.
  each = {{"FindItem ", {Mishap::kStatus, 401}}};
  EXPECT_THAT(Run(1)["stopped"].dump(), HasSubstr("it is there without its attachments"));
  each.clear();
  more = {"--adopt"};  // which finds it there, and must not go by that
  EXPECT_EQ(Run(0)["sent"], 1);
  EXPECT_THAT(attachments(), ElementsAre(1));
  EXPECT_EQ(Run(0)["sent"], 0);
}

// What stands in front of a server may hide that it has saved.
TEST_F(ChosenHarm, AForeignAnswerToASaveThatWasCarriedOutBringsNoSecondOne) {
  for (const auto& [one, other] : {std::pair(404, 302), std::pair(400, 403)}) {
    saves = {{requests + 1, {Mishap::kStatusForAnswer, one}},
             {requests + 2, {Mishap::kStatusForAnswer, other}}};
    const nlohmann::json summary = Run(0);
    EXPECT_EQ(summary["sent"], 2);
    EXPECT_THAT(summary["remarks"].dump(), HasSubstr("found in the target: its answer was lost"));
    const int copies = one == 404 ? 1 : 2;
    EXPECT_THAT(Copies(), ElementsAre(copies, copies));
    std::filesystem::remove_all(folder.File("run"));
    more = {"--no-adopt"};
  }
}

// A user renames the folder while nobody knows whether the item is in it.
TEST_F(ChosenHarm, AnItemWhoseFolderWasRenamedIsSentOnceMoreAndTold) {
  std::filesystem::create_directory(folder.File("source/Box"));
  for (const std::string name : {"1.eml", "2.eml"}) {
    std::filesystem::rename(folder.File("source/" + name), folder.File("source/Box/" + name));
  }
  saves[2] = {Mishap::kCutBehindRequest};
  afterSecond = [this] {
    platform::SqliteDatabase(folder.File("mailbox/mailbox.db"))
        .Execute("UPDATE folders SET name='Moved',name_key='MOVED' WHERE name='Box'");
  };
  const nlohmann::json summary = Run(0);
  EXPECT_EQ(
      Text(summary["remarks"]),
      "Box/2.eml: may be there twice: the target could not be asked (its folder is not in the "
      "target any more)");
  EXPECT_THAT(Copies(), ElementsAre(1, 2));
}

// It is no whole run, for nobody has looked.
TEST_F(ChosenHarm, AStopWhileLateCopiesAreAwaitedIsOneAndKeepsTheDoubt) {
  saves[1] = {Mishap::kCutBeforeRequest};
  Program tarny("tarny", Arguments(), folder.Path());
  while (tarny.Err().find("for what came late") == std::string::npos) {
    ASSERT_FALSE(tarny.TryWait()) << tarny.Err();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  tarny.Signal(SIGTERM);
  const nlohmann::json summary = SummaryOf(tarny.Wait(), 1);
  EXPECT_EQ(summary["stopped"], "asked to stop");
  EXPECT_EQ(summary["sent"], 2);
  EXPECT_EQ(Text(summary["remarks"]),
            "1.eml: may be there twice: the run ended before it looked for what comes late; the "
            "next one looks");
}

using SoakChosenHarm = ChosenHarm;  // waits for what is late

TEST_F(SoakChosenHarm, ACopyThatComesWhenTheItemHasLongArrivedIsTold) {
  saves[1] = {Mishap::kForwardedLate, 0, false, std::chrono::seconds(20)};
  EXPECT_EQ(Text(Run(0)["remarks"]), "1.eml: it is there twice");
  EXPECT_THAT(Copies(), ElementsAre(2, 1));
}

class SoakLateCopy : public ChosenHarm {
 protected:
  // A run is ended by that signal before the first copy of an item that it sent twice has come.
  void ExpectToldByTheNext(int signal) {
    saves[1] = {Mishap::kForwardedLate, 0, false, std::chrono::seconds(20)};
    {
      Program tarny("tarny", Arguments(), folder.Path());
      while (LedgerRows(folder) < 2) {
        ASSERT_FALSE(tarny.TryWait()) << tarny.Err();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
      }
      std::this_thread::sleep_for(std::chrono::seconds(1));
      tarny.Signal(signal);
      tarny.Wait();
    }
    const nlohmann::json next = Run(0);
    EXPECT_EQ(next["sent"], 0);
    EXPECT_EQ(Text(next["remarks"]), "1.eml: it is there twice");
    EXPECT_EQ(Run(0)["waits"], 0);  // it was looked for
  }
};

TEST_F(SoakLateCopy, ThatComesBehindTheDeathOfTheRunIsToldByTheNext) {
  ExpectToldByTheNext(SIGKILL);
}

TEST_F(SoakLateCopy, ThatComesBehindAStopOfTheRunIsToldByTheNext) { ExpectToldByTheNext(SIGTERM); }

// Of what came through, one learns how long it may take.
TEST_F(SoakChosenHarm, ASlowServerIsGivenAsLongForALostAnswerAsForOthers) {
  saves = {{1, {Mishap::kDelay, 0, false, std::chrono::seconds(9)}},
           {2, {Mishap::kForwardedLate, 0, false, std::chrono::seconds(7)}}};
  EXPECT_EQ(Text(Run(0)["remarks"]), "2.eml: found in the target: its answer was lost");
  folder.Write("source/3.eml", "Message-ID: <3@x.example>\r\n\r\n3");
  saves = {{requests + 1, {Mishap::kForwardedLate, 0, false, std::chrono::seconds(7)}}};
  EXPECT_EQ(Text(Run(0)["remarks"]), "3.eml: found in the target: its answer was lost");
  EXPECT_THAT(Copies(), ElementsAre(1, 1, 1));
}

TEST_F(SoakChosenHarm, APatienceThatEndsWhileNobodyAnswersTheQuestionFailsNoItem) {
  look = {Mishap::kStatus, 500};
  for (int i = 1; i <= 20; ++i) saves[i] = {Mishap::kCutBeforeRequest};
  more = {"--patience", "10", "--no-adopt"};
  const nlohmann::json summary = Run(1);
  EXPECT_EQ(summary["failed"], 0);
  EXPECT_THAT(summary["stopped"].get<std::string>(),
              AllOf(StartsWith("1.eml: "), HasSubstr("; waited for 1")));
  EXPECT_LT(summary["waited_seconds"], 16);
}

// Whoever refuses the question, and for how long.
TEST_F(SoakChosenHarm, AQuestionThatIsAlwaysRefusedEndsNoRun) {
  for (const int status : {403, 400, 500}) {
    SCOPED_TRACE(status);
    look = {Mishap::kStatus, status};
    saves = {{requests + 1, {Mishap::kCutBeforeRequest}},
             {requests + 3, {Mishap::kCutBehindRequest}}};
    const nlohmann::json summary = Run(0);
    EXPECT_EQ(summary["sent"], 2);
    EXPECT_THAT(summary["remarks"].dump(), HasSubstr("may be there twice: the target could not"));
    EXPECT_LT(summary["waited_seconds"], 120);
    std::filesystem::remove_all(folder.File("run"));
    more = {"--no-adopt"};
  }
}

TEST_F(SoakChosenHarm, AnOutageOfSavesAloneIsWaitedOut) {
  // All tries of the first mail, and some of the second; a server's time is kept.
  for (int i = 1; i <= 6; ++i) saves[i] = {Mishap::kStatus, 503, /*retryAfter=*/i % 2 == 0};
  const nlohmann::json summary = Run(0);
  EXPECT_EQ(summary["failed"], 0);
  EXPECT_GE(summary["waits"], 6);
  EXPECT_GE(summary["waited_seconds"], 20);
  EXPECT_THAT(Copies(), ElementsAre(1, 1));
}

// Nine saves of ten fail, and it is no item's fault.
TEST_F(SoakChosenHarm, AnOutageThatLetsOneSaveInTenThroughFailsNoItem) {
  for (const std::string name : {"3", "4", "5", "6"}) {
    folder.Write("source/" + name + ".eml", "Message-ID: <" + name + "@x.example>\r\n\r\n" + name);
  }
  std::mt19937 random(220);
  for (int i = 1; i <= 1000; ++i) {
    if (random() % 10 != 0) saves[i] = {Mishap::kStatus, 503};
  }
  const nlohmann::json summary = Run(0);
  EXPECT_EQ(summary["failed"], 0);
  EXPECT_EQ(summary["sent"], 6);
  EXPECT_THAT(Copies(), ElementsAre(1, 1, 1, 1, 1, 1));
}

TEST_F(SoakChosenHarm, AnItemThatMeetsAnOutageWhereOthersComeThroughFailsByItself) {
  for (int i = 1; i <= 20; ++i) {
    if (i != 5) saves[i] = {Mishap::kStatus, 404};
  }
  const nlohmann::json summary = Run(1);
  EXPECT_EQ(summary["sent"], 1);
  EXPECT_THAT(Text(summary["failures"]),
              AllOf(StartsWith("1.eml: The request failed. The server 127.0.0.1 answered HTTP 404"),
                    EndsWith("; it alone, others come through")));
  EXPECT_THAT(Copies(), ElementsAre(1));
}

TEST_F(SoakChosenHarm, AnItemThatComesWhileItWaitsForOthersTellsWhatItDoesNotCarry) {
  std::filesystem::remove_all(folder.File("source"));
  folder.Write("source/1.vcf",
               "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nX-SHIRT:XL\r\nEND:VCARD\r\n"
               "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Bo\r\nEND:VCARD\r\n");
  for (int i = 1; i <= 3; ++i) saves[i] = {Mishap::kStatus, 404};
  saves[4] = {Mishap::kForwardedLate, 0, false, std::chrono::seconds(7)};
  EXPECT_EQ(Text(Run(0)["remarks"]),
            "1.vcf: Ann: left out: X-SHIRT XL; found in the target: its answer was lost");
}

INSTANTIATE_TEST_SUITE_P(Seeds, ThroughProxy, testing::Values(0u));
INSTANTIATE_TEST_SUITE_P(Soak, ThroughProxy, testing::Range(1u, 21u));
INSTANTIATE_TEST_SUITE_P(SoakLong, ThroughProxy, testing::Range(100u, 104u));

}  // namespace
}  // namespace system_test
