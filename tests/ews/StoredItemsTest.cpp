#include <gmock/gmock.h>

#include <string>

#include "ews/EmailMessage.h"
#include "tests/ews/WiredService.h"
#include "tests/mailboxd/HttpCall.h"

// What is read back of an item that a mailbox holds; what it holds of each kind, the pipeline's
// tests tell.
namespace {

TEST(StoredItems, AMailIsBoundAsItWasSaved) {
  const SettingsKeeper settings;
  mailbox_test::RunningServer server;
  const WiredService wire(server->EwsUrl());
  const std::shared_ptr<ews::ExchangeService>& service = wire.Shared();
  service->SetCredentials(ews::WebCredentials(u"ann@example.com", u"x"));
  ews::EmailMessage mail(service);
  mail.SetBody({ews::BodyType::Text, u"a < b\r\n\u20AC"});
  mail.SetCategories(std::vector<CString>{u"Blue & green", u"Red"});
  mail.SetImportance(ews::Importance::High);
  mail.SetIsRead(true);
  mail.SetFrom(ews::EmailAddress(u"Ann <ann@example.com>"));
  mail.ToRecipients().Add(u"Bob <bob@example.com>");
  mail.ToRecipients().Add(u"carl@example.com");
  mail.BccRecipients().Add(u"dora@example.com");
  mail.Save(ews::WellKnownFolderName::Inbox);
  ews::EmailMessage bound =
      ews::EmailMessage::Bind(service, mail.Id(), ews::PropertySet::FirstClassProperties);
  EXPECT_EQ(bound.Id().strUniqueId, mail.Id().strUniqueId);
  ASSERT_TRUE(bound.Body());
  EXPECT_EQ(bound.Body()->BodyType(), ews::BodyType::Text);
  EXPECT_EQ(bound.Body()->Text(), mail.Body()->Text());
  EXPECT_EQ(bound.Categories(), mail.Categories());
  EXPECT_EQ(bound.Importance(), ews::Importance::High);
  EXPECT_EQ(bound.IsRead(), true);
  ASSERT_TRUE(bound.From());
  EXPECT_EQ(bound.From()->Name(), u"Ann");
  ASSERT_EQ(bound.ToRecipients().Count(), 2);
  EXPECT_EQ(bound.ToRecipients()[0].Name(), u"Bob");
  EXPECT_EQ(bound.ToRecipients()[1].Address(), u"carl@example.com");
  EXPECT_EQ(bound.CcRecipients().Count(), 0);
  EXPECT_EQ(bound.BccRecipients().Count(), 1);
  EXPECT_THROW(bound.Save(ews::WellKnownFolderName::Inbox), ews::ServiceException);  // it is there
  EXPECT_THROW(
      ews::EmailMessage::Bind(service, {u"none", u""}, ews::PropertySet::FirstClassProperties),
      ews::ServiceException);
}

}  // namespace
