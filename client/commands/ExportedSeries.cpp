#include "client/commands/ExportedSeries.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

#include "base/WholeNumber.h"
#include "mailboxd/store/ItemFields.h"

namespace client {
namespace {

struct Word {
  std::string_view from;
  std::string_view to;
};
constexpr std::array<Word, 6> kFrequencies = {{{"t:DailyRecurrence", "DAILY"},
                                               {"t:WeeklyRecurrence", "WEEKLY"},
                                               {"t:AbsoluteMonthlyRecurrence", "MONTHLY"},
                                               {"t:RelativeMonthlyRecurrence", "MONTHLY"},
                                               {"t:AbsoluteYearlyRecurrence", "YEARLY"},
                                               {"t:RelativeYearlyRecurrence", "YEARLY"}}};
constexpr std::array<Word, 10> kDays = {{{"Sunday", "SU"},
                                         {"Monday", "MO"},
                                         {"Tuesday", "TU"},
                                         {"Wednesday", "WE"},
                                         {"Thursday", "TH"},
                                         {"Friday", "FR"},
                                         {"Saturday", "SA"},
                                         {"Day", "SU,MO,TU,WE,TH,FR,SA"},
                                         {"Weekday", "MO,TU,WE,TH,FR"},
                                         {"WeekendDay", "SU,SA"}}};
constexpr std::array<Word, 5> kPlaces = {
    {{"First", "1"}, {"Second", "2"}, {"Third", "3"}, {"Fourth", "4"}, {"Last", "-1"}}};
constexpr std::array<std::string_view, 12> kMonths = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

template <std::size_t kCount>
std::string Translated(const std::array<Word, kCount>& words, std::string_view from) {
  const auto word = std::ranges::find(words, from, &Word::from);
  return word == words.end() ? std::string() : std::string(word->to);
}

std::string DayList(std::string_view names) {
  std::string list;
  while (!names.empty()) {
    const std::size_t end = std::min(names.find(' '), names.size());
    const std::string day = Translated(kDays, names.substr(0, end));
    if (!day.empty()) list += (list.empty() ? "" : ",") + day;
    names.remove_prefix(std::min(end + 1, names.size()));
  }
  return list;
}

std::string DayOfMonth(std::string_view text) {
  constexpr int kInEveryMonth = 28;
  const int day = mail::wholeNumber<int>(text).value_or(1);
  if (day <= kInEveryMonth) return fmt::format(";BYMONTHDAY={}", day);
  std::string list;
  for (int i = kInEveryMonth; i <= std::min(day, 31); ++i) {
    list += (list.empty() ? "" : ",") + std::to_string(i);
  }
  return ";BYMONTHDAY=" + list + ";BYSETPOS=-1";
}

}  // namespace

std::string RuleOf(const mailbox::ItemInfo& item,
                   const std::function<std::string(const std::string& day)>& lastOf) {
  const mailbox::FieldTree tree(mailbox::FindField(item, "Recurrence"));
  const pugi::xml_node pattern = tree.Root().first_child();
  const pugi::xml_node range = pattern.next_sibling();
  const auto text = [](pugi::xml_node node, const char* name) -> std::string {
    return node.child(name).child_value();
  };
  const std::string frequency = Translated(kFrequencies, pattern.name());
  if (frequency.empty()) return {};
  std::string rule = "FREQ=" + frequency;
  if (const std::string interval = text(pattern, "t:Interval"); !interval.empty()) {
    rule += ";INTERVAL=" + interval;
  }
  const auto month = std::ranges::find(kMonths, text(pattern, "t:Month"));
  if (month != kMonths.end()) rule += fmt::format(";BYMONTH={}", month - kMonths.begin() + 1);
  if (const std::string days = DayList(text(pattern, "t:DaysOfWeek")); !days.empty()) {
    rule += ";BYDAY=" + days;
  }
  if (const std::string day = text(pattern, "t:DayOfMonth"); !day.empty()) rule += DayOfMonth(day);
  const std::string place = Translated(kPlaces, text(pattern, "t:DayOfWeekIndex"));
  if (!place.empty()) rule += ";BYSETPOS=" + place;
  if (frequency == "WEEKLY") {
    const std::string first = DayList(text(pattern, "t:FirstDayOfWeek"));
    rule += ";WKST=" + (first.empty() ? "SU" : first);
  }
  if (const std::string count = text(range, "t:NumberOfOccurrences"); !count.empty()) {
    rule += ";COUNT=" + count;
  }
  if (const std::string last = text(range, "t:EndDate").substr(0, 10); !last.empty()) {
    rule += ";UNTIL=" + lastOf(last);
  }
  return rule;
}

}  // namespace client
