#include "client/sources/PlaceNames.h"

#include "client/sources/Names.h"
#include "platform/Unicode.h"

namespace client {

std::string PlaceNames::Next(std::string_view title) {
  constexpr std::size_t kLongest = 80;  // units
  std::u16string units;
  for (const char16_t unit : platform::Utf8ToUtf16(CutAtCharacter(title, 4 * kLongest))) {
    const bool control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
    units += control ? u' ' : unit;
  }
  if (units.size() > kLongest) units.resize(kLongest);
  std::string name = m_path + ": " + (units.empty() ? "untitled" : platform::Utf16ToUtf8(units));
  const std::size_t number = ++m_seen[name];
  if (number == 1) return name;
  // The number might make it that of another one: "a", "a (2)", "a".
  std::string numbered = name + " (" + std::to_string(number) + ")";
  while (++m_seen[numbered] > 1) numbered += "'";
  return numbered;
}

}  // namespace client
