#include "html/TextFiller.h"

#include <algorithm>

#include "base/AsciiText.h"

namespace mail {
namespace {

constexpr std::string_view kNbsp = "&nbsp;";
constexpr std::int32_t kRuleWidth = 80;  // where there is no margin

bool isCharStart(char ch) { return (ch & '\xC0') != '\x80'; }

std::size_t charsIn(std::string_view strText) {
  return static_cast<std::size_t>(std::count_if(strText.begin(), strText.end(), isCharStart));
}

// The bytes of the first nChars characters, or of all there are.
std::size_t bytesOfChars(std::string_view strText, std::size_t nChars) {
  if (strText.size() <= nChars) return strText.size();
  std::size_t n = 0;
  for (; n < strText.size(); ++n) {
    if (isCharStart(strText[n]) && nChars-- == 0) break;
  }
  return n;
}

// The length of the white space that the text begins with; 0 if it begins with none.
std::size_t spaceAt(std::string_view strText) {
  if (isAsciiSpace(strText.front())) return 1;
  return strText.starts_with(kNbsp) ? kNbsp.size() : 0;
}

std::size_t wordAt(std::string_view strText) {
  std::size_t n = 1;
  while (n < strText.size() && !isAsciiSpace(strText[n])) {
    if (strText[n] == '&' && strText.substr(n).starts_with(kNbsp)) break;
    ++n;
  }
  return n;
}

bool isBlankText(std::string_view strText) {
  while (!strText.empty()) {
    const std::size_t nSpace = spaceAt(strText);
    if (nSpace == 0) return false;
    strText.remove_prefix(nSpace);
  }
  return true;
}

}  // namespace

void TextFiller::emitText(std::string_view strText, std::size_t nIndent, std::int32_t nMargin) {
  if (isBlankText(strText)) return;
  m_nIndent = nIndent;
  m_nMargin = nMargin < 1 ? kNone : static_cast<std::size_t>(nMargin);
  layAnew();
  feed(strText, /*bApart=*/true);
  m_nLaid = m_strOut.size();
}

// What the line holds that is not laid, or not as it would be if it began with this text.
void TextFiller::layAnew() {
  std::size_t nFrom = m_nLaid;
  if (m_bWrapped && m_nLaid != m_nLine) {
    m_bWrapped = false;
    m_nBase = m_nIndent;
    if (column() > m_nMargin) nFrom = m_nLine;
  }
  if (nFrom == m_strOut.size()) return;
  const std::string strTaken = m_strOut.substr(nFrom);
  m_strOut.resize(nFrom);
  if (nFrom == m_nLine) startLine();
  feed(strTaken, /*bApart=*/false);
}

void TextFiller::startLine() {
  m_nLine = m_nLaid = m_strOut.size();
  m_nBase = m_nChars = 0;
  m_nBlank = kNone;
  m_bWrapped = false;
}

void TextFiller::feed(std::string_view strText, bool bApart) {
  while (!strText.empty()) {
    if (const std::size_t nSpace = spaceAt(strText)) {
      bApart = true;
      strText.remove_prefix(nSpace);
      continue;
    }
    const std::size_t nWord = wordAt(strText);
    if (bApart && m_nChars != 0) putBlank();
    putWord(strText.substr(0, nWord));
    strText.remove_prefix(nWord);
    bApart = false;
  }
}

void TextFiller::putBlank() {
  if (column() >= m_nMargin) return wrap();
  m_nBlank = m_strOut.size();
  m_strOut += ' ';
  ++m_nChars;
}

void TextFiller::putWord(std::string_view strWord) {
  if (m_strOut.size() == m_nLine && m_nLine != 0) {
    m_strOut.append(m_nIndent, ' ');
    m_nBase = m_nIndent;
  }
  for (;;) {
    const std::size_t nRoom = m_nMargin > column() ? m_nMargin - column() : 0;
    const std::size_t nFits = bytesOfChars(strWord, nRoom);
    if (nFits != strWord.size() && m_nBlank != kNone) {
      moveLastWord();
      continue;
    }
    m_strOut.append(strWord.substr(0, nFits));
    m_nChars += charsIn(strWord.substr(0, nFits));
    strWord.remove_prefix(nFits);
    if (strWord.empty()) return;
    wrap();
  }
}

void TextFiller::wrap() {
  m_strOut += kLineEnd;
  startLine();
  m_strOut.append(m_nIndent, ' ');
  m_bWrapped = m_nIndent != 0;
}

void TextFiller::moveLastWord() {
  const std::string strWord = m_strOut.substr(m_nBlank + 1);
  m_strOut.resize(m_nBlank);
  wrap();
  m_strOut += strWord;
  m_nChars = charsIn(strWord);
}

void TextFiller::appendLines(std::string_view strLines) {
  m_strOut += strLines;
  const std::size_t nEnd = strLines.rfind('\n');
  if (nEnd == kNone) return;
  const std::size_t nBehind = strLines.size() - nEnd - 1;
  startLine();
  m_nLine = m_nLaid = m_strOut.size() - nBehind;
}

void TextFiller::emitPre(std::string_view strText, std::size_t nIndent) {
  const std::string strIndent(nIndent, ' ');
  std::string strLines;
  if (endsLine()) {
    if (strText.starts_with('\r') || strText.starts_with('\n')) {
      m_strOut.resize(m_strOut.size() - kLineEnd.size());
    } else {
      strLines = strIndent;
    }
  }
  for (std::size_t n = 0; n < strText.size(); ++n) {
    const char ch = strText[n];
    if (ch != '\r' && ch != '\n') {
      strLines += ch;
      continue;
    }
    if (strText.substr(n).starts_with(kLineEnd)) ++n;
    strLines += kLineEnd;
    strLines += strIndent;
  }
  appendLines(strLines);
}

void TextFiller::lineBreak() {
  m_strOut.erase(m_strOut.find_last_not_of(' ') + 1);
  appendLines(kLineEnd);
}

void TextFiller::freshLine() {
  if (!endsLine()) appendLines(kLineEnd);
}

void TextFiller::blankLine() {
  freshLine();
  const std::string_view strOut = m_strOut;
  if (!strOut.substr(0, strOut.size() - kLineEnd.size()).ends_with(kLineEnd)) appendLines(kLineEnd);
}

void TextFiller::rule(std::size_t nIndent, std::int32_t nMargin) {
  freshLine();
  auto nWidth = static_cast<std::size_t>(nMargin < 1 ? kRuleWidth : nMargin);
  if (nMargin >= 1 && nIndent <= nWidth) {
    m_strOut.append(nIndent, ' ');
    nWidth = std::max<std::size_t>(1, nWidth - nIndent);
  }
  m_strOut.append(nWidth, '-');
  appendLines(kLineEnd);
}

void TextFiller::endLineTrimmed() {
  m_strOut.erase(m_strOut.find_last_not_of(" \t\r\n") + 1);
  appendLines(kLineEnd);
}

}  // namespace mail
