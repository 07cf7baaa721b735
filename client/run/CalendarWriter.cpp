#include "client/run/CalendarWriter.h"

#include <array>
#include <filesystem>
#include <set>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "base/AsciiText.h"
#include "client/run/DescriptorText.h"
#include "client/run/NewFile.h"
#include "client/sources/Names.h"
#include "pipeline/MailAddressing.h"

namespace client {
namespace {

using nlohmann::json;

constexpr std::string_view kAttachmentList = "11comtextjjAttach.t";
constexpr std::string_view kAttachmentFolder = "Attachments";
// Files whose being there says which body an item has; the body itself stands in the descriptor.
constexpr std::string_view kTextMark = "TextFile1.eml";
constexpr std::string_view kHtmlMark = "ch111.html";

std::string DateText(const CivilTime& time) {
  std::string text = time.Text();
  text[text.find('T')] = ' ';
  return text;
}

// As the engine's zone has it.
CivilTime LocalOf(const CalendarItem::Moment& moment) {
  if (moment.isDate || moment.isFloating) return moment.wall;
  return CalendarZone().FromUtc(moment.utc);
}

std::string DateLine(const char* label, const std::optional<CalendarItem::Moment>& moment) {
  return DescriptorLine(label, moment ? DateText(LocalOf(*moment)) : std::string());
}

std::string People(const CalendarItem& item, std::string_view role) {
  std::string list;
  for (const CalendarItem::Person& person : item.attendees) {
    if (person.role != role) continue;
    const std::string entry = PersonEntry(person.name, person.address);
    if (!entry.empty()) list += (list.empty() ? "" : ";") + entry;
  }
  return list;
}

const char* PriorityWord(char importance) {
  return importance == '1' ? "High" : importance == '3' ? "Low" : importance ? "Normal" : "";
}

const char* PatternName(Series::Pattern pattern) {
  static constexpr std::array<const char*, 6> kNames = {
      "daily", "weekly", "monthly", "relativeMonthly", "yearly", "relativeYearly"};
  return kNames[static_cast<std::size_t>(pattern)];
}

const char* IndexName(int index) {
  static constexpr std::array<const char*, 5> kNames = {"First", "Second", "Third", "Fourth",
                                                        "Last"};
  return kNames[static_cast<std::size_t>(index - 1)];
}

const char* MonthName(int month) {
  static constexpr std::array<const char*, 12> kNames = {
      "January", "February", "March",     "April",   "May",      "June",
      "July",    "August",   "September", "October", "November", "December"};
  return kNames[static_cast<std::size_t>(month - 1)];
}

json SeriesJson(const Series& series, const CivilTime& start) {
  json object = {{"pattern", PatternName(series.pattern)},
                 {"interval", series.interval},
                 {"start", start.Date()}};
  if (!series.days.empty()) object["days"] = series.days;
  if (series.pattern == Series::Pattern::kWeekly) object["firstDay"] = series.firstDay;
  if (series.dayOfMonth > 0) object["dayOfMonth"] = series.dayOfMonth;
  if (series.index > 0) object["index"] = IndexName(series.index);
  if (series.IsYearly()) object["month"] = MonthName(series.month);
  if (series.count > 0) object["count"] = series.count;
  if (series.end) object["end"] = series.end->Date();
  return object;
}

json ChangedJson(const CalendarItem::Changed& changed) {
  json object = {{"original", changed.original.Text()},
                 {"start", changed.start.Text()},
                 {"end", changed.end.Text()}};
  if (changed.subject) object["subject"] = *changed.subject;
  if (changed.location) object["location"] = *changed.location;
  if (changed.body) object["body"] = *changed.body;
  if (changed.busy) object["busy"] = *changed.busy;
  if (changed.reminder) object["reminder"] = *changed.reminder;
  return object;
}

json PersonJson(const CalendarItem::Person& person) {
  json object = {{"address", person.address}};
  if (!person.name.empty()) object["name"] = person.name;
  return object;
}

std::string UtcText(std::int64_t seconds) { return CivilTime::OfUtc(seconds).Text() + "Z"; }

void AddTaskProps(const CalendarItem& item, json& props) {
  if (!item.status.empty()) props["status"] = item.status;
  if (item.percent) props["percent"] = *item.percent;
  if (item.completed) props["completed"] = UtcText(*item.completed);
  if (item.reminderTime) props["reminderTime"] = UtcText(*item.reminderTime);
}

void AddEventProps(const CalendarItem& item, json& props) {
  if (item.allDay) props["allDay"] = true;
  props["busy"] = item.busy;
  // The service sets one where nothing is said.
  props["reminder"] = item.reminder ? json(*item.reminder) : json(false);
  if (std::string zone = item.zone.WindowsName(); !zone.empty()) props["zone"] = zone;
  if (item.start) props["start"] = item.start->wall.Text();
  if (item.end) props["end"] = item.end->wall.Text();
  for (const CivilTime& occurrence : item.deleted) props["deleted"].push_back(occurrence.Text());
  for (const auto& changed : item.changed) props["changed"].push_back(ChangedJson(changed));
  if (item.organizer) props["organizer"] = PersonJson(*item.organizer);
  for (const CalendarItem::Person& person : item.attendees) {
    json object = PersonJson(person);
    object["role"] = person.role;
    object["answer"] = person.answer;
    props["attendees"].push_back(std::move(object));
  }
}

void WriteAttachments(const std::string& workFolder, const CalendarItem& item) {
  if (item.attachments.empty()) return;
  const std::string folder = workFolder + "/" + std::string(kAttachmentFolder);
  std::error_code error;
  std::filesystem::create_directory(folder, error);
  if (error) throw WriteError(folder + ": " + error.message());
  std::string list;
  std::set<std::string> taken;
  int number = 1;
  for (const CalendarItem::Attachment& attachment : item.attachments) {
    const std::string wanted = FileName(attachment.name);
    std::string name = wanted;
    while (!taken.insert(UpperAscii(name)).second) name = NumberedFileName(wanted, ++number);
    WriteNewFile(folder + "/" + name, attachment.bytes);
    list += fmt::format("{}\\{}\r\n", kAttachmentFolder, name);
  }
  WriteNewFile(workFolder + "/" + std::string(kAttachmentList), Utf16LittleEndian(list));
}

}  // namespace

std::string CalendarDescriptor(const CalendarItem& item) {
  std::string text = item.isTask ? "TASK\r\n" : "CALENDAR\r\n";
  if (item.importance) text += item.importance;
  text += "\n";  // the engine takes this line with all that stands before the LF
  text += DescriptorLine("Creation Date : ",
                         item.created ? DateText(CalendarZone().FromUtc(*item.created)) : "");
  text += "FALSE\r\n";
  text += DescriptorLine(
      "From : ", item.organizer ? PersonEntry(item.organizer->name, item.organizer->address) : "");
  text += DescriptorLine("To : ", People(item, "required"));
  text += DescriptorLine("CC : ", People(item, "optional"));
  text += DescriptorLine("Bcc : ", People(item, "resource"));
  text += DescriptorLine("Subject : ", item.subject);
  text += "\r\n";  // the form in which all lines have their place
  text += DateLine("StartDate:", item.start);
  text += DateLine(item.isTask ? "DueDate:" : "EndDate:", item.end);
  if (!item.isTask) text += DescriptorLine("Location : ", item.location);
  text += DescriptorLine("", item.categories.empty() ? "" : item.categories[0]);
  if (item.isTask) text += DescriptorLine("", PriorityWord(item.importance));
  text +=
      DescriptorLine("", item.series && item.start
                             ? RecurrenceText(*item.series, item.start->wall, LocalOf(*item.start))
                             : "");
  if (item.isTask) text += "\r\n";
  return text + DescriptorBody(item.html.empty() ? item.body : item.html);
}

json CalendarProps(const CalendarItem& item) {
  json props = json::object();
  if (!item.uid.empty()) props["uid"] = item.uid;
  if (!item.sensitivity.empty()) props["sensitivity"] = item.sensitivity;
  if (!item.categories.empty()) props["categories"] = item.categories;
  if (item.series && item.start) props["series"] = SeriesJson(*item.series, item.start->wall);
  item.isTask ? AddTaskProps(item, props) : AddEventProps(item, props);
  return props;
}

void WriteCalendarFiles(const std::string& workFolder, const CalendarItem& item) {
  const bool html = !item.html.empty();
  if (html || !item.body.empty()) {
    WriteNewFile(workFolder + "/" + std::string(html ? kHtmlMark : kTextMark),
                 html ? item.html : item.body);
  }
  WriteAttachments(workFolder, item);
}

}  // namespace client
