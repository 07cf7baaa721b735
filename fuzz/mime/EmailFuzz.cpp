#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/LogNull.h"
#include "mime/CkEmail.h"
#include "mime/email/ClsEmail.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailLayout.h"
#include "mime/email/EmailWriter.h"

// Mails from text. Whatever the text: it is asked for its HTML text and its attachments, gets
// another subject and sender, and is written; what was written is a mail again, with that subject,
// and is of a size that the text explains.

namespace {

class Memory : public mail::EmailOutput {
 public:
  bool write(std::string_view bytes) override {
    text.append(bytes);
    return true;
  }
  std::string text;
};

void Require(bool holds) {
  if (!holds) std::abort();
}

std::string Written(mail::Email2& email) {
  mail::LogNull log;
  Memory output;
  Require(mail::EmailWriter(output, mail::EmailWriter::Transport::k8bit, log).write(email));
  return output.text;
}

}  // namespace

// The first byte says whether the text counts as UTF-8.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  {
    CkEmail email;
    email.put_Utf8((data[0] & 1) != 0);
    Require(email.SetFromMimeText(text.c_str()));
    const bool html = email.HasHtmlBody();
    Require(!html || email.getHtmlBody() != nullptr);
    email.put_From(text.c_str());
    email.put_Subject(text.c_str());
  }
  mail::LogNull log;
  const auto email = mail::buildEmail(text, (data[0] & 1) != 0, log);
  if (email == nullptr) return 0;
  for (const mail::ShownNode& shown : mail::layOut(*email, log)) {
    mail::DataBuffer room;
    (void)mail::readableText(*shown.objPlaced.pNode, room, log);
  }
  email->setSubject("subject \xC3\xA4", log);
  const std::string written = Written(*email);
  Require(written.size() < 40 * size + 10000);
  // A first field whose name looks like a delimiter line, or like UTF-16, is read as that.
  if (written.find("--") == written.find_first_not_of(" \t\r\n") || written[0] == '\xFF') return 0;
  const auto again = mail::buildEmail(written, /*bUtf8=*/false, log);
  Require(again != nullptr);
  const mail::MimeField* const subject = again->header().find("subject");
  Require(subject != nullptr && subject->value().equals("subject \xC3\xA4"));
  return 0;
}
