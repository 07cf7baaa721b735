#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "engine/Records.h"
#include "platform/ChildProcess.h"
#include "platform/EndpointClient.h"
#include "platform/EndpointSocket.h"
#include "platform/UniqueFd.h"
#include "tests/client/WideText.h"
#include "tests/support/EngineFolder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/EngineRun.h"
#include "tests/system/Programs.h"

// What docs/protocol.md tells the writer of a driving program, and the program that was written
// from it.
namespace system_test {
namespace {

using platform::EndpointClient;
using platform::FrameKind;
using test_support::ReadAll;
using test_support::TemporaryFolder;
using namespace std::chrono_literals;
using Bytes = std::vector<unsigned char>;
using Files = std::vector<std::pair<std::string, std::string>>;

constexpr std::chrono::milliseconds kLongest = 2min;  // until what has to come counts as missing

TEST(ProtocolPage, ItsWorkedExampleIsTheNameOfTheSocket) {
  const std::string page = ReadAll(TARNY_SOURCE "/docs/protocol.md");
  std::smatch found;
  ASSERT_TRUE(std::regex_search(
      page, found,
      std::regex("user 1000 and the title `([^`]+)`[^`]*```\ntarny-1000-([0-9a-f]+)\n```")));
  EXPECT_EQ(platform::EndpointName(found[1].str()),
            "tarny-" + std::to_string(geteuid()) + "-" + found[2].str());
}

// The sample's run: its exit code, and what it printed.
struct DriverRun {
  int status = 0;
  std::string text;
};

DriverRun RunDriver(const TemporaryFolder& folder, const std::string& url,
                    const std::vector<std::string>& items) {
  platform::ChildOptions start;
  start.arrArguments = {"/usr/bin/env",
                        "python3",
                        TARNY_SOURCE "/samples/driver/driver.py",
                        TARNY_BIN "/TarnyOutlookEngine",
                        folder.File("run"),
                        url + "/EWS/Exchange.asmx",
                        EngineRun::kUser,
                        folder.Write("password", "secret\n"),
                        "Archive/2024"};
  start.arrArguments.insert(start.arrArguments.end(), items.begin(), items.end());
  const std::string path = folder.File("driver.out");
  const platform::UniqueFd output(
      open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600));
  start.nStdout = output.Get();
  start.nStderr = output.Get();
  const int status = platform::ChildProcess::Start(start).Wait();
  return {test_support::ExitCode(status), ReadAll(path)};
}

std::string WriteItem(const TemporaryFolder& folder, const std::string& name,
                      const std::string& file, const std::string& bytes) {
  folder.Write(name + "/" + file, bytes);
  folder.Write(name + "/11comtextjj.t",
               client_test::Wide("EMAIL\n2\n2024-03-31 13:05:00\n\n\n\n\n\n\n<" + name +
                                 "@o'brien.example>\n"));
  return folder.File(name);
}

TEST(DriverSample, BringsThreeItemsIntoTheMailboxOnceAndTellsOfTheFourth) {
  const TemporaryFolder folder;
  const std::string mime("Subject: whole\r\nX-Odd: \xFF\r\n\r\nbody\0\t\x0C\r\n", 37);
  const std::string prepared = TARNY_SOURCE "/samples/prepared/Notes archive/";
  std::vector<std::string> items = {WriteItem(folder, "eml", "EmlFile.Eml", mime),
                                    prepared + "text body", prepared + "image page"};
  {
    const Mailbox mailbox(folder.Path(), {});
    const DriverRun first = RunDriver(folder, mailbox.Url(), items);
    EXPECT_EQ(first.status, 0) << first.text;
    items.push_back(WriteItem(folder, "refused", "TextFile1.txt", client_test::Wide("x")));
    folder.Write("refused/11comtextjj.t", client_test::Wide("EMAIL\n\n\n\n\n\n\n\nx\x0Cy\n<4>\n"));
    const DriverRun second = RunDriver(folder, mailbox.Url(), items);
    EXPECT_EQ(second.status, 1) << second.text;
    EXPECT_NE(second.text.find(items[3] + ": failed\n"), std::string::npos) << second.text;
    EXPECT_NE(second.text.find(items[0] + ": saved, or known already\n"), std::string::npos);
  }
  EXPECT_TRUE(EnginesOf(folder.File("run")).empty());
  const std::vector<StoredItem> stored = ItemsOf(folder.File("mailbox"));
  ASSERT_EQ(stored.size(), 3u);
  for (const StoredItem& item : stored) EXPECT_EQ(item.folder, "Archive/2024");
  EXPECT_EQ(stored[0].mime, mime);
  EXPECT_TRUE(stored[1].info.body.starts_with("Tom, Priya,\r\n\r\nthe tide table"));
  EXPECT_EQ(stored[1].attachments,
            (Files{{"tides.csv", ReadAll(prepared + "text body/tides.csv")},
                   {"Gru\xC3\x9F.txt", ReadAll(prepared + "text body/Gru\xC3\x9F.txt")}}));
  EXPECT_EQ(stored[2].attachments,
            (Files{{"light.png", ReadAll(prepared + "image page/light.png")}}));
  EXPECT_NE(stored[2].info.body.find("<img src=\"cid:"), std::string::npos);
}

// An engine with a mailbox behind it, and connections to it below the level of commands.
class Protocol : public testing::Test {
 protected:
  EndpointClient Connect() const { return EndpointClient("<GUID>" + folder.File("run"), kLongest); }
  std::vector<StoredItem> Items() const { return ItemsOf(folder.File("mailbox")); }

  TemporaryFolder folder;
  Mailbox mailbox{folder.Path(), {}};
  EngineRun engine{folder.Path(), {"--ews-url", mailbox.Url() + "/EWS/Exchange.asmx"}};
};

template <typename Info>
Bytes CommandFrame(std::uint32_t command, const Info& info) {
  Bytes payload;
  platform::AppendLittleEndian(payload, command);
  platform::AppendLittleEndian(payload, std::uint64_t{7});
  const Bytes record = BuildRecord(info);
  payload.insert(payload.end(), record.begin(), record.end());
  return platform::BuildFrame(FrameKind::kCopyData, payload);
}

Bytes LogonFrame() {
  ST_LOGIN_INFO login;
  login.strLoginId = CString::FromUtf8(EngineRun::kUser);
  login.strTargetType = u"Mailbox";
  return CommandFrame(MSG_LOGIN_OUTLOOK, login);
}

void Send(const EndpointClient& client, const Bytes& bytes) {
  ASSERT_TRUE(platform::SendAll(client.Fd(), bytes, kLongest.count()));
}

// The kind of the next frame, 0 when the engine has hung up.
int NextKind(const EndpointClient& client) {
  Bytes frame(platform::kFrameHeader + 4);  // both kinds that an engine sends here are of that size
  pollfd wait{client.Fd(), POLLIN, 0};
  size_t count = 0;
  while (count < frame.size()) {
    EXPECT_EQ(poll(&wait, 1, kLongest.count()), 1) << "no answer";
    const ssize_t got = recv(client.Fd(), frame.data() + count, frame.size() - count, 0);
    if (got <= 0) return 0;
    count += static_cast<size_t>(got);
  }
  return frame[4];
}

TEST_F(Protocol, OnlyTheAnswerToItsMessageBringsALogonItsResult) {
  const Bytes answer = platform::BuildFrame(FrameKind::kNotifyResult, Bytes(8, 0xFF));
  const Bytes close = platform::BuildFrame(FrameKind::kClose, {});
  const Bytes command = CommandFrame(MSG_CREATE_FOLDER, ST_FOLDER_INFO{u"Intruder\\", 0});
  const Bytes result = platform::BuildFrame(FrameKind::kResult, Bytes(4));
  for (const Bytes& wrong : {command, result}) {
    EndpointClient client = Connect();
    Send(client, LogonFrame());
    EXPECT_EQ(NextKind(client), 4);
    Send(client, wrong);
    EXPECT_EQ(NextKind(client), 0);
    const std::string trace = engine.Trace();
    EXPECT_EQ(trace.find("CREATE_FOLDER"), std::string::npos) << trace;
    EXPECT_NE(trace.find("LogonUserAndServer_Dlg_S"), std::string::npos) << trace;
  }
  EndpointClient early = Connect();
  Bytes together = LogonFrame();
  together.insert(together.end(), answer.begin(), answer.end());
  Send(early, together);
  EXPECT_EQ(NextKind(early), 4);
  EXPECT_EQ(NextKind(early), 5);
  Send(early, answer);  // nothing asks any more
  EXPECT_EQ(NextKind(early), 0);

  EndpointClient closing = Connect();
  Send(closing, LogonFrame());
  EXPECT_EQ(NextKind(closing), 4);
  Send(closing, close);
  Send(closing, answer);
  EXPECT_EQ(NextKind(closing), 5);
  EXPECT_EQ(NextKind(closing), 0);
}

TEST_F(Protocol, AControlInATextBodyEndsItOrFailsItsItem) {
  ASSERT_TRUE(engine.Logon());
  ASSERT_EQ(engine.CreateFolder("T\\"), 1);
  engine.Status();
  const auto insert = [&](int c) {
    engine.NewMail({});
    const auto low = static_cast<char>(c & 0xFF);
    const auto high = static_cast<char>(c >> 8);
    engine.Work("TextFile1.txt", std::string{'a', 0, low, high, 'c', 0});
    return engine.Insert() == 1 ? Items().back().info.body : "refused";
  };
  std::map<int, std::string> bodies = {{'\n', "a\r\nc\r\n"}, {'\r', "a\rc\r\n"}, {0x11, "a"}};
  for (int c = 0; c <= '\t'; ++c) bodies[c] = "a";
  for (int c = 0; c < ' '; ++c) {
    const auto arrives = bodies.find(c);
    EXPECT_EQ(insert(c), arrives == bodies.end() ? "refused" : arrives->second) << c;
    EXPECT_EQ(engine.Status() == "\r\r\n", arrives == bodies.end()) << c;
  }
  engine.RunStatus();
  for (const int c : {0xD800, 0xDC00, 0xFFFE, 0xFFFF}) {
    EXPECT_EQ(insert(c), "refused") << c;
    const std::string status = engine.RunStatus();
    EXPECT_TRUE(status.starts_with("The invalid value 'a")) << status;
    EXPECT_TRUE(status.ends_with("' was specified for the 'Body' element.\r\r\n\r\r\n")) << status;
  }
}

TEST_F(Protocol, WhatXmlRefusesFailsASubjectAndCostsAnAttachment) {
  ASSERT_TRUE(engine.Logon());
  ASSERT_EQ(engine.CreateFolder("T\\"), 1);
  MailFields fields;
  fields.subject = "s\x0Cx";
  engine.NewMail(fields);
  EXPECT_EQ(engine.Insert(), 0);
  const std::string status = engine.RunStatus();
  EXPECT_NE(status.find("Error Message :The invalid value 's\x0Cx' was specified for the 'Value' "
                        "element."),
            std::string::npos)
      << status;
  engine.NewMail({});
  engine.Work("a\x0C.txt", "lost");
  engine.Work("b.txt", "b");
  engine.WorkWide("11comtextjjAttach.t", "a\x0C.txt\nb.txt\n");
  EXPECT_EQ(engine.Insert(), 1);
  ASSERT_EQ(Items().size(), 1u);
  EXPECT_EQ(Items()[0].attachments, (Files{{"b.txt", "b"}}));
}

}  // namespace
}  // namespace system_test
