#include "mime/header/HeaderFolding.h"

#include "base/AsciiText.h"
#include "mime/header/EncodedWordMarks.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::size_t kUnfoldedBelow = 79;    // columns
constexpr std::size_t kFirstBreak = 33;       // no break in front of this column
constexpr std::size_t kBreakBlanksPast = 68;  // columns
constexpr std::string_view kBreak = "\r\n ";

class Folder {
 public:
  Folder(std::string_view strValue, std::size_t nColumn, bool bStructured, StringBuffer& strOut)
      : m_strValue(strValue),
        m_nColumn(nColumn),
        m_bLong(nColumn + strValue.size() >= kUnfoldedBelow),
        m_bStructured(bStructured),
        m_strOut(strOut) {}

  // Stretches between breaks are copied whole.
  void run() {
    for (; m_nAt < m_strValue.size(); ++m_nAt) {
      const char ch = m_strValue[m_nAt];
      if (ch == '=' && m_bStructured) passEncodedWord();
      if (ch == '"') m_bInQuotes = !m_bInQuotes;
      if (ch == '\\' && m_bStructured) passHidden();
      if (ch == '\n' || ch == '\r') {
        endLine();
      } else if (mayBreak() && ch == ' ' && m_nColumn > kBreakBlanksPast) {
        putBreak(m_nAt);
      } else if (mayBreak() && m_bStructured && (ch == ';' || ch == ',')) {
        breakBehindSeparator();
      } else {
        ++m_nColumn;
      }
    }
    copyTo(m_nAt);
  }

 private:
  bool mayBreak() const {
    return m_bLong && !m_bInQuotes && m_nColumn >= kFirstBreak && m_strValue.size() - m_nAt > 2 &&
           m_strValue[m_nAt + 1] != '>';
  }

  // Separators within an encoded word are none. Leaves m_nAt on its last byte.
  void passEncodedWord() {
    const std::size_t nLength = encodedWordLength(m_strValue.substr(m_nAt));
    if (nLength == 0) return;
    m_nAt += nLength - 1;
    m_nColumn += nLength - 1;
  }

  // A quote behind a backslash ends no quotes. Leaves m_nAt on it.
  void passHidden() {
    const std::string_view strBehind = m_strValue.substr(m_nAt + 1);
    if (!m_bInQuotes || (!strBehind.starts_with('"') && !strBehind.starts_with('\\'))) return;
    ++m_nAt;
    ++m_nColumn;
  }

  // The blank behind the separator stays in front of the break. A second one is what an earlier
  // break left there, and this break stands for it: else each rewriting would add a blank.
  void breakBehindSeparator() {
    if (m_strValue[m_nAt + 1] != ' ') {
      copyTo(m_nAt + 1);
      (void)m_strOut.append(kBreak);
      m_nColumn = 1;
      return;
    }
    ++m_nAt;
    copyTo(m_nAt + 1);
    (void)m_strOut.append(kBreak);
    m_nColumn = 1;
    if (m_strValue.size() - m_nAt <= 2 || m_strValue[m_nAt + 1] != ' ') return;
    ++m_nAt;
    m_nCopied = m_nAt + 1;
  }

  // The CR in front of an LF is no end of its own; a CR alone is one to some readers.
  void endLine() {
    const std::string_view strBehind = m_strValue.substr(m_nAt + 1);
    if (m_strValue[m_nAt] == '\r' && strBehind.starts_with('\n')) return;
    m_nColumn = 0;
    if (strBehind.empty() || isBlankOrTab(strBehind.front())) return;
    copyTo(m_nAt + 1);
    (void)m_strOut.appendChar(' ');
    m_nColumn = 1;
  }

  // In the place of the byte at nAt.
  void putBreak(std::size_t nAt) {
    copyTo(nAt);
    (void)m_strOut.append(kBreak);
    m_nCopied = nAt + 1;
    m_nColumn = 1;
  }

  void copyTo(std::size_t nEnd) {
    (void)m_strOut.append(m_strValue.substr(m_nCopied, nEnd - m_nCopied));
    m_nCopied = nEnd;
  }

  std::string_view m_strValue;
  std::size_t m_nColumn;
  const bool m_bLong;
  const bool m_bStructured;
  StringBuffer& m_strOut;
  std::size_t m_nAt = 0;
  std::size_t m_nCopied = 0;  // so much of the value is in m_strOut
  bool m_bInQuotes = false;
};

}  // namespace

void foldValue(std::string_view strValue, std::size_t nColumn, bool bStructured,
               StringBuffer& strOut) {
  (void)strOut.reserve(strValue.size() + strValue.size() / 16);
  const bool bOneLine = strValue.find('\n') == kNone && strValue.find('\r') == kNone;
  if (bOneLine && nColumn + strValue.size() < kUnfoldedBelow) {
    (void)strOut.append(strValue);
    return;
  }
  Folder(strValue, nColumn, bStructured, strOut).run();
}

}  // namespace mail
