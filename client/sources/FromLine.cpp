#include "client/sources/FromLine.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <span>
#include <vector>

#include "base/AsciiText.h"
#include "mime/header/MailDate.h"

namespace client {
namespace {

using Words = std::span<const std::string_view>;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsNumber(std::string_view word, std::size_t least, std::size_t most) {
  return word.size() >= least && word.size() <= most && std::ranges::all_of(word, IsDigit);
}

template <std::size_t kCount>
bool IsOneOf(std::string_view word, const std::array<std::string_view, kCount>& names) {
  return std::ranges::any_of(names,
                             [&](std::string_view name) { return mail::equalsNoCase(word, name); });
}

bool IsWeekday(std::string_view word) {
  static constexpr std::array<std::string_view, 7> kNames = {"Mon", "Tue", "Wed", "Thu",
                                                             "Fri", "Sat", "Sun"};
  if (word.ends_with(',')) word.remove_suffix(1);
  return IsOneOf(word, kNames);
}

bool IsMonth(std::string_view word) {
  static constexpr std::array<std::string_view, 12> kNames = {
      "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  return IsOneOf(word, kNames);
}

bool IsDay(std::string_view word) { return IsNumber(word, 1, 2); }
bool IsYear(std::string_view word) { return IsNumber(word, 4, 4) || IsNumber(word, 2, 2); }

// 10:11, 10:11:12 or 10:11:12.123.
bool IsTime(std::string_view word) {
  const std::size_t colon = word.find(':');
  if (colon == std::string_view::npos || !IsNumber(word.substr(0, colon), 1, 2)) return false;
  word.remove_prefix(colon + 1);
  if (IsNumber(word, 2, 2)) return true;
  const std::size_t dot = std::min(word.find('.'), word.size());
  if (dot < word.size() && !IsNumber(word.substr(dot + 1), 1, 9)) return false;
  word = word.substr(0, dot);
  return word.size() == 5 && word[2] == ':' && IsNumber(word.substr(0, 2), 2, 2) &&
         IsNumber(word.substr(3), 2, 2);
}

// "+0100", "CET", "(CET)", "GMT+1".
bool IsZone(std::string_view word) {
  if (word.starts_with('+') || word.starts_with('-')) return IsNumber(word.substr(1), 4, 4);
  if (word.starts_with('(') && word.ends_with(')')) word = word.substr(1, word.size() - 2);
  const std::size_t sign = std::min(word.find_first_of("+-"), word.size());
  if (sign < word.size() && !IsNumber(word.substr(sign + 1), 1, 4)) return false;
  word = word.substr(0, sign);
  return !word.empty() && word.size() <= 5 && std::ranges::all_of(word, mail::isAsciiLetter);
}

// Names of two words are in use: "MET DST".
bool AreZones(Words words) { return words.size() <= 2 && std::ranges::all_of(words, IsZone); }

Words WithoutRelay(Words words) {
  const std::size_t count = words.size();
  const bool relayed = count >= 3 && words[count - 3] == "remote" && words[count - 2] == "from";
  return relayed ? words.first(count - 3) : words;
}

// 2019-03-05
bool IsIsoDay(std::string_view word) {
  return word.size() == 10 && word[4] == '-' && word[7] == '-' &&
         IsNumber(word.substr(0, 4), 4, 4) && IsNumber(word.substr(5, 2), 2, 2) &&
         IsNumber(word.substr(8), 2, 2);
}

// The words of a date from the day of the week to the end of the line, those of a relay left out;
// zone gets its place.
bool IsDate(Words words, FromLine::Zone& zone) {
  if (words.size() >= 2 && IsIsoDay(words[0]) && IsTime(words[1])) {
    zone = words.size() > 2 ? FromLine::Zone::kBehindYear : FromLine::Zone::kNone;
    return AreZones(words.subspan(2));
  }
  if (words.size() < 5 || !IsWeekday(words[0])) return false;
  zone = FromLine::Zone::kNone;
  if (IsDay(words[1]) && IsMonth(words[2]) && IsYear(words[3]) && IsTime(words[4])) {
    if (words.size() > 5) zone = FromLine::Zone::kBehindYear;
    return AreZones(words.subspan(5));
  }
  if (!IsMonth(words[1]) || !IsDay(words[2]) || !IsTime(words[3])) return false;
  const Words rest = words.subspan(4);
  if (IsYear(rest.front())) {
    if (rest.size() > 1) zone = FromLine::Zone::kBehindYear;
    return AreZones(rest.subspan(1));
  }
  zone = FromLine::Zone::kBeforeYear;
  return IsYear(rest.back()) && AreZones(rest.first(rest.size() - 1));
}

std::vector<std::string_view> WordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t at = text.find_first_not_of(" \t"); at != std::string_view::npos;) {
    const std::size_t end = std::min(text.find_first_of(" \t", at), text.size());
    words.push_back(text.substr(at, end - at));
    at = text.find_first_not_of(" \t", end);
  }
  return words;
}

}  // namespace

FromLine ParseFromLine(std::string_view line) {
  FromLine from;
  line.remove_prefix(std::min(kFrom.size(), line.size()));
  while (!line.empty() && mail::isAsciiSpace(line.back())) line.remove_suffix(1);
  if (line.empty()) from.shape = FromLine::Shape::kBare;
  if (line.empty() || line.size() > kLongestFromLine) return from;
  const std::vector<std::string_view> all = WordsOf(line);
  const Words words = WithoutRelay(all);
  // No date has more words than these; the day of the week may be one of the sender's, too.
  constexpr std::size_t kMostWords = 7;
  for (std::size_t at = words.size() - std::min(words.size(), kMostWords); at < words.size();
       ++at) {
    if (!IsDate(words.subspan(at), from.zone)) continue;
    from.shape = FromLine::Shape::kDated;
    const char* const begin = words[at].data();
    from.date = {begin,
                 static_cast<std::size_t>(words.back().data() + words.back().size() - begin)};
    const std::string_view front = line.substr(0, static_cast<std::size_t>(begin - line.data()));
    from.sender = mail::trimmed(front);
    from.twoBlanks = !from.sender.empty() && front.ends_with("  ");
    return from;
  }
  from.zone = FromLine::Zone::kNone;
  return from;
}

bool IsPatch(std::string_view mail) {
  constexpr std::size_t kDigits = 40;
  const std::string_view sender = mail.substr(std::min(kFrom.size(), mail.size()), kDigits + 1);
  return sender.find_first_not_of("0123456789abcdef") == kDigits;
}

std::optional<std::int64_t> TimeOf(const FromLine& line) {
  const auto seconds = mail::parseMailDate(line.date);
  if (!seconds || line.zone != FromLine::Zone::kNone) return seconds;
  const std::time_t time = *seconds;
  std::tm wall{};
  if (!gmtime_r(&time, &wall)) return seconds;
  wall.tm_isdst = -1;
  return std::mktime(&wall);
}

}  // namespace client
