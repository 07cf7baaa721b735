#include "ews/RequestBody.h"

#include <algorithm>
#include <cstring>

#include "ews/ServiceException.h"
#include "platform/Base64.h"

namespace ews {
namespace {

constexpr size_t kFileBufferBytes = 48u << 10;  // a multiple of 3, so that groups never straddle it
static_assert(kFileBufferBytes % 3 == 0);

std::uint64_t EncodedLength(std::uint64_t nBytes) { return (nBytes + 2) / 3 * 4; }

ServiceException CannotRead(const CString& strPath) {
  return ServiceException(u"The file '" + strPath + u"' cannot be read.");
}

}  // namespace

void RequestBody::AddText(std::string_view strText) {
  if (strText.empty()) return;
  m_nLength += strText.size();
  if (!m_arrSegments.empty()) {
    if (auto* pLast = std::get_if<Text>(&m_arrSegments.back())) {
      pLast->strBytes.append(strText);
      return;
    }
  }
  m_arrSegments.emplace_back(Text{std::string(strText)});
}

void RequestBody::AddBase64(std::shared_ptr<const unsigned char[]> pBytes, size_t nLength) {
  m_nLength += EncodedLength(nLength);
  m_arrSegments.emplace_back(Buffer{std::move(pBytes), nLength});
}

void RequestBody::AddBase64File(const CString& strPath) {
  const auto objFile = platform::File::Open(strPath, platform::OpenMode::kRead);
  if (!objFile) throw CannotRead(strPath);
  const std::uint64_t nLength = objFile->Length();
  m_nLength += EncodedLength(nLength);
  m_arrSegments.emplace_back(FileBytes{strPath, nLength});
}

void RequestBody::Rewind() {
  m_nSegment = 0;
  m_nOffset = 0;
  m_strCarry.clear();
  m_objFile.reset();
}

size_t RequestBody::Read(std::span<char> objBuffer) {
  size_t nDone = 0;
  while (nDone < objBuffer.size()) {
    const auto objRest = objBuffer.subspan(nDone);
    if (!m_strCarry.empty()) {
      const size_t n = std::min(objRest.size(), m_strCarry.size());
      std::memcpy(objRest.data(), m_strCarry.data(), n);
      m_strCarry.erase(0, n);
      nDone += n;
    } else if (m_nSegment == m_arrSegments.size()) {
      break;
    } else {
      nDone += ReadSegment(objRest);
    }
  }
  return nDone;
}

// Returns 0 when it has moved on to the next segment.
size_t RequestBody::ReadSegment(std::span<char> objBuffer) {
  const Segment& objSegment = m_arrSegments[m_nSegment];
  if (const auto* pText = std::get_if<Text>(&objSegment)) return ReadText(*pText, objBuffer);
  const auto* pBuffer = std::get_if<Buffer>(&objSegment);
  const std::uint64_t nLength =
      pBuffer ? pBuffer->nLength : std::get<FileBytes>(objSegment).nLength;
  if (m_nOffset == nLength) {
    NextSegment();
    return 0;
  }
  return EncodeGroups(objBuffer, nLength - m_nOffset);
}

size_t RequestBody::ReadText(const Text& objText, std::span<char> objBuffer) {
  const size_t nOffset = static_cast<size_t>(m_nOffset);
  const size_t n = std::min(objBuffer.size(), objText.strBytes.size() - nOffset);
  if (n == 0) {
    NextSegment();
    return 0;
  }
  std::memcpy(objBuffer.data(), objText.strBytes.data() + nOffset, n);
  m_nOffset += n;
  return n;
}

// Writes whole groups, or one group through the carry where the buffer has no room for one.
size_t RequestBody::EncodeGroups(std::span<char> objBuffer, std::uint64_t nLeft) {
  const size_t nRoom = objBuffer.size() / 4 * 3;
  const size_t nWanted =
      static_cast<size_t>(std::min<std::uint64_t>(std::max<size_t>(nRoom, 3), nLeft));
  const auto objBytes = Source(nWanted);
  m_nOffset += objBytes.size();
  const size_t nCharacters = platform::Base64Length(objBytes.size());
  if (nCharacters <= objBuffer.size()) {
    platform::Base64Encode(objBytes, objBuffer.data());
    return nCharacters;
  }
  m_strCarry.resize(nCharacters);
  platform::Base64Encode(objBytes, m_strCarry.data());
  const size_t n = std::min(objBuffer.size(), m_strCarry.size());
  std::memcpy(objBuffer.data(), m_strCarry.data(), n);
  m_strCarry.erase(0, n);
  return n;
}

// The next bytes of the segment: nMost of them, or fewer in a multiple of 3.
std::span<const unsigned char> RequestBody::Source(size_t nMost) {
  const Segment& objSegment = m_arrSegments[m_nSegment];
  if (const auto* pBuffer = std::get_if<Buffer>(&objSegment)) {
    return {pBuffer->pBytes.get() + m_nOffset, nMost};
  }
  const auto& objBytes = std::get<FileBytes>(objSegment);
  if (!m_objFile) {
    m_objFile = platform::File::Open(objBytes.strPath, platform::OpenMode::kRead);
    if (!m_objFile) throw CannotRead(objBytes.strPath);
    m_arrFileBuffer.resize(kFileBufferBytes);
  }
  const std::span<unsigned char> objTarget(m_arrFileBuffer.data(),
                                           std::min(nMost, m_arrFileBuffer.size()));
  // A shorter file would leave the announced length unfilled.
  if (m_objFile->Read(objTarget) != objTarget.size()) throw CannotRead(objBytes.strPath);
  return objTarget;
}

void RequestBody::NextSegment() {
  ++m_nSegment;
  m_nOffset = 0;
  m_objFile.reset();
}

}  // namespace ews
