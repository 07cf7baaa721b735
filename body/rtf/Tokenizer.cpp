#include "body/rtf/Tokenizer.h"

#include <algorithm>
#include <climits>

#include "body/rtf/Hex.h"

namespace rtf {
namespace {

constexpr std::size_t kBinaryProbe = 512;  // bytes
constexpr std::size_t kTextProbe = 64;

bool IsLetter(char ch) { return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z'); }
bool IsDigit(char ch) { return ch >= '0' && ch <= '9'; }
bool IsLineEnd(char ch) { return ch == '\r' || ch == '\n'; }
bool EndsText(char ch) { return ch == '\\' || ch == '{' || ch == '}' || IsLineEnd(ch); }

// Control characters do not stand in rich text.
bool IsControl(char ch) {
  return static_cast<unsigned char>(ch) < 0x20 && ch != '\t' && !IsLineEnd(ch);
}

bool LooksBinary(std::string_view strBytes) {
  return std::ranges::any_of(strBytes.substr(0, kBinaryProbe), IsControl);
}

// Where binary data of unknown length ends: at a brace with nothing but ASCII text behind it.
std::size_t EndOfBinary(std::string_view strBytes) {
  constexpr std::size_t kNone = std::string_view::npos;
  std::size_t nBrace = kNone;
  for (std::size_t n = 0; n < strBytes.size(); ++n) {
    if (IsControl(strBytes[n]) || static_cast<unsigned char>(strBytes[n]) >= 0x7F) nBrace = kNone;
    if (strBytes[n] == '}' && nBrace == kNone) nBrace = n;
    if (nBrace != kNone && n - nBrace >= kTextProbe) break;
  }
  return std::min(nBrace, strBytes.size());
}

}  // namespace

Token Tokenizer::Next() {
  while (!AtEnd()) {
    const char ch = m_strRtf[m_nAt];
    if (IsLineEnd(ch)) {
      ++m_nAt;
    } else if (ch == '{' || ch == '}') {
      ++m_nAt;
      return {.eKind = ch == '{' ? TokenKind::kOpen : TokenKind::kClose};
    } else if (ch != '\\') {
      return TakeText();
    } else {
      ++m_nAt;
      const Token objToken = TakeControl();
      if (objToken.eKind != TokenKind::kEnd) return objToken;
    }
  }
  return {};
}

Token Tokenizer::TakeText() {
  const std::size_t nStart = m_nAt;
  while (!AtEnd() && !EndsText(m_strRtf[m_nAt])) ++m_nAt;
  return {.eKind = TokenKind::kText, .strText = m_strRtf.substr(nStart, m_nAt - nStart)};
}

// Behind a backslash; kEnd for what is no token.
Token Tokenizer::TakeControl() {
  if (AtEnd()) return {};
  const char ch = m_strRtf[m_nAt];
  if (IsLetter(ch)) return TakeWord();
  ++m_nAt;
  if (ch == '\'') return TakeByte();
  return {.eKind = TokenKind::kSymbol, .nByte = static_cast<unsigned char>(ch)};
}

Token Tokenizer::TakeWord() {
  const std::size_t nStart = m_nAt;
  while (!AtEnd() && IsLetter(m_strRtf[m_nAt])) ++m_nAt;
  Token objToken{.eKind = TokenKind::kWord, .strText = m_strRtf.substr(nStart, m_nAt - nStart)};
  const bool bMinus =
      m_nAt + 1 < m_strRtf.size() && m_strRtf[m_nAt] == '-' && IsDigit(m_strRtf[m_nAt + 1]);
  if (bMinus) ++m_nAt;
  long long nNumber = 0;
  for (; !AtEnd() && IsDigit(m_strRtf[m_nAt]); ++m_nAt) {
    nNumber = std::min<long long>(nNumber * 10 + (m_strRtf[m_nAt] - '0'), INT_MAX);
    objToken.bHasNumber = true;
  }
  objToken.nNumber = static_cast<int>(bMinus ? -nNumber : nNumber);
  if (!AtEnd() && m_strRtf[m_nAt] == ' ') ++m_nAt;
  if (objToken.strText != "bin") return objToken;
  return TakeBinary(static_cast<std::size_t>(std::max(objToken.nNumber, 0)));
}

Token Tokenizer::TakeByte() {
  if (m_strRtf.size() - m_nAt < 2) {
    m_nAt = m_strRtf.size();
    return {};
  }
  const int nHigh = HexDigit(m_strRtf[m_nAt]);
  const int nLow = HexDigit(m_strRtf[m_nAt + 1]);
  if (nHigh < 0 || nLow < 0) return {};  // what follows is text of its own
  m_nAt += 2;
  return {.eKind = TokenKind::kByte, .nByte = static_cast<unsigned char>(nHigh * 16 + nLow)};
}

// More bytes than there are, or no brace behind them: of a file that was cut inside them, or a
// length that is wrong. What reads as text is text then.
Token Tokenizer::TakeBinary(std::size_t nBytes) {
  const std::string_view strRest = m_strRtf.substr(m_nAt);
  const bool bThere = nBytes < strRest.size();
  const bool bEnds = bThere && strRest.substr(nBytes, 3).find('}') != std::string_view::npos;
  if (!bEnds) nBytes = LooksBinary(strRest.substr(0, nBytes)) ? EndOfBinary(strRest) : 0;
  m_nAt += nBytes;
  return {.eKind = TokenKind::kBinary, .strText = strRest.substr(0, nBytes)};
}

}  // namespace rtf
