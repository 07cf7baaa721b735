#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/CCTarnyOutlookEngneDlg.h"
#include "ews/CurlTransport.h"
#include "ews/Settings.h"
#include "platform/Paths.h"
#include "platform/Sqlite.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/pipeline/TempRunFolder.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/EngineRun.h"

// A real engine whose disk, ledger or server fails it.
namespace system_test {
namespace {

using test_support::ScriptedAnswer;
using test_support::ScriptedServer;
using test_support::TemporaryFolder;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Lines = std::vector<std::string>;

constexpr uid_t kNobody = 65534;

class EngineFaults : public testing::Test, protected EngineSetting {};

// Runs it in a process of its own, as an ordinary user if we are root; false when it threw.
bool RunAsOrdinaryUser(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 &&
        (setresgid(kNobody, kNobody, kNobody) != 0 || setresuid(kNobody, kNobody, kNobody) != 0)) {
      _exit(2);
    }
    try {
      work();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      _exit(1);
    }
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void OpenToAll(const std::string& path, mode_t mode) { ASSERT_EQ(chmod(path.c_str(), mode), 0); }

TEST_F(EngineFaults, AReadOnlyProgramFolderCostsLogsAndLedgerOnly) {
  mailbox.emplace(folder.Path(), Lines());
  std::filesystem::create_directory(folder.File("user"));
  OpenToAll(folder.File("user"), 0777);
  OpenToAll(folder.Path(), 0711);
  ASSERT_TRUE(RunAsOrdinaryUser([&] {
    EngineRun engine(folder.File("user"), {"--ews-url", mailbox->Url() + "/EWS/Exchange.asmx"}, {},
                     [](const std::string& path) { chmod(path.c_str(), 0500); });
    std::ofstream seen(folder.File("user") + "/seen");
    seen << engine.Logon() << engine.CreateFolder("A\\");
    seen << engine.InsertEml("key");  // counts as known: the ledger cannot be asked
    seen << engine.InsertEml("") << engine.InsertEml("");
    seen << engine.Close();
    chmod(engine.File("").c_str(), 0700);
  }));
  EXPECT_EQ(test_support::ReadAll(folder.File("user/seen")), "111110");
  EXPECT_EQ(Items().size(), 2u);
  std::istringstream errors(test_support::ReadAll(folder.File("user/run.stderr")));
  Lines lines;
  for (std::string line; std::getline(errors, line);) lines.push_back(line);
  EXPECT_EQ(lines.size(), 3u);  // the trace and the two status logs, once each
  EXPECT_THAT(lines, testing::Each(HasSubstr("Permission denied")));
}

TEST_F(EngineFaults, AFullDiskLosesLinesAndRowsAndNoMail) {
  EngineRun& engine = StartIn("A\\");
  ASSERT_EQ(engine.InsertEml("1"), 1);
  engine.RunStatus();
  rlimit before{};
  ASSERT_EQ(prlimit(engine.Pid(), RLIMIT_FSIZE, nullptr, &before), 0);
  const rlimit full{0, before.rlim_max};
  ASSERT_EQ(prlimit(engine.Pid(), RLIMIT_FSIZE, &full, nullptr), 0);
  EXPECT_EQ(engine.InsertEml("2"), 1);
  EXPECT_EQ(engine.RunStatus(), "");
  ASSERT_EQ(prlimit(engine.Pid(), RLIMIT_FSIZE, &before, nullptr), 0);
  EXPECT_EQ(engine.InsertEml("3"), 1);
  EXPECT_EQ(engine.RunStatus(), kSuccessStatus);
  EXPECT_EQ(engine.Close(), 0);
  EXPECT_EQ(engine.Ledger(), (Lines{"A\\|1|tom@example.org", "A\\|3|tom@example.org"}));
  EXPECT_EQ(Items().size(), 3u);
}

TEST_F(EngineFaults, AClosedLedgerSkipsWhatItShouldKnowAndLetsTheRestGoOn) {
  EngineRun& engine = StartIn("A\\");
  EXPECT_EQ(engine.InsertEml("1"), 1);
  engine.Client().CloseLedger();  // for good
  EXPECT_EQ(engine.Client().CheckArchive(), 1);
  EXPECT_EQ(engine.InsertEml("2"), 1);
  EXPECT_EQ(Items().size(), 1u);
  EXPECT_EQ(engine.InsertEml(""), 1);
  EXPECT_EQ(Items().size(), 2u);
}

// Empty for a folder.
std::string BytesOf(const std::string& path) {
  return std::filesystem::is_directory(path) ? std::string() : test_support::ReadAll(path);
}

TEST_F(EngineFaults, ALedgerThatIsNoneSkipsWhatItShouldKnow) {
  const auto Garbage = [](const std::string& path) {
    std::ofstream(path, std::ios::binary) << std::string(5000, 'x');
  };
  const auto Folder = [](const std::string& path) { std::filesystem::create_directory(path); };
  const auto Damaged = [](const std::string& path) {
    {
      platform::SqliteDatabase database(path);
      database.Execute(
          "CREATE TABLE MAILBOXINFO (FOLDERNAME TEXT, MESSAGE_ID TEXT NOT NULL, "
          "TARGET TEXT)");
    }
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(100);  // behind the file's header: the page of the schema
    file << std::string(3000, '\xEE');
  };
  const std::function<void(const std::string&)> kinds[] = {Garbage, Folder, Damaged};
  for (const bool safe : {false, true}) {
    for (const auto& spoil : kinds) {
      SCOPED_TRACE(&spoil - kinds);
      EngineSetting fresh;
      std::string before;
      const Lines options = safe ? Lines{"--safe"} : Lines{};
      EngineRun& engine = fresh.StartIn("A\\", options, [&](const std::string& path) {
        spoil(path + "/SQLLiteNew.db");
        before = BytesOf(path + "/SQLLiteNew.db");
      });
      EXPECT_EQ(engine.InsertEml("key"), 1);
      EXPECT_EQ(engine.RunStatus(), kSuccessStatus);
      EXPECT_TRUE(fresh.Items().empty());
      EXPECT_EQ(engine.InsertEml(""), 1);
      EXPECT_EQ(fresh.Items().size(), 1u);
      EXPECT_EQ(engine.Close(), 0);
      EXPECT_TRUE(BytesOf(engine.File("SQLLiteNew.db")) == before) << "touched";
    }
  }
}

// The figure in kB behind that name in /proc/PID/status.
long StatusFigure(pid_t pid, const std::string& name) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ":")) return std::stol(line.substr(name.size() + 1));
  }
  return -1;
}

TEST_F(EngineFaults, AHundredMegabytesNeedLittleMoreMemoryThanTheirOwn) {
  constexpr size_t kSize = 100'000'000;
  mailbox.emplace(folder.Path(), Lines{"--max-message-size", "200000000"});
  EngineRun& engine = StartIn("Big\\");
  std::string mime = "Subject: big\r\n\r\n";
  mime.reserve(kSize + 100);
  while (mime.size() < kSize) {
    mime += "A line of the large mail, number " + std::to_string(mime.size()) + "\r\n";
  }
  const long before = StatusFigure(engine.Pid(), "VmHWM");
  ASSERT_EQ(engine.InsertEml("big", mime), 1) << engine.RunStatus();
  const long rise = StatusFigure(engine.Pid(), "VmHWM") - before;
  ASSERT_GT(before, 0);
  ASSERT_GT(rise, 0);
  RecordProperty("rise_kb", static_cast<int>(rise));
  constexpr double kOwn = 40.0 * 1024 * 1024;
  EXPECT_LT(static_cast<double>(rise) * 1024, 1.3 * static_cast<double>(mime.size()) + kOwn);
  EXPECT_TRUE(OnlyItem().mime == mime) << "not what was sent";
}

TEST_F(EngineFaults, EachAnswerOfAServerGoneWrongIsTheStatusOfItsItemAlone) {
  ScriptedServer server;  // goes after the engine: it waits for its connections
  EngineRun engine(folder.Path(), {"--ews-url", server.Url("/EWS/Exchange.asmx")});
  ASSERT_TRUE(engine.Logon());
  ASSERT_EQ(engine.CreateFolder("no level"), 1);  // the root, without a request
  const struct {
    ScriptedAnswer answer;
    std::string status;  // its beginning
    std::string holds;
  } cases[] = {
      {{.status = 401}, kFailStatus, "401"},
      {{.status = 403}, kFailStatus, "403"},
      {{.status = 404}, kFailStatus, "404"},
      {{.status = 500}, kFailStatus, "500"},
      {{.body = answers::Item("I"), .fault = ScriptedAnswer::Fault::kDropInBody},
       kFailStatus,
       "127.0.0.1"},
      {{.fault = ScriptedAnswer::Fault::kDropUnanswered},
       kFailStatus,
       "127.0.0.1 closed the connection without an answer. It may have carried the request out."},
      {{.body = "<broken"}, kFailStatus, ""},
      {{.body = answers::Error("CreateItem", "ErrorQuotaExceeded", "It is full.")},
       kFailStatus + "It is full.\r\r\n",
       ""},
      {{.body = answers::Error("CreateItem", "ErrorX", "The index is out of range.")},
       "\t\tSaving Status : Success\r\r\n\t Message :The index is out of range.\r\r\n",
       ""},
  };
  engine.Status();
  for (const auto& c : cases) {
    server.Push(c.answer);
    EXPECT_EQ(engine.InsertEml("key" + c.holds), 0);
    const std::string status = engine.Status();
    EXPECT_THAT(status, testing::AllOf(StartsWith(c.status), HasSubstr(c.holds)));
    // The run's log has the bare text first, the status line behind it.
    EXPECT_THAT(engine.RunStatus(), EndsWith(status));
  }
  // Only the last one counts as saved.
  EXPECT_EQ(engine.Ledger(), Lines{"no level|key|tom@example.org"});
  server.Push({.body = answers::Item("I")});
  EXPECT_EQ(engine.InsertEml("next"), 1);
}

// Waits a thousandth of the time that its first request is given: the engine's own times run into
// minutes.
class HurriedTransport : public ews::EwsTransport {
  ews::HttpResponse DoSend(const ews::HttpRequest& request) override {
    ews::HttpRequest hurried = request;
    if (std::exchange(m_hurries, false)) hurried.nTimeout /= 1000;
    return m_curl.Send(hurried);
  }
  ews::CurlTransport m_curl;
  bool m_hurries = true;
};

TEST_F(EngineFaults, AServerThatStopsAnsweringIsTheStatusOfItsItemAndTheNextIsTried) {
  const TempRunFolder own;
  ScriptedServer server;  // goes after the transport: it waits for its connections
  HurriedTransport transport;
  const ews::ScopedTransport scope(transport);
  const SettingsKeeper settings;
  ews::Settings().strEwsUrl = CString::FromUtf8(server.Url("/EWS/Exchange.asmx"));
  CCTarnyOutlookEngneDlg engine;  // in this process, for the sake of its clock
  ST_LOGIN_INFO login;
  login.strLoginId = u"tom@example.org";
  login.strTargetType = u"Mailbox";
  ASSERT_EQ(engine.OnCopyData(MSG_LOGIN_OUTLOOK, 1, BuildRecord(login)), 1);
  ASSERT_EQ(engine.OnCopyData(MSG_CREATE_FOLDER, 1, BuildRecord(ST_FOLDER_INFO{u"root", 0})), 1);
  own.WriteWork("11comtextjj.t", u"EMAIL\n");
  own.WriteWork("EmlFile.Eml", std::string(EngineRun::kMail));
  const auto item = BuildRecord(ST_ITEM_INFO{GetCurrPath(), u"run.txt", 0});
  server.Push({.fault = ScriptedAnswer::Fault::kSilence});
  server.Push({.body = answers::Item("I")});
  EXPECT_EQ(engine.OnCopyData(MSG_INSERT_ITEM, 1, item), 0);
  EXPECT_EQ(engine.OnCopyData(MSG_INSERT_ITEM, 1, item), 1);
  const std::string reason =
      "The request failed. The server 127.0.0.1 did not answer within the time-out of 0.7 s. "
      "It may have carried the request out.";
  EXPECT_EQ(test_support::ReadAll(own.File("run.txt")),
            reason + "\r\r\n" + kFailStatus + reason + "\r\r\n" + kSuccessStatus);
}

}  // namespace
}  // namespace system_test
