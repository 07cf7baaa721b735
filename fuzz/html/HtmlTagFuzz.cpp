// Single tags, quotes and entities: a clean tag is one line that reads the same when it is cleaned
// again, searches agree with a judge that simply looks, and named entities end as if each name were
// replaced in turn.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/LogNull.h"
#include "html/CkHtmlHelp.h"
#include "html/NamedEntitiesTable.h"
#include "html/ParseEngine.h"

namespace {

using mail::_ckHtmlHelp;
using mail::StringBuffer;

void Require(bool holds) {
  if (!holds) std::abort();
}

std::string Clean(std::string_view tag) {
  StringBuffer out;
  _ckHtmlHelp::cleanHtmlTag(tag, out);
  return std::string(out.view());
}

void CheckClean(std::string_view tag) {
  const std::string clean = Clean(tag);
  Require(clean.size() <= 8 * tag.size() + 2);
  Require(clean.empty() || clean[0] == '<');
  Require(clean.find_first_of("\r\n") == std::string::npos);
  // Quotes within values, and backslashes, of which each cleaning takes one, may read otherwise.
  if (tag.find_first_of("\\\"'") != std::string_view::npos || !clean.ends_with('>')) return;
  Require(Clean(clean) == clean);
}

// Where an unquoted ">" stands, else the first one, else the end.
std::size_t EndOfTag(std::string_view text, bool iso) {
  char quote = 0;
  bool inIso = false;
  for (std::size_t n = 0; n < text.size(); ++n) {
    const std::string_view rest = text.substr(n);
    if (iso && rest.starts_with("\x1B$B")) inIso = true;
    if (iso && (rest.starts_with("\x1B(B") || rest.substr(0, 3) == "\x1B\x1B\x42")) inIso = false;
    const bool isQuote = (text[n] == '"' || text[n] == '\'') && !inIso;
    if (quote == 0 && text[n] == '>') return n;
    if (isQuote && quote == 0) {
      quote = text[n];
    } else if (isQuote && quote == text[n]) {
      quote = 0;
    }
  }
  const std::size_t first = text.find('>');
  return first == std::string_view::npos ? text.size() : first;
}

void CheckSearches(std::string_view text) {
  for (const bool iso : {false, true}) {
    mail::ParseEngine parse(text);
    StringBuffer out;
    for (int steps = 0; steps < 50 && !parse.atEnd(); ++steps) {
      const std::size_t start = parse.position();
      iso ? parse.captureToUnquotedIso('>', out) : parse.captureToUnquoted('>', out);
      Require(parse.position() == start + EndOfTag(text.substr(start), iso));
      parse.skip();
    }
  }
}

void CheckEntities(std::string_view text) {
  StringBuffer decoded(text);
  StringBuffer naive(text);
  decoded.decodeNamedEntities();
  for (const mail::NamedEntity& entity : mail::kNamedEntities) {
    naive.replaceAll("&" + std::string(entity.strName) + ";", entity.strText);
  }
  Require(decoded.equals(naive.view()));
  mail::DataBuffer numeric;
  mail::LogNull log;
  _ckHtmlHelp::decodeNumericEntities(text, numeric, 65001, log);
  Require(numeric.getSize() <= text.size());
  if (text.find("&#") == std::string_view::npos) Require(numeric.view() == text);
}

void CheckPage(std::string_view text) {
  mail::LogNull log;
  StringBuffer page(text);
  const bool added = _ckHtmlHelp::addCharsetMetaTag(page, "utf-8", log);
  Require(!added || page.contains("content=\"text/html;charset=utf-8\">"));
  _ckHtmlHelp::removeCharsetMetaTag(page);
  StringBuffer once(page);
  _ckHtmlHelp::removeCharsetMetaTag(page);
  Require(page.getSize() <= once.getSize());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  std::replace(bytes.begin(), bytes.end(), '\0', ' ');  // pages have none when tags are read
  CheckClean(bytes);
  CheckClean("<a " + bytes);
  CheckSearches(bytes);
  CheckEntities(bytes);
  CheckPage(bytes);
  return 0;
}
