#include "ews/Connection.h"

#include <filesystem>

#include "platform/Paths.h"
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
    m_transport.Push(R"({"token_type":"Bearer","access_token":")" + token + R"(","expires_in":)" +
                     seconds + "}");
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

TEST_F(Connection, TheListsAreEmptyFiles) {
  const test_support::TemporaryFolder folder;
  const std::string path = folder.File("GrpLst.txt");
  CString text = u"x";
  CString file = platform::ToWindowsPath(path);
  ConnectionDLL::Connection().GetOneDriveUsers(text, text, text, file);
  EXPECT_EQ(std::filesystem::file_size(path), 0u);
  CString nowhere = u"\\no\\such\\folder\\GrpLst.txt";
  ConnectionDLL::Connection().GetUnifiedGroupList(text, text, text, nowhere);
}

}  // namespace
