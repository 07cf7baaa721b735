#include "client/sources/EventText.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

#include "base/AsciiText.h"

namespace client {
namespace {

constexpr std::array kPages = {"URL", "X-GOOGLE-CONFERENCE"};

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
  for (const char* name : kPages) {
    const std::string page = component.Text(name);
    if (page.empty() || body.find(page) != std::string::npos) continue;
    body += (body.empty() ? "" : "\n\n") + page;
  }
  return body;
}

void AddPages(const IcsComponent& component, std::string& html) {
  for (const char* name : kPages) {
    const std::string page = component.Text(name);
    const std::string shown = HtmlOf(page);
    const bool isThere =
        html.find(page) != std::string::npos || html.find(shown) != std::string::npos;
    if (html.empty() || page.empty() || isThere) continue;
    const std::size_t end = std::min(UpperAscii(html).rfind("</BODY"), html.size());
    const bool isLink = UpperAscii(page.substr(0, 4)) == "HTTP";
    html.insert(end, isLink ? fmt::format("<p><a href=\"{0}\">{0}</a></p>", shown)
                            : fmt::format("<p>{}</p>", shown));
  }
}

}  // namespace client
