#include "client/show/Columns.h"

#include <algorithm>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace client {
namespace {

std::size_t WidthOf(UChar32 character) {
  if (character < 0x300) return character < 0 ? 1 : character != 0xAD;  // U+00AD is not shown
  const int type = u_charType(character);
  if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_FORMAT_CHAR) return 0;
  const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

class Wrapper {
 public:
  Wrapper(std::string& out, std::size_t indent, std::size_t used)
      : m_out(out), m_indent(indent), m_used(used) {}

  // A word with the blank in front of it, if it has one.
  void Word(std::string_view word) {
    const std::size_t width = client::WidthOf(word);
    const std::size_t blank = word.starts_with(' ') ? 1 : 0;
    if (m_used + width <= kColumns) {
      m_out.append(word);
      m_used += width;
    } else if (m_indent + width - blank <= kColumns) {
      BreakLine();
      m_out.append(word.substr(blank));
      m_used += width - blank;
    } else {
      Characters(word);
    }
  }

 private:
  void Characters(std::string_view word) {
    for (std::size_t at = 0; at < word.size();) {
      const std::size_t start = at;
      UChar32 character = 0;
      U8_NEXT(word.data(), at, word.size(), character);
      const std::size_t width = WidthOf(character);
      if (m_used + width > kColumns) BreakLine();
      m_out.append(word.substr(start, at - start));
      m_used += width;
    }
  }

  void BreakLine() {
    m_out.append("\n").append(m_indent, ' ');
    m_used = m_indent;
  }

  std::string& m_out;
  const std::size_t m_indent;
  std::size_t m_used;  // columns of the last line
};

}  // namespace

std::size_t WidthOf(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) {
    UChar32 character = 0;
    U8_NEXT(text.data(), at, text.size(), character);
    width += WidthOf(character);
  }
  return width;
}

void PadTo(std::size_t width, std::string& text) {
  text.append(width - std::min(width, WidthOf(text)), ' ');
}

void AppendWrapped(std::string_view text, std::size_t indent, std::string& out) {
  const std::size_t lineStart = out.rfind('\n') + 1;  // 0 if there is none
  Wrapper wrapper(out, indent, WidthOf(std::string_view(out).substr(lineStart)));
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' ', 1), text.size());
    wrapper.Word(text.substr(0, end));
    text.remove_prefix(end);
  }
}

}  // namespace client
