#include "mime/MailHeader.h"

#include <gtest/gtest.h>

#include <string>

#include "base/AsciiText.h"
#include "mime/tree/MimeInput.h"
#include "tests/mime/MimeSupport.h"
#include "tests/support/MailFiles.h"

namespace mail {
namespace {

using test_support::silent;
using test_support::Utf16;

TEST(MailHeader, FindsTheFirstFieldOfThatNameDecoded) {
  const MailHeader header(
      "X: 1\r\nMESSAGE-id:\r\n <a@b>\r\nSubject: =?iso-8859-1?Q?Gr=FC=DFe?=\r\nX: 2\r\n"
      "\r\nDate: in the body\r\n");
  EXPECT_EQ(header.find("Message-ID"), "<a@b>");
  EXPECT_EQ(header.text("subject"),
            "Gr\xC3\xBC\xC3\x9F"
            "e");
  EXPECT_EQ(header.text("X"), "1");
  EXPECT_EQ(header.find("Date"), std::nullopt);
}

// What the bodies tell of these two changes them in the tree.
bool IsOfTheBody(std::string_view name) {
  return equalsNoCase(name, "content-type") || equalsNoCase(name, "content-transfer-encoding");
}

std::string FieldsOf(const MimeHeader& header) {
  std::string text;
  for (std::size_t n = 0; n < header.getCount(); ++n) {
    const MimeField& field = *header.at(n);
    if (IsOfTheBody(field.name().view())) continue;
    text.append(field.name().view()).append(": ").append(field.value().view()).append("\n");
  }
  return text;
}

std::string FieldsOfTree(std::string_view bytes) {
  MimeMessage2 root;
  EXPECT_TRUE(loadMimeInput(root, bytes, silent));
  return FieldsOf(root.header());
}

TEST(MailHeader, ReadsWhatTheTreeReads) {
  const std::string real = "Subject: real\r\n\r\nDate: in the body\r\n";
  for (const std::string& mail :
       {real, Utf16(real), Utf16(real, /*big=*/true), "\xFF\xFE" + Utf16(real),
        "\xFE\xFF" + Utf16(real, /*big=*/true), "\xEF\xBB\xBF" + real, "From x\r\n\r\n" + real,
        "From x\n\nSubject: real\n\nDate: in the body\n" + real,
        std::string("\nSubject: real\n\nDate: in the body"),
        std::string("Subject: real\n\nDate: in the body\r\n\r\n"),
        std::string("Subject: real\r\rDate: in the body\r"),
        std::string("Subject: real\r\r\n\r\r\nDate: in the body\r\r\n"),
        std::string("Subject: real\r\n\r\r\nDate: in the body"), std::string("Subject: real")}) {
    EXPECT_EQ(FieldsOf(MailHeader(mail).fields()), "Subject: real\n") << mail;
    EXPECT_EQ(FieldsOfTree(mail), "Subject: real\n") << mail;
  }
  EXPECT_EQ(MailHeader("").fields().getCount(), 0U);
  EXPECT_EQ(MailHeader("\r\nSubject: in the body\r\n\r\n").fields().getCount(), 0U);
}

// Each mail cut at many places, so that headers end in every odd way.
TEST(MailHeader, ReadsWhatTheTreeReadsOfEveryMail) {
  for (const auto& path : test_support::MailFiles(test_support::MailFolder())) {
    const std::string bytes = test_support::ReadBytes(path);
    for (std::size_t size = bytes.size();; size -= 7) {
      const std::string_view cut = std::string_view(bytes).substr(0, size);
      ASSERT_EQ(FieldsOf(MailHeader(cut).fields()), FieldsOfTree(cut)) << path << " " << size;
      if (size < 7) break;
    }
  }
}

TEST(MailHeader, TakesThePeopleOfEveryFieldAndDecodesTheirNamesLast) {
  const auto people = MailHeader(
                          "To: =?utf-8?Q?Ott,_J=C3=BCrgen?= <j@x.example>, b@x.example\r\n"
                          "To: \"C; D\" <c@x.example>\r\n\r\n")
                          .people("to");
  ASSERT_EQ(people.size(), 3u);
  EXPECT_EQ(people[0].strName, "Ott, J\xC3\xBCrgen");
  EXPECT_EQ(people[0].strAddress, "j@x.example");
  EXPECT_EQ(people[1].strAddress, "b@x.example");
  EXPECT_EQ(people[2].strName, "C; D");
}

}  // namespace
}  // namespace mail
