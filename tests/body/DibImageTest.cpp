#include "body/rtf/DibImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

std::string Number(std::uint32_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

// Two pixels, blue and red, with these alphas.
std::string WithAlpha(std::uint32_t first, std::uint32_t second) {
  std::string dib = Number(56) + Number(2) + Number(1) + Number(1 | 32 << 16) + Number(3);
  dib.resize(40, '\0');
  for (const std::uint32_t mask : {0xFF0000u, 0xFF00u, 0xFFu, 0xFF000000u}) dib += Number(mask);
  return dib + Number(0x0000FF | first << 24) + Number(0xFF0000 | second << 24);
}

TEST(DibImage, AlphaThatNobodySetHidesNothing) {
  const std::string opaque = rtf::DibToImage(WithAlpha(255, 255));
  EXPECT_EQ(opaque.substr(1, 3), "PNG");
  EXPECT_EQ(rtf::DibToImage(WithAlpha(0, 0)), opaque);
  EXPECT_NE(rtf::DibToImage(WithAlpha(0, 255)), opaque);  // one pixel is meant to be invisible
}

}  // namespace
