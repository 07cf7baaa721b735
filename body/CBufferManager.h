#pragma once

#include <cstdint>
#include <memory>

// Owner of a raw buffer.
struct CBufferManager {
  // Holds nSize + 2 bytes, all zero, afterwards; a buffer held before is released.
  void SetSize(std::uint32_t nSize) {
    m_nSize = nSize;
    m_pBuffer = std::make_unique<unsigned char[]>(size_t{nSize} + 2);
  }

  std::unique_ptr<unsigned char[]> m_pBuffer;
  std::unique_ptr<unsigned char[]> m_pBuffer2;  // nothing fills it
  std::uint32_t m_nSize = 0;                    // the size last asked for, in bytes
};
