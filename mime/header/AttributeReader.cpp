#include "mime/header/AttributeReader.h"

#include <algorithm>

#include "base/AsciiText.h"

namespace mail {

namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool isVisibleAscii(char ch) { return ch > ' ' && ch < 0x7F; }

}  // namespace

void appendOtherParameters(std::string_view strValue, std::string_view strName,
                           StringBuffer& strOut) {
  AttributeReader objReader(strValue);
  while (objReader.next()) {
    if (objReader.name().empty() || equalsNoCase(objReader.name(), strName)) continue;
    (void)strOut.append("; ");
    (void)strOut.append(objReader.name());
    (void)strOut.append("=");
    const std::string_view strContent = objReader.value();
    // What comes from a header may be nothing, or no ASCII.
    const bool bToken = !strContent.empty() && !needsQuotes(strContent) &&
                        std::all_of(strContent.begin(), strContent.end(), isVisibleAscii);
    if (bToken) {
      (void)strOut.append(strContent);
    } else {
      appendQuoted(strContent, strOut);
    }
  }
}

std::size_t closingQuote(std::string_view strText) {
  for (std::size_t n = 1; (n = strText.find_first_of("\"\\", n)) != kNone; n += 2) {
    if (strText[n] == '"') return n;
  }
  return kNone;
}

std::string_view firstWord(std::string_view strValue) {
  strValue = trimmed(strValue);
  if (strValue.starts_with('"')) strValue.remove_prefix(1);
  strValue = strValue.substr(0, strValue.find_first_of("\";(\r\n"));
  strValue = trimmed(strValue);
  return strValue.substr(0, strValue.find_first_of(" \t"));
}

std::string_view withoutComments(std::string_view strPlain) {
  std::string_view strKept = trimmed(strPlain);
  std::size_t nOpen = 0;
  for (std::size_t n = strKept.size(); n > 0 && (nOpen > 0 || strKept[n - 1] == ')'); --n) {
    const char ch = strKept[n - 1];
    if (ch == ')') ++nOpen;
    if (ch != '(' || --nOpen > 0) continue;
    // A comment is whole here; without white space in front it belongs to the value.
    if (n < 2 || !isAsciiSpace(strKept[n - 2])) break;
    strKept = trimmed(strKept.substr(0, n - 1));
    n = strKept.size() + 1;
  }
  if (strKept.empty()) return {};
  return strPlain.substr(
      0, static_cast<std::size_t>(strKept.data() + strKept.size() - strPlain.data()));
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
  constexpr auto isHidden = [](char ch) { return ch == '"' || ch == '\\'; };
  const auto nHidden = std::count_if(strText.begin(), strText.end(), isHidden);
  const std::size_t nBytes = strText.size() + static_cast<std::size_t>(nHidden) + 2;
  // In place: text that is appended piece by piece loses the NULs at the end of each.
  char* p = strOut.prepare(nBytes);
  if (p == nullptr) return;
  *p++ = '"';
  for (const char ch : strText) {
    if (isHidden(ch)) *p++ = '\\';
    *p++ = ch;
  }
  *p = '"';
  strOut.commit(nBytes);
}

bool needsQuotes(std::string_view strText) {
  return strText.find_first_of(" \t\r\n()<>@,;:\\\"/[]?=") != kNone;
}

namespace {

void removeLineEnds(std::string& strText) {
  std::erase_if(strText, [](char ch) { return ch == '\r' || ch == '\n'; });
}

void setWithoutBlanks(std::string_view strText, std::string& strOut) {
  strOut = strText;
  std::erase_if(strOut, isAsciiSpace);
}

}  // namespace

AttributeReader::AttributeReader(std::string_view strValue, Blanks nBlanks) : m_nBlanks(nBlanks) {
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
  setWithoutBlanks(m_strRest.substr(0, nNameEnd), m_strName);
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

// The value is what stood in quotes.
void AttributeReader::setValue(std::string_view strInner) {
  const bool bPiece = m_strName.find('*') != std::string::npos;
  unquote(bPiece ? strInner : trimmedWithNuls(strInner), m_strValue);
  removeLineEnds(m_strValue);
}

void AttributeReader::readQuoted() {
  const std::size_t nEnd = m_bQuotesEnd ? closingQuote(m_strRest) : kNone;
  m_bQuotesEnd = nEnd != kNone;
  if (!m_bQuotesEnd) {
    m_strRest.remove_prefix(1);
    readOpen();
    return;
  }
  setValue(m_strRest.substr(1, nEnd - 1));
  m_strRest.remove_prefix(nEnd + 1);
  const std::size_t nBehind = std::min(m_strRest.find_first_of("; \t\r\n=\"("), m_strRest.size());
  if (m_strRest.substr(nBehind).find_first_of("=\"(") == 0) return;  // no end of this value
  m_strValue += m_strRest.substr(0, nBehind);
  m_strRest.remove_prefix(nBehind);
}

void AttributeReader::readOpen() {
  const std::string_view strRaw = m_strRest.substr(0, m_strRest.find(';'));
  m_strRest.remove_prefix(strRaw.size());
  setValue(strRaw);
}

void AttributeReader::readPlain() {
  const std::size_t nEnd = m_strRest.find(';');
  const std::string_view strRaw = m_strRest.substr(0, nEnd);
  m_strRest.remove_prefix(strRaw.size());
  const std::string_view strPlain = withoutComments(strRaw);
  if (m_nBlanks == Blanks::kDropped) return setWithoutBlanks(strPlain, m_strValue);
  m_strValue = trimmedWithNuls(strPlain);
  removeLineEnds(m_strValue);
}

}  // namespace mail
