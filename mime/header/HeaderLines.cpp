#include "mime/header/HeaderLines.h"

namespace mail {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Where the empty line begins that ends a header without the marker: "\n\r\n" or "\n\n" whichever
// stands first, then "\r\n\r" likewise. The line end in front of it belongs to the header.
std::size_t FindEmptyLine(std::string_view strText) {
  for (const std::string_view strEnd : {"\n\r\n", "\r\n\r"}) {
    const std::size_t nEnd = strText.find(strEnd);
    if (nEnd == kNone) continue;
    const std::size_t nEarlier = strText.substr(0, nEnd).find("\n\n");
    return nEarlier == kNone ? nEnd : nEarlier;
  }
  return strText.find("\n\n");
}

}  // namespace

HeaderExtent findHeader(std::string_view strText, std::string_view strEndMarker) {
  if (strEndMarker.empty()) strEndMarker = "\r\n\r\n";
  const std::size_t nMarker = strText.find(strEndMarker);
  if (nMarker != kNone) {
    const std::string_view strHeader = strText.substr(0, nMarker);
    return {strHeader, strHeader.find("\r\n") == kNone};
  }
  return {strText.substr(0, FindEmptyLine(strText)), true};
}

std::string_view HeaderLines::take() {
  const char* const pEnd = m_strRest.data() + m_strRest.size();
  if (m_pLineFeed == nullptr || m_pLineFeed < m_strRest.data()) {
    const std::size_t nLineFeed = m_strRest.find('\n');
    m_pLineFeed = nLineFeed == kNone ? pEnd : m_strRest.data() + nLineFeed;
  }
  std::string_view strLine(m_strRest.data(),
                           static_cast<std::size_t>(m_pLineFeed - m_strRest.data()));
  std::size_t nTaken = strLine.size() + (m_pLineFeed == pEnd ? 0 : 1);
  if (m_bLoneCrEnds) {
    const std::size_t nCr = strLine.find('\r');
    const std::size_t nBehind = nCr == kNone ? kNone : strLine.find_first_not_of('\r', nCr);
    if (nBehind != kNone) {
      strLine = strLine.substr(0, nCr);
      nTaken = nBehind;  // of a run of them only the first ends a line
    }
  }
  while (strLine.ends_with('\r')) strLine.remove_suffix(1);
  m_strRest.remove_prefix(nTaken);
  return strLine;
}

}  // namespace mail
