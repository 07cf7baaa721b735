#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace rtf {

// The values are those of the format.
enum class PngColor : std::uint8_t { kGrey = 0, kRgb = 2, kPalette = 3, kRgba = 6 };

struct PngShape {
  std::uint32_t nWidth = 0;  // pixels, at least 1
  std::uint32_t nHeight = 0;
  std::uint8_t nBits = 8;  // of a sample
  PngColor eColor = PngColor::kRgb;
  std::vector<std::uint8_t> arrPalette{};  // red, green, blue of each colour; 1 to 256 of them
};

// Writes a PNG file. The rows go one behind the other from the top, each as the format packs it,
// without a filter byte. Throws std::bad_alloc for want of memory.
std::string WritePng(const PngShape& objShape, std::span<const std::uint8_t> arrRows);

}  // namespace rtf
