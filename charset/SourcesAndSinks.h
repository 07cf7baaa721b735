#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "charset/HashConvert.h"
#include "charset/UnicodeLookup.h"

// The two ends of a conversion loop. A source takes one character at a time from the input, a sink
// writes it; ConvertLoops puts any of the one together with any of the other.
//
// A character is a Unicode unit, or (from UTF-8) a value above 0xFFFF. A source reads no byte at or
// behind pEnd and takes at least one; a sink writes at most kMaxBytes, into room that is there.
namespace mail::convert_loops {

inline constexpr std::uint32_t kMissing = 0xFFFFFFFF;       // there is no such character
inline constexpr std::uint32_t kFourByteForm = 0x80000000;  // flag: came as four bytes of UTF-8

struct Taken {
  std::size_t nBytes;
  std::uint32_t nChar;
};

inline std::uint16_t readUnit(const unsigned char* p) {
  std::uint16_t nUnit;
  std::memcpy(&nUnit, p, sizeof nUnit);
  return nUnit;
}

inline void writeUnit(unsigned char*& pOut, std::uint32_t nUnit) {
  const auto nStored = static_cast<std::uint16_t>(nUnit);
  std::memcpy(pOut, &nStored, sizeof nStored);
  pOut += sizeof nStored;
}

// --- Sources. ---

// A page of single bytes.
struct SingleSource {
  const UnicodeLookup& objTable;

  static constexpr bool kWide = false;
  bool isAscii() const { return objTable.isAscii(); }
  Taken take(const unsigned char* p, const unsigned char*) const {
    const std::uint32_t nUnit = objTable.unit(*p);
    return {1, nUnit != 0 || *p == 0 ? nUnit : kMissing};
  }
};

// A page that has pairs. What is missing takes nSkip bytes with it, where they are there.
struct PairSource {
  explicit PairSource(const HashConvert& table, std::size_t nSkipped = 1)
      : objTable(table), objReader(table.reader()), nSkip(nSkipped) {}

  const HashConvert& objTable;
  HashConvert::Reader objReader;
  std::size_t nSkip;

  static constexpr bool kWide = false;
  bool isAscii() const { return objTable.isAscii(); }
  Taken take(const unsigned char* p, const unsigned char* pEnd) const {
    const std::uint32_t ch = *p;
    if (ch < 0x80 && objTable.isAscii()) return {1, ch};
    if (pEnd - p > 1) {
      const std::uint32_t nUnit = objReader.lookup(static_cast<std::uint16_t>(ch << 8 | p[1]));
      if (nUnit != 0) return {2, nUnit};
      const std::uint32_t nSingle = objTable.single(*p);
      return nSingle != 0 ? Taken{1, nSingle} : Taken{nSkip, kMissing};
    }
    const std::uint32_t nSingle = objTable.single(*p);
    return {1, nSingle != 0 || ch == 0 ? nSingle : kMissing};
  }
};

// The length of a character of UTF-8 as its first byte claims it; a stray continuation byte claims
// two.
inline std::size_t claimedLength(std::uint32_t ch) {
  return ch < 0x80 ? 1 : (ch & 0x20) == 0 ? 2 : (ch & 0x10) == 0 ? 3 : 4;
}

// UTF-8, read by the bits of the lead byte alone. A value of 0 and a zero among the continuation
// bytes are missing; so is a character that the end cuts.
struct Utf8Source {
  static constexpr bool kWide = false;
  static constexpr bool isAscii() { return true; }
  static Taken take(const unsigned char* p, const unsigned char* pEnd) {
    const std::uint32_t ch = *p;
    if (ch < 0x80) return {1, ch != 0 ? ch : kMissing};
    const std::size_t nLength = claimedLength(ch);
    std::uint32_t nValue = ch & (0xFFU >> (nLength + 1));
    const auto nLeft = static_cast<std::size_t>(pEnd - p);
    for (std::size_t n = 1; n < nLength; ++n) {
      if (n >= nLeft) return {n, kMissing};
      if (p[n] == 0) return {n + 1, kMissing};
      nValue = nValue << 6 | (p[n] & 0x3FU);
    }
    if (nValue == 0) return {nLength, kMissing};
    return {nLength, nLength == 4 ? nValue | kFourByteForm : nValue};
  }
};

// UTF-16 in host order; the input has an even number of bytes.
struct UnitSource {
  static constexpr bool kWide = true;
  static constexpr bool isAscii() { return true; }
  static Taken take(const unsigned char* p, const unsigned char*) { return {2, readUnit(p)}; }
};

// --- Sinks. False from put: the target lacks the character. ---

// The surrogates of a value from four bytes of UTF-8. The value may be out of range; then they are
// no valid pair, and nothing worse.
inline std::uint32_t highUnit(std::uint32_t nChar) { return 0xD7C0 + ((nChar & 0x1FFFFF) >> 10); }
inline std::uint32_t lowUnit(std::uint32_t nChar) { return 0xDC00 | (nChar & 0x3FF); }

struct UnitSink {
  static constexpr std::size_t kMaxBytes = 4;
  static constexpr bool isAscii() { return true; }
  static bool put(std::uint32_t nChar, unsigned char*& pOut) {
    if ((nChar & kFourByteForm) != 0) {
      writeUnit(pOut, highUnit(nChar));
      nChar = lowUnit(nChar);
    }
    writeUnit(pOut, nChar);
    return true;
  }
};

inline void putThreeBytes(std::uint32_t nUnit, unsigned char*& pOut) {
  *pOut++ = static_cast<unsigned char>(0xE0 | nUnit >> 12);
  *pOut++ = static_cast<unsigned char>(0x80 | (nUnit >> 6 & 0x3F));
  *pOut++ = static_cast<unsigned char>(0x80 | (nUnit & 0x3F));
}

// A unit in one to three bytes of UTF-8; U+0000 is left out.
inline void putUtf8Unit(std::uint32_t nUnit, unsigned char*& pOut) {
  if (nUnit < 0x80) {
    *pOut = static_cast<unsigned char>(nUnit);
    pOut += nUnit != 0 ? 1 : 0;
  } else if (nUnit < 0x800) {
    *pOut++ = static_cast<unsigned char>(0xC0 | nUnit >> 6);
    *pOut++ = static_cast<unsigned char>(0x80 | (nUnit & 0x3F));
  } else {
    putThreeBytes(nUnit, pOut);
  }
}

// UTF-8, for characters that are no surrogates.
struct Utf8Sink {
  static constexpr std::size_t kMaxBytes = 3;
  static constexpr bool isAscii() { return true; }
  static bool put(std::uint32_t nChar, unsigned char*& pOut) {
    putUtf8Unit(nChar, pOut);
    return true;
  }
};

// A page with a table, of single bytes or with pairs.
struct TableSink {
  const HashConvert& objTable;

  static constexpr std::size_t kMaxBytes = 2;
  bool isAscii() const { return objTable.isAscii(); }
  bool put(std::uint32_t nChar, unsigned char*& pOut) const {
    if ((nChar & kFourByteForm) != 0) return putPair(nChar, pOut);
    const std::uint32_t nCode = objTable.lookup(static_cast<std::uint16_t>(nChar));
    if (nCode > 0xFF) {
      *pOut++ = static_cast<unsigned char>(nCode >> 8);
      *pOut++ = static_cast<unsigned char>(nCode);
      return true;
    }
    *pOut = static_cast<unsigned char>(nCode);
    const bool bWritten = nCode != 0 || nChar == 0;
    pOut += bWritten ? 1 : 0;
    return bWritten;
  }

  // All of the units in [p, pEnd), none of which is 0, but those that are missing; false if any is.
  bool putUnits(const unsigned char* p, const unsigned char* pEnd, unsigned char*& pOut) const {
    const HashConvert::Reader objReader = objTable.reader();
    if (!objTable.hasPairs() && putSingles(objReader, p, pEnd, pOut)) return true;
    unsigned char* pTo = pOut;
    bool bAll = true;
    for (; p < pEnd; p += 2) {
      const std::uint32_t nCode = objReader.lookup(readUnit(p));
      // Without a branch: the high byte is written and kept if it is not 0, then the low one.
      *pTo = static_cast<unsigned char>(nCode >> 8);
      pTo += (nCode + 0xFF00) >> 16;
      *pTo = static_cast<unsigned char>(nCode);
      const unsigned nFirst = (nCode + 0xFFFF) >> 16;
      pTo += nFirst;
      bAll &= nFirst != 0;
    }
    pOut = pTo;
    return bAll;
  }

 private:
  // The same for values of one byte; false, and pOut stays, if any is missing.
  static bool putSingles(HashConvert::Reader objReader, const unsigned char* p,
                         const unsigned char* pEnd, unsigned char*& pOut) {
    unsigned char* const pStart = pOut;
    const auto nUnits = (pEnd - p) / 2;
    bool bAll = true;
    for (std::ptrdiff_t n = 0; n < nUnits; ++n) {
      const std::uint16_t nCode = objReader.lookup(readUnit(p + 2 * n));
      pStart[n] = static_cast<unsigned char>(nCode);
      bAll &= nCode != 0;
    }
    if (bAll) pOut += nUnits;
    return bAll;
  }

  bool putPair(std::uint32_t nChar, unsigned char*& pOut) const {
    const bool bHigh = put(highUnit(nChar) & 0xFFFF, pOut);
    const bool bLow = put(lowUnit(nChar), pOut);
    return bHigh && bLow;
  }
};

}  // namespace mail::convert_loops
