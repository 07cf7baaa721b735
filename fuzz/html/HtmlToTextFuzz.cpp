// Plain text of HTML: it always comes, holds nothing of a script, follows the page in size, and the
// page's tree is one: each node stands behind its parent.

#include <cstdlib>
#include <string>
#include <string_view>

#include "base/LogNull.h"
#include "html/CkHtmlToText.h"
#include "html/ClsHtmlToXml.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckTree(const std::string& html) {
  mail::ClsHtmlToXml toXml;
  mail::HtmlTree tree;
  mail::LogNull log;
  (void)toXml.setHtml(html);
  Require(toXml.toTree(tree, log));
  Require(tree.size() < 16 + 4 * html.size());
  for (mail::HtmlTree::Index n = 1; n < tree.size(); ++n) {
    Require(tree.at(n).nParent < n);
    Require(!tree.tagName(n).empty() || tree.at(n).nTag == mail::HtmlTree::kVerbatimTag);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string html(reinterpret_cast<const char*>(data), size);
  CheckTree(html);
  CkHtmlToText converter;
  converter.put_Utf8(true);
  const char* const text = converter.toText(html.c_str());
  Require(text != nullptr);
  Require(std::string_view(text).size() < 1000 + 200 * size);
  const char* const behind = converter.toText("<p>before42<script>hidden42</script><p>behind42");
  Require(std::string_view(behind) == "before42\r\n\r\nbehind42");
  return 0;
}
