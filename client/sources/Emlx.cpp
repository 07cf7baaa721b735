#include "client/sources/Emlx.h"

#include <algorithm>
#include <charconv>

#include "base/AsciiText.h"
#include "client/sources/ItemNames.h"

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

// As the property list behind a mail begins; some writers put an empty line in front.
constexpr std::string_view kXml = "<?xml";
constexpr std::string_view kList = "<plist";

bool BeginsWithList(std::string_view bytes) {
  bytes = mail::trimmed(bytes);
  return bytes.starts_with(kXml) || bytes.starts_with(kList);
}

// The last line in text that begins so.
std::size_t LastLineWith(std::string_view text, std::string_view begin) {
  const std::size_t found = text.rfind("\n" + std::string(begin));
  return found == std::string_view::npos ? found : found + 1;
}

// Of the property list that ends a file. Mail may hold one of its own, with other keys.
std::optional<std::size_t> PlaceOfList(std::string_view file) {
  constexpr std::size_t kMostInFront = 512;  // bytes of the lines in front of its element
  if (!mail::trimmed(file).ends_with("</plist>")) return std::nullopt;
  const std::size_t list = LastLineWith(file, kList);
  if (list == std::string_view::npos) return std::nullopt;
  if (file.find("<key>flags</key>", list) == std::string_view::npos) return std::nullopt;
  const std::size_t xml = LastLineWith(file.substr(0, list), kXml);
  return xml != std::string_view::npos && list - xml <= kMostInFront ? xml : list;
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

EmlxPlace WithTrueLength(EmlxPlace place, std::string_view file) {
  file.remove_prefix(std::min<std::uint64_t>(place.offset, file.size()));
  const bool isCut = place.length > file.size();
  const std::string_view behind = isCut ? std::string_view() : file.substr(place.length);
  if (BeginsWithList(behind)) return place;
  if (const auto list = PlaceOfList(file)) {
    place.length = *list;
  } else if (!mail::trimmed(behind).empty()) {
    place.length = file.size();
  }
  return place;
}

std::optional<EmlxPlace> EmlxPlaceIn(const OpenedFile& file) {
  constexpr std::uint64_t kMost = 512 << 20;
  const auto place = EmlxPlaceOf(ReadRange(file, 0, kFileHead));
  if (!place || BeginsWithList(ReadRange(file, place->offset + place->length, kFileHead))) {
    return place;
  }
  if (file.size > kMost) throw ReadError("its length leads to no property list");
  return WithTrueLength(*place, ReadRange(file, 0, file.size));
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

bool IsEmlxName(std::string_view name) { return ItemFileOf(name) == ItemFile::kAppleMail; }

bool IsPartialEmlxName(std::string_view name) { return EndsWithNoCase(name, ".partial.emlx"); }

}  // namespace client
