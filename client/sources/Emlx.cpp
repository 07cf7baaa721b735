#include "client/sources/Emlx.h"

#include <charconv>

#include "client/sources/SourceFiles.h"

namespace client {
namespace {

// "<key>flags</key>", blanks, "<integer>8590195713</integer>".
std::optional<std::int64_t> IntegerOf(std::string_view list, std::string_view key) {
  constexpr std::string_view kInteger = "<integer>";
  const std::string wanted = "<key>" + std::string(key) + "</key>";
  const std::size_t found = list.find(wanted);
  if (found == std::string_view::npos) return std::nullopt;
  list.remove_prefix(found + wanted.size());
  const std::size_t value = list.find_first_not_of(" \t\r\n");
  if (value == std::string_view::npos || !list.substr(value).starts_with(kInteger)) {
    return std::nullopt;
  }
  list.remove_prefix(value + kInteger.size());
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(list.data(), list.data() + list.size(), number);
  if (error != std::errc() || end == list.data()) return std::nullopt;
  return number;
}

}  // namespace

std::optional<EmlxPlace> EmlxPlaceOf(std::string_view head) {
  constexpr std::size_t kMostDigits = 12;
  EmlxPlace place;
  const auto [end, error] = std::from_chars(head.data(), head.data() + head.size(), place.length);
  const auto digits = static_cast<std::size_t>(end - head.data());
  if (error != std::errc() || digits == 0 || digits > kMostDigits) return std::nullopt;
  const std::size_t line = head.find_first_not_of(" \t\r", digits);
  if (line == std::string_view::npos || head[line] != '\n') return std::nullopt;
  place.offset = line + 1;
  return place;
}

EmlxState ReadEmlxState(std::string_view list) {
  EmlxState found;
  found.state.received = IntegerOf(list, "date-received");
  const auto flags = IntegerOf(list, "flags");
  if (!flags) return found;
  const auto has = [&](int bit) { return (*flags >> bit & 1) != 0; };
  found.read = has(0);
  found.state.deleted = has(1);
  found.state.answered = has(2);
  found.state.flagged = has(4);
  found.state.draft = has(6);
  found.state.forwarded = has(8) || has(9);
  return found;
}

bool IsEmlxName(std::string_view name) { return EndsWithNoCase(name, ".emlx"); }

bool IsPartialEmlxName(std::string_view name) { return EndsWithNoCase(name, ".partial.emlx"); }

}  // namespace client
