#include "client/sources/StateFields.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "base/AsciiText.h"

namespace client {
namespace {

constexpr std::size_t kMostOfValue = 65536;  // bytes
constexpr std::size_t kMostKeywords = 256;
constexpr std::string_view kStoreData = "DON'T DELETE THIS MESSAGE -- FOLDER INTERNAL DATA";

// Values as they stand, unfolded.
struct Fields {
  std::optional<std::string> status, xStatus, mozilla, evolution;
  std::string mozilla2, mozillaKeys, keywords, subject;
  bool hasImapBase = false;
};

using Take = void (*)(std::string value, Fields& fields);
struct FieldRow {
  std::string_view name;
  Take take;
};

template <auto kMember>
void Keep(std::string value, Fields& fields) {
  fields.*kMember = std::move(value);
}
// Senders have fields of these names, too: "Status: RESOLVED". A program's value is nothing but its
// letters, each once.
bool IsOf(std::string_view letters, std::string_view value) {
  return value.size() <= letters.size() && std::ranges::all_of(value, [&](char letter) {
           return letters.find(letter) != std::string_view::npos &&
                  std::ranges::count(value, letter) == 1;
         });
}
void KeepStatus(std::string value, Fields& fields) {
  if (IsOf("RODUN", value)) fields.status = std::move(value);
}
void KeepXStatus(std::string value, Fields& fields) {
  if (IsOf("AFDT", value)) fields.xStatus = std::move(value);
}
void KeepBase(std::string /*value*/, Fields& fields) { fields.hasImapBase = true; }

constexpr std::array<FieldRow, 10> kRows{{
    {"Status", &KeepStatus},
    {"X-Status", &KeepXStatus},
    {"X-Mozilla-Status", &Keep<&Fields::mozilla>},
    {"X-Mozilla-Status2", &Keep<&Fields::mozilla2>},
    {"X-Mozilla-Keys", &Keep<&Fields::mozillaKeys>},
    {"X-Keywords", &Keep<&Fields::keywords>},
    {"X-Evolution", &Keep<&Fields::evolution>},
    {"X-IMAP", &KeepBase},
    {"X-IMAPbase", &KeepBase},
    {"Subject", &Keep<&Fields::subject>},
}};

const FieldRow* RowOf(std::string_view line) {
  const std::string_view name = mail::trimmed(line.substr(0, line.find(':')));
  for (const FieldRow& row : kRows) {
    if (mail::equalsNoCase(row.name, name)) return &row;
  }
  return nullptr;
}

std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

Fields FieldsOf(std::string_view header) {
  Fields fields;
  while (!header.empty()) {
    const std::string_view line = TakeLine(header);
    const FieldRow* row = line.find(':') == std::string_view::npos ? nullptr : RowOf(line);
    if (row == nullptr) continue;
    std::string value(mail::trimmed(line.substr(line.find(':') + 1)));
    while (header.starts_with(' ') || header.starts_with('\t')) {
      const std::string_view more = TakeLine(header);
      if (value.size() < kMostOfValue) value.append(" ").append(mail::trimmed(more));
    }
    row->take(std::move(value), fields);
  }
  return fields;
}

bool Has(const std::optional<std::string>& letters, char letter) {
  return letters && letters->find(letter) != std::string::npos;
}

std::optional<std::uint32_t> Hex(std::string_view text) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return value;
}

// "\Flagged" and the like are flags, which other fields tell.
void AddKeywords(std::string_view words, MailState& state) {
  const char* const between = words.find(',') == std::string_view::npos ? " \t" : ",";
  for (std::size_t count = 0; !words.empty() && count < kMostKeywords; ++count) {
    const std::size_t end = std::min(words.find_first_of(between), words.size());
    const std::string_view word = mail::trimmed(words.substr(0, end));
    if (!word.starts_with('\\')) AddKeyword(word, state);
    words.remove_prefix(std::min(end + 1, words.size()));
  }
}

void ReadStatus(const Fields& fields, StateFields& found) {
  if (fields.status) found.read = Has(fields.status, 'R');
  found.state.answered = Has(fields.xStatus, 'A');
  found.state.flagged = Has(fields.xStatus, 'F');
  found.state.draft = Has(fields.xStatus, 'T');
  found.state.deleted = Has(fields.xStatus, 'D') || Has(fields.status, 'D');
}

void ReadEvolution(const Fields& fields, StateFields& found) {
  if (!fields.evolution) return;
  const std::size_t dash = fields.evolution->find('-');
  if (dash == std::string::npos) return;
  const auto flags = Hex(std::string_view(*fields.evolution).substr(dash + 1));
  if (!flags) return;
  found.read = (*flags & 0x10) != 0;
  found.state.answered = (*flags & 0x01) != 0;
  found.state.deleted = (*flags & 0x02) != 0;
  found.state.draft = (*flags & 0x04) != 0;
  found.state.flagged = (*flags & 0x08) != 0;
  found.state.forwarded = (*flags & 0x400) != 0;
}

void ReadMozilla(const Fields& fields, StateFields& found) {
  const auto flags = fields.mozilla ? Hex(*fields.mozilla) : std::nullopt;
  if (!flags) return;
  const std::uint32_t more = Hex(fields.mozilla2).value_or(0);
  found.read = (*flags & 0x0001) != 0;
  found.state.answered = (*flags & 0x0002) != 0;
  found.state.flagged = (*flags & 0x0004) != 0;
  found.state.deleted = (*flags & 0x0008) != 0 || (more & 0x00200000) != 0;
  found.state.forwarded = (*flags & 0x1000) != 0;
  if (const std::uint32_t label = (more & 0x0E000000) >> 25; label >= 1 && label <= 5) {
    AddKeyword("$label" + std::to_string(label), found.state);
  }
}

}  // namespace

StateFields ReadStateFields(std::string_view header) {
  const Fields fields = FieldsOf(header);
  StateFields found;
  ReadStatus(fields, found);
  ReadEvolution(fields, found);
  ReadMozilla(fields, found);
  AddKeywords(fields.keywords, found.state);
  AddKeywords(fields.mozillaKeys, found.state);
  found.isStoreData = fields.hasImapBase && fields.subject == kStoreData;
  return found;
}

}  // namespace client
