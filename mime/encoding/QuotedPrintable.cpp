#include "mime/encoding/ContentCoding.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "mime/encoding/HexDigits.h"

// Quoted-printable of bodies. Both directions copy stretches that stand for themselves 16 bytes at
// a time and look closely only at what ends one.
namespace mail {
namespace {

// A copy of a stretch may write this many bytes past its end.
constexpr std::size_t kSlack = 16;

// --- Encoding. ---

bool isPlain(unsigned char ch) { return ch >= ' ' && ch <= '~' && ch != '='; }

bool isBlank(char ch) { return ch == ' ' || ch == '\t'; }

// Copies characters that stand for themselves, nMost at most, and returns how many.
std::size_t copyPlain(const char* p, const char* pEnd, std::size_t nMost, char* pOut) {
  nMost = std::min(nMost, static_cast<std::size_t>(pEnd - p));
  std::size_t n = 0;
#if defined(__SSE2__)
  for (; n < nMost && static_cast<std::size_t>(pEnd - p) - n >= 16; n += 16) {
    const __m128i arr = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pOut + n), arr);
    // Signed: bytes of 0x80 and above are below the blank.
    const __m128i arrLow = _mm_cmplt_epi8(arr, _mm_set1_epi8(' '));
    const __m128i arrOther = _mm_or_si128(_mm_cmpeq_epi8(arr, _mm_set1_epi8('=')),
                                          _mm_cmpeq_epi8(arr, _mm_set1_epi8(0x7F)));
    const auto nStops = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(arrLow, arrOther)));
    if (nStops != 0) return std::min(n + static_cast<unsigned>(std::countr_zero(nStops)), nMost);
  }
#endif
  for (; n < nMost && isPlain(static_cast<unsigned char>(p[n])); ++n) pOut[n] = p[n];
  return std::min(n, nMost);
}

// Walks over the input once, a slice at a time so that the output needs no more room than that.
class Encoder {
 public:
  static constexpr std::size_t kSlice = 16384;  // bytes of input

  Encoder(std::string_view strBytes, std::size_t nMost)
      : m_p(strBytes.data()), m_pEnd(m_p + strBytes.size()), m_nMost(nMost) {}

  bool isDone() const { return m_p == m_pEnd; }
  // No byte takes more than "=XX" and a soft break.
  std::size_t room() const { return 6 * std::min(kSlice, left(m_p)) + kSlack; }

  // Encodes the next slice to pOut, where room() bytes are free, and returns the place behind it.
  char* run(char* pOut) {
    m_pOut = pOut;
    m_pStop = m_p + std::min(kSlice, left(m_p));
    while (m_p < m_pStop) {
      if (m_nColumn == 0 && isTransportWord()) {
        putEscape();
      } else if (!putStretch()) {
        putSpecial();
      }
      if (m_nColumn >= m_nMost && !isLineEnd(m_p)) putSoftBreak();
    }
    return m_pOut;
  }

 private:
  std::size_t left(const char* p) const { return static_cast<std::size_t>(m_pEnd - p); }
  bool isLineEnd(const char* p) const { return left(p) >= 2 && p[0] == '\r' && p[1] == '\n'; }
  // A blank there would be lost on the way.
  bool endsLine(const char* p) const { return p == m_pEnd || isLineEnd(p); }
  bool isTransportWord() const {
    return *m_p == '.' || (left(m_p) >= 5 && std::memcmp(m_p, "From ", 5) == 0);
  }

  // False if there is nothing that stands for itself.
  bool putStretch() {
    std::size_t n = copyPlain(m_p, m_pStop, m_nMost - m_nColumn, m_pOut);
    if (n > 0 && m_p[n - 1] == ' ' && endsLine(m_p + n)) --n;
    m_p += n;
    m_pOut += n;
    m_nColumn += n;
    return n > 0;
  }

  void putSpecial() {
    if (isLineEnd(m_p)) {
      putText("\r\n");
      m_p += 2;
      m_nColumn = 0;
    } else if (*m_p == '\t' && !endsLine(m_p + 1)) {
      *m_pOut++ = *m_p++;
      ++m_nColumn;
    } else {
      if (m_nColumn > 0 && m_nColumn + 2 >= m_nMost) putSoftBreak();
      putEscape();
    }
  }

  void putEscape() {
    m_pOut = hex::putEscape(*m_p++, m_pOut);
    m_nColumn += 3;
  }

  void putSoftBreak() {
    putText("=\r\n");
    m_nColumn = 0;
  }

  void putText(std::string_view str) {
    std::memcpy(m_pOut, str.data(), str.size());
    m_pOut += str.size();
  }

  const char* m_p;
  const char* const m_pEnd;
  const char* m_pStop = nullptr;  // of the slice
  char* m_pOut = nullptr;
  const std::size_t m_nMost;  // characters in front of a soft break
  std::size_t m_nColumn = 0;
};

template <class Buffer>
bool encode(std::string_view strBytes, unsigned nLineLength, Buffer& out) {
  constexpr std::size_t kNoLimit = std::size_t{1} << 40;
  const std::size_t nMost = nLineLength == 0 ? kNoLimit : std::max(nLineLength, 4U) - 1;
  Encoder objEncoder(strBytes, nMost);
  while (!objEncoder.isDone()) {
    auto* const pOut = reinterpret_cast<char*>(out.prepare(objEncoder.room()));
    if (pOut == nullptr) return false;
    out.commit(static_cast<std::size_t>(objEncoder.run(pOut) - pOut));
  }
  return true;
}

// --- Decoding. ---

constexpr char without8thBit(char ch) { return static_cast<char>(ch & 0x7F); }

bool isEqualsSign(char ch) { return without8thBit(ch) == '='; }

int digitAt(const char* p) { return hex::valueOf(without8thBit(*p)); }

// The byte of "=XX" at p, or -1.
int escapeAt(const char* p, const char* pEnd) {
  if (pEnd - p < 3 || !isEqualsSign(p[0])) return -1;
  const int nHigh = digitAt(p + 1), nLow = digitAt(p + 2);
  return nHigh < 0 || nLow < 0 ? -1 : nHigh << 4 | nLow;
}

// Copies up to the next "=" and returns how many bytes; the high bit of a byte is ignored here.
std::size_t copyToEquals(const char* p, const char* pEnd, char* pOut) {
  std::size_t n = 0;
  const auto nLeft = static_cast<std::size_t>(pEnd - p);
#if defined(__SSE2__)
  for (; nLeft - n >= 16; n += 16) {
    const __m128i arr = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pOut + n), arr);
    const __m128i arrLow = _mm_and_si128(arr, _mm_set1_epi8(0x7F));
    const auto nStops =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(arrLow, _mm_set1_epi8('='))));
    if (nStops != 0) return n + static_cast<unsigned>(std::countr_zero(nStops));
  }
#endif
  for (; n < nLeft && !isEqualsSign(p[n]); ++n) pOut[n] = p[n];
  return n;
}

// "=00" 4 digits ";" is what a broken converter wrote for a character of UTF-16. The character of
// such a text at p, where "=00" was seen, or -1.
int referenceAt(const char* p, const char* pEnd) {
  if (pEnd - p < 8 || p[7] != ';') return -1;
  int nUnit = 0;
  for (int i = 3; i < 7; ++i) {
    const int nDigit = digitAt(p + i);
    if (nDigit < 0) return -1;
    nUnit = nUnit << 4 | nDigit;
  }
  return nUnit;
}

// The same converter put "=XX" with twice the same digit and four letters F in front of a byte.
// Whether these letters stand behind the "=XX" at p, and the "=XX" that counts behind them.
bool isFillerAt(const char* p, const char* pEnd) {
  if (pEnd - p < 10) return false;
  const char ch = without8thBit(p[3]);
  if (ch != 'F' && ch != 'f') return false;
  for (int i = 4; i < 7; ++i) {
    if (without8thBit(p[i]) != ch) return false;
  }
  return escapeAt(p + 7, pEnd) >= 0;
}

char* putReference(int nUnit, char* pOut) {
  char arrDigits[5];
  int nDigits = 0;
  do {
    arrDigits[nDigits++] = static_cast<char>('0' + nUnit % 10);
    nUnit /= 10;
  } while (nUnit != 0);
  *pOut++ = '&';
  *pOut++ = '#';
  while (nDigits > 0) *pOut++ = arrDigits[--nDigits];
  *pOut++ = ';';
  return pOut;
}

using ZeroReferences = ContentCoding::ZeroReferences;

// What begins with the "=" at p; p moves behind it.
char* putAtEquals(const char*& p, const char* pEnd, ZeroReferences nReferences, char* pOut) {
  const int nByte = escapeAt(p, pEnd);
  if (nByte < 0) {
    *pOut++ = *p++;
    if (p < pEnd) *pOut++ = *p++;  // stays as well, even a "="
    return pOut;
  }
  if (nByte == 0 && nReferences == ZeroReferences::kRead) {
    const int nUnit = referenceAt(p, pEnd);
    if (nUnit >= 0) {
      p += 8;
      return putReference(nUnit, pOut);
    }
  }
  if (nByte % 0x11 == 0 && isFillerAt(p, pEnd)) {
    p += 7;
    return pOut;
  }
  *pOut++ = static_cast<char>(nByte);
  p += 3;
  return pOut;
}

// A line without its end and without the "=" of a soft break.
char* putLine(const char* p, const char* pEnd, ZeroReferences nReferences, char* pOut) {
  while (p < pEnd) {
    if (!isEqualsSign(*p)) {
      const std::size_t n = copyToEquals(p, pEnd, pOut);
      p += n;
      pOut += n;
      if (p == pEnd) break;
    }
    pOut = putAtEquals(p, pEnd, nReferences, pOut);
  }
  return pOut;
}

// Where the line ends when blanks and line ends behind its text do not count; of a line without
// text only the line ends go.
const char* cutLine(const char* p, const char* pEnd) {
  const char* pCut = pEnd;
  while (pCut > p && (isBlank(pCut[-1]) || pCut[-1] == '\r' || pCut[-1] == '\n')) --pCut;
  if (pCut > p) return pCut;
  while (pEnd > p && (pEnd[-1] == '\r' || pEnd[-1] == '\n')) --pEnd;
  return pEnd;
}

}  // namespace

bool ContentCoding::encodeQuotedPrintable(std::string_view strBytes, StringBuffer& strOut) const {
  return encode(strBytes, m_nLineLength, strOut);
}

bool ContentCoding::encodeQuotedPrintable(std::string_view strBytes, DataBuffer& out) const {
  return encode(strBytes, m_nLineLength, out);
}

bool ContentCoding::decodeQuotedPrintable(std::string_view strText, DataBuffer& out,
                                          ZeroReferences nReferences) {
  strText = strText.substr(0, strText.find('\0'));
  const char* p = strText.data();
  const char* const pEnd = p + strText.size();
  if (!out.reserve(strText.size() + kSlack)) return false;
  while (p < pEnd) {
    const void* const pFound = std::memchr(p, '\n', static_cast<std::size_t>(pEnd - p));
    const char* const pNext = pFound != nullptr ? static_cast<const char*>(pFound) + 1 : pEnd;
    const char* pCut = cutLine(p, pNext);
    const bool bSoft = pCut > p && pCut[-1] == '=';
    if (bSoft) --pCut;
    // No line grows but by the CR of its end.
    auto* const pStart =
        reinterpret_cast<char*>(out.prepare(static_cast<std::size_t>(pNext - p) + 1 + kSlack));
    if (pStart == nullptr) return false;
    char* pOut = putLine(p, pCut, nReferences, pStart);
    if (pFound != nullptr && !bSoft) {
      *pOut++ = '\r';
      *pOut++ = '\n';
    }
    out.commit(static_cast<std::size_t>(pOut - pStart));
    p = pNext;
  }
  return true;
}

}  // namespace mail
