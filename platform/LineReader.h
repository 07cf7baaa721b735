#pragma once

#include <optional>
#include <string>

#include "platform/CString.h"
#include "platform/Files.h"

namespace platform {

// Reads a file line by line in 16-bit little-endian units, bytes as they are. A line ends at
// U+000A, which is removed; a CR in front of it stays. The last line needs no end. No byte-order
// mark is looked for. An odd last byte is left out.
class WideLineReader {
 public:
  // Returns nothing when the file cannot be opened.
  static std::optional<WideLineReader> Open(const CString& strPath);
  // False only when nothing more can be read; strLine is then empty. An empty line is a line.
  bool ReadLine(CString& strLine);
  std::uint64_t FileLength() const { return m_objFile.Length(); }

 private:
  explicit WideLineReader(File objFile) : m_objFile(std::move(objFile)) {}
  bool Fill();
  File m_objFile;
  std::u16string m_strBuffer;  // units read and not yet handed out, from m_nNext
  size_t m_nNext = 0;
  bool m_bEnd = false;
};

// Reads the first line of a file in text mode (CR LF reads as LF, which is removed), as bytes.
// Returns nothing when the file cannot be opened or is empty. A longer line is cut after
// kMaxFirstLineBytes, so that a file without line ends costs no memory.
inline constexpr size_t kMaxFirstLineBytes = 65536;
std::optional<std::string> ReadFirstTextLine(const CString& strPath);

// Text mode for reading: CR LF becomes LF, nothing else changes. A CR at the very end stays.
std::string FromTextMode(std::string_view strBytes);
// Text mode for writing: LF becomes CR LF, nothing else changes.
std::string ToTextMode(std::string_view strText);

}  // namespace platform
