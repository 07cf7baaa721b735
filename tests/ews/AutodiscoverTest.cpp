#include "ews/Autodiscover.h"

#include "ews/PoxMessages.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/SchemaValidator.h"

namespace {

using answers::Account;
using test_support::SchemaValidator;
using testing::HasSubstr;
using testing::Not;

std::string RedirectUrl(const std::string& url) {
  return Account("<Action>redirectUrl</Action><RedirectUrl>" + url + "</RedirectUrl>");
}

std::string RedirectAddress(const std::string& address) {
  return Account("<Action>redirectAddr</Action><RedirectAddr>" + address + "</RedirectAddr>");
}

constexpr const char* kEndpoint = "https://mail.example.com/EWS/Exchange.asmx";

class Autodiscover : public Scripted {
 protected:
  std::string Discover(const CString& address = u"user@example.com",
                       const ews::RedirectionCallback& callback = nullptr) {
    std::string endpoint;
    const std::string failure = TextOf([&] {
      const ews::WebCredentials login(u"user@example.com", u"secret");
      endpoint = ews::DiscoverEndpoint(address, login, 100000, callback).ToUtf8();
    });
    return endpoint.empty() ? failure : endpoint;
  }
};

TEST_F(Autodiscover, AsksTheDomainThenItsHostThenFollowsThePlainRedirect) {
  m_transport.PushFailure("no such host");
  m_transport.Push("not found", 404);
  m_transport.PushRedirect("https://autodiscover.example.net/autodiscover/autodiscover.xml");
  m_transport.Push(answers::Endpoint(kEndpoint));
  EXPECT_EQ(Discover(), kEndpoint);
  ASSERT_EQ(m_transport.Requests().size(), 4u);
  EXPECT_EQ(Url(0), "https://example.com/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(1), "https://autodiscover.example.com/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(2), "http://autodiscover.example.com/autodiscover/autodiscover.xml");
  EXPECT_EQ(m_transport.Requests()[2].method, "GET");
  EXPECT_EQ(m_transport.Requests()[2].authorization, "");
  EXPECT_EQ(Url(3), "https://autodiscover.example.net/autodiscover/autodiscover.xml");
  EXPECT_NE(m_transport.Requests()[3].authorization, "");
  EXPECT_THAT(LastBody(), HasSubstr("<EMailAddress>user@example.com</EMailAddress>"));
}

TEST_F(Autodiscover, TheSettingsComeFirst) {
  ews::Settings().strAutodiscoverUrl = u"https://127.0.0.1:8443/autodiscover/autodiscover.xml";
  m_transport.Push(answers::Endpoint(kEndpoint));
  EXPECT_EQ(Discover(), kEndpoint);
  EXPECT_EQ(Url(0), "https://127.0.0.1:8443/autodiscover/autodiscover.xml");
  ews::Settings().strEwsUrl = u"https://fixed.example.com/EWS";
  EXPECT_EQ(Discover(), "https://fixed.example.com/EWS");
  EXPECT_EQ(m_transport.Requests().size(), 1u);
}

TEST_F(Autodiscover, RedirectsToAnAddressAndToAUrl) {
  m_transport.Push(RedirectAddress("user@other.example.net"));
  m_transport.Push(RedirectUrl("https://third.example.net/autodiscover/autodiscover.xml"));
  m_transport.Push(answers::Endpoint(kEndpoint));
  EXPECT_EQ(Discover(), kEndpoint);
  EXPECT_EQ(Url(1), "https://other.example.net/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(2), "https://third.example.net/autodiscover/autodiscover.xml");
  EXPECT_THAT(LastBody(), HasSubstr("user@other.example.net"));
}

TEST_F(Autodiscover, TheServersOfTheNameServiceComeLast) {
  m_transport.PushFailure("no such host");
  m_transport.PushFailure("no such host");
  m_transport.Push("", 404);
  m_transport.PushServers({{"bad host", 443}, {"a.example.net", 8443}, {"b.example.net", 443}});
  m_transport.Push("", 503);
  EXPECT_THAT(Discover(), HasSubstr("HTTP 503"));  // the third is one too many
  EXPECT_EQ(Url(3), "_autodiscover._tcp.example.com");
  EXPECT_EQ(Url(4), "https://a.example.net:8443/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(5), "https://b.example.net/autodiscover/autodiscover.xml");
}

TEST_F(Autodiscover, ADomainBeyondAsciiIsAskedForAndTrustedByItsAsciiName) {
  ews::Settings().bVerifyCertificates = true;
  m_transport.PushFailure("no such host");
  m_transport.PushFailure("no such host");
  m_transport.Push("", 404);
  m_transport.PushServers({{"mail.XN--bcher-kva.example", 443}});
  m_transport.Push(answers::Endpoint("https://mail.xn--bcher-kva.example/EWS"));
  EXPECT_EQ(Discover(u"ann@B\u00DCcher.example"), "https://mail.xn--bcher-kva.example/EWS");
  EXPECT_EQ(Url(0), "https://xn--bcher-kva.example/autodiscover/autodiscover.xml");
  EXPECT_EQ(Url(3), "_autodiscover._tcp.xn--bcher-kva.example");
  EXPECT_NE(m_transport.Requests()[4].authorization, "");
  EXPECT_THAT(LastBody(), HasSubstr("<EMailAddress>ann@B\u00DCcher.example<"));
}

TEST_F(Autodiscover, EachStepHasTenSecondsAndNoMoreThanTheTimeOut) {
  m_transport.PushFailure("no such host");
  m_transport.Push(RedirectUrl("https://third.example.net/autodiscover/autodiscover.xml"));
  m_transport.PushFailure("nothing there");
  Discover();
  for (const auto& sent : m_transport.Requests()) {
    if (sent.method == "SRV") continue;
    EXPECT_EQ(sent.timeout, std::chrono::seconds(10)) << sent.url;
  }
}

TEST_F(Autodiscover, EndlessRedirectionsEnd) {
  for (int i = 0; i < 30; ++i) m_transport.Push(RedirectUrl("https://a.example.com/x"));
  EXPECT_THAT(Discover(), HasSubstr("redirects without end"));
  EXPECT_EQ(m_transport.Requests().size(), 11u);
  for (int i = 0; i < 30; ++i) m_transport.Push(RedirectAddress("a@b.c"));
  EXPECT_THAT(Discover(), HasSubstr("redirects without end"));
}

TEST_F(Autodiscover, ARedirectionThatTheCallerRefusesIsNotFollowed) {
  m_transport.Push(RedirectUrl("https://evil.example.org/x"));
  m_transport.PushRedirect("https://evil.example.org/y");
  m_transport.PushRedirect("https://evil.example.org/z");
  EXPECT_THAT(Discover(u"user@example.com", [](const CString&) { return false; }),
              HasSubstr("was not found by autodiscovery"));
  for (const auto& sent : m_transport.Requests()) EXPECT_THAT(sent.url, Not(HasSubstr("evil")));
}

TEST_F(Autodiscover, ARefusedPasswordIsTheReasonThatIsTold) {
  m_transport.PushFailure("no such host");
  m_transport.Push("", 401);
  m_transport.PushFailure("nothing there");
  EXPECT_THAT(Discover(), AllOf(HasSubstr("HTTP 401"), Not(HasSubstr("secret"))));
  EXPECT_THAT(Discover(),
              testing::EndsWith("The last attempt: no record _autodiscover._tcp.example.com"));
}

TEST_F(Autodiscover, WhileVerifyingCredentialsStayWithTheDomainAndTrustedHosts) {
  ews::Settings().bVerifyCertificates = true;
  m_transport.Push(RedirectUrl("https://evil-example.com/x"));
  m_transport.Push(answers::Endpoint("https://mail.example.com.evil.org/EWS"));
  m_transport.PushRedirect("https://evil.example.org/x");
  EXPECT_THAT(Discover(), HasSubstr("not trusted"));
  for (const auto& sent : m_transport.Requests()) {
    EXPECT_TRUE(sent.authorization.empty() || sent.url.starts_with("https://example.com/") ||
                sent.url.starts_with("https://autodiscover.example.com/"))
        << sent.url;
  }
  ews::Settings().arrTrustHosts = {u"host.example.net"};
  m_transport.Push(RedirectUrl("https://HOST.example.net/x"));
  m_transport.Push(answers::Endpoint(kEndpoint));
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
       {u"", u"user", u"DOMAIN\\user", u"user@", u"user@a/b", u"user@a:99", u"user@x y",
        u"user@a\u2100b.example" /* of which a/c is made */, u"user@\uFF0F"}) {
    EXPECT_THAT(Discover(login), HasSubstr("no mail address")) << CString(login).ToUtf8();
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
    EXPECT_EQ(ews::ReadPoxAnswer(text).eKind, ews::PoxAnswer::Kind::kNothing) << text;
  }
}

TEST(PoxAnswer, TheSamplesAreRead) {
  if (!SchemaValidator::Available()) GTEST_SKIP() << "no samples here";
  const auto read = [&](const std::string& name) {
    return ews::ReadPoxAnswer(SchemaValidator::Sample("autodiscover/" + name + ".response.xml"));
  };
  EXPECT_EQ(read("62-pox-settings").strValue, kEndpoint);
  EXPECT_EQ(read("63-pox-redirect-address").strValue, "user@other.example.com");
  EXPECT_EQ(read("64-pox-redirect-url").eKind, ews::PoxAnswer::Kind::kRedirectUrl);
  EXPECT_THAT(read("65-pox-error").strValue, HasSubstr("Invalid Request (600)"));
}

}  // namespace
