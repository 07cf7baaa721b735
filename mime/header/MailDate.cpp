#include "mime/header/MailDate.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace mail {
namespace {

struct Named {
  std::string_view name;
  int value;
};

// By the first letters, in lower case; a longer row stands in front of its beginning.
constexpr std::array kMonths = std::to_array<Named>({
    {"jan", 1},
    {"feb", 2},
    {"mar", 3},
    {"apr", 4},
    {"may", 5},
    {"jun", 6},
    {"jul", 7},
    {"aug", 8},
    {"sep", 9},
    {"oct", 10},
    {"nov", 11},
    {"dec", 12},
    {"m\xC3\xA4r", 3},
    {"mrz", 3},
    {"mai", 5},
    {"okt", 10},
    {"dez", 12},  // German
    {"f\xC3\xA9v", 2},
    {"fev", 2},
    {"avr", 4},
    {"juin", 6},
    {"juil", 7},  // French
    {"ao\xC3\xBB", 8},
    {"aou", 8},
    {"d\xC3\xA9"
     "c",
     12},
    {"ene", 1},
    {"abr", 4},
    {"ago", 8},
    {"dic", 12},  // Spanish
    {"gen", 1},
    {"mag", 5},
    {"giu", 6},
    {"lug", 7},
    {"set", 9},
    {"ott", 10},  // Italian
    {"out", 10},  // Portuguese
});

// Minutes east of UTC. A name that several zones share (such as "ist") is in no row.
constexpr std::array kZones = std::to_array<Named>({
    {"z", 0},      {"ut", 0},     {"utc", 0},     {"gmt", 0},     {"wet", 0},    {"bst", 60},
    {"west", 60},  {"cet", 60},   {"met", 60},    {"mez", 60},    {"cest", 120}, {"mest", 120},
    {"mesz", 120}, {"eet", 120},  {"eest", 180},  {"msk", 180},   {"msd", 240},  {"hkt", 480},
    {"sgt", 480},  {"jst", 540},  {"kst", 540},   {"aest", 600},  {"aedt", 660}, {"nzst", 720},
    {"nzdt", 780}, {"brt", -180}, {"nst", -210},  {"ndt", -150},  {"ast", -240}, {"adt", -180},
    {"est", -300}, {"edt", -240}, {"cst", -360},  {"cdt", -300},  {"mst", -420}, {"mdt", -360},
    {"pst", -480}, {"pdt", -420}, {"akst", -540}, {"akdt", -480}, {"hst", -600},
});

constexpr int kMinute = 60;
constexpr int kHour = 60 * kMinute;
constexpr int kDay = 24 * kHour;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsSign(char c) { return c == '+' || c == '-'; }
bool IsBetweenWords(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == ',' || c == '"';
}

// Words in lower case; comments in brackets are left out. What follows the most words that a date
// has is left out too.
std::vector<std::string> Words(std::string_view text) {
  constexpr size_t kMostWords = 10;
  std::vector<std::string> words;
  size_t depth = 0;
  bool inWord = false;
  for (char c : text) {
    if (c == '(') ++depth;
    if (depth > 0 || IsBetweenWords(c)) {
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
  if (!std::all_of(text.begin(), text.end(), IsDigit)) return std::nullopt;
  int value = 0;
  for (char c : text) value = value * 10 + (c - '0');
  return value;
}

// Takes what stands in front of the separator, which goes too; all of the text if there is none.
std::string_view TakePiece(std::string_view& text, char separator) {
  const size_t end = std::min(text.find(separator), text.size());
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return piece;
}

std::optional<int> Month(std::string_view word) {
  const auto row = std::find_if(kMonths.begin(), kMonths.end(), [&](const Named& month) {
    return word.substr(0, month.name.size()) == month.name;
  });
  return row == kMonths.end() ? std::nullopt : std::optional(row->value);
}

std::optional<int> Year(std::string_view word) {
  const bool countsFrom1900 = word.size() == 5 && word.substr(0, 2) == "19";  // "19102" is 2002
  if (countsFrom1900) word.remove_prefix(2);
  std::optional<int> year = Number(word, 4);
  if (!year) return year;
  if (word.size() <= 2) return *year < 50 ? 2000 + *year : 1900 + *year;
  if (word.size() == 3) return 1900 + *year;
  return *year >= 1900 ? year : std::nullopt;
}

// "10:20", "9:20:30", "10:20:30.5", "10.20.30". Seconds of the day, or nothing; 24:00 is the end of
// the day. Second 60 is a leap second and counts as 59.
std::optional<int> TimeOfDay(std::string_view word) {
  const char separator = word.find(':') == std::string_view::npos ? '.' : ':';
  if (separator == ':') {  // a fraction of the last second
    const std::string_view fraction = word.substr(std::min(word.find('.'), word.size()));
    if (fraction.size() > 1 && !Number(fraction.substr(1, 1), 1)) return std::nullopt;
    word.remove_suffix(fraction.size());
  }
  std::array<int, 3> parts = {0, 0, 0};
  size_t count = 0;
  while (!word.empty()) {
    const std::optional<int> part = Number(TakePiece(word, separator), 2);
    if (!part || count == parts.size()) return std::nullopt;
    parts[count++] = *part;
  }
  if (count < (separator == ':' ? 2U : 3U)) return std::nullopt;
  const auto [hour, minute, second] = parts;
  if (hour == 24 && minute == 0 && second == 0) return kDay;
  if (hour > 23 || minute > 59 || second > 60) return std::nullopt;
  return hour * kHour + minute * kMinute + std::min(second, 59);
}

// "+0100", "+01:00", "+100", "+01", "-0330.": seconds east of UTC.
std::optional<int> Offset(std::string_view word) {
  if (word.empty() || !IsSign(word[0])) return std::nullopt;
  std::string digits;
  for (char c : word.substr(1)) {
    if (IsDigit(c)) digits += c;
    if (!IsDigit(c) && c != ':' && c != '.') return std::nullopt;
  }
  std::optional<int> value = Number(digits, 4);
  if (!value) return std::nullopt;
  if (digits.size() <= 2) *value *= 100;
  if (*value % 100 > 59) return std::nullopt;
  const int seconds = *value / 100 * kHour + *value % 100 * kMinute;
  return word[0] == '-' ? -seconds : seconds;
}

// Collects the pieces of a date in whatever order they come.
class Reader {
 public:
  void take(std::string_view word) {
    if (m_sign != '\0') {  // "+ 0100"
      setOffset(Offset(std::string(1, std::exchange(m_sign, '\0')).append(word)));
    } else if (word.size() == 1 && IsSign(word[0]) && m_time) {
      m_sign = word[0];
    } else if (IsDigit(word[0])) {
      takeDigits(word);
    } else if (IsSign(word[0])) {
      setOffset(Offset(word));
    } else {
      takeLetters(word);
    }
  }

  std::optional<std::int64_t> seconds() const {
    if (m_isBad || !m_day || !m_month || !m_year || !m_time) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(*m_year),
                                           std::chrono::month(static_cast<unsigned>(*m_month)),
                                           std::chrono::day(static_cast<unsigned>(*m_day))};
    if (!date.ok()) return std::nullopt;
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    return days * kDay + timeOfDay() - m_offset.value_or(m_named.value_or(0));
  }

 private:
  int timeOfDay() const {
    const bool isAfternoon = m_half == 'p' && *m_time < 12 * kHour;
    const bool isAfterMidnight = m_half == 'a' && *m_time >= 12 * kHour && *m_time < 13 * kHour;
    return *m_time + (isAfternoon ? 12 * kHour : 0) - (isAfterMidnight ? 12 * kHour : 0);
  }

  void setOffset(std::optional<int> offset) {
    if (offset && !m_offset) m_offset = offset;
  }

  void takeDigits(std::string_view word) {
    if (word.find(':') != std::string_view::npos) return takeTime(word);
    if (word.find_first_of("-/.") != std::string_view::npos) return takeCompound(word);
    if (!m_day && Number(word, 2)) {
      m_day = Number(word, 2);
    } else if (!m_year) {
      m_year = Year(word);
      m_isBad = m_isBad || !m_year;
    } else if (m_time && word.size() == 4) {
      setOffset(Offset(std::string("+").append(word)));
    }
  }

  // A time, alone or with a date in front and a zone behind: "2002-03-05t10:20:30+01:00".
  void takeTime(std::string_view word) {
    const size_t date = word.find('t');
    if (date != std::string_view::npos && date < word.find(':')) {
      takeCompound(word.substr(0, date));
      word.remove_prefix(date + 1);
    }
    const size_t end = std::min(word.find_first_not_of("0123456789:."), word.size());
    setTime(TimeOfDay(word.substr(0, end)));
    word.remove_prefix(end);
    if (!word.empty() && !IsDigit(word[0])) take(word);
  }

  void setTime(std::optional<int> time) {
    m_isBad = m_isBad || !time || m_time;
    m_time = time;
  }

  // "05-mar-2002", "2002-03-05", "05.03.2002", or a time with dots. With "/" nobody can tell day
  // from month.
  void takeCompound(std::string_view word) {
    const size_t found = word.find_first_of("-/.");
    if (found == std::string_view::npos) {
      m_isBad = true;
      return;
    }
    const char separator = word[found];
    const std::string_view whole = word;
    const std::string_view first = TakePiece(word, separator);
    const std::string_view second = TakePiece(word, separator);
    if (first.size() == 4) {
      setDate(Number(word, 2), Number(second, 2), Year(first));
    } else if (separator == '-' && Month(second)) {
      setDate(Number(first, 2), Month(second), Year(word));
    } else if (separator == '.' && word.size() == 4) {
      setDate(Number(first, 2), Number(second, 2), Year(word));
    } else if (separator == '.' && word.empty()) {  // "5." is a day
      take(first);
    } else {
      setTime(TimeOfDay(whole));
    }
  }

  void setDate(std::optional<int> day, std::optional<int> month, std::optional<int> year) {
    m_isBad = m_isBad || m_day || m_year || !day || !month || !year;
    m_day = day;
    m_month = month;
    m_year = year;
  }

  // The weekday is not looked at; in some languages it begins as a month does, and stands in front.
  void takeLetters(std::string_view word) {
    const size_t sign = word.find_first_of("+-");
    const std::string_view name = word.substr(0, std::min(sign, word.find('.')));
    const auto zone = std::find_if(kZones.begin(), kZones.end(),
                                   [&](const Named& row) { return row.name == name; });
    if (zone != kZones.end() && m_time) {
      if (!m_named) m_named = zone->value * kMinute;
      if (sign != std::string_view::npos) setOffset(Offset(word.substr(sign)));
    } else if ((name == "am" || name == "pm") && m_time) {
      m_half = name[0];
    } else if (const std::optional<int> month = Month(word); month && !(m_month && m_time)) {
      m_month = month;
    }
  }

  std::optional<int> m_day, m_month, m_year;
  std::optional<int> m_time;             // seconds of the day
  std::optional<int> m_offset, m_named;  // seconds east of UTC; digits say more than a name
  char m_half = '\0';                    // 'a' or 'p' of AM and PM
  char m_sign = '\0';                    // one that stood alone
  bool m_isBad = false;                  // a piece that is none, or one too many
};

}  // namespace

std::optional<std::int64_t> parseMailDate(std::string_view text) {
  Reader reader;
  for (const std::string& word : Words(text)) reader.take(word);
  return reader.seconds();
}

// Names are English, for no program sets a locale.
std::string mailDateOfNow() {
  const std::time_t nNow = std::time(nullptr);
  std::tm objLocal{};
  std::array<char, 64> aText{};
  if (localtime_r(&nNow, &objLocal) == nullptr) return {};
  return {aText.data(),
          std::strftime(aText.data(), aText.size(), "%a, %d %b %Y %H:%M:%S %z", &objLocal)};
}

}  // namespace mail
