#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "base/CkLogger.h"
#include "base/XString.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/tree/MimeMessage2.h"
#include "mime/tree/PassingBytes.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/BlockLimit.h"

// Texts that are taken in pieces while their memory is given back.
namespace {

using mail::MimeMessage2;
using test_support::BytesOf;
using test_support::CountOf;
using test_support::LoadedMime;
using test_support::silent;

struct Text {
  const char* charset;
  std::string_view line;    // in it, without its end
  std::string_view wanted;  // in UTF-8
};
// Lines that a piece could begin with and be mistaken: no piece of a text is a PDF, and a lead byte
// without its trail does not eat the line end.
constexpr std::array kTexts = std::to_array<Text>({
    {"iso-8859-1", "%PDF-1 Gr\xFC\xDF", "%PDF-1 Gr\xC3\xBC\xC3\x9F"},
    {"windows-874", "%PDF-1 \xA1\xA1", "%PDF-1 \xE0\xB8\x81\xE0\xB8\x81"},
    {"shift_jis", "\x93\xFA\x96{\x81", "\xE6\x97\xA5\xE6\x9C\xAC"},
    {"iso-2022-jp", "\x1B$BF|\x1B(B.", "\xE6\x97\xA5."},
    {"utf-8", "Gr\xC3\xBC\xC3\x9F", "Gr\xC3\xBC\xC3\x9F"},
    {"us-ascii", "plain", "plain"},
});
constexpr std::array<std::string_view, 3> kEncodings = {"8bit", "quoted-printable", "base64"};

// Lines of that many bytes and more.
std::string Lines(std::string_view line, std::string_view end, std::size_t bytes) {
  std::string text = "first" + std::string(end);
  while (text.size() < bytes) text.append(line).append(end);
  return text;
}

std::string WithLf(std::string text) {
  std::erase(text, '\r');
  return text;
}

std::string Encoded(const std::string& text, std::string_view encoding) {
  mail::DataBuffer out;
  if (encoding == "8bit") return text;
  if (encoding == "base64") {
    EXPECT_TRUE(mail::ContentCoding().encodeBase64(text, out));
  } else {
    EXPECT_TRUE(mail::ContentCoding().encodeQuotedPrintable(text, out));
  }
  return std::string(out.view());
}

// All texts in all encodings, and the body of each that must come out.
std::string MailOfTexts(std::vector<std::string>& wanted) {
  std::string mail = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
  for (const Text& text : kTexts) {
    const std::string lines = Lines(text.line, "\r\n", mail::PassingBytes::kHuge / 16);
    std::string body = "first\r\n";
    for (std::size_t n = CountOf(lines, "\n"); n > 1; --n) body.append(text.wanted).append("\r\n");
    for (const std::string_view encoding : kEncodings) {
      mail += "--b\r\nContent-Type: text/plain; charset=" + std::string(text.charset) +
              "\r\nContent-Transfer-Encoding: " + std::string(encoding) + "\r\n\r\n" +
              Encoded(lines, encoding) + "\r\n";
      wanted.push_back(body);
    }
  }
  return mail + "--b--\r\n";
}

void ExpectBodies(const MimeMessage2& root, const std::vector<std::string>& wanted) {
  ASSERT_EQ(root.partCount(), wanted.size());
  for (std::size_t n = 0; n < wanted.size(); ++n) {
    // Not EXPECT_EQ, which would print megabytes.
    EXPECT_TRUE(root.part(n)->body().view() == wanted[n])
        << root.part(n)->charset().getName().view() << " " << root.part(n)->encoding().view();
  }
}

TEST(MimeTreeHugeText, IsReadAndWrittenInPiecesAsTheWholeWouldBe) {
  std::vector<std::string> wanted;
  const std::string mail = MailOfTexts(wanted);
  ASSERT_GT(mail.size(), mail::PassingBytes::kHuge);
  for (const bool repaired : {false, true}) {
    mail::_ckLogger log;
    MimeMessage2 root;
    ASSERT_TRUE(root.loadMimeComplete(repaired ? WithLf(mail) : mail, {.bRepair = repaired}, log));
    ExpectBodies(root, wanted);
    EXPECT_EQ(CountOf(log.text(), "Converting all line endings to CRLF."), repaired ? 1U : 0U);
    // Three texts through tables and iso-2022-jp, in three encodings each: told once, not by piece.
    EXPECT_EQ(CountOf(log.text(), "Converting to utf-8 using utf-16 as a pivot table..."), 12U);

    ExpectBodies(LoadedMime(BytesOf(root)), wanted);
    mail::XString text;
    root.getMimeText(text, silent);
    EXPECT_NE(text.utf8().view().find("Gr\xC3\xBC\xC3\x9F\r\n"), std::string_view::npos);
  }
}

TEST(MimeTreeHugeText, BecomesOneTextThroughTheCharsetItIsWrittenIn) {
  for (const std::string_view charset : {"iso-8859-1", "utf-8"}) {
    const Text& text = charset == "utf-8" ? kTexts[4] : kTexts[0];
    const std::string header = "Content-Type: text/plain; charset=" + std::string(charset) +
                               "\r\nContent-Transfer-Encoding: 8bit\r\n\r\n";
    const std::string lines = Lines(text.line, "\r\n", mail::PassingBytes::kHuge);
    LoadedMime root(header + lines);
    EXPECT_TRUE(BytesOf(root) == header + lines);
    mail::XString out;
    root.getMimeText(out, silent);
    EXPECT_TRUE(out.utf8().view() == header + std::string(root.body().view()));
  }
}

TEST(MimeTreeHugeText, ThatMemoryDoesNotSufficeForIsNoMailAndNotHalfOfOne) {
  const std::string lines = Lines(std::string(60, '\xFC'), "\n", mail::PassingBytes::kHuge);
  const std::string mail = "Content-Type: text/plain; charset=iso-8859-1\n\n" + lines;
  for (const bool repaired : {false, true}) {
    // Room for the text, and not for twice as much.
    const test_support::BlockLimit little(lines.size() * 3 / 2);
    MimeMessage2 root;
    EXPECT_FALSE(root.loadMimeComplete(mail, {.bRepair = repaired}, silent));
    EXPECT_TRUE(root.body().isEmpty());
  }
}

}  // namespace
