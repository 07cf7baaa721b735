#include "mailboxd/store/DateTime.h"

#include <chrono>
#include <cstdio>

namespace mailbox {
namespace {

// Takes exactly `digits` digits off the front.
std::optional<int> Number(std::string_view& text, size_t digits) {
  if (text.size() < digits) return std::nullopt;
  int value = 0;
  for (size_t i = 0; i < digits; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  text.remove_prefix(digits);
  return value;
}

bool Take(std::string_view& text, char c) {
  if (!text.starts_with(c)) return false;
  text.remove_prefix(1);
  return true;
}

bool SkipFraction(std::string_view& text) {
  if (!Take(text, '.')) return true;
  const size_t end = text.find_first_not_of("0123456789");
  if (end == 0 || text.empty()) return false;
  text.remove_prefix(end == std::string_view::npos ? text.size() : end);
  return true;
}

// Minutes east of Greenwich.
std::optional<int> Zone(std::string_view text) {
  if (text.empty() || text == "Z") return 0;
  const int sign = text[0] == '-' ? -1 : 1;
  if (!Take(text, '+') && !Take(text, '-')) return std::nullopt;
  const auto hours = Number(text, 2);
  if (!hours || !Take(text, ':')) return std::nullopt;
  const auto minutes = Number(text, 2);
  if (!minutes || !text.empty() || *hours > 14 || *minutes > 59) return std::nullopt;
  return sign * (*hours * 60 + *minutes);
}

}  // namespace

std::optional<std::int64_t> ReadSeconds(std::string_view text) {
  namespace chrono = std::chrono;
  const auto year = Number(text, 4);
  if (!year || !Take(text, '-')) return std::nullopt;
  const auto month = Number(text, 2);
  if (!month || !Take(text, '-')) return std::nullopt;
  const auto day = Number(text, 2);
  if (!day || !Take(text, 'T')) return std::nullopt;
  const auto hour = Number(text, 2);
  if (!hour || !Take(text, ':')) return std::nullopt;
  const auto minute = Number(text, 2);
  if (!minute || !Take(text, ':')) return std::nullopt;
  const auto second = Number(text, 2);
  if (!second || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  if (!SkipFraction(text)) return std::nullopt;
  const auto zone = Zone(text);
  const chrono::year_month_day date{chrono::year(*year),
                                    chrono::month(static_cast<unsigned>(*month)),
                                    chrono::day(static_cast<unsigned>(*day))};
  if (!zone || !date.ok() || *year == 0) return std::nullopt;
  const chrono::sys_seconds time = chrono::sys_days(date) + chrono::hours(*hour) +
                                   chrono::minutes(*minute) + chrono::seconds(*second) -
                                   chrono::minutes(*zone);
  return time.time_since_epoch().count();
}

std::optional<std::string> ReadDateTime(std::string_view text) {
  const auto seconds = ReadSeconds(text);
  return seconds ? std::optional(FormatDateTime(*seconds)) : std::nullopt;
}

std::string FormatDateTime(std::int64_t seconds) {
  namespace chrono = std::chrono;
  const chrono::sys_seconds time{chrono::seconds(seconds)};
  const auto whole = chrono::floor<chrono::days>(time);
  const chrono::year_month_day utc(whole);
  const chrono::hh_mm_ss clock(time - whole);
  char out[40];
  std::snprintf(out, sizeof out, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(utc.year()),
                static_cast<unsigned>(utc.month()), static_cast<unsigned>(utc.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return out;
}

}  // namespace mailbox
