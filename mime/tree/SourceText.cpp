#include "mime/tree/SourceText.h"

#include <algorithm>
#include <string>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "mime/tree/DelimiterLine.h"

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

DelimiterIndex& SourceText::index() {
  if (!m_objIndex) m_objIndex.emplace(m_strText);
  return *m_objIndex;
}

std::size_t SourceText::findPlain(std::string_view strPattern, std::size_t nFrom,
                                  std::size_t nLimit) {
  const std::size_t nFound =
      byte_search::findPattern(m_strText.substr(0, nLimit), strPattern, nFrom);
  m_nSteps += (nFound != npos ? nFound : nLimit) - nFrom + strPattern.size();
  return nFound;
}

DelimiterIndex::Place SourceText::findDelimiter(std::string_view strDelimiter,
                                                std::string_view strLineEnd, std::size_t nFrom,
                                                std::size_t nLimit, std::size_t nDepth) {
  if (!DelimiterIndex::canFind(strDelimiter)) {
    const std::string strLine = std::string(strDelimiter).append(strLineEnd);
    const std::size_t nFound = findPlain(strLine, nFrom, nLimit);
    return nFound == npos ? DelimiterIndex::Place{}
                          : DelimiterIndex::Place{nFound, nFound + strLine.size()};
  }
  if (nDepth >= kPlainDepth) {
    return index().findLine(strDelimiter, strLineEnd, nFrom, nLimit, m_nSteps);
  }
  // What begins as a delimiter and is none may be compared so often before the index takes over: a
  // fixed share, and one in so many of the bytes passed over.
  constexpr std::size_t kFreeFailures = 1024;
  constexpr std::size_t kFailureShare = 4;
  const std::string_view strText = delimiter_line::withoutPadding(strDelimiter);
  std::size_t nFailed = 0;
  for (std::size_t n = nFrom;; ++n) {
    n = findPlain(strText, n, nLimit);
    if (n == npos) return {};
    const std::size_t nTextEnd = n + strText.size();
    const std::size_t nEndLength =
        delimiter_line::lengthOfEnd(m_strText.substr(nTextEnd, nLimit - nTextEnd), strLineEnd);
    if (nEndLength != 0) return {n, nTextEnd + nEndLength};
    nFailed += strText.size();
    if (nFailed > kFreeFailures + (n - nFrom) / kFailureShare) {
      return index().findLine(strDelimiter, strLineEnd, n + 1, nLimit, m_nSteps);
    }
  }
}

std::size_t SourceText::findClosing(std::string_view strDelimiter, std::size_t nFrom,
                                    std::size_t nLimit, std::size_t nDepth) {
  if (nDepth >= kPlainDepth && DelimiterIndex::canFind(strDelimiter)) {
    return index().findClosing(strDelimiter, nFrom, nLimit, m_nSteps);
  }
  return findPlain(strDelimiter, nFrom, nLimit);
}

}  // namespace mail
