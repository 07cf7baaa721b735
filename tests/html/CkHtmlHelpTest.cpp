#include "html/CkHtmlHelp.h"

#include <string>

#include <gtest/gtest.h>

#include "html/ParseEngine.h"

namespace {

using mail::_ckHtmlHelp;
using mail::ParseEngine;
using mail::StringBuffer;

std::string Clean(std::string_view tag) {
  StringBuffer out;
  _ckHtmlHelp::cleanHtmlTag(tag, out);
  return std::string(out.view());
}

std::string Charset(std::string_view html) {
  StringBuffer out;
  _ckHtmlHelp::charsetFromMetaTag(html, out);
  return std::string(out.view());
}

TEST(CkHtmlHelp, CleansTags) {
  const std::pair<std::string, std::string> rows[] = {
      {"<br>", "<br>"},
      {"< img  src=a.gif\r\nwidth = 3>", "<img src=\"a.gif\" width=\"3\">"},
      {"x<a href=say\"hi\">", "<a href='say\"hi\"'>"},
      {"<a href=\\\"x\\\" b>", "<a href=\"x&quot; b>\">"},
      {"<a t=\"say \\\"hi\\\"\">", "<a t=\"say &quot;hi&quot;\">"},
      {"<a t='it\nis'\r>", "<a t='it is'>"},
      {"<td nowrap align=left>", "<td nowrap align=\"left\">"},
      {"<a b=1 /c>", "<a b=\"1\" /c>"},
      {"<a b=c\\>", "<a b=\"c\">"},
      {"<a b", "<a b>"},
      {"<a b=\"never closed>", "<a b=\"never closed>\">"},
      {"no tag", ""},
      {"", ""},
  };
  for (const auto& [tag, clean] : rows) EXPECT_EQ(Clean(tag), clean) << tag;
  std::string many = "<a";
  for (int i = 0; i < 200; ++i) many += " b";
  EXPECT_EQ(Clean(many + ">").size(), 2u + 2u * _ckHtmlHelp::kMaxAttributes);
}

TEST(CkHtmlHelp, ReadsTheCharsetOfAPage) {
  const std::pair<std::string, std::string> rows[] = {
      {"<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=koi8-r\">", "koi8-r"},
      {"<meta content='text/html; charset=big5; x' http-equiv=content-type>", "big5"},
      {"<meta name=a><meta charset=UTF-8>", "UTF-8"},
      {"<meta charset=''><meta charset=\"gbk\">", "gbk"},
      {"<meta http-equiv=refresh content=\"1; charset=x\">", ""},
      {"<meta http-equiv=content-type content=\"text/html;charset=a b\">", "a"},
      {"<meta title=\">\" charset=windows-1251>", "windows-1251"},
      {"<meta title=\"> charset=utf-7", ""},
      {"<?xml version=\"1.0\" encoding=\"utf-16\"?><html>", "utf-16"},
      {"<?xml version=\"1.0\" encoding=\"utf-8\"?><html>", ""},
      {"<?xml version=\"1.0\" encoding=\"utf-16\"?><meta name=a>", ""},
      {"", ""},
  };
  for (const auto& [html, charset] : rows) EXPECT_EQ(Charset(html), charset) << html;
}

std::string ToUnquoted(ParseEngine& parse) {
  StringBuffer out;
  parse.captureToUnquoted('>', out);
  return std::string(out.view());
}

TEST(ParseEngine, AnUnbalancedQuoteDoesNotSwallowTheDocument) {
  ParseEngine closed("<a title=\"x> text <b t='>'> \"");
  EXPECT_EQ(ToUnquoted(closed), "<a title=\"x");
  ParseEngine open("<a title=\"x> text <b t='>'>");
  EXPECT_EQ(ToUnquoted(open), "<a title=\"x");
  open.skip();
  EXPECT_EQ(ToUnquoted(open), " text <b t='>'");
}

// Each tag's search would run to the end of the text, were the answer not known at its start.
TEST(ParseEngine, UnbalancedQuotesInEachTagTakeLinearTime) {
  std::string html;
  for (int i = 0; i < 300'000; ++i) html += "<meta \">\"";
  EXPECT_EQ(Charset(html + "'"), "");
}

}  // namespace
