#include "client/sources/CalendarItem.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

#include <fmt/format.h>
#include <libical/ical.h>

#include "base/AsciiText.h"
#include "client/sources/CalendarNames.h"
#include "client/sources/EventText.h"
#include "client/sources/EventWords.h"
#include "client/sources/LineDecoding.h"
#include "client/sources/Names.h"
#include "client/sources/Source.h"

namespace client {
namespace {

using Moment = CalendarItem::Moment;

constexpr std::int64_t kDay = 86400;
constexpr int kFirstYear = 1601;           // of Exchange's calendar
constexpr int kLastYear = 9000;            // leaves room for what durations add
constexpr std::size_t kLongestTold = 100;  // bytes of a value in a list of what is left

std::string Told(std::string_view what, std::string_view value) {
  if (value.empty()) return std::string(what);
  return fmt::format("{} {}", what, CutAtCharacter(value, kLongestTold));
}

// The rules of the zones in the text, by their names.
using ZoneRules = std::map<std::string, CalendarZone, std::less<>>;

std::optional<int> NumberOf(std::string_view text) {
  int number = 0;
  text = mail::trimmed(text);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end != text.data() ? std::optional(number) : std::nullopt;
}

// A date as the wall shows it, of whatever year; nothing for what is none.
std::optional<CivilTime> DateOf(std::string_view value, bool& isDate, bool& isUtc) {
  icalerror_set_errors_are_fatal(false);
  const icaltimetype time = icaltime_from_string(std::string(mail::trimmed(value)).c_str());
  CivilTime wall{time.year, time.month,  time.day,
                 time.hour, time.minute, std::min(time.second, 59)};  // a leap second
  isDate = time.is_date;
  isUtc = icaltime_is_utc(time);
  if (isDate) wall.hour = wall.minute = wall.second = 0;
  if (icaltime_is_null_time(time) || !wall.IsValid()) return std::nullopt;
  return wall;
}

// The same of what Exchange has a place for.
std::optional<CivilTime> WallOf(std::string_view value, bool& isDate, bool& isUtc) {
  const std::optional<CivilTime> wall = DateOf(value, isDate, isUtc);
  const bool inRange = wall && wall->year >= kFirstYear && wall->year <= kLastYear;
  return inRange ? wall : std::nullopt;
}

// Days last as long as the clock on the wall says, 23 hours where it is put forward.
struct Span {
  std::int64_t days = 0;
  std::int64_t seconds = 0;
};

// Makes one item of its component and those of its changed occurrences.
class ItemReader {
 public:
  explicit ItemReader(const ZoneRules& rules) : m_rules(rules) {}

  CalendarItem Read(const IcsComponent& main, const std::vector<IcsComponent>& changed) {
    m_item.isTask = main.name == "VTODO";
    ReadTimes(main);
    ReadTexts(main);
    ReadMarks(main);
    ReadPeople(main);
    ReadAttachments(main);
    ReadReminders(main);
    if (m_item.isTask) ReadTaskState(main);
    ReadSeries(main);
    ReadOccurrences(main, changed);
    TellUnknown(main);
    return std::move(m_item);
  }

 private:
  void Leave(std::string_view what, std::string_view value) {
    m_item.left.push_back(Told(what, value));
  }

  bool IsUnknown(const ContentLine& line) const {
    const bool isPage = line.name == "X-ALT-DESC" && !m_item.html.empty();
    return !isPage && HasNoPlace(line.name) && !mail::trimmed(line.value).empty();
  }

  // A program's own property is named once, however often it is there.
  void TellUnknown(const IcsComponent& main) {
    std::set<std::string_view> told;
    for (const ContentLine& line : main.lines) {
      if (!IsUnknown(line)) continue;
      if (line.name.starts_with("X-") && !told.insert(line.name).second) continue;
      Leave(line.name, HoldsBytes(line) ? std::string() : UnescapedText(line.value));
    }
  }

  // Of occurrences, which are missed where they are not there.
  void Lose(std::string_view what, std::string_view value) {
    Leave(what, value);
    m_item.isReduced = true;
  }

  // The zone of a line; the process's own, and a remark, for one that nobody knows.
  CalendarZone ZoneOf(std::string_view name) {
    const auto known = m_zones.find(name);
    if (known != m_zones.end()) return known->second;
    std::optional<CalendarZone> zone = CalendarZone::ByName(name);
    const auto rules = m_rules.find(name);
    if (!zone && rules != m_rules.end()) zone = rules->second;
    if (!zone) Leave("the time zone, which nobody knows:", name);
    return m_zones.emplace(name, zone.value_or(CalendarZone())).first->second;
  }

  // The moment of a line, and its zone.
  std::optional<Moment> MomentOf(const ContentLine* line, CalendarZone* zone = nullptr) {
    if (!line) return std::nullopt;
    Moment moment;
    bool utc = false;
    const std::optional<CivilTime> wall = WallOf(line->value, moment.isDate, utc);
    if (!wall) return std::nullopt;
    const std::string_view name = line->Value("TZID");
    moment.wall = *wall;
    moment.isFloating = !moment.isDate && !utc && name.empty();
    const bool local = moment.isDate || moment.isFloating;
    const CalendarZone own = local ? CalendarZone() : utc ? CalendarZone::Utc() : ZoneOf(name);
    moment.utc = own.ToUtc(moment.wall);
    if (zone) *zone = own;
    return moment;
  }

  // A moment on the wall of the item's zone.
  CivilTime InZone(const Moment& moment) const {
    const bool asItStands = moment.isDate || moment.isFloating;
    return asItStands ? moment.wall : m_item.zone.FromUtc(moment.utc);
  }

  static std::optional<Span> SpanOf(const ContentLine* line) {
    if (!line) return std::nullopt;
    icalerror_set_errors_are_fatal(false);
    const std::string text(mail::trimmed(line->value));
    const icaldurationtype duration = icaldurationtype_from_string(text.c_str());
    if (icaldurationtype_is_bad_duration(duration)) return std::nullopt;
    const std::int64_t sign = duration.is_neg ? -1 : 1;
    constexpr std::int64_t kMostDays = std::int64_t{100} * 366;
    const std::int64_t days = std::int64_t{duration.weeks} * 7 + duration.days;
    const std::int64_t seconds = std::int64_t{duration.hours} * 3600 +
                                 std::int64_t{duration.minutes} * 60 + duration.seconds;
    return Span{sign * std::clamp(days, -kMostDays, kMostDays),
                sign * std::clamp(seconds, -kMostDays * kDay, kMostDays * kDay)};
  }

  static Moment After(const Moment& start, const Span& span, const CalendarZone& zone) {
    const std::int64_t days = span.days * kDay;
    Moment end = start;
    if (start.isDate || start.isFloating) {
      end.wall = CivilTime::OfUtc(start.wall.AsUtc() + days + span.seconds);
      end.utc = zone.ToUtc(end.wall);
      return end;
    }
    if (days != 0) {
      end.utc = zone.ToUtc(CivilTime::OfUtc(zone.FromUtc(start.utc).AsUtc() + days));
    }
    end.utc += span.seconds;
    end.wall = zone.FromUtc(end.utc);
    return end;
  }

  void ReadTimes(const IcsComponent& main) {
    m_item.start = MomentOf(main.First("DTSTART"), &m_item.zone);
    m_item.end = EndOf(main, m_item.start);
    m_item.created = UtcOf(main.First("CREATED"));
    if (!m_item.created) m_item.created = UtcOf(main.First("DTSTAMP"));
    m_item.allDay = m_item.start && m_item.start->isDate;
    if (UpperAscii(main.Text("X-MICROSOFT-CDO-ALLDAYEVENT")) == "TRUE") MakeWholeDays();
    // Wall clocks of a zone that the target does not know would be read in another one.
    if (m_item.start && !m_item.zone.IsLocal() && m_item.zone.WindowsName().empty()) {
      Leave("the time zone", main.First("DTSTART")->Value("TZID"));
      m_item.zone = CalendarZone();
      m_item.start->wall = m_item.zone.FromUtc(m_item.start->utc);
      if (m_item.end) m_item.end->wall = InZone(*m_item.end);
    }
  }

  // Of days that were written as moments, whose midnights may be those of the machine's clock.
  void MakeWholeDays() {
    if (!m_item.start || !m_item.end || m_item.allDay) return;
    m_item.allDay = true;
    const auto isMidnight = [](const CivilTime& wall) { return wall.AsUtc() % kDay == 0; };
    for (const CalendarZone& zone : {m_item.zone, CalendarZone()}) {
      const auto in = [&](const Moment& moment) {
        return moment.isFloating ? moment.wall : zone.FromUtc(moment.utc);
      };
      const CivilTime start = in(*m_item.start);
      const CivilTime end = in(*m_item.end);
      if (!isMidnight(start) || !isMidnight(end)) continue;
      m_item.zone = zone;
      m_item.start->wall = start;
      m_item.end->wall = end;
      return;
    }
  }

  std::optional<Moment> EndOf(const IcsComponent& component, const std::optional<Moment>& start) {
    std::optional<Moment> end = MomentOf(component.First(m_item.isTask ? "DUE" : "DTEND"));
    if (!start) return end;
    if (!end) {
      const std::optional<Span> span = SpanOf(component.First("DURATION"));
      if (m_item.isTask && !span) return std::nullopt;
      end = After(*start, span.value_or(Span{}), m_item.zone);
    }
    if (m_item.isTask) return end;
    // A day ends where the next begins; some programs name the same day.
    if (start->isDate ? end->wall < start->wall : end->utc < start->utc) {
      Leave("an end before the start:", end->wall.Text());
    }
    if (start->isDate && end->wall <= start->wall) end = After(*start, {.days = 1}, m_item.zone);
    if (end->utc < start->utc) end = start;
    end->wall = InZone(*end);
    return end;
  }

  std::optional<std::int64_t> UtcOf(const ContentLine* line) {
    const std::optional<Moment> moment = MomentOf(line);
    return moment ? std::optional(moment->utc) : std::nullopt;
  }

  void ReadTexts(const IcsComponent& main) {
    m_item.uid = main.Text("UID");
    m_item.subject = main.Text("SUMMARY");
    m_item.location = LocationOf(main);
    m_item.body = EventText(main);
    for (const ContentLine& line : main.lines) {
      if (line.name == "X-ALT-DESC" && UpperAscii(line.Value("FMTTYPE")) == "TEXT/HTML") {
        m_item.html = UnescapedText(line.value);
      }
      if (line.name != "CATEGORIES") continue;
      for (const std::string& category : SplitValue(line.value, ',')) {
        if (const std::string_view text = mail::trimmed(category); !text.empty()) {
          m_item.categories.emplace_back(text);
        }
      }
    }
    AddPages(main, m_item.html);
  }

  void ReadMarks(const IcsComponent& main) {
    if (const std::optional<int> priority = NumberOf(main.Text("PRIORITY"))) {
      if (*priority >= 1 && *priority <= 9) {
        m_item.importance = *priority < 5 ? '1' : *priority == 5 ? '2' : '3';
      }
    }
    m_item.sensitivity = SensitivityOf(main);
    if (UpperAscii(main.Text("STATUS")) == "CANCELLED") Leave("that it was", "cancelled");
    if (!m_item.isTask) m_item.busy = BusyOf(main);
  }

  void ReadPeople(const IcsComponent& main) {
    for (const ContentLine& line : main.lines) {
      if (line.name != "ATTENDEE" && line.name != "ORGANIZER") continue;
      CalendarItem::Person person = PersonOf(line);
      if (person.address.empty()) {
        Leave("someone without an address:", person.name.empty() ? line.value : person.name);
      } else if (line.name == "ORGANIZER") {
        m_item.organizer = std::move(person);
      } else {
        m_item.attendees.push_back(std::move(person));
      }
    }
    if (m_item.isTask && m_item.organizer) {
      Leave("the organizer of a task", m_item.organizer->address);
    }
    if (m_item.isTask && !m_item.attendees.empty()) {
      for (const CalendarItem::Person& person : m_item.attendees) {
        Leave("the attendee of a task", person.address);
      }
      m_item.attendees.clear();
    }
  }

  void ReadAttachments(const IcsComponent& main) {
    for (const ContentLine& line : main.lines) {
      if (line.name != "ATTACH") continue;
      if (!HoldsBytes(line)) {
        Leave("the attachment that is only named:", line.value);
        continue;
      }
      std::string name;
      for (const char* parameter : {"FILENAME", "X-FILENAME", "X-LABEL", "X-APPLE-FILENAME"}) {
        if (name.empty()) name = line.Value(parameter);
      }
      m_item.attachments.push_back({name.empty() ? "attachment" : name, line.value});
    }
  }

  // Minutes before the start that the first alarm of a component goes off, of an event the first
  // that is not behind its start; the others are told.
  std::optional<int> ReminderOf(const IcsComponent& component, const std::optional<Moment>& start,
                                const std::optional<Moment>& end,
                                std::optional<std::int64_t>* moment) {
    std::optional<int> minutes;
    for (const std::vector<ContentLine>& alarm : component.alarms) {
      const std::optional<std::int64_t> at = AlarmTime(alarm, start, end);
      if (!at) continue;
      if (minutes) {
        Leave("a further", "reminder");
        continue;
      }
      const std::int64_t before = start ? (start->utc - *at) / 60 : 0;
      if (before < 0 && !moment) {
        Leave("a reminder", "behind the start");
        continue;
      }
      minutes = static_cast<int>(std::clamp<std::int64_t>(before, -1, 4 * 366 * 24 * 60));
      if (moment) *moment = at;
    }
    return minutes && *minutes < 0 ? std::nullopt : minutes;
  }

  std::optional<std::int64_t> AlarmTime(const std::vector<ContentLine>& alarm,
                                        const std::optional<Moment>& start,
                                        const std::optional<Moment>& end) {
    const ContentLine* trigger = nullptr;
    for (const ContentLine& line : alarm) {
      if (line.name == "TRIGGER" && !trigger) trigger = &line;
      // What one program keeps so that no alarm of its defaults goes off.
      if (line.name == "ACTION" && UpperAscii(mail::trimmed(line.value)) == "NONE") {
        return std::nullopt;
      }
    }
    if (!trigger) return std::nullopt;
    if (const std::optional<Span> span = SpanOf(trigger)) {
      const bool fromEnd = trigger->Has("RELATED", "END") || !start;
      const std::optional<Moment>& base = fromEnd ? end : start;
      return base ? std::optional(base->utc + span->days * kDay + span->seconds) : std::nullopt;
    }
    return UtcOf(trigger);
  }

  void ReadReminders(const IcsComponent& main) {
    std::optional<std::int64_t>* moment = m_item.isTask ? &m_item.reminderTime : nullptr;
    m_item.reminder = ReminderOf(main, m_item.start, m_item.end, moment);
    if (m_item.isTask) m_item.reminder.reset();
  }

  // A task of Exchange has days.
  void TellTimeOfDay(std::string_view what, const std::optional<Moment>& moment) {
    if (!moment || moment->isDate || moment->wall.AsUtc() % kDay == 0) return;
    Leave(fmt::format("the time of day that it {}:", what), moment->wall.Text().substr(11));
  }

  void ReadTaskState(const IcsComponent& main) {
    TellTimeOfDay("begins", m_item.start);
    TellTimeOfDay("is due", m_item.end);
    m_item.status = TaskStateOf(main);
    m_item.percent = NumberOf(main.Text("PERCENT-COMPLETE"));
    if (m_item.percent) m_item.percent = std::clamp(*m_item.percent, 0, 100);
    m_item.completed = UtcOf(main.First("COMPLETED"));
    if (m_item.completed) m_item.status = "Completed";
    if (m_item.status == "Completed") m_item.percent = 100;
    if (m_item.status.empty() && m_item.percent.value_or(0) > 0) m_item.status = "InProgress";
  }

  void ReadSeries(const IcsComponent& main) {
    const ContentLine* rule = nullptr;
    for (const ContentLine& line : main.lines) {
      if (line.name == "RDATE") Lose("occurrences beside the rule:", line.value);
      if (line.name != "RRULE") continue;
      if (rule)
        Lose("a second rule:", line.value);
      else
        rule = &line;
    }
    if (!rule) return;
    // A task may begin when it is due.
    if (!m_item.start && m_item.end) {
      m_item.start = m_item.end;
      m_item.start->wall = InZone(*m_item.end);
    }
    if (!m_item.start) return Lose("the series without a beginning:", rule->value);
    m_item.series = SeriesOf(rule->value, m_item.start->wall, m_item.zone, m_item.left);
    if (!m_item.series) {
      return Lose("all occurrences but the first, of a rule that Exchange does not have:",
                  rule->value);
    }
    m_item.isReduced = m_item.isReduced || m_item.series->isCut;
    if (!HasOccurrence(*m_item.series, m_item.start->wall)) {
      m_item.series.reset();
      return Leave("the series, whose rule ends before it begins:", rule->value);
    }
    if (!NumberOn(*m_item.series, m_item.start->wall, m_item.start->wall)) {
      Lose("the first occurrence, on a day that the rule does not name:",
           m_item.start->wall.Date());
    }
    for (const ContentLine& line : main.lines) {
      if (line.name == "EXDATE") ReadDeleted(line);
    }
  }

  void ReadDeleted(const ContentLine& line) {
    if (m_item.isTask) return Leave("a deleted occurrence of a task:", line.value);
    ContentLine one;
    one.parameters = line.parameters;
    for (const std::string& value : SplitValue(line.value, ',')) {
      one.value = value;
      if (const std::optional<Moment> moment = MomentOf(&one)) {
        Delete(OccurrenceOf(*moment));
      } else {
        Leave("a deleted occurrence without a date:", value);
      }
    }
  }

  // A day that the series does not reach has nothing to delete.
  void Delete(const CivilTime& at) {
    const auto number = NumberOn(*m_item.series, m_item.start->wall, at);
    if (!number) return Leave("the deletion of a day that the rule does not name:", at.Date());
    if (!IsOver(*m_item.series, at, *number)) m_item.deleted.push_back(at);
  }

  // The start that a date means: a day alone means the occurrence of that day.
  CivilTime OccurrenceOf(const Moment& moment) const {
    CivilTime wall = InZone(moment);
    if (moment.isDate && m_item.start && !m_item.start->isDate) {
      wall.hour = m_item.start->wall.hour;
      wall.minute = m_item.start->wall.minute;
      wall.second = m_item.start->wall.second;
    }
    return wall;
  }

  // The values of each property, with the answers that they name.
  using Values = std::map<std::string, std::multiset<std::string>, std::less<>>;
  static Values ValuesOf(const IcsComponent& component) {
    Values values;
    for (const ContentLine& line : component.lines) {
      values[line.name].insert(line.value + "|" + std::string(line.Value("PARTSTAT")));
    }
    return values;
  }

  // What an occurrence does not say is as in the series.
  void TellOfSeries(const IcsComponent& component, const CivilTime& at) {
    std::set<std::string_view> told;
    const Values own = ValuesOf(component);
    for (const ContentLine& line : component.lines) {
      const char* ofSeries = NameInSeries(line.name);
      const std::string what = ofSeries ? ofSeries : IsUnknown(line) ? line.name : "";
      if (what.empty() || !told.insert(line.name).second) continue;
      const auto there = m_ofSeries.find(line.name);
      if (there != m_ofSeries.end() && there->second == own.at(line.name)) continue;
      Leave(fmt::format("{} of the occurrence of", what), at.Date());
    }
  }

  struct Version {
    CalendarItem::Changed changed;
    const IcsComponent* component;
  };

  // The latest version of an occurrence counts. Some programs list those that they changed among
  // the deleted ones, too.
  void ReadOccurrences(const IcsComponent& main, const std::vector<IcsComponent>& changed) {
    if (changed.empty()) return;
    m_ofSeries = ValuesOf(main);
    std::vector<std::pair<long, const IcsComponent*>> versions;
    for (const IcsComponent& component : changed) {
      versions.emplace_back(NumberOf(component.Text("SEQUENCE")).value_or(0), &component);
    }
    std::ranges::stable_sort(versions, {}, &std::pair<long, const IcsComponent*>::first);
    for (const auto& [sequence, component] : versions) ReadChanged(*component);
    std::erase_if(m_item.deleted, [&](const CivilTime& at) { return m_changed.contains(at); });
    for (auto& [at, one] : m_changed) {
      TellOfSeries(*one.component, at);
      m_item.changed.push_back(std::move(one.changed));
    }
  }

  void ReadChanged(const IcsComponent& component) {
    const ContentLine* id = component.First("RECURRENCE-ID");
    const std::optional<Moment> original = MomentOf(id);
    if (!original || !m_item.series) {
      return Lose("a changed occurrence:", component.Text("SUMMARY"));
    }
    if (id->Has("RANGE", "THISANDFUTURE")) {
      Leave("that a change goes on behind", original->wall.Date());
    }
    const CivilTime at = OccurrenceOf(*original);
    if (UpperAscii(component.Text("STATUS")) == "CANCELLED") {
      m_changed.erase(at);
      return Delete(at);
    }
    if (m_item.isTask) return Lose("a changed occurrence of a task:", at.Text());
    const auto number = NumberOn(*m_item.series, m_item.start->wall, at);
    if (!number || IsOver(*m_item.series, at, *number)) {
      return Lose("a changed occurrence on a day that the rule does not name:", at.Date());
    }
    std::optional<Moment> start = MomentOf(component.First("DTSTART"));
    if (!start) start = original;
    const std::optional<Moment> end = EndOf(component, start);
    CalendarItem::Changed changed;
    changed.original = at;
    changed.start = InZone(*start);
    changed.end = InZone(*end);
    const auto differing = [](std::string text, const std::string& from) {
      return text == from ? std::nullopt : std::optional(std::move(text));
    };
    changed.subject = differing(component.Text("SUMMARY"), m_item.subject);
    changed.location = differing(LocationOf(component), m_item.location);
    changed.body = differing(EventText(component), m_item.body);
    changed.busy = differing(BusyOf(component), m_item.busy);
    changed.reminder = ReminderOf(component, start, end, nullptr);
    if (changed.reminder == m_item.reminder) changed.reminder.reset();
    m_changed.insert_or_assign(at, Version{std::move(changed), &component});
  }

  const ZoneRules& m_rules;
  CalendarItem m_item;
  Values m_ofSeries;                                         // for its changed occurrences
  std::map<CivilTime, Version> m_changed;                    // by their start in the series
  std::map<std::string, CalendarZone, std::less<>> m_zones;  // by name
};

}  // namespace

CalendarItem ReadCalendarItem(std::string_view text) {
  ZoneRules rules;
  std::vector<IcsComponent> changed;
  std::optional<IcsComponent> main;
  ReadIcsComponents(text, [&](const IcsComponent& component) {
    if (component.name == "VTIMEZONE") {
      const std::string calendar = "BEGIN:VCALENDAR\r\n" +
                                   std::string(text.substr(component.offset, component.length)) +
                                   "END:VCALENDAR\r\n";
      const std::optional<CalendarZone> named =
          CalendarZone::ByName(component.Text("X-LIC-LOCATION"));
      const std::optional<CalendarZone> zone = named ? named : CalendarZone::ByRules(calendar);
      if (zone) rules.emplace(component.Text("TZID"), *zone);
    } else if (main && component.First("RECURRENCE-ID")) {
      changed.push_back(component);
    } else if (!main && (component.name == "VEVENT" || component.name == "VTODO")) {
      main = component;
    }
  });
  if (!main) throw SourceError("no event and no task is in it");
  const std::string why = WhyNoCalendarItem(*main);
  if (!why.empty()) throw SourceError(why);
  return ItemReader(rules).Read(*main, changed);
}

std::string WhyNoCalendarItem(const IcsComponent& component) {
  const char* kind = component.name == "VTODO" ? "task" : "event";
  if (!component.ended) return fmt::format("the {} is cut off", kind);
  const ContentLine* start = component.First("DTSTART");
  if (!start && component.name == "VTODO") return {};
  if (!start) return "an event without a start";
  bool isDate = false;
  bool isUtc = false;
  if (WallOf(start->value, isDate, isUtc)) return {};
  const char* why =
      DateOf(start->value, isDate, isUtc) ? "a time that Exchange has no place for" : "no date";
  return Told(fmt::format("the start of the {} is {}:", kind, why), start->value);
}

}  // namespace client
