#pragma once

#include <cstddef>
#include <string_view>

#include "base/DataBuffer.h"
#include "platform/MemoryPages.h"

namespace mail {

// Bytes that are read once, from front to back, to become something else. Of a huge text both are
// most of what a mail takes in memory; so the bytes can be taken in pieces, and if nobody reads
// them again, the memory of each piece goes back to the system before the next one is read. The two
// never stand side by side whole then.
struct PassingBytes {
  static constexpr std::size_t kPiece = 256 * 1024;  // bytes, at least
  // A buffer from that size on comes from the system each time, so that it costs nothing to give it
  // back early; smaller ones are kept for the next mail by whoever allocates.
  static constexpr std::size_t kHuge = 32 * 1024 * 1024;  // bytes

  std::string_view strBytes;
  bool bGivenUp = false;  // huge, and nobody reads them again: what was taken loses its contents

  // The bytes of a buffer that nobody reads again.
  static PassingBytes lastOf(const DataBuffer& arrSource) {
    return {arrSource.view(), arrSource.getSize() >= kHuge};
  }

  // What is neither huge nor given up comes whole: room made for it once takes less time.
  bool comesInPieces() const { return bGivenUp || strBytes.size() >= kHuge; }

  // Hands out the bytes in pieces of kPiece and more, each but the last up to a line end of that
  // kind, until fnTake is false. A piece that was not taken keeps its contents.
  template <class Take>
  bool takeLines(std::string_view strLineEnd, Take fnTake) const {
    return takePieces(fnTake, [&](std::string_view strRest) {
      const std::size_t nFound = strRest.find(strLineEnd, kPiece - strLineEnd.size());
      return nFound == std::string_view::npos ? nFound : nFound + strLineEnd.size();
    });
  }
  // The same in pieces of a multiple of nBlock bytes each, but for the last.
  template <class Take>
  bool takeBlocks(std::size_t nBlock, Take fnTake) const {
    return takePieces(fnTake, [&](std::string_view) { return (kPiece / nBlock + 1) * nBlock; });
  }
  // The same with all of them at once.
  template <class Take>
  bool takeWhole(Take fnTake) const {
    return takePiece(strBytes, fnTake);
  }

 private:
  template <class Take, class FindEnd>
  bool takePieces(Take& fnTake, FindEnd fnFindEnd) const {
    for (std::string_view strRest = strBytes; !strRest.empty();) {
      const bool bLast = !comesInPieces() || strRest.size() <= kPiece;
      const std::string_view strPiece = bLast ? strRest : strRest.substr(0, fnFindEnd(strRest));
      if (!takePiece(strPiece, fnTake)) return false;
      strRest.remove_prefix(strPiece.size());
    }
    return true;
  }

  template <class Take>
  bool takePiece(std::string_view strPiece, Take& fnTake) const {
    if (!fnTake(strPiece)) return false;
    if (bGivenUp && strPiece.size() >= kPiece) {
      platform::GiveBackPages(strPiece.data(), strPiece.size());
    }
    return true;
  }
};

}  // namespace mail
