#include "client/sources/Names.h"

#include <algorithm>

#include "base/ByteSearch.h"
#include "client/sources/LineDecoding.h"
#include "platform/Unicode.h"

namespace client {
namespace {

constexpr char16_t kLikeBackslash = u'\uFF3C';
constexpr std::size_t kLongestLevel = 255;  // units: as long as Exchange lets a name be

bool IsForbiddenControl(char16_t unit) {
  return (unit < 0x20 && unit != u'\t' && unit != u'\r' && unit != u'\n') || unit >= 0xFFFE;
}

// By a program that counts bytes: within a character, behind others.
bool IsCutUtf8(std::string_view bytes) {
  const auto isLead = [](char c) { return (c & 0xC0) == 0xC0; };
  return mail::byte_search::isUtf8(bytes, /*bCut=*/true) &&
         std::ranges::count_if(bytes, isLead) > 1;
}

std::string WithoutEndBlanksAndDots(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
  return text;
}

// Where the extension of a name begins; its end where there is none.
size_t ExtensionStart(std::string_view name) {
  constexpr size_t kLongestExtension = 32;
  const size_t dot = name.rfind('.');
  const bool there = dot != std::string_view::npos && name.size() - dot <= kLongestExtension;
  return there ? dot : name.size();
}

// Cut to kMaxFileName bytes with what is put between its stem and its extension.
std::string Fitted(std::string_view name, std::string_view between) {
  const std::string_view extension = name.substr(ExtensionStart(name));
  const std::string_view stem = name.substr(0, name.size() - extension.size());
  const size_t room = kMaxFileName - extension.size() - between.size();
  return std::string(CutAtCharacter(stem, room)).append(between).append(extension);
}

}  // namespace

std::string_view CutAtCharacter(std::string_view text, size_t bytes) {
  if (text.size() <= bytes) return text;
  while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
  return text.substr(0, bytes);
}

std::string WithoutForbiddenControls(std::string_view text) {
  std::u16string kept;
  for (char16_t unit : platform::Utf8ToUtf16(text)) {
    if (!IsForbiddenControl(unit)) kept += unit;
  }
  return platform::Utf16ToUtf8(kept);
}

std::string LevelName(std::string_view bytes) {
  std::u16string name;
  const std::string text = IsCutUtf8(bytes) ? std::string(bytes) : ToUtf8(bytes, {});
  for (char16_t unit : platform::Utf8ToUtf16(text)) {
    if (unit == u'\\') {
      name += kLikeBackslash;
    } else if (unit == u'\t') {
      name += u' ';
    } else if (unit >= 0x20 && unit < 0xFFFE) {
      name += unit;
    }
  }
  if (name.size() > kLongestLevel) {
    name.resize(kLongestLevel -
                (name[kLongestLevel - 1] >= 0xD800 && name[kLongestLevel - 1] < 0xDC00));
  }
  return name.empty() ? "_" : platform::Utf16ToUtf8(name);
}

std::string FileName(std::string_view text) {
  constexpr std::u16string_view kForbidden = u"/\\:*?\"<>|";
  std::u16string units;
  for (char16_t unit : platform::Utf8ToUtf16(text)) {
    const bool control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit >= 0xFFFE;
    if (!control && kForbidden.find(unit) == std::u16string_view::npos) units += unit;
  }
  std::string name = WithoutEndBlanksAndDots(platform::Utf16ToUtf8(units));
  if (name.size() > kMaxFileName) name = WithoutEndBlanksAndDots(Fitted(name, ""));
  return name.empty() ? "_" : name;
}

std::string NumberedFileName(std::string_view name, int number) {
  return Fitted(name, " (" + std::to_string(number) + ")");
}

}  // namespace client
