#include "client/Columns.h"

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
  std::size_t used = WidthOf(std::string_view(out).substr(lineStart));
  bool first = true;  // of its line
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' ', 1), text.size());
    std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    std::size_t width = WidthOf(word);
    if (!first && used + width > kColumns) {
      out.append("\n").append(indent, ' ');
      used = indent;
      word.remove_prefix(word.starts_with(' ') ? 1 : 0);
      width = WidthOf(word);
    }
    out.append(word);
    used += width;
    first = false;
  }
}

}  // namespace client
