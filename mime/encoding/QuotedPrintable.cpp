#include "mime/encoding/ContentCoding.h"

#include <algorithm>
#include <array>
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

// What is written as "=XX" wherever it stands; a CR may begin a line end.
constexpr std::array<bool, 256> kAlwaysEscaped = [] {
  std::array<bool, 256> aEscaped{};
  for (std::size_t n = 0; n < 256; ++n) {
    aEscaped[n] = n > '~' || n == '=' || (n < ' ' && n != '\r' && n != '\t');
  }
  return aEscaped;
}();

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
      *m_pOut++ = *m_p++;
      *m_pOut++ = *m_p++;
      m_nColumn = 0;
    } else if (*m_p == '\t' && !endsLine(m_p + 1)) {
      *m_pOut++ = *m_p++;
      ++m_nColumn;
    } else {
      putEscapes();
    }
  }

  // One escape, and those of the bytes behind it that need one too: text that is not Latin is made
  // of such stretches. None ends a line, so a soft break may stand behind each.
  void putEscapes() {
    const char* p = m_p;  // locals: writing characters could change any member
    char* pOut = m_pOut;
    std::size_t nColumn = m_nColumn;
    do {
      if (nColumn > 0 && nColumn + 2 >= m_nMost) {
        pOut = softBreak(pOut);
        nColumn = 0;
      }
      pOut = hex::putEscape(*p++, pOut);
      nColumn += 3;
    } while (nColumn < m_nMost && p < m_pStop && kAlwaysEscaped[static_cast<unsigned char>(*p)]);
    m_p = p;
    m_pOut = pOut;
    m_nColumn = nColumn;
  }

  void putEscape() {
    m_pOut = hex::putEscape(*m_p++, m_pOut);
    m_nColumn += 3;
  }

  void putSoftBreak() {
    m_pOut = softBreak(m_pOut);
    m_nColumn = 0;
  }

  static char* softBreak(char* pOut) {
    std::memcpy(pOut, "=\r\n", 3);
    return pOut + 3;
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

// Copies up to the next "=", the high bit of a byte ignored, or LF, and returns how many bytes.
std::size_t copyToMark(const char* p, const char* pEnd, char* pOut) {
  std::size_t n = 0;
  const auto nLeft = static_cast<std::size_t>(pEnd - p);
#if defined(__SSE2__)
  for (; nLeft - n >= 16; n += 16) {
    const __m128i arr = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pOut + n), arr);
    const __m128i arrLow = _mm_and_si128(arr, _mm_set1_epi8(0x7F));
    const __m128i arrStops = _mm_or_si128(_mm_cmpeq_epi8(arrLow, _mm_set1_epi8('=')),
                                          _mm_cmpeq_epi8(arr, _mm_set1_epi8('\n')));
    const auto nStops = static_cast<unsigned>(_mm_movemask_epi8(arrStops));
    if (nStops != 0) return n + static_cast<unsigned>(std::countr_zero(nStops));
  }
#endif
  for (; n < nLeft && !isEqualsSign(p[n]) && p[n] != '\n'; ++n) pOut[n] = p[n];
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

// Goes over the text once. Blanks are copied where they stand and taken back when a line end comes,
// down to what the line cannot lose: bytes that were escaped.
class Decoder {
 public:
  Decoder(std::string_view strText, ZeroReferences nReferences, DataBuffer& out)
      : m_p(strText.data()), m_pEnd(m_p + strText.size()), m_nReferences(nReferences), m_out(out) {}

  // False for want of memory.
  bool run() {
    if (!makeRoom()) return false;
    while (m_p < m_pEnd) {
      const std::size_t n = copyToMark(m_p, m_pEnd, m_pOut);
      m_p += n;
      m_pOut += n;
      if (m_p == m_pEnd) break;
      if (*m_p != '\n') {
        putAtEquals();
      } else if (++m_p; !endLine()) {
        return false;
      }
    }
    trimLine();
    m_out.commit(static_cast<std::size_t>(m_pOut - m_pStart));
    return true;
  }

 private:
  // For all that is left if no line end grows, and for some that do.
  bool makeRoom() {
    if (m_pStart != nullptr) m_out.commit(static_cast<std::size_t>(m_pOut - m_pStart));
    const auto nLeft = static_cast<std::size_t>(m_pEnd - m_p);
    const std::size_t nRoom = nLeft + nLeft / 16 + 64 + kSlack;
    m_pStart = m_pOut = m_pLine = m_pKept = reinterpret_cast<char*>(m_out.prepare(nRoom));
    m_pRoomEnd = m_pStart + nRoom;
    return m_pStart != nullptr;
  }

  bool endLine() {
    trimLine();
    *m_pOut++ = '\r';
    *m_pOut++ = '\n';
    m_pLine = m_pKept = m_pOut;
    const std::size_t nNeeded = static_cast<std::size_t>(m_pEnd - m_p) + kSlack + 2;
    return static_cast<std::size_t>(m_pRoomEnd - m_pOut) >= nNeeded || makeRoom();
  }

  // Of a line of blanks alone only the CR goes.
  void trimLine() {
    char* pCut = m_pOut;
    while (pCut > m_pKept && (isBlank(pCut[-1]) || pCut[-1] == '\r')) --pCut;
    if (pCut == m_pLine) {
      for (pCut = m_pOut; pCut > m_pLine && pCut[-1] == '\r';) --pCut;
    }
    m_pOut = pCut;
  }

  // Whether the "=" at p is the last character of its line; moves p to the next line then.
  bool takeSoftBreak(const char*& p) const {
    if (*p != '=') return false;
    const char* pNext = p + 1;
    while (pNext < m_pEnd && (isBlank(*pNext) || *pNext == '\r')) ++pNext;
    if (pNext < m_pEnd && *pNext != '\n') return false;
    p = pNext < m_pEnd ? pNext + 1 : pNext;
    return true;
  }

  void putAtEquals() {
    const int nByte = escapeAt(m_p, m_pEnd);
    if (nByte < 0) {
      putNoEscape();
      return;
    }
    if (nByte == 0 && m_nReferences == ZeroReferences::kRead) {
      const int nUnit = referenceAt(m_p, m_pEnd);
      if (nUnit >= 0) {
        m_pOut = putReference(nUnit, m_pOut);
        m_p += 8;
        m_pKept = m_pOut;
        return;
      }
    }
    if (nByte % 0x11 == 0 && isFillerAt(m_p, m_pEnd)) {
      m_p += 7;
      return;
    }
    *m_pOut++ = static_cast<char>(nByte);
    m_p += 3;
    putPlainEscapes();
    m_pKept = m_pOut;
  }

  // Escapes in a row, as long as none of them may mean something else.
  void putPlainEscapes() {
    for (; m_pEnd - m_p >= 3 && m_p[0] == '='; m_p += 3) {
      const int nHigh = hex::valueOf(m_p[1]), nLow = hex::valueOf(m_p[2]);
      if (nHigh < 0 || nLow < 0 || nHigh == nLow) return;
      *m_pOut++ = static_cast<char>(nHigh << 4 | nLow);
    }
  }

  void putNoEscape() {
    if (takeSoftBreak(m_p)) {
      m_pLine = m_pKept = m_pOut;
      return;
    }
    *m_pOut++ = *m_p++;
    // The character behind it stays as well, even a "=" unless that is a soft break.
    const char* p = m_p;
    if (p < m_pEnd && *p != '\n' && !takeSoftBreak(p)) *m_pOut++ = *m_p++;
  }

  const char* m_p;
  const char* const m_pEnd;
  const ZeroReferences m_nReferences;
  DataBuffer& m_out;
  char* m_pStart = nullptr;  // where the present room begins and ends
  char* m_pRoomEnd = nullptr;
  char* m_pOut = nullptr;
  char* m_pLine = nullptr;  // where the line of input begins
  char* m_pKept = nullptr;  // what stands in front is never taken back
};

}  // namespace

bool ContentCoding::encodeQuotedPrintable(std::string_view strBytes, StringBuffer& strOut) const {
  return encode(strBytes, m_nLineLength, strOut);
}

bool ContentCoding::encodeQuotedPrintable(std::string_view strBytes, DataBuffer& out) const {
  return encode(strBytes, m_nLineLength, out);
}

bool ContentCoding::decodeQuotedPrintable(std::string_view strText, DataBuffer& out,
                                          ZeroReferences nReferences) {
  return Decoder(strText.substr(0, strText.find('\0')), nReferences, out).run();
}

}  // namespace mail
