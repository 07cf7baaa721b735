#include "body/rtf/PngWriter.h"

#include <zlib.h>

#include <array>
#include <cstddef>
#include <new>
#include <string_view>

namespace rtf {
namespace {

constexpr std::size_t kBlock = 64 * 1024;  // bytes of one IDAT chunk

void AppendNumber(std::string& str, std::uint32_t n) {
  for (const int nShift : {24, 16, 8, 0}) str += static_cast<char>(n >> nShift & 0xFF);
}

void AppendChunk(std::string& strFile, std::string_view strType, std::string_view strData) {
  AppendNumber(strFile, static_cast<std::uint32_t>(strData.size()));
  const std::size_t nStart = strFile.size();
  strFile.append(strType).append(strData);
  const auto* pChecked = reinterpret_cast<const Bytef*>(strFile.data() + nStart);
  AppendNumber(strFile, static_cast<std::uint32_t>(
                            crc32(0, pChecked, static_cast<uInt>(strFile.size() - nStart))));
}

// Deflates into IDAT chunks of at most kBlock.
class Deflater {
 public:
  explicit Deflater(std::string& strFile) : m_strFile(strFile) {
    if (deflateInit(&m_objStream, Z_DEFAULT_COMPRESSION) != Z_OK) throw std::bad_alloc();
    Reset();
  }
  ~Deflater() { deflateEnd(&m_objStream); }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;

  void Add(std::span<const std::uint8_t> arrBytes) {
    m_objStream.next_in = const_cast<Bytef*>(arrBytes.data());  // not written to
    m_objStream.avail_in = static_cast<uInt>(arrBytes.size());
    while (m_objStream.avail_in > 0) Step(Z_NO_FLUSH);
  }
  void Finish() {
    while (Step(Z_FINISH) != Z_STREAM_END) {
    }
    Emit();
  }

 private:
  int Step(int nFlush) {
    const int nResult = deflate(&m_objStream, nFlush);
    if (m_objStream.avail_out == 0) Emit();
    return nResult;
  }
  void Emit() {
    const std::size_t nSize = m_arrBlock.size() - m_objStream.avail_out;
    if (nSize == 0) return;
    AppendChunk(m_strFile, "IDAT", {reinterpret_cast<const char*>(m_arrBlock.data()), nSize});
    Reset();
  }
  void Reset() {
    m_objStream.next_out = m_arrBlock.data();
    m_objStream.avail_out = static_cast<uInt>(m_arrBlock.size());
  }

  std::string& m_strFile;
  z_stream m_objStream{};
  std::array<Bytef, kBlock> m_arrBlock;
};

std::size_t RowBytes(const PngShape& objShape) {
  std::size_t nSamples = 1;
  if (objShape.eColor == PngColor::kRgb) nSamples = 3;
  if (objShape.eColor == PngColor::kRgba) nSamples = 4;
  return (static_cast<std::size_t>(objShape.nWidth) * nSamples * objShape.nBits + 7) / 8;
}

}  // namespace

std::string WritePng(const PngShape& objShape, std::span<const std::uint8_t> arrRows) {
  std::string strFile = "\x89PNG\r\n\x1A\n";
  std::string strHeader;
  AppendNumber(strHeader, objShape.nWidth);
  AppendNumber(strHeader, objShape.nHeight);
  strHeader += static_cast<char>(objShape.nBits);
  strHeader += static_cast<char>(objShape.eColor);
  strHeader.append(3, '\0');  // deflate, filters, no interlacing
  AppendChunk(strFile, "IHDR", strHeader);
  if (objShape.eColor == PngColor::kPalette) {
    AppendChunk(
        strFile, "PLTE",
        {reinterpret_cast<const char*>(objShape.arrPalette.data()), objShape.arrPalette.size()});
  }
  const std::size_t nRow = RowBytes(objShape);
  Deflater objDeflater(strFile);
  constexpr std::array<std::uint8_t, 1> kNoFilter = {0};
  for (; arrRows.size() >= nRow; arrRows = arrRows.subspan(nRow)) {
    objDeflater.Add(kNoFilter);
    objDeflater.Add(arrRows.first(nRow));
  }
  objDeflater.Finish();
  AppendChunk(strFile, "IEND", "");
  return strFile;
}

}  // namespace rtf
