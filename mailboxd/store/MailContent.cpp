#include "mailboxd/store/MailContent.h"

#include <algorithm>
#include <utility>

#include "base/AsciiText.h"
#include "base/LogNull.h"
#include "mailboxd/store/AttachmentNames.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailWriter.h"

namespace mailbox {
namespace {

mail::OwnedPtr<mail::Email2> Build(std::string_view mime) {
  mail::LogNull log;
  return mail::buildEmail(mime, /*bUtf8=*/false, log);
}

// A paper clip is for what somebody attached, not for what programs write for programs, such as the
// parts of a bounce.
bool IsInline(const mail::ShownNode& shown) {
  mail::LogNull log;
  const auto& [part, parent] = shown.objPlaced;
  if (shown.nRole != mail::Role::kFile) return true;
  if (!shown.bMail && !mail::isNamed(*part) && !mail::isAttachment(shown.objPlaced, log))
    return true;
  return parent != nullptr && parent->type().equals("multipart/related") &&
         !part->disposition().equals("attachment");
}

std::string_view WithoutBrackets(std::string_view text) {
  if (text.size() < 2 || text.front() != '<' || text.back() != '>') return text;
  return text.substr(1, text.size() - 2);
}

// The name that a part brings; an attached mail without one is called by its subject.
std::string NameOf(const mail::ShownNode& shown) {
  const mail::Email2& part = *shown.objPlaced.pNode;
  const std::string_view name = mail::fileNameOf(part);
  if (!name.empty() || !shown.bMail) return std::string(name);
  return mail::MailHeader(part.body().view()).text("Subject");
}

AttachmentInfo InfoOf(const mail::ShownNode& shown) {
  mail::LogNull log;
  mail::DataBuffer room;
  const mail::Email2& part = *shown.objPlaced.pNode;
  AttachmentInfo info;
  info.name = NameOf(shown);
  info.contentType = mail::listedType(shown);
  info.contentId = WithoutBrackets(part.header().valueOf("content-id"));
  info.contentLocation = part.header().valueOf("content-location");
  info.isInline = IsInline(shown);
  info.isItem = shown.bMail;
  info.size = static_cast<std::int64_t>(mail::bodyForFile(part, room, log).size());
  return info;
}

}  // namespace

MailContent::MailContent(std::string_view mime) : m_header(mime), m_root(Build(mime)) {
  if (m_root == nullptr) return;
  mail::LogNull log;
  for (const mail::ShownNode& shown : mail::layOut(*m_root, log)) {
    const mail::Email2& part = *shown.objPlaced.pNode;
    if (shown.nRole == mail::Role::kText && m_text.empty()) {
      m_text = mail::readableText(part, m_textRoom, log);
    } else if (shown.nRole == mail::Role::kHtml) {
      m_html = mail::readableText(part, m_htmlRoom, log);
    } else if (shown.nRole == mail::Role::kFile || !part.body().isEmpty()) {  // a file may be empty
      TakeAttachment(shown);
    }
  }
}

void MailContent::TakeAttachment(const mail::ShownNode& shown) {
  AttachmentInfo info = InfoOf(shown);
  if (mail::trimmed(info.name).empty()) info.name = MadeUpName(info.contentType, ++m_nameless);
  m_attachments.push_back(std::move(info));
  m_parts.push_back(shown.objPlaced.pNode);
}

bool MailContent::HasFiles() const {
  return std::any_of(m_attachments.begin(), m_attachments.end(),
                     [](const AttachmentInfo& one) { return !one.isInline; });
}

std::string MailContent::AttachmentBytes(std::size_t index) const {
  if (index >= m_parts.size()) return "";
  mail::LogNull log;
  mail::DataBuffer room;
  return std::string(mail::bodyForFile(*m_parts[index], room, log));
}

}  // namespace mailbox
