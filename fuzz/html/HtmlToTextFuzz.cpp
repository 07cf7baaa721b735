// HTML to its tree and to plain text: trees are no deeper than they may be, text follows the size
// of its page and stays UTF-8, and what stands behind everything is shown, whatever stood before
// it.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "base/OwnedPtr.h"
#include "html/ClsHtmlToText.h"
#include "html/ClsHtmlToXml.h"
#include "html/PageCharset.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Preformatted text apart in every second form.
std::string Text(const std::string& html, int margin) {
  const auto toText = mail::makeOwned<mail::ClsHtmlToText>();
  toText->m_rightMargin = margin;
  toText->m_preApart = margin % 2 != 0;
  mail::XString in, out;
  in.setFromUtf8(html);
  Require(toText->ToText(in, out));
  return std::string(out.utf8().view());
}

void CheckTree(const std::string& html) {
  mail::HtmlTree tree;
  mail::LogNull log;
  Require(mail::_ckHtmlParse().parseHtml(html, 65001, tree, log));
  std::vector<std::size_t> depths(tree.size());
  for (mail::HtmlTree::Index n = 1; n < tree.size(); ++n) {
    Require(tree.at(n).nParent < n);
    depths[n] = depths[tree.at(n).nParent] + 1;
    Require(depths[n] <= mail::_ckHtmlParse::kMaxOpen + 2);
  }
  mail::ClsHtmlToXml toXml;
  toXml.setHtml(html);
  mail::DataBuffer xml;
  Require(toXml.toXml(xml, log));
}

void CheckText(const std::string& html) {
  for (const int margin : {80, 7, 0}) {
    const std::string text = Text(html, margin);
    Require(text.size() <= 1000 + 120 * html.size());
    if (mail::byte_search::isUtf8(html)) Require(mail::byte_search::isUtf8(text));
  }
}

void CheckTextBehind(const std::string& html) {
  if (std::count(html.begin(), html.end(), '<') > 400) return;  // too deep is not shown
  const std::string closed =
      html + "\">'>--></style></script></comment></head></pre><p>behind42</p>";
  Require(Text(closed, 80).find("behind42") != std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  std::string html(reinterpret_cast<const char*>(data), size);
  Require(mail::byte_search::isUtf8(mail::pageAsUtf8(html, 1252)));
  std::replace(html.begin(), html.end(), '\0', ' ');
  CheckTree(html);
  CheckText(html);
  CheckTextBehind(html);
  return 0;
}
