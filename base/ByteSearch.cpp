#include "base/ByteSearch.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "base/AsciiText.h"

namespace mail::byte_search {
namespace {

// Bytes that failed comparisons may take before the search turns to one that never looks back: a
// fixed share, and one in so many of the bytes passed over.
constexpr std::size_t kFreeFailures = 256;
constexpr std::size_t kFailureShare = 8;

std::size_t commonLength(const char* p1, const char* p2, std::size_t nLength) {
  return static_cast<std::size_t>(std::mismatch(p1, p1 + nLength, p2).first - p1);
}

}  // namespace

std::size_t findPair(std::string_view strText, char ch1, char ch2, std::size_t nFrom) {
  const char* const p = strText.data();
  const std::size_t nSize = strText.size();
  std::size_t n = nFrom;
#if defined(__SSE2__)
  const __m128i arrFirst = _mm_set1_epi8(ch1);
  const __m128i arrSecond = _mm_set1_epi8(ch2);
  for (; n < nSize && nSize - n >= 17; n += 16) {
    const auto arr1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n));
    const auto arr2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n + 1));
    const __m128i arrHits =
        _mm_and_si128(_mm_cmpeq_epi8(arr1, arrFirst), _mm_cmpeq_epi8(arr2, arrSecond));
    const auto nHits = static_cast<unsigned>(_mm_movemask_epi8(arrHits));
    if (nHits != 0) return n + static_cast<std::size_t>(std::countr_zero(nHits));
  }
#endif
  for (; n < nSize && nSize - n >= 2; ++n) {
    if (p[n] == ch1 && p[n + 1] == ch2) return n;
  }
  return npos;
}

std::size_t findPattern(std::string_view strText, std::string_view strPattern, std::size_t nFrom) {
  std::size_t nFailed = 0;
  for (std::size_t n = nFrom;; ++n) {
    n = findPair(strText, strPattern[0], strPattern[1], n);
    if (n == npos || strText.size() - n < strPattern.size()) return npos;
    const std::size_t nSame =
        commonLength(strText.data() + n, strPattern.data(), strPattern.size());
    if (nSame == strPattern.size()) return n;
    nFailed += nSame;
    if (nFailed > kFreeFailures + (n - nFrom) / kFailureShare) {
      return findBytes(strText, strPattern, n + 1);
    }
  }
}

bool hasByteBetween(std::string_view strText, unsigned char chLow, unsigned char chHigh) {
  const unsigned nWidth = static_cast<unsigned>(chHigh) - chLow;
  std::size_t n = 0;
#if defined(__SSE2__)
  const __m128i arrLow = _mm_set1_epi8(static_cast<char>(chLow));
  const __m128i arrWidth = _mm_set1_epi8(static_cast<char>(nWidth));
  for (; strText.size() - n >= 16; n += 16) {
    const auto arr = _mm_loadu_si128(reinterpret_cast<const __m128i*>(strText.data() + n));
    const __m128i arrAbove = _mm_sub_epi8(arr, arrLow);
    const __m128i arrHits = _mm_cmpeq_epi8(_mm_min_epu8(arrAbove, arrWidth), arrAbove);
    if (_mm_movemask_epi8(arrHits) != 0) return true;
  }
#endif
  return std::any_of(strText.begin() + static_cast<std::ptrdiff_t>(n), strText.end(), [&](char ch) {
    return static_cast<unsigned char>(static_cast<unsigned char>(ch) - chLow) <= nWidth;
  });
}

bool is7bit(std::string_view strText) { return !hasByteBetween(strText, 0x80, 0xFF); }

bool isUtf8(std::string_view strText, bool bCut) {
  for (std::size_t n = 0; n < strText.size();) {
    const auto nLead = static_cast<unsigned char>(strText[n++]);
    if (nLead < 0x80) continue;
    if (nLead < 0xC2 || nLead > 0xF4) return false;
    for (int nMore = nLead < 0xE0 ? 1 : nLead < 0xF0 ? 2 : 3; nMore > 0; --nMore) {
      if (n == strText.size()) return bCut;
      if ((strText[n++] & 0xC0) != 0x80) return false;
    }
  }
  return true;
}

}  // namespace mail::byte_search
