#include "client/show/OutputText.h"

#include <fmt/format.h>

#include "platform/Unicode.h"

namespace client {
namespace {

// Controls without a picture, line separators, and what turns the direction of text, so that a name
// reads as another.
bool DrivesTerminal(char16_t unit) {
  return (unit >= 0x80 && unit < 0xA0) || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069) || unit == 0x200E || unit == 0x200F || unit == 0x061C;
}

}  // namespace

std::string OneLine(std::string_view text) {
  std::u16string units = platform::Utf8ToUtf16(text);
  for (char16_t& unit : units) {
    if (unit == u'\t' || unit == u'\r' || unit == u'\n') {
      unit = u' ';
    } else if (unit < 0x20) {
      unit = static_cast<char16_t>(u'\u2400' + unit);  // the picture of that control
    } else if (unit == 0x7F) {
      unit = u'\u2421';
    } else if (DrivesTerminal(unit)) {
      unit = u'\uFFFD';
    }
  }
  return platform::Utf16ToUtf8(units);
}

std::string Shortened(std::string_view text) {
  constexpr std::size_t kRoom = 40;
  if (text.size() <= kRoom) return std::string(text);
  return std::string(text.substr(0, kRoom)) + "...";
}

std::string Counted(std::size_t count, std::string_view one, std::string_view many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string ItemCount(std::uint64_t count) { return Counted(count, "item", "items"); }

std::string TimeText(std::uint64_t seconds) {
  return seconds < 120 ? fmt::format("{} s", seconds) : fmt::format("{} min", (seconds + 30) / 60);
}

std::string SizeText(std::size_t bytes) {
  const auto size = static_cast<double>(bytes);
  if (bytes >= 1024 * 1024) return fmt::format("{:.1f} MiB", size / (1024 * 1024));
  if (bytes >= 1024) return fmt::format("{:.1f} KiB", size / 1024);
  return Counted(bytes, "byte", "bytes");
}

}  // namespace client
