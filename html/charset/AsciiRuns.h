#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Stretches of ASCII, which is most of most mail, copied 16 characters at a time. A stretch ends at
// a character of 0x80 or more and at a NUL, about which each conversion has a rule of its own.
//
// A copy may write up to kAsciiSlack bytes past what it says it wrote; the caller has that room.
namespace mail::ascii_runs {

inline constexpr std::size_t kAsciiSlack = 64;  // bytes

static_assert(std::endian::native == std::endian::little, "UTF-16 in host order is little-endian");

#if defined(__SSE2__)

// How many of 16 bytes at the front are neither NUL nor 0x80 and above.
inline unsigned asciiPrefix(__m128i arrChars) {
  const __m128i arrNul = _mm_cmpeq_epi8(arrChars, _mm_setzero_si128());
  const auto nStops = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(arrChars, arrNul)));
  return static_cast<unsigned>(std::countr_zero(nStops | 0x10000U));
}

inline __m128i load(const unsigned char* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void store(unsigned char* p, __m128i arrBytes) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), arrBytes);
}

#endif

inline bool isAscii(unsigned ch) { return ch - 1U < 0x7FU; }

// Bytes to bytes. Each of the three returns how many characters it copied and moves pOut on.
inline std::size_t copyBytes(const unsigned char* p, const unsigned char* pEnd,
                             unsigned char*& pOut) {
  const unsigned char* const pStart = p;
#if defined(__SSE2__)
  while (pEnd - p >= 16) {
    const __m128i arrChars = load(p);
    store(pOut, arrChars);
    const unsigned nPrefix = asciiPrefix(arrChars);
    p += nPrefix;
    pOut += nPrefix;
    if (nPrefix < 16) return static_cast<std::size_t>(p - pStart);
  }
#endif
  while (p < pEnd && isAscii(*p)) *pOut++ = *p++;
  return static_cast<std::size_t>(p - pStart);
}

// Bytes to 16-bit units.
inline std::size_t widen(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut) {
  const unsigned char* const pStart = p;
#if defined(__SSE2__)
  while (pEnd - p >= 16) {
    const __m128i arrChars = load(p);
    store(pOut, _mm_unpacklo_epi8(arrChars, _mm_setzero_si128()));
    store(pOut + 16, _mm_unpackhi_epi8(arrChars, _mm_setzero_si128()));
    const unsigned nPrefix = asciiPrefix(arrChars);
    p += nPrefix;
    pOut += 2 * nPrefix;
    if (nPrefix < 16) return static_cast<std::size_t>(p - pStart);
  }
#endif
  while (p < pEnd && isAscii(*p)) {
    *pOut++ = *p++;
    *pOut++ = 0;
  }
  return static_cast<std::size_t>(p - pStart);
}

// 16-bit units to bytes.
inline std::size_t narrow(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut) {
  const unsigned char* const pStart = p;
#if defined(__SSE2__)
  const __m128i arrTop = _mm_set1_epi16(static_cast<short>(0xFF80));
  while (pEnd - p >= 32) {
    const __m128i arrLow = load(p);
    const __m128i arrHigh = load(p + 16);
    const __m128i arrZero = _mm_setzero_si128();
    const __m128i arrLowOk = _mm_cmpeq_epi16(_mm_and_si128(arrLow, arrTop), arrZero);
    const __m128i arrHighOk = _mm_cmpeq_epi16(_mm_and_si128(arrHigh, arrTop), arrZero);
    const __m128i arrChars =
        _mm_packus_epi16(_mm_and_si128(arrLow, arrLowOk), _mm_and_si128(arrHigh, arrHighOk));
    store(pOut, arrChars);
    const unsigned nPrefix = asciiPrefix(arrChars);  // what is no ASCII has become NUL
    p += 2 * nPrefix;
    pOut += nPrefix;
    if (nPrefix < 16) return static_cast<std::size_t>(p - pStart) / 2;
  }
#endif
  while (pEnd - p >= 2 && p[1] == 0 && isAscii(*p)) {
    *pOut++ = *p;
    p += 2;
  }
  return static_cast<std::size_t>(p - pStart) / 2;
}

}  // namespace mail::ascii_runs
