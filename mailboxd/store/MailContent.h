#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/OwnedPtr.h"
#include "mailboxd/store/Store.h"
#include "mime/MailHeader.h"
#include "mime/email/Email2.h"
#include "mime/email/EmailLayout.h"

namespace mailbox {

// A whole mail taken apart for people to see: fields, body, attachments. Loading costs what the
// mail's size costs, and about twice its size in memory.
class MailContent {
 public:
  // The bytes are not needed afterwards.
  explicit MailContent(std::string_view mime);

  // As the mail has them, decoded.
  const mail::MimeHeader& Fields() const { return m_header.fields(); }
  // The first body of each kind that is no attachment, in UTF-8; "" if there is none. Views that
  // live as long as the object.
  std::string_view Text() const { return m_text; }
  std::string_view Html() const { return m_html; }
  // Everything else, in the order of the mail: files (an attached mail is one), and as inline what
  // belongs to the body, such as its pictures. Each has a name. Without ids and date.
  const std::vector<AttachmentInfo>& Attachments() const { return m_attachments; }
  // Whether a list of mails would show a paper clip: any attachment that is not inline.
  bool HasFiles() const;
  // What a file of that attachment holds; "" for an index that is not there.
  std::string AttachmentBytes(std::size_t index) const;

 private:
  void TakeAttachment(const mail::ShownNode& shown);

  mail::MailHeader m_header;
  mail::OwnedPtr<mail::Email2> m_root;  // null for want of memory
  mail::DataBuffer m_textRoom;          // where a body had to be made readable
  mail::DataBuffer m_htmlRoom;
  std::string_view m_text;
  std::string_view m_html;
  std::vector<AttachmentInfo> m_attachments;
  std::vector<const mail::Email2*> m_parts;  // of the attachments
  std::size_t m_nameless = 0;                // attachments that got a name here
};

}  // namespace mailbox
