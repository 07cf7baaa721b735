// The machine's narrow text by way of the library.

#include <gtest/gtest.h>

#include "charset/LibraryNarrow.h"

namespace {

TEST(ConversionNarrow, WhatThePageLacksIsLeftOut) {
  const mail::LibraryNarrow narrow;
  EXPECT_EQ(narrow.ToNarrow(u"x\u20AC\u4E2Dy\xD83D\xDE00", 1252), "x\x80y");
  EXPECT_EQ(narrow.ToNarrow(u"日本", 932), "\x93\xFA\x96\x7B");
  EXPECT_EQ(narrow.ToNarrow(std::u16string_view(u"a\0b", 3), 1252), std::string("a\0b", 3));
  EXPECT_EQ(narrow.ToNarrow(u"aä", 709), "a");
  EXPECT_EQ(narrow.ToNarrow(u"ä\xD83D\xDE00", 65001), "\xC3\xA4\xF0\x9F\x98\x80");
  EXPECT_EQ(narrow.ToNarrow(u"", 1252), "");
}

TEST(ConversionNarrow, EveryByteOfThePageBecomesWideText) {
  const mail::LibraryNarrow narrow;
  EXPECT_EQ(narrow.ToWide("a\x80\x81", 1252), u"a\u20AC\uFFFD");
  EXPECT_EQ(narrow.ToWide("\x93\xFA\x81\n\x81", 932), u"日\uFFFD\n\uFFFD");  // the line end stays
  EXPECT_EQ(narrow.ToWide(std::string_view("a\0b", 3), 1252), std::u16string(u"a\0b", 3));
  EXPECT_EQ(narrow.ToWide("a\xE4", 709), u"a\uFFFD");
  EXPECT_EQ(narrow.ToWide("\xC3\xA4", 65001), u"ä");
  EXPECT_EQ(narrow.ToWide("\x81", 874), u"\uFFFD");
}

TEST(ConversionNarrow, LongTextComesThroughWhole) {
  const mail::LibraryNarrow narrow;
  std::u16string text;
  for (int n = 0; n < 30000; ++n) text += u"Привет, мир \u20AC. ";
  EXPECT_EQ(narrow.ToWide(narrow.ToNarrow(text, 1251), 1251), text);
}

}  // namespace
