#include "client/sources/TagNames.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

#include "base/AsciiText.h"
#include "client/sources/Names.h"
#include "client/sources/Pieces.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr std::size_t kMostOfName = 1024;  // bytes

std::optional<char16_t> UnitIn(std::string_view digits) {
  std::uint16_t unit = 0;
  const char* const last = digits.data() + digits.size();
  const auto [end, error] = std::from_chars(digits.data(), last, unit, 16);
  return error == std::errc() && end == last ? std::optional<char16_t>(unit) : std::nullopt;
}

// A string literal up to its quote, its escapes resolved; nothing where none ends it.
std::optional<std::string> LiteralIn(std::string_view text) {
  std::string value;
  std::u16string units;  // of escapes in a row: they may be halves of pairs
  for (std::size_t at = 0; at < text.size() && value.size() < kMostOfName; ++at) {
    const bool isEscape = text[at] == '\\' && at + 1 < text.size();
    if (isEscape && text[at + 1] == 'u' && at + 6 <= text.size()) {
      if (const auto unit = UnitIn(text.substr(at + 2, 4))) {
        units += *unit;
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

TagNames::TagNames(std::string_view prefs) {
  while (!prefs.empty()) {
    std::string_view line = mail::trimmed(TakeUpTo(prefs, '\n'));
    if (!Take(line, "user_pref(\"mailnews.tags.")) continue;
    const std::size_t keyEnd = line.find("\", \"");
    if (keyEnd == std::string_view::npos) continue;
    std::string_view key = line.substr(0, keyEnd);
    if (!key.ends_with(".tag")) continue;  // a colour, an order
    key.remove_suffix(4);
    MailState byKey;
    AddKeyword(key, byKey);
    const auto name = LiteralIn(line.substr(keyEnd + 4));
    if (name && !name->empty() && !byKey.categories.empty()) {
      m_names[byKey.categories.front()] = WithoutForbiddenControls(*name);
    }
  }
}

void TagNames::Apply(MailState& state) const {
  std::vector<std::string> named;
  for (std::string& category : state.categories) {
    const auto name = m_names.find(category);
    std::string shown = name == m_names.end() ? std::move(category) : name->second;
    if (std::ranges::find(named, shown) == named.end()) named.push_back(std::move(shown));
  }
  state.categories = std::move(named);
}

}  // namespace client
