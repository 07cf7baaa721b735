// Plain text of HTML. The files of tests/data/html are compared whole: each .html with the .txt
// beside it.

#include "html/CkHtmlToText.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/OwnedPtr.h"
#include "html/ClsHtmlToText.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using testing::HasSubstr;
using testing::Not;

std::string Text(const std::string& html) {
  CkHtmlToText converter;
  converter.put_Utf8(true);
  const char* const text = converter.toText(html.c_str());
  return text ? text : "failed";
}

TEST(HtmlToText, MailsReadAsTheFilesBesideThem) {
  const std::filesystem::path folder = TARNY_SOURCE "/tests/data/html";
  int count = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    if (file.path().extension() != ".html") continue;
    std::string text = Text(test_support::ReadAll(file.path()));
    std::erase(text, '\r');
    const std::filesystem::path expected =
        std::filesystem::path(file.path()).replace_extension("txt");
    EXPECT_EQ(text + '\n', test_support::ReadAll(expected)) << file.path();
    ++count;
  }
  EXPECT_GE(count, 15);
}

TEST(HtmlToText, BreaksAndIndentsAsTheElementsSay) {
  const std::string word(200, 'w');
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"<p>a</p><p>b</p>", "a\r\n\r\nb"},
      {"a<div>b</div>c", "a\r\nb\r\nc"},
      {"one \t\r\n two", "one two"},
      {"a<b>b</b>", "a b"},
      {"<h1>t</h1>x<header>y</header>z", "t\r\n\r\nx\r\n\r\ny\r\n\r\nz"},
      {"x<li>a<ul><li>b</ul>", "x\r\n    a\r\n        b"},
      {"a  <br>b", "a\r\nb"},
      {"<pre>a  b\n  c</pre>", "a  b\r\n  c"},
      {"x<blockquote>a<pre>b\nc</pre></blockquote>", "x\r\n\r\n    ab\r\n    c"},
      {"x<hr>", "x\r\n" + std::string(80, '-')},
      {"<li><hr>", "    " + std::string(76, '-')},
      {"a&nbsp;", "a"},
      {word, word.substr(0, 80) + "\r\n" + word.substr(80, 80) + "\r\n" + word.substr(160)},
      {"<table><td>a<td>b<tr><th>c</table>", "a\r\nb\r\n\r\nc"},
      {"<script>s</script><style>t</style><head>h</head><!-- c -->x", "x"},
      {"a<span>b</span>", "a b"},
      {"<a href=\"http://x/\">HTTP://x/</a>", "HTTP://x/"},
      {"see <a href=\"http://x/\">it</a> now", "see it\r\n<http://x/>\r\nnow"},
      {"<a href=\"mailto:a@b\">a@b</a>", "a@b"},
      {"<a name=x>y</a>", "y"},
      {"&amp;lt;b&amp;gt;", "<b>"},
      {"\n<b>x</b>", "x"},
  };
  for (const auto& [html, text] : rows) EXPECT_EQ(Text(html), text) << html;
}

TEST(HtmlToText, FillsLinesUpToTheMargin) {
  std::string html;
  for (int n = 0; n < 50; ++n) html += "<i>word</i> ";
  const std::string text = Text(html);
  EXPECT_EQ(text.find("\r\n"), 79u);  // sixteen words of four letters
  const std::string item = Text("x<li>" + html);
  const size_t first = item.find("    word");
  EXPECT_EQ(item.find("\r\n", first) - first, 78u);  // the first line counts its indentation
}

TEST(HtmlToText, PropertiesDecideAboutMarginLinksAndEntities) {
  const auto converter = mail::makeOwned<mail::ClsHtmlToText>();
  mail::XString html;
  mail::XString text;
  const auto convert = [&](const std::string& page) {
    (void)html.setFromUtf8(page);
    EXPECT_TRUE(converter->ToText(html, text));
    return std::string(text.utf8().view());
  };
  converter->m_rightMargin = 0;
  const std::string words = convert("<p>" + std::string(30, 'a') + " " + std::string(100, 'b'));
  EXPECT_THAT(words, Not(HasSubstr("\r\n")));
  EXPECT_EQ(convert("<a href=http://x/>it</a> now"), "it <http://x/> now");
  EXPECT_EQ(convert("x<hr>"), "x\r\n" + std::string(80, '-'));
  converter->m_suppressLinks = true;
  EXPECT_EQ(convert("<a href=http://x/>it</a> now"), "it now");
  converter->m_decodeHtmlEntities = false;
  EXPECT_EQ(convert("&amp;amp;"), "&amp;");
}

TEST(HtmlToText, HostilePagesTakeLinearTime) {
  std::string deep;
  for (int n = 0; n < 1'000'000; ++n) deep += "<div>";
  EXPECT_THAT(Text(deep + "x"), HasSubstr("x"));
  std::string nodes;
  for (int n = 0; n < 300'000; ++n) nodes += "a<b>b</b>&nbsp;";
  EXPECT_GT(Text(nodes).size(), 600'000u);
  EXPECT_EQ(Text("x<a " + std::string(10'000'000, 'y')), "x");
  std::string entities;
  for (int n = 0; n < 300'000; ++n) entities += "&auml;&unknown&#1234567;&";
  EXPECT_THAT(Text(entities), HasSubstr("\xC3\xA4"));
}

}  // namespace
