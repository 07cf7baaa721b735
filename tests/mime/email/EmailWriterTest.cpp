#include "mime/email/EmailWriter.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/CkLogger.h"
#include "mime/email/BodyEncoder.h"
#include "mime/encoding/ContentCoding.h"
#include "tests/mime/MimeSupport.h"

namespace {

using test_support::EmailText;
using test_support::LoadEmail;
using test_support::silent;
using test_support::Transport;
using test_support::Written;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

TEST(EmailWriter, TextThatItsCharsetCannotHoldOrThatHasNoneBecomesUtf8) {
  constexpr const char* kNamed = "Named the charset of the email body: utf-8\r\n";
  const struct {
    std::string type, body, writtenType, writtenBody, logged;
    bool utf8 = false;
  } cases[] = {
      {"text/plain; charset=iso-8859-1", "\xC3\xA4", "; charset=iso-8859-1", "\xE4", "", true},
      {"text/plain; charset=iso-8859-1", "\xC3\xA4\xE2\x82\xAC", "; charset=utf-8",
       "\xC3\xA4\xE2\x82\xAC", "Converted email body from iso-8859-1 to utf-8\r\n", true},
      {"text/plain; charset=windows-1251", "\xC2\xA5", "; charset=utf-8", "\xC2\xA5",
       "Converted email body from windows-1251 to utf-8\r\n", true},
      {"text/plain; charset=us-ascii", "\xC3\xA4", "; charset=utf-8", "\xC3\xA4",
       "Converted email body from us-ascii to utf-8\r\n", true},
      {"text/plain; charset=us-ascii", "a", "; charset=us-ascii", "a", "", true},
      {"text/plain; delsp=yes", "\xE4", "text/plain; charset=utf-8; delsp=yes", "\xC3\xA4", kNamed},
      {"text/plain", "\xC3\xA4", "; charset=utf-8", "\xC3\xA4", kNamed},
      {"text/plain; charset=x-new", "\xE4", "; charset=utf-8", "\xC3\xA4", kNamed},
      {"text/plain; charset=x-new", "\xC3\xA4", "=x-new", "\xC3\xA4", ""},
      {"application/xml", "\xC3\xA4", "/xml", "\xC3\xA4", ""},
      {"", "\xE4", "Content-Type: text/plain; charset=utf-8", "\xC3\xA4", kNamed},
      {"text/plain", "a", "text/plain", "a", ""},
  };
  for (const auto& c : cases) {
    mail::_ckLogger log;
    const std::string header = c.type.empty() ? "Subject: s" : "Content-Type: " + c.type;
    const auto email = LoadEmail(header + "\r\n\r\n" + c.body, c.utf8);
    EXPECT_THAT(Written(*email, Transport::k8bit, log),
                HasSubstr(c.writtenType + "\r\n\r\n" + c.writtenBody));
    EXPECT_THAT(log.text(), EndsWith(c.logged));
    EXPECT_EQ(log.text().find("email body") == std::string::npos, c.logged.empty()) << log.text();
  }
}

TEST(EmailWriter, A7bitTransportGetsQuotedPrintable) {
  const auto email = LoadEmail(
      "Content-Type: text/plain; charset=iso-8859-1\r\n"
      "content-transfer-encoding: 8bit (raw)\r\n\r\n\xE4");
  EXPECT_THAT(Written(*email, Transport::k7bit),
              HasSubstr("Content-Transfer-Encoding: quoted-printable\r\n\r\n=E4"));
  EXPECT_THAT(Written(*email),  // the mail itself stays as it was
              HasSubstr("content-transfer-encoding: 8bit (raw)\r\n\r\n\xE4"));
}

TEST(EmailWriter, AlternativesHaveNoEncodingAndForwardedMailsStay) {
  const auto email = LoadEmail(
      "Content-Type: multipart/mixed; boundary=m\r\n\r\n--m\r\n"
      "Content-Type: multipart/alternative; boundary=a\r\n"
      "Content-Transfer-Encoding: 7bit\r\n\r\n--a\r\nContent-Type: text/plain\r\n\r\nx\r\n--a--\r\n"
      "--m\r\nContent-Type: message/rfc822\r\n\r\nSubject: \xE4\r\n\r\n\xE4\r\n--m--\r\n");
  const std::string written = Written(*email);
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
  body += test_support::Repeated(100'000, "\xC3\xA4");
  for (const char* encoding : {"8bit", "base64", "quoted-printable"}) {
    for (const char* charset : {"windows-1252", "utf-8"}) {
      const auto email = LoadEmail(std::string("Content-Type: text/plain; charset=") + charset +
                                       "\r\nContent-Transfer-Encoding: 8bit\r\n\r\n" + body,
                                   /*utf8=*/true);
      const std::string kept(email->body().view());
      email->header().replaceField("Content-Transfer-Encoding", encoding, silent);
      email->refresh(silent);
      EmailText output;
      ASSERT_TRUE(mail::EmailWriter(output, Transport::k8bit, silent).write(*email));
      EXPECT_LT(output.largest, 8 * mail::BodyEncoder::kPieceBytes);
      const auto again = LoadEmail(output.text);
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
    EmailText output;
    output.writesLeft = writes;
    done = mail::EmailWriter(output, Transport::k8bit, log).write(*LoadEmail(mime));
    EXPECT_EQ(output.writesLeft, 0);
    all += log.text();
  }
  EXPECT_GT(writes, 8);
  for (const char* failure : kFailures) EXPECT_THAT(all, HasSubstr(failure));
}

}  // namespace
