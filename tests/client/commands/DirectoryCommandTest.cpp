// `tarny users` and `tarny groups` as a program, against a scripted server on loopback.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/commands/TarnyRun.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using client_test::Result;
using testing::HasSubstr;

class DirectoryCommand : public testing::Test {
 protected:
  // The secret is in the file that stands for INPUT.
  Result Run(const std::string& command, const std::string& more = {}) {
    return client_test::Tarny(command + " --tenant t --client c --client-secret-file INPUT" +
                                  " --authority-url " + m_server.Url("") + " --graph-url " +
                                  m_server.Url("") + " --patience 0 " + more,
                              "secret\n");
  }
  void PushList(const std::string& body, int status = 200) {
    m_server.Push({.body = R"({"access_token":"T"})"});
    m_server.Push({.status = status, .body = body});
  }

  test_support::ScriptedServer m_server;
};

const std::string kList =
    R"({"value":[{"displayName":"Caf\u00e9 \u001b[2J","mail":"cafe@example.com"}]})";

TEST_F(DirectoryCommand, PrintsLinesOrJson) {
  PushList(kList);
  const Result lines = Run("groups");
  EXPECT_EQ(lines.exitCode, 0) << lines.err;
  EXPECT_EQ(lines.out, "Café ␛[2J\tcafe@example.com\n");
  EXPECT_THAT(m_server.Requests().at(1).path, HasSubstr("/v1.0/groups"));
  EXPECT_EQ(m_server.Requests().at(1).Header("Authorization"), "Bearer T");
  PushList(kList);
  const Result json = Run("users", "--json");
  EXPECT_THAT(json.out, AllOf(HasSubstr("\"name\": \"Café \\u001b[2J\""),
                              HasSubstr("\"address\": \"cafe@example.com\"")));
  EXPECT_THAT(m_server.Requests().at(3).path, HasSubstr("/v1.0/users"));
}

TEST(LocalDirectory, IsThatOfAMailboxInAFolder) {
  const test_support::TemporaryFolder folder;
  folder.Write("directory.txt", "groups\tTeam\tteam@example.com\nusers\tAnn\tann@example.com\n");
  const std::string local = " --to local:" + folder.Path();
  const Result groups = client_test::Tarny("groups" + local, "");
  EXPECT_EQ(groups.exitCode, 0) << groups.err;
  EXPECT_EQ(groups.out, "Team\tteam@example.com\n");
  EXPECT_THAT(client_test::Tarny("users" + local, "").out, HasSubstr("Ann\tann@example.com\n"));
  for (const std::string& wrong :
       {local + " --tenant t", local + "/none", std::string(" --to office365"), std::string()}) {
    EXPECT_EQ(client_test::Tarny("users" + wrong, "").exitCode, 2) << wrong;
  }
  EXPECT_FALSE(std::filesystem::exists(folder.File("none")));
}

TEST_F(DirectoryCommand, TellsWhatWentWrong) {
  PushList(R"({"error":{"code":"Denied","message":"No \u001b[2Jrights."}})", 403);
  const Result refused = Run("groups");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_THAT(refused.err, HasSubstr("tarny groups: The directory answered: No"));
  EXPECT_EQ(refused.err.find('\x1B'), std::string::npos);
  m_server.Push({.status = 401, .body = R"({"error_description":"Wrong secret."})"});
  EXPECT_EQ(Run("users").err, "tarny users: Wrong secret.\n");
  EXPECT_EQ(Run("users", "--proxy nonsense").exitCode, 2);
  EXPECT_EQ(client_test::Tarny("users --client c", "").exitCode, 2);
}

}  // namespace
