#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace rtf {

// The text of one piece of a line in two halves, each with its tags whole.
struct DecimalHalves {
  std::string strWhole{};         // up to where the fraction begins
  std::string strFraction{};      // the rest, with the point; may be empty
  std::size_t nFractionPart = 0;  // percent of the letters
};

// Cuts at the decimal point of the first number, which may be a comma; at the end of a number that
// has none, and behind everything where there is no number. A sole separator with three digits
// behind it groups thousands: 1.234 and 1,234 have no fraction, 1,234.567 has. Linear.
DecimalHalves SplitAtDecimalPoint(std::string_view strHtml);

}  // namespace rtf
