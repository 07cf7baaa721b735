#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <type_traits>

#include "base/DataBuffer.h"
#include "charset/AsciiRuns.h"
#include "charset/ConvertRuns.h"
#include "charset/SourcesAndSinks.h"

// The loop of the conversion engine, for any source and any sink, in one pass and without a text in
// between. It takes runs where there are any for the two, copies stretches of ASCII whole where
// both sides agree on ASCII, and takes one character at a time for the rest.
namespace mail::convert_loops {

// Bytes of input for which room is made at once. Where the loop may stop at every character, each
// start asks for room again: little of it, so that the buffer is not grown each time.
inline constexpr std::size_t kBlock = 32 * 1024;
inline constexpr std::size_t kStoppingBlock = 1024;

// How far the loop came: to the end, to an unmappable piece, or out of memory.
enum class Stop { kAtEnd, kAtMissing, kNoMemory };

template <class Source, class Sink>
std::size_t copyAscii(const Source&, const Sink&, const unsigned char* p, const unsigned char* pEnd,
                      unsigned char*& pOut) {
  constexpr bool kWideSink = std::is_same_v<Sink, UnitSink>;
  if constexpr (Source::kWide) {
    return 2 * ascii_runs::narrow(p, pEnd, pOut);
  } else if constexpr (kWideSink) {
    return ascii_runs::widen(p, pEnd, pOut);
  } else {
    return ascii_runs::copyBytes(p, pEnd, pOut);
  }
}

template <class Source>
bool startsAscii(const unsigned char* p) {
  if constexpr (Source::kWide) return ascii_runs::isAscii(readUnit(p));
  return ascii_runs::isAscii(*p);
}

// Converts from p on, appending to out. With kStopAtMissing it ends before the first piece that
// does not map, with p there and its length in nMissing; without, such pieces are left out and
// noted in objFaults.
template <bool kStopAtMissing, class Source, class Sink>
Stop convertLoop(const Source& objSource, const Sink& objSink, const unsigned char*& p,
                 const unsigned char* pEnd, DataBuffer& out, Faults& objFaults,
                 std::size_t& nMissing) {
  const bool bAscii = objSource.isAscii() && objSink.isAscii();
  while (p < pEnd) {
    const std::size_t nBlock = std::min<std::size_t>(kStopAtMissing ? kStoppingBlock : kBlock,
                                                     static_cast<std::size_t>(pEnd - p));
    const std::size_t nChars = Source::kWide ? nBlock / 2 : nBlock;
    unsigned char* const pStart =
        out.prepare(nChars * Sink::kMaxBytes + Sink::kMaxBytes + ascii_runs::kAsciiSlack);
    if (pStart == nullptr) return Stop::kNoMemory;
    unsigned char* pOut = pStart;
    const unsigned char* const pBlockEnd = p + nBlock;
    while (p < pBlockEnd) {
      if constexpr (!kStopAtMissing) {
        takeRun(objSource, objSink, p, pBlockEnd, pOut, objFaults);
        if (p == pBlockEnd) break;
      }
      if (bAscii && startsAscii<Source>(p)) {
        p += copyAscii(objSource, objSink, p, pBlockEnd, pOut);
        continue;
      }
      const Taken objTaken = objSource.take(p, pEnd);
      const bool bRead = objTaken.nChar != kMissing;
      if (!bRead || !objSink.put(objTaken.nChar, pOut)) {
        (bRead ? objFaults.bSink : objFaults.bSource) = true;
        if constexpr (kStopAtMissing) {
          nMissing = std::min(objTaken.nBytes, static_cast<std::size_t>(pEnd - p));
          out.commit(static_cast<std::size_t>(pOut - pStart));
          return Stop::kAtMissing;
        }
      }
      p += objTaken.nBytes;
    }
    out.commit(static_cast<std::size_t>(pOut - pStart));
  }
  return Stop::kAtEnd;
}

// The whole of a text, without what does not map; false for want of memory.
template <class Source, class Sink>
bool convertAll(const Source& objSource, const Sink& objSink, std::span<const unsigned char> arrIn,
                DataBuffer& out, Faults& objFaults) {
  const unsigned char* p = arrIn.data();
  std::size_t nMissing = 0;
  return convertLoop</*kStopAtMissing=*/false>(objSource, objSink, p, p + arrIn.size(), out,
                                               objFaults, nMissing) == Stop::kAtEnd;
}

}  // namespace mail::convert_loops
