#include "client/sources/EventText.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/sources/LineDecoding.h"

namespace client {
namespace {

constexpr std::array kPages = std::to_array<std::string_view>(
    {"URL", "CONFERENCE", "X-GOOGLE-CONFERENCE", "X-GOOGLE-HANGOUT",
     "X-MICROSOFT-ONLINEMEETINGEXTERNALLINK", "X-MICROSOFT-SKYPETEAMSMEETINGURL"});

// Addresses that are looked for in the text; those of a calendar that has more of them are added
// whether they stand there or not.
constexpr std::size_t kMostSearched = 100;

// A call may have an address for each way to take part in it. Each is there once.
std::vector<std::string> PagesOf(const IcsComponent& component) {
  std::vector<std::string> pages;
  std::set<std::string> known{""};
  for (const std::string_view name : kPages) {
    for (const ContentLine& line : component.lines) {
      if (line.name != name) continue;
      std::string page = UnescapedText(line.value);
      if (known.insert(page).second) pages.push_back(std::move(page));
    }
  }
  return pages;
}

std::string HtmlOf(std::string_view text) {
  std::string html;
  for (const char c : text) {
    const char* entity = c == '&'   ? "&amp;"
                         : c == '<' ? "&lt;"
                         : c == '>' ? "&gt;"
                         : c == '"' ? "&quot;"
                                    : nullptr;
    entity ? html.append(entity) : html.append(1, c);
  }
  return html;
}

}  // namespace

std::string EventText(const IcsComponent& component) {
  const std::string text = component.Text("DESCRIPTION");
  std::string body = text;
  std::size_t searched = 0;
  for (const std::string& page : PagesOf(component)) {
    if (searched++ < kMostSearched && mail::findBytes(text, page) != text.npos) continue;
    body += (body.empty() ? "" : "\n\n") + page;
  }
  return body;
}

void AddPages(const IcsComponent& component, std::string& html) {
  if (html.empty()) return;
  std::string added;
  std::size_t searched = 0;
  for (const std::string& page : PagesOf(component)) {
    const std::string shown = HtmlOf(page);
    const bool isThere = searched++ < kMostSearched && (mail::findBytes(html, page) != html.npos ||
                                                        mail::findBytes(html, shown) != html.npos);
    if (isThere) continue;
    const bool isLink = UpperAscii(page.substr(0, 4)) == "HTTP";
    added += isLink ? fmt::format("<p><a href=\"{0}\">{0}</a></p>", shown)
                    : fmt::format("<p>{}</p>", shown);
  }
  html.insert(std::min(UpperAscii(html).rfind("</BODY"), html.size()), added);
}

}  // namespace client
