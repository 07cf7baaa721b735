#include "ews/ExchangeService.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "ews/EmailMessage.h"
#include "platform/Paths.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"

namespace {

using std::chrono::milliseconds;

class ExchangeServiceTest : public testing::Test {
 protected:
  ExchangeServiceTest() { m_service->SetUrl(u"https://mail.example.com/EWS/Exchange.asmx"); }

  std::string Find() {
    return TextOf([&] {
      m_service->FindFolders(ews::WellKnownFolderName::MsgFolderRoot, ews::FolderView(10));
    });
  }

  static std::string Busy(const std::string& time) {
    return answers::Envelope(
        "<s:Fault><faultcode>a:ErrorServerBusy</faultcode><faultstring>Busy.</faultstring><detail>"
        "<e:ResponseCode>ErrorServerBusy</e:ResponseCode><t:MessageXml>"
        "<t:Value Name=\"BackOffMilliseconds\">" +
        time + "</t:Value></t:MessageXml></detail></s:Fault>");
  }

  SettingsKeeper m_settings;
  ScriptedTransport m_transport;
  ews::ScopedTransport m_scope{m_transport};
  std::shared_ptr<ews::ExchangeService> m_service =
      std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
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
  EXPECT_TRUE(Find().starts_with("The request failed. "));
}

TEST_F(ExchangeServiceTest, WithoutAnEndpointOrAnAddressToImpersonateNothingIsSent) {
  m_service->SetImpersonatedUserId({ews::ConnectingIdType::SmtpAddress, u""});
  EXPECT_NE(Find(), "no exception");
  m_service->SetUrl(u"");
  EXPECT_NE(Find(), "no exception");
  EXPECT_TRUE(m_transport.Requests().empty());
}

TEST_F(ExchangeServiceTest, ABusyServerIsWaitedForWithinTheTimeOut) {
  const std::string untimed = answers::Envelope(
      "<s:Fault><faultcode>a:ErrorServerBusy</faultcode><faultstring>Busy.</faultstring><detail>"
      "<e:ResponseCode>ErrorServerBusy</e:ResponseCode></detail></s:Fault>");
  const std::string refused = answers::Error("FindFolder", "ErrorServerBusy", "It is busy.");
  m_service->SetTimeout(700000);
  m_transport.Push(Busy("297749"), 500);
  m_transport.Push(ews::HttpResponse{429, {{"Retry-After", "7"}}, ""});
  m_transport.Push(ews::HttpResponse{503, {{"retry-after", "0"}}, ""});
  // Where the answer itself names no time, the header's stands.
  m_transport.Push(ews::HttpResponse{503, {{"Retry-After", "6"}}, untimed});
  m_transport.Push(ews::HttpResponse{503, {{"Retry-After", "5"}}, refused});
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
  m_transport.Push(Busy("100000"), 500);
  EXPECT_EQ(Find(), "Busy.");
  m_transport.Push(ews::HttpResponse{503, {}, ""});  // says nothing of when
  EXPECT_NE(Find().find("HTTP 503"), std::string::npos);
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
  EXPECT_NE(Find().find("redirects without end"), std::string::npos);
  EXPECT_EQ(m_transport.Requests().size(), 11u);
}

TEST_F(ExchangeServiceTest, CredentialsDoNotTravelUnencryptedBeyondThisMachine) {
  m_service->SetCredentials(ews::WebCredentials(u"u", u"p"));
  m_service->SetUrl(u"http://mail.example.com/EWS");
  EXPECT_NE(Find().find("do not travel unencrypted"), std::string::npos);
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

TEST_F(ExchangeServiceTest, ASecondSaveIsRefusedOnlyOnceThereIsAnId) {
  ews::EmailMessage mail(m_service);
  const auto save = [&] { return TextOf([&] { mail.Save(ews::WellKnownFolderName::Inbox); }); };
  m_transport.Push(answers::Error("CreateItem", "ErrorInternalServerError", "No."));
  EXPECT_EQ(save(), "No.");
  m_transport.Push(answers::Item("I="));
  EXPECT_EQ(save(), "no exception");
  EXPECT_EQ(m_transport.Requests()[0].body, m_transport.Requests()[1].body);
  EXPECT_EQ(save(), ews::kHasId);
  EXPECT_EQ(m_transport.Requests().size(), 2u);
}

TEST_F(ExchangeServiceTest, AttachmentsAreJudgedByWhatTheServerListsAndThenByWhatItRefuses) {
  const std::string two = "<t:FileAttachment/><t:FileAttachment/>";
  const struct {
    std::string item;  // what the answer to CreateItem says of attachments
    bool apart;        // they are sent once more, and that is refused
  } rows[] = {{"<t:Attachments>" + two + "</t:Attachments>", false}, {"", true}};
  for (const auto& row : rows) {
    ews::EmailMessage mail(m_service);
    const auto save = [&] { return TextOf([&] { mail.Save(ews::WellKnownFolderName::Inbox); }); };
    mail.Attachments().AddFileAttachment(platform::ToWindowsPath("/proc/self/exe"));
    m_transport.Push(answers::Item("I=", row.item));
    if (row.apart) m_transport.Push(answers::Error("CreateAttachment", "ErrorX", "Too large."));
    EXPECT_EQ(save(), row.apart ? "At least one attachment couldn't be created." : "no exception");
    EXPECT_EQ(save(), ews::kHasId);  // the mail is there either way
  }
}

TEST_F(ExchangeServiceTest, WhatIsNoFileIsRefusedWhenItIsAttached) {
  ews::AttachmentCollection attachments;
  const CString folder = platform::ToWindowsPath(std::filesystem::temp_directory_path().string());
  EXPECT_THROW(attachments.AddFileAttachment(folder + u"\\"), ews::ServiceException);
  EXPECT_THROW(attachments.AddFileAttachment(u"\\no\\such.file"), ews::ServiceException);
  const CString file = platform::ToWindowsPath("/proc/self/exe");
  for (const CString& name : {CString(u"a\x01"), CString(u"\xFFFE"), CString(u'\0', 1)}) {
    EXPECT_NE(TextOf([&] {
                attachments.AddFileAttachment(name, file);
              }).find("was specified for the 'Name' element."),
              std::string::npos);
  }
  EXPECT_THROW(attachments.AddFileAttachment(u"name", file + CString(u'\0', 1) + u"x"),
               ews::ServiceException);
  EXPECT_EQ(attachments.Count(), 0);
  EXPECT_EQ(TextOf([&] { attachments[0].SetContentId(u"x"); }), "index is out of range.");
}

TEST_F(ExchangeServiceTest, ABadCharacterIsFoundBeforeAnythingIsSent) {
  ews::EmailMessage mail(m_service);
  const auto save = [&] { return TextOf([&] { mail.Save(ews::WellKnownFolderName::Inbox); }); };
  mail.ToRecipients().Add(
      u"\x10"
      u"Bob <bob@example.com>");
  EXPECT_NE(save().find("was specified for the 'EmailAddress' element."), std::string::npos);
  mail.SetBody(CString(u"\x02"));
  EXPECT_NE(save().find("was specified for the 'Body' element"), std::string::npos);
  EXPECT_TRUE(m_transport.Requests().empty());
}

TEST_F(ExchangeServiceTest, WithoutAServiceAnItemSaysSoAndBindOfNothingAsksNobody) {
  ews::EmailMessage mail(nullptr);
  EXPECT_EQ(TextOf([&] { mail.Save(ews::WellKnownFolderName::Inbox); }), ews::kNoService);
  const auto bound = ews::EmailMessage::Bind(m_service, {}, ews::PropertySet::FirstClassProperties);
  EXPECT_FALSE(bound.Id().IsSet());
  EXPECT_TRUE(m_transport.Requests().empty());
  ews::EmailMessage homeless(m_service);
  EXPECT_THROW(homeless.Save(ews::FolderId()), ews::ServiceException);
}

TEST(UtcTime, IsWrittenWithAZ) {
  EXPECT_EQ(ews::FormatUtc({1709630100}), "2024-03-05T09:15:00Z");
  EXPECT_EQ(ews::FormatUtc({-1}), "1969-12-31T23:59:59Z");
  EXPECT_EQ(ews::FormatUtc({951782400}), "2000-02-29T00:00:00Z");
}

}  // namespace
