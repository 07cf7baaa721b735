#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <vector>

#include "mailboxd/store/Store.h"
#include "platform/SeriesDays.h"
#include "platform/ZoneClock.h"

namespace mailbox {

// When an entry of a calendar takes place that repeats. Pattern and range count days by the clocks
// of the entry's own zone, whose hour it keeps over a change to summer time.
//
// What a month costs does not depend on how long the series goes on, or on what numbers stand in
// it.
class Series {
 public:
  // Moments are seconds since 1970-01-01 UTC.
  struct Occurrence {
    std::int64_t number;  // from 1
    std::int64_t start;
    bool operator==(const Occurrence&) const = default;
  };

  // Nothing for an item that does not repeat, or not as entries of calendars do.
  static std::optional<Series> Of(const ItemInfo& item);

  // Those that start from `from` on and before `to`, in order.
  std::vector<Occurrence> Between(std::int64_t from, std::int64_t to) const;
  // When the occurrence of that number starts; nothing for one that the series does not have.
  std::optional<std::int64_t> StartOf(std::int64_t number) const;

 private:
  using Day = std::chrono::sys_days;

  Series() = default;
  bool ReadPattern(pugi::xml_node pattern);
  bool ReadRange(pugi::xml_node range);
  std::int64_t StartOn(Day day) const;

  platform::SeriesDays m_days;
  std::optional<Day> m_last;                  // of the range
  std::optional<std::int64_t> m_occurrences;  // in all
  platform::ZoneClock m_clock;
  std::chrono::seconds m_hour{0};  // since midnight
};

}  // namespace mailbox
