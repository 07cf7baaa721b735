#pragma once

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
  EmailAddress(CString strName, CString strAddress)  // as they are
      : m_strName(std::move(strName)), m_strAddress(std::move(strAddress)) {}

  const CString& Name() const { return m_strName; }
  const CString& Address() const { return m_strAddress; }
  bool IsBlank() const;  // no address, or white space alone

 private:
  CString m_strName;
  CString m_strAddress;
};

class EmailAddressCollection {
 public:
  void Add(const CString& strText) { m_arr.emplace_back(strText); }
  void Add(EmailAddress objAddress) { m_arr.push_back(std::move(objAddress)); }
  int Count() const { return static_cast<int>(m_arr.size()); }
  // Throws std::out_of_range for an index beyond the end.
  const EmailAddress& operator[](int nIndex) const { return m_arr.at(static_cast<size_t>(nIndex)); }
  auto begin() const { return m_arr.begin(); }
  auto end() const { return m_arr.end(); }
  // True if there is none but blank ones.
  bool IsBlank() const;

 private:
  std::vector<EmailAddress> m_arr;
};

// The people asked to a meeting.
class AttendeeCollection : public EmailAddressCollection {};

// Writes the element Mailbox. Who writes several leaves out blank addresses, since the server would
// refuse the whole item for one.
void WriteMailbox(SoapWriter& objWriter, const EmailAddress& objAddress);

}  // namespace ews
