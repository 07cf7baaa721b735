#include "ews/ExchangeService.h"

#include <filesystem>

#include "ews/EmailMessage.h"
#include "platform/Paths.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ExchangeServiceTest : public ScriptedService {
 protected:
  static std::string SaveToInbox(ews::EmailMessage& mail) {
    return TextOf([&] { mail.Save(ews::WellKnownFolderName::Inbox); });
  }
  void PushStatus(int status, ews::Headers headers = {}, std::string body = "") {
    m_transport.Push(ews::HttpResponse{status, std::move(headers), std::move(body)});
  }
};

TEST_F(ExchangeServiceTest, RefusalsKeepTheServersTextUnchanged) {
  m_transport.Push(answers::Error("FindFolder", "ErrorAccessDenied",
                                  "Access is denied. Check credentials and try again., Cannot save "
                                  "changes made to an item to store."));
  EXPECT_EQ(Find(),
            "Access is denied. Check credentials and try again., Cannot save changes made to "
            "an item to store.");
  m_transport.Push(answers::Envelope("<s:Fault><faultstring>A &amp; B</faultstring></s:Fault>"),
                   500);
  EXPECT_EQ(Find(), "A & B");
  m_transport.Push(answers::Envelope(""));
  EXPECT_THAT(Find(), StartsWith("The request failed. "));
}

TEST_F(ExchangeServiceTest, AnAnswerThatIsNotReadSaysWhy) {
  m_transport.Push("<!DOCTYPE x [<!ENTITY a \"b\">]>" + answers::Found({}));
  EXPECT_EQ(Find(),
            "The request failed. The answer of the server mail.example.com defines a document "
            "type, which none may.");
}

TEST_F(ExchangeServiceTest, WithoutAnEndpointOrAnAddressToImpersonateNothingIsSent) {
  m_service->SetImpersonatedUserId({ews::ConnectingIdType::SmtpAddress, u""});
  EXPECT_NE(Find(), "no exception");
  m_service->SetUrl(u"");
  EXPECT_NE(Find(), "no exception");
  EXPECT_TRUE(m_transport.Requests().empty());
}

TEST_F(ExchangeServiceTest, ABusyServerIsWaitedForWithinTheTimeOut) {
  m_service->SetTimeout(700000);
  m_transport.Push(answers::Busy("297749"), 500);
  PushStatus(429, {{"Retry-After", "7"}});
  PushStatus(503, {{"retry-after", "0"}});
  // Where the answer itself names no time, the header's stands.
  PushStatus(503, {{"Retry-After", "6"}}, answers::Busy(""));
  PushStatus(503, {{"Retry-After", "5"}},
             answers::Error("FindFolder", "ErrorServerBusy", "It is busy."));
  m_transport.Push(answers::Found({}));
  EXPECT_EQ(Find(), "no exception");
  const milliseconds waits(297749 + 7000 + 1000 + 6000 + 5000);
  EXPECT_EQ(m_transport.Waited(), waits);
  ASSERT_EQ(m_transport.Requests().size(), 6u);
  EXPECT_EQ(m_transport.Requests()[5].body, m_transport.Requests()[0].body);
  EXPECT_EQ(m_transport.Requests()[5].timeout, milliseconds(700000) - waits);
}

TEST_F(ExchangeServiceTest, AWaitLongerThanTheTimeOutFailsAtOnce) {
  m_service->SetTimeout(100000);
  m_transport.Push(answers::Busy("100000"), 500);
  EXPECT_EQ(Find(), "Busy.");
  PushStatus(503);  // says nothing of when
  EXPECT_THAT(Find(), HasSubstr("HTTP 503"));
  EXPECT_EQ(m_transport.Waited(), milliseconds(0));
}

TEST_F(ExchangeServiceTest, ARequestFollowsARedirectionOnlyToTheSameOriginOrATrustedHost) {
  m_service->SetCredentials(ews::WebCredentials(u"u", u"p"));
  ews::Settings().arrTrustHosts = {u"Trusted.example.com"};
  m_transport.PushRedirect("/other.asmx", 307);
  m_transport.PushRedirect("https://trusted.example.com/EWS", 302);
  m_transport.PushRedirect("https://elsewhere.example.org/EWS", 301);
  EXPECT_EQ(Find(),
            "The request failed. trusted.example.com redirects to elsewhere.example.org, which is "
            "not trusted.");
  ASSERT_EQ(m_transport.Requests().size(), 3u);
  EXPECT_EQ(m_transport.Requests()[1].url, "https://mail.example.com/other.asmx");
  EXPECT_EQ(m_transport.Requests()[2].authorization, "Basic dTpw");
  EXPECT_EQ(m_transport.Requests()[2].method, "POST");
  EXPECT_EQ(m_transport.Requests()[2].body, m_transport.Requests()[0].body);
}

TEST_F(ExchangeServiceTest, EndlessRedirectionsEnd) {
  for (int i = 0; i < 20; ++i) m_transport.PushRedirect("/again");
  EXPECT_THAT(Find(), HasSubstr("redirects without end"));
  EXPECT_EQ(m_transport.Requests().size(), 11u);
}

TEST_F(ExchangeServiceTest, CredentialsDoNotTravelUnencryptedBeyondThisMachine) {
  m_service->SetCredentials(ews::WebCredentials(u"u", u"p"));
  m_service->SetUrl(u"http://mail.example.com/EWS");
  EXPECT_THAT(Find(), HasSubstr("do not travel unencrypted"));
  EXPECT_TRUE(m_transport.Requests().empty());
  for (const char16_t* url : {u"http://127.0.0.1:1/", u"http://localhost/", u"http://[::1]:2/"}) {
    m_transport.Push(answers::Found({}));
    m_service->SetUrl(url);
    EXPECT_EQ(Find(), "no exception");
  }
  m_service->SetUrl(u"http://127.0.0.1.example.com/");
  EXPECT_NE(Find(), "no exception");
}

TEST_F(ExchangeServiceTest, AHeaderCannotBreakOutOfItsLine) {
  EXPECT_THROW(m_service->HttpHeaders().Add(u"X-A", u"a\r\nX-B: b"), ews::ServiceException);
  EXPECT_THROW(m_service->HttpHeaders().Add(u"X-A\n", u"a"), ews::ServiceException);
  EXPECT_TRUE(m_service->HttpHeaders().All().empty());
}

TEST_F(ExchangeServiceTest, WhoRefusesALargeMailIsToldItsSize) {
  ews::EmailMessage mail(m_service);
  mail.SetBody(CString(std::u16string(2'300'000, u'x')));
  for (const int status : {405, 411, 413}) {
    PushStatus(status);
    EXPECT_THAT(SaveToInbox(mail), HasSubstr("; the request has 2.3 MB."));
  }
  PushStatus(404);
  EXPECT_THAT(SaveToInbox(mail), Not(HasSubstr("MB")));
}

TEST_F(ExchangeServiceTest, ASecondSaveIsRefusedOnlyOnceThereIsAnId) {
  ews::EmailMessage mail(m_service);
  m_transport.Push(answers::Error("CreateItem", "ErrorInternalServerError", "No."));
  EXPECT_EQ(SaveToInbox(mail), "No.");
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(SaveToInbox(mail), "no exception");
  EXPECT_EQ(m_transport.Requests()[0].body, m_transport.Requests()[1].body);
  EXPECT_EQ(SaveToInbox(mail), ews::kHasId);
  EXPECT_EQ(m_transport.Requests().size(), 2u);
}

TEST_F(ExchangeServiceTest, AttachmentsAreJudgedByWhatTheServerListsAndThenByWhatItRefuses) {
  const std::string two = "<t:FileAttachment/><t:FileAttachment/>";
  for (const bool listed : {true, false}) {  // those that are not are sent once more, and refused
    ews::EmailMessage mail(m_service);
    mail.Attachments().AddFileAttachment(platform::ToWindowsPath("/proc/self/exe"));
    m_transport.Push(
        answers::Item("I=", listed ? "<t:Attachments>" + two + "</t:Attachments>" : ""));
    if (!listed) m_transport.Push(answers::Error("CreateAttachment", "ErrorX", "Too large."));
    EXPECT_EQ(SaveToInbox(mail),
              listed ? "no exception" : "At least one attachment couldn't be created.");
    EXPECT_EQ(SaveToInbox(mail), ews::kHasId);  // the mail is there either way
  }
}

// Else the part of it that is there would be taken for the whole of it, or doubled by the next try.
TEST_F(ExchangeServiceTest, SafeDeletesAMailWhoseAttachmentsWereRefused) {
  ews::Settings().bSafe = true;
  const std::string failed = "At least one attachment couldn't be created.";
  const ews::HttpResponse refused{
      200, {}, answers::Error("CreateAttachment", "ErrorX", "index is out of range")};
  const ews::HttpResponse deleted{200, {}, answers::Success("DeleteItem", "")};
  const ews::HttpResponse gone{200, {}, answers::Error("DeleteItem", "ErrorItemNotFound", "No.")};
  const ews::HttpResponse kept{200, {}, answers::Error("DeleteItem", "ErrorAccessDenied", "No.")};
  const ews::HttpResponse away{503, {}, ""};
  const ews::HttpResponse noLogon{401, {}, ""};
  const struct {
    std::vector<ews::HttpResponse> answers;
    std::string text;
  } rows[] = {
      {{refused, deleted}, failed},
      {{{504, {}, ""}, deleted},
       failed + " The request failed. The server mail.example.com answered HTTP 504 (Gateway "
                "Timeout); the server or the way to it is out of order."},
      {{refused, gone}, failed},
      {{refused, kept}, failed + " The item is there without it."},
      {{{503, {}, ""}, away}, failed + " The item is there without it."},
      {{{408, {}, ""}, deleted},
       failed + " The request failed. The server mail.example.com answered HTTP 408 (Request "
                "Timeout); the server or the way to it is out of order."},
      {{{429, {}, ""}, deleted},
       failed + " The request failed. The server mail.example.com answered HTTP 429 (Too Many "
                "Requests: the server is throttling); waited for 0 s"},
      {{noLogon, noLogon}, failed + " The item is there without it."},
  };
  for (const auto& row : rows) {
    ews::EmailMessage mail(m_service);
    mail.Attachments().AddFileAttachment(platform::ToWindowsPath("/proc/self/exe"));
    m_transport.Push(answers::Item("AAMk="));
    for (const ews::HttpResponse& answer : row.answers) m_transport.Push(answer);
    EXPECT_EQ(SaveToInbox(mail), row.text);
    EXPECT_EQ(mail.Id().IsSet(), row.text.ends_with("without it."));
    if (mail.Id().IsSet()) continue;
    EXPECT_THAT(LastBody(), AllOf(HasSubstr("DeleteType=\"HardDelete\""), HasSubstr("AAMk=")));
  }
}

TEST_F(ExchangeServiceTest, WhatIsNoFileIsRefusedWhenItIsAttached) {
  ews::AttachmentCollection attachments;
  const CString folder = platform::ToWindowsPath(std::filesystem::temp_directory_path().string());
  EXPECT_THROW(attachments.AddFileAttachment(folder + u"\\"), ews::ServiceException);
  EXPECT_THROW(attachments.AddFileAttachment(u"\\no\\such.file"), ews::ServiceException);
  const CString file = platform::ToWindowsPath("/proc/self/exe");
  for (const CString& name : {CString(u"a\x01"), CString(u"\xFFFE"), CString(u'\0', 1)}) {
    EXPECT_THAT(TextOf([&] { attachments.AddFileAttachment(name, file); }),
                HasSubstr("was specified for the 'Name' element."));
  }
  EXPECT_THROW(attachments.AddFileAttachment(u"name", file + CString(u'\0', 1) + u"x"),
               ews::ServiceException);
  EXPECT_EQ(attachments.Count(), 0);
  EXPECT_EQ(TextOf([&] { attachments[0].SetContentId(u"x"); }), "index is out of range.");
}

TEST_F(ExchangeServiceTest, ABadCharacterIsFoundBeforeAnythingIsSent) {
  ews::EmailMessage mail(m_service);
  mail.ToRecipients().Add(u"\x10 Bob <bob@example.com>");
  EXPECT_THAT(SaveToInbox(mail), HasSubstr("was specified for the 'EmailAddress' element."));
  mail.SetBody(CString(u"\x02"));
  EXPECT_THAT(SaveToInbox(mail), HasSubstr("was specified for the 'Body' element"));
  EXPECT_TRUE(m_transport.Requests().empty());
}

TEST_F(ExchangeServiceTest, WithoutAServiceAnItemSaysSoAndBindOfNothingAsksNobody) {
  ews::EmailMessage mail(nullptr);
  EXPECT_EQ(SaveToInbox(mail), ews::kNoService);
  const auto bound = ews::EmailMessage::Bind(m_service, {}, ews::PropertySet::FirstClassProperties);
  EXPECT_FALSE(bound.Id().IsSet());
  EXPECT_TRUE(m_transport.Requests().empty());
  ews::EmailMessage homeless(m_service);
  EXPECT_THROW(homeless.Save(ews::FolderId()), ews::ServiceException);
}

}  // namespace
