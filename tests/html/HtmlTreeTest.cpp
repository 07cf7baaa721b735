// The tree of a page, written as XML text, and entities.

#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "base/LogNull.h"
#include "html/CkHtmlHelp.h"
#include "html/ClsHtmlToXml.h"

namespace {

using mail::HtmlTree;

// "p(text[a])": elements with their children, text between brackets.
std::string Dump(const HtmlTree& tree, HtmlTree::Index node) {
  std::string out(tree.tagName(node));
  if (!tree.isElement(node) && node != HtmlTree::kRoot) {
    return out.append("[").append(tree.at(node).strText).append("]");
  }
  std::string children;
  for (HtmlTree::Index n = tree.at(node).nFirstChild; n != HtmlTree::kNone; n = tree.at(n).nNext) {
    children += (children.empty() ? "" : " ") + Dump(tree, n);
  }
  return children.empty() ? out : out + "(" + children + ")";
}

std::string Tree(std::string_view html) {
  mail::ClsHtmlToXml toXml;
  HtmlTree tree;
  mail::LogNull log;
  (void)toXml.setHtml(html);
  return toXml.toTree(tree, log) ? Dump(tree, HtmlTree::kRoot) : "failed";
}

TEST(HtmlTree, StructureThatPagesLeaveOutIsImplied) {
  const std::pair<std::string, std::string> rows[] = {
      {"", "root"},
      {"plain &amp; simple", "root(text[plain & simple])"},
      {"<P>a<p>b", "root(p(text[a]) p(text[b]))"},
      {"<ul><li>a<li>b</ul>c", "root(ul(li(text[a]) li(text[b])) text[c])"},
      {"<li>a<ul><li>b</ul><li>c", "root(li(text[a] ul(li(text[b]))) li(text[c]))"},
      {"<table><td>a<td>b<tr><td>c</table>",
       "root(table(tr(td(text[a]) td(text[b])) tr(td(text[c]))))"},
      {"<b>a<i>b</b>c</i>d", "root(b(text[a] i(text[b])) text[c] text[d])"},
      {"</p>x</div>", "root(text[x])"},
      {"<!DOCTYPE html><!-- c --><p>x", "root(doctype[ html] comment[ c ] p(text[x]))"},
      {"<unheard><p>x</unheard>y", "root(unheard(p(text[x])) text[y])"},
      {"a\x19"
       "b<br>\x1C"
       "c",
       "root(br text[c])"},
  };
  for (const auto& [html, tree] : rows) EXPECT_EQ(Tree(html), tree) << html;
}

TEST(HtmlTree, NothingInAScriptIsATag) {
  EXPECT_EQ(Tree("<script>if (a<b) '<p>'</SCRIPT>x"), "root(script([if (a<b) '<p>']) text[x])");
  EXPECT_EQ(Tree("<style>p>b{}"), "root(style([p>b{}]))");
}

TEST(Entities, NamedOnesAreDecodedInTheOrderOfTheirTable) {
  const std::pair<std::string, std::string> rows[] = {
      {"&amp;lt;", "<"},
      {"&amp;amp;", "&amp;"},
      {"&lt;&gt;&quot;&apos;", "<>\"'"},
      {"&nbsp;", " "},
      {"&euro;", "\xE2\x82\xAC"},
      {"&Auml;&auml;", "\xC3\x84\xC3\xA4"},
      {"&auml", "&auml"},
      {"&unheard;", "&unheard;"},
      {"&#8482;", "\xE2\x84\xA2"},
      {"&amp;euro;", "\xE2\x82\xAC"},
      {"a & b", "a & b"},
      {"&&amp;;", "&&;"},
  };
  for (const auto& [text, decoded] : rows) {
    mail::StringBuffer buffer(text);
    (void)buffer.decodeNamedEntities();
    EXPECT_EQ(buffer.view(), decoded) << text;
  }
}

TEST(Entities, NumericOnesHaveUpToFiveDigits) {
  const std::pair<std::string, std::string> rows[] = {
      {"&#x20AC;&#X41;",
       "\xE2\x82\xAC"
       "A"},
      {"&#1234567;", "&#1234567;"},
      {"&#65", "&#65"},
      {"&#65x", "&#65x"},
      {"&#x1F600;", "\xF0\x9F\x98\x80"},
      {"&#;&x", "&#;&x"},
      {std::string(100, 'a') + "&#66;", std::string(100, 'a') + "B"},
  };
  mail::LogNull log;
  for (const auto& [text, decoded] : rows) {
    mail::DataBuffer out;
    mail::_ckHtmlHelp::decodeNumericEntities(text, out, 65001, log);
    EXPECT_EQ(out.view(), decoded) << text;
  }
  mail::DataBuffer latin;
  mail::_ckHtmlHelp::decodeNumericEntities("\xE4&#228;", latin, 1252, log);
  EXPECT_EQ(latin.view(), "\xE4\xE4");
}

TEST(CkHtmlHelp, GivesAPageItsFrame) {
  const std::pair<std::string, std::string> rows[] = {
      {"x", "<html><head></head><body>x</body></html>"},
      {"<HTML>x</HTML>", "<html><head></head><body>x</body></html>"},
      {"<html><BODY a>x</body></html>", "<html><head></head><body a>x</body></html>"},
  };
  for (const auto& [html, framed] : rows) {
    mail::StringBuffer page(html);
    EXPECT_TRUE(mail::_ckHtmlHelp::ensureStructure(page)) << html;
    EXPECT_EQ(page.view(), framed);
    EXPECT_FALSE(mail::_ckHtmlHelp::ensureStructure(page)) << html;
  }
}

TEST(CkHtmlHelp, ReplacesTheCharsetOfAPage) {
  mail::LogNull log;
  mail::StringBuffer page(
      "<html><head><meta name=a><META http-equiv=Content-Type content=\"text/html; "
      "charset=koi8-r\"></head><body></body></html>");
  mail::_ckHtmlHelp::removeCharsetMetaTag(page);
  EXPECT_TRUE(mail::_ckHtmlHelp::addCharsetMetaTag(page, "utf-8", log));
  EXPECT_EQ(page.view(),
            "<html><head><META http-equiv=\"Content-Type\" content=\"text/html;charset=utf-8\">"
            "<meta name=a></head><body></body></html>");
}

}  // namespace
