#include "mailboxd/MailContent.h"

#include <algorithm>

#include "mailboxd/AttachmentNames.h"
#include "mime/base/LogNull.h"
#include "mime/email/EmailBodies.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailWriter.h"

namespace mailbox {
namespace {

mail::OwnedPtr<mail::Email2> Build(std::string_view mime) {
  mail::LogNull log;
  return mail::buildEmail(mime, /*bUtf8=*/false, log);
}

// An attached mail is one part, whatever is in it.
bool IsMail(const mail::Email2& part) {
  return part.partCount() == 0 && part.type().equals("message/rfc822");
}

bool IsInline(const mail::PlacedEmail& placed, mail::LogBase& log) {
  if (!mail::isFile(placed, log)) return true;
  return placed.pParent != nullptr && placed.pParent->type().equals("multipart/related") &&
         !placed.pNode->disposition().equals("attachment");
}

// The texts to choose from, the better ones first: those of the message itself, then, as in a
// report or a part without a type, any that is no file.
std::vector<const mail::Email2*> TextsOf(const mail::Email2& root) {
  mail::LogNull log;
  std::vector<const mail::Email2*> texts = mail::alternativesOf(root, log);
  for (const mail::PlacedEmail& placed : mail::nodesOf(root)) {
    const mail::Email2& part = *placed.pNode;
    const bool isText = part.isText() || (part.partCount() == 0 && part.type().isEmpty());
    if (isText && !mail::isFile(placed, log)) texts.push_back(&part);
  }
  // A mixture that lacks its boundary is one text.
  if (texts.empty() && root.isMultipart() && root.partCount() == 0) texts.push_back(&root);
  return texts;
}

std::string Field(const mail::Email2& part, std::string_view name) {
  const mail::MimeField* const field = part.header().find(name);
  return field != nullptr ? std::string(field->value().view()) : std::string();
}

std::string WithoutBrackets(std::string text) {
  if (text.size() < 2 || text.front() != '<' || text.back() != '>') return text;
  return text.substr(1, text.size() - 2);
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// The name that a part brings; an attached mail without one is called by its subject.
std::string NameOf(const mail::Email2& part) {
  for (const mail::StringBuffer* name : {&part.fileName(), &part.name()}) {
    if (!IsBlank(name->view())) return std::string(name->view());
  }
  return IsMail(part) ? mail::MailHeader(part.body().view()).text("Subject") : "";
}

AttachmentInfo InfoOf(const mail::PlacedEmail& placed) {
  mail::LogNull log;
  mail::DataBuffer room;
  const mail::Email2& part = *placed.pNode;
  AttachmentInfo info;
  info.name = NameOf(part);
  info.contentType = part.type().view();
  info.contentId = WithoutBrackets(Field(part, "content-id"));
  info.contentLocation = Field(part, "content-location");
  info.isInline = IsInline(placed, log);
  info.isMail = IsMail(part);
  info.size = static_cast<std::int64_t>(mail::bodyForFile(part, room, log).size());
  return info;
}

}  // namespace

MailContent::MailContent(std::string_view mime) : m_header(mime), m_root(Build(mime)) {
  if (m_root != nullptr) TakeAttachments(TakeBodies());
}

std::vector<const mail::Email2*> MailContent::TakeBodies() {
  std::vector<const mail::Email2*> bodies;
  const auto take = [&](const mail::Email2& text, std::string_view& body) {
    if (!body.empty() || text.body().isEmpty()) return;
    body = text.body().view();
    bodies.push_back(&text);
  };
  for (const mail::Email2* text : TextsOf(*m_root)) {
    if (text->type().equals("text/html")) {
      take(*text, m_html);
    } else if (!text->type().beginsWith("text/") || text->type().equals("text/plain")) {
      take(*text, m_text);
    }
  }
  return bodies;
}

void MailContent::TakeAttachments(const std::vector<const mail::Email2*>& bodies) {
  mail::LogNull log;
  std::size_t nameless = 0;
  for (const mail::PlacedEmail& placed : mail::nodesOf(*m_root)) {
    const mail::Email2& part = *placed.pNode;
    if (part.partCount() > 0 || std::count(bodies.begin(), bodies.end(), &part) > 0) continue;
    if (part.body().isEmpty() && !mail::isFile(placed, log)) continue;  // a file may be empty
    m_attachments.push_back(InfoOf(placed));
    std::string& name = m_attachments.back().name;
    if (IsBlank(name)) name = MadeUpName(part.type().view(), ++nameless);
    m_parts.push_back(&part);
  }
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
