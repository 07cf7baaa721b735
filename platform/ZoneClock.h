#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace platform {

// What the clocks on the wall show in a time zone. Seconds count from 1970-01-01, of UTC or of the
// wall. Copies share what is known of the zone.
class ZoneClock {
 public:
  // One that is always so many seconds ahead of UTC.
  explicit ZoneClock(std::int64_t nAhead = 0) : m_nAhead(nAhead) {}
  // By the name that Windows has for the zone, such as "W. Europe Standard Time", in UTF-8; nothing
  // for any other name. Costs a look into the tables. Does not throw.
  static std::optional<ZoneClock> OfWindows(std::string_view strName);

  std::int64_t ToWall(std::int64_t nUtc) const;
  // An hour that occurs twice counts as standard time, one that is skipped is read with the
  // standard offset.
  std::int64_t ToUtc(std::int64_t nWall) const;

 private:
  struct Rules;
  std::int64_t m_nAhead = 0;
  std::shared_ptr<const Rules> m_pRules;  // null for an offset that is always the same
};

}  // namespace platform
