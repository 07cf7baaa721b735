#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/sources/CalendarZone.h"
#include "client/sources/IcsComponents.h"
#include "client/sources/Series.h"

namespace client {

// An event with all that is said of its occurrences, or a task, as Exchange can hold it. Texts are
// UTF-8, their lines end in LF.
struct CalendarItem {
  struct Moment {
    CivilTime wall;  // in its own zone
    std::int64_t utc = 0;
    bool isDate = false;      // a day, the same in every zone
    bool isFloating = false;  // a time of day, the same in every zone
  };
  struct Person {
    std::string name;
    std::string address;
    const char* role = "required";  // or "optional", "resource"
    const char* answer = "none";    // or "accepted", "declined", "tentative"
  };
  struct Attachment {
    std::string name;
    std::string bytes;
  };
  // What an occurrence has of its own; what is not set is as in the series.
  struct Changed {
    CivilTime original;  // its start as the series has it
    CivilTime start, end;
    std::optional<std::string> subject, location, body, busy;
    std::optional<int> reminder;
  };

  bool isTask = false;
  std::string uid, subject, location, body, html;
  char importance = 0;               // '1' high, '2' normal, '3' low, 0 for none
  std::optional<Moment> start, end;  // of a task, end is when it is due
  bool allDay = false;
  CalendarZone zone;  // of start, and of all wall clocks here
  std::optional<Series> series;
  std::vector<CivilTime> deleted;
  std::vector<Changed> changed;
  std::optional<int> reminder;               // minutes before the start
  std::optional<std::int64_t> reminderTime;  // of a task, UTC
  std::string busy;         // "Free", "Tentative", "Busy", "OOF" or "WorkingElsewhere"
  std::string sensitivity;  // "Private" or "Confidential"; empty for neither
  std::vector<std::string> categories;
  std::optional<Person> organizer;
  std::vector<Person> attendees;
  std::vector<Attachment> attachments;
  std::optional<std::int64_t> created;  // UTC
  std::string status;                   // of a task: "NotStarted", "InProgress", "Completed", …
  std::optional<int> percent;
  std::optional<std::int64_t> completed;  // UTC
  std::vector<std::string> left;          // what Exchange has no place for, for people
  bool isReduced = false;                 // occurrences are among it
};

// Reads one event with its changed occurrences, or one task, from the text of a calendar. Throws
// SourceError when it is none.
CalendarItem ReadCalendarItem(std::string_view text);

// Why an event or task cannot be one; empty where nothing is wrong.
std::string WhyNoCalendarItem(const IcsComponent& component);

}  // namespace client
