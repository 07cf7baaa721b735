#include "charset/HashConvert.h"

namespace mail {

std::uint16_t& HashConvert::slot(std::uint16_t nKey) {
  std::uint32_t& nBlock = m_aIndex[nKey >> 8];
  if (nBlock == 0) {
    const std::size_t nNew = m_arrBlocks.size();
    m_arrBlocks.resize(nNew + kBlock);
    nBlock = static_cast<std::uint32_t>(nNew);
  }
  return m_arrBlocks[nBlock + (nKey & 0xFFU)];
}

void HashConvert::add(std::uint16_t nKey, std::uint16_t nValue) {
  std::uint16_t& nSlot = slot(nKey);
  if (nSlot != 0) return;
  nSlot = nValue;
  m_bPairs = m_bPairs || nValue > 0xFF;
}

bool HashConvert::load(const stored_table::Contents& objContents) {
  const bool bFrom = m_nDirection == Direction::kFromUnicode;
  if (objContents.bEdit && !bFrom) return false;
  if (!objContents.bEdit) m_bAscii = objContents.bAscii;
  if (m_bAscii) {
    for (std::uint16_t ch = 1; ch < 0x80; ++ch) {
      if (bFrom) add(ch, ch);
      m_aSingles[ch] = ch;
    }
  }
  for (const std::uint16_t nUnit : objContents.arrForgotten) slot(nUnit) = 0;
  for (const auto [nCode, nUnit] : objContents.arrSingles) {
    if (bFrom) {
      add(nUnit, nCode);
    } else if (m_aSingles[nCode] == 0) {
      m_aSingles[nCode] = nUnit;
    }
  }
  for (const auto [nCode, nUnit] : objContents.arrPairs) {
    if (bFrom) {
      add(nUnit, nCode);
    } else {
      add(nCode, nUnit);
    }
  }
  return true;
}

}  // namespace mail
