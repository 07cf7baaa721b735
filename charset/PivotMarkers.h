#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "base/DataBuffer.h"

namespace mail {

// A conversion by way of UTF-16 (the pivot) has two stages. What the first puts in place of the
// unmappable is bytes of the target, which the second must copy. They stand in the pivot behind
// markers:
//
//   FD EF  length (1 byte)  as many bytes, kMaxMarked at most
//
// A marker reads as U+EFFD, which text may hold (a user-defined character of 950). So the first
// stage counts what it wrote, and where it wrote none the second looks for none.
class PivotMarkers {
 public:
  static constexpr std::size_t kHeader = 3;  // bytes in front of the marked ones

  // Neither stage is on until one of these is called, and after end().
  void beginFirstStage() {
    m_nStage = Stage::kFirst;
    m_nMarkers = 0;
  }
  void beginSecondStage() { m_nStage = Stage::kSecond; }
  void end() { m_nStage = Stage::kNone; }

  // Appends bytes of the target: in the first stage behind markers, several for a long text.
  void put(std::string_view strBytes, DataBuffer& out);

  // Converts the input by fnConvert(span), whose result is false on failure, but in the second
  // stage the markers in it: their bytes are appended as they are. nLeast is how many bytes there
  // must be for a marker to be looked for. False when any of it failed.
  template <class Convert>
  bool honour(std::span<const unsigned char> arrIn, std::size_t nLeast, DataBuffer& out,
              Convert fnConvert);

 private:
  enum class Stage : std::uint8_t { kNone, kFirst, kSecond };

  static constexpr unsigned char kMarker[] = {0xFD, 0xEF};
  static constexpr std::size_t kMaxMarked = 5;

  static bool isMarker(const unsigned char* p) { return p[0] == kMarker[0] && p[1] == kMarker[1]; }

  Stage m_nStage = Stage::kNone;
  std::size_t m_nMarkers = 0;  // written by the first stage and not yet met by the second
};

template <class Convert>
bool PivotMarkers::honour(std::span<const unsigned char> arrIn, std::size_t nLeast, DataBuffer& out,
                          Convert fnConvert) {
  bool bResult = true;
  std::size_t nTextEnd = 0;
  while (m_nStage == Stage::kSecond && m_nMarkers > 0 && arrIn.size() - nTextEnd >= nLeast) {
    if (!isMarker(arrIn.data() + nTextEnd)) {
      nTextEnd += 2;
      continue;
    }
    --m_nMarkers;
    if (nTextEnd != 0) bResult = fnConvert(arrIn.first(nTextEnd)) && bResult;
    arrIn = arrIn.subspan(nTextEnd + kHeader);
    nTextEnd = 0;
    const std::size_t nLength = arrIn.data()[-1];
    if (nLength > kMaxMarked) continue;
    const std::size_t nMarked = std::min(nLength, arrIn.size());
    bResult = out.append(arrIn.data(), nMarked) && bResult;
    arrIn = arrIn.subspan(nMarked);
  }
  return (arrIn.empty() || fnConvert(arrIn)) && bResult;
}

}  // namespace mail
