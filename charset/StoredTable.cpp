#include "charset/StoredTable.h"

#include <bzlib.h>

#include "platform/Base64.h"

namespace mail::stored_table {
namespace {

constexpr std::size_t kPackedHeader = 8;  // bytes: magic and size

// Reads little-endian numbers from the front of a table; past its end they are 0 and ok() is false.
class Reader {
 public:
  explicit Reader(std::string_view strBytes) : m_strBytes(strBytes) {}

  std::uint8_t byte() {
    if (m_strBytes.empty()) {
      m_bOk = false;
      return 0;
    }
    const auto nByte = static_cast<std::uint8_t>(m_strBytes.front());
    m_strBytes.remove_prefix(1);
    return nByte;
  }

  std::uint16_t word() {
    const unsigned nLow = byte();
    return static_cast<std::uint16_t>(nLow | byte() << 8);
  }

  std::uint32_t dword() {
    const std::uint32_t nLow = word();
    return nLow | std::uint32_t{word()} << 16;
  }

  bool ok() const { return m_bOk; }
  std::string_view rest() const { return m_strBytes; }

 private:
  std::string_view m_strBytes;
  bool m_bOk = true;
};

std::optional<std::string> unpackBzip2(std::string_view strPacked) {
  if (strPacked.size() < kPackedHeader) return std::string();
  Reader objReader(strPacked);
  if (objReader.dword() != kMagic) return std::nullopt;
  const std::uint32_t nSize = objReader.dword();
  if (nSize > kMaxUnpackedBytes) return std::nullopt;
  std::string strStream(objReader.rest());
  std::string strTable(nSize + std::size_t{1},
                       '\0');  // one more, to notice a stream that is longer
  auto nLength = static_cast<unsigned>(strTable.size());
  const int nResult =
      BZ2_bzBuffToBuffDecompress(strTable.data(), &nLength, strStream.data(),
                                 static_cast<unsigned>(strStream.size()), /*small=*/0,
                                 /*verbosity=*/0);
  if (nResult != BZ_OK || nLength != nSize) return std::nullopt;
  strTable.resize(nSize);
  return strTable;
}

// One run of mappings; the code has one byte or two. As steps, or plainly in edit form.
std::vector<Mapping> readRun(Reader& objReader, bool bPairs, bool bSteps) {
  const std::uint16_t nMask = bPairs ? 0xFFFF : 0xFF;
  std::vector<Mapping> arrRun;
  Mapping objRunning{0, 0};
  for (;;) {
    const std::uint16_t nCode = bPairs ? objReader.word() : objReader.byte();
    if (nCode == 0) return arrRun;
    const std::uint16_t nUnit = objReader.word();
    if (bSteps) {
      objRunning.nCode = static_cast<std::uint16_t>((objRunning.nCode + nCode) & nMask);
      objRunning.nUnit = static_cast<std::uint16_t>(objRunning.nUnit + nUnit);
    } else {
      objRunning = {nCode, nUnit};
    }
    arrRun.push_back(objRunning);
  }
}

}  // namespace

std::optional<std::string> unpack(std::string_view strStored) {
  if (strStored.empty() || (strStored[0] != 'c' && strStored[0] != 'x')) return std::nullopt;
  std::string strBytes;
  if (!platform::Base64Decode(strStored.substr(1), strBytes)) return std::nullopt;
  if (strStored[0] == 'c') return unpackBzip2(strBytes);
  if (strBytes.size() > kMaxUnpackedBytes) return std::nullopt;
  return strBytes;
}

std::optional<Contents> parse(std::string_view strTable) {
  Reader objReader(strTable);
  Contents objContents;
  objContents.bAscii = objReader.byte() == 'a';
  objContents.bEdit = objReader.byte() == 'd';
  if (objContents.bEdit) {
    while (const std::uint16_t nUnit = objReader.word()) objContents.arrForgotten.push_back(nUnit);
  }
  objContents.arrSingles = readRun(objReader, /*bPairs=*/false, !objContents.bEdit);
  objContents.arrPairs = readRun(objReader, /*bPairs=*/true, !objContents.bEdit);
  if (!objReader.ok()) return std::nullopt;
  for (const Mapping& objMapping : objContents.arrPairs) {
    if (objMapping.nCode < 0x100) return std::nullopt;
  }
  return objContents;
}

}  // namespace mail::stored_table
