#include "base/DataBuffer.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <utility>

#include "base/ByteSearch.h"
#include "base/MemoryShortage.h"
#include "base/Reallocate.h"
#include "base/StringBuffer.h"

namespace mail {
namespace {

constexpr std::uint32_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();

// A buffer of at least this length grows by as much again, when less than that is needed.
constexpr std::array<std::uint32_t, 8> kSteps = {12'000'000, 8'000'000, 4'000'000, 3'000'000,
                                                 2'000'000,  1'000'000, 100'000,   50'000};
static_assert(std::is_sorted(kSteps.rbegin(), kSteps.rend()), "the first step that fits is taken");
constexpr std::uint32_t kSmallStep = 20'000;

}  // namespace

DataBuffer::DataBuffer(const DataBuffer& other) : LibraryObject(other), m_validity() {
  (void)append(other);
}

DataBuffer::DataBuffer(DataBuffer&& other) noexcept : LibraryObject(other), m_validity() {
  *this = std::move(other);
}

DataBuffer& DataBuffer::operator=(const DataBuffer& other) {
  if (this != &other) {
    weakClear();
    (void)append(other);
  }
  return *this;
}

DataBuffer& DataBuffer::operator=(DataBuffer&& other) noexcept {
  if (this != &other && isValid() && other.isValid()) {
    clear();
    m_pData = std::exchange(other.m_pData, nullptr);
    m_nLength = std::exchange(other.m_nLength, 0);
    m_nCapacity = std::exchange(other.m_nCapacity, 0);
  }
  return *this;
}

DataBuffer::~DataBuffer() {
  if (isValid()) std::free(m_pData);
}

std::uint32_t DataBuffer::growthStep(std::uint32_t nNeed, std::uint32_t nLength) {
  for (const std::uint32_t nStep : kSteps) {
    if (nNeed < nStep && nLength >= nStep) return nStep;
  }
  return nNeed < kSmallStep ? kSmallStep : nNeed;
}

bool DataBuffer::reserve(std::size_t nExtra) {
  if (!isValid()) return false;
  if (nExtra <= kMaxBytes - m_nLength && makeRoom(nExtra)) return true;
  noteMemoryShortage();
  return false;
}

bool DataBuffer::makeRoom(std::size_t nExtra) {
  const auto nNeed = static_cast<std::uint32_t>(nExtra);
  if (nNeed <= m_nCapacity - m_nLength) return true;
  const std::uint32_t nStep = growthStep(nNeed, m_nLength);
  if (growTo(std::uint64_t{m_nLength} + nStep)) return true;
  return std::uint64_t{nNeed} + kRetrySlack < nStep &&
         growTo(std::uint64_t{m_nLength} + nNeed + kRetrySlack);
}

bool DataBuffer::growTo(std::uint64_t nCapacity) {
  nCapacity = std::min<std::uint64_t>(nCapacity, kMaxBytes);
  auto* pNew = static_cast<unsigned char*>(Reallocate(m_pData, nCapacity));
  if (pNew == nullptr) return false;
  m_pData = pNew;
  m_nCapacity = static_cast<std::uint32_t>(nCapacity);
  return true;
}

unsigned char* DataBuffer::prepare(std::size_t nExtra) {
  // One byte at least, so that null always means failure.
  return reserve(std::max<std::size_t>(nExtra, 1)) ? m_pData + m_nLength : nullptr;
}

void DataBuffer::commit(std::size_t nWritten) {
  if (!isValid()) return;
  m_nLength += static_cast<std::uint32_t>(std::min<std::size_t>(nWritten, m_nCapacity - m_nLength));
}

bool DataBuffer::append(const void* pBytes, std::size_t nBytes) {
  if (!isValid()) return false;
  if (pBytes == nullptr || nBytes == 0) return true;
  const auto* pSource = static_cast<const unsigned char*>(pBytes);
  const std::less<const unsigned char*> before;
  const bool bOwn = !before(pSource, m_pData) && before(pSource, m_pData + m_nLength);
  const auto nOffset = bOwn ? pSource - m_pData : 0;
  if (!reserve(nBytes)) return false;
  if (bOwn) pSource = m_pData + nOffset;
  std::memcpy(m_pData + m_nLength, pSource, nBytes);
  m_nLength += static_cast<std::uint32_t>(nBytes);
  return true;
}

bool DataBuffer::append(const StringBuffer& other) { return append(other.view()); }

bool DataBuffer::append(const DataBuffer& other) {
  return append(other.getData(), other.getSize());
}

void DataBuffer::clear() {
  if (!isValid()) return;
  std::free(std::exchange(m_pData, nullptr));
  m_nLength = m_nCapacity = 0;
}

void DataBuffer::weakClear() {
  if (isValid()) m_nLength = 0;
}

void DataBuffer::compact() {
  if (m_nCapacity == getSize()) return;
  if (m_nLength == 0) return clear();
  (void)growTo(m_nLength);  // a failure leaves it as it was
}

void DataBuffer::chop(std::size_t nBytes) {
  if (!isValid()) return;
  m_nLength -= static_cast<std::uint32_t>(std::min<std::size_t>(nBytes, m_nLength));
}

void DataBuffer::removeHead(std::size_t nBytes) {
  if (!isValid() || nBytes == 0) return;
  const auto nRemoved = static_cast<std::uint32_t>(std::min<std::size_t>(nBytes, m_nLength));
  m_nLength -= nRemoved;
  if (m_nLength != 0) std::memmove(m_pData, m_pData + nRemoved, m_nLength);
}

bool DataBuffer::is7bit(std::size_t nBytes) const {
  return byte_search::is7bit(view().substr(0, nBytes != 0 ? nBytes : getSize()));
}

std::optional<std::uint32_t> DataBuffer::findByte(unsigned char ch, std::size_t nFrom) const {
  if (nFrom >= getSize()) return std::nullopt;
  const auto* pFound =
      static_cast<const unsigned char*>(std::memchr(m_pData + nFrom, ch, m_nLength - nFrom));
  if (pFound == nullptr) return std::nullopt;
  return static_cast<std::uint32_t>(pFound - m_pData);
}

}  // namespace mail
