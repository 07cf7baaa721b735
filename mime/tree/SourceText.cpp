#include "mime/tree/SourceText.h"

#include <algorithm>

#include "mime/base/AsciiText.h"
#include "mime/tree/ByteSearch.h"

namespace mail {
namespace {

constexpr std::array<std::string_view, 8> kMarkers = {"\r\n\r\n", "\r\r",   "\n\n",   "\r\n\r\r\n",
                                                      "\r\n\r",   "\n\r\n", "\r\r\n", "\n\r"};

std::size_t search(std::string_view strText, std::string_view strPattern, std::size_t nFrom) {
  if (strPattern.size() == 2) {
    return byte_search::findPair(strText, strPattern[0], strPattern[1], nFrom);
  }
  return findBytes(strText, strPattern, nFrom);
}

}  // namespace

std::string_view textOf(Marker nMarker) { return kMarkers[static_cast<std::size_t>(nMarker)]; }

std::size_t SourceText::find(Marker nMarker, std::size_t nFrom, std::size_t nLimit) {
  const std::string_view strMarker = textOf(nMarker);
  if (nLimit < strMarker.size()) return npos;
  const std::size_t nBehindLast = nLimit - strMarker.size() + 1;  // where no start fits any more
  Known& objKnown = m_aKnown[static_cast<std::size_t>(nMarker)];
  if (nFrom < objKnown.nStart || nFrom > objKnown.nScanned) objKnown = {nFrom, nFrom, false};
  if (!objKnown.bHit && objKnown.nScanned < nBehindLast) {
    const std::size_t nFound = search(m_strText.substr(0, nLimit), strMarker, objKnown.nScanned);
    objKnown.bHit = nFound != npos;
    m_nSteps += (objKnown.bHit ? nFound : nLimit) - objKnown.nScanned;
    objKnown.nScanned = objKnown.bHit ? nFound : nBehindLast;
  }
  return objKnown.bHit && objKnown.nScanned < nBehindLast ? objKnown.nScanned : npos;
}

std::size_t SourceText::findDelimiter(std::string_view strPattern, std::size_t nFrom,
                                      std::size_t nLimit, std::size_t nDepth) {
  if (nDepth >= kPlainDepth && DelimiterIndex::canFind(strPattern)) {
    if (!m_objIndex) m_objIndex.emplace(m_strText);
    return m_objIndex->find(strPattern, nFrom, nLimit, m_nSteps);
  }
  const std::size_t nFound =
      byte_search::findPattern(m_strText.substr(0, nLimit), strPattern, nFrom);
  m_nSteps += (nFound != npos ? nFound : nLimit) - nFrom + strPattern.size();
  return nFound;
}

}  // namespace mail
