#pragma once

#include <array>
#include <cstdint>

#include "body/rtf/Formats.h"

namespace rtf {

enum class PictureKind : std::uint8_t {
  kUnknown,
  kPng,
  kJpeg,
  kEmf,
  kWmf,
  kDib,
  kBitmap,
  kMacPicture
};

// What a \pict group says before its data.
struct PictureHeader {
  PictureKind eKind = PictureKind::kUnknown;
  int nWidth = 0;  // pixels of a bitmap, hundredths of a millimetre of a metafile
  int nHeight = 0;
  int nGoalWidth = 0;  // twips, before scaling
  int nGoalHeight = 0;
  int nScaleX = 100;  // percent
  int nScaleY = 100;
  std::array<int, kSides> arrCrop{};  // twips, by BorderSide; below 0 for room around it
  int nBitsPerPixel = 1;              // of a device bitmap
  int nPlanes = 1;
  int nRowBytes = 0;
};

}  // namespace rtf
