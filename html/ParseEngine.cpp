#include "html/ParseEngine.h"

#include <algorithm>
#include <utility>

#include "base/AsciiText.h"

namespace mail {
namespace {

constexpr char kEscape = '\x1B';

constexpr bool isQuote(char ch) { return ch == '"' || ch == '\''; }

// Whether double-byte text stands behind the escape that the text begins with, if it stood in front
// of it or not. Some writers close it with a doubled escape.
bool isoBehind(std::string_view strText, bool bBefore) {
  if (strText.starts_with("\x1B$B")) return true;
  if (strText.starts_with("\x1B\x1B"
                          "B") ||
      strText.starts_with("\x1B(B"))
    return false;
  return bBefore;
}

}  // namespace

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

void ParseEngine::captureBy(Quotes nQuotes, char ch, StringBuffer& strOut) {
  captureTo(endOfUnquoted(nQuotes, ch), strOut);
}

std::size_t ParseEngine::endOfUnquoted(Quotes nQuotes, char ch) {
  const bool bNoted = !m_arrReach.empty() && m_chReach == ch && m_nReachQuotes == nQuotes;
  if (!bNoted || m_arrReach[m_nPosition]) {
    const std::size_t nFound = findUnquoted(nQuotes, ch);
    if (nFound != kNone) return nFound;
    if (!bNoted) noteReach(nQuotes, ch);
  }
  return m_strText.find(ch, m_nPosition);
}

std::size_t ParseEngine::findUnquoted(Quotes nQuotes, char ch) const {
  char chQuote = '\0';
  bool bInIso = false;
  for (std::size_t n = m_nPosition; n < m_strText.size(); ++n) {
    const char chHere = m_strText[n];
    if (chHere == kEscape && nQuotes == Quotes::kNotInIso) {
      bInIso = isoBehind(m_strText.substr(n), bInIso);
    } else if (isQuote(chHere)) {
      if (bInIso) continue;
      if (chQuote == '\0') {
        chQuote = chHere;
      } else if (chQuote == chHere) {
        chQuote = '\0';
      }
    } else if (chHere == ch && chQuote == '\0') {
      return n;
    }
  }
  return kNone;
}

// From the end: what a search finds that starts here, outside quotes or inside those of one kind,
// within double-byte text or not, follows from what it finds one byte further.
void ParseEngine::noteReach(Quotes nQuotes, char ch) {
  struct Finds {
    bool bOutside = false;
    bool bInDouble = false;
    bool bInSingle = false;
  };
  m_nReachQuotes = nQuotes;
  m_chReach = ch;
  m_arrReach.assign(m_strText.size() + 1, false);
  Finds objPlain;
  Finds objInIso;
  for (std::size_t n = m_strText.size(); n-- > 0;) {
    const char chHere = m_strText[n];
    if (chHere == ch) objPlain.bOutside = objInIso.bOutside = true;
    if (chHere == '"') std::swap(objPlain.bOutside, objPlain.bInDouble);
    if (chHere == '\'') std::swap(objPlain.bOutside, objPlain.bInSingle);
    if (chHere == kEscape && nQuotes == Quotes::kNotInIso) {
      const auto strHere = m_strText.substr(n);
      const Finds objBefore = objPlain;
      if (isoBehind(strHere, false)) objPlain = objInIso;
      if (!isoBehind(strHere, true)) objInIso = objBefore;
    }
    m_arrReach[n] = objPlain.bOutside;
  }
}

std::string_view ParseEngine::takeTo(std::size_t nEnd) {
  nEnd = std::min(nEnd, m_strText.size());
  const auto strTaken = m_strText.substr(m_nPosition, nEnd - m_nPosition);
  m_nPosition = nEnd;
  return strTaken;
}

void ParseEngine::captureTo(std::size_t nEnd, StringBuffer& strOut) {
  (void)strOut.append(takeTo(nEnd));  // short of memory: less
}

}  // namespace mail
