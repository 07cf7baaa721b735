#include "mailboxd/web/WebHtml.h"

#include <algorithm>
#include <cstdio>

#include "base/AsciiText.h"
#include "platform/Unicode.h"

namespace mailbox::web {

std::string_view Cut(std::string_view text, size_t limit) {
  if (text.size() <= limit) return text;
  size_t end = limit;
  for (int i = 0; i < 3 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80; ++i) --end;
  return text.substr(0, end);
}

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// The marks that show text backwards: "gpj.exe" would read as "exe.jpg".
bool TurnsAround(char16_t unit) { return unit == 0x202D || unit == 0x202E; }

}  // namespace

std::string Text(std::string_view raw) {
  std::string out;
  out.reserve(raw.size() + raw.size() / 8);
  std::u16string units = platform::Utf8ToUtf16(raw);
  std::replace_if(units.begin(), units.end(), TurnsAround, kReplacement);
  const std::string clean = platform::Utf16ToUtf8(units);
  for (const char c : clean) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (c == '&') {
      out += "&amp;";
    } else if (c == '"') {
      out += "&quot;";
    } else if (c == '\'') {
      out += "&#39;";
    } else if ((byte < 0x20 && c != '\t' && c != '\n' && c != '\r') || byte == 0x7F) {
      out += "\xEF\xBF\xBD";
    } else {
      out += c;
    }
  }
  return out;
}

std::string TextOr(std::string_view raw, std::string_view otherwise) {
  if (mail::trimmed(raw).empty())
    return "<span class=\"soft\">" + std::string(otherwise) + "</span>";
  return Text(Cut(raw, kNameShown)) + (raw.size() > kNameShown ? "…" : "");
}

std::string Size(std::int64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " B";
  const char* const units[] = {"KB", "MB", "GB"};
  double value = static_cast<double>(bytes) / 1024;
  size_t unit = 0;
  for (; value >= 1024 && unit < 2; ++unit) value /= 1024;
  char text[40];
  std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
  return text;
}

std::string Count(std::int64_t count, std::string_view one, std::string_view many) {
  return std::to_string(count).append(" ").append(count == 1 ? one : many);
}

std::string Date(std::string_view stored) {
  if (stored.size() != 20 || stored[10] != 'T') return Text(stored);
  return "<time datetime=\"" + Text(stored) + "\">" + Text(stored.substr(0, 10)) + " " +
         Text(stored.substr(11, 5)) + "</time>";
}

std::string Name(const Address& address) {
  if (address.name.empty() || address.name == address.address) return address.address;
  return address.address.empty() ? address.name : address.name + " <" + address.address + ">";
}

std::string Link(const std::string& target, const std::string& html) {
  return "<a href=\"" + target + "\">" + html + "</a>";
}

std::string LinkIf(bool there, const std::string& target, const std::string& html) {
  return there ? Link(target, html) : "<span class=\"soft\">" + html + "</span>";
}

std::string FolderLink(std::int64_t id, const std::string& html) {
  return Link("/folder/" + std::to_string(id), html);
}

std::string OpenList(std::string_view kind, std::string_view caption) {
  return "<div class=\"box\"><table class=\"" + std::string(kind) + "\"><caption>" + Text(caption) +
         "</caption>\n";
}

std::string OpenTable(std::string_view kind, std::string_view caption,
                      std::initializer_list<Column> columns) {
  std::string html = OpenList(kind, caption) + "<thead><tr>";
  for (const Column& column : columns) {
    html += "<th scope=\"col\"";
    if (!column.kind.empty()) html.append(" class=\"").append(column.kind).append("\"");
    html.append(">").append(column.title).append("</th>");
  }
  return html + "</tr></thead><tbody>\n";
}

std::string Row(std::string_view label, const std::string& html) {
  if (html.empty()) return "";
  return "<tr><th scope=\"row\">" + Text(label) + "</th><td>" + html + "</td></tr>\n";
}

std::string Totals(std::int64_t items, std::int64_t unread) {
  return "<p class=\"soft\">" + Count(items, "item", "items") + ", " + std::to_string(unread) +
         " unread</p>\n";
}

std::string Spaced(std::string_view name) {
  const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
  std::string text;
  for (size_t i = 0; i < name.size(); ++i) {
    const bool begins = i > 0 && isUpper(name[i]) && !isUpper(name[i - 1]);
    const bool isWord = begins && i + 1 < name.size() && !isUpper(name[i + 1]);
    if (begins) text += ' ';
    text += isWord ? static_cast<char>(name[i] - 'A' + 'a') : name[i];
  }
  return text;
}

std::string CloseTable() { return "</table></div>\n"; }

std::string Page(std::string_view title, const std::string& crumbs, const std::string& content) {
  return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<link rel=\"stylesheet\" href=\"/style.css\">\n<title>" +
         Text(Cut(title, kNameShown)) + " – mailboxd</title></head><body>\n<header>" +
         (crumbs.empty() ? "" : "<nav aria-label=\"Place\">" + crumbs + "</nav>") +
         "</header>\n<main>\n<h1>" + TextOr(title, "(no subject)") + "</h1>\n" + content +
         "</main>\n<footer>mailboxd · times are UTC</footer>\n</body></html>\n";
}

std::string FolderName(const FolderInfo& folder) {
  if (folder.wellKnown == "msgfolderroot" || folder.wellKnown == "root") return "Mailbox";
  if (folder.wellKnown == "archivemsgfolderroot" || folder.wellKnown == "archiveroot") {
    return "Archive";
  }
  return folder.name;
}

std::string MailboxName(const MailboxInfo& mailbox) {
  return mailbox.address.empty() ? "Public folders" : mailbox.address;
}

std::string Crumbs(Store& store, const FolderInfo& folder) {
  std::string owner;
  for (const MailboxInfo& box : store.Mailboxes()) {
    if (box.id == folder.mailbox) owner = MailboxName(box);
  }
  std::string path = store.FolderPath(folder.id);
  if (path.empty()) path = FolderName(folder);
  return Link("/", "Mailboxes") + " › <bdi>" + Text(owner) + "</bdi> › " +
         FolderLink(folder.id, "<bdi>" + Text(path) + "</bdi>");
}

}  // namespace mailbox::web
