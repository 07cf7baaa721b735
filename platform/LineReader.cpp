#include "platform/LineReader.h"

#include <algorithm>
#include <array>

namespace platform {
namespace {

constexpr size_t kChunk = 65536;  // bytes, an even number

}  // namespace

std::optional<WideLineReader> WideLineReader::Open(const CString& strPath) {
  std::optional<File> objFile = File::Open(strPath, OpenMode::kRead);
  if (!objFile) return std::nullopt;
  return WideLineReader(std::move(*objFile));
}

// Appends a chunk behind what is not handed out yet; false at the end of the file. A chunk is cut
// short by nothing but the end, so half a unit stands there only.
bool WideLineReader::Fill() {
  if (m_bEnd) return false;
  m_strBuffer.erase(0, m_nNext);
  m_nNext = 0;
  std::array<unsigned char, kChunk> arrBytes;
  const size_t nRead = m_objFile.Read(arrBytes);
  m_bEnd = nRead < kChunk;
  const size_t nBefore = m_strBuffer.size();
  m_strBuffer.resize(nBefore + nRead / 2);
  for (size_t i = 0; i < nRead / 2; ++i) {
    m_strBuffer[nBefore + i] = static_cast<char16_t>(arrBytes[2 * i] | arrBytes[2 * i + 1] << 8);
  }
  return nRead >= 2;
}

bool WideLineReader::ReadLine(CString& strLine) {
  size_t nScanned = m_nNext;
  for (;;) {
    const size_t nEnd = m_strBuffer.find(u'\n', nScanned);
    if (nEnd != std::u16string::npos) {
      strLine = std::u16string_view(m_strBuffer).substr(m_nNext, nEnd - m_nNext);
      m_nNext = nEnd + 1;
      return true;
    }
    const size_t nPartial = m_strBuffer.size() - m_nNext;
    if (!Fill()) {
      strLine = std::u16string_view(m_strBuffer).substr(m_nNext);
      m_nNext = m_strBuffer.size();
      return nPartial > 0;
    }
    nScanned = nPartial;
  }
}

std::optional<std::string> ReadFirstTextLine(const CString& strPath) {
  std::optional<File> objFile = File::Open(strPath, OpenMode::kRead);
  if (!objFile) return std::nullopt;
  std::string strLine;
  std::array<unsigned char, 4096> arrBytes;
  size_t nEnd = std::string::npos;
  while (nEnd == std::string::npos && strLine.size() <= kMaxFirstLineBytes) {
    const size_t nRead = objFile->Read(arrBytes);
    if (nRead == 0) break;
    const size_t nBefore = strLine.size();
    strLine.append(reinterpret_cast<const char*>(arrBytes.data()), nRead);
    nEnd = strLine.find('\n', nBefore);
  }
  if (strLine.empty()) return std::nullopt;
  if (nEnd != std::string::npos) {
    strLine.erase(nEnd);
    if (strLine.ends_with('\r')) strLine.pop_back();
  }
  strLine.resize(std::min(strLine.size(), kMaxFirstLineBytes));
  return strLine;
}

std::string FromTextMode(std::string_view strBytes) {
  std::string strText;
  strText.reserve(strBytes.size());
  for (size_t nDone = 0; nDone < strBytes.size();) {
    const size_t nBreak = std::min(strBytes.find("\r\n", nDone), strBytes.size());
    strText.append(strBytes.substr(nDone, nBreak - nDone));
    if (nBreak == strBytes.size()) break;
    strText += '\n';
    nDone = nBreak + 2;
  }
  return strText;
}

std::string ToTextMode(std::string_view strText) {
  std::string strBytes;
  strBytes.reserve(strText.size() + strText.size() / 32);
  for (size_t nDone = 0; nDone < strText.size();) {
    const size_t nBreak = std::min(strText.find('\n', nDone), strText.size());
    strBytes.append(strText.substr(nDone, nBreak - nDone));
    if (nBreak == strText.size()) break;
    strBytes += "\r\n";
    nDone = nBreak + 1;
  }
  return strBytes;
}

}  // namespace platform
