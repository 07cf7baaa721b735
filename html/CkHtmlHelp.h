#pragma once

#include <string_view>

#include "base/StringBuffer.h"

namespace mail {

// Reads and rewrites single tags of HTML as mail clients write it: attributes without quotes,
// missing ends, backslashes in values. The text stays text; nothing fails on bad HTML.
class _ckHtmlHelp {
 public:
  // Tags with more attributes are cut there, without a ">".
  static constexpr int kMaxAttributes = 101;

  // Rewrites one tag into a regular form, into strOut (set): attributes with one blank between and
  // every value in quotes. Text in front of the first "<" is left out; without a "<" strOut becomes
  // empty. A tag that is broken is cut at the break.
  static void cleanHtmlTag(std::string_view strTag, StringBuffer& strOut);

  // The value of an attribute of a cleaned tag into strOut (set), found in any case, wherever the
  // name and "=" and a quote stand in a row; trimmed, backslashes turned to "/". Empty when there
  // is none.
  static void getAttrValueAnywhere(std::string_view strTag, std::string_view strName,
                                   StringBuffer& strOut);

  // The charset that the page names for itself, as it writes it, into strOut (set); empty when it
  // names none. It stands in the first META tag that has one; without any such tag an XML
  // declaration counts, but only for "utf-16".
  static void charsetFromMetaTag(std::string_view strHtml, StringBuffer& strOut);
};

}  // namespace mail
