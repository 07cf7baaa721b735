#include "mime/HeaderLookup.h"

#include <gtest/gtest.h>

namespace {

using mime::FindHeader;

TEST(HeaderLookup, FindsTheFirstFieldOfThatNameUnfolded) {
  const std::string_view message =
      "From someone\r\nSubject: no\r\nMESSAGE-id :\r\n\t <a\r\n  b@c> \r\nMessage-ID: second\r\n"
      "X: y\r\n\r\nDate: in the body\r\n";
  EXPECT_EQ(FindHeader(message, "Message-ID"), "<a  b@c>");
  EXPECT_EQ(FindHeader(message, "x"), "y");
  EXPECT_EQ(FindHeader(message, "Date"), std::nullopt);
  EXPECT_EQ(FindHeader(message, "Subj"), std::nullopt);
}

TEST(HeaderLookup, ToleratesDamage) {
  EXPECT_EQ(FindHeader("", "A"), std::nullopt);
  EXPECT_EQ(FindHeader(" A: folded into nothing\nA:", "A"), "");
  EXPECT_EQ(FindHeader("no field\nA: b\n", "A"), "b");
  EXPECT_EQ(FindHeader("\nA: b", "A"), std::nullopt);
  EXPECT_EQ(FindHeader("A: b", "A"), "b");
  EXPECT_EQ(FindHeader(": b\nA: c", "A"), "c");
}

}  // namespace
