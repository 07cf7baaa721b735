#pragma once

#include <algorithm>
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
inline constexpr std::ptrdiff_t kLook = 16;     // bytes that are looked at together

static_assert(std::endian::native == std::endian::little, "UTF-16 in host order is little-endian");

#if defined(__SSE2__)

inline __m128i load(const unsigned char* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void store(unsigned char* p, __m128i arrBytes) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), arrBytes);
}

// A bit for each of 16 bytes that is a NUL, or 0x80 and above.
inline unsigned stops(__m128i arrChars) {
  const __m128i arrNul = _mm_cmpeq_epi8(arrChars, _mm_setzero_si128());
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(arrChars, arrNul)));
}

#endif

inline bool isAscii(unsigned ch) { return ch - 1U < 0x7FU; }

// Whether the kLook bytes at p are ASCII, without a NUL.
inline bool isAsciiBlock(const unsigned char* p) {
#if defined(__SSE2__)
  return stops(load(p)) == 0;
#else
  return std::all_of(p, p + kLook, [](unsigned ch) { return isAscii(ch); });
#endif
}

// How many of the kLook bytes at p are of 0x80 and more.
inline int countHigh(const unsigned char* p) {
#if defined(__SSE2__)
  const __m128i arrTops = _mm_and_si128(_mm_srli_epi16(load(p), 7), _mm_set1_epi8(1));
  const __m128i arrSums = _mm_sad_epu8(arrTops, _mm_setzero_si128());
  return _mm_cvtsi128_si32(arrSums) + _mm_extract_epi16(arrSums, 4);
#else
  return static_cast<int>(std::count_if(p, p + kLook, [](unsigned ch) { return ch >= 0x80; }));
#endif
}

// Bytes to bytes. Each of the three returns how many characters it copied and moves pOut on.
inline std::size_t copyBytes(const unsigned char* p, const unsigned char* pEnd,
                             unsigned char*& pOut) {
  const unsigned char* const pStart = p;
#if defined(__SSE2__)
  for (; pEnd - p >= 16; p += 16, pOut += 16) {
    const __m128i arrChars = load(p);
    store(pOut, arrChars);
    if (const unsigned nStops = stops(arrChars); nStops != 0) {
      const int nPrefix = std::countr_zero(nStops);
      pOut += nPrefix;
      return static_cast<std::size_t>(p - pStart + nPrefix);
    }
  }
#endif
  while (p < pEnd && isAscii(*p)) *pOut++ = *p++;
  return static_cast<std::size_t>(p - pStart);
}

// Bytes to 16-bit units.
inline std::size_t widen(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut) {
  const unsigned char* const pStart = p;
#if defined(__SSE2__)
  for (; pEnd - p >= 16; p += 16, pOut += 32) {
    const __m128i arrChars = load(p);
    store(pOut, _mm_unpacklo_epi8(arrChars, _mm_setzero_si128()));
    store(pOut + 16, _mm_unpackhi_epi8(arrChars, _mm_setzero_si128()));
    if (const unsigned nStops = stops(arrChars); nStops != 0) {
      const int nPrefix = std::countr_zero(nStops);
      pOut += 2 * nPrefix;
      return static_cast<std::size_t>(p - pStart + nPrefix);
    }
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
  const __m128i arrZero = _mm_setzero_si128();
  for (; pEnd - p >= 32; p += 32, pOut += 16) {
    const __m128i arrLow = load(p);
    const __m128i arrHigh = load(p + 16);
    const __m128i arrLowOk = _mm_cmpeq_epi16(_mm_and_si128(arrLow, arrTop), arrZero);
    const __m128i arrHighOk = _mm_cmpeq_epi16(_mm_and_si128(arrHigh, arrTop), arrZero);
    const __m128i arrChars =
        _mm_packus_epi16(_mm_and_si128(arrLow, arrLowOk), _mm_and_si128(arrHigh, arrHighOk));
    store(pOut, arrChars);
    // What is no ASCII has become NUL.
    if (const unsigned nStops = stops(arrChars); nStops != 0) {
      const int nPrefix = std::countr_zero(nStops);
      pOut += nPrefix;
      return static_cast<std::size_t>(p - pStart) / 2 + static_cast<unsigned>(nPrefix);
    }
  }
#endif
  while (pEnd - p >= 2 && p[1] == 0 && isAscii(*p)) {
    *pOut++ = *p;
    p += 2;
  }
  return static_cast<std::size_t>(p - pStart) / 2;
}

}  // namespace mail::ascii_runs
