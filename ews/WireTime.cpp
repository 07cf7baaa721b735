#include "ews/WireTime.h"

#include <chrono>

#include <fmt/format.h>

#include "ews/ServiceException.h"

namespace ews {
namespace {

namespace chrono = std::chrono;

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kMostOffset = 14 * 3600;  // that the form of a date has room for

// Seconds east of UTC at that wall-clock date.
std::int64_t OffsetAt(const COleDateTime& dt) {
  const chrono::sys_days objDay{chrono::year(dt.GetYear()) /
                                chrono::month(static_cast<unsigned>(dt.GetMonth())) /
                                chrono::day(static_cast<unsigned>(dt.GetDay()))};
  const std::int64_t nWall = chrono::sys_seconds(objDay).time_since_epoch().count() +
                             dt.GetHour() * 3600 + dt.GetMinute() * 60 + dt.GetSecond();
  return nWall - platform::LocalToUtcSeconds(dt);
}

// Zones of long ago are off by odd seconds.
bool IsWritable(std::int64_t nOffset) {
  return nOffset % kMinute == 0 && nOffset >= -kMostOffset && nOffset <= kMostOffset;
}

std::string OffsetText(std::int64_t nOffset) {
  if (nOffset == 0) return "Z";
  const std::int64_t nMinutes = (nOffset < 0 ? -nOffset : nOffset) / kMinute;
  return fmt::format("{}{:02}:{:02}", nOffset < 0 ? '-' : '+', nMinutes / 60, nMinutes % 60);
}

}  // namespace

std::string FormatUtc(UtcTime objTime) {
  const chrono::sys_seconds objSeconds{chrono::seconds(objTime.nSeconds)};
  const auto objDay = chrono::floor<chrono::days>(objSeconds);
  const chrono::year_month_day objDate(objDay);
  const chrono::hh_mm_ss objClock(objSeconds - objDay);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(objDate.year()),
                     static_cast<unsigned>(objDate.month()), static_cast<unsigned>(objDate.day()),
                     objClock.hours().count(), objClock.minutes().count(),
                     objClock.seconds().count());
}

std::string FormatUtc(const COleDateTime& dt) {
  return FormatUtc(UtcTime{platform::LocalToUtcSeconds(dt)});
}

std::string FormatLocal(const COleDateTime& dt) {
  const std::int64_t nOffset = OffsetAt(dt);
  if (!IsWritable(nOffset)) return FormatUtc(dt);
  return fmt::format("{}T{:02}:{:02}:{:02}{}", FormatDay(dt), dt.GetHour(), dt.GetMinute(),
                     dt.GetSecond(), OffsetText(nOffset));
}

std::string FormatDay(const COleDateTime& dt) {
  return fmt::format("{:04}-{:02}-{:02}", dt.GetYear(), dt.GetMonth(), dt.GetDay());
}

std::string FormatLocalDay(const COleDateTime& dt) {
  const std::int64_t nOffset =
      OffsetAt(COleDateTime(dt.GetYear(), dt.GetMonth(), dt.GetDay(), 0, 0, 0));
  return FormatDay(dt) + (IsWritable(nOffset) ? OffsetText(nOffset) : "");
}

const COleDateTime& ValidDate(const COleDateTime& dt) {
  if (dt.GetStatus() != COleDateTime::valid) {
    throw ServiceException("The date of an item is no valid date.");
  }
  return dt;
}

}  // namespace ews
