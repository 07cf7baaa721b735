#include "client/sources/ModifiedUtf7.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "platform/Unicode.h"

namespace client {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";

bool IsWhole(std::u16string_view units) {
  for (size_t i = 0; i < units.size(); ++i) {
    if (units[i] < 0xD800 || units[i] > 0xDFFF) continue;
    const bool pair = units[i] < 0xDC00 && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
                      units[i + 1] <= 0xDFFF;
    if (!pair) return false;
    ++i;
  }
  return true;
}

// One "&...-" group without its ends, as UTF-8; nothing where it is not well formed.
std::optional<std::string> DecodeGroup(std::string_view digits) {
  std::u16string units;
  std::uint32_t bits = 0;
  int count = 0;
  for (char c : digits) {
    const size_t value = kAlphabet.find(c);
    if (value == std::string_view::npos) return std::nullopt;
    bits = (bits << 6) | static_cast<std::uint32_t>(value);
    count += 6;
    if (count < 16) continue;
    count -= 16;
    units += static_cast<char16_t>(bits >> count);
    bits &= (1u << count) - 1;
  }
  // What is left over is padding: fewer than six bits, all zero.
  if (count >= 6 || bits != 0 || units.empty()) return std::nullopt;
  // Half a pair would become U+FFFD, and two names one folder.
  if (!IsWhole(units)) return std::nullopt;
  return platform::Utf16ToUtf8(units);
}

std::string EncodeGroup(std::u16string_view units) {
  std::string digits = "&";
  std::uint32_t bits = 0;
  int count = 0;
  for (const char16_t unit : units) {
    bits = (bits << 16) | unit;
    for (count += 16; count >= 6;) {
      count -= 6;
      digits += kAlphabet[(bits >> count) & 63];
    }
    bits &= (1u << count) - 1;
  }
  if (count > 0) digits += kAlphabet[(bits << (6 - count)) & 63];
  return digits + "-";
}

}  // namespace

std::string ToModifiedUtf7(std::string_view name, std::string_view also) {
  std::string text;
  std::u16string group;
  for (const char16_t unit : platform::Utf8ToUtf16(name) + u'&') {
    const bool isPlain = unit >= 0x20 && unit <= 0x7E &&
                         also.find(static_cast<char>(unit)) == std::string_view::npos;
    if (!isPlain) {
      group += unit;
      continue;
    }
    if (!group.empty()) text += EncodeGroup(std::exchange(group, {}));
    text += unit == u'&' ? "&-" : std::string(1, static_cast<char>(unit));
  }
  text.resize(text.size() - 2);  // the mark that ended the last group
  return text;
}

std::string FromModifiedUtf7(std::string_view name) {
  std::string text;
  std::string_view rest = name;
  while (!rest.empty()) {
    const unsigned char c = static_cast<unsigned char>(rest[0]);
    if (c < 0x20 || c > 0x7E) return std::string(name);
    if (c != '&') {
      text += rest[0];
      rest.remove_prefix(1);
      continue;
    }
    const size_t end = rest.find('-');
    if (end == std::string_view::npos) return std::string(name);
    const std::optional<std::string> group =
        end == 1 ? std::string("&") : DecodeGroup(rest.substr(1, end - 1));
    if (!group) return std::string(name);
    text += *group;
    rest.remove_prefix(end + 1);
  }
  return text;
}

}  // namespace client
