#include "mailboxd/web/WebMonth.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/WholeNumber.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/Occurrences.h"
#include "mailboxd/web/WebHtml.h"
#include "mailboxd/web/WebItem.h"

namespace mailbox::web {
namespace {

namespace chrono = std::chrono;

constexpr std::int64_t kItemsShown = 2000;  // of a month
constexpr size_t kItemsOfDay = 20;
constexpr int kDaysOfWeek = 7;
constexpr const char* kMonths[] = {"January",   "February", "March",    "April",
                                   "May",       "June",     "July",     "August",
                                   "September", "October",  "November", "December"};

std::optional<chrono::year_month> ReadMonth(std::string_view text) {
  if (text.size() != 7 || text[4] != '-') return std::nullopt;
  const auto year = mail::wholeNumber<int>(text.substr(0, 4));
  const auto month = mail::wholeNumber<unsigned>(text.substr(5));
  if (!year || !month || *year < 1 || *month < 1 || *month > 12) return std::nullopt;
  return chrono::year(*year) / chrono::month(*month);
}

std::string MonthText(chrono::year_month month) {
  char text[16];
  std::snprintf(text, sizeof text, "%04d-%02u", static_cast<int>(month.year()),
                static_cast<unsigned>(month.month()));
  return text;
}

std::string MonthName(chrono::year_month month) {
  return std::string(kMonths[static_cast<unsigned>(month.month()) - 1]) + " " +
         std::to_string(static_cast<int>(month.year()));
}

// "2024-03-01", in front of every time of that day.
std::string DayText(chrono::sys_days day) {
  const chrono::year_month_day date(day);
  char text[24];
  std::snprintf(text, sizeof text, "%s-%02u", MonthText(date.year() / date.month()).c_str(),
                static_cast<unsigned>(date.day()));
  return text;
}

chrono::sys_days FirstOf(chrono::year_month month) { return month / chrono::day(1); }

// One time that something takes place.
struct Event {
  std::string starts;  // in the store's form
  std::size_t item;    // its place in the list
};

struct Events {
  std::vector<ItemInfo> items;
  std::vector<Event> events;  // by their start
  bool isCut = false;         // there are more
};

void AddSeries(std::vector<ItemInfo> series, std::int64_t from, std::int64_t to, Events& events) {
  for (ItemInfo& item : series) {
    const auto repeats = Occurrences::Of(item);
    const auto once = ReadSeconds(item.starts);  // what is shown of one that is not understood
    std::vector<Occurrences::Place> places;
    if (repeats) places = repeats->Between(from, to);
    std::erase_if(places, [&](const auto& place) { return place.start < from; });
    if (!repeats && once && *once >= from) places.push_back({0, *once, false});
    std::vector<std::string> starts;  // of those that are as the series says
    for (const Occurrences::Place& place : places) {
      if (!place.isChanged) {
        starts.push_back(FormatDateTime(place.start));
      } else if (auto changed = repeats->At(place.number)) {
        events.events.push_back({FormatDateTime(place.start), events.items.size()});
        events.items.push_back(std::move(*changed));
      }
    }
    if (starts.empty()) continue;
    for (std::string& start : starts)
      events.events.push_back({std::move(start), events.items.size()});
    events.items.push_back(std::move(item));
  }
}

Events EventsOf(Store& store, const FolderInfo& folder, chrono::year_month month) {
  const chrono::sys_seconds from = FirstOf(month);
  const chrono::sys_seconds to = FirstOf(month + chrono::months(1));
  const std::string end = DayText(FirstOf(month + chrono::months(1)));
  std::vector<ItemInfo> all =
      store.ItemsBetween(folder.id, DayText(FirstOf(month)), end, kItemsShown);
  std::vector<ItemInfo> series = store.SeriesBefore(folder.id, end, kItemsShown);
  const auto isFull = [](const std::vector<ItemInfo>& items) {
    return items.size() >= static_cast<std::size_t>(kItemsShown);
  };
  Events events;
  events.isCut = isFull(all) || isFull(series);
  for (ItemInfo& item : all) {
    if (item.isSeries) continue;
    events.events.push_back({item.starts, events.items.size()});
    events.items.push_back(std::move(item));
  }
  AddSeries(std::move(series), from.time_since_epoch().count(), to.time_since_epoch().count(),
            events);
  std::ranges::stable_sort(events.events, {}, &Event::starts);
  return events;
}

chrono::year_month MonthToShow(Store& store, const FolderInfo& folder, const Store::Span& starts) {
  const auto now =
      ReadMonth(std::string_view(UtcNow()).substr(0, 7)).value_or(chrono::year(2000) / 1);
  if (starts.last.empty() || !EventsOf(store, folder, now).events.empty()) return now;
  return ReadMonth(std::string_view(starts.last).substr(0, 7)).value_or(now);
}

std::string MonthLinks(const FolderInfo& folder, chrono::year_month month,
                       const Store::Span& starts) {
  const std::string path = "/folder/" + std::to_string(folder.id);
  const auto link = [&](const std::string& to, const std::string& text) {
    return LinkIf(to != MonthText(month), path + "?month=" + to, text);
  };
  std::string html = "<nav class=\"pages\" aria-label=\"Months\">";
  if (!starts.first.empty()) html += link(starts.first.substr(0, 7), "« First");
  const auto before = month - chrono::months(1);
  const auto after = month + chrono::months(1);
  html += link(MonthText(before), "‹ " + MonthName(before)) + "<span>" + MonthName(month) +
          "</span>" + link(MonthText(after), MonthName(after) + " ›");
  if (!starts.last.empty()) html += link(starts.last.substr(0, 7), "Last »");
  return html + Link(path + "?page=1", "List") + "</nav>\n";
}

std::string EventLine(const ItemInfo& item, const std::string& starts) {
  const bool isWhole = FieldText(item, "IsAllDayEvent") == "true";
  const std::string time =
      isWhole ? "" : "<span class=\"soft\">" + Text(starts.substr(11, 5)) + "</span> ";
  return "<li>" + time +
         Link("/item/" + std::to_string(item.id), TextOr(item.subject, "(no subject)")) +
         (item.isSeries               ? " <span class=\"soft\">· series</span>"
          : item.occurrence.isChanged ? " <span class=\"soft\">· of a series</span>"
                                      : "") +
         "</li>";
}

using Days = std::map<std::string, std::vector<const Event*>>;

std::string DayCell(chrono::sys_days day, chrono::year_month month, const Events& events,
                    const Days& days) {
  const chrono::year_month_day date(day);
  const bool isInside = date.year() / date.month() == month;
  const std::string text = DayText(day);
  const auto found = days.find(text);
  const bool isEmpty = !isInside || found == days.end();
  std::string html = std::string("<td") + (isEmpty ? " class=\"empty\"" : "") + ">";
  if (!isInside) return html + "</td>";
  html += "<time datetime=\"" + text + "\">" + std::to_string(static_cast<unsigned>(date.day())) +
          "</time>";
  if (isEmpty) return html + "</td>";
  html += "<ul>";
  size_t count = 0;
  for (const Event* event : found->second) {
    if (count++ == kItemsOfDay) break;
    html += EventLine(events.items[event->item], event->starts);
  }
  if (found->second.size() > kItemsOfDay) {
    html += "<li class=\"soft\">and " + std::to_string(found->second.size() - kItemsOfDay) +
            " more</li>";
  }
  return html + "</ul></td>";
}

// Weeks begin on Monday.
std::string MonthTable(chrono::year_month month, const Events& events) {
  Days days;
  for (const Event& event : events.events) days[event.starts.substr(0, 10)].push_back(&event);
  std::string html = OpenTable("month", MonthName(month),
                               {{"Mon"}, {"Tue"}, {"Wed"}, {"Thu"}, {"Fri"}, {"Sat"}, {"Sun"}});
  const chrono::sys_days first = FirstOf(month);
  const chrono::sys_days end = FirstOf(month + chrono::months(1));
  const unsigned lead = chrono::weekday(first).iso_encoding() - 1;
  for (chrono::sys_days day = first - chrono::days(lead); day < end;) {
    html += "<tr>";
    for (int i = 0; i < kDaysOfWeek; ++i, day += chrono::days(1)) {
      html += DayCell(day, month, events, days);
    }
    html += "</tr>\n";
  }
  return html + CloseTable();
}

}  // namespace

bool IsCalendar(const FolderInfo& folder) {
  return folder.folderClass.starts_with("IPF.Appointment");
}

WebReply MonthPage(Store& store, const FolderInfo& folder, std::string_view month) {
  const Store::Span starts = store.StartsIn(folder.id);
  const auto shown = month.empty() ? MonthToShow(store, folder, starts) : ReadMonth(month);
  if (!shown) return NotFound();
  const Events events = EventsOf(store, folder, *shown);
  std::string content = Totals(folder.total, folder.unread) + MonthLinks(folder, *shown, starts) +
                        MonthTable(*shown, events);
  if (events.isCut) {
    content += "<p class=\"soft\">Of single entries and of series, " + std::to_string(kItemsShown) +
               " at most are looked at.</p>\n";
  }
  return {200, WebReply().type, Page(FolderName(folder), Crumbs(store, folder), content)};
}

}  // namespace mailbox::web
