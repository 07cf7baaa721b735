#include "client/sources/CalendarZone.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include <fmt/format.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>
#include <unicode/vtzone.h>

#include "platform/WindowsTimeZone.h"

namespace client {
namespace {

namespace chrono = std::chrono;

using Zone = icu::TimeZone;
using ZonePointer = std::shared_ptr<const Zone>;

constexpr double kMillis = 1000;
constexpr int kLongestName = 200;  // bytes of a name that is looked up

std::string Utf8(const icu::UnicodeString& text) {
  std::string utf8;
  return text.toUTF8String(utf8);
}

ZonePointer ById(const icu::UnicodeString& id) {
  ZonePointer zone(Zone::createTimeZone(id));
  return zone && *zone != Zone::getUnknown() ? zone : nullptr;
}

ZonePointer ByWindowsName(std::string_view name) {
  icu::UnicodeString id;
  UErrorCode error = U_ZERO_ERROR;
  Zone::getIDForWindowsID(
      icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<int>(name.size()))),
      "001", id, error);
  return U_SUCCESS(error) && !id.isEmpty() ? ById(id) : nullptr;
}

// Calls `take` with the name of each place's zone until it returns false.
void ForEachZone(const std::function<bool(const icu::UnicodeString& id)>& take) {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> ids(Zone::createTimeZoneIDEnumeration(
      UCAL_ZONE_TYPE_CANONICAL_LOCATION, nullptr, nullptr, error));
  while (ids && U_SUCCESS(error)) {
    const icu::UnicodeString* id = ids->snext(error);
    if (!id || !take(*id)) return;
  }
}

// "Berlin" is Europe/Berlin.
ZonePointer ByCity(std::string city) {
  std::replace(city.begin(), city.end(), ' ', '_');
  const icu::UnicodeString end = icu::UnicodeString::fromUTF8("/" + city);
  ZonePointer zone;
  ForEachZone([&](const icu::UnicodeString& id) {
    if (id.endsWith(end)) zone = ById(id);
    return zone == nullptr;
  });
  return zone;
}

// Of "(UTC+01:00) Amsterdam, Berlin, Bern" and "(GMT-05.00) Eastern Time (US & Canada)".
ZonePointer ByShownName(std::string_view name) {
  if (!name.starts_with("(UTC") && !name.starts_with("(GMT")) return nullptr;
  std::string_view rest = name.substr(std::min(name.find(')'), name.size() - 1) + 1);
  if (const std::size_t time = rest.find(" Time ("); time != std::string_view::npos) {
    const std::size_t word = std::min(rest.find_first_not_of(' '), time);
    return ByWindowsName(std::string(rest.substr(word, time - word)) + " Standard Time");
  }
  while (!rest.empty()) {
    std::string_view city = rest.substr(0, rest.find_first_of(",/"));
    rest.remove_prefix(std::min(city.size() + 1, rest.size()));
    city.remove_prefix(std::min(city.find_first_not_of(' '), city.size()));
    if (city.empty()) continue;
    if (ZonePointer zone = ByCity(std::string(city))) return zone;
  }
  return nullptr;
}

std::int32_t Offset(const Zone& zone, double millis, bool wall) {
  std::int32_t raw = 0;
  std::int32_t summer = 0;
  UErrorCode error = U_ZERO_ERROR;
  zone.getOffset(millis, wall, raw, summer, error);
  return U_SUCCESS(error) ? (raw + summer) / 1000 : 0;
}

std::string WindowsNameOf(const icu::UnicodeString& id) {
  icu::UnicodeString name;
  UErrorCode error = U_ZERO_ERROR;
  Zone::getWindowsID(id, name, error);
  return U_SUCCESS(error) ? Utf8(name) : std::string();
}

// The clocks agree over the years around now.
bool Agree(const Zone& a, const Zone& b) {
  constexpr double kStep = 10 * 86400 * kMillis;
  constexpr int kSteps = 110;  // three years
  const double from = static_cast<double>(std::time(nullptr)) * kMillis - kStep * kSteps / 2;
  for (int i = 0; i < kSteps; ++i) {
    if (Offset(a, from + i * kStep, false) != Offset(b, from + i * kStep, false)) return false;
  }
  return true;
}

struct NamedZone {
  std::string name;
  ZonePointer zone;
};

// Each zone of Windows with the one that it means when no country is given.
std::vector<NamedZone> ZonesOfWindows() {
  std::set<std::string> names;
  ForEachZone([&](const icu::UnicodeString& id) {
    names.insert(WindowsNameOf(id));
    return true;
  });
  std::vector<NamedZone> zones;
  for (const std::string& name : names) {
    ZonePointer zone = name.empty() ? nullptr : ByWindowsName(name);
    if (zone) zones.push_back({name, std::move(zone)});
  }
  return zones;
}

// The first zone of Windows with the clock of one that it does not know.
std::string NameByClock(const Zone& wanted) {
  static const std::vector<NamedZone> kZones = ZonesOfWindows();
  for (const NamedZone& each : kZones) {
    if (Agree(*each.zone, wanted)) return each.name;
  }
  return {};
}

std::string NameOf(const Zone& zone) {
  icu::UnicodeString id;
  zone.getID(id);
  if (id == icu::UnicodeString("GMT") || id == icu::UnicodeString("UTC")) return "UTC";
  std::string name = WindowsNameOf(id);
  return name.empty() ? NameByClock(zone) : name;
}

// What was found for a name or for rules: a calendar names the same zone in thousands of events.
template <typename Value, typename Find>
const Value& Remembered(std::map<std::string, Value, std::less<>>& known, std::string_view key,
                        Find find) {
  constexpr std::size_t kMost = 200;
  const auto it = known.find(key);
  if (it != known.end()) return it->second;
  if (known.size() == kMost) known.clear();
  return known.emplace(key, find()).first->second;
}

ZonePointer FindByName(std::string_view name) {
  ZonePointer zone;
  for (std::string_view rest = name; !zone && !rest.empty();) {
    zone = ById(
        icu::UnicodeString::fromUTF8(icu::StringPiece(rest.data(), static_cast<int>(rest.size()))));
    rest.remove_prefix(std::min(rest.find('/'), rest.size() - 1) + 1);
  }
  if (!zone) zone = ByWindowsName(name);
  if (!zone) zone = ByWindowsName(std::string(name) + " Standard Time");
  return zone ? zone : ByShownName(name);
}

}  // namespace

bool CivilTime::IsValid() const {
  const chrono::year_month_day date(chrono::year(year), chrono::month(static_cast<unsigned>(month)),
                                    chrono::day(static_cast<unsigned>(day)));
  return year >= 1 && year <= 9999 && date.ok() && hour >= 0 && hour < 24 && minute >= 0 &&
         minute < 60 && second >= 0 && second < 60;
}

int CivilTime::Weekday() const {
  const std::int64_t days = (AsUtc() - hour * 3600 - minute * 60 - second) / 86400;
  return static_cast<int>(((days + 4) % 7 + 7) % 7);  // the first day of 1970 was a Thursday
}

std::int64_t CivilTime::AsUtc() const {
  const chrono::sys_days date = chrono::year(year) / chrono::month(static_cast<unsigned>(month)) /
                                chrono::day(static_cast<unsigned>(day));
  return chrono::sys_seconds(date).time_since_epoch().count() + hour * 3600 + minute * 60 + second;
}

CivilTime CivilTime::OfUtc(std::int64_t seconds) {
  const chrono::sys_seconds moment{chrono::seconds(seconds)};
  const auto date = chrono::floor<chrono::days>(moment);
  const chrono::year_month_day days(date);
  const auto rest = static_cast<int>((moment - date).count());
  return {static_cast<int>(days.year()),
          static_cast<int>(static_cast<unsigned>(days.month())),
          static_cast<int>(static_cast<unsigned>(days.day())),
          rest / 3600,
          rest / 60 % 60,
          rest % 60};
}

std::string CivilTime::Date() const { return fmt::format("{:04}-{:02}-{:02}", year, month, day); }

std::string CivilTime::Text() const {
  return fmt::format("{}T{:02}:{:02}:{:02}", Date(), hour, minute, second);
}

struct CalendarZone::Rules {
  ZonePointer zone;
  std::string windowsName;
};

CalendarZone::CalendarZone() = default;

CalendarZone CalendarZone::Utc() {
  static const auto kRules =
      std::make_shared<const Rules>(Rules{ZonePointer(Zone::getGMT()->clone()), "UTC"});
  return CalendarZone(kRules);
}

std::optional<CalendarZone> CalendarZone::ByName(std::string_view name) {
  if (name.empty() || name.size() > kLongestName) return std::nullopt;
  thread_local std::map<std::string, std::optional<CalendarZone>, std::less<>> known;
  return Remembered(known, name, [&]() -> std::optional<CalendarZone> {
    ZonePointer zone = FindByName(name);
    if (!zone) return std::nullopt;
    std::string windowsName = NameOf(*zone);
    return CalendarZone(
        std::make_shared<const Rules>(Rules{std::move(zone), std::move(windowsName)}));
  });
}

std::optional<CalendarZone> CalendarZone::ByRules(std::string_view calendar) {
  thread_local std::map<std::string, std::optional<CalendarZone>, std::less<>> known;
  return Remembered(known, calendar, [&]() -> std::optional<CalendarZone> {
    UErrorCode error = U_ZERO_ERROR;
    ZonePointer zone(
        icu::VTimeZone::createVTimeZone(icu::UnicodeString::fromUTF8(icu::StringPiece(
                                            calendar.data(), static_cast<int>(calendar.size()))),
                                        error));
    // Rules that are not whole give a zone without a name, and with nothing behind it.
    icu::UnicodeString id;
    if (U_FAILURE(error) || !zone || zone->getID(id).isEmpty()) return std::nullopt;
    std::string windowsName = NameOf(*zone);
    return CalendarZone(
        std::make_shared<const Rules>(Rules{std::move(zone), std::move(windowsName)}));
  });
}

std::int64_t CalendarZone::ToUtc(const CivilTime& time) const {
  const std::int64_t wall = time.AsUtc();
  if (m_rules) return wall - Offset(*m_rules->zone, static_cast<double>(wall) * kMillis, true);
  std::tm local{};
  local.tm_year = time.year - 1900;
  local.tm_mon = time.month - 1;
  local.tm_mday = time.day;
  local.tm_hour = time.hour;
  local.tm_min = time.minute;
  local.tm_sec = time.second;
  local.tm_isdst = -1;
  return std::mktime(&local);
}

CivilTime CalendarZone::FromUtc(std::int64_t seconds) const {
  if (m_rules) {
    return CivilTime::OfUtc(seconds +
                            Offset(*m_rules->zone, static_cast<double>(seconds) * kMillis, false));
  }
  const std::time_t time = seconds;
  std::tm local{};
  if (!localtime_r(&time, &local)) return {};
  return CivilTime::OfUtc(seconds + local.tm_gmtoff);
}

std::string CalendarZone::Name() const {
  if (!m_rules) return {};
  icu::UnicodeString id;
  m_rules->zone->getID(id);
  UErrorCode error = U_ZERO_ERROR;
  UBool isKnown = false;
  icu::UnicodeString canonical;
  Zone::getCanonicalID(id, canonical, isKnown, error);
  return U_SUCCESS(error) && isKnown ? Utf8(id) : std::string();
}

std::string CalendarZone::RulesText(std::int64_t from) const {
  if (Name().empty()) return {};
  icu::UnicodeString id;
  m_rules->zone->getID(id);
  const std::unique_ptr<icu::VTimeZone> zone(icu::VTimeZone::createVTimeZoneByID(id));
  UErrorCode error = U_ZERO_ERROR;
  icu::UnicodeString text;
  // A year earlier, so that one of its rules holds at that moment.
  constexpr std::int64_t kYear = 366 * 86400;
  if (zone) zone->write(static_cast<double>(from - kYear) * kMillis, text, error);
  return zone && U_SUCCESS(error) ? Utf8(text) : std::string();
}

std::string CalendarZone::WindowsName() const {
  return m_rules ? m_rules->windowsName : platform::WindowsTimeZoneName();
}

}  // namespace client
