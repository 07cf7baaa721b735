#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "charset/StoredTable.h"

namespace mail {

// The mapping of one code page in one direction, between 16-bit keys and 16-bit values: the Unicode
// unit of a pair of bytes, or the bytes of a Unicode unit.
//
// It answers as a hash table would and is a table of pages: the key's high byte names a block of
// 256 values, its low byte the value. Blocks without any value share the first. Reading takes two
// loads and no branch.
class HashConvert {
 public:
  enum class Direction { kToUnicode, kFromUnicode };

  // The table for a loop, which keeps it in registers. Good while the table is not added to.
  struct Reader {
    const std::uint32_t* pIndex;
    const std::uint16_t* pBlocks;

    std::uint16_t lookup(std::uint16_t nKey) const {
      return pBlocks[pIndex[nKey >> 8] + (nKey & 0xFFU)];
    }
  };

  HashConvert(unsigned nCodePage, Direction nDirection)
      : m_nCodePage(nCodePage), m_nDirection(nDirection), m_arrBlocks(kBlock) {}
  virtual ~HashConvert() = default;

  // Adds what a table says to what is here. Of two entries for one key the first stays. False for a
  // table in edit form in the to-Unicode direction. Throws std::bad_alloc alone.
  bool load(const stored_table::Contents& objContents);

  // The value of a key, 0 where there is none. Keys are pairs (the first byte in the high half) or
  // units; a value from Unicode is one byte if it is below 0x100. In an ascii-compatible page units
  // below 0x80 are here too.
  std::uint16_t lookup(std::uint16_t nKey) const { return reader().lookup(nKey); }
  Reader reader() const { return {m_aIndex.data(), m_arrBlocks.data()}; }

  // To Unicode only: the unit of a single byte of a page that has pairs too, 0 where there is none.
  std::uint16_t single(unsigned char ch) const { return m_aSingles[ch]; }

  unsigned codePage() const { return m_nCodePage; }
  // Whether bytes below 0x80 stand for themselves.
  bool isAscii() const { return m_bAscii; }
  // Whether any value takes more than a byte.
  bool hasPairs() const { return m_bPairs; }

 private:
  static constexpr std::size_t kBlock = 256;  // values

  void add(std::uint16_t nKey, std::uint16_t nValue);
  std::uint16_t& slot(std::uint16_t nKey);

  unsigned m_nCodePage;
  Direction m_nDirection;
  bool m_bAscii = false;
  bool m_bPairs = false;
  std::array<std::uint32_t, 256> m_aIndex{};  // where the block of a high byte begins
  std::array<std::uint16_t, 256> m_aSingles{};
  std::vector<std::uint16_t> m_arrBlocks;  // the first is empty
};

}  // namespace mail
