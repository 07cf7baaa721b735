#include "ews/EmailAddress.h"

#include <gtest/gtest.h>

namespace {

TEST(EmailAddress, IsReadFromEveryFormInUse) {
  const struct {
    const char16_t* text;
    const char16_t* name;
    const char16_t* address;
  } rows[] = {
      {u"bob@example.com", u"", u"bob@example.com"},
      {u"  bob@example.com ", u"", u"bob@example.com"},
      {u" <bob@example.com> ", u"", u"bob@example.com"},
      {u"< bob@example.com >", u"", u"bob@example.com"},
      {u"Bob Example <bob@example.com>", u"Bob Example", u"bob@example.com"},
      {u"\"Ex, Bob\" <bob@example.com>", u"Ex, Bob", u"bob@example.com"},
      {u"\"Bob \\\"B\\\" Ex\"<bob@example.com>", u"Bob \"B\" Ex", u"bob@example.com"},
      {u"O'Brien, Pat <pat@example.com>", u"O'Brien, Pat", u"pat@example.com"},
      {u"山田 <yamada@example.com>", u"山田", u"yamada@example.com"},
      // None of these forms: the text stays whole.
      {u"", u"", u""},
      {u"Bob Example", u"", u"Bob Example"},
      {u"CN=Bob/O=Example", u"", u"CN=Bob/O=Example"},
      {u"Bob <bob>", u"", u"Bob <bob>"},
      {u"Bob <a@b> <c@d>", u"", u"Bob <a@b> <c@d>"},
      {u"Bob <a@b", u"", u"Bob <a@b"},
      {u"Bob a@b>", u"", u"Bob a@b>"},
      {u"\"Bob <a@b>", u"", u"\"Bob <a@b>"},
      {u"a@b@c", u"", u"a@b@c"},
      {u"@b", u"", u"@b"},
      {u">", u"", u">"},
      // A forbidden character in the name is reported of the address, which a second try cleans.
      {u"B\x0001ob <bob@example.com>", u"", u"B\x0001ob <bob@example.com>"},
  };
  for (const auto& row : rows) {
    const ews::EmailAddress address{CString(row.text)};
    EXPECT_EQ(address.Name(), row.name) << CString(row.text).ToUtf8();
    EXPECT_EQ(address.Address(), row.address) << CString(row.text).ToUtf8();
  }
}

}  // namespace
