#include "mailboxd/web/DownloadName.h"

#include <cstdio>

#include "platform/Unicode.h"

namespace mailbox {
namespace {

constexpr size_t kLongestName = 60;       // units, at most 3 bytes each
constexpr size_t kLongestExtension = 12;  // units, with its dot

bool TurnsDirection(char16_t unit) {
  return unit == 0x061C || unit == 0x200E || unit == 0x200F || (unit >= 0x202A && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

bool IsForbidden(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029 ||
         std::u16string_view(u"/\\:*?\"<>|").find(unit) != std::u16string_view::npos;
}

std::u16string Shortened(std::u16string name) {
  if (name.size() <= kLongestName) return name;
  const size_t dot = name.rfind(u'.');
  const bool has = dot != std::u16string::npos && name.size() - dot <= kLongestExtension;
  const std::u16string extension = has ? name.substr(dot) : u"";
  name.resize(kLongestName - extension.size());
  if ((name.back() & 0xFC00) == 0xD800) name.pop_back();  // half of a pair
  return name + extension;
}

std::u16string Harmless(std::string_view name) {
  std::u16string out;
  for (const char16_t unit : platform::Utf8ToUtf16(name)) {
    if (!TurnsDirection(unit)) out += IsForbidden(unit) ? u'_' : unit;
  }
  const size_t first = out.find_first_not_of(u" .");
  if (first == std::u16string::npos) return u"attachment";
  return Shortened(out.substr(first, out.find_last_not_of(u" .") - first + 1));
}

// For those who do not know the extended form.
std::string AsciiOf(std::u16string_view name) {
  std::string ascii;
  for (const char16_t unit : name) {
    if ((unit & 0xFC00) == 0xDC00) continue;  // the other half stands for both
    ascii += unit < 0x80 && unit != u'%' ? static_cast<char>(unit) : '_';
  }
  return ascii;
}

std::string Percent(std::string_view utf8) {
  std::string out;
  for (const char c : utf8) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '.' || c == '-' || c == '_';
    char code[4];
    std::snprintf(code, sizeof code, "%%%02X",
                  static_cast<unsigned>(static_cast<unsigned char>(c)));
    out += plain ? std::string(1, c) : code;
  }
  return out;
}

}  // namespace

std::string SaveAs(std::string_view name) {
  const std::u16string harmless = Harmless(name);
  const std::string ascii = AsciiOf(harmless);
  const std::string utf8 = platform::Utf16ToUtf8(harmless);
  std::string header = "attachment; filename=\"" + ascii + "\"";
  if (utf8 != ascii) header += "; filename*=UTF-8''" + Percent(utf8);
  return header;
}

}  // namespace mailbox
