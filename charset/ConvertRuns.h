#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "charset/AsciiRuns.h"
#include "charset/SourcesAndSinks.h"
#include "charset/UnitRuns.h"

// Runs: loops for the pairings that mail is full of, which take many characters at a time and leave
// what is odd to the loop that takes one. Words are short and blanks stand between them, so what
// costs time is not the work on a character but the guess which kind of character comes next: as
// far as it goes, the runs do the same for all kinds and choose by arithmetic or by a table.
//
// takeRun takes what it can of [p, pEnd), which may be nothing, moves p and pOut on, and notes what
// it left out. It is only for conversions that leave out what does not map. It may write a little
// past the end, but stays in the room that convertLoop makes.
namespace mail::convert_loops {

struct Faults {
  bool bSource = false;  // bytes without meaning
  bool bSink = false;    // a character that the target lacks
};

// A run of a single-byte page asks for ASCII that many bytes at a time; one of UTF-8 to a page goes
// on while so many of them are of 0x80 and more.
inline constexpr std::ptrdiff_t kRunBlock = ascii_runs::kLook;
inline constexpr int kDense = 10;
inline constexpr std::ptrdiff_t kStagedBytes = 256;  // of UTF-8, that become units at once

template <class Source, class Sink>
void takeRun(const Source&, const Sink&, const unsigned char*&, const unsigned char*,
             unsigned char*&, Faults&) {}

inline void takeRun(const Utf8Source&, const UnitSink&, const unsigned char*& p,
                    const unsigned char* pEnd, unsigned char*& pOut, Faults&) {
  p += unit_runs::fromUtf8(p, pEnd, pOut);
}

// Calls put for each byte of [p, pEnd), but takes blocks of ASCII whole by copyAscii.
template <class CopyAscii, class Put>
void forBytes(bool bAscii, const unsigned char*& p, const unsigned char* pEnd, CopyAscii copyAscii,
              Put put) {
  const unsigned char* pFrom = p;
  while (pEnd - pFrom >= kRunBlock) {
    if (bAscii && ascii_runs::isAsciiBlock(pFrom)) {
      pFrom += copyAscii(pFrom);
      continue;
    }
    for (std::ptrdiff_t n = 0; n < kRunBlock; ++n) put(pFrom[n]);
    pFrom += kRunBlock;
  }
  while (pFrom < pEnd) put(*pFrom++);
  p = pFrom;
}

// The bytes of each character lie ready in a table and are written as four, of which some count.
inline void takeRun(const SingleSource& objSource, const Utf8Sink&, const unsigned char*& p,
                    const unsigned char* pEnd, unsigned char*& pOut, Faults& objFaults) {
  const UnicodeLookup::Utf8Table& aUtf8 = objSource.objTable.utf8();
  std::uint32_t nSeen = 0;
  unsigned char* pTo = pOut;
  forBytes(
      objSource.isAscii(), p, pEnd,
      [&](const unsigned char* pFrom) { return ascii_runs::copyBytes(pFrom, pEnd, pTo); },
      [&](unsigned char ch) {
        const std::uint32_t nPacked = aUtf8[ch];
        std::memcpy(pTo, &nPacked, sizeof nPacked);
        pTo += nPacked >> 24 & 3;
        nSeen |= nPacked;
      });
  if ((nSeen & UnicodeLookup::kNoUtf8) != 0) objFaults.bSource = true;
  pOut = pTo;
}

// Likewise as a unit, of which both bytes count or none.
inline void takeRun(const SingleSource& objSource, const UnitSink&, const unsigned char*& p,
                    const unsigned char* pEnd, unsigned char*& pOut, Faults& objFaults) {
  bool bAll = true;
  unsigned char* pTo = pOut;
  forBytes(
      objSource.isAscii(), p, pEnd,
      [&](const unsigned char* pFrom) { return ascii_runs::widen(pFrom, pEnd, pTo); },
      [&](unsigned char ch) {
        const std::uint16_t nUnit = objSource.objTable.unit(ch);
        const bool bThere = (nUnit != 0) | (ch == 0);
        std::memcpy(pTo, &nUnit, sizeof nUnit);
        pTo += bThere ? sizeof nUnit : 0;
        bAll &= bThere;
      });
  if (!bAll) objFaults.bSource = true;
  pOut = pTo;
}

// Pairs whose characters take three bytes of UTF-8.
inline void takeRun(const PairSource& objSource, const Utf8Sink&, const unsigned char*& p,
                    const unsigned char* pEnd, unsigned char*& pOut, Faults&) {
  const unsigned char* pFrom = p;
  unsigned char* pTo = pOut;
  while (pEnd - pFrom >= 2 && *pFrom >= 0x80) {
    const std::uint32_t nUnit =
        objSource.objReader.lookup(static_cast<std::uint16_t>(pFrom[0] << 8 | pFrom[1]));
    if (nUnit < 0x800) break;
    const std::uint32_t nPacked =
        0x8080E0 | nUnit >> 12 | (nUnit << 2 & 0x3F00) | (nUnit & 0x3F) << 16;
    std::memcpy(pTo, &nPacked, sizeof nPacked);
    pTo += 3;
    pFrom += 2;
  }
  p = pFrom;
  pOut = pTo;
}

// In two steps over a small array of units, where the text is dense with other characters than
// ASCII.
inline void takeRun(const Utf8Source&, const TableSink& objSink, const unsigned char*& p,
                    const unsigned char* pEnd, unsigned char*& pOut, Faults& objFaults) {
  std::array<unsigned char, 2 * kStagedBytes + unit_runs::kSlack> aUnits;
  while (pEnd - p >= kRunBlock && *p >= 0x80 && ascii_runs::countHigh(p) >= kDense) {
    unsigned char* pUnits = aUnits.data();
    const std::ptrdiff_t nStaged = std::min(pEnd - p, kStagedBytes);
    const std::size_t nTaken = unit_runs::fromUtf8(p, p + nStaged, pUnits);
    if (nTaken == 0) return;
    p += nTaken;
    if (!objSink.putUnits(aUnits.data(), pUnits, pOut)) objFaults.bSink = true;
  }
}

}  // namespace mail::convert_loops
