#include "client/sources/MaildirName.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::array<std::string_view, 4> kSeparators = {":2,", ";2,", "!2,",
                                                         "\xEF\x80\xBA"
                                                         "2,"};

constexpr std::string_view kOnWindowsDisks = "\xEF\x80\xBA";

}  // namespace

std::string_view LastingPart(std::string_view name) {
  const std::size_t end = std::min(name.find_first_of(",:;!"), name.find(kOnWindowsDisks));
  return name.substr(0, end);
}

MaildirName ParseMaildirName(std::string_view name) {
  MaildirName parts;
  std::size_t begin = 0;
  for (const std::string_view separator : kSeparators) {
    const std::size_t found = name.rfind(separator);
    if (found == std::string_view::npos || found < begin) continue;
    begin = found;
    parts.hasState = true;
    parts.letters = name.substr(found + separator.size());
  }
  std::int64_t time = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), time);
  const bool isNumber = error == std::errc() && end != name.data() + name.size() && *end == '.';
  if (isNumber && time > 0) parts.time = time;
  parts.isCopy = name.find(",U=") != std::string_view::npos;
  return parts;
}

bool IsMaildirName(std::string_view name) {
  static constexpr std::array<std::string_view, 5> kOthers = {".eml", ".emlx", ".ics", ".vcs",
                                                              ".vcf"};
  const auto isEnd = [&](std::string_view end) { return EndsWithNoCase(name, end); };
  const MaildirName parts = ParseMaildirName(name);
  return (parts.hasState || parts.time) && std::ranges::none_of(kOthers, isEnd);
}

}  // namespace client
