#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace client {

// A date and time of day on somebody's wall.
struct CivilTime {
  int year = 1970;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
  auto operator<=>(const CivilTime&) const = default;

  bool IsValid() const;        // of the years 1 to 9999
  int Weekday() const;         // 0 is Sunday
  std::int64_t AsUtc() const;  // seconds since 1970 of that time in UTC
  static CivilTime OfUtc(std::int64_t seconds);
  std::string Date() const;  // 2024-03-05
  std::string Text() const;  // 2024-03-05T09:00:00
};

// A time zone of a calendar.
class CalendarZone {
 public:
  CalendarZone();  // the one of this process
  static CalendarZone Utc();
  // By the name that a calendar gives it: of the zone database, also with something in front
  // ("/example.org/20050126_1/Europe/Berlin"), of Windows ("W. Europe Standard Time", also without
  // its last words), or as a list of choices shows it ("(UTC+01:00) Amsterdam, Berlin").
  static std::optional<CalendarZone> ByName(std::string_view name);
  // By the rules of a VTIMEZONE, in the text of a calendar with nothing else in it.
  static std::optional<CalendarZone> ByRules(std::string_view calendar);

  std::int64_t ToUtc(const CivilTime& time) const;
  CivilTime FromUtc(std::int64_t seconds) const;
  // As mailbox servers call it; empty where Windows has no zone with its clock.
  std::string WindowsName() const;
  // By its name in the zone database; empty for the process's own, and one that is only rules.
  std::string Name() const;
  // Its rules from that moment on, as a VTIMEZONE; empty where Name is.
  std::string RulesText(std::int64_t from) const;
  bool IsLocal() const { return !m_rules; }

 private:
  struct Rules;
  explicit CalendarZone(std::shared_ptr<const Rules> rules) : m_rules(std::move(rules)) {}
  std::shared_ptr<const Rules> m_rules;  // null for the zone of this process
};

}  // namespace client
