#include "mime/header/AttributeCutter.h"

#include <algorithm>

#include "mime/header/AttributeReader.h"
#include "mime/header/EncodedWordMarks.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// The first of the stops at nFrom or behind it, outside encoded words; a backslash that is no stop
// hides the byte behind it. npos if there is none.
std::size_t FindStop(std::string_view strText, std::size_t nFrom, std::string_view strStops,
                     std::string_view strSought) {
  for (std::size_t n = nFrom; (n = strText.find_first_of(strSought, n)) != kNone;) {
    const char ch = strText[n];
    const std::size_t nWord = ch == '=' ? encodedWordLength(strText.substr(n)) : 0;
    if (nWord == 0 && strStops.find(ch) != kNone) return n;
    n += nWord != 0 ? nWord : ch == '\\' ? 2 : 1;
  }
  return kNone;
}

}  // namespace

bool AttributeCutter::next() {
  if (m_strRest.empty()) return false;
  if (m_bValueNext) {
    cutValue();
  } else if (m_nComment > 0) {
    cut(Kind::kText, m_nComment);
    m_nComment = 0;
  } else {
    const std::size_t nEnd = std::min(FindStop(m_strRest, 0, "=;", "=;"), m_strRest.size());
    m_bValueNext = nEnd == 0 && m_strRest.front() == '=';
    cut(Kind::kText, std::max<std::size_t>(nEnd, 1));
  }
  return true;
}

void AttributeCutter::cutValue() {
  const std::size_t nBlanks = std::min(m_strRest.find_first_not_of(" \t"), m_strRest.size());
  if (nBlanks > 0) return cut(Kind::kText, nBlanks);
  m_bValueNext = false;
  const bool bQuoted = m_strRest.starts_with('"');
  const std::size_t nClose =
      bQuoted && m_bQuotesEnd ? FindStop(m_strRest, 1, "\"", "\"\\=") : kNone;
  if (nClose != kNone) return cut(Kind::kQuoted, nClose + 1, 1, 1);
  m_bQuotesEnd = m_bQuotesEnd && !bQuoted;
  const std::size_t nEnd = std::min(FindStop(m_strRest, 0, ";", "=;"), m_strRest.size());
  if (bQuoted) return cut(Kind::kOpen, nEnd, 1);
  const std::size_t nValue = withoutComments(m_strRest.substr(0, nEnd)).size();
  m_nComment = nEnd - nValue;
  cut(Kind::kPlain, nValue);
}

void AttributeCutter::cut(Kind nKind, std::size_t nBytes, std::size_t nQuotesInFront,
                          std::size_t nQuotesBehind) {
  m_nKind = nKind;
  m_strRaw = m_strRest.substr(0, nBytes);
  m_strText = m_strRaw;
  m_strText.remove_prefix(nQuotesInFront);
  m_strText.remove_suffix(nQuotesBehind);
  m_strRest.remove_prefix(nBytes);
}

}  // namespace mail
