#include "client/show/Columns.h"

#include <string>

#include <gtest/gtest.h>

namespace client {
namespace {

std::string Wrapped(const std::string& before, const std::string& text) {
  std::string out = before;
  AppendWrapped(text, 4, out);
  return out;
}

TEST(Columns, TextBreaksAtBlanksAndAWideWordWhereTheLineIsFull) {
  const std::string word(30, 'x');
  EXPECT_EQ(Wrapped("To: ", "a  b"), "To: a  b");
  EXPECT_EQ(Wrapped("first\nTo: ", word + " " + word + " " + word),
            "first\nTo: " + word + " " + word + "\n    " + word);
  EXPECT_EQ(Wrapped(std::string(76, '.'), "four five"), std::string(76, '.') + "four\n    five");
  EXPECT_EQ(Wrapped("To: ", std::string(80, 'y')), "To: " + std::string(76, 'y') + "\n    yyyy");
  std::string kanji;
  for (int n = 0; n < 50; ++n) kanji += "\xE6\xBC\xA2";
  EXPECT_EQ(Wrapped("....", kanji),
            "...." + kanji.substr(0, 3 * 38) + "\n    " + kanji.substr(3 * 38));
}

TEST(Columns, WidthIsThatOfATerminal) {
  EXPECT_EQ(WidthOf("a\xC3\xA9"), 2U);
  EXPECT_EQ(WidthOf("\xE6\xBC\xA2\xEF\xBC\xA1"), 4U);  // wide and full-width
  EXPECT_EQ(WidthOf("e\xCC\x81"), 1U);                 // a mark on its letter
  EXPECT_EQ(WidthOf("\xFF"), 1U);
  std::string text = "\xE6\xBC\xA2";
  PadTo(4, text);
  EXPECT_EQ(text, "\xE6\xBC\xA2  ");
}

}  // namespace
}  // namespace client
