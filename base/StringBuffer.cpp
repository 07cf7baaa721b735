#include "base/StringBuffer.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <utility>

#include "base/AsciiText.h"
#include "base/ExtPtrArray.h"
#include "base/MemoryShortage.h"
#include "base/Reallocate.h"

namespace mail {
namespace {

constexpr std::uint32_t kMaxLength = std::numeric_limits<std::uint32_t>::max() - 1;

// The text in front of the first line end, with the text cut off behind that end.
std::string_view TakeLine(std::string_view& strRest) {
  const auto nEnd = strRest.find_first_of("\r\n");
  const auto strLine = strRest.substr(0, nEnd);
  if (nEnd == std::string_view::npos) {
    strRest = {};
  } else {
    strRest.remove_prefix(nEnd + (strRest.substr(nEnd).starts_with("\r\n") ? 2 : 1));
  }
  return strLine;
}

// Whether there is no other line end; true without any.
bool hasOnlyCrLf(std::string_view strText) {
  constexpr auto npos = std::string_view::npos;
  for (std::size_t n = strText.find('\n'); n != npos; n = strText.find('\n', n + 1)) {
    if (n == 0 || strText[n - 1] != '\r') return false;
  }
  for (std::size_t n = strText.find('\r'); n != npos; n = strText.find('\r', n + 1)) {
    if (!strText.substr(n + 1).starts_with('\n')) return false;
  }
  return true;
}

}  // namespace

StringBuffer::StringBuffer(const StringBuffer& other) : LibraryObject(other), m_validity() {
  m_aInline[0] = '\0';
  (void)append(other);
}

StringBuffer::StringBuffer(StringBuffer&& other) noexcept : LibraryObject(other), m_validity() {
  m_aInline[0] = '\0';
  takeOver(other);
}

StringBuffer& StringBuffer::operator=(const StringBuffer& other) {
  if (this != &other && !setString(other.view())) weakClear();
  return *this;
}

StringBuffer& StringBuffer::operator=(StringBuffer&& other) noexcept {
  if (this != &other && isValid()) {
    clear();
    takeOver(other);
  }
  return *this;
}

StringBuffer::~StringBuffer() {
  if (isValid()) std::free(m_pHeap);
}

// This buffer is empty and has no heap storage.
void StringBuffer::takeOver(StringBuffer& other) noexcept {
  if (!other.isValid()) return;
  if (other.isInline()) {
    std::memcpy(m_aInline, other.m_aInline, other.m_nLength + std::size_t{1});
    m_nLength = other.m_nLength;
  } else {
    m_pText = m_pHeap = std::exchange(other.m_pHeap, nullptr);
    m_nLength = other.m_nLength;
    m_nCapacity = other.m_nCapacity;
    m_nGrowStep = other.m_nGrowStep;
  }
  other.clear();
}

bool StringBuffer::append(const char* pszText) {
  return append(pszText != nullptr ? std::string_view(pszText) : std::string_view());
}

bool StringBuffer::append(std::string_view strBytes) {
  return appendN(strBytes.data(), strBytes.size());
}

bool StringBuffer::append(const StringBuffer& other) { return append(other.view()); }

bool StringBuffer::appendN(const void* pBytes, std::size_t nBytes) {
  if (!isValid()) return false;
  if (pBytes == nullptr || nBytes == 0) return true;
  if (nBytes > kMaxLength - m_nLength) return false;
  std::string_view strBytes(static_cast<const char*>(pBytes), nBytes);
  const bool bOwn = isOwn(strBytes.data());
  const auto nOffset = bOwn ? strBytes.data() - m_pText : 0;
  if (!growTo(m_nLength + static_cast<std::uint32_t>(nBytes))) return false;
  if (bOwn) strBytes = {m_pText + nOffset, nBytes};
  if (!appendRaw(strBytes)) return false;
  setLength(m_nLength);
  return true;
}

bool StringBuffer::appendRaw(std::string_view strBytes) {
  if (strBytes.empty()) return true;
  if (strBytes.size() > kMaxLength - m_nLength) return false;
  const auto nLength = m_nLength + static_cast<std::uint32_t>(strBytes.size());
  if (!growTo(nLength)) return false;
  std::memmove(m_pText + m_nLength, strBytes.data(), strBytes.size());
  m_nLength = nLength;
  m_pText[nLength] = '\0';
  return true;
}

bool StringBuffer::isOwn(const char* pBytes) const {
  const std::less<const char*> before;
  return !before(pBytes, m_pText) && before(pBytes, m_pText + m_nCapacity);
}

bool StringBuffer::appendChar(char ch) {
  if (!isValid()) return false;
  if (ch == '\0') return true;
  if (m_nLength == kMaxLength || !growTo(m_nLength + 1)) return false;
  m_pText[m_nLength++] = ch;
  m_pText[m_nLength] = '\0';
  return true;
}

bool StringBuffer::setString(std::string_view strBytes) {
  if (!isValid()) return false;
  if (strBytes.size() > kMaxLength) return false;
  const auto nBytes = static_cast<std::uint32_t>(strBytes.size());
  if (!isOwn(strBytes.data()) && !growTo(nBytes)) return false;  // a part of itself always fits
  if (nBytes != 0) std::memmove(m_pText, strBytes.data(), nBytes);
  setLength(nBytes);
  return true;
}

bool StringBuffer::reserve(std::size_t nExtra) {
  if (!isValid() || nExtra > kMaxLength - m_nLength) return false;
  return growTo(m_nLength + static_cast<std::uint32_t>(nExtra));
}

char* StringBuffer::prepare(std::size_t nExtra) {
  return reserve(nExtra) ? m_pText + m_nLength : nullptr;
}

void StringBuffer::commit(std::size_t nWritten) {
  if (!isValid()) return;
  const std::size_t nRoom = m_nCapacity - 1 - m_nLength;
  setLength(m_nLength + static_cast<std::uint32_t>(std::min(nWritten, nRoom)));
}

bool StringBuffer::growTo(std::uint32_t nNeeded) {
  if (nNeeded < m_nCapacity) return true;
  const auto nWanted = std::uint64_t{nNeeded} + m_nGrowStep + 1;
  const auto nCapacity = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(nWanted, std::numeric_limits<std::uint32_t>::max()));
  auto* pNew = static_cast<char*>(Reallocate(m_pHeap, nCapacity));
  if (pNew == nullptr) {
    noteMemoryShortage();
    return false;
  }
  if (isInline()) std::memcpy(pNew, m_aInline, m_nLength + std::size_t{1});
  m_pText = m_pHeap = pNew;
  m_nCapacity = nCapacity;
  if (m_nGrowStep < kMaxGrowStep && m_nGrowStep < nCapacity) {
    m_nGrowStep = std::min(nCapacity / 2, kMaxGrowStep);
  }
  return true;
}

void StringBuffer::setLength(std::uint32_t nLength) {
  while (nLength != 0 && m_pText[nLength - 1] == '\0') --nLength;
  m_nLength = nLength;
  m_pText[nLength] = '\0';
}

void StringBuffer::clear() {
  if (!isValid()) return;
  std::free(std::exchange(m_pHeap, nullptr));
  m_pText = m_aInline;
  m_aInline[0] = '\0';
  m_nCapacity = kInlineBytes + 1;
  m_nLength = 0;
  m_nGrowStep = kFirstGrowStep;
}

void StringBuffer::weakClear() {
  if (isValid()) setLength(0);
}

bool StringBuffer::equalsIgnoreCase(std::string_view strOther) const {
  return equalsNoCase(view(), strOther);
}

bool StringBuffer::contains(std::string_view strPart) const {
  return findBytes(view(), strPart) != std::string_view::npos;
}

bool StringBuffer::containsIgnoreCase(std::string_view strPart) const {
  return findNoCase(view(), strPart) != std::string_view::npos;
}

bool StringBuffer::beginsWithIgnoreCase(std::string_view strPart) const {
  return beginsWithNoCase(view(), strPart);
}

std::uint32_t StringBuffer::replaceAll(std::string_view strPart, std::string_view strNew) {
  if (strPart.empty() || !isValid()) return 0;
  StringBuffer strResult;
  std::string_view strRest = view();
  std::uint32_t nReplaced = 0;
  for (;;) {
    const std::size_t nBefore = findBytes(strRest, strPart);
    if (nBefore == std::string_view::npos) break;
    if (nReplaced == 0 && !strResult.reserve(getSize())) return 0;
    if (!strResult.appendRaw(strRest.substr(0, nBefore)) || !strResult.appendRaw(strNew)) return 0;
    strRest.remove_prefix(nBefore + strPart.size());
    ++nReplaced;
  }
  if (nReplaced == 0) return 0;
  if (!strResult.appendRaw(strRest)) return 0;
  strResult.setLength(strResult.m_nLength);
  *this = std::move(strResult);
  return nReplaced;
}

bool StringBuffer::removeFirst(std::string_view strPart) {
  if (strPart.empty()) return false;
  const std::size_t nFound = findBytes(view(), strPart);
  if (nFound == std::string_view::npos) return false;
  const auto nAt = static_cast<std::uint32_t>(nFound);
  const auto nPart = static_cast<std::uint32_t>(strPart.size());
  std::memmove(m_pText + nAt, m_pText + nAt + nPart, m_nLength - nAt - nPart);
  setLength(m_nLength - nPart);
  return true;
}

void StringBuffer::replaceAnyOf(std::string_view strChars, char ch) {
  if (!isValid()) return;
  std::array<bool, 256> aReplaced{};
  for (const unsigned char c : strChars.substr(0, kMaxReplaceChars)) aReplaced[c] = true;
  std::replace_if(
      m_pText, m_pText + m_nLength,
      [&](char c) { return aReplaced[static_cast<unsigned char>(c)]; }, ch);
  setLength(m_nLength);
}

void StringBuffer::removeChar(char ch) {
  if (!isValid()) return;
  const char* pEnd = std::remove(m_pText, m_pText + m_nLength, ch);
  setLength(static_cast<std::uint32_t>(pEnd - m_pText));
}

void StringBuffer::trim() {
  if (!isValid()) return;
  const std::string_view strKept = trimmed(view());
  std::memmove(m_pText, strKept.data(), strKept.size());
  setLength(static_cast<std::uint32_t>(strKept.size()));
}

bool StringBuffer::toCrLf() {
  if (!isValid()) return false;
  if (hasOnlyCrLf(view())) return true;
  StringBuffer strResult;
  if (!strResult.reserve(getSize())) return false;
  for (std::string_view strRest = view(); !strRest.empty();) {
    const auto strLine = TakeLine(strRest);
    if (!strResult.appendRaw(strLine)) return false;
    const bool bEnded = strLine.data() + strLine.size() != m_pText + m_nLength;
    if (bEnded && !strResult.appendRaw("\r\n")) return false;
  }
  strResult.setLength(strResult.m_nLength);
  *this = std::move(strResult);
  return true;
}

void StringBuffer::toLowerCase() {
  if (isValid()) std::transform(m_pText, m_pText + m_nLength, m_pText, toLowerAscii);
}

void StringBuffer::toLowerCaseLatin1() {
  toLowerCase();
  for (std::uint32_t n = 0; n < getSize(); ++n) {
    const auto nByte = static_cast<unsigned char>(m_pText[n]);
    const bool bLead = (m_pText[n + 1] & '\xC0') == '\x80';  // the NUL at the end is no trail
    if (nByte >= 0xC0 && nByte <= 0xDF && !bLead) m_pText[n] = static_cast<char>(nByte + 0x20);
  }
}

void StringBuffer::chop(std::size_t nBytes) {
  if (!isValid()) return;
  setLength(m_nLength - static_cast<std::uint32_t>(std::min<std::size_t>(nBytes, m_nLength)));
}

bool StringBuffer::splitLines(ExtPtrArraySb& arrLines, std::size_t nMaxLines) const {
  std::string_view strRest = view();
  for (std::size_t nLines = 0; nLines < nMaxLines && !strRest.empty(); ++nLines) {
    const auto strLine = TakeLine(strRest);
    auto pLine = makeOwned<StringBuffer>();
    if (pLine == nullptr || !pLine->append(strLine)) return false;
    if (!arrLines.append(std::move(pLine))) return false;
  }
  return true;
}

}  // namespace mail
