#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mime/tree/MimeMessage2.h"

namespace mailbox {

// A whole mail taken apart for people to see: fields, body, attachments. Loading costs what the
// mail's size costs, and about twice its size in memory.
class MailContent {
 public:
  struct Attachment {
    std::string name;
    std::string type;
    std::size_t size = 0;  // decoded bytes
  };

  // The bytes are not needed afterwards.
  explicit MailContent(std::string_view mime);

  const mail::MimeHeader& Fields() const { return m_root.header(); }
  // The first body of each kind that is no attachment, in UTF-8; "" if there is none. Views that
  // live as long as the object.
  std::string_view Text() const { return m_text; }
  std::string_view Html() const { return m_html; }
  const std::vector<Attachment>& Attachments() const { return m_attachments; }
  // What a file of that attachment holds; "" for an index that is not there.
  std::string AttachmentBytes(std::size_t index) const;

 private:
  void Take(const mail::MimeMessage2& part, bool isRoot);

  mail::MimeMessage2 m_root;
  std::string_view m_text;
  std::string_view m_html;
  std::vector<Attachment> m_attachments;
  std::vector<const mail::MimeMessage2*> m_parts;  // of the attachments
};

}  // namespace mailbox
