#include "html/ParseEngine.h"

#include <algorithm>
#include <utility>

#include "base/AsciiText.h"

namespace mail {

void ParseEngine::setPosition(std::size_t nPosition) {
  m_nPosition = std::min(nPosition, m_strText.size());
}

bool ParseEngine::seekAndCopy(std::string_view strNeedle, StringBuffer& strOut) {
  const std::size_t nFound = findNoCase(m_strText, strNeedle, m_nPosition);
  if (nFound == kNone) return false;
  captureTo(nFound + strNeedle.size(), strOut);
  return true;
}

bool ParseEngine::seek(std::string_view strNeedle) {
  const std::size_t nFound = findNoCase(m_strText, strNeedle, m_nPosition);
  if (nFound == kNone) return false;
  m_nPosition = nFound;
  return true;
}

void ParseEngine::skipAnyOf(std::string_view strChars) {
  setPosition(m_strText.find_first_not_of(strChars, m_nPosition));
}

void ParseEngine::captureUntilAnyOf(std::string_view strSet, StringBuffer& strOut) {
  captureTo(m_strText.find_first_of(strSet, m_nPosition), strOut);
}

void ParseEngine::captureUntilAnyOfUnescaped(std::string_view strSet, StringBuffer& strOut) {
  std::size_t nEnd = m_nPosition;
  while (nEnd < m_strText.size() && strSet.find(m_strText[nEnd]) == kNone) {
    nEnd += m_strText[nEnd] == '\\' ? 2 : 1;
  }
  captureTo(nEnd, strOut);
}

void ParseEngine::captureToChar(char ch, StringBuffer& strOut) {
  captureTo(m_strText.find(ch, m_nPosition), strOut);
}

void ParseEngine::captureToUnquoted(char ch, StringBuffer& strOut) {
  const bool bSurelyNone = m_chReach == ch && !m_arrReach[m_nPosition];
  const std::size_t nFound = bSurelyNone ? kNone : findUnquoted(ch);
  if (nFound != kNone) return captureTo(nFound, strOut);
  if (!bSurelyNone) noteReach(ch);
  captureToChar(ch, strOut);
}

std::size_t ParseEngine::findUnquoted(char ch) const {
  char chQuote = '\0';
  for (std::size_t n = m_nPosition; n < m_strText.size(); ++n) {
    const char chHere = m_strText[n];
    if (chQuote != '\0') {
      if (chHere == chQuote) chQuote = '\0';
    } else if (chHere == ch) {
      return n;
    } else if (chHere == '"' || chHere == '\'') {
      chQuote = chHere;
    }
  }
  return kNone;
}

// From the end: what a search finds that starts here outside quotes, inside double ones and inside
// single ones follows from what it finds one byte further.
void ParseEngine::noteReach(char ch) {
  m_chReach = ch;
  m_arrReach.assign(m_strText.size() + 1, false);
  bool bOutside = false;
  bool bInDouble = false;
  bool bInSingle = false;
  for (std::size_t n = m_strText.size(); n-- > 0;) {
    const char chHere = m_strText[n];
    if (chHere == ch) bOutside = true;
    if (chHere == '"') std::swap(bOutside, bInDouble);
    if (chHere == '\'') std::swap(bOutside, bInSingle);
    m_arrReach[n] = bOutside;
  }
}

void ParseEngine::captureTo(std::size_t nEnd, StringBuffer& strOut) {
  nEnd = std::min(nEnd, m_strText.size());
  (void)strOut.append(m_strText.substr(m_nPosition, nEnd - m_nPosition));  // short of memory: less
  m_nPosition = nEnd;
}

}  // namespace mail
