#include "client/sources/Prefs.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "client/sources/Pieces.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr std::size_t kMostOfText = 4096;  // bytes

// A string literal up to its quote, its escapes resolved; nothing where none ends it.
std::optional<std::string> LiteralIn(std::string_view text) {
  std::string value;
  std::u16string units;  // of escapes in a row: they may be halves of pairs
  for (std::size_t at = 0; at < text.size() && value.size() < kMostOfText; ++at) {
    const bool isEscape = text[at] == '\\' && at + 1 < text.size();
    if (isEscape && text[at + 1] == 'u' && at + 6 <= text.size()) {
      if (const auto unit = mail::wholeNumber<std::uint16_t>(text.substr(at + 2, 4), 16)) {
        units += static_cast<char16_t>(*unit);
        at += 5;
        continue;
      }
    }
    value += platform::Utf16ToUtf8(units);
    units.clear();
    if (text[at] == '"') return value;
    if (isEscape) ++at;
    value += text[at];
  }
  return std::nullopt;
}

// Takes the text from a line that begins with it.
bool Take(std::string_view& line, std::string_view text) {
  if (!line.starts_with(text)) return false;
  line.remove_prefix(text.size());
  return true;
}

}  // namespace

void EachPref(std::string_view prefs, std::string_view prefix, const TakePref& take) {
  while (!prefs.empty()) {
    std::string_view line = mail::trimmed(TakeUpTo(prefs, '\n'));
    if (!Take(line, "user_pref(\"") || !Take(line, prefix)) continue;
    const std::string_view name = TakeUpTo(line, '"');
    if (!Take(line, ", ")) continue;
    if (!Take(line, "\"")) {
      take(name, std::string(line.substr(0, std::min(line.find(')'), kMostOfText))));
    } else if (const auto text = LiteralIn(line)) {
      take(name, *text);
    }
  }
}

}  // namespace client
