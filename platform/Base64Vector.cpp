#include "platform/Base64Vector.h"

#include <array>
#include <bit>
#include <cstdint>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#define TARNY_AVX2 __attribute__((target("avx2")))
#endif

// A register holds two halves that shuffles do not cross, so both directions work on 12 bytes or 16
// characters in each half.
//
// Which characters are in the alphabet is asked with two look-ups of 16 entries: the upper four
// bits of a character name the one class that it could belong to, the lower four bits the classes
// that have a character at that place. It belongs when the two have a class in common. Inside a
// class the value is the character plus a constant, again looked up by the upper four bits; "/"
// shares those with "+" and takes the unused entry in front.
namespace platform::base64_vector {

#if defined(TARNY_AVX2)

namespace {

using Table = std::array<std::uint8_t, 32>;  // 16 entries, for each half

constexpr std::uint8_t kPlusAndSlash = 1, kDigits = 2, kFirstLetters = 4, kLastLetters = 8;

constexpr std::array<std::uint8_t, 16> kClassOfHigh = {
    0, 0, kPlusAndSlash, kDigits, kFirstLetters, kLastLetters, kFirstLetters, kLastLetters};

constexpr std::uint8_t ClassOf(unsigned ch) {
  const bool bIn = (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z') ||
                   (ch >= '0' && ch <= '9') || ch == '+' || ch == '/';
  return bIn ? kClassOfHigh[ch >> 4] : 0;
}

constexpr Table Twice(const std::array<std::uint8_t, 16>& arrHalf) {
  Table arrTable{};
  for (size_t i = 0; i < 32; ++i) arrTable[i] = arrHalf[i % 16];
  return arrTable;
}

constexpr Table MakeClassesOfLow() {
  std::array<std::uint8_t, 16> arrHalf{};
  for (unsigned ch = 0; ch < 128; ++ch) arrHalf[ch % 16] |= ClassOf(ch);
  return Twice(arrHalf);
}

alignas(32) constexpr Table kHigh = Twice(kClassOfHigh);
alignas(32) constexpr Table kLow = MakeClassesOfLow();
alignas(32) constexpr Table kToValue = Twice({0, 63 - '/', 62 - '+', 52 - '0',
                                              static_cast<std::uint8_t>(-'A'),
                                              static_cast<std::uint8_t>(-'A'),
                                              static_cast<std::uint8_t>(26 - 'a'),
                                              static_cast<std::uint8_t>(26 - 'a')});
static_assert(63 - '/' == 16 && 62 - '+' == 19 && 52 - '0' == 4);

// Four bytes of 24 bits, most significant last, to three bytes in order.
alignas(32) constexpr Table kToBytes = Twice({2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 0x80, 0x80,
                                              0x80, 0x80});
// Three bytes b0 b1 b2 to b1 b0 b2 b1, where every six bits lie inside one 16-bit unit.
alignas(32) constexpr Table kToGroups = Twice({1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10});
// By kind of value: letters a to z, the ten digits, "+", "/", letters A to Z.
alignas(32) constexpr Table kToChar =
    Twice({'a' - 26, static_cast<std::uint8_t>('0' - 52), static_cast<std::uint8_t>('0' - 52),
           static_cast<std::uint8_t>('0' - 52), static_cast<std::uint8_t>('0' - 52),
           static_cast<std::uint8_t>('0' - 52), static_cast<std::uint8_t>('0' - 52),
           static_cast<std::uint8_t>('0' - 52), static_cast<std::uint8_t>('0' - 52),
           static_cast<std::uint8_t>('0' - 52), static_cast<std::uint8_t>('0' - 52),
           static_cast<std::uint8_t>('+' - 62), static_cast<std::uint8_t>('/' - 63), 'A'});

bool HasAvx2() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") != 0;
}

// Until it is set, the slow way is taken.
const bool g_bAvx2 = HasAvx2();

TARNY_AVX2 inline __m256i Load(const Table& arrTable) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(arrTable.data()));
}

TARNY_AVX2 inline __m256i ToChars(__m256i nBytes) {
  const __m256i nGroups = _mm256_shuffle_epi8(nBytes, Load(kToGroups));
  // Multiplication moves the first and third six bits down, the second and fourth up.
  const __m256i nOdd = _mm256_mulhi_epu16(_mm256_and_si256(nGroups, _mm256_set1_epi32(0x0FC0FC00)),
                                          _mm256_set1_epi32(0x04000040));
  const __m256i nEven = _mm256_mullo_epi16(_mm256_and_si256(nGroups, _mm256_set1_epi32(0x003F03F0)),
                                           _mm256_set1_epi32(0x01000010));
  const __m256i nValues = _mm256_or_si256(nOdd, nEven);
  // 0 to 51 become kind 0, 52 to 63 the kinds 1 to 12; then 0 to 25 are told apart as kind 13.
  const __m256i nUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), nValues);
  const __m256i nKinds = _mm256_or_si256(_mm256_subs_epu8(nValues, _mm256_set1_epi8(51)),
                                         _mm256_and_si256(nUpper, _mm256_set1_epi8(13)));
  return _mm256_add_epi8(nValues, _mm256_shuffle_epi8(Load(kToChar), nKinds));
}

TARNY_AVX2 size_t EncodeAvx2(const unsigned char* pBytes, size_t nBytes, char* pOut) {
  size_t nDone = 0;
  for (; nBytes - nDone >= 28; nDone += 24, pOut += 32) {  // the upper half reads 4 bytes more
    const auto* pLow = reinterpret_cast<const __m128i*>(pBytes + nDone);
    const auto* pHigh = reinterpret_cast<const __m128i*>(pBytes + nDone + 12);
    const __m256i nBlock = _mm256_set_m128i(_mm_loadu_si128(pHigh), _mm_loadu_si128(pLow));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pOut), ToChars(nBlock));
  }
  return nDone;
}

TARNY_AVX2 inline __m256i ToBytes(__m256i nValues) {
  // Two values of 6 bits to 12 bits, two of those to 24.
  const __m256i nPairs = _mm256_maddubs_epi16(nValues, _mm256_set1_epi32(0x01400140));
  const __m256i nGroups = _mm256_madd_epi16(nPairs, _mm256_set1_epi32(0x00011000));
  const __m256i nHalves = _mm256_shuffle_epi8(nGroups, Load(kToBytes));
  return _mm256_permutevar8x32_epi32(nHalves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
}

TARNY_AVX2 size_t DecodeAvx2(const char* pChars, size_t nChars, unsigned char* pOut) {
  const __m256i nNibble = _mm256_set1_epi8(0x0F);
  for (size_t nDone = 0;; nDone += 32, pOut += 24) {
    if (nChars - nDone < 32) return nDone;
    const __m256i nBlock = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pChars + nDone));
    const __m256i nHigh = _mm256_and_si256(_mm256_srli_epi16(nBlock, 4), nNibble);
    const __m256i nClasses =
        _mm256_and_si256(_mm256_shuffle_epi8(Load(kHigh), nHigh),
                         _mm256_shuffle_epi8(Load(kLow), _mm256_and_si256(nBlock, nNibble)));
    const auto nOutside = static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(nClasses, _mm256_setzero_si256())));
    const __m256i nSlash = _mm256_cmpeq_epi8(nBlock, _mm256_set1_epi8('/'));
    const __m256i nShift = _mm256_shuffle_epi8(Load(kToValue), _mm256_add_epi8(nHigh, nSlash));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pOut), ToBytes(_mm256_add_epi8(nBlock, nShift)));
    // Groups in front of the first stranger are right whatever stands behind them.
    if (nOutside != 0) return nDone + static_cast<size_t>(std::countr_zero(nOutside)) / 4 * 4;
  }
}

}  // namespace

size_t Encode(const unsigned char* pBytes, size_t nBytes, char* pOut) {
  return g_bAvx2 ? EncodeAvx2(pBytes, nBytes, pOut) : 0;
}

size_t Decode(const char* pChars, size_t nChars, unsigned char* pOut) {
  return g_bAvx2 ? DecodeAvx2(pChars, nChars, pOut) : 0;
}

#else

size_t Encode(const unsigned char*, size_t, char*) { return 0; }
size_t Decode(const char*, size_t, unsigned char*) { return 0; }

#endif

}  // namespace platform::base64_vector
