#pragma once

#include <cstddef>
#include <span>

#include "base/DataBuffer.h"

// Between the forms of Unicode. Output is appended; false for want of memory alone, unless said
// otherwise. UTF-16 is in host order.
namespace mail::utf_forms {

using Bytes = std::span<const unsigned char>;

// UTF-16, an even number of bytes, to UTF-8. U+0000 is left out. A high surrogate is joined with a
// low one behind it, if bJoin; else it and the unit behind it are written in three bytes each,
// whatever that unit is: "A" there becomes E0 81 81.
bool unitsToUtf8(Bytes arrUnits, bool bJoin, DataBuffer& out);

// UTF-32 of either byte order, to UTF-8. A value that is 0 or past U+10FFFF is left out and sets
// bMissing; a surrogate is written in three bytes. Bytes at the end that make no value are dropped.
bool utf32ToUtf8(Bytes arrUtf32, bool bBigEndian, DataBuffer& out, bool& bMissing);
// And back. What UTF-8 does not say (see Utf8Source) and values past U+10FFFF are left out alike.
bool utf8ToUtf32(Bytes arrUtf8, bool bBigEndian, DataBuffer& out, bool& bMissing);

// UTF-7 as in RFC 2152. To it: everything but the letters, digits, '(),-./:? blank, tab, CR and LF
// is shifted; a leading U+FEFF is dropped.
bool unitsToUtf7(Bytes arrUnits, DataBuffer& out);
// From it: whatever is malformed is read as well as it goes.
bool utf7ToUnits(Bytes arrUtf7, DataBuffer& out);

// Each pair of bytes the other way round, within the buffer.
void swapPairs(unsigned char* pBytes, std::size_t nPairs);

}  // namespace mail::utf_forms
