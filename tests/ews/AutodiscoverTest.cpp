#include "ews/Autodiscover.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "ews/PoxMessages.h"
#include "tests/ews/ScriptedTransport.h"

namespace {

std::string Account(const std::string& content) {
  return "<Autodiscover><Response><Account>" + content + "</Account></Response></Autodiscover>";
}

std::string SettingsAnswer(const std::string& url) {
  return Account("<Action>settings</Action><Protocol><Type>EXPR</Type><EwsUrl>" + url +
                 "</EwsUrl></Protocol>");
}

std::string RedirectUrl(const std::string& url) {
  return Account("<Action>redirectUrl</Action><RedirectUrl>" + url + "</RedirectUrl>");
}

constexpr const char* kEndpoint = "https://mail.example.com/EWS/Exchange.asmx";

class Autodiscover : public testing::Test {
 protected:
  std::string Discover(const CString& address = u"user@example.com",
                       const ews::RedirectionCallback& callback = nullptr) {
    try {
      return ews::DiscoverEndpoint(address, ews::WebCredentials(u"user@example.com", u"secret"),
                                   100000, callback)
          .ToUtf8();
    } catch (const ews::ServiceException& e) {
      return e.what();
    }
  }
  const std::string& Url(size_t n) const { return m_transport.Requests().at(n).url; }

  SettingsKeeper m_settings;
  ScriptedTransport m_transport;
  ews::ScopedTransport m_scope{m_transport};
};

TEST_F(Autodiscover, AsksTheDomainThenItsHostThenFollowsThePlainRedirect) {
  m_transport.PushFailure("no such host");
  m_transport.Push("not found", 404);
  m_transport.PushRedirect("https://autodiscover.example.net/autodiscover/autodiscover.xml");
  m_transport.Push(SettingsAnswer(kEndpoint));
  EXPECT_EQ(Discover(), kEndpoint);
  ASSERT_EQ(m_transport.Requests().size(), 4u);
  EXPECT_EQ(Url(0), "https://example.com/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(1), "https://autodiscover.example.com/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(2), "http://autodiscover.example.com/autodiscover/autodiscover.xml");
  EXPECT_EQ(m_transport.Requests()[2].method, "GET");
  EXPECT_EQ(m_transport.Requests()[2].authorization, "");
  EXPECT_EQ(Url(3), "https://autodiscover.example.net/autodiscover/autodiscover.xml");
  EXPECT_NE(m_transport.Requests()[3].authorization, "");
  EXPECT_NE(m_transport.Requests()[3].body.find("<EMailAddress>user@example.com</EMailAddress>"),
            std::string::npos);
}

TEST_F(Autodiscover, TheSettingsComeFirst) {
  ews::Settings().strAutodiscoverUrl = u"https://127.0.0.1:8443/autodiscover/autodiscover.xml";
  m_transport.Push(SettingsAnswer(kEndpoint));
  EXPECT_EQ(Discover(), kEndpoint);
  EXPECT_EQ(Url(0), "https://127.0.0.1:8443/autodiscover/autodiscover.xml");
  ews::Settings().strEwsUrl = u"https://fixed.example.com/EWS";
  EXPECT_EQ(Discover(), "https://fixed.example.com/EWS");
  EXPECT_EQ(m_transport.Requests().size(), 1u);
}

TEST_F(Autodiscover, RedirectsToAnAddressAndToAUrl) {
  m_transport.Push(
      Account("<Action>redirectAddr</Action><RedirectAddr>user@other.example.net"
              "</RedirectAddr>"));
  m_transport.Push(RedirectUrl("https://third.example.net/autodiscover/autodiscover.xml"));
  m_transport.Push(SettingsAnswer(kEndpoint));
  EXPECT_EQ(Discover(), kEndpoint);
  EXPECT_EQ(Url(1), "https://other.example.net/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(2), "https://third.example.net/autodiscover/autodiscover.xml");
  EXPECT_NE(m_transport.Requests()[2].body.find("user@other.example.net"), std::string::npos);
}

TEST_F(Autodiscover, EndlessRedirectionsEnd) {
  for (int i = 0; i < 30; ++i) m_transport.Push(RedirectUrl("https://a.example.com/x"));
  EXPECT_NE(Discover().find("redirects without end"), std::string::npos);
  EXPECT_EQ(m_transport.Requests().size(), 11u);
  for (int i = 0; i < 30; ++i) {
    m_transport.Push(Account("<Action>redirectAddr</Action><RedirectAddr>a@b.c</RedirectAddr>"));
  }
  EXPECT_NE(Discover().find("redirects without end"), std::string::npos);
}

TEST_F(Autodiscover, ARedirectionThatTheCallerRefusesIsNotFollowed) {
  m_transport.Push(RedirectUrl("https://evil.example.org/x"));
  m_transport.PushRedirect("https://evil.example.org/y");
  m_transport.PushRedirect("https://evil.example.org/z");
  const std::string text = Discover(u"user@example.com", [](const CString&) { return false; });
  EXPECT_NE(text.find("was not found by autodiscovery"), std::string::npos) << text;
  for (const auto& sent : m_transport.Requests()) {
    EXPECT_EQ(sent.url.find("evil"), std::string::npos);
  }
}

TEST_F(Autodiscover, ARefusedPasswordIsTheReasonThatIsTold) {
  m_transport.PushFailure("no such host");
  m_transport.Push("", 401);
  m_transport.PushFailure("nothing there");
  const std::string text = Discover();
  EXPECT_NE(text.find("HTTP 401"), std::string::npos) << text;
  EXPECT_EQ(text.find("secret"), std::string::npos);
}

TEST_F(Autodiscover, WhileVerifyingCredentialsStayWithTheDomainAndTrustedHosts) {
  ews::Settings().bVerifyCertificates = true;
  m_transport.Push(RedirectUrl("https://evil-example.com/x"));
  m_transport.Push(SettingsAnswer("https://mail.example.com.evil.org/EWS"));
  m_transport.PushRedirect("https://evil.example.org/x");
  const std::string text = Discover();
  EXPECT_NE(text.find("not trusted"), std::string::npos) << text;
  for (const auto& sent : m_transport.Requests()) {
    EXPECT_TRUE(sent.authorization.empty() || sent.url.starts_with("https://example.com/") ||
                sent.url.starts_with("https://autodiscover.example.com/"))
        << sent.url;
  }
  ews::Settings().arrTrustHosts = {u"host.example.net"};
  m_transport.Push(RedirectUrl("https://HOST.example.net/x"));
  m_transport.Push(SettingsAnswer(kEndpoint));
  EXPECT_EQ(Discover(), kEndpoint);
}

TEST_F(Autodiscover, WhileVerifyingAnHttpRedirectLosesTheCredentials) {
  ews::Settings().bVerifyCertificates = true;
  m_transport.PushRedirect("https://evil.example.org/x");
  m_transport.Push("", 401);
  m_transport.PushFailure("x");
  m_transport.PushFailure("x");
  Discover();
  EXPECT_EQ(Url(1), "https://evil.example.org/x");
  EXPECT_EQ(m_transport.Requests()[1].authorization, "");
}

TEST_F(Autodiscover, ALoginThatIsNoAddressAsksNobody) {
  for (const char16_t* login :
       {u"", u"user", u"DOMAIN\\user", u"user@", u"user@a/b", u"user@a:99", u"user@x y"}) {
    EXPECT_NE(Discover(login).find("no mail address"), std::string::npos)
        << CString(login).ToUtf8();
  }
  EXPECT_TRUE(m_transport.Requests().empty());
}

TEST(PoxAnswer, TheOutsideEndpointIsPreferred) {
  const auto answer = ews::ReadPoxAnswer(
      Account("<Action>settings</Action><Protocol><Type>EXCH</Type><EwsUrl>https://in/</EwsUrl>"
              "</Protocol><Protocol><Type>EXPR</Type><ASUrl> https://out/ </ASUrl></Protocol>"));
  EXPECT_EQ(answer.eKind, ews::PoxAnswer::Kind::kSettings);
  EXPECT_EQ(answer.strValue, "https://out/");
  for (const char* text : {"", "<html/>", "<Autodiscover/>", "<Autodiscover><Response><Account>"}) {
    EXPECT_EQ(ews::ReadPoxAnswer(text).eKind, ews::PoxAnswer::Kind::kError) << text;
  }
}

TEST(PoxAnswer, TheSamplesAreRead) {
  const std::string folder = std::string(TARNY_SOURCE) + "/../shared/ews/samples/autodiscover/";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no samples here";
  const auto read = [&](const std::string& name) {
    std::ifstream stream(folder + name + ".response.xml");
    std::stringstream text;
    text << stream.rdbuf();
    return ews::ReadPoxAnswer(text.str());
  };
  EXPECT_EQ(read("62-pox-settings").strValue, kEndpoint);
  EXPECT_EQ(read("63-pox-redirect-address").strValue, "user@other.example.com");
  EXPECT_EQ(read("64-pox-redirect-url").eKind, ews::PoxAnswer::Kind::kRedirectUrl);
  EXPECT_NE(read("65-pox-error").strValue.find("Invalid Request (600)"), std::string::npos);
}

}  // namespace
