#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "client/run/CalendarWriter.h"
#include "client/sources/CalendarItem.h"
#include "client/sources/Source.h"

#include <nlohmann/json.hpp>

// Calendars. Their components lie inside of the text one behind the other; each event and task is
// made an item or refused, and what it says are dates that there are, patterns that Exchange has
// and texts that are UTF-8.

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckSeries(const client::Series& series) {
  using Pattern = client::Series::Pattern;
  Require(series.interval >= 1 && series.interval <= 999 && series.count <= 999);
  const bool onDay = series.pattern == Pattern::kMonthly || series.pattern == Pattern::kYearly;
  Require(!onDay || (series.dayOfMonth >= 1 && series.dayOfMonth <= 31));
  const bool relative =
      series.pattern == Pattern::kRelativeMonthly || series.pattern == Pattern::kRelativeYearly;
  Require(!relative || (series.index >= 1 && series.index <= 5 && series.days.size() == 1));
  Require(series.pattern != Pattern::kWeekly || !series.days.empty());
  const bool yearly =
      series.pattern == Pattern::kYearly || series.pattern == Pattern::kRelativeYearly;
  Require(!yearly || (series.month >= 1 && series.month <= 12));
}

void CheckItem(std::string_view text) {
  client::CalendarItem item;
  try {
    item = client::ReadCalendarItem(text);
  } catch (const client::SourceError&) {
    return;
  }
  Require(item.isTask || item.start.has_value());
  if (item.start) Require(item.start->wall.IsValid());
  if (item.series) CheckSeries(*item.series);
  for (const client::CivilTime& time : item.deleted) Require(time.IsValid());
  const std::string lines = client::CalendarDescriptor(item);
  Require(lines.starts_with(item.isTask ? "TASK\r\n" : "CALENDAR\r\n"));
  (void)client::CalendarProps(item).dump(-1, ' ', false, nlohmann::json::error_handler_t::strict);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::size_t end = 0;
  client::ReadIcsComponents(text, [&](const client::IcsComponent& component) {
    Require(component.offset >= end && component.length <= size - component.offset);
    end = component.offset + component.length;
    if (component.name != "VTIMEZONE") {
      CheckItem("BEGIN:VCALENDAR\n" + std::string(text.substr(component.offset, component.length)));
    }
  });
  CheckItem(text);
  return 0;
}
