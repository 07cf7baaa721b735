#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mime/header/MimeHeader.h"
#include "mime/tree/MimeMessage2.h"

namespace mail {

// Both UTF-8 and decoded; either may be empty.
struct MailPerson {
  std::string strName;
  std::string strAddress;
};

// What the header of a mail says, for those who need no body: what the root of its tree has
// (MimeInput.h), however its line ends are spoiled, in UTF-16 or behind the line of an mbox.
// Reading costs what the header costs, however large the mail is, where it ends in an empty line as
// it should.
class MailHeader {
 public:
  // The bytes are not needed afterwards.
  explicit MailHeader(std::string_view strMail);

  // The first field of that name, in UTF-8, unfolded, trimmed and decoded; nothing when there is
  // none.
  std::optional<std::string> find(std::string_view strName) const;
  std::string text(std::string_view strName) const { return find(strName).value_or(""); }
  // The addresses of all fields of that name.
  std::vector<MailPerson> people(std::string_view strName) const;
  const MimeHeader& fields() const { return m_objRoot.header(); }

 private:
  MimeMessage2 m_objRoot;  // without body and parts
};

}  // namespace mail
