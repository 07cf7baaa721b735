#include "charset/UnitRuns.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "charset/AsciiRuns.h"

// From UTF-8: as if a character began at each of 16 bytes, its unit is computed from the byte and
// the two behind it. Then the units of the bytes where one does begin are moved together, eight at
// a time, by a shuffle that is looked up by a bit mask of those places. Nothing branches on which
// characters there are. Continuation bytes must stand exactly where lead bytes ask for them; those
// of a character that reaches over the end of the block are handed on to the next one.
//
//   D0 94 20 E6 97 A5    begins  1 0 1 1 0 0    units 0414 .... 0020 65E5 .... ....
//
// To UTF-8: each of eight units becomes four bytes, of which its first one to three count; the
// shuffle that moves those together is looked up by the lengths of four units.
namespace mail::unit_runs {

#if defined(__x86_64__)

#define TARNY_WITH_SHUFFLE [[gnu::target("sse4.2,popcnt")]]

namespace {

using ascii_runs::load;
using ascii_runs::store;

constexpr unsigned char kNothing = 0x80;  // in a shuffle: this byte is of no account
using Shuffles = std::array<std::array<unsigned char, 16>, 256>;

// By the bit mask of the units to be kept, of eight.
constexpr Shuffles kKeepUnits = [] {
  Shuffles aShuffles{};
  for (unsigned nMask = 0; nMask < 256; ++nMask) {
    aShuffles[nMask].fill(kNothing);
    std::size_t nTo = 0;
    for (unsigned nUnit = 0; nUnit < 8; ++nUnit) {
      if ((nMask >> nUnit & 1) == 0) continue;
      aShuffles[nMask][nTo++] = static_cast<unsigned char>(2 * nUnit);
      aShuffles[nMask][nTo++] = static_cast<unsigned char>(2 * nUnit + 1);
    }
  }
  return aShuffles;
}();

// By two masks of four units: which take a second byte (low half), and a third (high half).
constexpr Shuffles kKeepBytes = [] {
  Shuffles aShuffles{};
  for (unsigned nMask = 0; nMask < 256; ++nMask) {
    aShuffles[nMask].fill(kNothing);
    std::size_t nTo = 0;
    for (unsigned nUnit = 0; nUnit < 4; ++nUnit) {
      const unsigned nLength = 1 + (nMask >> nUnit & 1) + (nMask >> (4 + nUnit) & 1);
      for (unsigned n = 0; n < nLength; ++n) {
        aShuffles[nMask][nTo++] = static_cast<unsigned char>(4 * nUnit + n);
      }
    }
  }
  return aShuffles;
}();

__m128i bytes(unsigned n) { return _mm_set1_epi8(static_cast<char>(n)); }
__m128i units(unsigned n) { return _mm_set1_epi16(static_cast<short>(n)); }
unsigned bits(__m128i arrTruth) { return static_cast<unsigned>(_mm_movemask_epi8(arrTruth)); }
__m128i isAtLeast(__m128i arrBytes, unsigned n) {
  return _mm_cmpeq_epi8(_mm_max_epu8(arrBytes, bytes(n)), arrBytes);
}
__m128i choose(__m128i arrTruth, __m128i arrYes, __m128i arrNo) {
  return _mm_or_si128(_mm_and_si128(arrTruth, arrYes), _mm_andnot_si128(arrTruth, arrNo));
}
unsigned count(unsigned nBits) { return static_cast<unsigned>(std::popcount(nBits)); }

TARNY_WITH_SHUFFLE __m128i shuffle(__m128i arrBytes, const Shuffles& aShuffles, unsigned nMask) {
  return _mm_shuffle_epi8(arrBytes, load(aShuffles[nMask].data()));
}

// --- From UTF-8. ---

constexpr std::ptrdiff_t kBlock = 16;
constexpr std::ptrdiff_t kSeen = kBlock + 2;        // bytes that a block looks at
constexpr std::ptrdiff_t kAsciiBlock = 4 * kBlock;  // bytes that are tested for ASCII at once

struct Block {
  __m128i arrLow;  // the units, low and high bytes apart
  __m128i arrHigh;
  unsigned nStarts;    // where characters begin
  unsigned nExpected;  // where continuation bytes must be; two bits more than the block has bytes
  unsigned nBad;       // where that, or anything else, is not as it must be
};

// The bytes, those one place on and those two places on.
TARNY_WITH_SHUFFLE inline Block decode(__m128i a, __m128i b, __m128i c, unsigned nCarry) {
  const __m128i isLead = isAtLeast(a, 0xC0);
  const __m128i isThree = isAtLeast(a, 0xE0);
  const unsigned nContinued = (bits(a) & ~bits(isLead)) | bits(_mm_cmplt_epi8(c, bytes(0xC0))) << 2;

  // A unit is four bits of a (of three bytes only), then four and two of x, then six of y.
  const __m128i x = choose(isThree, b, a);
  const __m128i y = choose(isThree, c, b);
  const __m128i arrLow =
      _mm_or_si128(_mm_and_si128(_mm_slli_epi16(x, 6), bytes(0xC0)), _mm_and_si128(y, bytes(0x3F)));
  const __m128i arrTop = _mm_and_si128(_mm_and_si128(_mm_slli_epi16(a, 4), bytes(0xF0)), isThree);
  const __m128i arrHigh = _mm_or_si128(_mm_srli_epi16(_mm_and_si128(x, bytes(0x3C)), 2), arrTop);

  Block objBlock;
  objBlock.arrLow = choose(isLead, arrLow, a);
  objBlock.arrHigh = _mm_and_si128(isLead, arrHigh);
  objBlock.nStarts = ~nContinued & 0xFFFF;
  objBlock.nExpected = bits(isLead) << 1 | bits(isThree) << 2 | nCarry;
  const __m128i isZero =
      _mm_cmpeq_epi8(_mm_or_si128(objBlock.arrLow, objBlock.arrHigh), _mm_setzero_si128());
  objBlock.nBad = ((objBlock.nExpected ^ nContinued) & 0xFFFF) |
                  (objBlock.nExpected & ~nContinued) | bits(isAtLeast(a, 0xF0)) |
                  (bits(isZero) & objBlock.nStarts);
  return objBlock;
}

// Writes the block's units at the places of nStarts.
TARNY_WITH_SHUFFLE inline void putUnits(const Block& objBlock, unsigned nStarts,
                                        unsigned char*& pOut) {
  const unsigned nFirst = nStarts & 0xFF;
  store(pOut, shuffle(_mm_unpacklo_epi8(objBlock.arrLow, objBlock.arrHigh), kKeepUnits, nFirst));
  pOut += 2 * count(nFirst);
  store(pOut,
        shuffle(_mm_unpackhi_epi8(objBlock.arrLow, objBlock.arrHigh), kKeepUnits, nStarts >> 8));
  pOut += 2 * count(nStarts >> 8);
}

// Writes the block's units up to the first character that is bad; returns where that begins.
TARNY_WITH_SHUFFLE std::ptrdiff_t putUntilBad(const Block& objBlock, unsigned char*& pOut) {
  auto nEnd = static_cast<unsigned>(std::countr_zero(objBlock.nBad));
  unsigned nStarts = objBlock.nStarts & ((1U << nEnd) - 1);
  if ((objBlock.nExpected >> nEnd & 1) != 0) {  // the character before is cut short
    nEnd = static_cast<unsigned>(std::bit_width(nStarts)) - 1;
    nStarts ^= 1U << nEnd;
  }
  putUnits(objBlock, nStarts, pOut);
  return nEnd;
}

// Widens kAsciiBlock bytes, if all are ASCII and none is NUL.
inline bool putAscii(const unsigned char* p, unsigned char*& pOut) {
  const __m128i aChars[] = {load(p), load(p + 16), load(p + 32), load(p + 48)};
  const __m128i arrAny =
      _mm_or_si128(_mm_or_si128(aChars[0], aChars[1]), _mm_or_si128(aChars[2], aChars[3]));
  const __m128i arrLeast =
      _mm_min_epu8(_mm_min_epu8(aChars[0], aChars[1]), _mm_min_epu8(aChars[2], aChars[3]));
  const __m128i arrZero = _mm_setzero_si128();
  if (bits(_mm_or_si128(arrAny, _mm_cmpeq_epi8(arrLeast, arrZero))) != 0) return false;
  for (const __m128i arrChars : aChars) {
    store(pOut, _mm_unpacklo_epi8(arrChars, arrZero));
    store(pOut + 16, _mm_unpackhi_epi8(arrChars, arrZero));
    pOut += 32;
  }
  return true;
}

// Writes the units of [p, pEnd), which has few bytes, from a block that ends with the text if the
// text is that long. Returns how far it came.
TARNY_WITH_SHUFFLE const unsigned char* putRest(const unsigned char* pStart, const unsigned char* p,
                                                const unsigned char* pEnd, unsigned char*& pOut) {
  std::array<unsigned char, kBlock> aCopy;
  const unsigned char* pBlock = p;
  if (pEnd - p < kBlock && pEnd - pStart >= kBlock) {
    pBlock = pEnd - kBlock;
  } else if (pEnd - p < kBlock) {
    aCopy = {};
    std::memcpy(aCopy.data(), p, static_cast<std::size_t>(pEnd - p));
    pBlock = aCopy.data();
  }
  const __m128i arrBytes = load(pBlock);
  Block objBlock = decode(arrBytes, _mm_srli_si128(arrBytes, 1), _mm_srli_si128(arrBytes, 2), 0);
  const std::ptrdiff_t nDone = pBlock == aCopy.data() ? 0 : p - pBlock;
  objBlock.nStarts &= ~0U << nDone;
  objBlock.nBad &= ~0U << nDone;
  if (objBlock.nBad != 0) return p + (putUntilBad(objBlock, pOut) - nDone);
  putUnits(objBlock, objBlock.nStarts, pOut);
  return p + (kBlock - nDone);
}

TARNY_WITH_SHUFFLE std::size_t fromUtf8ByShuffle(const unsigned char* const pStart,
                                                 const unsigned char* pEnd, unsigned char*& pOut) {
  const unsigned char* p = pStart;
  unsigned nCarry = 0;
  while (pEnd - p >= kSeen) {
    if (pEnd - p >= kAsciiBlock && putAscii(p, pOut)) {
      p += kAsciiBlock;
      continue;
    }
    const unsigned char* const pStop = p + std::min(pEnd - p - 2, kAsciiBlock);
    for (; pStop - p >= kBlock; p += kBlock) {
      const Block objBlock = decode(load(p), load(p + 1), load(p + 2), nCarry);
      if (objBlock.nBad != 0) {
        p += putUntilBad(objBlock, pOut);
        return static_cast<std::size_t>(p - pStart);
      }
      putUnits(objBlock, objBlock.nStarts, pOut);
      nCarry = objBlock.nExpected >> kBlock;
    }
  }
  return static_cast<std::size_t>(putRest(pStart, p + count(nCarry), pEnd, pOut) - pStart);
}

// --- To UTF-8. ---

constexpr std::ptrdiff_t kEightUnits = 16;  // bytes
constexpr std::ptrdiff_t kAsciiUnits = 64;  // bytes of units that are tested for ASCII at once

// Narrows kAsciiUnits bytes, if all their units are ASCII and none is 0.
TARNY_WITH_SHUFFLE inline bool narrowAscii(const unsigned char* p, unsigned char*& pOut) {
  const __m128i aUnits[] = {load(p), load(p + 16), load(p + 32), load(p + 48)};
  const __m128i arrAny =
      _mm_or_si128(_mm_or_si128(aUnits[0], aUnits[1]), _mm_or_si128(aUnits[2], aUnits[3]));
  const __m128i arrLeast =
      _mm_min_epu16(_mm_min_epu16(aUnits[0], aUnits[1]), _mm_min_epu16(aUnits[2], aUnits[3]));
  const __m128i isZero = _mm_cmpeq_epi16(arrLeast, _mm_setzero_si128());
  const __m128i arrBad = _mm_or_si128(_mm_and_si128(arrAny, units(0xFF80)), isZero);
  if (_mm_testz_si128(arrBad, arrBad) == 0) return false;
  store(pOut, _mm_packus_epi16(aUnits[0], aUnits[1]));
  store(pOut + 16, _mm_packus_epi16(aUnits[2], aUnits[3]));
  pOut += 32;
  return true;
}

// Four units, as four bytes each, of which nSecond and nThird tell the lengths.
TARNY_WITH_SHUFFLE inline void putBytes(__m128i arrFour, unsigned nSecond, unsigned nThird,
                                        unsigned char*& pOut) {
  store(pOut, shuffle(arrFour, kKeepBytes, nSecond | nThird << 4));
  pOut += 4 + count(nSecond) + count(nThird);
}

// A mask with a bit for each of eight units.
unsigned unitBits(__m128i arrTruth) { return bits(_mm_packs_epi16(arrTruth, _mm_setzero_si128())); }

TARNY_WITH_SHUFFLE std::size_t toUtf8ByShuffle(const unsigned char* const pStart,
                                               const unsigned char* pEnd, unsigned char*& pOut) {
  const __m128i arrZero = _mm_setzero_si128();
  const unsigned char* p = pStart;
  for (; pEnd - p >= kEightUnits; p += kEightUnits) {
    while (pEnd - p >= kAsciiUnits && narrowAscii(p, pOut)) p += kAsciiUnits;
    if (pEnd - p < kEightUnits) break;
    const __m128i u = load(p);
    const __m128i isOne = _mm_cmpeq_epi16(_mm_and_si128(u, units(0xFF80)), arrZero);
    const __m128i arrTop = _mm_and_si128(u, units(0xF800));
    const __m128i isShort = _mm_cmpeq_epi16(arrTop, arrZero);
    const unsigned nBad =
        unitBits(_mm_or_si128(_mm_cmpeq_epi16(arrTop, units(0xD800)), _mm_cmpeq_epi16(u, arrZero)));

    const __m128i arrSix = _mm_and_si128(u, units(0x3F));
    const __m128i arrTwo =
        _mm_or_si128(_mm_or_si128(_mm_slli_epi16(arrSix, 8), units(0x80C0)), _mm_srli_epi16(u, 6));
    const __m128i arrThree = _mm_or_si128(
        _mm_or_si128(_mm_and_si128(_mm_slli_epi16(u, 2), units(0x3F00)), _mm_srli_epi16(u, 12)),
        units(0x80E0));
    const __m128i arrFront = choose(isOne, u, choose(isShort, arrTwo, arrThree));
    const __m128i arrBack = _mm_or_si128(arrSix, units(0x80));
    const unsigned nSecond = ~unitBits(isOne) & 0xFF;
    const unsigned nThird = ~unitBits(isShort) & 0xFF;

    unsigned char* const pBlockOut = pOut;
    putBytes(_mm_unpacklo_epi16(arrFront, arrBack), nSecond & 0xF, nThird & 0xF, pOut);
    putBytes(_mm_unpackhi_epi16(arrFront, arrBack), nSecond >> 4, nThird >> 4, pOut);
    if (nBad == 0) continue;
    const auto nGood = static_cast<unsigned>(std::countr_zero(nBad));
    const unsigned nMask = (1U << nGood) - 1;
    pOut = pBlockOut + nGood + count(nSecond & nMask) + count(nThird & nMask);
    p += 2 * nGood;
    break;
  }
  return static_cast<std::size_t>(p - pStart);
}

const bool g_bCanShuffle = __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt");

}  // namespace

std::size_t fromUtf8(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut) {
  return g_bCanShuffle ? fromUtf8ByShuffle(p, pEnd, pOut) : 0;
}

std::size_t toUtf8(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut) {
  return g_bCanShuffle ? toUtf8ByShuffle(p, pEnd, pOut) : 0;
}

#else

std::size_t fromUtf8(const unsigned char*, const unsigned char*, unsigned char*&) { return 0; }
std::size_t toUtf8(const unsigned char*, const unsigned char*, unsigned char*&) { return 0; }

#endif

}  // namespace mail::unit_runs
