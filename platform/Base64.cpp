#include "platform/Base64.h"

#include <array>
#include <cstdint>
#include <cstring>

#include "platform/Base64Vector.h"

// Long runs are the business of Base64Vector; what it leaves is done here a group at a time.
// Encoding looks up 12 bits at a time: two characters for each half of a group of three bytes.
// Decoding joins four look-ups whose tables hold the six bits already shifted to their place; a
// character outside the alphabet sets a bit above the 24, so one test covers the group.
namespace platform {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

using PairTable = std::array<std::array<char, 2>, 4096>;

constexpr PairTable MakePairTable() {
  PairTable arrPairs{};
  for (size_t i = 0; i < arrPairs.size(); ++i) {
    arrPairs[i] = {kAlphabet[i >> 6], kAlphabet[i & 0x3F]};
  }
  return arrPairs;
}

constexpr std::uint32_t kOutside = 0x01000000;

using DecodeTable = std::array<std::uint32_t, 256>;

constexpr DecodeTable MakeDecodeTable(int nShift) {
  DecodeTable arrBits{};
  arrBits.fill(kOutside);
  for (std::uint32_t i = 0; i < 64; ++i) {
    arrBits[static_cast<unsigned char>(kAlphabet[i])] = i << nShift;
  }
  return arrBits;
}

constexpr PairTable kPairs = MakePairTable();
constexpr DecodeTable kDecode0 = MakeDecodeTable(18);
constexpr DecodeTable kDecode1 = MakeDecodeTable(12);
constexpr DecodeTable kDecode2 = MakeDecodeTable(6);
constexpr DecodeTable kDecode3 = MakeDecodeTable(0);

bool IsSpace(unsigned char ch) { return ch == ' ' || (ch >= '\t' && ch <= '\r'); }

unsigned char* PutBytes(std::uint32_t nBits, int nBytes, unsigned char* pOut) {
  for (int i = 0; i < nBytes; ++i) *pOut++ = static_cast<unsigned char>(nBits >> (16 - 8 * i));
  return pOut;
}

// Reads one group that may be parted by white space, or the padded last one. Returns the bytes it
// gave (0: only white space was left), or -1 when it is malformed. After a padded group p is at the
// end.
int TakeGroup(const unsigned char*& p, const unsigned char* pEnd, std::uint32_t& nBits) {
  int nHave = 0;
  int nPadding = 0;
  nBits = 0;
  while (p != pEnd && nHave + nPadding < 4) {
    const unsigned char ch = *p++;
    if (IsSpace(ch)) continue;
    if (ch == '=') {
      ++nPadding;
      continue;
    }
    if (nPadding != 0 || kDecode3[ch] == kOutside) return -1;
    nBits |= kDecode3[ch] << (18 - 6 * nHave++);
  }
  if (nHave == 0 && nPadding == 0) return 0;
  if (nHave + nPadding < 4 || nPadding > 2) return -1;
  if (nPadding == 0) return 3;
  for (; p != pEnd; ++p) {
    if (!IsSpace(*p)) return -1;
  }
  return nHave - 1;
}

}  // namespace

void Base64Encode(std::span<const unsigned char> objBytes, char* pOut) {
  const size_t nDone = base64_vector::Encode(objBytes.data(), objBytes.size(), pOut);
  const unsigned char* p = objBytes.data() + nDone;
  size_t nLeft = objBytes.size() - nDone;
  pOut += nDone / 3 * 4;
  for (; nLeft >= 3; nLeft -= 3, p += 3, pOut += 4) {
    const unsigned nBits = static_cast<unsigned>(p[0] << 16 | p[1] << 8 | p[2]);
    std::memcpy(pOut, kPairs[nBits >> 12].data(), 2);
    std::memcpy(pOut + 2, kPairs[nBits & 0xFFF].data(), 2);
  }
  if (nLeft == 0) return;
  const unsigned nBits = static_cast<unsigned>(p[0] << 16 | (nLeft == 2 ? p[1] << 8 : 0));
  std::memcpy(pOut, kPairs[nBits >> 12].data(), 2);
  pOut[2] = nLeft == 2 ? kPairs[nBits & 0xFFF][0] : '=';
  pOut[3] = '=';
}

std::string Base64Encode(std::string_view strBytes) {
  std::string strText(Base64Length(strBytes.size()), '\0');
  Base64Encode({reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()},
               strText.data());
  return strText;
}

size_t Base64DecodeGroups(std::string_view strText, unsigned char* pOut) {
  const size_t nBlocks = base64_vector::Decode(strText.data(), strText.size(), pOut);
  auto* p = reinterpret_cast<const unsigned char*>(strText.data()) + nBlocks;
  const auto* const pStart = p - nBlocks;
  const auto* const pEnd = pStart + strText.size();
  pOut += nBlocks / 4 * 3;
  for (; pEnd - p >= 4; p += 4) {
    const std::uint32_t nBits = kDecode0[p[0]] | kDecode1[p[1]] | kDecode2[p[2]] | kDecode3[p[3]];
    if (nBits >= kOutside) break;
    pOut = PutBytes(nBits, 3, pOut);
  }
  return static_cast<size_t>(p - pStart);
}

bool Base64Decode(std::string_view strText, std::string& strBytes) {
  strBytes.resize(strText.size() / 4 * 3 + 3 + kBase64Slack);
  auto* const pStart = reinterpret_cast<unsigned char*>(strBytes.data());
  unsigned char* pOut = pStart;
  auto* p = reinterpret_cast<const unsigned char*>(strText.data());
  const auto* const pEnd = p + strText.size();
  while (p != pEnd) {
    const size_t nChars =
        Base64DecodeGroups(strText.substr(strText.size() - static_cast<size_t>(pEnd - p)), pOut);
    p += nChars;
    pOut += nChars / 4 * 3;
    std::uint32_t nBits = 0;
    const int nBytes = TakeGroup(p, pEnd, nBits);
    if (nBytes < 0) {
      strBytes.clear();
      return false;
    }
    pOut = PutBytes(nBits, nBytes, pOut);
  }
  strBytes.resize(static_cast<size_t>(pOut - pStart));
  return true;
}

}  // namespace platform
