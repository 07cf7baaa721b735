#include "body/rtf/Metafile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "body/rtf/LittleEndian.h"

namespace rtf {
namespace {

constexpr std::uint32_t kPlaceableKey = 0x9AC6CDD7;
constexpr std::size_t kPlaceableHeader = 22;  // bytes
constexpr std::size_t kWmfHeader = 18;
constexpr std::uint32_t kEmfSignature = 0x464D4520;
constexpr int kMostBitmaps = 2;  // a mask and the picture; more are strips of one
constexpr int kUnitsPerInch = 2540;

// Records of a WMF with a bitmap, and where in the record it begins.
struct WmfBitmap {
  std::uint32_t nFunction;
  std::size_t nOffset;
};
constexpr std::array kWmfBitmaps = {WmfBitmap{0x0F43, 28}, WmfBitmap{0x0B41, 26},
                                    WmfBitmap{0x0940, 22}, WmfBitmap{0x0D33, 24}};
// Those that draw something else: lines, areas, text.
constexpr std::array<std::uint32_t, 16> kWmfDrawings = {
    0x0213, 0x0521, 0x0A32, 0x0324, 0x0325, 0x0538, 0x041B, 0x061C,
    0x0418, 0x0817, 0x081A, 0x0830, 0x0228, 0x012B, 0x0419, 0x0548};

// Records of an EMF with a bitmap, and where its four offsets and sizes stand.
struct EmfBitmap {
  std::uint32_t nType;
  std::size_t nOffsets;
};
constexpr std::array kEmfBitmaps = {EmfBitmap{80, 48}, EmfBitmap{81, 48}, EmfBitmap{76, 84},
                                    EmfBitmap{77, 84}, EmfBitmap{114, 84}};
constexpr std::array<std::uint32_t, 32> kEmfDrawings = {2,  3,  4,  5,  6,  7,  8,  15, 42, 43, 44,
                                                        45, 46, 47, 53, 54, 55, 56, 62, 63, 64, 71,
                                                        72, 83, 84, 85, 86, 87, 88, 89, 90, 118};
constexpr std::array<std::uint32_t, 4> kMoreEmfDrawings = {91, 92, 96, 97};

bool Holds(auto& arrTable, std::uint32_t nValue) {
  return std::ranges::find(arrTable, nValue) != arrTable.end();
}

// Gathers what the records of a metafile draw.
class Drawings {
 public:
  void AddBitmap(std::string strDib) {
    ++m_nBitmaps;
    if (strDib.size() >= m_strDib.size()) m_strDib = std::move(strDib);
  }
  void AddOther() { m_bOther = true; }
  std::string OnlyBitmap() && {
    return m_bOther || m_nBitmaps > kMostBitmaps ? std::string() : std::move(m_strDib);
  }

 private:
  std::string m_strDib;
  int m_nBitmaps = 0;
  bool m_bOther = false;
};

void AddWmfRecord(Drawings& objDrawings, std::string_view strRecord) {
  const std::uint32_t nFunction = ReadU16(strRecord, 4);
  if (Holds(kWmfDrawings, nFunction)) return objDrawings.AddOther();
  const auto it = std::ranges::find(kWmfBitmaps, nFunction, &WmfBitmap::nFunction);
  // Shorter ones copy from the screen.
  if (it == kWmfBitmaps.end() || strRecord.size() < it->nOffset + 12) return;
  objDrawings.AddBitmap(std::string(strRecord.substr(it->nOffset)));
}

void AddEmfRecord(Drawings& objDrawings, std::string_view strRecord) {
  const std::uint32_t nType = ReadU32(strRecord, 0);
  if (Holds(kEmfDrawings, nType) || Holds(kMoreEmfDrawings, nType)) return objDrawings.AddOther();
  const auto it = std::ranges::find(kEmfBitmaps, nType, &EmfBitmap::nType);
  if (it == kEmfBitmaps.end()) return;
  std::string strDib;
  for (const std::size_t nPart : {0, 8}) {  // the header with its colours, the pixels
    const std::size_t nAt = ReadU32(strRecord, it->nOffsets + nPart);
    const std::size_t nSize = ReadU32(strRecord, it->nOffsets + nPart + 4);
    if (nSize == 0 || nAt > strRecord.size()) return;
    strDib += strRecord.substr(nAt, nSize);
  }
  objDrawings.AddBitmap(std::move(strDib));
}

void AppendU16(std::string& str, int nValue) {
  str += static_cast<char>(nValue & 0xFF);
  str += static_cast<char>(nValue >> 8 & 0xFF);
}

}  // namespace

std::string BitmapOfWmf(std::string_view strWmf) {
  const bool bPlaceable = ReadU32(strWmf, 0) == kPlaceableKey;
  const std::size_t nHeader = kWmfHeader + (bPlaceable ? kPlaceableHeader : 0);
  if (strWmf.size() < nHeader) return {};
  strWmf.remove_prefix(nHeader);
  Drawings objDrawings;
  while (strWmf.size() >= 6) {
    const std::size_t nWords = ReadU32(strWmf, 0);
    if (nWords < 3 || nWords > strWmf.size() / 2) break;
    AddWmfRecord(objDrawings, strWmf.substr(0, 2 * nWords));
    strWmf.remove_prefix(2 * nWords);
  }
  return std::move(objDrawings).OnlyBitmap();
}

std::string BitmapOfEmf(std::string_view strEmf) {
  if (ReadU32(strEmf, 40) != kEmfSignature) return {};
  Drawings objDrawings;
  while (strEmf.size() >= 8) {
    const std::size_t nSize = ReadU32(strEmf, 4);
    if (nSize < 8 || nSize > strEmf.size()) break;
    AddEmfRecord(objDrawings, strEmf.substr(0, nSize));
    strEmf.remove_prefix(nSize);
  }
  return std::move(objDrawings).OnlyBitmap();
}

std::string PlaceableWmf(std::string_view strWmf, int nWidth, int nHeight) {
  std::string strFile;
  if (strWmf.size() >= 4 && ReadU32(strWmf, 0) != kPlaceableKey) {
    AppendU16(strFile, 0xCDD7);
    AppendU16(strFile, 0x9AC6);
    for (const int n : {0, 0, 0, std::clamp(nWidth, 1, 32767), std::clamp(nHeight, 1, 32767),
                        kUnitsPerInch, 0, 0}) {
      AppendU16(strFile, n);
    }
    std::uint32_t nSum = 0;
    for (std::size_t n = 0; n < strFile.size(); n += 2) nSum ^= ReadU16(strFile, n);
    AppendU16(strFile, static_cast<int>(nSum));
  }
  return strFile.append(strWmf);
}

}  // namespace rtf
