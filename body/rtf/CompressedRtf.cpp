#include "body/rtf/CompressedRtf.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "body/rtf/LittleEndian.h"

// The packed form: a control byte, whose bits from the lowest say of the next eight tokens whether
// each is a byte of text or a reference of two bytes, 12 bits of offset (big-endian) and 4 bits of
// length less 2. Offsets are places in a ring of 4096 bytes, which starts with words that rich text
// is made of; text goes into the ring as it comes out. A reference to the place that is written
// next is the end.
namespace rtf {
namespace {

constexpr std::size_t kHeader = 16;  // bytes
constexpr std::size_t kRing = 4096;
constexpr std::uint32_t kPacked = 0x75465A4C;    // "LZFu"
constexpr std::uint32_t kUnpacked = 0x414C454D;  // "MELA"

constexpr std::string_view kFirstWords =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern "
    "\\fscript \\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0"
    "\\blue0\r\n\\par \\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
static_assert(kFirstWords.size() == 207);

class Unpacker {
 public:
  explicit Unpacker(std::string_view strPacked) : m_strIn(strPacked) {
    std::ranges::copy(kFirstWords, m_arrRing.begin());
  }

  // True if the end was found.
  bool Unpack(std::string& strOut) {
    while (m_nAt < m_strIn.size()) {
      const unsigned nControl = Take();
      for (unsigned n = 0; n < 8; ++n) {
        if ((nControl >> n & 1) == 0) {
          if (m_nAt >= m_strIn.size()) return false;
          Put(strOut, static_cast<char>(Take()));
        } else if (m_strIn.size() - m_nAt < 2) {
          return false;
        } else if (!PutReference(strOut)) {
          return true;
        }
      }
    }
    return false;
  }

 private:
  unsigned Take() { return static_cast<unsigned char>(m_strIn[m_nAt++]); }
  void Put(std::string& strOut, char ch) {
    strOut += ch;
    m_arrRing[m_nWrite] = ch;
    m_nWrite = (m_nWrite + 1) % kRing;
  }
  bool PutReference(std::string& strOut) {
    const unsigned nHigh = Take();
    const unsigned nReference = nHigh << 8 | Take();
    std::size_t nRead = nReference >> 4;
    if (nRead == m_nWrite) return false;
    for (unsigned n = (nReference & 15) + 2; n > 0; --n) {
      Put(strOut, m_arrRing[nRead]);
      nRead = (nRead + 1) % kRing;
    }
    return true;
  }

  std::string_view m_strIn;
  std::size_t m_nAt = 0;
  std::array<char, kRing> m_arrRing{};
  std::size_t m_nWrite = kFirstWords.size();
};

// CRC-32 without the inversions at its two ends.
std::uint32_t Checksum(std::string_view strBytes) {
  uLong nCrc = 0xFFFFFFFF;
  nCrc = crc32_z(nCrc, reinterpret_cast<const Bytef*>(strBytes.data()), strBytes.size());
  return ~static_cast<std::uint32_t>(nCrc);
}

}  // namespace

bool IsCompressedRtf(std::string_view strBytes) {
  const std::uint32_t nKind = ReadU32(strBytes, 8);
  return strBytes.size() >= kHeader && (nKind == kPacked || nKind == kUnpacked);
}

DecompressedRtf DecompressRtf(std::string_view strBytes) {
  const std::size_t nPacked = ReadU32(strBytes, 0);
  const std::size_t nText = ReadU32(strBytes, 4);
  const bool bPacked = ReadU32(strBytes, 8) == kPacked;
  const std::size_t nHave = strBytes.size() - kHeader;
  const std::size_t nData = nPacked >= 12 ? nPacked - 12 : 0;
  const std::string_view strData = strBytes.substr(kHeader, nData > 0 ? nData : nHave);
  DecompressedRtf objResult;
  if (bPacked) {
    objResult.bChecksumOk = Checksum(strData) == ReadU32(strBytes, 12);
    objResult.bComplete = Unpacker(strData).Unpack(objResult.strRtf) && nData <= nHave;
  } else {
    objResult.strRtf = strData;
  }
  if (objResult.strRtf.size() != nText) objResult.bComplete = false;
  return objResult;
}

}  // namespace rtf
