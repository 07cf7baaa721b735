#include "platform/Unicode.h"

#include <unicode/uchar.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>

namespace platform {
namespace {

static_assert(std::endian::native == std::endian::little, "units are packed as they lie in memory");

constexpr char16_t kReplacement = 0xFFFD;

// What may stand behind a lead byte: the length of the sequence, and the range of its second byte,
// which keeps out overlong forms, surrogates and what lies above U+10FFFF. All later bytes are 80
// to BF. Length 0 is no lead byte.
struct LeadByte {
  std::uint8_t nLength;
  std::uint8_t nSecondMin;
  std::uint8_t nSecondMax;
};

constexpr LeadByte LeadOf(unsigned nByte) {
  if (nByte < 0xC2) return {0, 0, 0};
  if (nByte < 0xE0) return {2, 0x80, 0xBF};
  if (nByte == 0xE0) return {3, 0xA0, 0xBF};
  if (nByte == 0xED) return {3, 0x80, 0x9F};
  if (nByte < 0xF0) return {3, 0x80, 0xBF};
  if (nByte == 0xF0) return {4, 0x90, 0xBF};
  if (nByte < 0xF4) return {4, 0x80, 0xBF};
  if (nByte == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

// The length of the well-formed sequence at the front of [p, end), which begins with no ASCII byte;
// or, with bWellFormed false, of the maximal ill-formed part there (at least 1).
size_t SequenceLength(const unsigned char* p, const unsigned char* pEnd, bool& bWellFormed) {
  bWellFormed = false;
  const LeadByte objLead = LeadOf(*p);
  if (objLead.nLength == 0) return 1;
  const size_t nLeft = static_cast<size_t>(pEnd - p);
  if (nLeft < 2 || p[1] < objLead.nSecondMin || p[1] > objLead.nSecondMax) return 1;
  for (size_t i = 2; i < objLead.nLength; ++i) {
    if (i >= nLeft || (p[i] & 0xC0) != 0x80) return i;
  }
  bWellFormed = true;
  return objLead.nLength;
}

char32_t DecodeSequence(const unsigned char* p, size_t nLength) {
  if (nLength == 2) return static_cast<char32_t>((p[0] & 0x1F) << 6 | (p[1] & 0x3F));
  if (nLength == 3) {
    return static_cast<char32_t>((p[0] & 0x0F) << 12 | (p[1] & 0x3F) << 6 | (p[2] & 0x3F));
  }
  return static_cast<char32_t>((p[0] & 0x07) << 18 | (p[1] & 0x3F) << 12 | (p[2] & 0x3F) << 6 |
                               (p[3] & 0x3F));
}

// Most mail is ASCII: eight bytes are looked at together.
size_t AsciiBytes(const unsigned char* p, const unsigned char* pEnd) {
  const unsigned char* const pStart = p;
  while (pEnd - p >= 8) {
    std::uint64_t nEight;
    std::memcpy(&nEight, p, sizeof nEight);
    if (nEight & 0x8080808080808080u) break;
    p += 8;
  }
  while (p != pEnd && *p < 0x80) ++p;
  return static_cast<size_t>(p - pStart);
}

// Copies the ASCII units at the front, four together while it lasts; returns how many there were.
size_t CopyAsciiUnits(const char16_t* p, const char16_t* pEnd, char* pOut) {
  const char16_t* const pStart = p;
  for (; pEnd - p >= 4; p += 4, pOut += 4) {
    std::uint64_t nFour;
    std::memcpy(&nFour, p, sizeof nFour);
    if (nFour & 0xFF80FF80FF80FF80u) break;
    nFour = (nFour | nFour >> 8) & 0x0000FFFF0000FFFFu;
    const auto nBytes = static_cast<std::uint32_t>(nFour | nFour >> 16);
    std::memcpy(pOut, &nBytes, sizeof nBytes);
  }
  while (p != pEnd && *p < 0x80) *pOut++ = static_cast<char>(*p++);
  return static_cast<size_t>(p - pStart);
}

bool IsHighSurrogate(char16_t ch) { return (ch & 0xFC00) == 0xD800; }
bool IsLowSurrogate(char16_t ch) { return (ch & 0xFC00) == 0xDC00; }

char* EncodeUtf8(char32_t ch, char* pOut) {
  if (ch < 0x80) {
    *pOut++ = static_cast<char>(ch);
  } else if (ch < 0x800) {
    *pOut++ = static_cast<char>(0xC0 | ch >> 6);
    *pOut++ = static_cast<char>(0x80 | (ch & 0x3F));
  } else if (ch < 0x10000) {
    *pOut++ = static_cast<char>(0xE0 | ch >> 12);
    *pOut++ = static_cast<char>(0x80 | (ch >> 6 & 0x3F));
    *pOut++ = static_cast<char>(0x80 | (ch & 0x3F));
  } else {
    *pOut++ = static_cast<char>(0xF0 | ch >> 18);
    *pOut++ = static_cast<char>(0x80 | (ch >> 12 & 0x3F));
    *pOut++ = static_cast<char>(0x80 | (ch >> 6 & 0x3F));
    *pOut++ = static_cast<char>(0x80 | (ch & 0x3F));
  }
  return pOut;
}

using CaseTable = std::array<char16_t, 0x10000>;

std::unique_ptr<CaseTable> MakeCaseTable(UChar32 (*fnMap)(UChar32)) {
  auto pTable = std::make_unique<CaseTable>();
  for (UChar32 ch = 0; ch < 0x10000; ++ch) {
    const UChar32 nMapped = fnMap(ch);
    (*pTable)[static_cast<size_t>(ch)] = static_cast<char16_t>(nMapped < 0x10000 ? nMapped : ch);
  }
  return pTable;
}

}  // namespace

std::u16string Utf8ToUtf16(std::string_view strUtf8) {
  std::u16string strResult(strUtf8.size(), u'\0');  // a sequence never has more units than bytes
  char16_t* pOut = strResult.data();
  auto* p = reinterpret_cast<const unsigned char*>(strUtf8.data());
  const auto* const pEnd = p + strUtf8.size();
  while (p != pEnd) {
    const size_t nAscii = AsciiBytes(p, pEnd);
    for (size_t i = 0; i < nAscii; ++i) pOut[i] = p[i];
    pOut += nAscii;
    p += nAscii;
    while (p != pEnd && *p >= 0x80) {
      bool bWellFormed;
      const size_t nLength = SequenceLength(p, pEnd, bWellFormed);
      const char32_t ch = bWellFormed ? DecodeSequence(p, nLength) : kReplacement;
      if (ch < 0x10000) {
        *pOut++ = static_cast<char16_t>(ch);
      } else {
        *pOut++ = static_cast<char16_t>(0xD7C0 + (ch >> 10));
        *pOut++ = static_cast<char16_t>(0xDC00 | (ch & 0x3FF));
      }
      p += nLength;
    }
  }
  strResult.resize(static_cast<size_t>(pOut - strResult.data()));
  return strResult;
}

std::string Utf16ToUtf8(std::u16string_view str) {
  size_t nBytes = str.size();  // a bound: a pair takes 4 bytes and is counted as 6
  for (const char16_t ch : str) {
    nBytes += static_cast<size_t>(ch >= 0x80) + static_cast<size_t>(ch >= 0x800);
  }
  std::string strResult(nBytes, '\0');
  char* pOut = strResult.data();
  const char16_t* p = str.data();
  const char16_t* const pEnd = p + str.size();
  while (p != pEnd) {
    const size_t nAscii = CopyAsciiUnits(p, pEnd, pOut);
    pOut += nAscii;
    p += nAscii;
    while (p != pEnd && *p >= 0x80) {
      char32_t ch = *p++;
      if (IsHighSurrogate(static_cast<char16_t>(ch)) && p != pEnd && IsLowSurrogate(*p)) {
        ch = 0x10000 + ((ch & 0x3FF) << 10 | (*p++ & 0x3FFu));
      } else if ((ch & 0xF800) == 0xD800) {
        ch = kReplacement;
      }
      pOut = EncodeUtf8(ch, pOut);
    }
  }
  strResult.resize(static_cast<size_t>(pOut - strResult.data()));
  return strResult;
}

bool IsValidUtf8(std::string_view strUtf8) {
  auto* p = reinterpret_cast<const unsigned char*>(strUtf8.data());
  const auto* const pEnd = p + strUtf8.size();
  for (;;) {
    p += AsciiBytes(p, pEnd);
    if (p == pEnd) return true;
    bool bWellFormed;
    p += SequenceLength(p, pEnd, bWellFormed);
    if (!bWellFormed) return false;
  }
}

char16_t UpperUnit(char16_t ch) {
  if (ch < 0x80) return ch >= u'a' && ch <= u'z' ? static_cast<char16_t>(ch - 0x20) : ch;
  static const std::unique_ptr<const CaseTable> pTable = MakeCaseTable(u_toupper);
  return (*pTable)[ch];
}

char16_t LowerUnit(char16_t ch) {
  if (ch < 0x80) return ch >= u'A' && ch <= u'Z' ? static_cast<char16_t>(ch + 0x20) : ch;
  static const std::unique_ptr<const CaseTable> pTable = MakeCaseTable(u_tolower);
  return (*pTable)[ch];
}

std::u16string UpperUnits(std::u16string_view str) {
  std::u16string strResult(str);
  for (char16_t& ch : strResult) ch = UpperUnit(ch);
  return strResult;
}

bool EqualNoCase(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && UpperUnit(a[i]) != UpperUnit(b[i])) return false;
  }
  return true;
}

}  // namespace platform
