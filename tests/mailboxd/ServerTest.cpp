#include "mailboxd/Server.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "client/run/LineDrain.h"
#include "platform/ChildProcess.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

const std::string kGetInbox = Envelope(
    "<m:GetFolder><m:FolderShape><t:BaseShape>AllProperties</t:BaseShape>"
    "</m:FolderShape><m:FolderIds>" +
    WellKnown("inbox") + "</m:FolderIds></m:GetFolder>");

mailbox::ServerOptions In(const TempFolder& folder) {
  mailbox::ServerOptions options;
  options.dataFolder = folder.Path();
  return options;
}

TEST(Server, AnswersBelowAnyCaseOfItsPathAndFaultsTravelWith500) {
  const TempFolder folder;
  mailbox::Server server(In(folder));
  server.Start();
  EXPECT_EQ(Send({server.Url() + "/ews/EXCHANGE.ASMX", kGetInbox}).status, 200);
  EXPECT_EQ(Send({server.EwsUrl(), "<a/>"}).status, 500);
  EXPECT_EQ(Send({server.Url() + "/elsewhere", kGetInbox}).status, 404);
}

TEST(Server, WithoutALoginItAsksForOne) {
  const TempFolder folder;
  mailbox::Server server(In(folder));
  server.Start();
  for (const char* login : {"", "Basic", "Basic !!!", "Digest x", "Bearer "}) {
    const Reply reply = Send({server.EwsUrl(), kGetInbox, login});
    EXPECT_EQ(reply.status, 401) << login;
    EXPECT_NE(reply.headers.find("WWW-Authenticate: Basic"), std::string::npos);
  }
}

TEST(Server, AnOwnedMailboxTakesItsPasswordAndTokensOfItsOwnOnly) {
  const TempFolder folder;
  mailbox::ServerOptions options = In(folder);
  options.user = "User@example.com";
  options.password = "secret";
  mailbox::Server server(options);
  server.Start();
  const auto status = [&](const std::string& login) {
    return Send({server.EwsUrl(), kGetInbox, login}).status;
  };
  EXPECT_EQ(status("Basic " + platform::Base64Encode("user@example.com:secret")), 200);
  EXPECT_EQ(status("Basic " + platform::Base64Encode("user@example.com:Secret")), 401);
  EXPECT_EQ(status("Basic " + platform::Base64Encode("other@example.com:secret")), 401);
  EXPECT_EQ(status("Bearer made-up"), 401);
  const std::string url = server.Url() + "/tenant/oauth2/v2.0/token";
  const std::string form = "grant_type=client_credentials&client_id=app&client_secret=";
  EXPECT_EQ(Send({url, form + "wrong", ""}).status, 401);
  const Reply reply = Send({url, form + "%73ecret", ""});
  ASSERT_EQ(reply.status, 200) << reply.body;
  const auto token = nlohmann::json::parse(reply.body);
  EXPECT_GT(token["expires_in"].get<int>(), 0);
  EXPECT_EQ(status("Bearer " + token["access_token"].get<std::string>()), 200);
}

TEST(Server, AutodiscoverLeadsBackToTheHostThatWasAsked) {
  const TempFolder folder;
  mailbox::Server server(In(folder));
  server.Start();
  const std::string body =
      "<Autodiscover xmlns=\"http://schemas.microsoft.com/exchange/autodiscover/outlook/"
      "requestschema/2006\"><Request><EMailAddress>user@example.com</EMailAddress></Request>"
      "</Autodiscover>";
  const std::string login = Call().authorization;
  const Reply own = Send({server.AutodiscoverUrl(), body});
  EXPECT_NE(own.body.find("<EwsUrl>" + server.EwsUrl() + "</EwsUrl>"), std::string::npos);
  const Reply named = Send({server.AutodiscoverUrl(), body, login, "localhost:1234"});
  EXPECT_NE(named.body.find("<EwsUrl>http://localhost:1234/EWS/"), std::string::npos);
  const Reply hostile = Send({server.AutodiscoverUrl(), body, login, "a<b>\"c"});
  EXPECT_EQ(hostile.body.find("a<b>"), std::string::npos);
  EXPECT_NE(Send({server.AutodiscoverUrl(), "x"}).body.find("<ErrorCode>600<"), std::string::npos);
}

TEST(Server, ItsCertificateIsTheAuthorityToTrust) {
  const TempFolder folder;
  mailbox::ServerOptions options = In(folder);
  options.https = true;
  std::string first;
  {
    mailbox::Server server(options);
    server.Start();
    Call call{server.EwsUrl(), kGetInbox};
    EXPECT_EQ(Send(call).result, CURLE_PEER_FAILED_VERIFICATION);
    call.caFile = server.CertificateFile();
    EXPECT_EQ(Send(call).status, 200);
    first = mailbox::Server(  // another folder, another certificate
                [] {
                  static const TempFolder kOther;
                  mailbox::ServerOptions other = In(kOther);
                  other.https = true;
                  return other;
                }())
                .CertificateFile();
    call.caFile = first;
    EXPECT_NE(Send(call).result, CURLE_OK);
  }
  struct stat key {};
  ASSERT_EQ(::stat((folder.Path() + "/key.pem").c_str(), &key), 0);
}

TEST(Server, FaultsComeOnDemandAndEnd) {
  const TempFolder folder;
  mailbox::ServerOptions options = In(folder);
  options.faults = {"drop:1", "busy:1:250"};
  mailbox::Server server(options);
  server.Start();
  EXPECT_NE(Send({server.EwsUrl(), kGetInbox}).result, CURLE_OK);
  const Reply busy = Send({server.EwsUrl(), kGetInbox});
  EXPECT_EQ(busy.status, 500);
  EXPECT_EQ(Code(busy.body), "ErrorServerBusy");
  EXPECT_NE(busy.body.find("BackOffMilliseconds\">250<"), std::string::npos);
  EXPECT_EQ(Code(Send({server.EwsUrl(), kGetInbox}).body), "NoError");
  options.faults = {"nonsense"};
  EXPECT_THROW(mailbox::Server{options}, std::exception);
}

TEST(Server, AFolderAndAPortBelongToOneServer) {
  const TempFolder folder;
  const TempFolder other;
  const mailbox::Server server(In(folder));
  try {
    const mailbox::Server second(In(folder));
    FAIL() << "two servers in one folder";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), folder.Path() + " is in use by another mailboxd");
  }
  mailbox::ServerOptions options = In(other);
  options.port = std::stoi(server.Url().substr(server.Url().rfind(':') + 1));
  EXPECT_THROW(mailbox::Server{options}, std::runtime_error);
}

TEST(Server, ManyClientsAtOnceLoseNothing) {
  const TempFolder folder;
  mailbox::Server server(In(folder));
  server.Start();
  std::vector<std::thread> clients;
  for (int c = 0; c < 8; ++c) {
    clients.emplace_back([&] {
      for (int i = 0; i < 10; ++i) {
        const Reply reply =
            Send({server.EwsUrl(), CreateMessage(WellKnown("inbox"), MimeField("x"))});
        EXPECT_EQ(Code(reply.body), "NoError");
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_NE(Send({server.EwsUrl(), kGetInbox}).body.find("<t:TotalCount>80<"), std::string::npos);
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

int ExitCode(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

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
  const Reply reply = Send({again.Url(), GetItem(id,
                                                 "<t:BaseShape>IdOnly</t:BaseShape>"
                                                 "<t:IncludeMimeContent>true"
                                                 "</t:IncludeMimeContent>")});
  EXPECT_NE(reply.body.find(">" + platform::Base64Encode(message) + "<"), std::string::npos);
}

TEST_F(ServerProgram, EndsCleanlyAtASignalAndWithItsInput) {
  {
    Program program({"--data", m_folder.Path()});
    program.Url();
    program.CloseInput();
    program.Signal(SIGTERM);
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

TEST_F(ServerProgram, SaysWhatIsWrongAndTellsBadUsageFromFailure) {
  Program first({"--data", m_folder.Path()});
  first.Url();
  const TempFolder other;
  const std::string none = other.File("none");
  const std::string blank = other.Write("blank", "\nsecret\n");
  const std::vector<std::string> login = {"--data", other.Path(), "--user", "a", "--password-file"};
  const auto with = [&](const std::string& file) {
    std::vector<std::string> arguments = login;
    arguments.push_back(file);
    return arguments;
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
