#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// The frames of the engine's command endpoint (docs/protocol.md). All integers are little-endian:
//
//   u32 length of the payload (at most kMaxPayload), u32 kind, payload
//
// A frame longer than the bound, of an unknown kind, or with a payload shorter than its kind's
// fixed part is malformed: the side that reads it closes that connection and touches nothing else.
namespace platform {

inline constexpr size_t kMaxPayload = 1024 * 1024;  // bytes
inline constexpr size_t kFrameHeader = 8;           // bytes

enum class FrameKind : std::uint32_t {
  kCopyData = 1,      // client: u32 dwData, u64 sender handle, bytes
  kClose = 2,         // client: nothing
  kNotifyResult = 3,  // client: i64 result
  kNotify = 4,        // engine: u32 message, bytes
  kResult = 5,        // engine: i32 result
};

struct Frame {
  FrameKind eKind = FrameKind::kClose;
  std::vector<unsigned char> arrPayload;
};

enum class FrameStatus { kFrame, kNeedMore, kMalformed };

// The size in bytes, header included, that the buffer must have for its first frame to be whole;
// that of a header while that is not there yet.
FrameStatus NextFrameSize(std::span<const unsigned char> objBytes, size_t& nSize);
// Takes the first frame off the front of arrBuffer when it is whole.
FrameStatus TakeFrame(std::vector<unsigned char>& arrBuffer, Frame& objFrame);
// Throws std::length_error for a payload over kMaxPayload.
std::vector<unsigned char> BuildFrame(FrameKind eKind, std::span<const unsigned char> objPayload);

// The name of the abstract socket that a title is served under, without its leading NUL: made from
// the user id and the SHA-256 of the title's bytes. strTitle is UTF-8.
std::string EndpointName(std::string_view strTitle);

// Integers as they stand in frames, the lowest byte first.
template <typename Integer>
void AppendLittleEndian(std::vector<unsigned char>& arr, Integer nValue) {
  const auto nBits = static_cast<std::make_unsigned_t<Integer>>(nValue);
  for (size_t i = 0; i < sizeof nBits; ++i) {
    arr.push_back(static_cast<unsigned char>(nBits >> (8 * i)));
  }
}

// The integer at an offset; the caller has checked that it is there.
template <typename Integer>
Integer ReadLittleEndian(std::span<const unsigned char> objBytes, size_t nOffset) {
  std::make_unsigned_t<Integer> nBits = 0;
  for (size_t i = sizeof nBits; i-- > 0;) {
    nBits = static_cast<decltype(nBits)>(nBits << 8 | objBytes[nOffset + i]);
  }
  return static_cast<Integer>(nBits);
}

}  // namespace platform
