#include "platform/CString.h"

#include <gtest/gtest.h>

namespace {

TEST(CString, PositionsOutsideTheTextAreCut) {
  const CString text = u"abc";
  EXPECT_EQ(text.Mid(-5, 2), u"ab");
  EXPECT_EQ(text.Mid(1, 100), u"bc");
  EXPECT_EQ(text.Mid(9), u"");
  EXPECT_EQ(text.Mid(1, -1), u"");
  EXPECT_EQ(text.Left(2), u"ab");
  EXPECT_EQ(text.Right(2), u"bc");
  EXPECT_EQ(text.Right(9), u"abc");
  EXPECT_EQ(text.Right(-1), u"");
  CString changed = text;
  EXPECT_EQ(changed.Insert(99, u"d"), 4);
  EXPECT_EQ(changed.Delete(1, 2), 2);
  EXPECT_EQ(changed.Delete(7), 2);
  EXPECT_EQ(changed, u"ad");
}

TEST(CString, SearchesStartInsideTheText) {
  const CString text = u"abcabc";
  EXPECT_EQ(text.Find(u"bc", 2), 4);
  EXPECT_EQ(text.Find(u"", 6), 6);
  EXPECT_EQ(text.Find(u"a", 7), -1);
  EXPECT_EQ(text.Find(u"a", -1), -1);
  EXPECT_EQ(text.Find(u'c', 3), 5);
  EXPECT_EQ(text.ReverseFind(u'a'), 3);
  EXPECT_EQ(text.FindOneOf(u"xcb"), 1);
  EXPECT_EQ(text.Find(u"d"), -1);
}

TEST(CString, ReplaceDoesNotLookAtWhatItPutsIn) {
  CString text = u"aaaa";
  EXPECT_EQ(text.Replace(u"aa", u"a"), 2);
  EXPECT_EQ(text, u"aa");
  EXPECT_EQ(text.Replace(u"a", u"aXa"), 2);
  EXPECT_EQ(text, u"aXaaXa");
  EXPECT_EQ(text.Replace(u"", u"y"), 0);
  EXPECT_EQ(text.Replace(u'a', u'b'), 4);
  EXPECT_EQ(text.Remove(u'X'), 2);
  EXPECT_EQ(text, u"bbbb");
}

TEST(CString, NulUnitsCountUntilAReaderOfTerminatedText) {
  CString text(std::u16string_view(u"a\0b", 3));
  EXPECT_EQ(text.GetLength(), 3);
  EXPECT_EQ(text.Find(u'b'), 2);
  EXPECT_EQ(text.UpToNul(), u"a");
  EXPECT_NE(text, u"a");
}

TEST(CString, TrimTakesEveryKindOfWhiteSpaceAtBothEnds) {
  CString text = u"\t\r\n \u0085\u00A0\u1680\u2003\u2028\u202F\u205F\u3000a \u200B\u3000\v";
  EXPECT_EQ(text.Trim(), u"a \u200B");  // a zero-width space is none
  text = u" \t ";
  EXPECT_EQ(text.Trim(), u"");
  text = u"--a-b-";
  EXPECT_EQ(text.Trim(u'-'), u"a-b");
}

TEST(CString, ComparingWithoutCaseOrdersByUpperCase) {
  EXPECT_EQ(CString(u"Łódź").CompareNoCase(u"łÓDŹ"), 0);
  EXPECT_LT(CString(u"abc").CompareNoCase(u"ABCD"), 0);
  EXPECT_GT(CString(u"a_").CompareNoCase(u"AB"), 0);  // '_' stands behind 'B'
  EXPECT_EQ(CString(u"Ab").MakeUpper() + CString(u"Ab").MakeLower(), u"ABab");
}

}  // namespace
