#include "mime/email/EmailWriter.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/CkLogger.h"
#include "mime/email/BodyEncoder.h"
#include "mime/email/EmailBuilding.h"
#include "mime/encoding/ContentCoding.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using Transport = mail::EmailWriter::Transport;

// Takes so many writes, and fails then.
struct Output : mail::EmailOutput {
  bool write(std::string_view bytes) override {
    if (writesLeft == 0) return false;
    --writesLeft;
    largest = std::max(largest, bytes.size());
    text.append(bytes);
    return true;
  }
  std::string text;
  std::size_t largest = 0;
  int writesLeft = 1'000'000;
};

mail::OwnedPtr<mail::Email2> Load(const std::string& mime, bool utf8 = false) {
  mail::_ckLogger log;
  return mail::buildEmail(mime, utf8, log);
}

std::string Written(mail::Email2& email, Transport transport, mail::LogBase& log) {
  Output output;
  EXPECT_TRUE(mail::EmailWriter(output, transport, log).write(email)) << output.text;
  return output.text;
}

TEST(EmailWriter, TextThatItsCharsetCannotHoldBecomesUtf8) {
  struct Case {
    const char* charset;
    const char* body;
    const char* written;
  };
  const Case cases[] = {
      {"iso-8859-1", "\xC3\xA4", "charset=iso-8859-1\r\n\r\n\xE4"},
      {"iso-8859-1", "\xC3\xA4\xE2\x82\xAC", "charset=utf-8\r\n\r\n\xC3\xA4\xE2\x82\xAC"},
      {"windows-1251", "\xC2\xA5", "charset=utf-8\r\n\r\n\xC2\xA5"},
      {"us-ascii", "\xC3\xA4", "charset=utf-8\r\n\r\n\xC3\xA4"},
      {"us-ascii", "a", "charset=us-ascii\r\n\r\na"},
  };
  for (const Case& c : cases) {
    mail::_ckLogger log;
    const auto email =
        Load(std::string("Content-Type: text/plain; charset=") + c.charset + "\r\n\r\n" + c.body,
             /*utf8=*/true);
    EXPECT_THAT(Written(*email, Transport::k8bit, log), HasSubstr(c.written));
    const bool converted = std::string(c.written).find("utf-8") != std::string::npos;
    EXPECT_EQ(log.text().find("Converted email body from " + std::string(c.charset) +
                              " to utf-8") != std::string::npos,
              converted);
  }
}

TEST(EmailWriter, TextWithoutACharsetSaysThatItIsUtf8Now) {
  struct Case {
    const char* mime;
    const char* written;
  };
  const Case cases[] = {
      {"Content-Type: text/plain; delsp=yes\r\n\r\n\xE4",
       "Content-Type: text/plain; charset=utf-8; delsp=yes\r\n\r\n\xC3\xA4"},
      {"Content-Type: text/plain\r\n\r\n\xC3\xA4", "; charset=utf-8\r\n\r\n\xC3\xA4"},
      {"Content-Type: text/plain; charset=x-new\r\n\r\n\xE4", "; charset=utf-8\r\n\r\n\xC3\xA4"},
      {"Content-Type: text/plain; charset=x-new\r\n\r\n\xC3\xA4", "=x-new\r\n\r\n\xC3\xA4"},
      {"Content-Type: application/xml\r\n\r\n\xC3\xA4", "/xml\r\n\r\n\xC3\xA4"},
      {"Subject: s\r\n\r\n\xE4",
       "Subject: s\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n\xC3\xA4"},
      {"Content-Type: text/plain\r\n\r\na", "text/plain\r\n\r\na"},
  };
  for (const Case& c : cases) {
    mail::_ckLogger log;
    EXPECT_THAT(Written(*Load(c.mime), Transport::k8bit, log), HasSubstr(c.written));
  }
}

TEST(EmailWriter, A7bitTransportGetsQuotedPrintable) {
  mail::_ckLogger log;
  const auto email = Load(
      "Content-Type: text/plain; charset=iso-8859-1\r\n"
      "Content-Transfer-Encoding: 8bit (raw)\r\n\r\n\xE4");
  EXPECT_THAT(Written(*email, Transport::k7bit, log),
              HasSubstr("Content-Transfer-Encoding: quoted-printable\r\n\r\n=E4"));
  EXPECT_THAT(Written(*email, Transport::k8bit, log),  // the mail itself stays as it was
              HasSubstr("Content-Transfer-Encoding: 8bit (raw)\r\n\r\n\xE4"));
}

TEST(EmailWriter, AlternativesHaveNoEncodingAndForwardedMailsStay) {
  mail::_ckLogger log;
  const auto email = Load(
      "Content-Type: multipart/mixed; boundary=m\r\n\r\n--m\r\n"
      "Content-Type: multipart/alternative; boundary=a\r\n"
      "Content-Transfer-Encoding: 7bit\r\n\r\n--a\r\nContent-Type: text/plain\r\n\r\nx\r\n--a--\r\n"
      "--m\r\nContent-Type: message/rfc822\r\n\r\nSubject: \xE4\r\n\r\n\xE4\r\n--m--\r\n");
  const std::string written = Written(*email, Transport::k8bit, log);
  EXPECT_THAT(written, Not(HasSubstr("7bit")));
  EXPECT_THAT(written, HasSubstr("\r\n\r\nSubject: \xE4\r\n\r\n\xE4\r\n--m--\r\n"));
}

// Pieces give what the whole gives, and are small.
TEST(EmailWriter, LongBodiesAreWrittenInPieces) {
  std::string body;
  for (int n = 0; body.size() < 1'000'000; ++n) {
    body += "line " + std::to_string(n) + " \xC3\xA4\xC3\xB6\xE2\x82\xAC\r\n";
  }
  body += std::string(300'000, 'x') + "\r";
  for (int n = 0; n < 100'000; ++n) body += "\xC3\xA4";
  for (const char* encoding : {"8bit", "base64", "quoted-printable"}) {
    for (const char* charset : {"windows-1252", "utf-8"}) {
      mail::_ckLogger log;
      const auto email = Load(std::string("Content-Type: text/plain; charset=") + charset +
                                  "\r\nContent-Transfer-Encoding: 8bit\r\n\r\n" + body,
                              /*utf8=*/true);
      const std::string kept(email->body().view());
      email->header().replaceField("Content-Transfer-Encoding", encoding, log);
      email->refresh(log);
      Output output;
      ASSERT_TRUE(mail::EmailWriter(output, Transport::k8bit, log).write(*email));
      EXPECT_LT(output.largest, 8 * mail::BodyEncoder::kPieceBytes);
      const auto again = Load(output.text);
      EXPECT_TRUE(again->body().view() == kept) << encoding << " " << charset;
      if (std::string_view(encoding) == "base64" && std::string_view(charset) == "utf-8") {
        mail::StringBuffer whole;
        ASSERT_TRUE(mail::ContentCoding().encodeBase64(kept, whole));
        EXPECT_TRUE(output.text.ends_with(whole.view()));
      }
    }
  }
}

TEST(EmailWriter, AnOutputThatFailsIsTold) {
  const std::string mime =
      "Content-Type: multipart/mixed; boundary=m\r\n\r\n--m\r\n\r\nbody\r\n--m--\r\n";
  const char* const kFailures[] = {"Failed to write MIME header to output.",
                                   "Failed to write CRLF to output.",
                                   "Failed to write boundary to output."};
  std::string all;
  int writes = 0;
  for (bool done = false; !done; ++writes) {
    mail::_ckLogger log;
    Output output;
    output.writesLeft = writes;
    done = mail::EmailWriter(output, Transport::k8bit, log).write(*Load(mime));
    EXPECT_EQ(output.writesLeft, 0);
    all += log.text();
  }
  EXPECT_GT(writes, 8);
  for (const char* failure : kFailures) EXPECT_THAT(all, HasSubstr(failure));
}

}  // namespace
