#pragma once

#include <string>
#include <string_view>

namespace rtf {

// What a field is, by its instruction: `HYPERLINK "http://…" \l "place" \t "_blank"`.
struct FieldInstruction {
  enum class Kind { kOther, kLink, kSymbol, kPicture };
  Kind eKind = Kind::kOther;
  std::u16string strTarget;  // of a link or picture, with `#` and the place; empty: none
  char32_t chSymbol = 0;     // the number of a symbol
  std::u16string strFont;    // of a symbol; may be empty
};

FieldInstruction ParseFieldInstruction(std::u16string_view strInstruction);

}  // namespace rtf
