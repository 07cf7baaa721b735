#include "client/run/DescriptorText.h"

#include "base/AsciiText.h"
#include "client/sources/Names.h"
#include "platform/Unicode.h"

namespace client {
namespace {

// What removing the label from the text would find becomes something that looks the same.
std::string WithoutLabel(std::string text, std::string_view label) {
  constexpr std::string_view kNoBreak = "\u00A0";
  if (!label.ends_with(' ')) return text;
  std::string kept;
  std::size_t from = 0;
  for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, from)) {
    kept.append(text, from, at - from).append(label.substr(0, label.size() - 1)).append(kNoBreak);
    from = at + label.size();
  }
  return kept.append(text, from);
}

}  // namespace

std::string DescriptorLine(std::string_view label, std::string_view value) {
  std::string clean = WithoutForbiddenControls(value);
  for (char& c : clean) {
    if (c == '\r' || c == '\n') c = ' ';
  }
  clean = WithoutLabel(std::string(mail::trimmed(clean)), label);
  if (clean.empty()) return "\r\n";
  return std::string(label) + clean + "\r\n";
}

std::string DescriptorBody(std::string_view text) {
  std::string body;
  for (char c : WithoutLabel(WithoutForbiddenControls(text), "Body : ")) {
    if (c == '\r') continue;
    if (c == '\n') body += '\r';
    body += c;
  }
  return body;
}

std::string Utf16LittleEndian(std::string_view utf8) {
  std::string bytes;
  for (char16_t unit : platform::Utf8ToUtf16(utf8)) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

}  // namespace client
