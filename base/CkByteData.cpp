#include "base/CkByteData.h"

unsigned char CkByteData::getByte(std::size_t nIndex) const {
  return nIndex < m_arrBytes.getSize() ? m_arrBytes.getData()[nIndex] : 0;
}
