#include "charset/UtfForms.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "charset/ConvertLoops.h"
#include "charset/UnitRuns.h"

namespace mail::utf_forms {
namespace {

using convert_loops::kBlock;
using convert_loops::putThreeBytes;
using convert_loops::putUtf8Unit;
using convert_loops::readUnit;

constexpr std::uint32_t kLastCharacter = 0x10FFFF;

bool isHighSurrogate(std::uint32_t nUnit) { return (nUnit & 0xFC00) == 0xD800; }
bool isLowSurrogate(std::uint32_t nUnit) { return (nUnit & 0xFC00) == 0xDC00; }

void putFourBytes(std::uint32_t nChar, unsigned char*& pOut) {
  *pOut++ = static_cast<unsigned char>(0xF0 | nChar >> 18);
  *pOut++ = static_cast<unsigned char>(0x80 | (nChar >> 12 & 0x3F));
  *pOut++ = static_cast<unsigned char>(0x80 | (nChar >> 6 & 0x3F));
  *pOut++ = static_cast<unsigned char>(0x80 | (nChar & 0x3F));
}

// The unit at p, which is a high surrogate, and the one behind it; returns the bytes taken.
std::size_t putSurrogates(const unsigned char* p, const unsigned char* pEnd, bool bJoin,
                          unsigned char*& pOut) {
  const std::uint32_t nHigh = readUnit(p);
  if (pEnd - p < 4) {
    putThreeBytes(nHigh, pOut);
    return 2;
  }
  const std::uint32_t nNext = readUnit(p + 2);
  if (bJoin && isLowSurrogate(nNext)) {
    putFourBytes(0x10000 + ((nHigh - 0xD800) << 10) + (nNext - 0xDC00), pOut);
  } else {
    putThreeBytes(nHigh, pOut);
    if (nNext != 0) putThreeBytes(nNext, pOut);  // U+0000 does not pass in any form
  }
  return 4;
}

std::uint32_t readUtf32(const unsigned char* p, bool bBigEndian) {
  if (bBigEndian) {
    return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
  }
  return std::uint32_t{p[3]} << 24 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[1]} << 8 | p[0];
}

void putUtf32(std::uint32_t nChar, bool bBigEndian, unsigned char*& pOut) {
  for (unsigned n = 0; n < 4; ++n) {
    *pOut++ = static_cast<unsigned char>(nChar >> 8 * (bBigEndian ? 3 - n : n));
  }
}

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kDirect =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789'(),-./:? \t\r\n";
constexpr unsigned char kNone = 0xFF;

constexpr std::array<unsigned char, 256> kBase64Values = [] {
  std::array<unsigned char, 256> aValues{};
  aValues.fill(kNone);
  for (std::size_t n = 0; n < kBase64.size(); ++n) {
    aValues[static_cast<unsigned char>(kBase64[n])] = static_cast<unsigned char>(n);
  }
  return aValues;
}();

constexpr std::array<bool, 256> kIsDirect = [] {
  std::array<bool, 256> aIs{};
  for (const char ch : kDirect) aIs[static_cast<unsigned char>(ch)] = true;
  return aIs;
}();

bool isDirect(std::uint32_t nUnit) { return nUnit < 0x80 && kIsDirect[nUnit]; }

// The units of [p, pEnd) as a shifted run.
void putShifted(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut) {
  *pOut++ = '+';
  std::uint32_t nBits = 0;  // the lowest nHeld are not yet written
  unsigned nHeld = 0;
  for (; p < pEnd; p += 2) {
    nBits = nBits << 16 | readUnit(p);
    for (nHeld += 16; nHeld >= 6;) {
      nHeld -= 6;
      *pOut++ = static_cast<unsigned char>(kBase64[nBits >> nHeld & 0x3F]);
    }
  }
  if (nHeld > 0) *pOut++ = static_cast<unsigned char>(kBase64[nBits << (6 - nHeld) & 0x3F]);
  *pOut++ = '-';
}

// Reads a shifted run, whose "+" is taken, up to its end; what ends it is taken if it is a "-".
const unsigned char* takeShifted(const unsigned char* p, const unsigned char* pEnd,
                                 unsigned char*& pOut) {
  if (p < pEnd && *p == '-') {
    convert_loops::writeUnit(pOut, '+');
    return p + 1;
  }
  std::uint32_t nBits = 0;
  unsigned nHeld = 0;
  for (; p < pEnd && kBase64Values[*p] != kNone; ++p) {
    nBits = nBits << 6 | kBase64Values[*p];
    nHeld += 6;
    if (nHeld < 16) continue;
    nHeld -= 16;
    convert_loops::writeUnit(pOut, nBits >> nHeld);
  }
  return p < pEnd && *p == '-' ? p + 1 : p;
}

}  // namespace

bool unitsToUtf8(Bytes arrUnits, bool bJoin, DataBuffer& out) {
  const unsigned char* p = arrUnits.data();
  const unsigned char* const pEnd = p + arrUnits.size();
  while (pEnd - p >= 2) {
    const auto nBlock = std::min<std::size_t>(kBlock, static_cast<std::size_t>(pEnd - p));
    // Three bytes a unit, and a pair that crosses the block's end.
    unsigned char* const pStart = out.prepare(nBlock / 2 * 3 + 6 + ascii_runs::kAsciiSlack);
    if (pStart == nullptr) return false;
    unsigned char* pOut = pStart;
    const unsigned char* const pBlockEnd = p + (nBlock & ~std::size_t{1});
    while (p < pBlockEnd) {
      p += unit_runs::toUtf8(p, pBlockEnd, pOut);
      if (p == pBlockEnd) break;
      const std::uint32_t nUnit = readUnit(p);
      if (ascii_runs::isAscii(nUnit)) {
        p += 2 * ascii_runs::narrow(p, pBlockEnd, pOut);
      } else if (isHighSurrogate(nUnit)) {
        p += putSurrogates(p, pEnd, bJoin, pOut);
      } else {
        putUtf8Unit(nUnit, pOut);
        p += 2;
      }
    }
    out.commit(static_cast<std::size_t>(pOut - pStart));
  }
  return true;
}

bool utf32ToUtf8(Bytes arrUtf32, bool bBigEndian, DataBuffer& out, bool& bMissing) {
  const std::size_t nChars = arrUtf32.size() / 4;
  unsigned char* const pStart = out.prepare(nChars * 4);
  if (pStart == nullptr) return false;
  unsigned char* pOut = pStart;
  for (std::size_t n = 0; n < nChars; ++n) {
    const std::uint32_t nChar = readUtf32(arrUtf32.data() + 4 * n, bBigEndian);
    if (nChar == 0 || nChar > kLastCharacter) {
      bMissing = true;
    } else if (nChar > 0xFFFF) {
      putFourBytes(nChar, pOut);
    } else {
      putUtf8Unit(nChar, pOut);
    }
  }
  out.commit(static_cast<std::size_t>(pOut - pStart));
  return true;
}

bool utf8ToUtf32(Bytes arrUtf8, bool bBigEndian, DataBuffer& out, bool& bMissing) {
  const unsigned char* p = arrUtf8.data();
  const unsigned char* const pEnd = p + arrUtf8.size();
  while (p < pEnd) {
    const auto nBlock = std::min<std::size_t>(kBlock, static_cast<std::size_t>(pEnd - p));
    unsigned char* const pStart = out.prepare(nBlock * 4);
    if (pStart == nullptr) return false;
    unsigned char* pOut = pStart;
    for (const unsigned char* const pBlockEnd = p + nBlock; p < pBlockEnd;) {
      const convert_loops::Taken objTaken = convert_loops::Utf8Source::take(p, pEnd);
      const std::uint32_t nChar = objTaken.nChar & ~convert_loops::kFourByteForm;
      p += objTaken.nBytes;
      if (nChar > kLastCharacter) {  // kMissing is one of these
        bMissing = true;
      } else {
        putUtf32(nChar, bBigEndian, pOut);
      }
    }
    out.commit(static_cast<std::size_t>(pOut - pStart));
  }
  return true;
}

bool unitsToUtf7(Bytes arrUnits, DataBuffer& out) {
  const unsigned char* p = arrUnits.data();
  const unsigned char* const pEnd = p + (arrUnits.size() & ~std::size_t{1});
  if (pEnd - p >= 2 && readUnit(p) == 0xFEFF) p += 2;
  // A lone character takes five bytes, and at most every second one stands alone.
  unsigned char* const pStart = out.prepare(static_cast<std::size_t>(pEnd - p) * 3 + 8);
  if (pStart == nullptr) return false;
  unsigned char* pOut = pStart;
  while (p < pEnd) {
    if (isDirect(readUnit(p))) {
      *pOut++ = *p;
      p += 2;
      continue;
    }
    const unsigned char* pRunEnd = p + 2;
    while (pRunEnd < pEnd && !isDirect(readUnit(pRunEnd))) pRunEnd += 2;
    if (pRunEnd - p == 2 && readUnit(p) == '+') {
      *pOut++ = '+';
      *pOut++ = '-';
    } else {
      putShifted(p, pRunEnd, pOut);
    }
    p = pRunEnd;
  }
  out.commit(static_cast<std::size_t>(pOut - pStart));
  return true;
}

bool utf7ToUnits(Bytes arrUtf7, DataBuffer& out) {
  const unsigned char* p = arrUtf7.data();
  const unsigned char* const pEnd = p + arrUtf7.size();
  unsigned char* const pStart = out.prepare(2 * arrUtf7.size());
  if (pStart == nullptr) return false;
  unsigned char* pOut = pStart;
  while (p < pEnd) {
    const unsigned char ch = *p++;
    if (ch == '+') {
      p = takeShifted(p, pEnd, pOut);
    } else {
      convert_loops::writeUnit(pOut, ch);
    }
  }
  out.commit(static_cast<std::size_t>(pOut - pStart));
  return true;
}

void swapPairs(unsigned char* pBytes, std::size_t nPairs) {
  for (std::size_t n = 0; n < nPairs; ++n) std::swap(pBytes[2 * n], pBytes[2 * n + 1]);
}

}  // namespace mail::utf_forms
