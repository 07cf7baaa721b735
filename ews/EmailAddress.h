#pragma once

#include <string_view>
#include <vector>

#include "platform/CString.h"

namespace ews {

class SoapWriter;

// One address. The text is read as `Name <a@b>`, `"Name" <a@b>`, `<a@b>` with blanks around, or a
// bare address; a text that is none of these, or holds a character that XML forbids, goes whole
// into the address, so that what is wrong with it is told of the address.
class EmailAddress {
 public:
  EmailAddress() = default;
  explicit EmailAddress(const CString& strText);

  const CString& Name() const { return m_strName; }
  const CString& Address() const { return m_strAddress; }

 private:
  CString m_strName;
  CString m_strAddress;
};

class EmailAddressCollection {
 public:
  void Add(const CString& strText) { m_arr.emplace_back(strText); }
  int Count() const { return static_cast<int>(m_arr.size()); }
  // Throws std::out_of_range for an index beyond the end.
  const EmailAddress& operator[](int nIndex) const { return m_arr.at(static_cast<size_t>(nIndex)); }
  auto begin() const { return m_arr.begin(); }
  auto end() const { return m_arr.end(); }

 private:
  std::vector<EmailAddress> m_arr;
};

// The people asked to a meeting.
class AttendeeCollection : public EmailAddressCollection {};

// Writes one Mailbox element; nothing for an address that is blank, which the server would refuse
// the whole item for.
void WriteMailbox(SoapWriter& objWriter, const EmailAddress& objAddress);
// Writes the element with its mailboxes; nothing for an empty collection.
void WriteMailboxes(SoapWriter& objWriter, std::string_view strElement,
                    const EmailAddressCollection& objAddresses);

}  // namespace ews
