#include "client/sources/MaildirName.h"

#include <algorithm>
#include <charconv>

#include "client/sources/ItemNames.h"

namespace client {

std::string_view LastingPart(std::string_view name) {
  if (!IsMaildirName(name)) return name;
  const std::string_view base = ParseMaildirName(name).base;
  return base.substr(0, base.find(','));
}

MaildirName ParseMaildirName(std::string_view name) {
  constexpr std::string_view kVersion = "2,";
  MaildirName parts;
  parts.base = name;
  for (std::size_t at = name.rfind(kVersion); at != 0 && at != std::string_view::npos;
       at = name.rfind(kVersion, at - 1)) {
    const std::string_view before = name.substr(0, at);
    const auto colon = std::ranges::find_if(
        kColons, [&](std::string_view each) { return before.ends_with(each); });
    if (colon == kColons.end()) continue;
    parts.base = before.substr(0, at - colon->size());
    parts.hasState = true;
    parts.letters = name.substr(at + kVersion.size());
    break;
  }
  std::int64_t time = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), time);
  const bool isNumber = error == std::errc() && end != name.data() + name.size() && *end == '.';
  if (isNumber && time > 0) parts.time = time;
  parts.isCopy = name.find(",U=") != std::string_view::npos;
  return parts;
}

bool IsMaildirName(std::string_view name) {
  const MaildirName parts = ParseMaildirName(name);
  return (parts.hasState || parts.time) && ItemFileOf(name) == ItemFile::kNone;
}

}  // namespace client
