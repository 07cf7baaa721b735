#pragma once

#include <cstddef>

namespace platform::base64_vector {

// The bulk of base64 work, 24 bytes or 32 characters at a time, on processors that have AVX2. On
// others, and without a whole block, the result is 0 and nothing is written: the caller goes on
// from where they stop in either case.

// Bytes decoded past the last whole group, of no meaning, that stand behind the result.
inline constexpr size_t kSlack = 32;

// Writes 4 characters for each 3 bytes and returns how many bytes it took, a multiple of 24.
size_t Encode(const unsigned char* pBytes, size_t nBytes, char* pOut);

// Decodes groups of 4 characters that are all in the alphabet, until the first that is not or until
// no 32 characters are left. Returns how many characters it took, a multiple of 4. pOut has room
// for 3 bytes for each 4 of nChars, and for kSlack more.
size_t Decode(const char* pChars, size_t nChars, unsigned char* pOut);

}  // namespace platform::base64_vector
