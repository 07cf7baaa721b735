#include "client/sources/DovecotKeywords.h"

#include <charconv>

#include "base/AsciiText.h"
#include "client/sources/Pieces.h"

namespace client {

DovecotKeywords::DovecotKeywords(std::string_view text) {
  while (!text.empty()) {
    const std::string_view line = mail::trimmed(TakeUpTo(text, '\n'));
    std::size_t number = m_keywords.size();
    const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (error != std::errc()) continue;
    if (number >= m_keywords.size()) {
      ++m_withoutLetter;
      continue;
    }
    m_keywords[number] = mail::trimmed(line.substr(static_cast<std::size_t>(rest - line.data())));
  }
}

const std::string& DovecotKeywords::Of(char letter) const {
  static const std::string kNone;
  if (letter < 'a' || letter > 'z') return kNone;
  return m_keywords[static_cast<std::size_t>(letter - 'a')];
}

}  // namespace client
