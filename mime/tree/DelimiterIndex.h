#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

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
//   up to the line feed       hash of "=_part_1--\r\n"   answers "--BOUNDARY" and a line end
//   up to the next run        hash of "=_part_1"         answers "--BOUNDARY--"
//
// A question is then a look at the runs that carry one hash, and each hit is compared byte by byte.
// Where a run has more dashes than the delimiter the match begins inside the run. A boundary that
// holds runs of its own is looked up by the longest of the pieces between them; one that is nothing
// but dashes by the lengths of the runs. The answers are those of a plain search, not at line
// starts only.
class DelimiterIndex {
 public:
  static constexpr std::size_t npos = std::string_view::npos;

  // The text must outlive the index.
  explicit DelimiterIndex(std::string_view strText) : m_strText(strText) {}

  // Whether find can answer for the pattern: two dashes, and a line feed at its end only.
  static bool canFind(std::string_view strPattern);
  // The first place at or behind nFrom where the pattern lies whole in front of nLimit. nSteps
  // grows by the bytes and entries looked at. Throws std::bad_alloc alone.
  std::size_t find(std::string_view strPattern, std::size_t nFrom, std::size_t nLimit,
                   std::uint64_t& nSteps);

 private:
  // A run of dashes by the hash of what follows it.
  struct Entry {
    std::uint64_t nHash;
    std::size_t nRunEnd;
    auto operator<=>(const Entry&) const = default;
  };
  using Entries = std::vector<Entry>;  // by hash, then by place
  struct Run {
    std::size_t nBegin;
    std::size_t nEnd;
  };
  // By the number of bits of their length, each by place: half of what a run is compared with is
  // there, so few are compared in vain.
  using Runs = std::array<std::vector<Run>, 64>;

  Entries buildEntries(bool bLines) const;
  Runs buildRuns() const;
  std::size_t findDashes(std::size_t nDashes, std::size_t nFrom, std::size_t nLimit,
                         std::uint64_t& nSteps);

  std::string_view m_strText;
  std::optional<Entries> m_arrLines;
  std::optional<Entries> m_arrTokens;
  std::optional<Runs> m_aRuns;
};

}  // namespace mail
