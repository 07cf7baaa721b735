#include "body/rtf/DibImage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include "body/rtf/LittleEndian.h"
#include "body/rtf/PngWriter.h"

namespace rtf {
namespace {

constexpr std::size_t kCoreHeader = 12;  // bytes
constexpr std::size_t kInfoHeader = 40;
constexpr std::size_t kMostSide = 32767;         // pixels
constexpr std::size_t kMostPixels = 64 << 20;    // of one that is packed
constexpr std::size_t kMostPixelsPerByte = 256;  // of one that is packed

enum Compression : std::uint32_t { kRgb, kRle8, kRle4, kBitFields, kJpeg, kPng, kAlphaFields };

struct Dib {
  std::size_t nWidth = 0;
  std::size_t nHeight = 0;
  bool bTopDown = false;
  std::uint32_t nBits = 0;
  std::uint32_t nCompression = kRgb;
  std::vector<std::uint8_t> arrPalette{};   // red, green, blue
  std::array<std::uint32_t, 4> arrMasks{};  // red, green, blue, alpha
  std::string_view strPixels{};

  std::size_t RowBytes() const { return (nWidth * nBits + 31) / 32 * 4; }
};

void ReadPalette(Dib& objDib, std::string_view strDib, std::size_t nAt, std::size_t nColors,
                 std::size_t nEntry) {
  for (std::size_t n = 0; n < nColors && nAt + nEntry <= strDib.size(); ++n, nAt += nEntry) {
    for (const std::size_t nPart : {2, 1, 0}) {
      objDib.arrPalette.push_back(static_cast<std::uint8_t>(strDib[nAt + nPart]));
    }
  }
  if (objDib.arrPalette.empty()) objDib.arrPalette = {0, 0, 0, 255, 255, 255};
}

void SetMasks(Dib& objDib, std::string_view strDib, std::size_t nHeader) {
  if (objDib.nCompression == kBitFields || objDib.nCompression == kAlphaFields) {
    for (std::size_t n = 0; n < 3; ++n) objDib.arrMasks[n] = ReadU32(strDib, kInfoHeader + 4 * n);
    const bool bAlpha = nHeader >= 56 || objDib.nCompression == kAlphaFields;
    if (bAlpha) objDib.arrMasks[3] = ReadU32(strDib, kInfoHeader + 12);
  } else if (objDib.nBits == 16) {
    objDib.arrMasks = {0x7C00, 0x03E0, 0x001F, 0};
  } else {
    objDib.arrMasks = {0xFF0000, 0x00FF00, 0x0000FF, 0};
  }
}

bool ReadCoreHeader(Dib& objDib, std::string_view strDib) {
  objDib.nWidth = ReadU16(strDib, 4);
  objDib.nHeight = ReadU16(strDib, 6);
  objDib.nBits = ReadU16(strDib, 10);
  SetMasks(objDib, strDib, kCoreHeader);
  const std::size_t nColors = objDib.nBits <= 8 ? std::size_t{1} << objDib.nBits : 0;
  if (nColors > 0) ReadPalette(objDib, strDib, kCoreHeader, nColors, 3);
  objDib.strPixels = strDib.substr(std::min(kCoreHeader + 3 * nColors, strDib.size()));
  return true;
}

bool ReadInfoHeader(Dib& objDib, std::string_view strDib, std::size_t nHeader) {
  const auto nHeight = static_cast<std::int32_t>(ReadU32(strDib, 8));
  objDib.bTopDown = nHeight < 0;
  objDib.nWidth = ReadU32(strDib, 4);
  objDib.nHeight = static_cast<std::size_t>(std::abs(static_cast<std::int64_t>(nHeight)));
  objDib.nBits = ReadU16(strDib, 14);
  objDib.nCompression = ReadU32(strDib, 16);
  SetMasks(objDib, strDib, nHeader);
  std::size_t nAt = nHeader;
  if (nHeader == kInfoHeader && objDib.nCompression == kBitFields) nAt += 12;
  if (nHeader == kInfoHeader && objDib.nCompression == kAlphaFields) nAt += 16;
  std::size_t nColors = ReadU32(strDib, 32);
  if (nColors == 0 && objDib.nBits <= 8) nColors = std::size_t{1} << objDib.nBits;
  if (nColors > 256) return false;
  if (objDib.nBits <= 8) ReadPalette(objDib, strDib, nAt, nColors, 4);
  objDib.strPixels = strDib.substr(std::min(nAt + 4 * nColors, strDib.size()));
  return true;
}

bool ReadHeader(Dib& objDib, std::string_view strDib) {
  const std::size_t nHeader = ReadU32(strDib, 0);
  if (nHeader > strDib.size() || nHeader < kCoreHeader) return false;
  const bool bCore = nHeader < kInfoHeader;
  if (!(bCore ? ReadCoreHeader(objDib, strDib) : ReadInfoHeader(objDib, strDib, nHeader))) {
    return false;
  }
  return objDib.nWidth > 0 && objDib.nHeight > 0 && objDib.nWidth <= kMostSide &&
         objDib.nHeight <= kMostSide;
}

// Unpacks run lengths into rows as an unpacked bitmap of 8 bits has them.
class RunLengths {
 public:
  explicit RunLengths(const Dib& objDib)
      : m_objDib(objDib),
        m_strIn(objDib.strPixels),
        m_nRow((objDib.nWidth + 3) / 4 * 4),
        m_strRows(m_nRow * objDib.nHeight, '\0') {}

  std::string Unpack() {
    while (m_strIn.size() - m_nAt >= 2 && m_nY < m_objDib.nHeight) {
      const unsigned nCount = Take();
      const unsigned nValue = Take();
      if (nCount > 0) {
        for (unsigned n = 0; n < nCount; ++n) Put(Pixel(nValue, n));
      } else if (!Escape(nValue)) {
        break;
      }
    }
    return std::move(m_strRows);
  }

 private:
  unsigned Take() {
    return m_nAt < m_strIn.size() ? static_cast<unsigned char>(m_strIn[m_nAt++]) : 0;
  }
  bool IsRle4() const { return m_objDib.nCompression == kRle4; }
  unsigned Pixel(unsigned nByte, unsigned n) const {
    if (!IsRle4()) return nByte;
    return n % 2 == 0 ? nByte >> 4 : nByte & 15;
  }
  void Put(unsigned nValue) {
    if (m_nX < m_objDib.nWidth && m_nY < m_objDib.nHeight) {
      m_strRows[m_nY * m_nRow + m_nX] = static_cast<char>(nValue);
    }
    ++m_nX;
  }
  // False at the end of the bitmap.
  bool Escape(unsigned nCode) {
    if (nCode == 1) return false;
    if (nCode == 0) {
      m_nX = 0;
      ++m_nY;
    } else if (nCode == 2) {
      m_nX += Take();
      m_nY += Take();
    } else {
      const std::size_t nStart = m_nAt;
      unsigned nByte = 0;
      for (unsigned n = 0; n < nCode; ++n) {
        if (!IsRle4() || n % 2 == 0) nByte = Take();
        Put(Pixel(nByte, n));
      }
      if ((m_nAt - nStart) % 2 != 0) (void)Take();  // padding
    }
    return true;
  }

  const Dib& m_objDib;
  std::string_view m_strIn;
  std::size_t m_nAt = 0;
  std::size_t m_nRow;
  std::string m_strRows;
  std::size_t m_nX = 0;
  std::size_t m_nY = 0;
};

std::uint8_t Channel(std::uint32_t nPixel, std::uint32_t nMask) {
  if (nMask == 0) return 0;
  const int nShift = std::countr_zero(nMask);
  const std::uint64_t nMost = nMask >> nShift;
  return static_cast<std::uint8_t>(((nPixel & nMask) >> nShift) * 255ULL / nMost);
}

// The row, as PNG packs it.
void AppendRow(std::vector<std::uint8_t>& arrRows, const Dib& objDib, std::string_view strRow) {
  if (objDib.nBits <= 8) {
    const std::size_t nBytes = (objDib.nWidth * objDib.nBits + 7) / 8;
    arrRows.insert(arrRows.end(), strRow.begin(), strRow.begin() + static_cast<long>(nBytes));
    return;
  }
  const std::size_t nSize = objDib.nBits / 8;
  const std::size_t nChannels = objDib.arrMasks[3] != 0 ? 4 : 3;
  for (std::size_t n = 0; n < objDib.nWidth; ++n) {
    const std::uint32_t nPixel = ReadNumber(strRow, n * nSize, nSize);
    for (std::size_t k = 0; k < nChannels; ++k) {
      arrRows.push_back(Channel(nPixel, objDib.arrMasks[k]));
    }
  }
}

// Programs leave the alpha of a bitmap at 0 that has none; all of it would be invisible.
void FillEmptyAlpha(std::vector<std::uint8_t>& arrRows) {
  for (std::size_t n = 3; n < arrRows.size(); n += 4) {
    if (arrRows[n] != 0) return;
  }
  for (std::size_t n = 3; n < arrRows.size(); n += 4) arrRows[n] = 255;
}

std::string Write(const Dib& objDib) {
  const std::size_t nRow = objDib.RowBytes();
  const std::size_t nRows = std::min(objDib.nHeight, objDib.strPixels.size() / nRow);
  if (nRows == 0) return {};
  PngShape objShape{.nWidth = static_cast<std::uint32_t>(objDib.nWidth),
                    .nHeight = static_cast<std::uint32_t>(nRows)};
  if (objDib.nBits <= 8) {
    objShape.eColor = PngColor::kPalette;
    objShape.nBits = static_cast<std::uint8_t>(objDib.nBits);
    objShape.arrPalette = objDib.arrPalette;
    const std::size_t nMost = std::size_t{3} << objDib.nBits;
    if (objShape.arrPalette.size() > nMost) objShape.arrPalette.resize(nMost);
  } else if (objDib.arrMasks[3] != 0) {
    objShape.eColor = PngColor::kRgba;
  }
  std::vector<std::uint8_t> arrRows;
  for (std::size_t n = 0; n < nRows; ++n) {
    const std::size_t nFrom = objDib.bTopDown ? n : nRows - 1 - n;
    AppendRow(arrRows, objDib, objDib.strPixels.substr(nFrom * nRow, nRow));
  }
  if (objShape.eColor == PngColor::kRgba) FillEmptyAlpha(arrRows);
  return WritePng(objShape, arrRows);
}

}  // namespace

std::string DibToImage(std::string_view strDib) {
  Dib objDib;
  if (!ReadHeader(objDib, strDib)) return {};
  if (objDib.nCompression == kJpeg || objDib.nCompression == kPng) {
    return std::string(objDib.strPixels);
  }
  if (objDib.nCompression != kRle8 && objDib.nCompression != kRle4) {
    constexpr std::array kDepths = {1U, 4U, 8U, 16U, 24U, 32U};
    return std::ranges::count(kDepths, objDib.nBits) == 0 ? std::string() : Write(objDib);
  }
  const std::size_t nPixels = objDib.nWidth * objDib.nHeight;
  if (nPixels / kMostPixelsPerByte > objDib.strPixels.size() || nPixels > kMostPixels) return {};
  const std::string strRows = RunLengths(objDib).Unpack();
  objDib.nBits = 8;
  objDib.strPixels = strRows;
  return Write(objDib);
}

std::string BitmapToImage(std::string_view strRows, int nWidth, int nHeight, int nBits,
                          int nRowBytes) {
  const bool bKnown = nBits == 1 || nBits == 24 || nBits == 32;
  if (!bKnown || nWidth <= 0 || nHeight <= 0 || nRowBytes <= 0) return {};
  Dib objDib{.nWidth = static_cast<std::size_t>(nWidth),
             .nHeight = static_cast<std::size_t>(nHeight),
             .bTopDown = true,
             .nBits = static_cast<std::uint32_t>(nBits)};
  if (objDib.nWidth > kMostSide || objDib.nHeight > kMostSide) return {};
  SetMasks(objDib, {}, kCoreHeader);
  objDib.arrPalette = {0, 0, 0, 255, 255, 255};
  const auto nFrom = static_cast<std::size_t>(nRowBytes);
  if (nFrom * 8 < objDib.nWidth * objDib.nBits) return {};
  std::string strPadded;
  const std::size_t nRows = std::min(objDib.nHeight, strRows.size() / nFrom);
  for (std::size_t n = 0; n < nRows; ++n) {
    strPadded.append(strRows.substr(n * nFrom, std::min(nFrom, objDib.RowBytes())));
    strPadded.resize((n + 1) * objDib.RowBytes(), '\0');
  }
  objDib.strPixels = strPadded;
  return Write(objDib);
}

}  // namespace rtf
