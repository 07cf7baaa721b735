#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "mime/tree/DashRuns.h"

namespace mail {

// Finds rows of pieces of text with runs of dashes between them, of any length.
//
// It is a suffix array whose letters are the pieces, each with the run behind it. The array is
// sorted as deep as the longest row asked for, by doubling: what is in order by its first h pieces
// is put in order by its first 2h with two passes over it. A row is then one stretch of the order,
// and the runs of that stretch lie under few nodes of a tree that knows the first run below each
// node. Runs that the questions have passed are taken out of the tree; questions come from front to
// back, so each run is taken out once.
//
// Runs in front of the row may be longer than asked. Each length that is asked for has a tree with
// the runs of that length or more alone: a run is in one tree for each of its dashes at most, so
// that all trees together are no larger than the text.
class PieceOrder {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  // What stands behind a run up to the next one, which has nDashes; 0 if there is no next one in
  // the same line, and such a piece is in no row.
  struct Piece {
    std::uint64_t nHash;
    std::size_t nDashes;
    auto operator<=>(const Piece&) const = default;
  };

  // The runs must outlive the object; there is a piece for each.
  PieceOrder(std::span<const DashRun> arrRuns, std::vector<Piece> arrPieces, std::uint64_t& nSteps);

  // The number of the first run that ends at or behind nEndFrom, has nDashes or more, and has the
  // row behind it; the run behind the row's last piece may be longer than that of the row.
  std::size_t find(std::span<const Piece> arrRow, std::size_t nDashes, std::size_t nEndFrom,
                   std::uint64_t& nSteps);

 private:
  using Numbers = std::vector<std::size_t>;  // of runs, of places in an order, of letters

  // The runs of some length or more.
  struct Layer {
    Numbers arrRuns;         // from front to back
    Numbers arrOrder;        // sorted as m_arrOrder is
    Numbers arrPlaces;       // in arrOrder, of each of arrRuns
    Numbers arrNodes;        // the first run that is left below each; leaves from the half on
    std::size_t nDepth = 0;  // of arrOrder
    std::size_t nGone = 0;   // so many of arrRuns are taken out

    void fill(std::size_t nNewGone);
    void passBy(std::size_t nNewGone, std::uint64_t& nSteps);
    std::size_t first(std::size_t nFrom, std::size_t nTo) const;
  };

  std::size_t letter(const Piece& objPiece) const;
  void doubleDepth();
  Layer& layerOf(std::size_t nDashes, std::size_t nEndFrom, std::uint64_t& nSteps);
  Numbers pick(const Numbers& arrAll, std::size_t nDashes, const Numbers& arrKeys) const;
  void sortLayer(Layer& objLayer, std::size_t nDashes);
  std::size_t placeOf(const Layer& objLayer, std::span<const std::size_t> arrLetters,
                      std::uint64_t& nSteps) const;

  std::span<const DashRun> m_arrRuns;
  std::vector<Piece> m_arrSorted;
  Numbers m_arrByPlace;   // the runs from front to back
  Numbers m_arrByLength;  // longest first, then from front to back
  Numbers m_arrLetters;   // the first place of each run's piece in m_arrSorted
  Numbers m_arrOrder;     // the runs by the first m_nDepth letters behind them
  Numbers m_arrRanks;     // the first place in m_arrOrder of those that are alike
  std::size_t m_nDepth = 1;
  Numbers m_arrPlaces;  // kept for its memory: the place of a run in a layer's order
  std::map<std::size_t, Layer> m_mapLayers;
};

}  // namespace mail
