#include "mime/tree/DelimiterIndex.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "mime/tree/DelimiterLine.h"

namespace mail {
namespace {

std::size_t logOf(std::size_t n) { return static_cast<std::size_t>(std::bit_width(n)); }

std::size_t dashesAtFront(std::string_view strText) {
  return std::min(strText.find_first_not_of('-'), strText.size());
}

std::vector<std::size_t> lengthsOf(const auto& arrRuns, auto runOf) {
  std::vector<std::size_t> arrLengths;
  arrLengths.reserve(arrRuns.size());
  for (const auto& objEntry : arrRuns) arrLengths.push_back(runOf(objEntry).size());
  return arrLengths;
}

auto sorted(auto arrEntries) {
  std::sort(arrEntries.begin(), arrEntries.end(), [](const auto& obj1, const auto& obj2) {
    return std::pair(obj1.nHash, obj1.objRun.nEnd) < std::pair(obj2.nHash, obj2.objRun.nEnd);
  });
  return arrEntries;
}

// The pieces of a pattern behind its first run, each with the run behind it. The last run is one of
// two dashes or more.
std::vector<PieceOrder::Piece> rowOf(std::string_view strBehindRun) {
  std::vector<PieceOrder::Piece> arrRow;
  while (!strBehindRun.empty()) {
    const std::size_t nEnd = strBehindRun.find("--");
    const std::size_t nDashes = dashesAtFront(strBehindRun.substr(nEnd));
    arrRow.push_back({FrontHash::of(strBehindRun.substr(0, nEnd)), nDashes});
    strBehindRun.remove_prefix(nEnd + nDashes);
  }
  return arrRow;
}

}  // namespace

bool DelimiterIndex::canFind(std::string_view strDelimiter) {
  return strDelimiter.starts_with("--") && strDelimiter.find('\n') == npos;
}

DelimiterIndex::Group::Group(std::vector<Entry> arrUnsorted, std::uint64_t& nSteps)
    : arrEntries(sorted(std::move(arrUnsorted))),
      objLengths(lengthsOf(arrEntries, [](const Entry& obj) { return obj.objRun; })) {
  nSteps += arrEntries.size() * logOf(arrEntries.size());
}

const DelimiterIndex::Runs& DelimiterIndex::runs(std::uint64_t& nSteps) {
  if (!m_arrRuns) {
    m_arrRuns = findDashRuns(m_strText);
    nSteps += m_strText.size();
  }
  return *m_arrRuns;
}

// From the last run to the first, so that each byte is hashed once.
DelimiterIndex::Group DelimiterIndex::makeLines(std::uint64_t& nSteps) {
  const Runs& arrRuns = runs(nSteps);
  const std::uint64_t nCrLf = FrontHash::of("\r\n"), nLf = FrontHash::of("\n");
  std::vector<Group::Entry> arrEntries;
  bool bLineFeed = false;  // behind what was walked
  std::uint64_t nHash = 0;
  for (std::size_t n = arrRuns.size(), nNext = m_strText.size(); n-- > 0;) {
    const DashRun& objRun = arrRuns[n];
    const std::string_view strGap = m_strText.substr(objRun.nEnd, nNext - objRun.nEnd);
    if (const std::size_t nLineFeed = strGap.find('\n'); nLineFeed != npos) {
      bLineFeed = true;
      const std::string_view strLine = strGap.substr(0, nLineFeed);
      nHash = FrontHash::prepend(delimiter_line::withoutPadding(strLine),
                                 strLine.ends_with('\r') ? nCrLf : nLf);
    } else if (bLineFeed) {
      nHash = FrontHash::prepend(strGap, nHash);
    }
    if (bLineFeed) arrEntries.push_back({nHash, objRun});
    nHash = FrontHash::prepend(m_strText.substr(objRun.nBegin, objRun.size()), nHash);
    nNext = objRun.nBegin;
  }
  nSteps += m_strText.size();
  return {std::move(arrEntries), nSteps};
}

DelimiterIndex::Group DelimiterIndex::makePieces(std::uint64_t& nSteps) {
  const Runs& arrRuns = runs(nSteps);
  std::vector<Group::Entry> arrEntries;
  for (std::size_t n = 0; n + 1 < arrRuns.size(); ++n) {
    const std::size_t nEnd = arrRuns[n].nEnd;
    const std::string_view strPiece = m_strText.substr(nEnd, arrRuns[n + 1].nBegin - nEnd);
    if (strPiece.find('\n') == npos) arrEntries.push_back({FrontHash::of(strPiece), arrRuns[n]});
  }
  nSteps += m_strText.size();
  return {std::move(arrEntries), nSteps};
}

PieceOrder DelimiterIndex::makeOrder(std::uint64_t& nSteps) {
  const Runs& arrRuns = runs(nSteps);
  std::vector<PieceOrder::Piece> arrPieces(arrRuns.size());
  for (std::size_t n = 0; n + 1 < arrRuns.size(); ++n) {
    const std::size_t nEnd = arrRuns[n].nEnd;
    const std::string_view strPiece = m_strText.substr(nEnd, arrRuns[n + 1].nBegin - nEnd);
    if (strPiece.find('\n') == npos) {
      arrPieces[n] = {FrontHash::of(strPiece), arrRuns[n + 1].size()};
    }
  }
  nSteps += m_strText.size();
  return {arrRuns, std::move(arrPieces), nSteps};
}

std::size_t DelimiterIndex::findDashes(std::size_t nDashes, std::size_t nFrom,
                                       std::uint64_t& nSteps) {
  const Runs& arrRuns = runs(nSteps);
  if (!m_objDashes) {
    m_objDashes.emplace(lengthsOf(arrRuns, [](const DashRun& obj) { return obj; }));
    nSteps += arrRuns.size();
  }
  const auto it = std::partition_point(arrRuns.begin(), arrRuns.end(), [&](const DashRun& obj) {
    return obj.nEnd < nFrom + nDashes;
  });
  const std::size_t n =
      m_objDashes->find(static_cast<std::size_t>(it - arrRuns.begin()), nDashes, nSteps);
  return n == FirstFit::npos ? npos : std::max(arrRuns[n].nBegin, nFrom);
}

template <class Fits>
std::size_t DelimiterIndex::findInGroup(const Group& objGroup, std::uint64_t nHash,
                                        std::size_t nDashes, std::size_t nFrom,
                                        std::uint64_t& nSteps, Fits fnFits) const {
  const auto& arrEntries = objGroup.arrEntries;
  const auto it = std::partition_point(arrEntries.begin(), arrEntries.end(), [&](const auto& obj) {
    return std::pair(obj.nHash, obj.objRun.nEnd) < std::pair(nHash, nFrom + nDashes);
  });
  for (auto n = static_cast<std::size_t>(it - arrEntries.begin());; ++n, ++nSteps) {
    n = objGroup.objLengths.find(n, nDashes, nSteps);
    if (n == FirstFit::npos || arrEntries[n].nHash != nHash) return npos;
    const std::size_t nStart = arrEntries[n].objRun.nEnd - nDashes;
    if (fnFits(nStart)) return nStart;
  }
}

std::size_t DelimiterIndex::findRow(std::string_view strPattern, std::size_t nFrom,
                                    std::uint64_t& nSteps) {
  if (!m_objOrder) m_objOrder.emplace(makeOrder(nSteps));
  const std::size_t nDashes = dashesAtFront(strPattern);
  const std::size_t nRun =
      m_objOrder->find(rowOf(strPattern.substr(nDashes)), nDashes, nFrom + nDashes, nSteps);
  if (nRun == PieceOrder::npos) return npos;
  const std::size_t nStart = (*m_arrRuns)[nRun].nEnd - nDashes;
  if (standsAt(strPattern, nStart)) return nStart;
  return m_strText.find(strPattern, nFrom);  // two hashes have met
}

DelimiterIndex::Place DelimiterIndex::findLine(std::string_view strDelimiter,
                                               std::string_view strLineEnd, std::size_t nFrom,
                                               std::size_t nLimit, std::uint64_t& nSteps) {
  if (!m_objLines) m_objLines.emplace(makeLines(nSteps));
  strDelimiter = delimiter_line::withoutPadding(strDelimiter);
  nSteps += strDelimiter.size() + logOf(runs(nSteps).size());
  const std::size_t nDashes = dashesAtFront(strDelimiter);
  const std::uint64_t nHash =
      FrontHash::prepend(strDelimiter.substr(nDashes), FrontHash::of(strLineEnd));
  // The padding of one line behind the limit could be long, and asked about often.
  const auto bFitsIn = [&](std::size_t nStart) {
    return nStart <= nLimit && nLimit - nStart >= strDelimiter.size();
  };
  std::size_t nEndLength = 0;
  const std::size_t nFound =
      findInGroup(*m_objLines, nHash, nDashes, nFrom, nSteps, [&](std::size_t nStart) {
        if (!bFitsIn(nStart)) return true;
        if (!standsAt(strDelimiter, nStart)) return false;
        nEndLength =
            delimiter_line::lengthOfEnd(m_strText.substr(nStart + strDelimiter.size()), strLineEnd);
        return nEndLength != 0;
      });
  nSteps += nEndLength;
  if (nFound == npos || !bFitsIn(nFound)) return {};
  const std::size_t nTextEnd = nFound + strDelimiter.size();
  return nLimit - nTextEnd < nEndLength ? Place{} : Place{nFound, nTextEnd + nEndLength};
}

std::size_t DelimiterIndex::findClosing(std::string_view strDelimiter, std::size_t nFrom,
                                        std::size_t nLimit, std::uint64_t& nSteps) {
  nSteps += strDelimiter.size() + logOf(runs(nSteps).size());
  const std::size_t nDashes = dashesAtFront(strDelimiter);
  const std::string_view strBehindRun = strDelimiter.substr(nDashes);
  std::size_t nFound = npos;
  if (strBehindRun.empty()) {
    nFound = findDashes(strDelimiter.size(), nFrom, nSteps);
  } else if (const std::size_t nPiece = strBehindRun.size() - 2;
             strBehindRun.find("--") == nPiece) {
    if (!m_objPieces) m_objPieces.emplace(makePieces(nSteps));
    nFound =
        findInGroup(*m_objPieces, FrontHash::of(strBehindRun.substr(0, nPiece)), nDashes, nFrom,
                    nSteps, [&](std::size_t nStart) { return standsAt(strDelimiter, nStart); });
  } else {
    nFound = findRow(strDelimiter, nFrom, nSteps);
  }
  const bool bFits = nFound != npos && nFound <= nLimit && nLimit - nFound >= strDelimiter.size();
  return bFits ? nFound : npos;
}

}  // namespace mail
