#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mail {

// The stored form of a code page's mapping: a text of one letter and base64. Behind "x" the decoded
// bytes are the table itself, behind "c" they are packed: a magic number and the table's size (both
// 32 bits, little-endian), then a bzip2 stream.
//
// The table begins with two letters: the first is "a" for an ascii-compatible page, whose bytes
// below 0x80 stand for themselves and are not listed; the second is "d" for the edit form. Behind
// them, all numbers little-endian:
//
//   usual form   one-byte mappings of 3 bytes, a step of the byte (8 bits) and one of the Unicode
//                unit (16 bits), closed by a step of 0 for the byte; then pairs of 4 bytes, a step
//                of the code and one of the unit (16 bits each), closed by a step of 0 for the code
//   edit form    units (16 bits) to be forgotten, closed by 0; then one-byte mappings and pairs as
//                above, but given plainly and not as steps. Only for writing a page.
//
// Steps are added to a running value that wraps at its width. Where a unit is listed for two codes,
// the first is the one that it is written as.
//
//   61 2D | 80 AC 20 | 02 6E FF | 00 | 00 00   ascii-compatible; 80 is 20AC, 82 is 201A, no pairs
namespace stored_table {

inline constexpr std::uint32_t kMagic = 0xB394A7E1;
// No table of ours comes near; a text that claims more is damaged.
inline constexpr std::size_t kMaxUnpackedBytes = 1 << 20;

// The table behind a stored text. Nothing for an unknown letter, bad base64, a wrong magic, a
// stream that is damaged or cut short, or a size that is not the true one. A packed buffer of under
// 8 bytes unpacks to an empty table. Throws std::bad_alloc alone.
std::optional<std::string> unpack(std::string_view strStored);

struct Mapping {
  std::uint16_t nCode;  // below 0x100 for one byte
  std::uint16_t nUnit;
};

struct Contents {
  bool bAscii = false;
  bool bEdit = false;
  std::vector<std::uint16_t> arrForgotten;  // units, in edit form
  std::vector<Mapping> arrSingles;
  std::vector<Mapping> arrPairs;
};

// What an unpacked table says, in its order. Nothing if it is cut short or has a pair whose code
// is below 0x100. Throws std::bad_alloc alone.
std::optional<Contents> parse(std::string_view strTable);

}  // namespace stored_table
}  // namespace mail
