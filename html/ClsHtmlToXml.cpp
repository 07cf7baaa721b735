#include "html/ClsHtmlToXml.h"

#include <new>
#include <string>
#include <utility>

#include "base/MemoryShortage.h"
#include "charset/CharsetNames.h"
#include "charset/CkCharset.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "html/CkHtmlHelp.h"
#include "html/HtmlTreeXml.h"

namespace mail {

bool ClsHtmlToXml::toTree(HtmlTree& objTree, LogBase& log) {
  return m_parse.parseHtml(std::move(m_html), code_page::kUtf8, objTree, log);
}

// The one that the caller named, else the page; one that is unknown counts as none.
void ClsHtmlToXml::charsetOfXml(StringBuffer& strCharset, LogBase& log) {
  (void)strCharset.setString(m_xmlCharset.view());
  if (!strCharset.isEmpty()) log.LogData("charset1", strCharset.view());
  if (!isKnownCharset(strCharset.view()) || strCharset.isEmpty()) {
    _ckHtmlHelp::charsetFromMetaTag(m_html, strCharset);
    if (!strCharset.isEmpty()) log.LogData("charset2", strCharset.view());
  }
  if (!isKnownCharset(strCharset.view()) || strCharset.isEmpty()) {
    (void)strCharset.setString("utf-8");
    log.LogData("charset3", strCharset.view());
  }
}

bool ClsHtmlToXml::toXml(DataBuffer& out, LogBase& log) {
  StringBuffer strCharset;
  charsetOfXml(strCharset, log);
  HtmlTree objTree;
  if (!toTree(objTree, log)) return false;
  try {
    std::string strXml;
    writeXml(objTree, strXml);
    const auto declaration = [](std::string_view strName) {
      return "<?xml version=\"1.0\" encoding=\"" + std::string(strName) + "\"?>\n";
    };
    _ckCharset objCharset;
    (void)objCharset.setByName(strCharset.view());
    const auto nPage = static_cast<unsigned>(objCharset.getCodePage());
    if (nPage != code_page::kUtf8 && EncodingConvert::converts(nPage)) {
      const std::string strWhole = declaration(objCharset.getName().view()) + strXml;
      EncodingConvert objConvert;
      DataBuffer arrConverted;
      const bool bDone = objConvert.convertText(code_page::kUtf8, nPage, strWhole.data(),
                                                strWhole.size(), arrConverted, log);
      if (bDone && !objConvert.m_hadErrors) return out.append(arrConverted);
    }
    return out.append(declaration("utf-8") + strXml);
  } catch (const std::bad_alloc&) {
    noteMemoryShortage();
    return false;
  }
}

}  // namespace mail
