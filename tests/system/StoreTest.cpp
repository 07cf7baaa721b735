#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "mailboxd/store/ItemDetails.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// Migrations into a store of this machine, which the engine writes by itself.
namespace system_test {
namespace {

namespace fs = std::filesystem;
using test_support::TemporaryFolder;
using testing::HasSubstr;

std::vector<std::string> ArgumentsTo(const TemporaryFolder& folder, const std::string& to,
                                     const std::string& run,
                                     const std::vector<std::string>& moreSources = {}) {
  std::vector<std::string> arguments = {"migrate", folder.File("source")};
  arguments.insert(arguments.end(), moreSources.begin(), moreSources.end());
  for (const std::string& one :
       {std::string("--to"), to, std::string("--run"), folder.File(run), std::string("--json")}) {
    arguments.push_back(one);
  }
  return arguments;
}

// Boundaries and Content-IDs are made anew each time.
bool IsName(std::string_view text) {
  constexpr std::string_view kForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  constexpr std::string_view kDigits = "0123456789abcdef";
  return std::ranges::equal(kForm, text.substr(0, kForm.size()), [&](char form, char c) {
    return form == '-' ? c == '-' : kDigits.find(c) != std::string_view::npos;
  });
}

std::string WithoutNames(std::string text) {
  for (const std::string_view softBreak : {"=\r\n", "=\n"}) {
    std::string joined;
    for (std::size_t at = 0, end = 0; end != text.size(); at = end + softBreak.size()) {
      end = std::min(text.find(softBreak, at), text.size());
      joined.append(text, at, end - at);
    }
    text = std::move(joined);
  }
  for (std::size_t at = text.find('-', 8); at < text.size(); at = text.find('-', at + 1)) {
    if (IsName(std::string_view(text).substr(at - 8))) text.replace(at - 8, 36, "NAME");
  }
  return text;
}

// Each item with all that is kept of it, and how often it is there.
std::map<std::string, int> Described(const std::string& data) {
  std::map<std::string, int> items;
  for (StoredItem& item : ItemsOf(data)) {
    mailbox::ItemInfo& info = item.info;
    // A server is told the key of a series last.
    std::ranges::sort(info.properties, {}, &mailbox::ExtendedProperty::key);
    std::ranges::sort(info.fields, {}, &mailbox::ItemField::name);
    std::string text = item.folder + "\n" + info.element + " " + info.itemClass + " " +
                       info.subject + (info.isRead ? " read" : "") + " " + info.sent + " " +
                       info.starts + " " + info.ends + " " + info.who + "\n" +
                       mailbox::WriteDetails(info) + "\n" + item.mime;
    // What nobody says of the others, nor of a mail without a date, is when they came.
    if (info.element == "Message" && !info.sent.empty()) text += "\n" + info.received;
    for (const auto& [name, bytes] : item.attachments) text += "\n" + name + ": " + bytes;
    for (const mailbox::AttachmentInfo& file : item.attachmentInfos) {
      text += "\n" + file.contentType + " " + file.contentId + (file.isInline ? " inline" : "") +
              (file.isContactPhoto ? " photo" : "");
    }
    ++items[WithoutNames(text)];
  }
  return items;
}

void KillAll(const std::vector<pid_t>& engines) {
  for (const pid_t engine : engines) ::kill(engine, SIGKILL);
}

TEST(StoreTarget, HoldsWhatAMailboxHoldsThoughItsRunDiesTenTimes) {
  const TemporaryFolder folder;
  const int mails = WriteMails(folder, 240).count;
  std::vector<std::string> samples;
  for (const char* const part : {"mail", "calendar", "contacts", "diary", "prepared"}) {
    samples.push_back(fs::path(TARNY_SOURCE) / "samples" / part);
  }
  const auto local = ArgumentsTo(folder, "local:" + folder.File("mailbox"), "run-local", samples);
  const auto whole = SummaryOf(RunProgram("tarny", local, folder.Path()));

  const std::string file = folder.File("Out.pst");
  const auto arguments = ArgumentsTo(folder, "store:" + file, "run", samples);
  std::optional<Program> tarny;
  std::mt19937 random(20240306);
  constexpr int kKills = 10;
  for (int kill = 0; kill < kKills; ++kill) {
    if (!tarny) tarny.emplace("tarny", arguments, folder.Path());
    // At least one more than there were: an engine that is killed at its start ends the run.
    const int rows =
        std::max(kill * mails / kKills + static_cast<int>(random() % 15), LedgerRows(folder) + 1);
    while (LedgerRows(folder) < rows || EnginesOf(folder.File("run")).empty()) {
      ASSERT_FALSE(tarny->TryWait()) << "the run ended before its time: " << tarny->Err();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
    if (kill % 3 != 1) KillAll(EnginesOf(folder.File("run")));
    if (kill % 3 == 0) continue;  // the run goes on with a new engine
    tarny->Signal(SIGKILL);
    tarny->Wait();
    tarny.reset();
  }
  if (!tarny) tarny.emplace("tarny", arguments, folder.Path());
  const Result last = tarny->Wait();
  EXPECT_EQ(SummaryOf(last)["failed"], 0) << last.err;

  const auto expected = Described(folder.File("mailbox"));
  const auto stored = Described(file);
  EXPECT_GT(expected.size(), static_cast<std::size_t>(mails));
  for (const auto& [item, times] : expected) {
    const auto found = stored.find(item);
    EXPECT_EQ(found == stored.end() ? 0 : found->second, times) << item.substr(0, 1500);
  }
  for (const auto& [item, times] : stored) {
    EXPECT_TRUE(expected.contains(item)) << "too much: " << item.substr(0, 1500);
  }

  // Once more nothing is sent; a run that knows nothing of what is there does not fill it again.
  const auto again = SummaryOf(RunProgram("tarny", arguments, folder.Path()));
  EXPECT_EQ(again["sent"], 0);
  EXPECT_THAT(
      RunProgram("tarny", ArgumentsTo(folder, "store:" + file, "run-2", samples), folder.Path()),
      FailsWith("holds items of this source already"));
  auto verify = arguments;
  verify[0] = "verify";
  EXPECT_EQ(RunProgram("tarny", verify, folder.Path()).status, 0);
  EXPECT_EQ(Described(file), stored);
  EXPECT_EQ(whole["failed"], 0);

  // Whatever shows a mailbox shows it, too, and the profile names it.
  const Result list = RunProgram("tarny", {"mailbox", "ls", "--data", file}, folder.Path());
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_THAT(list.out, HasSubstr("Inbox"));
  {
    Program pages("mailboxd", {"--data", file}, folder.Path());
    while (!pages.Out().ends_with('\n')) {
      ASSERT_FALSE(pages.TryWait()) << pages.Err();
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const std::string url = pages.Out().substr(pages.Out().find("http"));
    EXPECT_THAT(mailbox_test::Send({url.substr(0, url.size() - 1) + "/"}).body,
                HasSubstr("Brien &amp; Sons"));
    EXPECT_THAT(mailbox_test::Send({url.substr(0, url.size() - 1) + "/folder/3"}).body,
                HasSubstr("Subject"));
    pages.Signal(SIGTERM);
    EXPECT_EQ(pages.Wait().status, 0);
  }
  (void)RunProgram("tarny", {"mailbox", "export", "--data", file, folder.File("out")},
                   folder.Path());
  int exported = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder.File("out"))) {
    exported += entry.path().extension() == ".eml";
  }
  EXPECT_GE(exported, mails);
  EXPECT_EQ(RunProgram("tarny", {"profiles", folder.File("run")}, folder.Path()).out,
            "Default\n  " + file + "\n");
  folder.Write("run/Profiles/Ann/profile.json", "{");
  const Result profiles = RunProgram("tarny", {"profiles", folder.File("run")}, folder.Path());
  EXPECT_EQ(profiles.status, 1);
  EXPECT_THAT(profiles.out, testing::StartsWith("Ann\n  the profile "));
  EXPECT_THAT(profiles.out, testing::EndsWith("Default\n  " + file + "\n"));
}

TEST(StoreTarget, WhatCannotBeAStoreIsRefusedByName) {
  const TemporaryFolder folder;
  folder.Write("source/a.eml", "Subject: a\r\n\r\nx\r\n");
  folder.Write("junk.pst", std::string(9000, 'x'));
  fs::create_directory(folder.File("folder.pst"));
  const auto to = [&](const std::string& file, const std::string& option = "--json") {
    auto arguments = ArgumentsTo(folder, "store:" + file, "run");
    arguments.back() = option;
    return RunProgram("tarny", arguments, folder.Path());
  };
  for (const char* const name : {"Out.db", "pst", ".pst", "x.pst/Out"}) {
    const Result result = to(folder.File(name));
    EXPECT_EQ(result.status, 2) << name;
    EXPECT_THAT(result.err, HasSubstr("name ends in .pst")) << name;
  }
  EXPECT_EQ(to("").status, 2);
  folder.Write("Taken.pst", "");
  for (const char* const name : {"taken.PST", "Ta\\ken.pst", "Ta\xE4ken.pst"}) {
    const Result result = to(folder.File(name));
    EXPECT_EQ(result.status, 2) << name;
    EXPECT_THAT(result.err, HasSubstr("would be taken for")) << name;
  }
  for (const auto& [name, reason] : {std::pair("junk.pst", "junk.pst cannot be used"),
                                     std::pair("folder.pst", "folder.pst is no file"),
                                     std::pair("none/Out.pst", "there is no folder")}) {
    EXPECT_THAT(to(folder.File(name)), FailsWith(reason));
    EXPECT_THAT(to(folder.File(name), "--dry-run"), FailsWith(reason));
  }
  const Result plan = to(folder.File("Out.PST"), "--dry-run");  // which makes nothing
  EXPECT_EQ(plan.status, 0) << plan.err;
  EXPECT_THAT(plan.out, HasSubstr("Inbox"));
  EXPECT_FALSE(fs::exists(folder.File("Out.PST")));
  EXPECT_EQ(to(folder.File("Out.PST")).status, 0);  // a refused name bound the run to nothing
  EXPECT_THAT(to(folder.File("Other.pst")), FailsWith("belongs to a run into another target"));
  // A store of the same name is not the run's own, though a copy of that is.
  const auto run2 = ArgumentsTo(folder, "store:" + folder.File("Other.PST"), "run-2");
  EXPECT_EQ(RunProgram("tarny", run2, folder.Path()).status, 0);
  fs::rename(folder.File("Out.PST"), folder.File("Kept.PST"));
  fs::rename(folder.File("Other.PST"), folder.File("Out.PST"));
  const std::string before = test_support::ReadAll(folder.File("Out.PST"));
  for (const char* const option : {"--json", "--dry-run"}) {
    EXPECT_THAT(to(folder.File("Out.PST"), option),
                FailsWith("Out.PST is not the one that this run filled"));
  }
  EXPECT_EQ(test_support::ReadAll(folder.File("Out.PST")), before);
  fs::copy_file(folder.File("Kept.PST"), folder.File("Out.PST"),
                fs::copy_options::overwrite_existing);
  EXPECT_EQ(SummaryOf(to(folder.File("Out.PST")))["sent"], 0);
  fs::resize_file(folder.File("Out.PST"), 10'000);
  folder.Write("source/b.eml", "Subject: b\r\n\r\ny\r\n");
  EXPECT_THAT(to(folder.File("Out.PST")), FailsWith("Out.PST"));
}

TEST(StoreTarget, OneThatVanishesIsNotMadeAnew) {
  for (const bool engineDies : {true, false}) {
    const TemporaryFolder folder;
    (void)WriteMails(folder, 120);
    const std::string file = folder.File("Out.pst");
    const auto arguments = ArgumentsTo(folder, "store:" + file, "run");
    Program tarny("tarny", arguments, folder.Path());
    while (LedgerRows(folder) < 5 || EnginesOf(folder.File("run")).empty()) {
      ASSERT_FALSE(tarny.TryWait()) << tarny.Err();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    fs::rename(file, folder.File("Kept.pst"));
    if (engineDies) KillAll(EnginesOf(folder.File("run")));
    const std::string text = "Out.pst is not there any more; put it back";
    EXPECT_THAT(tarny.Wait(), FailsWith(text));
    EXPECT_THAT(RunProgram("tarny", arguments, folder.Path()), FailsWith(text));
    EXPECT_FALSE(fs::exists(file));
    folder.Write("Out.pst", "");  // nor is an empty file taken for it
    EXPECT_THAT(RunProgram("tarny", arguments, folder.Path()), FailsWith(text));
    EXPECT_EQ(fs::file_size(file), 0);
    fs::rename(folder.File("Kept.pst"), file);  // what it took while it was away is there once
    EXPECT_EQ(RunProgram("tarny", arguments, folder.Path()).status, 0);
    auto verify = arguments;
    verify[0] = "verify";
    EXPECT_EQ(RunProgram("tarny", verify, folder.Path()).status, 0);
  }
}

}  // namespace
}  // namespace system_test
