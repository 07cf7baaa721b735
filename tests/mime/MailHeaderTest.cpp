#include "mime/MailHeader.h"

#include <gtest/gtest.h>

namespace mail {
namespace {

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

TEST(MailHeader, EndsAtTheFirstEmptyLineOfEitherKind) {
  EXPECT_EQ(MailHeader("A: 1\n\nB: 2\r\n\r\n").find("B"), std::nullopt);
  EXPECT_EQ(MailHeader("A: 1\n\r\nB: 2\n\n").find("B"), std::nullopt);
  EXPECT_EQ(MailHeader("A: 1\nB: 2").text("B"), "2");
  EXPECT_EQ(MailHeader("").find("A"), std::nullopt);
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
