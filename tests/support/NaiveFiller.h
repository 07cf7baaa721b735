#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Judges TextFiller: fills a text the plain way, with the current line taken back whole for every
// piece and laid anew character by character.
namespace naive_filler {

inline bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
inline bool BeginsCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

// Words with one blank between each two.
inline std::string Words(std::string text) {
  for (size_t n; (n = text.find("&nbsp;")) != std::string::npos;) text.replace(n, 6, " ");
  std::string words;
  for (const char c : text) {
    if (!IsSpace(c)) {
      words += c;
    } else if (!words.empty() && words.back() != ' ') {
      words += ' ';
    }
  }
  while (words.ends_with(' ')) words.pop_back();
  return words;
}

inline void Emit(std::string& out, const std::string& text, size_t indent, int margin) {
  if (Words(text).empty()) return;
  const size_t lineStart = out.rfind('\n') + 1;  // 0 without one
  const std::string words = Words(out.substr(lineStart) + " " + text);
  out.resize(lineStart);
  const std::string lineEnd = "\r\n" + std::string(indent, ' ');
  size_t column = 0;
  size_t start = out.size();  // of the text on the line
  if (indent > 0 && out.ends_with("\r\n")) {
    out.append(indent, ' ');
    column = indent;
    start = out.size();
  }
  for (size_t i = 0; i < words.size();) {
    size_t end = i + 1;
    while (end < words.size() && !BeginsCharacter(words[end])) ++end;
    const std::string character = words.substr(i, end - i);
    i = end;
    ++column;
    if (margin >= 1 && column > static_cast<size_t>(margin)) {
      if (character == " ") {
        out += lineEnd;
        start = out.size();
        column = 0;
        continue;
      }
      const size_t blank = out.rfind(' ');
      std::string moved;
      if (blank != std::string::npos && blank >= start) {
        moved = out.substr(blank + 1);
        out.resize(blank);
      }
      out += lineEnd;
      start = out.size();
      out += moved;
      column = 1;
      for (const char c : moved) column += BeginsCharacter(c) ? 1 : 0;
    }
    out += character;
  }
}

}  // namespace naive_filler
