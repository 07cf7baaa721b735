#include "client/sources/EventWords.h"

#include <array>
#include <span>

#include "base/AsciiText.h"

namespace client {
namespace {

// What a word is called by the mailbox service.
struct Word {
  std::string_view from;
  const char* to;
};
constexpr std::array kBusy = std::to_array<Word>({{"FREE", "Free"},
                                                  {"TENTATIVE", "Tentative"},
                                                  {"BUSY", "Busy"},
                                                  {"OOF", "OOF"},
                                                  {"WORKINGELSEWHERE", "WorkingElsewhere"}});
constexpr std::array kAnswers = std::to_array<Word>(
    {{"ACCEPTED", "accepted"}, {"DECLINED", "declined"}, {"TENTATIVE", "tentative"}});
constexpr std::array kRoles =
    std::to_array<Word>({{"OPT-PARTICIPANT", "optional"}, {"NON-PARTICIPANT", "optional"}});
constexpr std::array kTaskStates = std::to_array<Word>({{"NEEDS-ACTION", "NotStarted"},
                                                        {"IN-PROCESS", "InProgress"},
                                                        {"COMPLETED", "Completed"},
                                                        {"CANCELLED", "Deferred"}});
constexpr std::array kSensitivities =
    std::to_array<Word>({{"PRIVATE", "Private"}, {"CONFIDENTIAL", "Confidential"}});

// What an occurrence cannot have of its own.
constexpr std::array kOfSeries = std::to_array<Word>({{"ATTENDEE", "the attendees"},
                                                      {"ORGANIZER", "the organizer"},
                                                      {"ATTACH", "the attachments"},
                                                      {"CATEGORIES", "the categories"},
                                                      {"CLASS", "the privacy"},
                                                      {"PRIORITY", "the priority"},
                                                      {"X-ALT-DESC", "the formatted text"},
                                                      {"COMMENT", "the comment"},
                                                      {"CONTACT", "the contact"}});

const char* Translated(std::span<const Word> words, std::string_view from, const char* otherwise) {
  for (const Word& word : words) {
    if (word.from == from) return word.to;
  }
  return otherwise;
}

}  // namespace

std::string BusyOf(const IcsComponent& component) {
  const std::string status = UpperAscii(component.Text("STATUS"));
  const bool open = status == "TENTATIVE";
  const bool free = status == "CANCELLED" || UpperAscii(component.Text("TRANSP")) == "TRANSPARENT";
  return Translated(kBusy, UpperAscii(component.Text("X-MICROSOFT-CDO-BUSYSTATUS")),
                    free   ? "Free"
                    : open ? "Tentative"
                           : "Busy");
}

// Some programs give the place's name beside its coordinates alone.
std::string LocationOf(const IcsComponent& component) {
  std::string location = component.Text("LOCATION");
  const ContentLine* place = component.First("X-APPLE-STRUCTURED-LOCATION");
  return location.empty() && place ? std::string(place->Value("X-TITLE")) : location;
}

std::string SensitivityOf(const IcsComponent& component) {
  return Translated(kSensitivities, UpperAscii(component.Text("CLASS")), "");
}

std::string TaskStateOf(const IcsComponent& component) {
  return Translated(kTaskStates, UpperAscii(component.Text("STATUS")), "");
}

CalendarItem::Person PersonOf(const ContentLine& line) {
  CalendarItem::Person person;
  person.name = line.Value("CN");
  person.address = mail::trimmed(line.value);
  if (UpperAscii(person.address.substr(0, 7)) == "MAILTO:") person.address.erase(0, 7);
  if (person.address.find('@') == std::string::npos) person.address = line.Value("EMAIL");
  const std::string kind = UpperAscii(line.Value("CUTYPE"));
  const bool thing = kind == "RESOURCE" || kind == "ROOM";
  person.role = thing ? "resource" : Translated(kRoles, UpperAscii(line.Value("ROLE")), "required");
  person.answer = Translated(kAnswers, UpperAscii(line.Value("PARTSTAT")), "none");
  return person;
}

const char* NameInSeries(std::string_view property) {
  return Translated(kOfSeries, property, nullptr);
}

}  // namespace client
