#include "client/sources/CalendarNames.h"

#include <algorithm>
#include <array>

namespace client {
namespace {

// Properties that say nothing to keep, or are read by name.
// clang-format off
constexpr std::array kRead = std::to_array<std::string_view>(
    {"UID",       "DTSTAMP",  "CREATED",     "LAST-MODIFIED",  "SEQUENCE",
     "SUMMARY",   "LOCATION", "DESCRIPTION", "DTSTART",        "DTEND",
     "DUE",       "DURATION", "RRULE",       "EXDATE",         "RECURRENCE-ID",
     "TRANSP",    "STATUS",   "CLASS",       "PRIORITY",       "CATEGORIES",
     "ORGANIZER", "ATTENDEE", "ATTACH",      "URL",            "PERCENT-COMPLETE",
     "COMPLETED", "RDATE",    "METHOD",      "REQUEST-STATUS", "CONFERENCE"});
// clang-format on

// What programs keep there for themselves begins like this.
constexpr std::array kBegins =
    std::to_array<std::string_view>({"X-APPLE-",
                                     "X-CALENDARSERVER-ACCESS",
                                     "X-CALENDARSERVER-DTSTAMP",
                                     "X-CALENDARSERVER-PERUSER",
                                     "X-EVOLUTION-",
                                     "X-GOOGLE-",
                                     "X-GW",
                                     "X-KDE-",
                                     "X-LIC-",
                                     "X-LOTUS-",
                                     "X-MICROSOFT-CDO-",
                                     "X-MICROSOFT-DISALLOW-COUNTER",
                                     "X-MICROSOFT-DONOTFORWARDMEETING",
                                     "X-MICROSOFT-EXCHANGE-",
                                     "X-MICROSOFT-ISRESPONSEREQUESTED",
                                     "X-MICROSOFT-LATITUDE",
                                     "X-MICROSOFT-LOCATION",
                                     "X-MICROSOFT-LONGITUDE",
                                     "X-MICROSOFT-ONLINEMEETINGCONFLINK",
                                     "X-MICROSOFT-ONLINEMEETINGEXTERNALLINK",
                                     "X-MICROSOFT-ONLINEMEETINGINFORMATION",
                                     "X-MICROSOFT-REQUESTEDATTENDANCEMODE",
                                     "X-MICROSOFT-SKYPETEAMS",
                                     "X-MOZ-",
                                     "X-MS-OLK-",
                                     "X-NEXTCLOUD-",
                                     "X-OC-",
                                     "X-PINNED",
                                     "X-RADICALE-",
                                     "X-SOGO-",
                                     "X-TINE20-",
                                     "X-WR-",
                                     "X-YAHOO-",
                                     "X-ZIMBRA-"});

// By what a program knows the item again.
constexpr std::array kEnds = std::to_array<std::string_view>(
    {"-UID", "-GUID", "-UUID", "_UUID", "-ETAG", "-HREF", "-REVISION"});

}  // namespace

bool HasNoPlace(std::string_view name) {
  if (std::ranges::find(kRead, name) != kRead.end()) return false;
  if (!name.starts_with("X-")) return true;
  return std::ranges::none_of(kBegins,
                              [&](std::string_view begin) { return name.starts_with(begin); }) &&
         std::ranges::none_of(kEnds, [&](std::string_view end) { return name.ends_with(end); });
}

}  // namespace client
