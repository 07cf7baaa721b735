#include "archive/EventAttributes.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "base/AsciiText.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// In lower case and alphabetical order, by which they are found.
constexpr std::array kEventNames = std::to_array<std::string_view>({
    "onabort",
    "onactivate",
    "onafterprint",
    "onafterupdate",
    "onanimationend",
    "onanimationstart",
    "onauxclick",
    "onbeforeactivate",
    "onbeforecopy",
    "onbeforecut",
    "onbeforedeactivate",
    "onbeforeeditfocus",
    "onbeforeinput",
    "onbeforepaste",
    "onbeforeprint",
    "onbeforeunload",
    "onbeforeupdate",
    "onbegin",
    "onblur",
    "onbounce",
    "oncanplay",
    "oncanplaythrough",
    "oncellchange",
    "onchange",
    "onclick",
    "oncontextmenu",
    "oncontrolselect",
    "oncopy",
    "oncuechange",
    "oncut",
    "ondataavailable",
    "ondatasetchanged",
    "ondatasetcomplete",
    "ondblclick",
    "ondeactivate",
    "ondrag",
    "ondragdrop",
    "ondragend",
    "ondragenter",
    "ondragleave",
    "ondragover",
    "ondragstart",
    "ondrop",
    "ondurationchange",
    "onemptied",
    "onend",
    "onended",
    "onerror",
    "onerrorupdate",
    "onfilterchange",
    "onfinish",
    "onfocus",
    "onfocusin",
    "onfocusout",
    "onformdata",
    "onhashchange",
    "onhelp",
    "oninput",
    "oninvalid",
    "onkeydown",
    "onkeypress",
    "onkeyup",
    "onlayoutcomplete",
    "onload",
    "onloadeddata",
    "onloadedmetadata",
    "onloadstart",
    "onlosecapture",
    "onmessage",
    "onmousedown",
    "onmouseenter",
    "onmouseleave",
    "onmousemove",
    "onmouseout",
    "onmouseover",
    "onmouseup",
    "onmousewheel",
    "onmove",
    "onmoveend",
    "onmovestart",
    "onoffline",
    "ononline",
    "onpagehide",
    "onpageshow",
    "onpaste",
    "onpause",
    "onplay",
    "onplaying",
    "onpointercancel",
    "onpointerdown",
    "onpointerenter",
    "onpointerleave",
    "onpointermove",
    "onpointerout",
    "onpointerover",
    "onpointerup",
    "onpopstate",
    "onprogress",
    "onpropertychange",
    "onratechange",
    "onreadystatechange",
    "onrepeat",
    "onreset",
    "onresize",
    "onresizeend",
    "onresizestart",
    "onrowenter",
    "onrowexit",
    "onrowsdelete",
    "onrowsinserted",
    "onscroll",
    "onsearch",
    "onseeked",
    "onseeking",
    "onselect",
    "onselectionchange",
    "onselectstart",
    "onshow",
    "onstalled",
    "onstart",
    "onstop",
    "onstorage",
    "onsubmit",
    "onsuspend",
    "ontimeupdate",
    "ontoggle",
    "ontouchcancel",
    "ontouchend",
    "ontouchmove",
    "ontouchstart",
    "ontransitionend",
    "onunload",
    "onvolumechange",
    "onwaiting",
    "onwheel",
    "onzoom",
});
static_assert(std::ranges::is_sorted(kEventNames));

constexpr std::size_t kLongestName =
    std::ranges::max(kEventNames, {}, &std::string_view::size).size();

// Where the longest name that the text ends with begins; kNone when it ends with none.
std::size_t startOfName(std::string_view strText) {
  std::string strTail;
  std::size_t nStart = strText.size();
  while (nStart > 0 && strText.size() - nStart < kLongestName &&
         isAsciiLetter(strText[nStart - 1])) {
    --nStart;
  }
  for (const char ch : strText.substr(nStart)) strTail += toLowerAscii(ch);
  for (std::string_view strName = strTail; strName.size() > 2; strName.remove_prefix(1)) {
    if (std::ranges::binary_search(kEventNames, strName)) return strText.size() - strName.size();
  }
  return kNone;
}

// Finds the ends of values. A quote without a partner is looked for once.
class ValueEnds {
 public:
  explicit ValueEnds(std::string_view strText) : m_strText(strText) {}

  std::size_t of(std::size_t nFrom) {
    nFrom = std::min(m_strText.find_first_not_of(" \t\r\n", nFrom), m_strText.size());
    if (nFrom == m_strText.size()) return nFrom;
    const char chQuote = m_strText[nFrom];
    if (chQuote == '"' || chQuote == '\'') {
      bool& bNone = chQuote == '"' ? m_bNoDouble : m_bNoSingle;
      const std::size_t nEnd = bNone ? kNone : m_strText.find(chQuote, nFrom + 1);
      bNone = nEnd == kNone;
      if (nEnd != kNone) return nEnd + 1;
    }
    return std::min(m_strText.find_first_of(" \t\r\n>", nFrom), m_strText.size());
  }

 private:
  std::string_view m_strText;
  bool m_bNoDouble = false;
  bool m_bNoSingle = false;
};

}  // namespace

// At each "=" the name is looked for in what is written already, so that a cut shows what it made.
void removeEventAttributes(StringBuffer& strHtml) {
  const std::string_view strText = strHtml.view();
  ValueEnds objEnds(strText);
  std::string strOut;
  strOut.reserve(strText.size());
  std::size_t nFrom = 0;
  while (nFrom < strText.size()) {
    const std::size_t nEqual = std::min(strText.find('=', nFrom), strText.size());
    strOut += strText.substr(nFrom, nEqual - nFrom);
    nFrom = nEqual;
    if (nEqual == strText.size()) break;
    const std::size_t nNameEnd = strOut.find_last_not_of(" \t\r\n") + 1;
    const std::size_t nStart = startOfName(std::string_view(strOut).substr(0, nNameEnd));
    if (nStart == kNone) {
      strOut += '=';
      ++nFrom;
      continue;
    }
    strOut.resize(nStart);
    nFrom = objEnds.of(nEqual + 1);
  }
  (void)strHtml.setString(strOut);
}

}  // namespace mail
