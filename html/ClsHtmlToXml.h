#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/DataBuffer.h"
#include "base/LibraryObject.h"
#include "base/LogBase.h"
#include "html/CkHtmlParse.h"
#include "html/HtmlTree.h"

namespace mail {

// A page on its way to a tree, or to the XML text of that tree. How it is read, m_parse says.
class ClsHtmlToXml : public LibraryObject {
 public:
  _ckHtmlParse m_parse;

  void setHtml(std::string strUtf8) { m_html = std::move(strUtf8); }
  // The charset of the XML text; empty, as at the start, for the one that the page names.
  void setXmlCharset(std::string_view strName) { (void)m_xmlCharset.setString(strName); }

  // Uses the page up, as does toXml. False for want of memory. The tree must be new.
  bool toTree(HtmlTree& objTree, LogBase& log);
  // Appends the XML text to out. It is UTF-8 where there is no other charset, or where the other
  // one lacks a character.
  bool toXml(DataBuffer& out, LogBase& log);

 private:
  void charsetOfXml(StringBuffer& strCharset, LogBase& log);

  std::string m_html;
  StringBuffer m_xmlCharset;
};

}  // namespace mail
