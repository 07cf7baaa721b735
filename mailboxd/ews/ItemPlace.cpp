#include "mailboxd/ews/ItemPlace.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/ews/ItemChanges.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/Ids.h"
#include "mailboxd/store/Occurrences.h"

namespace mailbox {
namespace {

constexpr std::int64_t kLongestView = 2 * 366 * 86400;  // seconds

// Throws where the series has no such occurrence.
Occurrences OccurrencesWith(std::int64_t number, const ItemInfo& master) {
  auto occurrences = Occurrences::Of(master);
  if (!occurrences) throw ErrorOf("ErrorCalendarCannotUseIdForOccurrenceId");
  if (occurrences->IsDeleted(number)) {
    throw ErrorOf("ErrorCalendarOccurrenceIsDeletedFromRecurrence");
  }
  if (!occurrences->At(number)) {
    throw ErrorOf("ErrorCalendarOccurrenceIndexIsOutOfRecurrenceRange");
  }
  return std::move(*occurrences);
}

// The names of the fields that a request sets. What belongs to the whole series cannot be, and
// nothing can be taken away from one occurrence alone.
std::vector<std::string> FieldsSet(pugi::xml_node updates) {
  constexpr std::array<std::string_view, 4> kOfSeries = {
      "calendar:Recurrence", "calendar:StartTimeZone", "calendar:EndTimeZone", "item:Categories"};
  std::vector<std::string> names;
  for (auto change = FirstElement(updates); change; change = NextElement(change)) {
    const pugi::xml_node path = FirstElement(change);
    const std::string_view uri = Attribute(path, "FieldURI");
    const bool ofSeries =
        LocalName(path) != "FieldURI" || std::ranges::find(kOfSeries, uri) != kOfSeries.end();
    if (LocalName(change) == "DeleteItemField") throw ErrorOf("ErrorInvalidPropertyDelete");
    if (LocalName(change) == "AppendToItemField") throw ErrorOf("ErrorInvalidPropertyAppend");
    if (ofSeries) throw ErrorOf("ErrorInvalidPropertySet");
    names.emplace_back(uri.substr(uri.find(':') + 1));
  }
  return names;
}

// A time that one item takes place.
struct Event {
  std::int64_t start;
  const ItemInfo* item;
  std::int64_t occurrence;  // 0 for an item that is no series
};

}  // namespace

ItemPlace PlaceOfItem(pugi::xml_node id) {
  const std::string_view name = LocalName(id);
  if (name == "OccurrenceItemId") {
    const auto number =
        mail::wholeNumber<std::int64_t>(mail::trimmed(Attribute(id, "InstanceIndex")));
    if (!number || *number < 1) {
      throw ErrorOf("ErrorCalendarOccurrenceIndexIsOutOfRecurrenceRange");
    }
    return {ResolveId(Attribute(id, "RecurringMasterId"), IdKind::kItem), *number};
  }
  const bool ofMaster = name == "RecurringMasterItemId";
  const std::string_view text = Attribute(id, ofMaster ? "OccurrenceId" : "Id");
  if (const auto occurrence = ReadOccurrenceId(text)) {
    return {occurrence->item, ofMaster ? 0 : occurrence->number};
  }
  return {ResolveId(text, IdKind::kItem)};
}

pugi::xml_node IdOfChange(pugi::xml_node change) {
  pugi::xml_node id = FirstElement(change);
  while (id && LocalName(id) == "Updates") id = NextElement(id);
  return id;
}

ItemInfo ItemAt(const Context& context, const ItemPlace& place) {
  auto item = context.store.Item(place.row);
  if (!item) throw ErrorOf("ErrorItemNotFound");
  if (place.occurrence == 0) return std::move(*item);
  return *OccurrencesWith(place.occurrence, *item).At(place.occurrence);
}

std::string IdAttributesOf(const ItemInfo& item) {
  if (item.occurrence.number == 0) return IdAttributes(IdKind::kItem, item.id, item.version);
  return XmlAttribute("Id", MakeOccurrenceId({item.id, item.occurrence.number})) +
         XmlAttribute("ChangeKey", MakeChangeKey(IdKind::kItem, item.version));
}

void ChangeOccurrence(std::int64_t number, pugi::xml_node updates, MailOfItem& mail,
                      ItemInfo& master) {
  const Occurrences occurrences = OccurrencesWith(number, master);
  const std::vector<std::string> names = FieldsSet(updates);
  ItemInfo changed = *occurrences.At(number);
  ApplyChanges(updates, mail, changed);
  ReplaceField(occurrences.WithChanged(number, names, changed), master);
}

void DeleteOccurrence(std::int64_t number, ItemInfo& master) {
  ReplaceField(OccurrencesWith(number, master).WithDeleted(number), master);
}

CalendarPart FindInCalendar(const Context& context, const FolderInfo& folder, pugi::xml_node view) {
  if (!folder.folderClass.starts_with("IPF.Appointment")) {
    throw ErrorOf("ErrorCalendarFolderIsInvalidForCalendarView");
  }
  const std::int64_t from = ReadSeconds(Attribute(view, "StartDate")).value_or(0);
  const std::int64_t to = ReadSeconds(Attribute(view, "EndDate")).value_or(0);
  if (to < from) throw ErrorOf("ErrorCalendarEndDateIsEarlierThanStartDate");
  if (to - from > kLongestView) throw ErrorOf("ErrorCalendarViewRangeTooBig");
  const std::string end = FormatDateTime(to);
  const std::vector<ItemInfo> singles = context.store.ItemsBetween(folder.id, "", end, -1);
  const std::vector<ItemInfo> series = context.store.SeriesBefore(folder.id, end, -1);
  std::vector<Event> events;
  for (const ItemInfo& item : singles) {
    const std::int64_t start = ReadSeconds(item.starts).value_or(0);
    const bool isSeen = start >= from || ReadSeconds(item.ends).value_or(0) > from;
    if (!item.isSeries && isSeen) events.push_back({start, &item, 0});
  }
  for (const ItemInfo& item : series) {
    const auto occurrences = Occurrences::Of(item);
    if (!occurrences) continue;
    for (const Occurrences::Place& place : occurrences->Between(from, to)) {
      events.push_back({place.start, &item, place.number});
    }
  }
  std::ranges::stable_sort(events, {}, &Event::start);
  CalendarPart part;
  part.total = events.size();
  const auto asked = mail::wholeNumber<std::size_t>(Attribute(view, "MaxEntriesReturned"));
  events.resize(std::min(
      {events.size(), asked.value_or(events.size()), static_cast<std::size_t>(kMostRows)}));
  for (const Event& event : events) {
    if (event.occurrence == 0) {
      part.items.push_back(*event.item);
    } else if (auto item = Occurrences::Of(*event.item)->At(event.occurrence)) {
      part.items.push_back(std::move(*item));
    }
  }
  return part;
}

}  // namespace mailbox
