// `tarny users` and `tarny groups` as a program, against a scripted server on loopback.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/commands/TarnyRun.h"
#include "tests/support/ScriptedServer.h"

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
