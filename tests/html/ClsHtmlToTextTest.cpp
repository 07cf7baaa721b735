#include "html/ClsHtmlToText.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/OwnedPtr.h"
#include "html/CkHtmlToText.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Texts.h"

namespace {

using mail::ClsHtmlToText;
using test_support::ReadAll;
using test_support::Repeated;

std::string Text(ClsHtmlToText& toText, std::string_view html) {
  mail::XString in, out;
  in.setFromUtf8(html);
  EXPECT_TRUE(toText.ToText(in, out));
  return std::string(out.utf8().view());
}
std::string Text(std::string_view html) { return Text(*mail::makeOwned<ClsHtmlToText>(), html); }

void ExpectTexts(std::initializer_list<std::pair<std::string, std::string>> rows) {
  for (const auto& [html, text] : rows) EXPECT_EQ(Text(html), text) << html;
}

TEST(ClsHtmlToText, BreaksWhereElementsDo) {
  ExpectTexts({
      {"", ""},
      {" \t\r ", ""},
      {"<p>a</p><p>b</p>", "a\r\n\r\nb"},
      {"<h1>a</h1>b<h2>c</h2><hx>d</hx>", "a\r\n\r\nb\r\n\r\nc\r\n\r\nd"},
      {"a<div>b<div>c</div></div>d", "a\r\nb\r\nc\r\nd"},
      {"a <br><br>b<br/>", "a\r\n\r\nb"},
      {"<table><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></table>", "a\r\nb\r\n\r\nc"},
      {"<table><tr><td>a<td>b<tr><td>c<table><tr><td>d<td>e</table><td>f</table>",
       "a\r\nb\r\n\r\nc d\r\ne\r\n\r\nf"},
      {"<dl><dt>a<dd>b</dl>", "a\r\n\r\nb"},
      {"plain \n\n text\tof\r\nlines", "plain text of lines"},
      {"\n<b>a</b>", "a"},
      {"a<b>b</b><span>c</span>", "a b c"},
      {"<ul><li>a<ul><li>b</li></ul></li><li>c</li></ul>", "    a\r\n        b\r\n    c"},
      {"a<blockquote>b<blockquote>c</blockquote></blockquote>d",
       "a\r\n\r\n    b\r\n\r\n        c\r\n\r\nd"},
      {"a<hr>b", "a\r\n" + std::string(80, '-') + "\r\nb"},
      {"<ul><li><hr></ul>", "    " + std::string(76, '-')},
      {"x<pre>a  b\n  c\n</pre>d", "xa  b\r\n  c\r\nd"},
      {"<div><pre>  a\r\rb</pre></div>", "  a\r\n\r\nb"},
  });
}

TEST(ClsHtmlToText, HidesWhatIsNotForReading) {
  ExpectTexts({
      {"<head><title>t</title><style>s</style></head>a", "a"},
      {"a<style>b</style><!-- c --><script>d</script><!DOCTYPE e>f", "a f"},
      {"<comment>a<comment>b</comment>c<comment>d<p>e", "c\r\n\r\ne"},
      {"<p>a&nbsp;</p><p>&nbsp;</p><p>b &nbsp; c</p>", "a\r\n\r\nb c"},
      {"<pre>a&nbsp;&nbsp;b</pre>", "a  b"},
      {"&lt;a&gt; &amp;lt; &#8364;&eacute; &#x41", "<a> < €é &#x41"},
  });
}

TEST(ClsHtmlToText, ShowsWhereLinksLead) {
  const std::string link = "<a href='http://x/?a=1&amp;b=2'>";
  ExpectTexts({
      {"see " + link + "here</a> now", "see here\r\n<http://x/?a=1&b=2>\r\nnow"},
      {link + "HTTP://x/?a=1&amp;b=2</a> now", "HTTP://x/?a=1&b=2 now"},
      {"<a href=mailto:a@b>a@b</a> <a href=MAILTO:c@d>C</a>", "a@b C\r\n<c@d>"},
      {"<a href=mailto:></a><a href=''>x</a><a name=y>z</a>", "x z"},
      {"<A>a<A>b", "a b"},
      {"<p>a</p>" + link + "<img src=b></a>", "a\r\n<http://x/?a=1&b=2>"},
      {"<a href='http://x/" + std::string(90, 'y') + "'>l</a>",
       "l\r\n<http://x/" + std::string(90, 'y') + ">"},
  });
  const auto toText = mail::makeOwned<ClsHtmlToText>();
  toText->m_rightMargin = 0;
  EXPECT_EQ(Text(*toText, "see " + link + "here</a> now"), "see here <http://x/?a=1&b=2> now");
  toText->m_suppressLinks = true;
  EXPECT_EQ(Text(*toText, "see " + link + "here</a> now"), "see here now");
}

TEST(ClsHtmlToText, FillsToTheMargin) {
  EXPECT_EQ(Text(std::string(200, 'x')),
            std::string(80, 'x') + "\r\n" + std::string(80, 'x') + "\r\n" + std::string(40, 'x'));
  const auto toText = mail::makeOwned<ClsHtmlToText>();
  toText->m_rightMargin = 10;
  EXPECT_EQ(Text(*toText, "one two three four"), "one two\r\nthree four");
  EXPECT_EQ(Text(*toText, "<li>one two three four"), "    one\r\n    two three\r\n    four");
  EXPECT_EQ(Text(*toText, "ä ö ü ß ä ö ü"), "ä ö ü ß ä\r\nö ü");
  toText->m_rightMargin = -1;
  EXPECT_EQ(Text(*toText, Repeated(100, "word ")), Repeated(100, "word ").substr(0, 499));
}

TEST(ClsHtmlToText, DecodesOnceMoreUnlessTold) {
  const auto toText = mail::makeOwned<ClsHtmlToText>();
  toText->m_decodeHtmlEntities = false;
  EXPECT_EQ(Text(*toText, "&amp;lt; &amp;#65; &amp;amp;quot;"), "< A &amp;quot;");
  EXPECT_EQ(Text("&amp;lt; &amp;#65; &amp;amp;quot;"), "< A &quot;");
}

TEST(ClsHtmlToText, SaysWhereItGoesNoDeeper) {
  const std::string error = "[ERROR: Maximum recursion depth exceeded.]";
  const auto nested = [](size_t depth) { return Repeated(depth, "<b>") + "x"; };
  EXPECT_EQ(Text(nested(499)), "x");
  EXPECT_EQ(Text(nested(500)), error);
  EXPECT_EQ(Text(nested(500) + Repeated(500, "</b>") + "y"), error + " y");
  const std::string deep = Text(Repeated(100, "<ul><li>") + "x");
  EXPECT_EQ(deep, std::string(ClsHtmlToText::kMaxIndent, ' ') + "x");
}

TEST(ClsHtmlToText, TakesVeryMuchOfAnythingInLinearTime) {
  constexpr size_t kMany = 200'000;
  const std::string pages[] = {
      Repeated(kMany, "<b>a</b>"),        Repeated(kMany, "<pre>a</pre>b"),
      Repeated(kMany, "<a href=x>"),      Repeated(kMany, "<a href=x>y</a>"),
      Repeated(kMany, "<p>a<br>"),        Repeated(kMany, "<li>a b</li>"),
      std::string(10 * kMany, 'a'),       Repeated(5 * kMany, "a "),
      "<pre>" + Repeated(kMany, " \n"),   Repeated(kMany, "&nbsp;&#32;"),
      Repeated(200, "<ul><li>a<i>b</i>"), Repeated(kMany / 10, "<blockquote><hr>"),
  };
  for (const std::int32_t margin : {0, 80, 1'000'000}) {
    const auto toText = mail::makeOwned<ClsHtmlToText>();
    toText->m_rightMargin = margin;
    for (const std::string& page : pages) {
      if (margin > 80 && page.find("<hr>") != std::string::npos) continue;
      (void)Text(*toText, page);
    }
  }
}

// As a person would like to read them: each expected text was read beside its mail.
TEST(ClsHtmlToText, MakesMailsReadable) {
  CkHtmlToText toText;
  toText.put_Utf8(true);
  size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(TARNY_SOURCE "/tests/data/html")) {
    std::filesystem::path path = entry.path();
    if (path.extension() != ".html") continue;
    const char* const made = toText.toText(ReadAll(path).c_str());
    ASSERT_NE(made, nullptr);
    std::string text(made);
    std::erase(text, '\r');
    EXPECT_EQ(text + "\n", ReadAll(path.replace_extension(".txt"))) << path;
    ++count;
  }
  EXPECT_GE(count, 30u);
}

// Every prefix of a mail gives a text; so does every mail with a byte missing.
TEST(ClsHtmlToText, ReadsMailsThatAreCutAnywhere) {
  const std::string html = ReadAll(TARNY_SOURCE "/tests/data/html/word-list.html");
  ASSERT_FALSE(html.empty());
  for (size_t end = 0; end <= html.size(); ++end) {
    const std::string text = Text(html.substr(0, end));
    EXPECT_LE(text.size(), end + 2) << end;
  }
}

TEST(CkHtmlToText, HandsOutTextsInTheChosenForm) {
  CkHtmlToText toText;
  EXPECT_STREQ(toText.toText("<p>caf\xE9 &eacute;</p>"), "caf\xE9 \xE9");
  toText.put_Utf8(true);
  EXPECT_STREQ(toText.toText("<p>caf\xC3\xA9 &#x20AC;</p>"), "café €");
  EXPECT_STREQ(toText.toText(nullptr), "");
  EXPECT_TRUE(toText.get_LastMethodSuccess());
  const std::string log = toText.lastErrorText();
  for (const char* line : {"ToText:", "parseHtml:", "HtmlCodePage: 65001", "toXmlTime:",
                           "xmlToText:", "recursiveToText:", "toTextTime:", "Success."}) {
    EXPECT_NE(log.find(line), std::string::npos) << line;
  }
}

}  // namespace
