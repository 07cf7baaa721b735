#include "mailboxd/MailContent.h"

#include "mime/base/DataBuffer.h"
#include "mime/base/LogNull.h"

namespace mailbox {
namespace {

std::string NameOf(const mail::MimeMessage2& part) {
  mail::LogNull log;
  mail::StringBuffer name;
  part.getFileName(name, log);
  if (name.isEmpty()) part.getName(name, log);
  return std::string(name.view());
}

// An attached mail is shown as one file.
bool IsFile(const mail::MimeMessage2& part, bool isRoot) {
  return !isRoot && part.contentType().beginsWith("message/rfc822");
}

std::string BytesOf(const mail::MimeMessage2& part) {
  mail::LogNull log;
  mail::DataBuffer room;
  if (part.partCount() == 0) return std::string(part.bodyForFile(room, log));
  std::string bytes;
  for (std::size_t i = 0; i < part.partCount(); ++i) {
    room.clear();
    part.part(i)->getMimeBytes(room, log);
    bytes += room.view();
  }
  return bytes;
}

}  // namespace

MailContent::MailContent(std::string_view mime) {
  mail::LogNull log;
  (void)m_root.loadMimeComplete(mime, /*bRepair=*/false, "", /*bUtf8=*/false, log);
  std::vector<const mail::MimeMessage2*> waiting = {&m_root};  // the next one last
  while (!waiting.empty()) {
    const mail::MimeMessage2& part = *waiting.back();
    waiting.pop_back();
    if (part.partCount() == 0 || IsFile(part, &part == &m_root)) {
      Take(part, &part == &m_root);
      continue;
    }
    for (std::size_t i = part.partCount(); i > 0; --i) waiting.push_back(part.part(i - 1));
  }
}

void MailContent::Take(const mail::MimeMessage2& part, bool isRoot) {
  const std::string name = NameOf(part);
  const bool isText = part.contentType().isEmpty() || part.contentType().equals("text/plain");
  const bool isHtml = part.contentType().equals("text/html");
  if (!part.isAttachment() && name.empty() && (isText || isHtml)) {
    std::string_view& body = isHtml ? m_html : m_text;
    if (body.empty()) {
      body = part.body().view();
      return;
    }
  }
  if (part.isMultipart() && part.body().view().empty()) return;  // without any part
  std::string type(part.contentType().view());
  if (isRoot && isText && part.body().view().empty()) return;
  m_attachments.push_back({name, std::move(type), BytesOf(part).size()});
  m_parts.push_back(&part);
}

std::string MailContent::AttachmentBytes(std::size_t index) const {
  return index < m_parts.size() ? BytesOf(*m_parts[index]) : std::string();
}

}  // namespace mailbox
