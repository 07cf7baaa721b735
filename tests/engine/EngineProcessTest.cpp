#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/Records.h"
#include "platform/ChildProcess.h"
#include "platform/EndpointClient.h"

namespace {

using platform::EndpointClient;
using namespace std::chrono_literals;

// The engine as it runs for people: copied into a folder of its own, driven over its endpoint, with
// no server to reach.
class EngineProcess : public testing::Test {
 protected:
  EngineProcess() {
    std::string pattern = "/tmp/tarny-engine-XXXXXX";
    m_folder = mkdtemp(pattern.data());
    std::filesystem::copy(std::string(TARNY_BIN) + "/TarnyOutlookEngine", m_folder + "/engine");
    std::filesystem::create_directory(m_folder + "/Temp");
  }
  ~EngineProcess() override {
    for (auto& child : m_children) {
      if (child.TryWait()) continue;
      child.Signal(SIGKILL);
      child.Wait();
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

  std::string Title() const { return "<GUID>" + m_folder; }
  platform::ChildProcess& Start(std::vector<std::string> arguments) {
    platform::ChildOptions options;
    options.arrArguments = {m_folder + "/engine"};
    options.arrArguments.insert(options.arrArguments.end(), arguments.begin(), arguments.end());
    options.arrEnvironment = {"LC_ALL=C", "TZ=UTC"};
    const std::string errors = m_folder + "/stderr";
    const platform::UniqueFd file(open(errors.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600));
    options.nStderr = file.Get();
    m_children.push_back(platform::ChildProcess::Start(options));
    return m_children.back();
  }
  EndpointClient Connect() { return EndpointClient(Title(), 20s); }

  std::string Read(const std::string& name) const {
    std::ifstream in(m_folder + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // The trace since the last call, as UTF-8.
  std::string Trace(const std::string& name = "TarnyEngine.txt") {
    const std::string bytes = Read(name);
    std::u16string text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * 2);
    std::filesystem::remove(m_folder + "/" + name);
    return CString(text).ToUtf8();
  }
  static int ExitCode(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

  std::string m_folder;
  std::deque<platform::ChildProcess> m_children;
};

const std::string kStart = " -----OnCopyData-------- \n\r\n";

TEST_F(EngineProcess, WithoutItsMarkerItLeavesOnlyTheLedger) {
  EXPECT_EQ(ExitCode(Start({"--safe", "<guid>"}).Wait()), 0);
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
    names.push_back(entry.path().filename());
  }
  std::ranges::sort(names);
  EXPECT_EQ(names, (std::vector<std::string>{"SQLLiteNew.db", "Temp", "engine", "stderr"}));
  EXPECT_EQ(Read("stderr"), "");
}

TEST_F(EngineProcess, BadOptionIsTold) {
  EXPECT_EQ(ExitCode(Start({"--sefa", Title()}).Wait()), 2);
  EXPECT_EQ(Read("stderr"), "TarnyOutlookEngine: unknown option: --sefa\n");
}

TEST_F(EngineProcess, SecondEngineOfATitleIsToldSo) {
  Start({Title()});
  EndpointClient client = Connect();
  EXPECT_EQ(ExitCode(Start({Title()}).Wait()), 1);
  EXPECT_EQ(Read("stderr"), "TarnyOutlookEngine: an engine with this title is running already\n");
  EXPECT_EQ(client.SendCommand(0x046A, 1, {}), 0);  // the first one lives on
}

TEST_F(EngineProcess, EveryCommandBeforeALogonIsAnsweredAndTraced) {
  auto& engine = Start({Title()});
  EndpointClient client = Connect();
  const auto folder = BuildRecord(ST_FOLDER_INFO{u"Inbox\\", 0});
  EXPECT_EQ(client.SendCommand(MSG_CREATE_FOLDER, 1, folder), 0);  // the target is unknown
  EXPECT_EQ(Trace(), kStart +
                         " -------MSG_CREATE_FOLDER:--------- \n\r\n"
                         " MSG_CREATE_FOLDER:Inbox\\\r\n");
  EXPECT_EQ(Read("4LogFile.txt"), "Folder Creation in Office 365 done..\r\r\n");
  EXPECT_EQ(client.SendCommand(MSG_CREATE_FOLDER, 1, {folder.data(), folder.size() - 1}), 0);
  EXPECT_EQ(Trace(), kStart);
  EXPECT_EQ(client.SendCommand(MSG_CREATE_NEW_FOLDER, 1, {folder.data(), folder.size() - 1}), 0);
  EXPECT_EQ(Trace(), kStart);
  EXPECT_EQ(client.SendCommand(MSG_IMAGE_OUTLOOK, 1, {}), 0);
  EXPECT_EQ(Trace(), kStart + " ------MSG_IMAGE_OUTLOOK:--------- \n\r\n");
  EXPECT_EQ(client.SendCommand(MSG_CHECK_ARCHIVE, 1, {}), 0);
  EXPECT_EQ(Trace(), kStart);
  EXPECT_EQ(client.SendCommand(MSG_CREATE_NEW_FOLDER, 1, folder), 1);  // an absent folder counts
  EXPECT_EQ(Trace(), kStart + " -------MSG_CREATE_NEW_FOLDER:--------- \n\r\n");
  EXPECT_EQ(client.SendCommand(MSG_CLOSE_LEDGER, 1, {}), 0);
  EXPECT_EQ(Trace(), kStart);
  EXPECT_EQ(client.SendCommand(0x046A, 1, {}), 0);
  EXPECT_EQ(Trace(), kStart + " -------default:--------- \n\r\n");
  client.Close();
  EXPECT_EQ(ExitCode(engine.Wait()), 0);
}

TEST_F(EngineProcess, DirectoryListsNeedNoLogon) {
  Start({Title()});
  EndpointClient client = Connect();
  ST_GROUP_INFO group{u"t", u"c", u"s", 1};
  const std::string start = kStart +
                            "Start------MSG_ENUM_GRP_LIST::--------- \n\r\n"
                            "Start------MSG_ENUM_GRP_LIST_1::--------- \n\r\n";
  const std::string end = "End------MSG_ENUM_GRP_LIST::--------- \n\r\n";
  EXPECT_EQ(client.SendCommand(MSG_ENUM_GRP_LIST, 1, BuildRecord(group)), 0);
  EXPECT_EQ(Trace(), start + end);
  group.bUnifiedGroups = 0;
  EXPECT_EQ(client.SendCommand(MSG_ENUM_GRP_LIST, 1, BuildRecord(group)), 0);
  EXPECT_EQ(Trace(), start +
                         "Start------MSG_ENUM_GRP_LIST_Before::--------- \n\r\n"
                         "Start------MSG_ENUM_GRP_LIST_After::--------- \n\r\n" +
                         end);
}

TEST_F(EngineProcess, FailedLogonTellsAndEnds) {
  // A port of this host that nothing listens on.
  auto& engine = Start({"--autodiscover-url", "http://127.0.0.1:1/x", Title()});
  EndpointClient client = Connect();
  ST_LOGIN_INFO login;
  login.strLoginId = u"no address";
  login.strTargetType = u"Mailbox";
  login.bLogSwitch = 1;
  std::vector<std::uint32_t> messages;
  const auto note = [&](std::uint32_t message, std::span<const unsigned char>) {
    messages.push_back(message);
    return std::int64_t{0};
  };
  const std::int32_t result = client.SendCommand(MSG_LOGIN_OUTLOOK, 1, BuildRecord(login), note);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(Trace(), kStart + " ------MSG_LOGIN_OUTLOOK::--------- \n\r\n");
  const std::string steps =
      "MSG_LOGIN_OUTLOOK\r\nLogonUserAndServer_Dlg_0\r\nLogonUserAndServer_Start\r\n"
      "LogonUserAndServer_Start_1\r\nLogonUserAndServer_After\r\nLogonUserAndServer_Dlg_1\r\n";
  EXPECT_EQ(result, 0);
  EXPECT_EQ(messages[0], MSG_LOGIN_FAILURE);
  EXPECT_EQ(Trace("3LogFile.txt"), steps + "LogonUserAndServer_Dlg_F\r\n");
  EXPECT_EQ(ExitCode(engine.Wait()), 0);
}

TEST_F(EngineProcess, ItemBeforeALogonFailsInBothStatusLogs) {
  Start({"--authority-url", "http://127.0.0.1:1", Title()});
  EndpointClient client = Connect();
  // A record of nothing but its path: the rest reads as zero.
  const auto record = BuildRecord(ST_ITEM_INFO{u"x\\", u"run.txt", 0});
  EXPECT_EQ(client.SendCommand(MSG_INSERT_ITEM, 1, record), 0);  // no token, so no connection
  EXPECT_EQ(Trace(), kStart +
                         "0\n\n  MailCount----------------- "
                         "---------MSG_INSERT_ITEM:---------------------------------\r\n");
  EXPECT_FALSE(std::filesystem::exists(m_folder + "/run.txt"));
  EXPECT_EQ(client.SendCommand(MSG_INSERT_ITEM, 1, {record.data(), 1}), 0);
}

TEST_F(EngineProcess, MalformedFrameClosesItsConnectionAlone) {
  Start({Title()});
  EndpointClient client = Connect();
  for (const std::uint32_t length : {0xFFFFFFFFu, 0u, 3u}) {
    EndpointClient bad = Connect();
    const std::uint32_t frame[] = {length, length ? 1u : 99u, 0u};
    ASSERT_EQ(send(bad.Fd(), frame, sizeof frame, MSG_NOSIGNAL),
              static_cast<ssize_t>(sizeof frame));
    bad.WaitForEnd();
    EXPECT_EQ(client.SendCommand(0x046A, 1, {}), 0);
  }
}

TEST_F(EngineProcess, ClosingTwiceDoesNoHarm) {
  auto& engine = Start({Title()});
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
  EXPECT_FALSE(std::filesystem::exists(m_folder + "/SQLLiteNew.db-wal"));
}

}  // namespace
