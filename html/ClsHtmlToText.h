#pragma once

#include <cstddef>
#include <cstdint>

#include "base/ClsBase.h"
#include "base/XString.h"
#include "html/CkHtmlHelp.h"

namespace mail {

// The working object behind CkHtmlToText: readable plain text of an HTML text. Paragraphs are
// filled, lists and quotes indented, the targets of links follow them between angle brackets, each
// cell of a table has its own line. Lines end in CR LF.
class ClsHtmlToText : public ClsBase {
 public:
  static constexpr std::size_t kMaxDepth = 500;  // of elements that are shown
  static constexpr std::size_t kIndent = 4;      // of a list item or quote, in columns
  static constexpr std::size_t kMaxIndent = 72;  // of any number of them

  // Replaces out. An empty text gives an empty one. False only for want of memory.
  bool ToText(XString& html, XString& out);

  std::size_t m_maxDepth = kMaxDepth;  // what lies deeper is an error in the text
  std::size_t m_entityDigits = _ckHtmlHelp::kShortEntity;  // of numeric entities
  std::int32_t m_rightMargin = 80;                         // columns; under 1 for no wrapping
  bool m_decodeHtmlEntities = true;  // once more in the finished text, as "&amp;lt;" leaves them
  bool m_suppressLinks = false;      // leave their targets out
  bool m_preApart = false;           // preformatted text has lines of its own

 private:
  ~ClsHtmlToText() override = default;
};

}  // namespace mail
