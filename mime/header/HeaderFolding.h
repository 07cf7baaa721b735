#pragma once

#include <cstddef>
#include <string_view>

#include "base/StringBuffer.h"

namespace mail {

// Appends a field's value with line breaks in it, as this library places them: in unstructured
// text at blanks past column 68; with bStructured also behind each ";" and "," from column 33 on;
// never within double quotes, and at no separator within an encoded word. nColumn counts the
// characters that stand on the line already, the field's name among them. A value that ends short
// of column 79 is not touched. No line end that the value itself holds can end the field: a blank
// is put behind it where it has none.
void foldValue(std::string_view strValue, std::size_t nColumn, bool bStructured,
               StringBuffer& strOut);

}  // namespace mail
