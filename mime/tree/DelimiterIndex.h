#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "mime/tree/DashRuns.h"
#include "mime/tree/FirstFit.h"
#include "mime/tree/PieceOrder.h"

namespace mail {

// Where the lines lie that may part the entities of a text.
//
// Each level of a multipart looks for its own delimiter, all through its own bytes: with a search
// from byte to byte, a thousand levels would read the text a thousand times. Every delimiter begins
// with two dashes, so the index takes note of each run of dashes, once, with a hash of what follows
// it:
//
//   --=_part_1--\r\n          run "--", then "=_part_1", the run "--", "\r\n"
//
//   the rest of the line      hash of "=_part_1--\r\n"   answers "--BOUNDARY" and a line end
//   up to the next run        hash of "=_part_1"         answers "--BOUNDARY--"
//
// The answers are those of a plain search, not at line starts only: a match may begin inside a run
// that has more dashes than the delimiter. Padding in front of a line end (DelimiterLine.h) has no
// part in the hash.
//
// No answer looks at what does not match, or levels without number could make it look in vain:
//   - A delimiter with a line end is the rest of a line. What follows its first run is then all
//     that follows a run of the text, and lies under one hash. The first of these with dashes
//     enough is found by a tree. Padding is measured behind what is found in range alone.
//   - So is a closing delimiter of one piece, and one that is nothing but dashes.
//   - A closing delimiter of several pieces, or with more dashes at its end, is looked up in the
//     order of all rows of pieces; see PieceOrder.
// So a question takes the length of the delimiter and a logarithm, and the whole index what it
// takes to sort the runs. Hashes that meet by chance cost a step; see FrontHash.
class DelimiterIndex {
 public:
  static constexpr std::size_t npos = std::string_view::npos;

  // A delimiter as it stands in the text, its line end included; both npos if there is none.
  struct Place {
    std::size_t nBegin = npos;
    std::size_t nEnd = npos;
  };

  // The text must outlive the index.
  explicit DelimiterIndex(std::string_view strText) : m_strText(strText) {}
  DelimiterIndex(const DelimiterIndex&) = delete;
  DelimiterIndex& operator=(const DelimiterIndex&) = delete;

  // Whether the index can answer for a delimiter: two dashes at its start, and no line feed.
  static bool canFind(std::string_view strDelimiter);
  // The first place at or behind nFrom where the delimiter lies whole in front of nLimit, with
  // padding or none and the line end, "\r\n" or "\n". Padding at the delimiter's own end counts as
  // such. Fast for questions from front to back. nSteps grows by the bytes and entries looked at.
  // Throws std::bad_alloc alone.
  Place findLine(std::string_view strDelimiter, std::string_view strLineEnd, std::size_t nFrom,
                 std::size_t nLimit, std::uint64_t& nSteps);
  // The same for a delimiter with two dashes at its end, whatever follows it.
  std::size_t findClosing(std::string_view strDelimiter, std::size_t nFrom, std::size_t nLimit,
                          std::uint64_t& nSteps);

 private:
  using Runs = std::vector<DashRun>;
  // Runs by the hash of what follows them, then by place.
  struct Group {
    struct Entry {
      std::uint64_t nHash;
      DashRun objRun;
    };
    std::vector<Entry> arrEntries;
    FirstFit objLengths;

    Group(std::vector<Entry> arrUnsorted, std::uint64_t& nSteps);
  };

  const Runs& runs(std::uint64_t& nSteps);
  Group makeLines(std::uint64_t& nSteps);
  Group makePieces(std::uint64_t& nSteps);
  PieceOrder makeOrder(std::uint64_t& nSteps);

  std::size_t findDashes(std::size_t nDashes, std::size_t nFrom, std::uint64_t& nSteps);
  // The first run in a group from which fnFits is true, with where its last nDashes dashes begin.
  template <class Fits>
  std::size_t findInGroup(const Group& objGroup, std::uint64_t nHash, std::size_t nDashes,
                          std::size_t nFrom, std::uint64_t& nSteps, Fits fnFits) const;
  bool standsAt(std::string_view strPattern, std::size_t nStart) const {
    return m_strText.substr(nStart, strPattern.size()) == strPattern;
  }
  std::size_t findRow(std::string_view strPattern, std::size_t nFrom, std::uint64_t& nSteps);

  std::string_view m_strText;
  std::optional<Runs> m_arrRuns;
  std::optional<FirstFit> m_objDashes;
  std::optional<Group> m_objLines;
  std::optional<Group> m_objPieces;
  std::optional<PieceOrder> m_objOrder;
};

}  // namespace mail
