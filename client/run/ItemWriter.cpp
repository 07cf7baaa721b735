#include "client/run/ItemWriter.h"

#include <algorithm>

#include "base/LogNull.h"
#include "client/run/DescriptorText.h"
#include "client/run/Utf16Mail.h"
#include "client/sources/ContentHash.h"
#include "client/sources/Mbox.h"
#include "client/sources/Names.h"
#include "client/sources/PreparedItem.h"
#include "mime/tree/MimeInput.h"

namespace client {
namespace {

// The engine takes every occurrence of the label away: a value that holds one is left to the mail.
std::string LabelledLine(const std::string& label, const std::string& value) {
  std::string clean = WithoutForbiddenControls(value);
  std::erase_if(clean, [](char c) { return c == '\r' || c == '\n'; });
  if (clean.empty() || clean.find(label) != std::string::npos) return "\r\n";
  return label + clean + "\r\n";
}

// Some programs write their notes with CR LF into mails that have LF.
bool HasCrLf(std::string_view mail) {
  bool has = false;
  EachPieceOfContent(mail, [&](std::string_view piece) {
    has = has || piece.find("\r\n") != std::string_view::npos;
  });
  return has;
}

// The line of an mbox, and those that old relays left of theirs, which came out of an mbox unquoted
// or not. They are no fields: readers that go by the grammar take the first for the end of the
// header, and the mail for one without sender and subject.
std::string_view WithoutLinesInFront(std::string_view mail) {
  while (mail.starts_with(kFrom) || mail.starts_with(kQuotedFrom)) {
    mail = WithoutFromLine(mail.substr(mail.starts_with('>') ? 1 : 0));
  }
  return mail;
}

std::string WithCrLf(std::string bytes) {
  bytes.erase(0, bytes.size() - WithoutLinesInFront(bytes).size());
  if (HasCrLf(bytes)) return bytes;
  std::string converted;
  converted.reserve(bytes.size() + bytes.size() / 32);
  size_t from = 0;
  for (size_t at = bytes.find('\n'); at != std::string::npos; at = bytes.find('\n', from)) {
    const bool isWhole = at > from && bytes[at - 1] == '\r';  // in a note
    converted.append(bytes, from, at - from).append(isWhole ? "\n" : "\r\n");
    from = at + 1;
  }
  return converted.append(bytes, from);
}

}  // namespace

std::string DescriptorText(const MailDescription& mail) {
  std::string text = "EMAIL\r\n";
  text += "\n";
  text += (mail.date.empty() ? "" : "Creation Date : " + mail.date) + "\r\n";
  text += mail.read ? "FALSE\r\n" : "TRUE\r\n";
  const MailAddressing& addressing = mail.addressing;
  text += LabelledLine("From : ", addressing.from) + LabelledLine("To : ", addressing.to) +
          LabelledLine("CC : ", addressing.cc) + LabelledLine("Bcc : ", addressing.bcc) +
          LabelledLine("Subject : ", addressing.subject);
  text += "MessageID : " + WithoutForbiddenControls(mail.key) + "\r\n";
  return text;
}

std::string MimeBytes(std::string bytes) {
  mail::DataBuffer utf8;
  mail::LogNull log;
  if (!mail::utf8OfUtf16Mail(bytes, utf8, log)) return WithCrLf(std::move(bytes));
  return LabelledUtf8Mail(WithCrLf(std::string(utf8.view())));
}

void WriteMail(const std::string& workFolder, const MailDescription& mail, std::string_view mime) {
  WriteNewFile(workFolder + "/" + std::string(kMimeName), mime);
  WriteNewFile(workFolder + "/" + std::string(kDescriptorName),
               Utf16LittleEndian(DescriptorText(mail)));
}

}  // namespace client
