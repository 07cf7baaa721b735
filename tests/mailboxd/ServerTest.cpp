#include "mailboxd/Server.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "client/run/LineDrain.h"
#include "platform/ChildProcess.h"
#include "platform/Sqlite.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/EngineFolder.h"
#include "tests/support/MailFiles.h"

using namespace mailbox_test;
using test_support::ExitCode;

namespace {

const std::string kGetInbox = GetFolder(WellKnown("inbox"));

TEST(Server, AnswersBelowAnyCaseOfItsPathAndAsksForALoginWithoutOne) {
  RunningServer server;
  EXPECT_EQ(Send({server->Url() + "/ews/EXCHANGE.ASMX", kGetInbox}).status, 200);
  EXPECT_EQ(Send({server->EwsUrl(), "<a/>"}).status, 500);
  EXPECT_EQ(Send({server->Url() + "/elsewhere", kGetInbox}).status, 404);
  for (const char* login : {"", "Basic", "Basic !!!", "Digest x", "Bearer "}) {
    const Reply reply = Send({server->EwsUrl(), kGetInbox, login});
    EXPECT_EQ(reply.status, 401) << login;
    EXPECT_TRUE(Holds(reply.headers, {"WWW-Authenticate: Basic"}));
  }
}

TEST(Server, AnOwnedMailboxTakesItsPasswordAndTokensOfItsOwnOnly) {
  RunningServer server(OwnedBy("User@example.com"));
  const auto status = [&](const std::string& login) {
    return Send({server->EwsUrl(), kGetInbox, login}).status;
  };
  EXPECT_EQ(status(Basic("user@example.com:secret")), 200);
  EXPECT_EQ(status(Basic("user@example.com:Secret")), 401);
  EXPECT_EQ(status(Basic("other@example.com:secret")), 401);
  EXPECT_EQ(status("Bearer made-up"), 401);
  const std::string url = server->Url() + "/tenant/oauth2/v2.0/token";
  const std::string form = "grant_type=client_credentials&client_id=app&client_secret=";
  EXPECT_EQ(Send({url, form + "wrong", ""}).status, 401);
  const Reply reply = Send({url, form + "%73ecret", ""});
  ASSERT_EQ(reply.status, 200) << reply.body;
  const auto token = nlohmann::json::parse(reply.body);
  EXPECT_GT(token["expires_in"].get<int>(), 0);
  EXPECT_EQ(status("Bearer " + token["access_token"].get<std::string>()), 200);
}

TEST(Server, AutodiscoverLeadsBackToTheHostThatWasAsked) {
  RunningServer server;
  const auto ask = [&](const std::string& body, const std::string& host = "") {
    return Send({server->AutodiscoverUrl(), body, Call().authorization, host}).body;
  };
  const std::string body =
      "<Autodiscover xmlns=\"http://schemas.microsoft.com/exchange/autodiscover/outlook/"
      "requestschema/2006\"><Request><EMailAddress>user@example.com</EMailAddress></Request>"
      "</Autodiscover>";
  EXPECT_TRUE(Holds(ask(body), {"<EwsUrl>" + server->EwsUrl() + "</EwsUrl>"}));
  EXPECT_TRUE(Holds(ask(body, "localhost:1234"), {"<EwsUrl>http://localhost:1234/EWS/"}));
  EXPECT_TRUE(Lacks(ask(body, "a<b>\"c"), {"a<b>"}));
  for (const std::string& bad : {std::string("x"), "<!DOCTYPE a [<!ENTITY b \"c\">]>" + body}) {
    EXPECT_TRUE(Holds(ask(bad), {"<ErrorCode>600<"}));
  }
}

TEST(Server, ItsCertificateIsTheAuthorityToTrust) {
  mailbox::ServerOptions options;
  options.https = true;
  RunningServer server(options);
  RunningServer other(options);
  Call call{server->EwsUrl(), kGetInbox};
  EXPECT_EQ(Send(call).result, CURLE_PEER_FAILED_VERIFICATION);
  call.caFile = server->CertificateFile();
  EXPECT_EQ(Send(call).status, 200);
  call.caFile = other->CertificateFile();
  EXPECT_NE(Send(call).result, CURLE_OK);
}

TEST(Server, FailuresComeAsOrderedAtItsStartOrWhileItRunsAndEnd) {
  mailbox::ServerOptions options;
  options.faults = {"401:1"};
  options.maximumMessageSize = 5;
  RunningServer server(options);
  const std::string faults = server->Url() + "/faults";
  const std::string token = server->Url() + "/tenant/oauth2/v2.0/token";
  const Call ask{server->EwsUrl(), kGetInbox};
  const Call discover{server->AutodiscoverUrl(), "x"};
  const auto save = [&](const char* mime) {
    return Call{server->EwsUrl(), CreateMessage(WellKnown("inbox"), MimeField(mime))};
  };
  const struct {
    const char* orders;
    Call call;
    int status;  // 0: the connection is cut
    std::vector<std::string_view> answer;
  } rows[] = {
      {"", ask, 401, {"WWW-Authenticate: Basic"}},
      {"503:1:7\n\n 429:1\r\n", ask, 429, {}},
      {"", ask, 503, {"Retry-After: 7"}},
      {"busy:1:250", ask, 500, {">ErrorServerBusy<", "BackOffMilliseconds\">250<"}},
      {"soap:ErrorTimeoutExpired:1", ask, 500, {">ErrorTimeoutExpired<"}},
      {"close:1", ask, 200, {"Connection: close", ">NoError<"}},
      {"drop:1", ask, 0, {}},
      {"expired:1", ask, 200, {">NoError<"}},  // by password: no token expires
      {"",
       {server->EwsUrl(), kGetInbox, "Bearer token"},
       401,
       {"WWW-Authenticate: Bearer error=\"invalid_token\""}},
      {"", {server->EwsUrl(), kGetInbox, "Bearer token"}, 200, {"<t:TotalCount>0<"}},
      {"", save("123456"), 200, {">ErrorMessageSizeExceeded<"}},
      {"broken:1", save("12345"), 200, {}},
      {"", ask, 200, {"<t:TotalCount>1<"}},
      // Those for a token and for the mailbox's address have orders of their own.
      {"token:429:1:7\nautodiscover:drop:1\nautodiscover:503:1", ask, 200, {">NoError<"}},
      {"", {token, "grant_type=x"}, 429, {"Retry-After: 7"}},
      {"", discover, 0, {}},
      {"", discover, 503, {}},
      {"", discover, 200, {}},
  };
  for (const auto& row : rows) {
    if (*row.orders != '\0') {
      EXPECT_EQ(Send({faults, row.orders}).status, 204) << row.orders;
    }
    const Reply reply = Send(row.call);
    EXPECT_EQ(reply.result == CURLE_OK, row.status != 0) << row.orders;
    EXPECT_EQ(reply.status, row.status) << row.orders;
    EXPECT_TRUE(Holds(reply.headers + reply.body, row.answer)) << row.orders;
    pugi::xml_document document;
    EXPECT_EQ(document.load_string(reply.body.c_str()).status != pugi::status_ok,
              reply.body.empty() || std::string_view(row.orders) == "broken:1")
        << reply.body;
  }
  Send({faults, "503:9"});
  EXPECT_EQ(Send({.url = faults, .method = "DELETE"}).status, 204);
  EXPECT_EQ(Send(ask).status, 200);
  EXPECT_EQ(Send({faults, "503:1\nnonsense"}).status, 400);  // all or none
  EXPECT_EQ(Send(ask).status, 200);
  EXPECT_EQ(Send({faults, "503:1", ""}).status, 401);
  EXPECT_EQ(Send({.url = faults, .authorization = "", .method = "DELETE"}).status, 401);
  EXPECT_EQ(Send({faults}).status, 405);
}

TEST(Server, LogsALineForEachRequestAndNothingOfWhatIsSecret) {
  const TempFolder folder;
  mailbox::ServerOptions options;
  options.logFile = folder.File("requests.log");
  options.faults = {"drop:1"};
  RunningServer server(options);
  Send({server->EwsUrl(), kGetInbox});
  Send({server->EwsUrl(), kGetInbox});
  Send({server->Url() + "/no%20such%20page", "", Basic("user@example.com:secret")});
  Send({server->EwsUrl(), kGetInbox, ""});
  const std::string log = test_support::ReadBytes(options.logFile);
  EXPECT_EQ(CountOf(log, "\n"), 4u) << log;
  const std::string size = std::to_string(kGetInbox.size());
  EXPECT_TRUE(Holds(log, {" POST /EWS/Exchange.asmx - - 0 " + size + " 0 ",
                          " POST /EWS/Exchange.asmx GetFolder user@example.com 200 " + size + " ",
                          " GET /no_such_page - - 404 0 ", " POST /EWS/Exchange.asmx - - 401 "}));
  EXPECT_TRUE(Lacks(log, {"secret", "Basic", platform::Base64Encode("user@example.com:secret")}));
  // Also where the work breaks off.
  platform::SqliteDatabase(server.File("mailbox.db")).Execute("DROP TABLE folders");
  EXPECT_EQ(Send({server->Url() + "/"}).status, 500);
  EXPECT_TRUE(Holds(test_support::ReadBytes(options.logFile), {" GET / - - 500 0 "}));
}

TEST(Server, ListsPeopleAndGroupsPageByPage) {
  RunningServer server;
  Send({server->EwsUrl(), kGetInbox});  // makes the mailbox
  std::ofstream(server.File("directory.txt"))
      << "groups\tTeam \"A\"\tteam@example.com\nusers\tAnn\tann@example.com\nnonsense\n"
         "groups\tAll\tall@example.com\r\n";
  const auto get = [&](const std::string& url) {
    const Reply reply = Send({url});
    EXPECT_EQ(reply.status, 200) << reply.body;
    return nlohmann::json::parse(reply.body, nullptr, false);
  };
  const auto first = get(server->Url() + "/v1.0/groups?$select=displayName,mail&$top=1");
  ASSERT_EQ(first["value"].size(), 1u);
  EXPECT_EQ(first["value"][0]["displayName"], "Team \"A\"");
  const auto second = get(first["@odata.nextLink"].get<std::string>());
  EXPECT_EQ(second["value"][0]["mail"], "all@example.com");
  EXPECT_FALSE(second.contains("@odata.nextLink"));
  const auto users = get(server->Url() + "/v1.0/users");
  ASSERT_EQ(users["value"].size(), 2u);
  EXPECT_EQ(users["value"][0]["userPrincipalName"], "user@example.com");
  for (const char* const bad : {"$top=0", "$top=1000", "$top=x", "$skiptoken=-1"}) {
    EXPECT_EQ(Send({server->Url() + "/v1.0/users?" + bad}).status, 400) << bad;
  }
  EXPECT_EQ(Send({server->Url() + "/v1.0/users", "", ""}).status, 401);
}

TEST(Server, ConnectionsAreCutBeforeInAndBehindTheBodyAndWhenTheItemIsSaved) {
  const struct {
    const char* fault;
    const char* stored;
  } rows[] = {
      {"drop-before:1", "<t:TotalCount>0<"},
      {"drop-in:1", "<t:TotalCount>0<"},
      {"drop:1", "<t:TotalCount>0<"},
      {"drop-saved:1", "<t:TotalCount>1<"},
  };
  for (const auto& row : rows) {
    RunningServer server(WithFaults({row.fault}));
    const std::string large =
        CreateMessage(WellKnown("inbox"), MimeField(std::string(300000, 'x')));
    EXPECT_NE(Send({server->EwsUrl(), large}).result, CURLE_OK) << row.fault;
    EXPECT_TRUE(Holds(Send({server->EwsUrl(), kGetInbox}).body, {row.stored})) << row.fault;
  }
}

TEST(Server, AHeldAnswerIsThatOfARequestThatIsDoneAndComesThoughTheServerEnds) {
  RunningServer server(WithFaults({"hold:2500"}));  // half of what an ending server grants
  mailbox::Store& store = server->Mailboxes();
  const std::int64_t inbox = *store.FindWellKnown(store.Mailbox("user@example.com"), "inbox");
  std::atomic<bool> answered = false;
  std::thread client([&] {
    const std::string request = CreateMessage(WellKnown("inbox"), MimeField("x"));
    EXPECT_EQ(Code(Send({server->EwsUrl(), request}).body), "NoError");
    answered = true;
  });
  while (store.Folder(inbox)->total == 0 && !answered) std::this_thread::yield();
  EXPECT_FALSE(answered);
  server->Stop();
  client.join();
}

TEST(Server, APortBelongsToOneServer) {
  RunningServer server;
  mailbox::ServerOptions options;
  options.port = std::stoi(server->Url().substr(server->Url().rfind(':') + 1));
  EXPECT_THROW(RunningServer{options}, std::runtime_error);
}

TEST(Server, ManyClientsAtOnceLoseNothing) {
  RunningServer server;
  std::vector<std::thread> clients;
  for (int c = 0; c < 8; ++c) {
    clients.emplace_back([&] {
      for (int i = 0; i < 10; ++i) {
        const Reply reply =
            Send({server->EwsUrl(), CreateMessage(WellKnown("inbox"), MimeField("x"))});
        EXPECT_EQ(Code(reply.body), "NoError");
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_TRUE(Holds(Send({server->EwsUrl(), kGetInbox}).body, {"<t:TotalCount>80<"}));
}

// The program itself, with its standard input in a pipe and all that it says in another.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments) {
    client::Pipe input = client::MakePipe();
    client::Pipe output = client::MakePipe();
    platform::ChildOptions options;
    options.arrArguments = {TARNY_BIN "/mailboxd"};
    options.arrArguments.insert(options.arrArguments.end(), arguments.begin(), arguments.end());
    options.nStdin = input.readEnd.Get();
    options.nStdout = options.nStderr = output.writeEnd.Get();
    m_process.emplace(platform::ChildProcess::Start(options));
    m_input = std::move(input.writeEnd);
    m_output = std::move(output.readEnd);
  }
  ~Program() {
    if (m_process && !m_waited) {
      m_process->Signal(SIGKILL);
      m_process->Wait();
    }
  }
  std::string ReadLine() {
    std::string line;
    char c = 0;
    while (::read(m_output.Get(), &c, 1) == 1 && c != '\n') line += c;
    return line;
  }
  std::string Url() {
    const std::string line = ReadLine();
    EXPECT_TRUE(line.starts_with("mailboxd: listening on http")) << line;
    return line.substr(line.rfind(' ') + 1) + "/EWS/Exchange.asmx";
  }
  void CloseInput() { m_input.Reset(); }
  void Signal(int number) { m_process->Signal(number); }
  int Wait() {
    m_waited = true;
    return m_process->Wait();
  }

 private:
  std::optional<platform::ChildProcess> m_process;
  platform::UniqueFd m_input;
  platform::UniqueFd m_output;
  bool m_waited = false;
};

class ServerProgram : public testing::Test {
 protected:
  void SetUp() override {
    if (::access(TARNY_BIN "/mailboxd", X_OK) != 0) GTEST_SKIP() << "mailboxd is not built";
  }
  TempFolder m_folder;
};

TEST_F(ServerProgram, AnAnsweredItemOutlivesAKilledServer) {
  std::string id;
  const std::string message = "Subject: kept\r\n\r\n" + std::string(100000, '\x80');
  {
    Program program({"--data", m_folder.Path()});
    const Reply reply =
        Send({program.Url(), CreateMessage(WellKnown("inbox"), MimeField(message))});
    program.Signal(SIGKILL);
    id = ItemId(reply.body);
    ASSERT_FALSE(id.empty()) << reply.body;
    program.Wait();
  }
  Program again({"--data", m_folder.Path()});
  EXPECT_EQ(BytesIn(Send({again.Url(), GetItem(id, kMime)}).body), message);
}

TEST_F(ServerProgram, EndsCleanlyAtASignalAndWithItsInput) {
  for (const int signal : {SIGTERM, SIGHUP}) {
    Program program({"--data", m_folder.Path()});
    program.Url();
    program.CloseInput();
    program.Signal(signal);
    EXPECT_EQ(ExitCode(program.Wait()), 0);
  }
  Program program({"--data", m_folder.Path(), "--until-stdin-closes"});
  EXPECT_EQ(Send({program.Url(), kGetInbox}).status, 200);
  program.CloseInput();
  EXPECT_EQ(ExitCode(program.Wait()), 0);
  EXPECT_FALSE(std::filesystem::exists(m_folder.Path() + "/mailbox.db-wal"));
  struct stat database {};
  ASSERT_EQ(::stat((m_folder.Path() + "/mailbox.db").c_str(), &database), 0);
  EXPECT_EQ(database.st_mode & 077u, 0u);
}

TEST_F(ServerProgram, AFolderThatIsServedIsRefusedAndOneWhoseServerEndsIsWaitedFor) {
  Program program({"--data", m_folder.Path(), "--until-stdin-closes"});
  program.Url();
  const auto take = [&] {
    mailbox::DataFolderLock(m_folder.Path(), mailbox::DataFolderLock::Lifetime::kUntilStdinCloses);
  };
  EXPECT_THROW(take(), std::runtime_error);
  program.Signal(SIGSTOP);
  program.CloseInput();
  std::thread later([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(600));  // longer than any server is given
    program.Signal(SIGCONT);
  });
  EXPECT_NO_THROW(take());
  later.join();
  EXPECT_EQ(ExitCode(program.Wait()), 0);
  EXPECT_NO_THROW(take());
}

TEST_F(ServerProgram, SaysWhatIsWrongAndTellsBadUsageFromFailure) {
  Program first({"--data", m_folder.Path()});
  first.Url();
  const TempFolder other;
  const std::string none = other.File("none");
  const std::string blank = other.Write("blank", "\nsecret\n");
  const auto with = [&](const std::string& file) -> std::vector<std::string> {
    return {"--data", other.Path(), "--user", "a", "--password-file", file};
  };
  const struct {
    std::vector<std::string> arguments;
    int code;
    std::string text;
  } rows[] = {
      {{"--data", m_folder.Path()}, 1, m_folder.Path() + " is in use by another mailboxd"},
      {{}, 2, "--data is required"},
      {{"--colour"}, 2, "The following argument was not expected: --colour"},
      {{"--data", other.Path(), "--user", "a"}, 2, "--user needs --password-file"},
      {{"--data", other.Path(), "--fault", "nonsense"}, 2, "no such fault: nonsense"},
      {with(none), 1, none + " cannot be read: No such file or directory"},
      {with(other.Path()), 1, other.Path() + " cannot be read: Is a directory"},
      {with(blank), 1, "no password in the first line of " + blank},
  };
  for (const auto& row : rows) {
    Program program(row.arguments);
    EXPECT_EQ(program.ReadLine(), "mailboxd: " + row.text);
    EXPECT_EQ(ExitCode(program.Wait()), row.code) << row.text;
  }
}

}  // namespace
