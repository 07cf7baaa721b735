#include "platform/EndpointFrame.h"

#include <unistd.h>

#include <stdexcept>

#include "platform/Sha256.h"

namespace platform {
namespace {

std::uint32_t ReadU32(const unsigned char* p) {
  return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
         static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

void AppendU32(std::vector<unsigned char>& arr, std::uint32_t nValue) {
  for (int i = 0; i < 32; i += 8) arr.push_back(static_cast<unsigned char>(nValue >> i));
}

// The least payload of a kind, in bytes; more than any payload may have for an unknown one.
size_t FixedPart(std::uint32_t nKind) {
  switch (static_cast<FrameKind>(nKind)) {
    case FrameKind::kCopyData:
      return 12;
    case FrameKind::kClose:
      return 0;
    case FrameKind::kNotifyResult:
      return 8;
    case FrameKind::kNotify:
    case FrameKind::kResult:
      return 4;
  }
  return kMaxPayload + 1;
}

}  // namespace

FrameStatus NextFrameSize(std::span<const unsigned char> objBytes, size_t& nSize) {
  nSize = kFrameHeader;
  if (objBytes.size() < kFrameHeader) return FrameStatus::kNeedMore;
  const size_t nPayload = ReadU32(objBytes.data());
  if (nPayload > kMaxPayload || nPayload < FixedPart(ReadU32(objBytes.data() + 4))) {
    return FrameStatus::kMalformed;
  }
  nSize = kFrameHeader + nPayload;
  return objBytes.size() < nSize ? FrameStatus::kNeedMore : FrameStatus::kFrame;
}

FrameStatus TakeFrame(std::vector<unsigned char>& arrBuffer, Frame& objFrame) {
  size_t nSize = 0;
  const FrameStatus eStatus = NextFrameSize(arrBuffer, nSize);
  if (eStatus != FrameStatus::kFrame) return eStatus;
  const auto itEnd = arrBuffer.begin() + static_cast<std::ptrdiff_t>(nSize);
  objFrame.eKind = static_cast<FrameKind>(ReadU32(arrBuffer.data() + 4));
  objFrame.arrPayload.assign(arrBuffer.begin() + kFrameHeader, itEnd);
  arrBuffer.erase(arrBuffer.begin(), itEnd);
  return eStatus;
}

std::vector<unsigned char> BuildFrame(FrameKind eKind, std::span<const unsigned char> objPayload) {
  if (objPayload.size() > kMaxPayload) throw std::length_error("a frame's payload is too long");
  std::vector<unsigned char> arrFrame;
  arrFrame.reserve(kFrameHeader + objPayload.size());
  AppendU32(arrFrame, static_cast<std::uint32_t>(objPayload.size()));
  AppendU32(arrFrame, static_cast<std::uint32_t>(eKind));
  arrFrame.insert(arrFrame.end(), objPayload.begin(), objPayload.end());
  return arrFrame;
}

std::string EndpointName(std::string_view strTitle) {
  return "tarny-" + std::to_string(geteuid()) + "-" + Sha256Hex(strTitle);
}

}  // namespace platform
