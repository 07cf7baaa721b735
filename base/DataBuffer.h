#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "base/LibraryObject.h"

namespace mail {

class StringBuffer;

// A growing array of bytes, of less than 4 GiB. It grows by the steps of growthStep, so that big
// bodies are not copied often.
//
// Nothing throws. What cannot be done for want of memory, or because the sum of lengths does not
// fit 32 bits, returns false and leaves the bytes as they were; an object whose validity byte is
// wrong answers false, 0 or null and does nothing. Appended bytes may lie inside the buffer itself.
class DataBuffer : public LibraryObject {
 public:
  static constexpr std::uint8_t kValidityByte = 0xDB;
  static constexpr std::uint32_t kRetrySlack = 400;  // bytes

  DataBuffer() = default;
  DataBuffer(const DataBuffer& other);  // empty if memory is short
  DataBuffer(DataBuffer&& other) noexcept;
  DataBuffer& operator=(const DataBuffer& other);  // empty if memory is short
  DataBuffer& operator=(DataBuffer&& other) noexcept;
  ~DataBuffer() override;

  bool isValid() const { return m_validity.holds(); }

  // --- Adding. Null or 0 bytes change nothing and succeed. ---
  bool append(const void* pBytes, std::size_t nBytes);
  bool append(std::string_view strBytes) { return append(strBytes.data(), strBytes.size()); }
  bool append(const StringBuffer& other);  // without the closing NUL
  bool append(const DataBuffer& other);
  bool appendChar(unsigned char ch) { return append(&ch, 1); }

  // Makes room for that many bytes behind the present ones.
  bool reserve(std::size_t nExtra);
  // The same, and returns where they begin, for a producer that writes in place and then says with
  // commit how many it wrote (at most nExtra). Null on failure. Good until the next change.
  unsigned char* prepare(std::size_t nExtra);
  void commit(std::size_t nWritten);

  // --- Taking away. ---
  void clear();                   // frees the storage
  void weakClear();               // keeps it
  void compact();                 // frees the storage behind the bytes
  void chop(std::size_t nBytes);  // at the end; everything if there are fewer
  void removeHead(std::size_t nBytes);

  // --- Reading. The pointers are good until the next change. ---
  std::uint32_t getSize() const { return isValid() ? m_nLength : 0; }
  bool isEmpty() const { return getSize() == 0; }
  std::uint32_t capacity() const { return m_nCapacity; }
  const unsigned char* getData() const { return isValid() ? m_pData : nullptr; }  // may be null
  unsigned char* getData() { return isValid() ? m_pData : nullptr; }              // when empty
  std::span<const unsigned char> bytes() const { return {getData(), getSize()}; }
  std::string_view view() const { return {reinterpret_cast<const char*>(getData()), getSize()}; }
  // Whether the first nBytes bytes (0: all of them) are under 0x80. An empty buffer passes.
  bool is7bit(std::size_t nBytes = 0) const;
  // The index of the first such byte at nFrom or behind it.
  std::optional<std::uint32_t> findByte(unsigned char ch, std::size_t nFrom = 0) const;
  bool equals(std::string_view strBytes) const { return view() == strBytes; }

  // By how many bytes a buffer of nLength grows when nNeed more are wanted than it has room for.
  static std::uint32_t growthStep(std::uint32_t nNeed, std::uint32_t nLength);

 private:
  bool makeRoom(std::size_t nExtra);
  bool growTo(std::uint64_t nCapacity);

  Validity<std::uint8_t, kValidityByte> m_validity;
  unsigned char* m_pData = nullptr;  // from Reallocate
  std::uint32_t m_nLength = 0;
  std::uint32_t m_nCapacity = 0;
};

}  // namespace mail
