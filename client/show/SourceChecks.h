#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// What is damaged in the bytes of a mail and reads without a word all the same: each check tells
// what the library passed over. All of them are linear in the text.
namespace client {

struct HeaderDamage {
  std::size_t withoutColon = 0;  // fields that are none, and are left out
  std::string firstWithoutColon;
  std::size_t nuls = 0;
  std::size_t contentTypes = 0;  // fields of that name; the last one counts
};
// Of a header with the marker that ends it, as the library takes it for lines.
HeaderDamage CheckHeader(std::string_view header, std::string_view endMarker);

struct Base64Damage {
  std::size_t foreign = 0;  // characters that are passed over
  std::size_t behind = 0;   // characters behind the end, which are left out
  bool cut = false;         // it ends within a group of four
  bool nul = false;         // a NUL ended it
};
Base64Damage CheckBase64(std::string_view text);

struct QuotedPrintableDamage {
  std::size_t broken = 0;  // "=" without two digits or a line end behind it
  std::size_t behind = 0;  // bytes behind a NUL, which ends the text
};
QuotedPrintableDamage CheckQuotedPrintable(std::string_view text);

// Uuencoded data that lacks its first line is read all the same, and may be anything.
bool HasUuBegin(std::string_view text);

struct LineEnds {
  std::size_t crLf = 0;
  std::size_t lf = 0;
  std::size_t cr = 0;
  std::size_t crCrLf = 0;

  void Add(const LineEnds& other);
  void Remove(const LineEnds& other);  // stops at 0
  bool Mixed() const { return (crLf > 0) + (lf > 0) + (cr > 0) + (crCrLf > 0) > 1; }
};
LineEnds CountLineEnds(std::string_view text);

}  // namespace client
