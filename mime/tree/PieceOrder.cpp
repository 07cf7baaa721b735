#include "mime/tree/PieceOrder.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <numeric>
#include <utility>

namespace mail {
namespace {

constexpr int kDoublings = 6;  // at a time: each tree is made anew for a new depth
constexpr std::size_t kFew =
    16;  // one in so many is sorted by itself faster than picked out of all

std::size_t logOf(std::size_t n) { return static_cast<std::size_t>(std::bit_width(n)); }

}  // namespace

PieceOrder::PieceOrder(std::span<const DashRun> arrRuns, std::vector<Piece> arrPieces,
                       std::uint64_t& nSteps)
    : m_arrRuns(arrRuns), m_arrByPlace(arrRuns.size()) {
  std::iota(m_arrByPlace.begin(), m_arrByPlace.end(), 0);
  m_arrByLength = m_arrByPlace;
  std::stable_sort(m_arrByLength.begin(), m_arrByLength.end(), [&](std::size_t n1, std::size_t n2) {
    return arrRuns[n1].size() > arrRuns[n2].size();
  });
  m_arrOrder = m_arrByPlace;
  std::stable_sort(m_arrOrder.begin(), m_arrOrder.end(),
                   [&](std::size_t n1, std::size_t n2) { return arrPieces[n1] < arrPieces[n2]; });
  m_arrLetters.resize(arrRuns.size());
  for (std::size_t n = 0; n < m_arrOrder.size(); ++n) {
    const Piece& objPiece = arrPieces[m_arrOrder[n]];
    const bool bSame = n > 0 && m_arrSorted.back() == objPiece;
    m_arrLetters[m_arrOrder[n]] = bSame ? m_arrLetters[m_arrOrder[n - 1]] : n;
    m_arrSorted.push_back(objPiece);
  }
  m_arrRanks = m_arrLetters;
  nSteps += 2 * arrRuns.size() * logOf(arrRuns.size());
}

std::size_t PieceOrder::letter(const Piece& objPiece) const {
  return static_cast<std::size_t>(
      std::lower_bound(m_arrSorted.begin(), m_arrSorted.end(), objPiece) - m_arrSorted.begin());
}

// Those whose second half is less come first into the places of those whose first half is alike.
void PieceOrder::doubleDepth() {
  const std::size_t nRuns = m_arrRuns.size();
  Numbers arrBySecond;
  arrBySecond.reserve(nRuns);
  for (std::size_t n = nRuns - std::min(nRuns, m_nDepth); n < nRuns; ++n) arrBySecond.push_back(n);
  for (const std::size_t n : m_arrOrder) {
    if (n >= m_nDepth) arrBySecond.push_back(n - m_nDepth);
  }
  Numbers arrNext(nRuns);
  std::iota(arrNext.begin(), arrNext.end(), 0);
  for (const std::size_t n : arrBySecond) m_arrOrder[arrNext[m_arrRanks[n]]++] = n;
  const auto second = [&](std::size_t n) {
    return nRuns - n > m_nDepth ? m_arrRanks[n + m_nDepth] : npos;
  };
  Numbers arrRanks(nRuns);
  for (std::size_t n = 0; n < nRuns; ++n) {
    const std::size_t nRun = m_arrOrder[n];
    const std::size_t nBefore = n > 0 ? m_arrOrder[n - 1] : nRun;
    const bool bSame =
        n > 0 && m_arrRanks[nBefore] == m_arrRanks[nRun] && second(nBefore) == second(nRun);
    arrRanks[nRun] = bSame ? arrRanks[nBefore] : n;
  }
  m_arrRanks = std::move(arrRanks);
  m_nDepth *= 2;
}

void PieceOrder::Layer::fill(std::size_t nNewGone) {
  nGone = nNewGone;
  const std::size_t nLeaves = arrOrder.size();
  arrNodes.resize(2 * nLeaves);
  const std::size_t nFirst = nGone < nLeaves ? arrRuns[nGone] : npos;
  for (std::size_t n = 0; n < nLeaves; ++n) {
    arrNodes[nLeaves + n] = arrOrder[n] < nFirst ? npos : arrOrder[n];
  }
  for (std::size_t n = nLeaves; n-- > 1;) {
    arrNodes[n] = std::min(arrNodes[2 * n], arrNodes[2 * n + 1]);
  }
}

void PieceOrder::Layer::passBy(std::size_t nNewGone, std::uint64_t& nSteps) {
  if (nNewGone < nGone) {  // a question from further front
    nSteps += arrOrder.size();
    return fill(nNewGone);
  }
  for (; nGone < nNewGone; ++nGone) {
    std::size_t n = arrOrder.size() + arrPlaces[nGone];
    arrNodes[n] = npos;
    for (bool bChanged = true; bChanged && n > 1; ++nSteps) {
      n /= 2;
      const std::size_t nLeast = std::min(arrNodes[2 * n], arrNodes[2 * n + 1]);
      bChanged = std::exchange(arrNodes[n], nLeast) != nLeast;
    }
  }
}

std::size_t PieceOrder::Layer::first(std::size_t nFrom, std::size_t nTo) const {
  std::size_t nFirst = npos;
  nFrom += arrOrder.size();
  nTo += arrOrder.size();
  for (; nFrom < nTo; nFrom /= 2, nTo /= 2) {
    if (nFrom % 2 == 1) nFirst = std::min(nFirst, arrNodes[nFrom++]);
    if (nTo % 2 == 1) nFirst = std::min(nFirst, arrNodes[--nTo]);
  }
  return nFirst;
}

// The runs of nDashes or more in the order of arrAll, which is that of arrKeys too.
PieceOrder::Numbers PieceOrder::pick(const Numbers& arrAll, std::size_t nDashes,
                                     const Numbers& arrKeys) const {
  const auto isLong = [&](std::size_t n) { return m_arrRuns[n].size() >= nDashes; };
  const auto itEnd = std::partition_point(m_arrByLength.begin(), m_arrByLength.end(), isLong);
  Numbers arrPicked;
  if (static_cast<std::size_t>(itEnd - m_arrByLength.begin()) >= arrAll.size() / kFew) {
    std::copy_if(arrAll.begin(), arrAll.end(), std::back_inserter(arrPicked), isLong);
    return arrPicked;
  }
  arrPicked.assign(m_arrByLength.begin(), itEnd);
  std::stable_sort(arrPicked.begin(), arrPicked.end(),
                   [&](std::size_t n1, std::size_t n2) { return arrKeys[n1] < arrKeys[n2]; });
  return arrPicked;
}

void PieceOrder::sortLayer(Layer& objLayer, std::size_t nDashes) {
  objLayer.arrOrder = pick(m_arrOrder, nDashes, m_arrRanks);
  m_arrPlaces.resize(m_arrRuns.size());
  for (std::size_t n = 0; n < objLayer.arrOrder.size(); ++n) m_arrPlaces[objLayer.arrOrder[n]] = n;
  objLayer.arrPlaces.clear();
  for (const std::size_t n : objLayer.arrRuns) objLayer.arrPlaces.push_back(m_arrPlaces[n]);
  objLayer.nDepth = m_nDepth;
}

// With the runs that end in front of nEndFrom taken out.
PieceOrder::Layer& PieceOrder::layerOf(std::size_t nDashes, std::size_t nEndFrom,
                                       std::uint64_t& nSteps) {
  const auto [it, bNew] = m_mapLayers.try_emplace(nDashes);
  Layer& objLayer = it->second;
  Numbers& arrRuns = objLayer.arrRuns;
  if (bNew) {
    arrRuns = pick(m_arrByPlace, nDashes, m_arrByPlace);
    nSteps += arrRuns.size() * logOf(m_arrRuns.size());
  }
  const auto nGone = static_cast<std::size_t>(
      std::partition_point(arrRuns.begin(), arrRuns.end(),
                           [&](auto n) { return m_arrRuns[n].nEnd < nEndFrom; }) -
      arrRuns.begin());
  if (objLayer.nDepth == m_nDepth) {
    objLayer.passBy(nGone, nSteps);
  } else {
    sortLayer(objLayer, nDashes);
    objLayer.fill(nGone);
    nSteps += arrRuns.size() * logOf(m_arrRuns.size());
  }
  return objLayer;
}

// Where in the layer's order the first run stands whose letters are not less.
std::size_t PieceOrder::placeOf(const Layer& objLayer, std::span<const std::size_t> arrLetters,
                                std::uint64_t& nSteps) const {
  const auto isLess = [&](std::size_t nRun) {
    for (const std::size_t nLetter : arrLetters) {
      ++nSteps;
      if (nRun == m_arrLetters.size()) return true;
      if (m_arrLetters[nRun] != nLetter) return m_arrLetters[nRun] < nLetter;
      ++nRun;
    }
    return false;
  };
  return static_cast<std::size_t>(
      std::partition_point(objLayer.arrOrder.begin(), objLayer.arrOrder.end(), isLess) -
      objLayer.arrOrder.begin());
}

std::size_t PieceOrder::find(std::span<const Piece> arrRow, std::size_t nDashes,
                             std::size_t nEndFrom, std::uint64_t& nSteps) {
  if (arrRow.size() > m_arrRuns.size()) return npos;
  Numbers arrLetters;
  for (const Piece& objPiece : arrRow) arrLetters.push_back(letter(objPiece));
  nSteps += arrRow.size() * logOf(m_arrRuns.size());
  for (std::size_t n = 0; n + 1 < arrRow.size(); ++n) {
    if (arrLetters[n] == m_arrSorted.size() || m_arrSorted[arrLetters[n]] != arrRow[n]) return npos;
  }
  while (m_nDepth < arrRow.size()) {
    for (int n = 0; n < kDoublings; ++n) doubleDepth();
    nSteps += 4 * kDoublings * m_arrRuns.size();
  }
  const Layer& objLayer = layerOf(nDashes, nEndFrom, nSteps);
  const std::size_t nFrom = placeOf(objLayer, arrLetters, nSteps);
  arrLetters.back() = letter({arrRow.back().nHash, npos});
  const std::size_t nTo = placeOf(objLayer, arrLetters, nSteps);
  return objLayer.first(nFrom, nTo);
}

}  // namespace mail
