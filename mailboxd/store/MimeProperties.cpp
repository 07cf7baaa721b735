#include "mailboxd/store/MimeProperties.h"

#include <array>
#include <optional>

#include "base/AsciiText.h"
#include "mailboxd/store/DateTime.h"
#include "mime/MailHeader.h"
#include "mime/header/MailDate.h"

namespace mailbox {
namespace {

struct TextField {
  const char* name;
  std::string ItemInfo::*member;
};
constexpr std::array<TextField, 4> kTexts = {{
    {"Subject", &ItemInfo::subject},
    {"Message-ID", &ItemInfo::messageId},
    {"In-Reply-To", &ItemInfo::inReplyTo},
    {"References", &ItemInfo::references},
}};

struct PeopleField {
  const char* name;
  std::vector<Address> ItemInfo::*member;
};
constexpr std::array<PeopleField, 4> kPeople = {{
    {"To", &ItemInfo::to},
    {"Cc", &ItemInfo::cc},
    {"Bcc", &ItemInfo::bcc},
    {"Reply-To", &ItemInfo::replyTo},
}};

// What a field's first word means; the first row whose beginning fits counts.
struct Word {
  const char* field;
  const char* beginning;
  std::string ItemInfo::*member;
  const char* value;
};
constexpr std::array<Word, 11> kWords = {{
    {"Importance", "high", &ItemInfo::importance, "High"},
    {"Importance", "low", &ItemInfo::importance, "Low"},
    {"X-Priority", "1", &ItemInfo::importance, "High"},
    {"X-Priority", "2", &ItemInfo::importance, "High"},
    {"X-Priority", "4", &ItemInfo::importance, "Low"},
    {"X-Priority", "5", &ItemInfo::importance, "Low"},
    {"Priority", "urgent", &ItemInfo::importance, "High"},
    {"Priority", "non-urgent", &ItemInfo::importance, "Low"},
    {"Sensitivity", "personal", &ItemInfo::sensitivity, "Personal"},
    {"Sensitivity", "private", &ItemInfo::sensitivity, "Private"},
    {"Sensitivity", "company-confidential", &ItemInfo::sensitivity, "Confidential"},
}};

std::vector<Address> People(const mail::MailHeader& header, const char* name) {
  std::vector<Address> people;
  for (mail::MailPerson& person : header.people(name)) {
    people.push_back({std::move(person.strName), std::move(person.strAddress), ""});
  }
  return people;
}

void TakeWords(const mail::MailHeader& header, ItemInfo& item) {
  for (const std::string ItemInfo::*member : {&ItemInfo::importance, &ItemInfo::sensitivity}) {
    for (const Word& word : kWords) {
      if (word.member != member) continue;
      if (!mail::beginsWithNoCase(header.text(word.field), word.beginning)) continue;
      item.*word.member = word.value;
      break;
    }
  }
}

// The newest relay stands first and writes its date behind the last semicolon.
std::optional<std::string> Received(const mail::MailHeader& header) {
  const std::string trace = header.text("Received");
  const size_t semicolon = trace.rfind(';');
  if (semicolon == std::string::npos) return std::nullopt;
  const auto time = mail::parseMailDate(std::string_view(trace).substr(semicolon + 1));
  return time ? std::optional(FormatDateTime(*time)) : std::nullopt;
}

}  // namespace

void TakeFromMime(std::string_view mime, ItemInfo& item) {
  const mail::MailHeader header(mime);
  for (const TextField& field : kTexts) {
    if (auto text = header.find(field.name)) item.*field.member = std::move(*text);
  }
  for (const PeopleField& field : kPeople) item.*field.member = People(header, field.name);
  if (auto from = People(header, "From"); !from.empty()) item.from = std::move(from.front());
  item.sender = item.from;  // the same person, where no other is named
  if (auto one = People(header, "Sender"); !one.empty()) item.sender = std::move(one.front());
  if (const auto sent = mail::parseMailDate(header.text("Date"))) item.sent = FormatDateTime(*sent);
  item.received = Received(header).value_or(item.received);
  TakeWords(header, item);
}

}  // namespace mailbox
