#include "mime/header/AttributeReader.h"

#include <algorithm>

#include "mime/base/AsciiText.h"

namespace mail {

constexpr std::size_t kNone = std::string_view::npos;

std::size_t closingQuote(std::string_view strText) {
  for (std::size_t n = 1; (n = strText.find_first_of("\"\\", n)) != kNone; n += 2) {
    if (strText[n] == '"') return n;
  }
  return kNone;
}

void unquote(std::string_view strInner, std::string& strOut) {
  for (std::size_t n = 0; n < strInner.size(); ++n) {
    const bool bHides = strInner[n] == '\\' && n + 1 < strInner.size() &&
                        (strInner[n + 1] == '"' || strInner[n + 1] == '\\');
    if (bHides) ++n;
    strOut += strInner[n];
  }
}

void appendQuoted(std::string_view strText, StringBuffer& strOut) {
  (void)strOut.append("\"");
  for (std::size_t nHidden = 0; !strText.empty(); strText.remove_prefix(nHidden)) {
    nHidden = std::min(strText.find_first_of("\"\\"), strText.size());
    (void)strOut.append(strText.substr(0, nHidden));
    if (nHidden == strText.size()) break;
    (void)strOut.appendChar('\\');
    (void)strOut.appendChar(strText[nHidden++]);
  }
  (void)strOut.append("\"");
}

AttributeReader::AttributeReader(std::string_view strValue) {
  strValue = trimmed(strValue);
  m_strHead = strValue.substr(0, strValue.find_first_of("; \t\r\n"));
  m_strRest = strValue.substr(m_strHead.size());
}

bool AttributeReader::next() {
  m_strValue.clear();
  while (!m_strRest.empty() && (m_strRest.front() == ';' || isAsciiSpace(m_strRest.front()))) {
    m_strRest.remove_prefix(1);
  }
  if (m_strRest.empty()) return false;
  const std::size_t nNameEnd = m_strRest.find_first_of("=;");
  m_strName = trimmed(m_strRest.substr(0, nNameEnd));
  const bool bHasValue = nNameEnd != kNone && m_strRest[nNameEnd] == '=';
  m_strRest.remove_prefix(nNameEnd == kNone ? m_strRest.size() : nNameEnd + (bHasValue ? 1 : 0));
  if (!bHasValue) return true;
  while (!m_strRest.empty() && isAsciiSpace(m_strRest.front())) m_strRest.remove_prefix(1);
  if (m_strRest.starts_with('"')) {
    readQuoted();
  } else {
    readPlain();
  }
  return true;
}

void AttributeReader::readQuoted() {
  const std::size_t nEnd = m_bQuotesEnd ? closingQuote(m_strRest) : kNone;
  m_bQuotesEnd = nEnd != kNone;
  if (!m_bQuotesEnd) {
    m_strRest.remove_prefix(1);
    readPlain();
    return;
  }
  unquote(trimmed(m_strRest.substr(1, nEnd - 1)), m_strValue);
  m_strRest.remove_prefix(nEnd + 1);
}

void AttributeReader::readPlain() {
  const std::size_t nEnd = m_strRest.find(';');
  const std::string_view strRaw = m_strRest.substr(0, nEnd);
  m_strRest.remove_prefix(strRaw.size());
  for (std::size_t n = 0; n < strRaw.size(); ++n) {
    if (isAsciiSpace(strRaw[n])) continue;
    if (strRaw[n] == '(' && n > 0 && isAsciiSpace(strRaw[n - 1])) return;
    m_strValue += strRaw[n];
  }
}

}  // namespace mail
