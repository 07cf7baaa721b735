#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "base/DataBuffer.h"

struct z_stream_s;

namespace mail {

// The body of an answer that comes packed by gzip, in pieces: unpacked as they come, and held
// against its own checksum and length, so that one that was cut off does not pass for the whole.
class GzipBody {
 public:
  enum class Result { kGood, kBroken, kTooLarge, kNoMemory };

  GzipBody();
  ~GzipBody();
  GzipBody(const GzipBody&) = delete;
  GzipBody& operator=(const GzipBody&) = delete;

  // Appends what the piece holds to arrOut, which stays below nMaxBytes.
  Result add(std::string_view strPiece, DataBuffer& arrOut, std::uint64_t nMaxBytes);
  // Whether all of it came; an answer without a body is whole.
  bool isWhole() const { return m_nState != State::kWithin; }

 private:
  enum class State { kEmpty, kWithin, kBehind };

  Result unpack(DataBuffer& arrOut, std::uint64_t nMaxBytes);

  std::unique_ptr<z_stream_s> m_pStream;  // made with the first piece
  State m_nState = State::kEmpty;
};

}  // namespace mail
