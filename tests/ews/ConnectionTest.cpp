#include "ews/Connection.h"

#include <filesystem>
#include <fstream>

#include "platform/Paths.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/TemporaryFolder.h"

namespace {

class Connection : public Scripted {
 protected:
  // The token, or the reason in m_error.
  std::string Ask(CString secret = u"s&cret=1") {
    CString tenant = u"ten/ant";
    CString client = u"client";
    m_error = {};
    return ConnectionDLL::Connection().GetAccessToken(tenant, client, secret, m_error).ToUtf8();
  }
  void PushToken(const std::string& token, const std::string& seconds = "3600") {
    m_transport.Push(answers::Token(token, seconds));
  }

  CString m_error;
};

TEST_F(Connection, AsksTheTenantsTokenEndpoint) {
  ews::Settings().strAuthorityUrl = u"https://login.example.com/";
  ews::Settings().strEwsUrl = u"https://mail.example.com:444/EWS/Exchange.asmx";
  PushToken("T");
  EXPECT_EQ(Ask(), "T");
  EXPECT_TRUE(m_error.IsEmpty());
  const auto& sent = m_transport.Requests().at(0);
  EXPECT_EQ(sent.url, "https://login.example.com/ten%2Fant/oauth2/v2.0/token");
  EXPECT_EQ(sent.body,
            "client_id=client&client_secret=s%26cret%3D1&grant_type=client_credentials"
            "&scope=https%3A%2F%2Fmail.example.com%2F.default");
}

TEST_F(Connection, EveryFailureBecomesAReason) {
  m_transport.Push("{\"error\":\"invalid_client\",\"error_description\":\"Wrong secret.\"}", 401);
  EXPECT_EQ(Ask(), "");
  EXPECT_EQ(m_error, u"Wrong secret.");
  m_transport.Push("<html>", 502);
  EXPECT_EQ(Ask(), "");
  EXPECT_TRUE(m_error.Contains(u"HTTP 502"));
  m_transport.PushFailure("no route");
  Ask();
  EXPECT_EQ(m_error, u"no route");
  for (const char* body : {"", "[]", "{", "{\"access_token\":7}", "{\"access_token\":\"\"}"}) {
    m_transport.Push(body);
    EXPECT_EQ(Ask(), "") << body;
    EXPECT_FALSE(m_error.IsEmpty()) << body;
  }
  const std::string token = R"({"access_token":"T","expires_in":60})";
  m_transport.Push(token + std::string(256 * 1024 - token.size(), ' '));
  EXPECT_EQ(Ask(), "T");
  m_transport.Push(token + std::string(256 * 1024 - token.size() + 1, ' '));
  EXPECT_EQ(Ask(), "");
  EXPECT_TRUE(m_error.Contains(u"holds no token"));
  ews::Settings().strAuthorityUrl = u"http://login.example.com";  // the secret would be readable
  EXPECT_EQ(Ask(), "");
  EXPECT_TRUE(m_error.Contains(u"unencrypted"));
  ews::Settings().strEwsUrl = u"nonsense";
  EXPECT_EQ(Ask(), "");
}

TEST_F(Connection, TheSecretIsNotSentOnToAnotherHost) {
  m_transport.PushRedirect("https://elsewhere.example.org/token", 307);
  EXPECT_EQ(Ask(), "");
  EXPECT_EQ(m_transport.Requests().size(), 1u);
}

TEST_F(Connection, EachCallAsksUnlessTheCacheIsOn) {
  PushToken("one");
  PushToken("two");
  EXPECT_EQ(Ask(), "one");
  EXPECT_EQ(Ask(), "two");
}

TEST_F(Connection, TheCacheAnswersWhileOverFiveMinutesAreLeft) {
  ews::Settings().bTokenCache = true;
  ews::Settings().strAuthorityUrl = u"https://cache.example.com";
  PushToken("one");
  EXPECT_EQ(Ask(), "one");
  m_transport.Wait(std::chrono::seconds(3299));
  EXPECT_EQ(Ask(), "one");
  m_transport.Wait(std::chrono::seconds(1));
  PushToken("two");
  EXPECT_EQ(Ask(), "two");
  PushToken("other");
  EXPECT_EQ(Ask(u"another secret"), "other");
  EXPECT_EQ(m_transport.Requests().size(), 3u);
}

TEST_F(Connection, ALifetimeOfAnySizeIsTakenAsSevenDaysAtMost) {
  ews::Settings().bTokenCache = true;
  for (const char* seconds : {"1e300", "18446744073709551615", "9223372036854775807", "604800.5"}) {
    ews::Settings().strAuthorityUrl = u"https://long.example.com/" + CString::FromUtf8(seconds);
    PushToken("one", seconds);
    EXPECT_EQ(Ask(), "one");
    m_transport.Wait(std::chrono::hours(7 * 24) - std::chrono::seconds(301));
    EXPECT_EQ(Ask(), "one") << seconds;
    m_transport.Wait(std::chrono::seconds(1));
    PushToken("two", "-1e300");
    EXPECT_EQ(Ask(), "two") << seconds;
    PushToken("three", "0");
    EXPECT_EQ(Ask(), "three") << seconds;
  }
}

// What stands in front of an endpoint while it is out of order is no wrong address.
TEST_F(Connection, APageWhereTokensHaveComeFromIsWaitedOut) {
  ews::Settings().bSafe = true;
  ews::Settings().nPatience = std::chrono::seconds(60);
  ews::Settings().strAuthorityUrl = u"https://page.example.com";
  m_transport.Push("<html>", 404);
  EXPECT_EQ(Ask(), "");
  m_transport.Push("<html>");
  EXPECT_EQ(Ask(), "");
  EXPECT_EQ(m_transport.Waited().count(), 0);
  PushToken("one");
  EXPECT_EQ(Ask(), "one");
  m_transport.Push("<html>", 404);
  m_transport.Push("<html>");
  m_transport.PushRedirect("https://elsewhere.example.org/sorry");
  PushToken("two");
  EXPECT_EQ(Ask(), "two");
  EXPECT_GE(m_transport.Waited(), std::chrono::seconds(5));
  m_transport.Push(R"({"error_description":"No such tenant."})", 404);
  EXPECT_EQ(Ask(), "");
  EXPECT_EQ(m_error, u"No such tenant.");
  for (int i = 0; i < 20; ++i) m_transport.Push("<html>", 404);
  EXPECT_EQ(Ask(), "");
  EXPECT_TRUE(m_error.Contains(u"; waited for "));
}

// Both lists, written to a file.
class DirectoryFile : public Connection {
 protected:
  // The file's text, or "none" and the reason.
  std::string Write(bool groups = true) {
    CString tenant = u"t";
    CString client = u"c";
    CString secret = u"s";
    CString file = platform::ToWindowsPath(m_path);
    ConnectionDLL::Connection connection;
    groups ? connection.GetUnifiedGroupList(tenant, client, secret, file)
           : connection.GetOneDriveUsers(tenant, client, secret, file);
    std::ifstream in(m_path);
    if (!in) return "none: " + connection.ListError().ToUtf8();
    EXPECT_TRUE(connection.ListError().IsEmpty()) << connection.ListError().ToUtf8();
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void PushPage(const std::string& entries, const std::string& next = {}) {
    m_transport.Push("{\"value\":[" + entries + "]" +
                     (next.empty() ? "" : ",\"@odata.nextLink\":\"" + next + "\"") + "}");
  }

  const test_support::TemporaryFolder m_folder;
  const std::string m_path = m_folder.File("GrpLst.txt");
};

const std::string kSales = R"({"displayName":"Sales","mail":"sales@example.com"})";

TEST_F(DirectoryFile, GroupsComePageByPageWithATokenForTheDirectory) {
  ews::Settings().strGraphUrl = u"https://graph.example.com/";
  PushToken("T");
  PushPage(kSales, "https://graph.example.com/v1.0/groups?$skiptoken=x");
  PushPage(
      R"({"displayName":"Caf\u00e9\tand\nbar","mail":"cafe@example.com"},{"displayName":"mute"})");
  EXPECT_EQ(Write(), "Sales\tsales@example.com\nCafé and bar\tcafe@example.com\n");
  EXPECT_THAT(m_transport.Requests().at(0).body,
              testing::EndsWith("&scope=https%3A%2F%2Fgraph.example.com%2F.default"));
  EXPECT_EQ(Url(1),
            "https://graph.example.com/v1.0/groups?$filter=groupTypes/any(c:c%20eq%20'Unified')"
            "&$select=displayName,mail&$top=999");
  EXPECT_EQ(Url(2), "https://graph.example.com/v1.0/groups?$skiptoken=x");
  EXPECT_EQ(m_transport.Requests().at(2).authorization, "Bearer T");
}

TEST_F(DirectoryFile, UsersWithoutAMailboxHaveTheirLogonName) {
  PushToken("T");
  PushPage(R"({"displayName":null,"mail":null,"userPrincipalName":"a@x.org"},)"
           R"({"displayName":"B","mail":"b@x.org","userPrincipalName":"b@corp.x.org"})");
  EXPECT_EQ(Write(/*groups=*/false), "\ta@x.org\nB\tb@x.org\n");
  PushToken("T");
  PushPage("");
  EXPECT_EQ(Write(/*groups=*/false), "");  // an empty directory is a list, too
}

TEST_F(DirectoryFile, AListIsWholeOrNotThere) {
  const std::string next = "https://graph.microsoft.com/v1.0/groups?2";
  PushToken("T");
  PushPage(kSales);
  EXPECT_NE(Write(), "");
  PushToken("T");
  PushPage(kSales, next);
  m_transport.Push(R"({"error":{"code":"Gone","message":"Expired page."}})", 410);
  EXPECT_EQ(Write(), "none: The directory answered: Expired page (Gone).");
  PushToken("T");
  PushPage(kSales, next);
  m_transport.Push("<html>", 403);
  EXPECT_THAT(Write(), testing::HasSubstr("HTTP 403"));
  const std::string deep(2'000'000, '[');
  for (const std::string& body :
       std::vector<std::string>{"", "{}", "[]", "{\"value\":7}", "{\"value\":[", deep}) {
    PushToken("T");
    m_transport.Push(body);
    EXPECT_THAT(Write(), testing::HasSubstr("holds no list")) << body.substr(0, 20);
  }
  for (const char* link : {"\"\"", "7", "[\"https://graph.microsoft.com/2\"]", "{}"}) {
    PushToken("T");
    m_transport.Push("{\"value\":[" + kSales + "],\"@odata.nextLink\":" + link + "}");
    EXPECT_THAT(Write(), testing::HasSubstr("next page without its address")) << link;
  }
  PushToken("T");
  m_transport.Push(std::string(ews::kMaxDirectoryPageBytes + 1, ' '));
  EXPECT_THAT(Write(), testing::HasSubstr("too large"));
}

TEST_F(DirectoryFile, WhatCannotBeWrittenLeavesNothingBehind) {
  std::filesystem::create_directories(m_path + "/in the way");
  PushToken("T");
  PushPage(kSales);
  CString text = u"x";
  CString file = platform::ToWindowsPath(m_path);
  ConnectionDLL::Connection connection;
  connection.GetUnifiedGroupList(text, text, text, file);
  EXPECT_EQ(connection.ListError(), u"The list could not be written: File exists.");
  EXPECT_TRUE(std::filesystem::is_directory(m_path));
  EXPECT_FALSE(std::filesystem::exists(m_path + ".part"));
}

TEST_F(DirectoryFile, TheTokenGoesToNoOtherHost) {
  for (const char* next : {"https://graph.microsoft.com.evil.org/2", "http://graph.microsoft.com/2",
                           "https://graph.microsoft.com:444/2", "/v1.0/groups?2"}) {
    PushToken("T");
    PushPage(kSales, next);
    EXPECT_THAT(Write(), testing::HasSubstr("a next page elsewhere")) << next;
  }
  PushToken("T");
  m_transport.PushRedirect("https://evil.org/");
  m_transport.Push("", 404);
  EXPECT_THAT(Write(), testing::HasSubstr("HTTP 404"));
  EXPECT_EQ(m_transport.Requests().back().authorization, "");
}

TEST_F(DirectoryFile, ABusyDirectoryIsWaitedForAndAnExpiredTokenReplacedOnce) {
  PushToken("one");
  m_transport.Push({429, {{"Retry-After", "7"}}, ""});
  PushPage(kSales, "https://graph.microsoft.com/v1.0/groups?2");
  m_transport.Push("", 401);
  PushToken("two");
  PushPage(kSales);
  EXPECT_EQ(Write(), "Sales\tsales@example.com\n");
  EXPECT_EQ(m_transport.Waited(), std::chrono::seconds(7));
  EXPECT_EQ(m_transport.Requests().back().authorization, "Bearer two");
  PushToken("one");
  m_transport.Push("", 401);
  PushToken("two");
  m_transport.Push("", 401);
  EXPECT_THAT(Write(), testing::HasSubstr("HTTP 401"));
  m_transport.Push(R"({"error_description":"Wrong secret."})", 401);
  EXPECT_EQ(Write(), "none: Wrong secret.");  // each try may count towards a lock: one alone
}

TEST_F(DirectoryFile, PagesWithoutEndEnd) {
  PushToken("T");
  const std::string next = "https://graph.microsoft.com/v1.0/groups?2";
  for (size_t i = 0; i <= ews::kMaxDirectoryPages; ++i) PushPage(kSales, next);
  EXPECT_THAT(Write(), testing::HasSubstr("has no end"));
}

}  // namespace
