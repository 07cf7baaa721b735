#include "client/commands/ExportedCalendar.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "client/commands/ContentText.h"
#include "client/commands/ExportedItem.h"
#include "client/commands/ExportedSeries.h"
#include "client/sources/CalendarZone.h"
#include "client/sources/Pieces.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/Occurrences.h"
#include "platform/Base64.h"

namespace client {
namespace {

using mailbox::FieldText;
using mailbox::ItemInfo;

struct Word {
  std::string_view from;
  const char* to;
};
constexpr std::array<Word, 5> kBusy = {{{"Free", "FREE"},
                                        {"Tentative", "TENTATIVE"},
                                        {"Busy", "BUSY"},
                                        {"OOF", "OOF"},
                                        {"WorkingElsewhere", "WORKINGELSEWHERE"}}};
constexpr std::array<Word, 5> kTaskStates = {{{"NotStarted", "NEEDS-ACTION"},
                                              {"InProgress", "IN-PROCESS"},
                                              {"Completed", "COMPLETED"},
                                              {"WaitingOnOthers", "NEEDS-ACTION"},
                                              {"Deferred", "CANCELLED"}}};
constexpr std::array<Word, 4> kClasses = {{{"Normal", ""},
                                           {"Personal", "PRIVATE"},
                                           {"Private", "PRIVATE"},
                                           {"Confidential", "CONFIDENTIAL"}}};
constexpr std::array<Word, 3> kPriorities = {{{"High", "1"}, {"Normal", ""}, {"Low", "9"}}};
constexpr std::array<Word, 3> kAnswers = {
    {{"accepted", "ACCEPTED"}, {"declined", "DECLINED"}, {"tentative", "TENTATIVE"}}};

struct People {
  const char* field;
  const char* parameters;
};
constexpr std::array<People, 3> kPeople = {{
    {"RequiredAttendees", ";ROLE=REQ-PARTICIPANT"},
    {"OptionalAttendees", ";ROLE=OPT-PARTICIPANT"},
    {"Resources", ";CUTYPE=RESOURCE;ROLE=NON-PARTICIPANT"},
}};

template <std::size_t kCount>
const char* Translated(const std::array<Word, kCount>& words, std::string_view from) {
  const auto word = std::ranges::find(words, from, &Word::from);
  return word == words.end() ? "" : word->to;
}

// "20240305" and "20240305T090000".
std::string BasicDate(const CivilTime& time) {
  return fmt::format("{:04}{:02}{:02}", time.year, time.month, time.day);
}
std::string BasicTime(const CivilTime& time) {
  return fmt::format("{}T{:02}{:02}{:02}", BasicDate(time), time.hour, time.minute, time.second);
}
std::string BasicUtc(std::int64_t seconds) { return BasicTime(CivilTime::OfUtc(seconds)) + "Z"; }

class CalendarWriter {
 public:
  CalendarWriter(mailbox::Store& store, const ItemInfo& item) : m_store(store), m_item(item) {
    const mailbox::FieldTree zone(mailbox::FindField(item, "StartTimeZone"));
    const auto own = CalendarZone::ByName(zone.Root().attribute("Id").value());
    if (own) m_zone = *own;
    m_isWhole = FieldText(item, "IsAllDayEvent") == "true";
    m_hasZone = own.has_value() && !m_isWhole && !m_zone.Name().empty() && m_zone.Name() != "UTC";
  }

  std::string Write() {
    m_text.Raw("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//tarny//mailbox export//EN\r\n");
    m_item.element == "Task" ? WriteTask() : WriteEvents();
    m_text.Raw("END:VCALENDAR\r\n");
    return m_text.Take();
  }

 private:
  void WriteEvents() {
    if (m_hasZone) {
      m_text.Raw(m_zone.RulesText(mailbox::ReadSeconds(m_item.starts).value_or(0)));
    }
    const auto series = mailbox::Series::Of(m_item);
    const auto first = series ? series->StartOf(1) : std::nullopt;
    WriteEvent(m_item, first.value_or(mailbox::ReadSeconds(m_item.starts).value_or(0)));
    const auto occurrences = mailbox::Occurrences::Of(m_item);
    if (!occurrences) return;
    for (const ItemInfo& changed : occurrences->AllChanged()) {
      WriteEvent(changed, mailbox::ReadSeconds(changed.starts).value_or(0));
    }
  }

  void WriteEvent(const ItemInfo& item, std::int64_t start) {
    m_text.Raw("BEGIN:VEVENT\r\n");
    WriteCommon(item);
    const std::int64_t length = mailbox::ReadSeconds(item.ends).value_or(start) -
                                mailbox::ReadSeconds(item.starts).value_or(start);
    Moment("DTSTART", start);
    Moment("DTEND", start + length);
    if (item.isSeries) {
      WriteSeries(item, start);
    } else if (item.occurrence.number > 0) {
      Moment("RECURRENCE-ID", mailbox::ReadSeconds(item.occurrence.originalStart).value_or(start));
    }
    m_text.Text("LOCATION", FieldText(item, "Location"));
    const std::string busy = Translated(kBusy, FieldText(item, "LegacyFreeBusyStatus"));
    if (!busy.empty()) {
      m_text.Line("X-MICROSOFT-CDO-BUSYSTATUS", busy);
      m_text.Line("TRANSP", busy == "FREE" ? "TRANSPARENT" : "OPAQUE");
    }
    WritePeople(item);
    WriteAttachments(item);
    if (FieldText(item, "ReminderIsSet") == "true") {
      const std::string minutes = FieldText(item, "ReminderMinutesBeforeStart");
      WriteAlarm("TRIGGER", "-PT" + (minutes.empty() ? "15" : minutes) + "M");
    }
    m_text.Raw("END:VEVENT\r\n");
  }

  void WriteTask() {
    m_text.Raw("BEGIN:VTODO\r\n");
    WriteCommon(m_item);
    for (const auto& [name, date] :
         {std::pair("DTSTART", m_item.starts), std::pair("DUE", m_item.ends)}) {
      const auto seconds = mailbox::ReadSeconds(date);
      if (seconds) {
        m_text.Line(std::string(name) + ";VALUE=DATE", BasicDate(CalendarZone().FromUtc(*seconds)));
      }
    }
    const std::string rule = RuleOf(m_item, [](const std::string& day) { return Plain(day); });
    if (!rule.empty()) m_text.Line("RRULE", rule);
    const std::string state = Translated(kTaskStates, FieldText(m_item, "Status"));
    if (!state.empty()) m_text.Line("STATUS", state);
    m_text.Text("PERCENT-COMPLETE", FieldText(m_item, "PercentComplete"));
    if (const auto done = mailbox::ReadSeconds(FieldText(m_item, "CompleteDate"))) {
      m_text.Line("COMPLETED", BasicUtc(*done));
    }
    WriteAttachments(m_item);
    if (const auto reminder = mailbox::ReadSeconds(FieldText(m_item, "ReminderDueBy"))) {
      WriteAlarm("TRIGGER;VALUE=DATE-TIME", BasicUtc(*reminder));
    }
    m_text.Raw("END:VTODO\r\n");
  }

  void WriteCommon(const ItemInfo& item) {
    m_text.Text("UID", UidOf(m_item));
    m_text.Line("DTSTAMP", BasicUtc(mailbox::ReadSeconds(item.created).value_or(0)));
    m_text.Text("SUMMARY", item.subject);
    m_text.Text("DESCRIPTION", PlainBodyOf(item));
    if (item.bodyType == "HTML") m_text.Text("X-ALT-DESC;FMTTYPE=text/html", item.body);
    m_text.Text("CLASS", Translated(kClasses, item.sensitivity));
    m_text.Text("PRIORITY", Translated(kPriorities, item.importance));
    m_text.Parts("CATEGORIES", item.categories, ',');
  }

  static std::string Plain(std::string day) {
    std::erase(day, '-');
    return day;
  }

  void WriteSeries(const ItemInfo& item, std::int64_t start) {
    const std::string rule = RuleOf(item, [&](const std::string& day) {
      if (m_isWhole) return Plain(day);
      CivilTime last = m_zone.FromUtc(start);
      const auto midnight = mailbox::ReadSeconds(day + "T00:00:00Z").value_or(0);
      const CivilTime date = CivilTime::OfUtc(midnight);
      last.year = date.year;
      last.month = date.month;
      last.day = date.day;
      return BasicUtc(m_zone.ToUtc(last));
    });
    if (!rule.empty()) m_text.Line("RRULE", rule);
    const auto occurrences = mailbox::Occurrences::Of(item);
    if (!occurrences) return;
    for (const std::string& deleted : occurrences->DeletedStarts()) {
      Moment("EXDATE", mailbox::ReadSeconds(deleted).value_or(0));
    }
  }

  void Moment(const std::string& name, std::int64_t utc) {
    if (m_isWhole) return m_text.Line(name + ";VALUE=DATE", BasicDate(m_zone.FromUtc(utc)));
    if (!m_hasZone) return m_text.Line(name, BasicUtc(utc));
    m_text.Line(name + ContentParameter("TZID", m_zone.Name()), BasicTime(m_zone.FromUtc(utc)));
  }

  void WritePeople(const ItemInfo& item) {
    const std::string organizer = PropertyTextOf(item, "tag:0x65");
    if (!organizer.empty()) {
      m_text.Line("ORGANIZER" + ContentParameter("CN", PropertyTextOf(item, "tag:0x42")),
                  "mailto:" + organizer);
    }
    const Answers answers = ReadAnswers();
    for (const People& people : kPeople) {
      const mailbox::FieldTree tree(mailbox::FindField(item, people.field));
      for (const pugi::xml_node attendee : tree.Root().children()) {
        const pugi::xml_node mailbox = attendee.child("t:Mailbox");
        const std::string address = mailbox.child("t:EmailAddress").child_value();
        m_text.Line("ATTENDEE" + ContentParameter("CN", mailbox.child("t:Name").child_value()) +
                        people.parameters +
                        ContentParameter("PARTSTAT", AnswerIn(answers, address)),
                    "mailto:" + address);
      }
    }
  }

  using Answers = std::unordered_map<std::string, std::string>;  // by address

  // As the engine keeps them: "bob@example.com: accepted", a line for each; the first counts.
  Answers ReadAnswers() const {
    const std::string text = PropertyTextOf(m_item, "named:PublicStrings:name:TarnyAnswers");
    Answers answers;
    for (std::string_view rest = text; !rest.empty();) {
      const std::string_view line = TakeUpTo(rest, '\n');
      const std::size_t end = line.rfind(": ");
      if (end != line.npos)
        answers.try_emplace(std::string(line.substr(0, end)), line.substr(end + 2));
    }
    return answers;
  }

  static std::string AnswerIn(const Answers& answers, const std::string& address) {
    const auto answer = answers.find(address);
    return answer == answers.end() ? "NEEDS-ACTION" : Translated(kAnswers, answer->second);
  }

  void WriteAttachments(const ItemInfo& item) {
    if (item.occurrence.number > 0) return;  // those of the series
    for (const mailbox::AttachmentInfo& file : m_store.Attachments(item.id)) {
      m_store.WithAttachment(file.id, [&](std::string_view bytes) {
        m_text.Line("ATTACH;VALUE=BINARY;ENCODING=BASE64" +
                        ContentParameter("X-FILENAME", file.name) +
                        ContentParameter("FMTTYPE", file.contentType),
                    platform::Base64Encode(bytes));
      });
    }
  }

  void WriteAlarm(std::string_view name, const std::string& value) {
    m_text.Raw("BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Reminder\r\n");
    m_text.Line(name, value);
    m_text.Raw("END:VALARM\r\n");
  }

  mailbox::Store& m_store;
  const ItemInfo& m_item;
  CalendarZone m_zone;
  bool m_isWhole = false;
  bool m_hasZone = false;
  ContentText m_text;
};

}  // namespace

std::string CalendarTextOf(mailbox::Store& store, const ItemInfo& item) {
  return CalendarWriter(store, item).Write();
}

}  // namespace client
