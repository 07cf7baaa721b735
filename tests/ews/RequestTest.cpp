#include "ews/Contact.h"
#include "ews/EmailMessage.h"
#include "ews/ExchangeService.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/SchemaValidator.h"

// Requests that no sample shows; RequestSamplesTest.cpp has the others.

namespace {

using testing::HasSubstr;
using testing::Not;

class Request : public ScriptedService {
 protected:
  void ExpectValid() {
    EXPECT_EQ(test_support::SchemaValidator::Violation(LastBody()), "") << LastBody();
  }
  void Save(ews::Item& item) {
    m_transport.Push(answers::Item("I="));
    item.Save(m_inbox);
    ExpectValid();
  }

  const ews::FolderId m_inbox{CString(u"AAMkFolderInbox=")};
};

TEST_F(Request, SearchesForAnEmptyNameAndByEquality) {
  using enum ews::FolderSchema;
  m_transport.Push(answers::Found({}));
  m_service->FindFolders(m_inbox, ews::ContainsSubstring(DisplayName, u""), ews::FolderView(10));
  ExpectValid();
  EXPECT_THAT(LastBody(), HasSubstr("Value=\"\""));
  m_transport.Push(answers::Found({}));
  m_service->FindFolders(m_inbox, ews::IsEqualTo(DisplayName, u"<A> \"&\" 'B'"),
                         ews::FolderView(10));
  ExpectValid();
}

TEST_F(Request, LeavesOutBlankAddresses) {
  ews::EmailMessage mail(m_service);
  mail.SetFrom(ews::EmailAddress(CString(u" ")));
  mail.ToRecipients().Add(u"");
  mail.CcRecipients().Add(u"");
  mail.CcRecipients().Add(u"carl@example.com");
  Save(mail);
  EXPECT_THAT(LastBody(), AllOf(Not(HasSubstr("<t:From")), Not(HasSubstr("<t:ToRecipients")),
                                HasSubstr("carl@example.com")));
}

TEST_F(Request, NamesAPropertyByItsSetOnceWhateverTheIdsForm) {
  ews::EmailMessage mail(m_service);
  using enum ews::MapiPropertyType;
  mail.SetExtendedProperty({u"{00062004-0000-0000-C000-000000000046}", 0x8084, String},
                           CString(u"first"));
  mail.SetExtendedProperty({u"00062004-0000-0000-c000-000000000046", 0x8084, String},
                           CString(u"second"));
  EXPECT_THROW(mail.SetExtendedProperty({0x7FFE, Boolean}, CString(u"x")), ews::ServiceException);
  for (const char16_t* none : {u"00062004-0000-0000-C000-00000000004", u"PublicStrings", u"{}"}) {
    EXPECT_THROW(ews::ExtendedPropertyDefinition(none, 1, String), ews::ServiceException);
  }
  Save(mail);
  EXPECT_THAT(LastBody(), AllOf(Not(HasSubstr("first")), HasSubstr("second")));
}

// A key that is set again keeps its place; what is empty does no harm.
TEST_F(Request, AContactTakesTheLastValueOfEachKey) {
  using enum ews::PhoneNumberKey;
  ews::Contact contact(m_service);
  contact.PhoneNumbers()[HomePhone] = u"1";
  contact.PhoneNumbers()[Pager] = u"";
  contact.PhoneNumbers()[HomePhone] = u"2";
  contact.EmailAddresses()[ews::EmailAddressKey::EmailAddress3] =
      ews::EmailAddress(CString(u"Ann <ann@example.com>"));
  contact.PhysicalAddresses()[ews::PhysicalAddressKey::Other] = {u"", u"Oslo", u"", u"", u""};
  contact.PhysicalAddresses()[ews::PhysicalAddressKey::Home] = {};
  contact.SetSurname(u"");
  contact.SetMiddleName(u"M");
  contact.SetNickname(u"N");
  contact.SetGeneration(u"Jr.");
  contact.SetProfession(u"Pilot");
  contact.SetSpouseName(u"Bo");
  contact.SetBirthday(COleDateTime(1980, 3, 5, 0, 0, 0));
  contact.SetWeddingAnniversary(COleDateTime(1604, 2, 29, 0, 0, 0));
  contact.Children().Add(u"Eve");
  Save(contact);
  EXPECT_THAT(LastBody(), HasSubstr("<t:Birthday>1980-03-05T11:59:00Z<"));
  EXPECT_THAT(LastBody(),
              HasSubstr("<t:Entry Key=\"HomePhone\">2</t:Entry><t:Entry Key=\"Pager\"/>"));
  EXPECT_THAT(LastBody(), HasSubstr("Key=\"EmailAddress3\" Name=\"Ann\">ann@example.com<"));
  EXPECT_THAT(LastBody(), HasSubstr("<t:Entry Key=\"Other\"><t:City>Oslo</t:City></t:Entry>"
                                    "<t:Entry Key=\"Home\"/>"));
}

}  // namespace
