#include "html/CkHtmlParse.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/LogNull.h"
#include "html/ClsHtmlToXml.h"
#include "tests/support/Texts.h"

namespace {

using mail::_ckHtmlParse;
using test_support::Repeated;

// The tree as its XML text, without the declaration and the root.
std::string Xml(mail::ClsHtmlToXml& toXml, std::string_view html) {
  toXml.setHtml(std::string(html));
  mail::DataBuffer xml;
  mail::LogNull log;
  EXPECT_TRUE(toXml.toXml(xml, log));
  const std::string_view text = xml.view();
  const size_t start = text.find("<root>") + 6;
  return std::string(text.substr(start, text.rfind("</root>") - start));
}
std::string Xml(std::string_view html) {
  mail::ClsHtmlToXml toXml;
  return Xml(toXml, html);
}

using Rows = std::initializer_list<std::pair<std::string, std::string>>;
void ExpectTrees(Rows rows) {
  for (const auto& [html, xml] : rows) EXPECT_EQ(Xml(html), xml) << html;
}

TEST(CkHtmlParse, PutsInWhatMailsLeaveOut) {
  const std::string a = "<text>a</text>", b = "<text>b</text>", c = "<text>c</text>";
  ExpectTrees({
      {"<p>a<p><b>b<p>c", "<p>" + a + "</p><p><b>" + b + "</b></p><p>" + c + "</p>"},
      {"<table><td>a<td>b<tr><th>c</table>",
       "<table><tr><td>" + a + "</td><td>" + b + "</td></tr><tr><th>" + c + "</th></tr></table>"},
      {"<table><tr><td>a<table><tr><td>b</table><td>c", "<table><tr><td>" + a + "<table><tr><td>" +
                                                            b + "</td></tr></table></td><td>" + c +
                                                            "</td></tr></table>"},
      {"<table><tr><td>a<table><tr><td>b<td>c<tr><td>a</table><td>b<tr><td>c</table>",
       "<table><tr><td>" + a + "<table><tr><td>" + b + "</td><td>" + c + "</td></tr><tr><td>" + a +
           "</td></tr></table></td><td>" + b + "</td></tr><tr><td>" + c + "</td></tr></table>"},
      {"<td>a<td>b", "<td>" + a + "</td><td>" + b + "</td>"},
      {"<ul><li>a<li>b<ol><li>c</ol></ul>",
       "<ul><li>" + a + "</li><li>" + b + "<ol><li>" + c + "</li></ol></li></ul>"},
      {"<dl><dt>a<dt>b<dd><i>c<dd></dl>",
       "<dl><dt>" + a + "</dt><dt>" + b + "<dd><i>" + c + "</i></dd><dd></dd></dt></dl>"},
      {"<ul><li>a<table><td><li>b</table>c</ul>",
       "<ul><li>" + a + "<table><tr><td><li>" + b + "</li></td></tr></table>" + c + "</li></ul>"},
      {"<dl><dd>a<dl><dd>b</dl>c</dl>",
       "<dl><dd>" + a + "<dl><dd>" + b + "</dd></dl>" + c + "</dd></dl>"},
      {"<p>a<ul><li><p>b</ul><p>c",
       "<p>" + a + "<ul><li><p>" + b + "</p></li></ul></p><p>" + c + "</p>"},
      {"<head><title>a</title><p>b", "<head><title>" + a + "</title></head><p>" + b + "</p>"},
      {"<head><html><head></head>b", "<head></head><html><head></head>" + b + "</html>"},
      {"<b>a</i>b</b></b>c", "<b>" + a + b + "</b>" + c},
      {"<br>a<hr>b</br><o:p/>c", "<br></br>" + a + "<hr></hr>" + b + "<o_p></o_p>" + c},
      {"<x>a</y>b</X>c", "<x>" + a + b + "</x>" + c},
  });
}

TEST(CkHtmlParse, TellsTagsFromWhatLooksLikeThem) {
  ExpectTrees({
      {"a & b", "<text>a &amp; b</text>"},
      {"lost<b>1 < 2 <3</b>", "<b><text>1 &lt; 2 &lt;3</text></b>"},
      {"< img\nsrc=a.gif alt='\"'>", "<img src=\"a.gif\" alt=\"&quot;\"></img>"},
      {"<a title=\"x > y\" href=?a&amp;b=/>z",
       "<a title=\"x &gt; y\" href=\"?a&amp;b=/\"><text>z</text></a>"},
      {"<b x='>a</b>", "<b x=\"&gt;\"><text>a</text></b>"},
      {"<i <b>a", "<i _b=\"\"><text>a</text></i>"},
      {"<!DOCTYPE html><!-- <b> --><!-->a",
       "<doctype> html</doctype><comment> &lt;b&gt; </comment>"
       "<comment></comment><text>a</text>"},
      {"<!-- a <b>b", "<text>b</text>"},
      {"<![if x]><b>a</b><![endif]><!-- -->", "<b><text>a</text></b><comment> </comment>"},
      {"<?xml version='1.0'?><b>a", "<b><text>a</text></b>"},
      {"<script>a<b></SCRIPT>b", "<script>a&lt;b&gt;</script><text>b</text>"},
      {"<style>p {}<b>a<style>", "<style>p {}</style><b><text>a</text><style></style></b>"},
      {"<b>a<", "<b><text>a&lt;</text></b>"},
      {"<b>a</", "<b><text>a</text></b>"},
      {"<b>a\x19\x1C\x1D</b", "<b><text>a</text></b>"},
  });
}

TEST(CkHtmlParse, DropsTagsAndCommentsAndTreatsNbspAsTold) {
  mail::ClsHtmlToXml toXml;
  toXml.m_parse.dropTag("SPAN");
  toXml.m_parse.dropTag("table");
  toXml.m_parse.keepTag("table");
  toXml.m_parse.m_dropComments = true;
  EXPECT_EQ(Xml(toXml, "<table><span>a</span></table><!-- c -->"), "<table><text>a</text></table>");
  const std::pair<std::uint32_t, std::string> modes[] = {
      {_ckHtmlParse::kNbspBlank, "a &lt;"},
      {_ckHtmlParse::kNbspReference, "a&#160;&lt;"},
      {_ckHtmlParse::kNbspRemoved, "a&lt;"},
      {_ckHtmlParse::kNbspStays, "a&amp;nbsp;&lt;"},
      {9, "a&amp;nbsp;&lt;"},
  };
  for (const auto& [mode, text] : modes) {
    toXml.m_parse.m_nbspMode = mode;
    EXPECT_EQ(Xml(toXml, "a&nbsp;&lt;"), "<text>" + text + "</text>") << mode;
  }
}

TEST(CkHtmlParse, WritesXmlInTheCharsetOfThePage) {
  const auto whole = [](std::string_view html, std::string_view charset) {
    mail::ClsHtmlToXml toXml;
    toXml.setHtml(std::string(html));
    toXml.setXmlCharset(charset);
    mail::DataBuffer xml;
    mail::LogNull log;
    EXPECT_TRUE(toXml.toXml(xml, log));
    return std::string(xml.view());
  };
  const std::string meta = "<meta charset=iso-8859-1>";
  const auto declared = [](const std::string& name) {
    return "<?xml version=\"1.0\" encoding=\"" + name + "\"?>\n<root>";
  };
  EXPECT_TRUE(whole(meta + "é", "").starts_with(declared("iso-8859-1")));
  EXPECT_NE(whole(meta + "é", "").find("<text>\xE9</text>"), std::string::npos);
  EXPECT_TRUE(whole(meta + "é", "windows-1252").starts_with(declared("windows-1252")));
  EXPECT_TRUE(whole(meta + "€", "").starts_with(declared("utf-8")));
  EXPECT_NE(whole(meta + "€", "").find("<text>€</text>"), std::string::npos);
  EXPECT_TRUE(whole("é", "nonsense").starts_with(declared("utf-8")));
}

// Each would take hours if any step looked back or ahead for more than it needs.
TEST(CkHtmlParse, TakesHostilePagesInLinearTime) {
  constexpr size_t kMany = 200'000;
  const std::string pages[] = {
      Repeated(5 * kMany, "<b>"),
      Repeated(kMany, "<a x='>") + "\"",
      Repeated(kMany, "<!--<script>"),
      Repeated(kMany, "<table><td>"),
      Repeated(kMany, "<x></y>"),
      "<a" + Repeated(2 * kMany, " b=c") + ">",
      "<" + std::string(50 * kMany, 'a') + ">",
      Repeated(kMany, "<") + Repeated(kMany, " "),
      Repeated(kMany, "&amp;") + Repeated(kMany, "&#60") + Repeated(kMany, "&#x41;"),
      Repeated(kMany, "<p><ul><li><tr>"),
  };
  for (const std::string& page : pages) {
    mail::HtmlTree tree;
    mail::LogNull log;
    EXPECT_TRUE(_ckHtmlParse().parseHtml(page, 65001, tree, log));
    size_t deepest = 0;
    std::vector<size_t> depths = {0};
    for (mail::HtmlTree::Index n = 1; n < tree.size(); ++n) {
      depths.push_back(depths[tree.at(n).nParent] + 1);
      deepest = std::max(deepest, depths.back());
    }
    EXPECT_LE(deepest, _ckHtmlParse::kMaxOpen + 2) << page.substr(0, 20);
  }
}

}  // namespace
