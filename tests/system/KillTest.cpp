#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Sqlite.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Holdings.h"
#include "tests/system/Programs.h"

// Many items and many sudden deaths; and the programs as an ordinary user.
namespace system_test {
namespace {

using test_support::TemporaryFolder;

constexpr int kHold = 15;  // milliseconds by which each answer is behind the save it tells of

enum class Victim { kEngine, kTarny, kBoth, kServer };
constexpr std::array kVictims = {Victim::kEngine, Victim::kTarny, Victim::kBoth, Victim::kServer};

// A migration into a server of its own, whose programs die and are started again.
class KilledRun {
 public:
  KilledRun(int mails, int others)
      : m_mails(WriteMails(m_folder, mails)), m_others(ExpectedOthers(others)) {
    WriteOthers(m_folder, others);
    StartServer({});
    m_port = m_server->Port();
  }

  // Lets the run go on until so many items have arrived and an engine is at work.
  void RunTo(int items) {
    if (!m_tarny) m_tarny.emplace("tarny", Arguments(), m_folder.Path());
    while (Arrived() < items || EnginesOf(m_folder.File("run")).empty()) {
      ASSERT_FALSE(m_tarny->TryWait()) << "the run ended before its time: " << m_tarny->Err();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  // Lets the run go on until the server holds an item whose save it has not answered, and freezes
  // it there: who dies now leaves an item that the run does not know.
  void RunToASave() {
    while (true) {
      ASSERT_FALSE(m_tarny->TryWait()) << "the run ended before its time: " << m_tarny->Err();
      if (Stored() > Arrived()) {
        m_server->Freeze();
        // An answer that is on its way is in the journal by then.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        if (Stored() > Arrived()) return;
        m_server->Thaw();
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  void Kill(Victim victim) {
    if (victim == Victim::kServer) {
      m_server->Kill();
      m_behindASave += Stored() > Arrived();
      StartServer({"--port", m_port});
      ++m_killed[victim];
      return;
    }
    bool hit = victim == Victim::kTarny;
    if (victim != Victim::kTarny) {
      for (const pid_t engine : EnginesOf(m_folder.File("run")))
        hit |= ::kill(engine, SIGKILL) == 0;
    }
    if (victim != Victim::kEngine) {
      m_tarny->Signal(SIGKILL);
      m_tarny->Wait();
      m_tarny.reset();
    }
    if (victim == Victim::kBoth) m_behindASave += Stored() > Arrived();
    m_server->Thaw();
    m_killed[victim] += hit;
  }

  // Each item is there once, and tarny says so, too.
  void ExpectWhole() {
    const Result last =
        m_tarny ? m_tarny->Wait() : RunProgram("tarny", Arguments(), m_folder.Path());
    EXPECT_EQ(SummaryOf(last)["failed"], 0) << last.err;
    std::vector<std::string> check = Arguments();
    check[0] = "verify";
    const Result verified = RunProgram("tarny", check, m_folder.Path());
    EXPECT_EQ(verified.status, 0) << verified.out << verified.err;
    m_server.reset();
    Contents contents;
    Holdings others;
    for (const StoredItem& item : ItemsOf(m_folder.File("mailbox"))) {
      item.mime.empty() ? ++others[HoldingOf(item)] : ++contents[{item.folder, item.mime}];
    }
    EXPECT_TRUE(others == m_others) << others.size() << " kinds of " << m_others.size();
    int twice = 0;
    for (const auto& [mail, times] : contents) {
      EXPECT_TRUE(m_mails.expected.contains(mail)) << "something arrived in " << mail.first;
      twice += times - 1;
    }
    EXPECT_EQ(contents.size(), m_mails.expected.size()) << "mails are lost";
    EXPECT_EQ(twice, 0);
    EXPECT_EQ(LedgerRows(m_folder), m_mails.count);
  }

  int Killed(Victim victim) { return m_killed[victim]; }
  // Kills that left an item in the mailbox which the run does not know, where that can be seen.
  int BehindASave() const { return m_behindASave; }

 private:
  std::vector<std::string> Arguments() const {
    return ServerArguments(m_folder, std::stoi(m_port), {"--patience", "60"});
  }
  void StartServer(std::vector<std::string> options) {
    options.insert(options.end(), {"--fault", "hold:" + std::to_string(kHold)});
    m_server = std::make_unique<Mailbox>(m_folder.Path(), options);
  }
  // As the journal knows.
  int Arrived() const {
    try {
      platform::SqliteDatabase journal(m_folder.File("run/journal.db"),
                                       platform::SqliteDatabase::Open::kReadOnly);
      platform::SqliteStatement query =
          journal.Prepare("SELECT count(*) FROM item WHERE result = 1");
      return query.Step() ? static_cast<int>(query.Int(0)) : 0;
    } catch (const platform::SqliteError&) {
      return 0;
    }
  }
  int Stored() const {
    mailbox::Store store(m_folder.File("mailbox/mailbox.db"), mailbox::Store::Mode::kReadOnly);
    std::int64_t items = 0;
    for (const mailbox::MailboxInfo& box : store.Mailboxes()) {
      for (const mailbox::FolderInfo& one : store.Folders(box.id)) items += one.total;
    }
    return static_cast<int>(items);
  }

  const TemporaryFolder m_folder;
  const Generated m_mails;
  const Holdings m_others;
  std::unique_ptr<Mailbox> m_server;
  std::string m_port;
  std::optional<Program> m_tarny;
  std::map<Victim, int> m_killed;
  int m_behindASave = 0;
};

void KillAndExpectWhole(int mails, int others, int kills) {
  KilledRun run(mails, others);
  std::mt19937 random(20240304);
  const int share = (mails + 4 * others) / (kills + 1);
  for (int kill = 0; kill < kills; ++kill) {
    // A moment at random in this kill's share of the work: so many items, and some microseconds.
    run.RunTo(kill * share + static_cast<int>(random() % static_cast<unsigned>(share)));
    if (testing::Test::HasFatalFailure()) return;
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 30'000));
    const std::size_t number = static_cast<std::size_t>(kill) % (2 * kVictims.size());
    const Victim victim = kVictims[number % kVictims.size()];
    // In each second round the moment is the worst one.
    if (number >= kVictims.size() && (victim == Victim::kBoth || victim == Victim::kServer)) {
      run.RunToASave();
      if (testing::Test::HasFatalFailure()) return;
    }
    run.Kill(victim);
  }
  const int each = kills / static_cast<int>(kVictims.size());
  for (const Victim victim : kVictims) EXPECT_GE(run.Killed(victim), each - 1);
  EXPECT_GT(run.BehindASave(), 0) << "no kill fell where it is dangerous";
  run.ExpectWhole();
}

TEST(Kills, EnginesDriversAndServersDieAndEachItemArrivesOnce) { KillAndExpectWhole(100, 12, 8); }

TEST(SoakKills, FortyDeathsInTwoThousandItemsAndEachArrivesOnce) {
  KillAndExpectWhole(1600, 100, 40);
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

  // What may not be written, or entered, is named.
  const auto refused = [&](const std::string& from, const std::string& to) {
    std::string changed = command;
    changed.replace(changed.rfind("'" + from + "'"), from.size() + 2, "'" + to + "'");
    EXPECT_NE(std::system((changed + " > " + out + " 2>&1").c_str()), 0);
    return test_support::ReadAll(out);
  };
  chmod(run.c_str(), 0);
  EXPECT_THAT(refused("migrate", "verify"),
              testing::HasSubstr("cannot read " + run + ": Permission denied"));
  chmod(run.c_str(), 0700);
  for (const auto& entry : fs::directory_iterator(run)) fs::remove_all(entry.path());
  EXPECT_THAT(refused("local:" + folder.File("mailbox"), "local:" + parent + "/mailbox"),
              testing::HasSubstr(parent + "/mailbox: Permission denied"));
}

}  // namespace
}  // namespace system_test
