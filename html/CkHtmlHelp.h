#pragma once

#include <cstddef>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"

namespace mail {

// Reads and rewrites single tags of HTML as mail clients write it: attributes without quotes,
// missing ends, backslashes in values. The text stays text; nothing fails on bad HTML. Names of
// tags and attributes are found in any case.
class _ckHtmlHelp {
 public:
  // Tags with more attributes are cut there, without a ">".
  static constexpr int kMaxAttributes = 101;
  // Digits of a numeric entity: too few for most of what lies beyond U+FFFF; and enough for all.
  static constexpr std::size_t kShortEntity = 5;
  static constexpr std::size_t kLongEntity = 10;

  // Rewrites one tag into a regular form, into strOut (set): attributes with one blank between and
  // every value in quotes. Text in front of the first "<" is left out; without a "<" strOut becomes
  // empty. A tag that is broken is cut at the break.
  static void cleanHtmlTag(std::string_view strTag, StringBuffer& strOut);

  // The value of an attribute of a cleaned tag into strOut (set), trimmed: where a blank, the name,
  // "=" and a quote stand in a row, up to the next such quote. Empty when there is none.
  static void getAttrValue(std::string_view strTag, std::string_view strName, StringBuffer& strOut);
  // The same, and where there is none of that name the first whose name ends in it; backslashes
  // turn to "/".
  static void getAttrValueAnywhere(std::string_view strTag, std::string_view strName,
                                   StringBuffer& strOut);
  // Puts another value between the quotes of an attribute of a cleaned tag. A tag without it stays
  // as it is, and so does one where the quote is not closed.
  static void setAttrValue(StringBuffer& strTag, std::string_view strName,
                           std::string_view strValue);

  // Gives a page its frame: the tags of html, head and body where they are missing. True if
  // anything changed.
  static bool ensureStructure(StringBuffer& strHtml);
  // The "href" of the first BASE tag into strOut (set). False, and empty, when there is none.
  static bool getBaseHref(std::string_view strHtml, StringBuffer& strOut);

  // The charset that the page names for itself, as it writes it, into strOut (set); empty when it
  // names none. It stands in the first META tag that has one; without any such tag an XML
  // declaration counts, but only for "utf-16".
  static void charsetFromMetaTag(std::string_view strHtml, StringBuffer& strOut);
  // Has the page name that charset for itself, first thing in its head, which is made if there is
  // none. A name that it has already stays behind it. False, and the page may only have got its
  // frame, when that fails.
  static bool addCharsetMetaTag(StringBuffer& strHtml, std::string_view strCharset, LogBase& log);
  // Takes out every META tag that names a content type with a charset.
  static void removeCharsetMetaTag(StringBuffer& strHtml);

  // Appends the text to out with its numeric entities ("&#8364;", "&#x20AC;": up to nMaxDigits) as
  // characters of the code page toCodePage, in which the rest must be already. What is no such
  // entity stays as it is; so does the one of NUL, at which texts would end. The controls 0x80 to
  // 0x9F are characters of windows-1252. For named ones see StringBuffer::decodeNamedEntities.
  static void decodeNumericEntities(std::string_view strText, DataBuffer& out, unsigned nToCodePage,
                                    LogBase& log, std::size_t nMaxDigits = kShortEntity);
  // Both kinds, of UTF-8 text, in place.
  static void decodeEntities(StringBuffer& strText, std::size_t nMaxDigits = kShortEntity);
};

}  // namespace mail
