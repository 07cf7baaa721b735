#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// Many mails and many sudden deaths; and the programs as an ordinary user.
namespace system_test {
namespace {

using test_support::TemporaryFolder;

constexpr int kMails = 2000;
constexpr int kEngineKills = 20;
constexpr int kTarnyKills = 5;

TEST(Kills, TwoThousandMailsTwentyDeadEnginesAndFiveDeadDrivers) {
  const TemporaryFolder folder;
  const Contents expected = WriteMails(folder, kMails).expected;
  const std::string run = folder.File("run");
  std::mt19937 random(20240304);
  const int steps = kEngineKills + kTarnyKills;
  int engineKills = 0;
  int tarnyKills = 0;
  std::optional<Program> tarny;
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(4);
  for (int step = 0; step < steps; ++step) {
    // A moment at random in this step's share of the work: so many rows, and some microseconds.
    const int share = kMails / (steps + 2);
    const int rows = step * share + static_cast<int>(random() % static_cast<unsigned>(share));
    const auto pause = std::chrono::microseconds(random() % 20'000);
    if (!tarny) tarny.emplace("tarny", MigrateArguments(folder), folder.Path());
    std::vector<pid_t> engines;
    while (LedgerRows(folder) < rows || (engines = EnginesOf(run)).empty()) {
      ASSERT_LT(std::chrono::steady_clock::now(), giveUp);
      ASSERT_FALSE(tarny->TryWait()) << "the run ended before its time";
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    std::this_thread::sleep_for(pause);
    if (step % 5 == 4) {
      tarny->Signal(SIGKILL);
      tarny->Wait();
      tarny.reset();
      ++tarnyKills;
    } else {
      for (const pid_t engine : EnginesOf(run)) engineKills += ::kill(engine, SIGKILL) == 0;
    }
  }
  // Each died in the middle: none of them was idle or gone.
  EXPECT_GE(engineKills, kEngineKills - 1);
  EXPECT_EQ(tarnyKills, kTarnyKills);
  if (tarny) tarny->Wait();
  SummaryOf(Migrate(folder));
  const Contents contents = ContentsOf(folder.File("mailbox"));
  int twice = 0;
  for (const auto& [mail, times] : contents) {
    EXPECT_TRUE(expected.contains(mail)) << "something arrived in " << mail.first;
    twice += times - 1;
  }
  EXPECT_EQ(contents.size(), expected.size()) << "mails are lost";
  EXPECT_EQ(LedgerRows(folder), kMails);
  RecordProperty("twice", twice);
  // A mail stands twice only where a kill of an engine fell between its save and its row.
  EXPECT_LE(twice, engineKills);
}

TEST(OrdinaryUser, ARunFolderBelowAParentThatCanBeEnteredAndNotListed) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root, to become another user";
  const TemporaryFolder folder;
  const Contents expected = WriteMails(folder, 12).expected;
  const std::string parent = folder.File("Parent");
  constexpr uid_t kNobody = 65534;
  namespace fs = std::filesystem;
  // The programs lie where that user can reach them, and so does the run's own folder.
  for (const char* name : {"bin", "Parent", "Parent/Run", "mailbox"}) {
    fs::create_directory(folder.File(name));
  }
  for (const std::string name : {"tarny", "TarnyOutlookEngine", "mailboxd"}) {
    fs::copy_file(TARNY_BIN "/" + name, folder.File("bin/" + name));
    chmod(folder.File("bin/" + name).c_str(), 0755);
  }
  for (const char* name : {"Parent/Run", "mailbox"}) {
    ASSERT_EQ(chown(folder.File(name).c_str(), kNobody, kNobody), 0);
  }
  for (const auto& entry : fs::recursive_directory_iterator(folder.File("source"))) {
    chmod(entry.path().c_str(), entry.is_directory() ? 0755 : 0644);
  }
  for (const std::string& path : {folder.Path(), folder.File("bin"), folder.File("source")}) {
    ASSERT_EQ(chmod(path.c_str(), 0755), 0);
  }
  ASSERT_EQ(chmod(parent.c_str(), 0711), 0);

  std::vector<std::string> arguments = {"--reuid", "65534",          "--regid",
                                        "65534",   "--clear-groups", folder.File("bin/tarny")};
  const std::string run = parent + "/Run";
  for (std::string& argument : MigrateArguments(folder)) {
    arguments.push_back(argument == folder.File("run") ? run : argument);
  }
  std::string command = "setpriv";
  for (const std::string& argument : arguments) command += " '" + argument + "'";
  const std::string out = folder.File("out");
  ASSERT_EQ(std::system((command + " > " + out + " 2>&1").c_str()), 0)
      << test_support::ReadAll(out);
  EXPECT_TRUE(ContentsOf(folder.File("mailbox")) == expected);
  struct stat status;
  ASSERT_EQ(stat((run + "/SQLLiteNew.db").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kNobody);
  EXPECT_EQ(status.st_mode & 0077, 0u);

  // Mail that cannot be seen may be missing: no run is a whole one then.
  fs::create_directory(folder.File("source/locked"));
  ASSERT_EQ(chmod(folder.File("source/locked").c_str(), 0700), 0);
  EXPECT_NE(std::system((command + " > " + out + " 2>&1").c_str()), 0);
  const std::string told = test_support::ReadAll(out);
  EXPECT_THAT(told, testing::HasSubstr("the folder cannot be read: Permission denied"));
}

}  // namespace
}  // namespace system_test
