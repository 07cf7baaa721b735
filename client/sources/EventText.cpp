#include "client/sources/EventText.h"

#include <algorithm>
#include <array>
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

// A call may have an address for each way to take part in it.
std::vector<std::string> PagesOf(const IcsComponent& component) {
  std::vector<std::string> pages;
  for (const std::string_view name : kPages) {
    for (const ContentLine& line : component.lines) {
      if (line.name == name) pages.push_back(UnescapedText(line.value));
    }
  }
  std::erase(pages, "");
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
  std::string body = component.Text("DESCRIPTION");
  for (const std::string& page : PagesOf(component)) {
    if (body.find(page) != std::string::npos) continue;
    body += (body.empty() ? "" : "\n\n") + page;
  }
  return body;
}

void AddPages(const IcsComponent& component, std::string& html) {
  for (const std::string& page : PagesOf(component)) {
    const std::string shown = HtmlOf(page);
    const bool isThere =
        html.find(page) != std::string::npos || html.find(shown) != std::string::npos;
    if (html.empty() || isThere) continue;
    const std::size_t end = std::min(UpperAscii(html).rfind("</BODY"), html.size());
    const bool isLink = UpperAscii(page.substr(0, 4)) == "HTTP";
    html.insert(end, isLink ? fmt::format("<p><a href=\"{0}\">{0}</a></p>", shown)
                            : fmt::format("<p>{}</p>", shown));
  }
}

}  // namespace client
