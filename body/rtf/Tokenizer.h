#pragma once

#include <cstddef>
#include <string_view>

namespace rtf {

enum class TokenKind : unsigned char {
  kEnd,
  kOpen,    // {
  kClose,   // }
  kText,    // strText: bytes without line ends, in the page of the font
  kByte,    // \'hh, nByte
  kWord,    // \strText and its number
  kSymbol,  // \ and nByte, which is no letter
  kBinary,  // strText: what \bin announced
};

struct Token {
  TokenKind eKind = TokenKind::kEnd;
  unsigned char nByte = 0;
  bool bHasNumber = false;
  int nNumber = 0;  // cut to what an int holds; 0 where there is none
  std::string_view strText{};
};

// Cuts rich text into tokens, in one pass and without memory of its own. Views point into the text.
// Everything is accepted: a backslash at the end is dropped, a \' without digits gives no token.
class Tokenizer {
 public:
  explicit Tokenizer(std::string_view strRtf) : m_strRtf(strRtf) {}

  Token Next();
  std::size_t Position() const { return m_nAt; }  // bytes taken

 private:
  Token TakeText();
  Token TakeControl();
  Token TakeWord();
  Token TakeByte();
  Token TakeBinary(std::size_t nBytes);
  bool AtEnd() const { return m_nAt >= m_strRtf.size(); }

  std::string_view m_strRtf;
  std::size_t m_nAt = 0;
};

}  // namespace rtf
