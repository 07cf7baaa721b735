#include <string>

#include "ews/CWebAccessHandler.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"

// What becomes of a logon that the server refuses in the middle of a run.

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class LogonRenewal : public Scripted {
 protected:
  LogonRenewal() {
    ews::Settings().bSafe = true;
    ews::Settings().bTokenCache = true;
    ews::Settings().strEwsUrl = u"https://mail.example.com/EWS/Exchange.asmx";
  }
  // A client of its own, for the cache of tokens is the process's.
  void LogonByToken(const CString& client) {
    PushToken("1");
    ASSERT_TRUE(m_handler.RefreshModernConnectionMethod(u"tenant", client, u"secret", u"box@x", u"",
                                                        u"Mailbox"));
  }
  void LogonByPassword() {
    m_handler.m_pService = ServiceAt();
    m_handler.m_pService->SetCredentials(ews::WebCredentials(u"u", u"p"));
  }
  void PushToken(const std::string& token) { m_transport.Push(answers::Token(token)); }
  void PushStatus(int status) { m_transport.Push("", status); }
  std::string Save() { return ::Save(m_handler.m_pService); }
  size_t Sent() const { return m_transport.Requests().size(); }
  const std::string& Authorization(size_t n) const {
    return m_transport.Requests().at(n).authorization;
  }

  CWebAccessHandler m_handler;
};

TEST_F(LogonRenewal, ATokenThatIsRefusedIsReplacedAndTheMailSentOnceMore) {
  LogonByToken(u"replaced");
  PushStatus(401);
  PushToken("2");
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(Save(), "no exception");
  ASSERT_EQ(Sent(), 4u);
  EXPECT_EQ(Authorization(1), "Bearer 1");
  EXPECT_EQ(Authorization(3), "Bearer 2");
  EXPECT_EQ(m_transport.Requests()[3].body, m_transport.Requests()[1].body);
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(Save(), "no exception");
  EXPECT_EQ(Authorization(4), "Bearer 2");  // and it stays
}

TEST_F(LogonRenewal, APasswordIsTriedTwiceAndNeverAgain) {
  LogonByPassword();
  PushStatus(401);
  PushStatus(401);
  const std::string text = Save();
  EXPECT_THAT(text, AllOf(HasSubstr("HTTP 401"), EndsWith(": this logon is refused.")));
  for (int i = 0; i < 20; ++i) EXPECT_EQ(Save(), text);
  EXPECT_EQ(Sent(), 2u);
}

TEST_F(LogonRenewal, WithoutANewTokenTheReasonIsTold) {
  LogonByToken(u"expired");
  PushStatus(401);
  m_transport.Push("{\"error_description\":\"The secret has expired.\"}", 401);
  EXPECT_EQ(Save(), "A new logon failed. The secret has expired: this logon is refused.");
  m_transport.Push("{\"error_description\":\"The secret has expired.\"}", 401);
  EXPECT_FALSE(m_handler.RefreshModernConnectionMethod(u"tenant", u"expired", u"secret", u"box@x",
                                                       u"", u"Mailbox"));
  EXPECT_EQ(m_handler.RefreshError(), u"The secret has expired: this logon is refused.");
  PushStatus(503);  // that says nothing of the logon
  EXPECT_FALSE(m_handler.RefreshModernConnectionMethod(u"tenant", u"expired", u"secret", u"box@x",
                                                       u"", u"Mailbox"));
  EXPECT_THAT(m_handler.RefreshError().ToUtf8(),
              AllOf(HasSubstr("HTTP 503"), Not(HasSubstr(ews::kLogonRefused))));
}

// Something on the way that forbids one mail for what is in it must not stop all others, whatever
// its page says.
TEST_F(LogonRenewal, A403ForOneMailAloneIsNoRefusalOfTheLogon) {
  for (const char* page :
       {"<html>Web filter: your request to /EWS/Exchange.asmx was blocked.</html>", ""}) {
    LogonByPassword();
    m_transport.Push(page, 403);
    m_transport.Push(answers::Found({}));
    EXPECT_THAT(Save(), AllOf(HasSubstr("HTTP 403"), Not(HasSubstr(ews::kLogonRefused))));
    m_transport.Push(answers::Item("I="));
    EXPECT_EQ(Save(), "no exception");
  }
  for (int i = 0; i < 3; ++i) PushStatus(403);
  EXPECT_THAT(Save(), HasSubstr(ews::kLogonRefused));
}

TEST_F(LogonRenewal, AServiceThatIsSwitchedOffIsSaidInWordsAndNotAskedAgain) {
  const ews::HttpResponse answers[] = {
      {403, {{"X-MS-Diagnostics", "1;reason=\"EWS is disabled for the organization.\""}}, ""},
      {403, {}, "<html>Application is not allowed to make EWS requests.</html>"},
      {200,
       {},
       answers::Error("CreateItem", "ErrorAccessDenied",
                      "Exchange Web Services are not currently allowed.")},
  };
  for (const ews::HttpResponse& answer : answers) {
    LogonByPassword();
    const size_t before = Sent();
    m_transport.Push(answer);
    m_transport.Push(answer);  // to a question
    const std::string text = Save();
    EXPECT_THAT(text, EndsWith("Exchange Web Services is switched off for this organisation, "
                               "mailbox or application: this logon is refused."));
    EXPECT_EQ(Save(), text);
    EXPECT_EQ(Sent(), before + 2);
  }
  LogonByPassword();
  m_transport.Push(answers::Error("CreateItem", "ErrorAccessDenied", "The news is not allowed."));
  EXPECT_EQ(Save(), "The news is not allowed.");
}

TEST_F(LogonRenewal, AServersWordsThatQuoteAMailEndNoLogon) {
  for (const bool safe : {true, false}) {
    ews::Settings().bSafe = safe;
    LogonByPassword();
    m_transport.Push(answers::Error("CreateItem", "ErrorItemCorrupt", "Re: this logon is refused"));
    EXPECT_THAT(Save(), HasSubstr(ews::kLogonRefused));
    m_transport.Push(answers::Item("I="));
    EXPECT_EQ(Save(), "no exception");
  }
}

TEST_F(LogonRenewal, WithoutTheSafeSwitchNothingIsRenewed) {
  ews::Settings().bSafe = false;
  LogonByToken(u"as it was");
  PushStatus(401);
  EXPECT_THAT(Save(), EndsWith("was refused)."));
  EXPECT_EQ(Sent(), 2u);
}

}  // namespace
