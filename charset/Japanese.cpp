#include "charset/Japanese.h"

#include <algorithm>
#include <array>
#include <cstdint>

// JIS X 0208 has rows and columns from 0x21 to 0x7E. Shift_JIS folds two rows into one lead byte:
// the odd row takes the trail bytes 0x40 to 0x9E (without 0x7F), the even one 0x9F to 0xFC.
//
//   JIS 30 21 (row odd)   lead (30 + 1) / 2 + 70 = 88,  trail 21 + 7E = 9F
//
// The rows 0x79 to 0x7C hold characters of two makers, which Shift_JIS has a second time in leads
// of 0xFA to 0xFC: that is where text in 932 has them, so those rows go there.
namespace mail {
namespace {

constexpr unsigned char kEscape = 0x1B;
constexpr unsigned char kShiftOut = 0x0E;
constexpr unsigned char kShiftIn = 0x0F;

struct Pair {
  unsigned nHigh;
  unsigned nLow;
};
constexpr Pair kNoPair{0, 0};

bool isJis(unsigned ch) { return ch >= 0x21 && ch <= 0x7E; }
bool isLead(unsigned ch) { return (ch >= 0x81 && ch <= 0x9F) || (ch >= 0xE0 && ch <= 0xFC); }
bool isTrail(unsigned ch) { return ch >= 0x40 && ch <= 0xFC; }
bool isKatakana(unsigned ch) { return ch >= 0xA1 && ch <= 0xDF; }

// --- The extension rows. ---

constexpr unsigned kRow = 94;    // characters of a JIS row
constexpr unsigned kLead = 188;  // characters of a Shift_JIS lead
constexpr unsigned kFirstRow = 0x79;
constexpr unsigned kFirstLead = 0xFA;

// nCount characters, from place nJis of the rows 0x79 to 0x7C (counted through), at place nShiftJis
// of the leads 0xFA to 0xFC (likewise).
struct ExtensionRange {
  unsigned nJis;
  unsigned nCount;
  unsigned nShiftJis;
};
constexpr std::array kExtension = std::to_array<ExtensionRange>({
    {0, 360, 28},  // 79 21 is FA 5C; kanji
    {362, 10, 0},  // 7C 71 is FA 40; small Roman numerals
    {372, 4, 20},  // 7C 7B is FA 54; signs
});

// Characters of the leads 0xFA to 0xFC that stand in JIS X 0208 or row 0x2D too.
struct ExtensionDouble {
  unsigned nShiftJis;
  unsigned nCount;
  Pair objJis;
};
constexpr std::array kExtensionDoubles = std::to_array<ExtensionDouble>({
    {10, 10, {0x2D, 0x35}},  // FA 4A: Roman numerals
    {24, 1, {0x2D, 0x6A}},   // FA 58: stock company
    {25, 1, {0x2D, 0x62}},   // FA 59: numero
    {26, 1, {0x2D, 0x64}},   // FA 5A: telephone
    {27, 1, {0x22, 0x68}},   // FA 5B: because
});

Pair extensionToShiftJis(unsigned nHigh, unsigned nLow) {
  if (nHigh < kFirstRow) return kNoPair;
  const unsigned nPlace = (nHigh - kFirstRow) * kRow + (nLow - 0x21);
  for (const ExtensionRange& objRange : kExtension) {
    if (nPlace - objRange.nJis >= objRange.nCount) continue;
    const unsigned nTarget = nPlace - objRange.nJis + objRange.nShiftJis;
    const unsigned nTrail = nTarget % kLead + 0x40;
    return {kFirstLead + nTarget / kLead, nTrail >= 0x7F ? nTrail + 1 : nTrail};
  }
  return kNoPair;
}

Pair extensionToJis(unsigned nLead, unsigned nTrail) {
  if (nTrail == 0x7F) return kNoPair;
  const unsigned nPlace = (nLead - kFirstLead) * kLead + nTrail - (nTrail > 0x7F ? 0x41 : 0x40);
  for (const ExtensionRange& objRange : kExtension) {
    if (nPlace - objRange.nShiftJis >= objRange.nCount) continue;
    const unsigned nTarget = nPlace - objRange.nShiftJis + objRange.nJis;
    return {kFirstRow + nTarget / kRow, 0x21 + nTarget % kRow};
  }
  for (const ExtensionDouble& objDouble : kExtensionDoubles) {
    if (nPlace - objDouble.nShiftJis >= objDouble.nCount) continue;
    return {objDouble.objJis.nHigh, objDouble.objJis.nLow + (nPlace - objDouble.nShiftJis)};
  }
  return kNoPair;
}

// --- The arithmetic. ---

constexpr unsigned leadOf(unsigned nHigh) { return (nHigh + 1) / 2 + (nHigh < 95 ? 0x70 : 0xB0); }
constexpr unsigned trailOf(unsigned nHigh, unsigned nLow) {
  return nHigh % 2 == 0 ? nLow + 0x7E : nLow + (nLow > 95 ? 0x20 : 0x1F);
}

Pair toShiftJis(unsigned nHigh, unsigned nLow) {
  const Pair objExtension = extensionToShiftJis(nHigh, nLow);
  return objExtension.nHigh != 0 ? objExtension : Pair{leadOf(nHigh), trailOf(nHigh, nLow)};
}

// kNoPair for what JIS X 0208 and its extension rows have no place for.
Pair toJis(unsigned nLead, unsigned nTrail) {
  if (nLead >= 0xF0) return nLead < kFirstLead ? kNoPair : extensionToJis(nLead, nTrail);
  const unsigned nRow = 2 * (nLead - (nLead < 0xA0 ? 0x70 : 0xB0));
  if (nTrail >= 0x9F) return {nRow, nTrail - 0x7E};
  return {nRow - 1, nTrail - (nTrail >= 0x80 ? 0x20 : 0x1F)};
}

// The bytes of Shift_JIS for what is all arithmetic: the lead by the row, the trail by the column,
// for even rows and for odd ones. 0 for the extension rows and for what is no row or column.
struct Arithmetic {
  std::array<unsigned char, 256> aLeads{};
  std::array<std::array<unsigned char, 256>, 2> aTrails{};
};
constexpr Arithmetic kArithmetic = [] {
  Arithmetic objTable;
  for (unsigned n = 0x21; n <= 0x7E; ++n) {
    const bool bExtension = n >= kFirstRow && n < kFirstRow + 4;
    if (!bExtension) objTable.aLeads[n] = static_cast<unsigned char>(leadOf(n));
    for (const unsigned nRow : {0U, 1U}) {
      objTable.aTrails[nRow][n] = static_cast<unsigned char>(trailOf(nRow, n));
    }
  }
  return objTable;
}();

// --- Katakana. ---

// The full-width form, as a Shift_JIS pair, of each half-width byte from 0xA1 on.
constexpr std::array<std::uint16_t, 63> kFullWidth = {
    0x8142, 0x8175, 0x8176, 0x8141, 0x8145, 0x8392, 0x8340, 0x8342, 0x8344, 0x8346, 0x8348,
    0x8383, 0x8385, 0x8387, 0x8362, 0x815B, 0x8341, 0x8343, 0x8345, 0x8347, 0x8349, 0x834A,
    0x834C, 0x834E, 0x8350, 0x8352, 0x8354, 0x8356, 0x8358, 0x835A, 0x835C, 0x835E, 0x8360,
    0x8363, 0x8365, 0x8367, 0x8369, 0x836A, 0x836B, 0x836C, 0x836D, 0x836E, 0x8371, 0x8374,
    0x8377, 0x837A, 0x837D, 0x837E, 0x8380, 0x8381, 0x8382, 0x8384, 0x8386, 0x8388, 0x8389,
    0x838A, 0x838B, 0x838C, 0x838D, 0x838F, 0x8393, 0x814A, 0x814B};

constexpr unsigned kVoiced = 0xDE;
constexpr unsigned kSemiVoiced = 0xDF;
constexpr unsigned kHalfWidthU = 0xB3;
constexpr std::uint16_t kFullWidthVu = 0x8394;

bool takesVoiced(unsigned ch) {
  return (ch >= 0xB6 && ch <= 0xC4) || (ch >= 0xCA && ch <= 0xCE) || ch == kHalfWidthU;
}
bool takesSemiVoiced(unsigned ch) { return ch >= 0xCA && ch <= 0xCE; }

// The full-width form of the katakana ch with nNext behind it; bMark says whether that was drawn
// in.
std::uint16_t widen(unsigned ch, unsigned nNext, bool& bMark) {
  const std::uint16_t nPair = kFullWidth[ch - 0xA1];
  bMark = true;
  if (nNext == kVoiced && takesVoiced(ch)) {
    return ch == kHalfWidthU ? kFullWidthVu : static_cast<std::uint16_t>(nPair + 1);
  }
  if (nNext == kSemiVoiced && takesSemiVoiced(ch)) return static_cast<std::uint16_t>(nPair + 2);
  bMark = false;
  return nPair;
}

// --- The readers. ---

class Iso2022Reader {
 public:
  Iso2022Reader(const unsigned char* pBytes, std::size_t nBytes, unsigned char* pOut)
      : m_p(pBytes), m_pEnd(pBytes + nBytes), m_pOut(pOut) {}

  // Reads it all; returns the end of the output, which has at most a byte for each of the input.
  unsigned char* read() {
    for (takeRun(); m_p < m_pEnd; takeRun()) {
      const unsigned ch = *m_p;
      if (ch == kEscape) {
        readEscape();
      } else if (ch == kShiftOut) {
        m_bShifted = true;
        m_nMode = Mode::kKatakana;
        ++m_p;
      } else if (ch == kShiftIn && m_bShifted) {
        m_nMode = Mode::kAscii;
        ++m_p;
      } else {
        readText(ch);
      }
    }
    return m_pOut;
  }

  bool bLeftOut = false;

 private:
  enum class Mode { kAscii, kKatakana, kDouble, kUnknownDouble };

  std::size_t left() const { return static_cast<std::size_t>(m_pEnd - m_p); }
  unsigned at(std::size_t n) const { return n < left() ? m_p[n] : 0; }

  // Text without anything that needs a look: ASCII, or pairs that are all arithmetic.
  void takeRun() {
    const unsigned char* p = m_p;
    unsigned char* pOut = m_pOut;
    if (m_nMode == Mode::kAscii) {
      while (p < m_pEnd && *p != kEscape && *p != kShiftOut && *p != kShiftIn) *pOut++ = *p++;
    } else if (m_nMode == Mode::kDouble) {
      for (; m_pEnd - p >= 2; p += 2, pOut += 2) {
        const unsigned char nLead = kArithmetic.aLeads[p[0]];
        const unsigned char nTrail = kArithmetic.aTrails[p[0] & 1][p[1]];
        if (nLead == 0 || nTrail == 0) break;
        pOut[0] = nLead;
        pOut[1] = nTrail;
      }
    }
    m_p = p;
    m_pOut = pOut;
  }

  // ESC, characters from 0x20 to 0x2F, and a final one. What is no such sequence loses its ESC.
  void readEscape() {
    while (m_p < m_pEnd && *m_p == kEscape) ++m_p;
    std::size_t nLength = 0;
    while (nLength < 3 && at(nLength) >= 0x20 && at(nLength) <= 0x2F) ++nLength;
    const unsigned nFinal = at(nLength);
    const bool bDouble = at(0) == '$';
    if (bDouble && (nFinal == '@' || nFinal == 'B')) {
      m_nMode = Mode::kDouble;
    } else if (nLength == 0 || nFinal < 0x30 || nFinal > 0x7E) {
      return;
    } else if (bDouble) {
      m_nMode = Mode::kUnknownDouble;
    } else if (at(0) == '(') {
      m_nMode = nFinal == 'I' ? Mode::kKatakana : Mode::kAscii;
    }
    m_p += nLength + 1;
  }

  void readText(unsigned ch) {
    const bool bLineEnd = ch == '\r' || ch == '\n';
    if (bLineEnd) m_nMode = Mode::kAscii;
    // Blanks and controls stay what they are: 0xA0 and the like mean nothing in Shift_JIS.
    if (m_nMode == Mode::kKatakana && isJis(ch)) {
      *m_pOut++ = static_cast<unsigned char>(ch + 0x80);
      ++m_p;
    } else if (m_nMode != Mode::kDouble && m_nMode != Mode::kUnknownDouble) {
      *m_pOut++ = *m_p++;
    } else {
      readDouble(ch);
    }
  }

  void readDouble(unsigned ch) {
    const unsigned nNext = at(1);
    if (isLead(ch) && isTrail(nNext)) {
      *m_pOut++ = *m_p++;
      *m_pOut++ = *m_p++;
    } else if (!isJis(ch)) {
      *m_pOut++ = *m_p++;
    } else if (!isJis(nNext) || m_nMode == Mode::kUnknownDouble) {
      bLeftOut = true;
      m_p += isJis(nNext) ? 2 : 1;
    } else {
      const Pair objPair = toShiftJis(ch, nNext);
      *m_pOut++ = static_cast<unsigned char>(objPair.nHigh);
      *m_pOut++ = static_cast<unsigned char>(objPair.nLow);
      m_p += 2;
    }
  }

  const unsigned char* m_p;
  const unsigned char* m_pEnd;
  unsigned char* m_pOut;
  Mode m_nMode = Mode::kAscii;
  bool m_bShifted = false;  // an SO was seen
};

class ShiftJisReader {
 public:
  ShiftJisReader(const unsigned char* pBytes, std::size_t nBytes)
      : m_p(pBytes), m_pEnd(pBytes + nBytes) {}

  bool atEnd() const { return m_p == m_pEnd; }

  // Reads about kBlock bytes on (the last time to the end of the text); returns the end of the
  // output, which begins at pOut and has at most kBlockRoom bytes.
  unsigned char* readBlock(unsigned char* pOut) {
    m_pOut = pOut;
    const auto nLeft = static_cast<std::size_t>(m_pEnd - m_p);
    const unsigned char* const pBlockEnd = m_p + std::min(kBlock, nLeft);
    while (m_p < pBlockEnd) readCharacter(*m_p);
    if (atEnd()) setDouble(false);
    return m_pOut;
  }

  static constexpr std::size_t kBlock = 16 * 1024;
  // A pair in place of one byte, and an escape before every byte; the last character and the last
  // escape may lie beyond the block.
  static constexpr std::size_t kBlockRoom = kBlock * 5 + 8;

  bool bLeftOut = false;

 private:
  void readCharacter(unsigned ch) {
    if (ch < 0x80) {
      setDouble(false);
      *m_pOut++ = *m_p++;
    } else if (isKatakana(ch)) {
      bool bMark = false;
      putDouble(widen(ch, m_pEnd - m_p > 1 ? m_p[1] : 0, bMark));
      m_p += bMark ? 2 : 1;
    } else if (!isLead(ch) || m_pEnd - m_p == 1 || !isTrail(m_p[1])) {
      bLeftOut = true;
      ++m_p;  // what follows is a character of its own
    } else {
      readPair(ch, m_p[1]);
    }
  }

  void readPair(unsigned nLead, unsigned nTrail) {
    m_p += 2;
    const Pair objPair = toJis(nLead, nTrail);
    if (objPair.nHigh == 0) {
      bLeftOut = true;
    } else {
      putDouble(static_cast<std::uint16_t>(objPair.nHigh << 8 | objPair.nLow));
    }
  }

  void putDouble(std::uint16_t nPair) {
    setDouble(true);
    *m_pOut++ = static_cast<unsigned char>(nPair >> 8);
    *m_pOut++ = static_cast<unsigned char>(nPair);
  }

  void setDouble(bool bDouble) {
    if (bDouble == m_bDouble) return;
    m_bDouble = bDouble;
    *m_pOut++ = kEscape;
    *m_pOut++ = bDouble ? '$' : '(';
    *m_pOut++ = 'B';
  }

  const unsigned char* m_p;
  const unsigned char* m_pEnd;
  unsigned char* m_pOut = nullptr;
  bool m_bDouble = false;
};

}  // namespace

Japanese::Written Japanese::iso2022ToShiftJis(const unsigned char* pBytes, std::size_t nBytes,
                                              unsigned char* pOut, LogBase& log) {
  Iso2022Reader objReader(pBytes, nBytes, pOut);
  const auto nWritten = static_cast<std::size_t>(objReader.read() - pOut);
  if (objReader.bLeftOut && log.m_bVerbose) log.LogInfo("iso-2022-jp text was not all read");
  return {nWritten, !objReader.bLeftOut};
}

bool Japanese::shiftJisToIso2022(const unsigned char* pBytes, std::size_t nBytes, DataBuffer& out,
                                 LogBase& log) {
  ShiftJisReader objReader(pBytes, nBytes);
  while (!objReader.atEnd()) {
    unsigned char* const pStart = out.prepare(ShiftJisReader::kBlockRoom);
    if (pStart == nullptr) return false;
    out.commit(static_cast<std::size_t>(objReader.readBlock(pStart) - pStart));
  }
  if (objReader.bLeftOut && log.m_bVerbose) log.LogInfo("not all characters have a place in JIS");
  return !objReader.bLeftOut;
}

}  // namespace mail
