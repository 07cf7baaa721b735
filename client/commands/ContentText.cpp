#include "client/commands/ContentText.h"

#include <algorithm>

namespace client {
namespace {

constexpr std::size_t kLongestLine = 75;  // bytes

bool IsInside(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      if (i + 1 == text.size() || text[i + 1] != '\n') escaped += "\\n";
    } else if (c == '\n') {
      escaped += "\\n";
    } else if (c == '\\' || c == ';' || c == ',') {
      escaped += {'\\', c};
    } else if (static_cast<unsigned char>(c) >= 0x20 || c == '\t') {
      escaped += c;
    }
  }
  return escaped;
}

}  // namespace

void ContentText::Line(std::string_view name, std::string_view value) {
  const std::string line = std::string(name) + ":" + std::string(value);
  std::string_view rest = line;
  for (std::size_t room = kLongestLine; rest.size() > room; room = kLongestLine - 1) {
    std::size_t cut = room;
    while (cut > 0 && IsInside(rest[cut])) --cut;
    if (cut == 0) cut = room;  // no UTF-8
    m_text.append(rest.substr(0, cut)).append("\r\n ");
    rest.remove_prefix(cut);
  }
  m_text.append(rest).append("\r\n");
}

void ContentText::Text(std::string_view name, std::string_view text) {
  if (!text.empty()) Line(name, Escaped(text));
}

void ContentText::Parts(std::string_view name, const std::vector<std::string>& parts,
                        char between) {
  std::string value;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) value += between;
    value += Escaped(parts[i]);
  }
  const bool any =
      std::ranges::any_of(parts, [](const std::string& part) { return !part.empty(); });
  if (any) Line(name, value);
}

std::string ContentParameter(std::string_view name, std::string_view value) {
  if (value.empty()) return {};
  std::string text(value);
  std::erase_if(text, [](char c) { return c == '"' || (c >= 0 && c < 0x20); });
  const bool quoted = text.find_first_of(",;:") != std::string::npos;
  return ";" + std::string(name) + "=" + (quoted ? "\"" + text + "\"" : text);
}

}  // namespace client
