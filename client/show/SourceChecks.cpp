#include "client/show/SourceChecks.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "mime/header/HeaderLines.h"

namespace client {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kBlanks = " \t\r\n\v\f";

bool IsBase64(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
         c == '/';
}

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// Whether what stands behind a "=" makes it a byte or a soft line break.
bool IsEscape(std::string_view behind) {
  if (behind.size() >= 2 && IsHexDigit(behind[0]) && IsHexDigit(behind[1])) return true;
  const std::size_t end = behind.find_first_not_of(" \t");
  return end == kNone || behind[end] == '\r' || behind[end] == '\n';
}

bool IsContentType(std::string_view field) {
  return mail::equalsNoCase(mail::trimmed(field.substr(0, field.find(':'))), "content-type");
}

}  // namespace

HeaderDamage CheckHeader(std::string_view header, std::string_view endMarker) {
  HeaderDamage damage;
  damage.nuls = static_cast<std::size_t>(std::count(header.begin(), header.end(), '\0'));
  mail::HeaderLines lines(mail::findHeader(header, endMarker));
  while (!lines.atEnd()) {
    const std::string_view first = lines.take();
    bool colon = first.find(':') != kNone;
    while (lines.nextIsContinued() || lines.nextStartsWith("From ")) {
      colon = lines.take().find(':') != kNone || colon;
    }
    if (colon && IsContentType(first)) ++damage.contentTypes;
    if (colon || first.starts_with("From ") || mail::trimmed(first).empty()) continue;
    if (damage.withoutColon++ == 0) damage.firstWithoutColon = first;
  }
  return damage;
}

Base64Damage CheckBase64(std::string_view text) {
  Base64Damage damage;
  std::size_t end = text.find_first_of(std::string_view("=\0", 2));
  end = std::min(end, text.size());
  std::size_t digits = 0;
  for (const char c : text.substr(0, end)) {
    if (IsBase64(c)) {
      ++digits;
    } else if (kBlanks.find(c) == kNone) {
      ++damage.foreign;
    }
  }
  const std::string_view rest = text.substr(end);
  damage.nul = rest.starts_with('\0');
  damage.cut = digits % 4 == 1 || (digits % 4 != 0 && !rest.starts_with('='));
  damage.behind = static_cast<std::size_t>(std::count_if(rest.begin(), rest.end(), [](char c) {
    return c != '=' && c != '\0' && kBlanks.find(c) == kNone;
  }));
  return damage;
}

QuotedPrintableDamage CheckQuotedPrintable(std::string_view text) {
  QuotedPrintableDamage damage;
  const std::size_t end = std::min(text.find('\0'), text.size());
  damage.behind = text.size() - end;
  text = text.substr(0, end);
  for (std::size_t at = text.find('='); at != kNone; at = text.find('=', at + 1)) {
    if (!IsEscape(text.substr(at + 1))) ++damage.broken;
  }
  return damage;
}

bool HasUuBegin(std::string_view text) {
  return text.starts_with("begin ") || text.find("\nbegin ") != kNone ||
         text.find("\rbegin ") != kNone;
}

void LineEnds::Add(const LineEnds& other) {
  crLf += other.crLf;
  lf += other.lf;
  cr += other.cr;
  crCrLf += other.crCrLf;
}

void LineEnds::Remove(const LineEnds& other) {
  crLf -= std::min(crLf, other.crLf);
  lf -= std::min(lf, other.lf);
  cr -= std::min(cr, other.cr);
  crCrLf -= std::min(crCrLf, other.crCrLf);
}

LineEnds CountLineEnds(std::string_view text) {
  LineEnds ends;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\r' && text[at] != '\n') continue;
    const std::string_view rest = text.substr(at, 3);
    if (rest == "\r\r\n") {
      ++ends.crCrLf;
      at += 2;
    } else if (rest.starts_with("\r\n")) {
      ++ends.crLf;
      ++at;
    } else {
      ++(rest.front() == '\n' ? ends.lf : ends.cr);
    }
  }
  return ends;
}

}  // namespace client
