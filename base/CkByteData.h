#pragma once

#include <cstddef>

#include "base/DataBuffer.h"

// Bytes for the library's interfaces, less than 4 GiB of them. Nothing throws.
class CkByteData {
 public:
  // Copies the bytes to the end. Null or 0 bytes change nothing and succeed; false, and no change,
  // for want of memory or past 4 GiB.
  bool append(const void* pBytes, std::size_t nBytes) { return m_arrBytes.append(pBytes, nBytes); }
  void clear() { m_arrBytes.clear(); }

  // The object's own bytes, good until its next change; null when there are none.
  const unsigned char* getData() const { return m_arrBytes.getData(); }
  std::size_t getSize() const { return m_arrBytes.getSize(); }
  // By index from 0; 0 behind the end.
  unsigned char getByte(std::size_t nIndex) const;

  // The bytes themselves, for the library's own use.
  mail::DataBuffer& bytes() { return m_arrBytes; }

 private:
  mail::DataBuffer m_arrBytes;
};
