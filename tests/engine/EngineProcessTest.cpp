#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <deque>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "engine/Records.h"
#include "platform/ChildProcess.h"
#include "platform/EndpointClient.h"
#include "tests/support/EngineFolder.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using platform::EndpointClient;
using test_support::EngineFolder;
using test_support::ExitCode;
using test_support::TemporaryFolder;
using namespace std::chrono_literals;

// The engine driven over its endpoint, with no server to reach.
class EngineProcess : public testing::Test {
 protected:
  ~EngineProcess() override {
    for (auto& child : m_children) {
      if (child.TryWait()) continue;
      child.Signal(SIGKILL);
      child.Wait();
    }
  }

  platform::ChildProcess& Start(const std::vector<std::string>& arguments) {
    m_children.push_back(m_folder.Start(arguments));
    return m_children.back();
  }
  EndpointClient Connect() { return EndpointClient(m_folder.Title(), 20s); }

  TemporaryFolder m_outer;
  EngineFolder m_folder{m_outer.File("run")};
  std::deque<platform::ChildProcess> m_children;
};

const std::string kStart = " -----OnCopyData-------- \n\r\n";

TEST_F(EngineProcess, WithoutItsMarkerItLeavesOnlyTheLedger) {
  EXPECT_EQ(ExitCode(Start({"--safe", "<guid>"}).Wait()), 0);
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(m_folder.File(""))) {
    names.push_back(entry.path().filename());
  }
  std::ranges::sort(names);
  EXPECT_EQ(names, (std::vector<std::string>{"SQLLiteNew.db", "Temp", "engine"}));
  EXPECT_EQ(m_folder.Errors(), "");
}

TEST_F(EngineProcess, BadOptionIsTold) {
  EXPECT_EQ(ExitCode(Start({"--sefa", m_folder.Title()}).Wait()), 2);
  EXPECT_EQ(m_folder.Errors(), "TarnyOutlookEngine: unknown option: --sefa\n");
}

TEST_F(EngineProcess, SecondEngineOfATitleIsToldSo) {
  Start({m_folder.Title()});
  EndpointClient client = Connect();
  EXPECT_EQ(ExitCode(Start({m_folder.Title()}).Wait()), 1);
  EXPECT_EQ(m_folder.Errors(),
            "TarnyOutlookEngine: an engine with this title is running already\n");
  EXPECT_EQ(client.SendCommand(0x046A, 1, {}), 0);  // the first one lives on
}

TEST_F(EngineProcess, TheDirectorysListsAreWrittenIntoItsFolder) {
  test_support::ScriptedServer server;
  Start({"--authority-url", server.Url(""), "--graph-url", server.Url(""), m_folder.Title()});
  EndpointClient client = Connect();
  for (const std::uint8_t groups : {1, 0}) {
    server.Push({.body = R"({"access_token":"T"})"});
    server.Push({.body = R"({"value":[{"displayName":"N","mail":"n@x"}]})"});
    const auto list = BuildRecord(ST_GROUP_INFO{u"t", u"c", u"s", groups});
    EXPECT_EQ(client.SendCommand(MSG_ENUM_GRP_LIST, 1, list), 0);
    EXPECT_EQ(test_support::ReadAll(m_folder.File("GrpLst.txt")), "N\tn@x\n");
    const std::string path = groups ? "/v1.0/groups" : "/v1.0/users";
    EXPECT_TRUE(server.Requests().back().path.starts_with(path)) << server.Requests().back().path;
    std::filesystem::remove(m_folder.File("GrpLst.txt"));
  }
}

TEST_F(EngineProcess, EveryCommandBeforeALogonIsAnsweredAndTraced) {
  auto& engine = Start({"--graph-url", "none", m_folder.Title()});
  EndpointClient client = Connect();
  const auto folder = BuildRecord(ST_FOLDER_INFO{u"Inbox\\", 0});
  const std::span<const unsigned char> cut(folder.data(), folder.size() - 1);
  const auto unifiedGroups = BuildRecord(ST_GROUP_INFO{u"t", u"c", u"s", 1});
  const auto drives = BuildRecord(ST_GROUP_INFO{u"t", u"c", u"s", 0});
  const std::string lists =
      "Start------MSG_ENUM_GRP_LIST::--------- \n\r\n"
      "Start------MSG_ENUM_GRP_LIST_1::--------- \n\r\n";
  const std::string listsEnd =
      "The endpoint is no http or https address.\r\nEnd------MSG_ENUM_GRP_LIST::--------- \n\r\n";
  const struct {
    std::uint32_t command;
    std::span<const unsigned char> bytes;
    int result;
    std::string trace;
  } rows[] = {
      {MSG_CREATE_FOLDER, folder, 0,  // the target is unknown
       " -------MSG_CREATE_FOLDER:--------- \n\r\n MSG_CREATE_FOLDER:Inbox\\\r\n"},
      {MSG_CREATE_FOLDER, cut, 0, ""},
      {MSG_CREATE_NEW_FOLDER, cut, 0, ""},
      {MSG_IMAGE_OUTLOOK, {}, 0, " ------MSG_IMAGE_OUTLOOK:--------- \n\r\n"},
      {MSG_CHECK_ARCHIVE, {}, 0, ""},
      {MSG_CREATE_NEW_FOLDER, folder, 1,  // an absent folder counts
       " -------MSG_CREATE_NEW_FOLDER:--------- \n\r\n"},
      {MSG_CLOSE_LEDGER, {}, 0, ""},
      {MSG_ENUM_GRP_LIST, unifiedGroups, 0, lists + listsEnd},
      {MSG_ENUM_GRP_LIST, drives, 0,
       lists + "Start------MSG_ENUM_GRP_LIST_Before::--------- \n\r\n" +
           "Start------MSG_ENUM_GRP_LIST_After::--------- \n\r\n" + listsEnd},
      {0x046A, {}, 0, " -------default:--------- \n\r\n"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(client.SendCommand(row.command, 1, row.bytes), row.result) << row.command;
    EXPECT_EQ(m_folder.Trace(), kStart + row.trace) << row.command;
  }
  EXPECT_EQ(m_folder.Take("4LogFile.txt"), "Folder Creation in Office 365 done..\r\r\n");
  client.Close();
  EXPECT_EQ(ExitCode(engine.Wait()), 0);
}

// What the logon itself writes, up to its outcome.
const std::string kLogonSteps =
    "MSG_LOGIN_OUTLOOK\r\nLogonUserAndServer_Dlg_0\r\nLogonUserAndServer_Start\r\n"
    "LogonUserAndServer_Start_1\r\nLogonUserAndServer_After\r\nLogonUserAndServer_Dlg_1\r\n";
const std::string kLogonStart = kStart + " ------MSG_LOGIN_OUTLOOK::--------- \n\r\n";

// Logs on and returns the messages that came back in the middle.
std::vector<std::uint32_t> Logon(EndpointClient& client, std::uint8_t logSwitch, int result) {
  ST_LOGIN_INFO login;
  login.strLoginId = u"no address";
  login.strTargetType = u"Mailbox";
  login.bLogSwitch = logSwitch;
  std::vector<std::uint32_t> messages;
  const auto note = [&](std::uint32_t message, std::span<const unsigned char>) {
    messages.push_back(message);
    return std::int64_t{0};
  };
  EXPECT_EQ(client.SendCommand(MSG_LOGIN_OUTLOOK, 1, BuildRecord(login), note), result);
  return messages;
}

TEST_F(EngineProcess, FailedLogonTellsAndEnds) {
  // A port of this host that nothing listens on.
  auto& engine = Start({"--autodiscover-url", "http://127.0.0.1:1/x", m_folder.Title()});
  EndpointClient client = Connect();
  EXPECT_EQ(Logon(client, 1, 0), std::vector<std::uint32_t>{MSG_LOGIN_FAILURE});
  EXPECT_EQ(m_folder.Trace(), kLogonStart);
  EXPECT_EQ(m_folder.Trace("3LogFile.txt"), kLogonSteps + "LogonUserAndServer_Dlg_F\r\n");
  EXPECT_EQ(ExitCode(engine.Wait()), 0);
}

TEST_F(EngineProcess, TheLogSwitchIsForOneLogonAndItsFileGoesWithTheNext) {
  Start({"--ews-url", "http://127.0.0.1:1/x", m_folder.Title()});  // nothing is asked there yet
  EndpointClient client = Connect();
  const std::string steps = kLogonSteps + "LogonUserAndServer_Dlg_S\r\n";
  EXPECT_EQ(Logon(client, 1, 1), std::vector<std::uint32_t>{MSG_LOGIN_SUCCESS});
  EXPECT_EQ(client.SendCommand(0x046A, 1, {}), 0);
  EXPECT_EQ(m_folder.Trace(), kLogonStart + kStart + " -------default:--------- \n\r\n");
  EXPECT_EQ(test_support::ReadAll(m_folder.File("3LogFile.txt")).size(), steps.size() * 2);
  EXPECT_EQ(Logon(client, 2, 1), std::vector<std::uint32_t>{MSG_LOGIN_SUCCESS});
  EXPECT_EQ(m_folder.Trace(), kLogonStart + steps);
  EXPECT_FALSE(std::filesystem::exists(m_folder.File("3LogFile.txt")));
}

TEST_F(EngineProcess, AnOutageIsToldAndASignalCutsItsWaitShort) {
  auto& engine = Start({"--safe", "--patience", "600", "--ews-url", "http://127.0.0.1:1/x",
                        m_folder.Title()});  // a port that nothing listens on
  EndpointClient client = Connect();
  Logon(client, 0, 1);
  m_folder.Trace();
  auto folder = std::async(std::launch::async, [&] {
    return client.SendCommand(MSG_CREATE_FOLDER, 1, BuildRecord(ST_FOLDER_INFO{u"A\\", 0}));
  });
  while (!m_folder.Errors().ends_with('\n')) std::this_thread::sleep_for(10ms);
  engine.Signal(SIGHUP);
  EXPECT_EQ(folder.get(), 1);
  EXPECT_EQ(ExitCode(engine.Wait()), 0);
  const std::string told = m_folder.Errors();
  EXPECT_TRUE(told.starts_with("127.0.0.1 does not answer (")) << told;
  EXPECT_NE(m_folder.Trace().find(told.substr(0, told.find('\n')) + "\r\n"), std::string::npos);
}

TEST_F(EngineProcess, ItemBeforeALogonFailsInBothStatusLogs) {
  Start({"--authority-url", "http://127.0.0.1:1", m_folder.Title()});
  EndpointClient client = Connect();
  // A record of nothing but its path: the rest reads as zero.
  const auto record = BuildRecord(ST_ITEM_INFO{u"x\\", u"run.txt", 0});
  EXPECT_EQ(client.SendCommand(MSG_INSERT_ITEM, 1, record), 0);  // no token, so no connection
  EXPECT_EQ(m_folder.Trace(), kStart +
                                  "0\n\n  MailCount----------------- "
                                  "---------MSG_INSERT_ITEM:---------------------------------\r\n");
  EXPECT_FALSE(std::filesystem::exists(m_folder.File("run.txt")));
  EXPECT_EQ(client.SendCommand(MSG_INSERT_ITEM, 1, {record.data(), 1}), 0);
}

TEST_F(EngineProcess, ClosingTwiceDoesNoHarm) {
  auto& engine = Start({m_folder.Title()});
  EndpointClient client = Connect();
  EndpointClient other = Connect();
  EXPECT_EQ(client.SendCommand(MSG_CLOSE_LEDGER, 1, {}), 0);
  client.Close();
  try {
    other.Close();
  } catch (const platform::EndpointError&) {
    // it was faster
  }
  EXPECT_EQ(ExitCode(engine.Wait()), 0);
  EXPECT_FALSE(std::filesystem::exists(m_folder.File("SQLLiteNew.db-wal")));
}

}  // namespace
