#include "mime/encoding/ContentCoding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/Base64.h"

// Base64 of bodies. The bulk is platform/Base64; here are the lines, and what a mail may hold
// besides the alphabet.
namespace mail {
namespace {

constexpr std::size_t kLineEnd = 2;  // CR LF

std::span<const unsigned char> bytesOf(std::string_view strBytes) {
  return {reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()};
}

char* putLineEnd(char* pOut) {
  std::memcpy(pOut, "\r\n", kLineEnd);
  return pOut + kLineEnd;
}

// Lines of nLine characters, a multiple of 4: each is encoded in its place.
void putLines(std::string_view strBytes, std::size_t nLine, char* pOut) {
  while (!strBytes.empty()) {
    const auto strLine = strBytes.substr(0, nLine / 4 * 3);
    platform::Base64Encode(bytesOf(strLine), pOut);
    pOut = putLineEnd(pOut + platform::Base64Length(strLine.size()));
    strBytes.remove_prefix(strLine.size());
  }
}

// Lines of any length, which may end inside a group: all is encoded behind the room for the line
// ends, and then moved forward a line at a time.
void putOddLines(std::string_view strBytes, std::size_t nLine, std::size_t nLines, char* pOut) {
  const char* p = pOut + nLines * kLineEnd;
  const char* const pEnd = p + platform::Base64Length(strBytes.size());
  platform::Base64Encode(bytesOf(strBytes), pOut + nLines * kLineEnd);
  while (p < pEnd) {
    const auto nChars = std::min(nLine, static_cast<std::size_t>(pEnd - p));
    std::memmove(pOut, p, nChars);
    p += nChars;
    pOut = putLineEnd(pOut + nChars);
  }
}

template <class Buffer>
bool encode(std::string_view strBytes, std::size_t nLine, Buffer& out) {
  if (strBytes.empty()) return true;
  const std::size_t nChars = platform::Base64Length(strBytes.size());
  if (nLine == 0 || nLine > nChars) nLine = nChars;
  const std::size_t nLines = (nChars + nLine - 1) / nLine;
  const std::size_t nTotal = nChars + nLines * kLineEnd;
  auto* const pOut = reinterpret_cast<char*>(out.prepare(nTotal));
  if (pOut == nullptr) return false;
  if (nLine % 4 == 0) {
    putLines(strBytes, nLine, pOut);
  } else {
    putOddLines(strBytes, nLine, nLines, pOut);
  }
  out.commit(nTotal);
  return true;
}

constexpr signed char kSkipped = -1, kEnd = -2;

// What a character is to the reader of a mail: its six bits, or one of the above.
constexpr std::array<signed char, 256> kKinds = [] {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<signed char, 256> aKinds{};
  aKinds.fill(kSkipped);
  for (std::size_t n = 0; n < kAlphabet.size(); ++n) {
    aKinds[static_cast<unsigned char>(kAlphabet[n])] = static_cast<signed char>(n);
  }
  aKinds['='] = aKinds['\0'] = kEnd;
  return aKinds;
}();

// A group whose characters do not stand together, or the last one.
struct Group {
  std::uint32_t nBits = 0;
  int nHave = 0;  // characters
};

// Reads on to the end of a group; false when the data ends first.
bool takeGroup(const char*& p, const char* pEnd, Group& group) {
  while (p != pEnd) {
    const int nKind = kKinds[static_cast<unsigned char>(*p)];
    if (nKind == kEnd) return false;
    ++p;
    if (nKind == kSkipped) continue;
    group.nBits = group.nBits << 6 | static_cast<std::uint32_t>(nKind);
    if (++group.nHave == 4) return true;
  }
  return false;
}

// Whether a group stands together at p, so that the fast way is worth a try.
bool isGroupAt(const char* p, const char* pEnd) {
  const auto kindAt = [p](int i) { return kKinds[static_cast<unsigned char>(p[i])]; };
  return pEnd - p >= 4 && (kindAt(0) | kindAt(1) | kindAt(2) | kindAt(3)) >= 0;
}

unsigned char* putGroup(const Group& group, unsigned char* pOut) {
  const std::uint32_t nBits = group.nBits << (6 * (4 - group.nHave));
  for (int i = 1; i < group.nHave; ++i) *pOut++ = static_cast<unsigned char>(nBits >> (24 - 8 * i));
  return pOut;
}

}  // namespace

bool ContentCoding::encodeBase64(std::string_view strBytes, StringBuffer& strOut) const {
  return encode(strBytes, m_nLineLength, strOut);
}

bool ContentCoding::encodeBase64(std::string_view strBytes, DataBuffer& out) const {
  return encode(strBytes, m_nLineLength, out);
}

// Groups that stand together, which is all of a clean line, are decoded in one go. What stops them
// is mostly a line end; anything else makes groups the slow way, until one stands together again.
bool ContentCoding::decodeBase64(std::string_view strText, DataBuffer& out) {
  auto* const pStart = out.prepare(strText.size() / 4 * 3 + 3 + platform::kBase64Slack);
  if (pStart == nullptr) return false;
  unsigned char* pOut = pStart;
  const char* p = strText.data();
  const char* const pEnd = p + strText.size();
  for (bool bMore = true; bMore;) {
    const std::size_t nChars =
        platform::Base64DecodeGroups({p, static_cast<std::size_t>(pEnd - p)}, pOut);
    p += nChars;
    pOut += nChars / 4 * 3;
    const char* const pLineEnd = p;
    while (p < pEnd && (*p == '\r' || *p == '\n')) ++p;
    if (nChars != 0 && p != pLineEnd) continue;
    do {
      Group group;
      bMore = takeGroup(p, pEnd, group);
      pOut = putGroup(group, pOut);
    } while (bMore && !isGroupAt(p, pEnd));
  }
  out.commit(static_cast<std::size_t>(pOut - pStart));
  return true;
}

}  // namespace mail
