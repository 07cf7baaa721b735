#include "client/sources/EncodedFile.h"

#include <algorithm>
#include <new>

#include "base/AsciiText.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/encoding/UuCoding.h"

namespace client {
namespace {

// "644 NAME"
std::optional<std::string_view> NameBehindMode(std::string_view text) {
  const std::size_t end = std::min(text.find_first_not_of("01234567"), text.size());
  if (end < 3 || end > 4) return std::nullopt;
  return mail::trimmed(text.substr(end));
}

bool IsLineOfBase64(std::string_view line) {
  constexpr std::size_t kLeast = 20;  // characters; shorter ones are words
  return line.size() >= kLeast && line.find_first_not_of(
                                      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuv"
                                      "wxyz0123456789+/=") == std::string_view::npos;
}

}  // namespace

std::optional<EncodedFile> EncodedFileIn(std::string_view head) {
  constexpr std::string_view kUuBegin = "begin ";
  constexpr std::string_view kBase64Begin = "begin-base64 ";
  using enum EncodedFile::Coding;
  const std::string_view line = head.substr(0, head.find('\n'));
  const bool isBase64 = line.starts_with(kBase64Begin);
  if (isBase64 || line.starts_with(kUuBegin)) {
    const auto name = NameBehindMode(line.substr((isBase64 ? kBase64Begin : kUuBegin).size()));
    if (!name) return std::nullopt;
    return EncodedFile{isBase64 ? kBase64 : kUu, *name, std::min(line.size() + 1, head.size())};
  }
  return IsLineOfBase64(mail::trimmed(line)) ? std::optional(EncodedFile{kBase64, {}, 0})
                                             : std::nullopt;
}

std::string Decoded(const EncodedFile& file, std::string_view text) {
  mail::DataBuffer content;
  text.remove_prefix(std::min(file.data, text.size()));
  const bool isDone = file.coding == EncodedFile::Coding::kUu
                          ? mail::decodeUuLines(text, content)
                          : mail::ContentCoding::decodeBase64(text, content);
  if (!isDone) throw std::bad_alloc();
  return std::string(content.view());
}

}  // namespace client
