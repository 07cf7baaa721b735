#include "ews/Outage.h"

#include <chrono>
#include <string>
#include <vector>

#include "ews/Connection.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"

namespace {

using std::chrono::milliseconds;
using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

const ews::Failure kRefusedConnection{true, false, {}, 0};
const ews::Failure kLostAnswer{true, true, {}, 0};

class Outage : public ScriptedService {
 protected:
  Outage() {
    ews::Settings().bSafe = true;
    ews::Settings().nPatience = std::chrono::minutes(30);
    ews::Settings().fnTellWait = [this](const std::string& line) { m_told.push_back(line); };
  }
  void PushRefused() {
    m_transport.PushFailure("The request failed. The connection failed: refused.",
                            kRefusedConnection);
  }
  size_t Sent() const { return m_transport.Requests().size(); }
  double Seconds() const { return static_cast<double>(m_transport.Waited().count()) / 1000; }

  std::vector<std::string> m_told;
};

TEST_F(Outage, IsWaitedOutInStepsThatDoubleUpToAMinute) {
  for (int i = 0; i < 9; ++i) PushRefused();
  m_transport.Push(answers::Found({}));
  m_service->SetTimeout(5000);  // for one try: waits do not eat it up
  EXPECT_EQ(Find(), "no exception");
  EXPECT_EQ(m_transport.Requests().back().timeout, milliseconds(5000));
  const double steps = 1 + 2 + 4 + 8 + 16 + 32 + 60 + 60 + 60;
  EXPECT_GE(Seconds(), steps * 0.8);
  EXPECT_LE(Seconds(), steps * 1.2);
  ASSERT_EQ(m_told.size(), 10u);
  EXPECT_EQ(m_told[0],
            "mail.example.com does not answer (The connection failed: refused): next try in 1 s, "
            "for 30 min more");
  EXPECT_THAT(m_told[9], MatchesRegex("mail.example.com answers again after [0-9]+ min"));
}

TEST_F(Outage, EveryKindOfItIsWaitedOutForAQuestion) {
  m_transport.PushFailure("lost", kLostAnswer);
  for (const int status : {408, 429, 500, 502, 503, 504}) m_transport.Push("<html>", status);
  for (const char* code : {"ErrorServerBusy", "ErrorTimeoutExpired", "ErrorMailboxStoreUnavailable",
                           "ErrorInternalServerTransientError"}) {
    m_transport.Push(answers::Error("FindFolder", code, "Not now."));
  }
  m_transport.Push(answers::Found({}));  // to another question, and to this one
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Find(), "no exception");
  EXPECT_EQ(Sent(), 13u);
}

// Nobody waits for half an hour where the server has nothing but failures for one kind of question.
TEST_F(Outage, AQuestionThatFailsWhereOthersAreAnsweredIsGivenUpSoon) {
  const auto ask = [&] {
    return TextOf([&] {
      m_service->FindItems(ews::WellKnownFolderName::Inbox, nullptr, ews::ItemView(10, 0));
    });
  };
  const ews::HttpResponse rows[] = {
      {500, {}, ""}, {200, {}, answers::Error("FindItem", "ErrorTimeoutExpired", "Too slow.")}};
  for (const ews::HttpResponse& row : rows) {
    const double before = Seconds();
    m_told.clear();
    for (int i = 0; i < 5; ++i) m_transport.Push(row);
    m_transport.Push(answers::Found({}));
    m_transport.Push(row);
    const auto isOfItself = AllOf(Not(HasSubstr(ews::kWaitedFor)), Not(EndsWith("ended")));
    EXPECT_THAT(ask(), isOfItself);
    EXPECT_LT(Seconds() - before, 20);
    ASSERT_EQ(m_told.size(), 5u);
    EXPECT_EQ(m_told.back(),
              "mail.example.com answers other requests, and not this one: no longer waited for");
    // The next of its kind is not waited for once more.
    const double between = Seconds();
    m_transport.Push(row);
    m_transport.Push(answers::Found({}));
    m_transport.Push(row);
    EXPECT_THAT(ask(), isOfItself);
    EXPECT_EQ(Seconds(), between);
    // One of another kind is, and so is one behind an answer.
    for (int i = 0; i < 4; ++i) m_transport.Push("", 500);
    m_transport.Push(answers::Found({}));
    EXPECT_EQ(Find(), "no exception");
    m_transport.Push(row);
    m_transport.Push(answers::Found({}));
    m_transport.Push(answers::Success(
        "FindItem", "<m:RootFolder IncludesLastItemInRange=\"true\"><t:Items/></m:RootFolder>"));
    EXPECT_EQ(ask(), "no exception");
  }
  for (int i = 0; i < 3; ++i) m_transport.Push("", 403);
  EXPECT_THAT(ask(), HasSubstr(ews::kLogonRefused));
}

TEST_F(Outage, ASmallRequestThatIsRefusedForItsSizeIsSentOnceMore) {
  m_transport.Push("", 413);
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(Save(), "no exception");
  m_transport.Push("", 413);
  m_transport.Push("", 413);
  EXPECT_THAT(Save(), EndsWith("HTTP 413 (Content Too Large); the request has 1 KB."));
}

// One bad answer must not end a listing of thousands; what makes something is not sent again.
TEST_F(Outage, AQuestionIsAskedAgainAFewTimesForWhatMayPass) {
  ews::Failure unreadable;
  unreadable.bMayPass = true;
  const ews::HttpResponse rows[] = {
      {400, {}, "<html>Bad Request"},
      {520, {}, ""},
      {200, {}, answers::Found({}).substr(0, 150)},
      {500, {}, answers::Error("FindFolder", "ErrorInternalServerError", "Oops.")},
  };
  for (const ews::HttpResponse& row : rows) {
    SCOPED_TRACE(row.strBody);
    const size_t before = Sent();
    for (int i = 0; i < 3; ++i) m_transport.Push(row);
    m_transport.Push(answers::Found({}));
    EXPECT_EQ(Find(), "no exception");
    for (int i = 0; i < 4; ++i) m_transport.Push(row);
    EXPECT_THAT(Find(), AnyOf(StartsWith("The request failed. "), "Oops."));
    m_transport.Push(row);
    EXPECT_NE(Save(), "no exception");
    EXPECT_EQ(Sent(), before + 4 + 4 + 1);
  }
  m_transport.PushFailure("no gzip", unreadable);
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Find(), "no exception");
  EXPECT_LT(Seconds(), 60);
  EXPECT_TRUE(m_told.empty());
  ews::Settings().nPatience = {};
  m_transport.Push(rows[0]);
  EXPECT_THAT(Find(), HasSubstr("HTTP 400"));
}

// A proxy's "we are down" is an outage, a wrong address none.
TEST_F(Outage, WhoKnowsNoMailboxStandsInForOneThatHasAnsweredBefore) {
  const ews::HttpResponse rows[] = {
      {404, {}, "<html>"},
      {405, {}, "<html>"},
      {302, {{"Location", "https://down.example.org/"}}, ""},
      {302, {}, ""},
      {200, {}, "<html>We will be back soon</html>"},
      {200, {}, ""},
  };
  for (const ews::HttpResponse& row : rows) {
    m_transport.Push(row);
    EXPECT_THAT(Find(), Not(HasSubstr(ews::kWaitedFor)));
  }
  EXPECT_EQ(Sent(), std::size(rows));
  ews::Settings().bKnownServer = true;  // somebody else was answered there
  m_transport.Push(rows[0]);
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Find(), "no exception");
  ews::Settings().bKnownServer = false;
  m_transport.Push(answers::Error("FindFolder", "ErrorAccessDenied", "No."));  // it is there
  EXPECT_EQ(Find(), "No.");
  for (const ews::HttpResponse& row : rows) {
    SCOPED_TRACE(row.nStatus);
    const size_t before = Sent();
    m_transport.Push(row);
    m_transport.Push(answers::Found({}));
    EXPECT_EQ(Find(), "no exception");
    // It may stand in for one that has carried the request out.
    m_transport.Push(row);
    const bool open = row.nStatus != 405;
    if (!open) m_transport.Push(answers::Item("I="));
    EXPECT_THAT(Save(),
                open ? EndsWith(std::string("It ") + ews::kMayBeCarriedOut + ews::kOutOfOrder + ".")
                     : EndsWith("no exception"));
    EXPECT_EQ(Sent(), before + (open ? 3 : 4));
    if (row.nStatus != 405) continue;
    m_transport.Push({row.nStatus, {}, "", /*bBehindBody=*/false});
    m_transport.Push(answers::Item("I="));
    EXPECT_EQ(Save(), "no exception");
  }
  // Its own path is no other server's: a redirection that is new may stand in for it as well.
  m_transport.Push({307, {{"Location", "/EWS/New.asmx"}}, ""});
  EXPECT_THAT(Save(), HasSubstr("redirects to mail.example.com, and has answered by itself"));
  m_transport.Push({307, {{"Location", "/EWS/New.asmx"}}, ""});
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Find(), "no exception");  // it has moved
  m_transport.Push({307, {{"Location", "/EWS/New.asmx"}}, ""});
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(Save(), "no exception");
  EXPECT_THAT(m_told, Contains(HasSubstr("does not answer (The server mail.example.com answered "
                                         "HTTP 404 ")));
  // One mail alone, refused before it was out.
  const ews::HttpResponse before = {404, {}, "", /*bBehindBody=*/false};
  for (int i = 0; i < 4; ++i) m_transport.Push(before);
  m_transport.Push(answers::Found({}));
  m_transport.Push(before);
  EXPECT_THAT(Save(), EndsWith("at this address)."));
  for (int i = 0; i < 99; ++i) m_transport.Push(before);
  EXPECT_THAT(Save(), EndsWith("at this address); waited for 30 min"));
  ews::Settings().nPatience = {};
  EXPECT_THAT(Save(), EndsWith("at this address); waited for 0 s"));
  ews::Settings().bSafe = false;
  EXPECT_THAT(Save(), EndsWith("at this address)."));
}

// What makes something is sent again only where it cannot have been carried out; where it may have
// been, its text says so, and nobody waits.
TEST_F(Outage, WhatMayHaveBeenCarriedOutIsToldAndNotRepeated) {
  const auto error = [](const char* code) {
    return answers::Error("CreateItem", code, "index is out of range");
  };
  const struct {
    ews::HttpResponse answer;
    ews::Failure failure;
    bool repeated;
    bool open;
  } rows[] = {
      {{-1, {}, "refused."}, kRefusedConnection, true, false},
      {{429, {}, ""}, {}, true, false},
      {{503, {{"Retry-After", "2"}}, "", false}, {}, true, false},  // before all of it was out
      {{503, {{"Retry-After", "2"}}, ""}, {}, false, true},  // a gateway may have passed it on
      {{503, {{"Retry-After", "2"}}, error("ErrorInternalServerError")}, {}, true, false},
      {{200, {}, error("ErrorServerBusy")}, {}, true, false},
      {{500, {}, answers::Busy("7000")}, {}, true, false},
      {{500, {}, ""}, {}, false, true},
      {{502, {}, "<html>"}, {}, false, true},
      {{503, {}, ""}, {}, false, true},
      {{504, {}, ""}, {}, false, true},
      {{520, {}, ""}, {}, false, true},
      {{200, {}, "<html>Sign in</html>"}, {}, false, true},
      {{200, {}, answers::Envelope("")}, {}, false, true},
      {{200, {}, answers::Success("CreateItem", "<m:Items/>")}, {}, false, true},
      {{200, {}, error("ErrorTimeoutExpired")}, {}, false, true},
      {{200, {}, error("ErrorInternalServerError")}, {}, false, true},
      {{200, {}, error("ErrorInternalServerTransientError")}, {}, false, true},
      {{500, {}, error("ErrorMailboxStoreUnavailable")}, {}, false, true},
      {{500, {}, answers::Envelope("<s:Fault><faultcode>s:Server</faultcode></s:Fault>")},
       {},
       false,
       true},
      {{200, {}, error("ErrorQuotaExceeded")}, {}, false, false},
      {{400, {}, "<html>"}, {}, false, true},
      {{302, {}, ""}, {}, false, true},
      {{404, {}, ""}, {}, false, true},
      {{408, {}, ""}, {}, false, true},
      {{410, {}, ""}, {}, false, true},
      {{404, {}, "", false}, {}, true, false},
      {{405, {}, ""}, {}, true, false},
      {{411, {}, ""}, {}, false, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.answer.nStatus) + " " + row.answer.strBody);
    const size_t before = Sent();
    if (row.answer.nStatus < 0) {
      m_transport.PushFailure(row.answer.strBody, row.failure);
    } else {
      m_transport.Push(row.answer);
    }
    if (row.repeated) m_transport.Push(answers::Item("I="));
    const std::string text = Save();
    EXPECT_EQ(text == "no exception", row.repeated) << text;
    EXPECT_EQ(ews::SaysOpenOutcome(text), row.open) << text;
    EXPECT_EQ(Sent(), before + (row.repeated ? 2 : 1));
  }
}

TEST_F(Outage, TheServersWordsStayInFrontOfWhatIsAddedAndWithoutTheSafeSwitchAlone) {
  const std::string words = "index is out of range";
  m_transport.Push(answers::Error("CreateItem", "ErrorTimeoutExpired", words));
  EXPECT_EQ(Save(), words +
                        ". The server may have carried the request out; the server or the way "
                        "to it is out of order.");
  m_transport.Push({503, {{"Retry-After", "30"}}, ""});
  EXPECT_THAT(Save(), EndsWith(" carried the request out; the server asks for 30 s."));
  m_transport.Push(answers::Error("CreateItem", "ErrorQuotaExceeded", words));
  EXPECT_EQ(Save(), words + "; the mailbox is full.");
  ews::Settings().bSafe = false;
  for (const char* code : {"ErrorTimeoutExpired", "ErrorQuotaExceeded"}) {
    m_transport.Push(answers::Error("CreateItem", code, words));
    EXPECT_EQ(Save(), words);
  }
  m_transport.Push({503, {{"Retry-After", "2"}}, ""});
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(Save(), "no exception");
  EXPECT_EQ(m_transport.Waited(), milliseconds(2000));
  m_transport.Push("", 503);
  EXPECT_THAT(Save(),
              EndsWith("HTTP 503 (Service Unavailable). It may have carried the request out."));
  EXPECT_EQ(m_transport.Waited(), milliseconds(2000));
  EXPECT_TRUE(m_told.empty());
}

// Readers know some endings as ours.
TEST_F(Outage, AServersWordsDoNotPassForOurs) {
  for (const char* words : {"Subject: x; waited for 3 s", "Subject: x: this logon is refused.",
                            "Subject: x; the mailbox is full.", "Subject: x; asked to stop",
                            "Subject: x; the server asks for 7 s.",
                            "Subject: x; the server or the way to it is out of order.",
                            "Subject: It may have carried the request out."}) {
    m_transport.Push(answers::Error("CreateItem", "ErrorItemCorrupt", words));
    EXPECT_EQ(Save(), std::string(words) + " (the server's words)");
  }
}

// A proxy that resets each upload of one mail is no outage of the server.
TEST_F(Outage, AMailThatIsCutAgainAndAgainFailsWithItsSizeWhereOthersAreServed) {
  ews::Failure cut = kRefusedConnection;
  cut.bCutInBody = true;
  const auto push = [&](int cuts) {
    for (int i = 0; i < cuts; ++i) m_transport.PushFailure("cut", cut);
  };
  push(4);
  m_transport.Push(answers::Found({}));
  const std::string text =
      "The connection to mail.example.com was cut each time while 1 KB went out, and other "
      "requests are answered.";
  EXPECT_EQ(Save(), text);
  EXPECT_GT(Seconds(), 5);
  push(4);
  PushRefused();  // the question: it is an outage
  push(2);
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(Save(), "no exception");
  ews::Settings().nPatience = {};
  push(1);
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Save(), text);
}

TEST_F(Outage, PatienceIsForTheWholeOutageAndItsEndIsSaid) {
  for (int i = 0; i < 100; ++i) PushRefused();
  EXPECT_EQ(Find(), "The request failed. The connection failed: refused; waited for 30 min");
  EXPECT_EQ(m_transport.Waited(), std::chrono::minutes(30));
  const size_t tries = Sent();
  EXPECT_THAT(Save(), HasSubstr(ews::kWaitedFor));  // the same outage: nothing more is waited
  EXPECT_EQ(Sent(), tries + 1);
  EXPECT_EQ(m_transport.Waited(), std::chrono::minutes(30));
}

TEST_F(Outage, AnAnswerEndsItAndARefusalIsOne) {
  PushRefused();
  m_transport.Push(answers::Error("FindFolder", "ErrorAccessDenied", "No."));
  EXPECT_EQ(Find(), "No.");
  EXPECT_THAT(m_told, ElementsAre(HasSubstr("next try in"), EndsWith("answers again after 1 s")));
  ews::Settings().nPatience = std::chrono::seconds(3);
  m_told.clear();
  for (int i = 0; i < 9; ++i) PushRefused();
  EXPECT_THAT(Find(), EndsWith("; waited for 3 s"));  // counted anew
}

TEST_F(Outage, ATimeThatTheServerAsksForIsWaitedInFullOrNotAtAll) {
  m_transport.Push(answers::Busy("1799000"), 500);
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Find(), "no exception");
  EXPECT_EQ(m_transport.Waited(), milliseconds(1799000));
  m_transport.Push(answers::Busy("1801000"), 500);
  EXPECT_EQ(Find(), "Busy; the server asks for 1801 s, more than the 1800 s of patience left");
  EXPECT_EQ(m_transport.Waited(), milliseconds(1799000));
  PushRefused();
  m_transport.Push(answers::Busy("3600000"), 500);
  EXPECT_EQ(Find(), "Busy; the server asks for 60 min, more than the 30 min of patience left");
}

TEST_F(Outage, ATooLongOrHostileReasonIsOneLine) {
  m_transport.PushFailure("\x1B[2J\r\n" + std::string(198, 'x') + "\xC3\xA4", kRefusedConnection);
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Find(), "no exception");
  EXPECT_THAT(m_told.at(0), StartsWith("mail.example.com does not answer ( [2J  xxx"));
  EXPECT_THAT(m_told.at(0), HasSubstr("x…): next try"));
}

TEST_F(Outage, AProcessThatIsToEndWaitsNoMore) {
  ews::Settings().fnStopAsked = [this] { return m_transport.Waited() >= milliseconds(4000); };
  for (int i = 0; i < 9; ++i) PushRefused();
  EXPECT_EQ(Find(), "The request failed. The connection failed: refused; asked to stop");
  EXPECT_LT(Seconds(), 5);
  m_told.clear();
  EXPECT_THAT(Find(), EndsWith("; asked to stop"));
  EXPECT_TRUE(m_told.empty());  // nobody is told of a wait that is none
}

TEST_F(Outage, ATokenAndTheEndpointAreWaitedForToo) {
  CString text[] = {u"tenant", u"client", u"secret", u""};
  m_transport.Push("", 503);
  m_transport.Push(answers::Token("T"));
  EXPECT_EQ(ConnectionDLL::Connection().GetAccessToken(text[0], text[1], text[2], text[3]), u"T");
  EXPECT_THAT(m_told.at(0), StartsWith("login.microsoftonline.com does not answer ("));
  for (int i = 0; i < 3; ++i) PushRefused();  // every place where it may be told of
  m_transport.Push(answers::Endpoint("https://mail.example.com/EWS"));
  m_service->AutodiscoverUrl(u"a@example.com", nullptr);
  EXPECT_EQ(m_service->Url(), u"https://mail.example.com/EWS");
  EXPECT_THAT(m_told.at(2), StartsWith("example.com does not answer ("));
  EXPECT_LT(Seconds(), 3);  // one wait each
  m_transport.Push("", 401);
  PushRefused();
  PushRefused();
  EXPECT_THAT(TextOf([&] { m_service->AutodiscoverUrl(u"a@example.com", nullptr); }),
              HasSubstr("HTTP 401"));
}

// A web server that answers for any path says nothing of the mailbox server.
TEST_F(Outage, AWebPageAtTheDomainHidesNoOutageOfTheMailboxServer) {
  ews::Settings().nPatience = std::chrono::seconds(5);
  const auto discover = [&](const CString& domain) {
    return TextOf([&] { m_service->AutodiscoverUrl(u"a@" + domain, nullptr); });
  };
  const std::pair<std::string, CString> rows[] = {{"<html>Welcome</html>", u"one.example.com"},
                                                  {"Welcome", u"two.example.com"},
                                                  {"<Autodiscover/>", u"three.example.com"}};
  for (const auto& [page, domain] : rows) {
    SCOPED_TRACE(page);
    const auto before = m_transport.Waited();
    for (int i = 0; i < 20; ++i) {
      m_transport.Push(page);
      m_transport.Push("", 503);
      m_transport.Push("", 404);
    }
    EXPECT_THAT(discover(domain),
                AllOf(HasSubstr("autodiscover." + domain.ToUtf8() + " answered HTTP 503"),
                      HasSubstr(ews::kWaitedFor)));
    EXPECT_GE(m_transport.Waited() - before, std::chrono::seconds(3));
    m_transport.Clear();
  }
  const std::string refusal =
      "<Autodiscover><Response><Error><ErrorCode>500</ErrorCode><Message>Unknown</Message></Error>"
      "</Response></Autodiscover>";
  m_transport.Push("Welcome");
  m_transport.Push(refusal);
  const std::string text = discover(u"example.com");
  EXPECT_THAT(text, HasSubstr("autodiscover.example.com answered: Unknown (500)."));
  EXPECT_THAT(text, Not(HasSubstr(ews::kWaitedFor)));
}

// No item fails by an outage for which nobody wants to wait, either.
TEST_F(Outage, WithoutPatienceItIsGivenUpAtOnce) {
  ews::Settings().nPatience = {};
  PushRefused();
  EXPECT_EQ(Find(), "The request failed. The connection failed: refused; waited for 0 s");
  m_transport.Push(answers::Error("FindFolder", "ErrorTimeoutExpired", "Not now."));
  EXPECT_EQ(Find(), "Not now; waited for 0 s");
  EXPECT_EQ(m_transport.Waited().count(), 0);
  m_transport.Push(answers::Busy("7000"), 500);  // a time that the server asks for is short
  m_transport.Push(answers::Busy("900000"), 500);
  EXPECT_EQ(Save(), "Busy; the server asks for 15 min, more than the 0 s of patience left");
  EXPECT_TRUE(m_told.empty());
  ews::Settings().bSafe = false;
  PushRefused();
  EXPECT_EQ(Save(), "The request failed. The connection failed: refused.");
}

}  // namespace
