#include "charset/UnicodeLookup.h"

namespace mail {
namespace {

std::uint32_t packUtf8(std::uint32_t nUnit) {
  if (nUnit == 0) return UnicodeLookup::kNoUtf8;
  if (nUnit < 0x80) return 1U << 24 | nUnit;
  const std::uint32_t nLast = 0x80 | (nUnit & 0x3F);
  if (nUnit < 0x800) return 2U << 24 | nLast << 8 | 0xC0 | nUnit >> 6;
  return 3U << 24 | nLast << 16 | (0x80 | (nUnit >> 6 & 0x3F)) << 8 | 0xE0 | nUnit >> 12;
}

}  // namespace

UnicodeLookup::UnicodeLookup(const HashConvert& objTable)
    : m_nCodePage(objTable.codePage()), m_bAscii(objTable.isAscii()) {
  for (unsigned ch = 1; ch < 256; ++ch) {
    const std::uint16_t nUnit = objTable.single(static_cast<unsigned char>(ch));
    m_aUnits[ch] = nUnit;
    m_aUtf8[ch] = packUtf8(nUnit);
  }
}

}  // namespace mail
