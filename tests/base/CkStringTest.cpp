#include "base/CkString.h"

#include <gtest/gtest.h>

#include <string>

#include "base/CkByteData.h"

namespace {

TEST(CkString, GivesWhatItHoldsInTheFormOfTheFlag) {
  CkString text;
  text.setStringU(u"a\u4E2Db\U0001F600");
  EXPECT_STREQ(text.getString(), "a?b??");  // one for each unit that the page lacks
  text.put_Utf8(true);
  EXPECT_STREQ(text.getString(), "a\u4E2Db\U0001F600");
  EXPECT_EQ(std::u16string(text.getUnicode()), u"a\u4E2Db\U0001F600");
}

TEST(CkString, TextReadAsUtf8LosesWhatTheAnsiPageLacks) {
  CkString text;
  text.put_Utf8(true);
  text.setString("a\u4E2Db");
  EXPECT_EQ(std::u16string(text.getUnicode()), u"a\u4E2Db");
  text.put_Utf8(false);
  EXPECT_STREQ(text.getString(), "ab");
}

TEST(CkString, AppendsInEitherFormWithoutLoss) {
  CkString text;
  text.setStringU(u"\u4E2D");
  text.append("x");
  text.put_Utf8(true);
  text.append("\u4E2D");
  EXPECT_EQ(std::u16string(text.getUnicode()), u"\u4E2Dx\u4E2D");
  EXPECT_STREQ(text.getAnsi(), "?x?");
  CkString narrow;
  narrow.append("n");
  narrow.appendU(u"\u4E2D");
  ASSERT_TRUE(narrow.text().append(narrow.text()));
  EXPECT_STREQ(narrow.getUtf8(), "n\u4E2Dn\u4E2D");
}

TEST(CkString, NullClearedAndMarkedTextsAreTexts) {
  CkString text;
  EXPECT_STREQ(text.getString(), "");
  EXPECT_EQ(text.getUnicode()[0], u'\0');
  text.setStringU(u"\uFEFF%PDF-1.4");
  EXPECT_STREQ(text.getUtf8(), "%PDF-1.4");
  text.put_Utf8(true);
  text.setString("%PDF-1.4");
  EXPECT_EQ(std::u16string(text.getUnicode()), u"%PDF-1.4");
  text.setStringU(u"%PDF-1.4 \u4E2D");  // text like any other
  EXPECT_STREQ(text.getUtf8(), "%PDF-1.4 \u4E2D");
  EXPECT_STREQ(text.getAnsi(), "%PDF-1.4 ?");
  text.setStringU(u"\uFFFE\u6100\u2D4E");  // of the other byte order
  EXPECT_STREQ(text.getUtf8(), "a\u4E2D");
  text.setString(nullptr);
  EXPECT_TRUE(text.isEmpty());
  EXPECT_EQ(text.getUnicode()[0], u'\0');
}

TEST(CkByteData, HoldsBytes) {
  CkByteData bytes;
  ASSERT_TRUE(bytes.append("a\0b", 3));
  EXPECT_EQ(bytes.getSize(), 3U);
  EXPECT_EQ(bytes.getByte(2), 'b');
  EXPECT_EQ(bytes.getByte(3), 0);
}

}  // namespace
