#include "mime/header/MailDate.h"

#include <array>
#include <chrono>
#include <string>
#include <vector>

namespace mail {
namespace {

constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                      "jul", "aug", "sep", "oct", "nov", "dec"};

struct ZoneName {
  std::string_view name;
  int hours;  // east of UTC
};
constexpr std::array<ZoneName, 8> kZones = {{{"est", -5},
                                             {"edt", -4},
                                             {"cst", -6},
                                             {"cdt", -5},
                                             {"mst", -7},
                                             {"mdt", -6},
                                             {"pst", -8},
                                             {"pdt", -7}}};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Words in lower case, split at blanks and commas; comments in brackets are left out. A date has
// at most eight words, so that a longer text is cut short here.
std::vector<std::string> Words(std::string_view text) {
  constexpr size_t kMostWords = 8;
  std::vector<std::string> words;
  int depth = 0;
  bool inWord = false;
  for (char c : text) {
    if (c == '(') ++depth;
    if (depth > 0 || IsBlank(c) || c == ',') {
      if (c == ')') --depth;
      inWord = false;
      continue;
    }
    if (!inWord && words.size() == kMostWords) return words;
    if (!inWord) words.emplace_back();
    inWord = true;
    words.back() += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return words;
}

std::optional<int> Number(std::string_view text, size_t maxDigits) {
  if (text.empty() || text.size() > maxDigits) return std::nullopt;
  int value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

std::optional<int> Month(std::string_view word) {
  if (word.size() < 3) return std::nullopt;
  for (size_t i = 0; i < kMonths.size(); ++i) {
    if (word.substr(0, 3) == kMonths[i]) return static_cast<int>(i) + 1;
  }
  return std::nullopt;
}

std::optional<int> Year(std::string_view word) {
  std::optional<int> year = Number(word, 4);
  if (!year) return year;
  if (word.size() <= 2) return *year < 50 ? 2000 + *year : 1900 + *year;
  if (word.size() == 3) return 1900 + *year;
  return *year >= 1900 ? year : std::nullopt;
}

// Seconds of the day, or nothing. Second 60 is a leap second and counts as 59.
std::optional<int> TimeOfDay(std::string_view word) {
  std::array<int, 3> parts = {0, 0, 0};
  size_t count = 0;
  while (count < parts.size()) {
    const size_t colon = word.find(':');
    const std::optional<int> part = Number(word.substr(0, colon), 2);
    if (!part) return std::nullopt;
    parts[count++] = *part;
    if (colon == std::string_view::npos) break;
    word.remove_prefix(colon + 1);
    if (count == parts.size()) return std::nullopt;
  }
  if (count < 2 || parts[0] > 23 || parts[1] > 59 || parts[2] > 60) return std::nullopt;
  return parts[0] * 3600 + parts[1] * 60 + (parts[2] == 60 ? 59 : parts[2]);
}

// Seconds east of UTC.
int Zone(std::string_view word) {
  if (word.size() == 5 && (word[0] == '+' || word[0] == '-')) {
    const std::optional<int> value = Number(word.substr(1), 4);
    if (!value || *value % 100 > 59) return 0;
    const int seconds = (*value / 100 * 60 + *value % 100) * 60;
    return word[0] == '-' ? -seconds : seconds;
  }
  for (const ZoneName& zone : kZones) {
    if (word == zone.name) return zone.hours * 3600;
  }
  return 0;
}

}  // namespace

std::optional<std::int64_t> parseMailDate(std::string_view text) {
  std::vector<std::string> words = Words(text);
  // A weekday may stand in front; nothing depends on it.
  if (!words.empty() && !Number(words[0], 2)) words.erase(words.begin());
  if (words.size() < 4) return std::nullopt;
  const std::optional<int> day = Number(words[0], 2);
  const std::optional<int> month = Month(words[1]);
  const std::optional<int> year = Year(words[2]);
  const std::optional<int> seconds = TimeOfDay(words[3]);
  if (!day || !month || !year || !seconds) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(*year),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day))};
  if (!date.ok()) return std::nullopt;
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  return days * 86400 + *seconds - (words.size() > 4 ? Zone(words[4]) : 0);
}

}  // namespace mail
