#include "platform/EndpointFrame.h"

#include <unistd.h>

#include <stdexcept>

#include "platform/Sha256.h"

namespace platform {
namespace {

constexpr size_t kKindOffset = 4;  // behind the payload's length

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
  const size_t nPayload = ReadLittleEndian<std::uint32_t>(objBytes, 0);
  const auto nKind = ReadLittleEndian<std::uint32_t>(objBytes, kKindOffset);
  if (nPayload > kMaxPayload || nPayload < FixedPart(nKind)) return FrameStatus::kMalformed;
  nSize = kFrameHeader + nPayload;
  return objBytes.size() < nSize ? FrameStatus::kNeedMore : FrameStatus::kFrame;
}

FrameStatus TakeFrame(std::vector<unsigned char>& arrBuffer, Frame& objFrame) {
  size_t nSize = 0;
  const FrameStatus eStatus = NextFrameSize(arrBuffer, nSize);
  if (eStatus != FrameStatus::kFrame) return eStatus;
  const auto itEnd = arrBuffer.begin() + static_cast<std::ptrdiff_t>(nSize);
  objFrame.eKind = static_cast<FrameKind>(ReadLittleEndian<std::uint32_t>(arrBuffer, kKindOffset));
  objFrame.arrPayload.assign(arrBuffer.begin() + kFrameHeader, itEnd);
  arrBuffer.erase(arrBuffer.begin(), itEnd);
  return eStatus;
}

std::vector<unsigned char> BuildFrame(FrameKind eKind, std::span<const unsigned char> objPayload) {
  if (objPayload.size() > kMaxPayload) throw std::length_error("a frame's payload is too long");
  std::vector<unsigned char> arrFrame;
  arrFrame.reserve(kFrameHeader + objPayload.size());
  AppendLittleEndian(arrFrame, static_cast<std::uint32_t>(objPayload.size()));
  AppendLittleEndian(arrFrame, static_cast<std::uint32_t>(eKind));
  arrFrame.insert(arrFrame.end(), objPayload.begin(), objPayload.end());
  return arrFrame;
}

std::string EndpointName(std::string_view strTitle) {
  return "tarny-" + std::to_string(geteuid()) + "-" + Sha256Hex(strTitle);
}

}  // namespace platform
