#include <cstdint>
#include <cstdlib>
#include <string>

#include "client/sources/ModifiedUtf7.h"
#include "platform/Unicode.h"

// Folder names in modified UTF-7. Any text that is written by the rules is read back as it was; a
// name that was decoded is UTF-8, and written again and read again the same; a name in which
// nothing is to be decoded stays as it is.

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// A writer that is slow and plainly right: the bits of a run as text, six at a time.
std::string Group(std::u16string_view units) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+,";
  std::string bits;
  for (char16_t unit : units) {
    for (int bit = 15; bit >= 0; --bit) bits += ((unit >> bit) & 1) != 0 ? '1' : '0';
  }
  while (bits.size() % 6 != 0) bits += '0';
  std::string group = "&";
  for (std::size_t at = 0; at < bits.size(); at += 6) {
    group += kAlphabet[std::stoul(bits.substr(at, 6), nullptr, 2)];
  }
  return group + "-";
}

std::string Written(std::string_view utf8) {
  std::string name;
  std::u16string run;
  for (char16_t unit : platform::Utf8ToUtf16(utf8)) {
    if (unit < 0x20 || unit > 0x7E) {
      run += unit;
      continue;
    }
    if (!run.empty()) name += Group(run);
    run.clear();
    name += unit == u'&' ? "&-" : std::string(1, static_cast<char>(unit));
  }
  return run.empty() ? name : name + Group(run);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::string text = platform::Utf16ToUtf8(platform::Utf8ToUtf16(input));
  Require(client::FromModifiedUtf7(Written(text)) == text);

  const std::string read = client::FromModifiedUtf7(input);
  if (read == input) return 0;
  Require(input.find('&') != std::string_view::npos);
  Require(platform::IsValidUtf8(read));
  Require(client::FromModifiedUtf7(Written(read)) == read);
  return 0;
}
