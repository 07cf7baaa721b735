#include "client/sources/ContentLines.h"

#include <algorithm>

#include "base/AsciiText.h"

namespace client {
namespace {

constexpr std::size_t kMostParameters = 64;  // of a line; more are no parameters any more

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Where a character stands outside of quotes; in a line with a quote that nothing closes, the first
// one at all.
std::size_t FindUnquoted(std::string_view text, std::string_view wanted, std::size_t from) {
  bool quoted = false;
  for (std::size_t at = from; at < text.size(); ++at) {
    if (text[at] == '"') quoted = !quoted;
    if (!quoted && wanted.find(text[at]) != std::string_view::npos) return at;
  }
  return quoted ? text.find_first_of(wanted, from) : std::string_view::npos;
}

// Without quotes, and with what "^n", "^'" and "^^" stand for.
std::string ParameterValue(std::string_view text) {
  std::string value;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '"') continue;
    const char next = at + 1 < text.size() ? text[at + 1] : '\0';
    if (text[at] == '^' && (next == 'n' || next == '\'' || next == '^')) {
      value += next == 'n' ? '\n' : next == '\'' ? '"' : '^';
      ++at;
    } else {
      value += text[at];
    }
  }
  return value;
}

void AddParameters(std::string_view text, ContentLine& line) {
  const std::size_t equals = text.find('=');
  const bool bare = equals == std::string_view::npos;
  const std::string name = bare ? "TYPE" : UpperAscii(mail::trimmed(text.substr(0, equals)));
  const std::string_view values = bare ? text : text.substr(equals + 1);
  // Some put the quotes around a whole list of types: TYPE="work,voice".
  const std::string unquoted = name == "TYPE" ? ParameterValue(values) : std::string();
  std::string_view rest = name == "TYPE" ? std::string_view(unquoted) : values;
  while (line.parameters.size() < kMostParameters) {
    const std::size_t comma = std::min(FindUnquoted(rest, ",", 0), rest.size());
    line.parameters.push_back({name, ParameterValue(mail::trimmed(rest.substr(0, comma)))});
    if (comma == rest.size()) return;
    rest.remove_prefix(comma + 1);
  }
}

void ParseHead(std::string_view head, ContentLine& line) {
  std::size_t at = std::min(head.find(';'), head.size());
  std::string_view name = mail::trimmed(head.substr(0, at));
  if (const std::size_t dot = name.rfind('.'); dot != std::string_view::npos) {
    line.group = UpperAscii(name.substr(0, dot));
    name.remove_prefix(dot + 1);
  }
  line.name = UpperAscii(name);
  while (at < head.size()) {
    const std::size_t end = std::min(FindUnquoted(head, ";", at + 1), head.size());
    AddParameters(head.substr(at + 1, end - at - 1), line);
    at = end;
  }
}

// Of a line that ends within its value and goes on as quoted-printable does: a blank that begins
// the next one belongs to the text.
bool GoesOnAsQuotedPrintable(std::string_view line) {
  if (!line.ends_with('=')) return false;
  const std::size_t colon = FindUnquoted(line, ":", 0);
  return colon != std::string_view::npos &&
         UpperAscii(line.substr(0, colon)).find("QUOTED-PRINTABLE") != std::string::npos;
}

}  // namespace

std::string_view ContentLine::Value(std::string_view wanted) const {
  for (const auto& parameter : parameters) {
    if (parameter.name == wanted) return parameter.value;
  }
  return {};
}

bool ContentLine::Has(std::string_view wanted, std::string_view wantedValue) const {
  return std::any_of(parameters.begin(), parameters.end(), [&](const auto& parameter) {
    return parameter.name == wanted && UpperAscii(parameter.value) == wantedValue;
  });
}

std::string_view ContentLineReader::PeekRaw() const {
  std::string_view line = m_text.substr(m_at);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

void ContentLineReader::SkipRaw() {
  const std::size_t end = m_text.find('\n', m_at);
  m_at = end == std::string_view::npos ? m_text.size() : end + 1;
}

bool ContentLineReader::Next(ContentLine& line) {
  line = {};
  if (AtEnd()) return false;
  m_begin = m_at;
  std::string whole(PeekRaw());
  SkipRaw();
  const bool isWhole = GoesOnAsQuotedPrintable(whole);
  while (!isWhole && !AtEnd() && IsBlank(m_text[m_at])) {
    whole += PeekRaw().substr(1);
    SkipRaw();
  }
  const std::size_t colon = FindUnquoted(whole, ":", 0);
  if (colon == std::string::npos) return true;
  ParseHead(std::string_view(whole).substr(0, colon), line);
  line.value = whole.substr(colon + 1);
  return true;
}

std::string UpperAscii(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::string UnescapedText(std::string_view value) {
  std::string text;
  text.reserve(value.size());
  for (std::size_t at = 0; at < value.size(); ++at) {
    if (value[at] != '\\' || at + 1 == value.size()) {
      text += value[at];
      continue;
    }
    const char next = value[++at];
    if (next == 'n' || next == 'N') {
      text += '\n';
    } else if (next == ',' || next == ';' || next == ':' || next == '\\' || next == '"') {
      text += next;
    } else {
      text.append({'\\', next});  // a path of Windows that nobody escaped
    }
  }
  return text;
}

std::vector<std::string> SplitValue(std::string_view value, char separator) {
  std::vector<std::string> parts;
  std::size_t from = 0;
  for (std::size_t at = 0; at < value.size(); ++at) {
    if (value[at] == '\\') {
      ++at;
    } else if (value[at] == separator) {
      parts.push_back(UnescapedText(value.substr(from, at - from)));
      from = at + 1;
    }
  }
  parts.push_back(UnescapedText(value.substr(from)));
  return parts;
}

}  // namespace client
