#include "mailboxd/WebPages.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>
#include <optional>
#include <vector>

#include "mailboxd/MailContent.h"
#include "platform/Unicode.h"

// The pages show what strangers sent, so each text takes one way into them: through Text(), which
// leaves no byte that a browser could take for markup. Links are made from row numbers alone.

namespace mailbox {
namespace {

constexpr std::string_view kFolderPath = "/folder/";
constexpr std::string_view kItemPath = "/item/";
constexpr std::string_view kSourceSuffix = "/source";
constexpr std::string_view kPartInfix = "/part/";
constexpr int kDeepestIndent = 24;       // deeper folders stand below one another
constexpr size_t kAddressesShown = 200;  // of one field
constexpr size_t kFieldsShown = 500;     // of a message's head
constexpr size_t kFieldShown = 20000;    // bytes of one field's value
constexpr size_t kAttachmentsShown = 1000;
constexpr size_t kNameShown = 300;  // bytes of a subject or name in a list or heading

constexpr std::string_view kHead = R"html(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<style>
:root { color-scheme: light dark; --ink: #1d2430; --soft: #667085; --line: #e3e7ee;
  --paper: #fff; --ground: #f5f7fa; --accent: #1f5fbf; }
@media (prefers-color-scheme: dark) { :root { --ink: #e4e8ef; --soft: #98a2b3; --line: #30363f;
  --paper: #1b2027; --ground: #13171c; --accent: #82b1ff; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 72rem; padding: 1.5rem; color: var(--ink);
  background: var(--ground); font: 15px/1.5 system-ui, sans-serif; }
a { color: var(--accent); text-decoration: none; }
a:hover { text-decoration: underline; }
h1 { margin: .25rem 0 1rem; font-size: 1.5rem; overflow-wrap: anywhere; }
h2 { margin: 2rem 0 .5rem; font-size: 1.1rem; overflow-wrap: anywhere; }
nav, .soft, footer { color: var(--soft); }
footer { margin-top: 2rem; font-size: .85rem; }
.box { overflow-x: auto; background: var(--paper); border: 1px solid var(--line);
  border-radius: 8px; }
table { width: 100%; border-collapse: collapse; }
th, td { padding: .4rem .8rem; text-align: left; vertical-align: top;
  border-top: 1px solid var(--line); overflow-wrap: anywhere; unicode-bidi: isolate; }
tr:first-child > * { border-top: 0; }
th { color: var(--soft); font-weight: 500; font-size: .85rem; white-space: nowrap; }
.number, .date { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
.date { text-align: left; }
.unread td { font-weight: 600; }
.pages { display: flex; gap: 1.5rem; margin: 1rem 0; }
iframe { display: block; width: 100%; height: 60vh; border: 0; border-radius: 8px;
  background: #fff; color-scheme: light; }
summary { margin: 1rem 0 .5rem; color: var(--soft); cursor: pointer; }
pre { margin: 0; padding: .8rem; white-space: pre-wrap; overflow-wrap: anywhere;
  font: 13px/1.45 ui-monospace, monospace; }
</style>
)html";

// The first `limit` bytes, less a character that would be cut in two.
std::string_view Cut(std::string_view text, size_t limit) {
  if (text.size() <= limit) return text;
  size_t end = limit;
  for (int i = 0; i < 3 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80; ++i) --end;
  return text.substr(0, end);
}

// For text and for attribute values in double quotes. What is no UTF-8, and control characters,
// which HTML does not allow, become U+FFFD.
std::string Text(std::string_view raw) {
  std::string out;
  out.reserve(raw.size() + raw.size() / 8);
  const std::string clean = platform::Utf16ToUtf8(platform::Utf8ToUtf16(raw));
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

// A subject or a name, cut where a list or a heading would burst.
std::string TextOr(std::string_view raw, std::string_view otherwise) {
  const bool blank = raw.find_first_not_of(" \t\r\n") == std::string_view::npos;
  if (blank) return "<span class=\"soft\">" + std::string(otherwise) + "</span>";
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

// 2024-03-05T09:15:00Z as people read it.
std::string Date(std::string_view stored) {
  if (stored.size() != 20 || stored[10] != 'T') return Text(stored);
  return Text(std::string(stored.substr(0, 10)) + " " + std::string(stored.substr(11, 5)));
}

std::string_view DateOf(const ItemInfo& item) {
  if (!item.received.empty()) return item.received;
  return item.sent.empty() ? item.created : item.sent;
}

std::string Name(const Address& address) {
  if (address.name.empty() || address.name == address.address) return address.address;
  return address.address.empty() ? address.name : address.name + " <" + address.address + ">";
}

std::string Names(const std::vector<Address>& addresses) {
  std::string names;
  for (size_t i = 0; i < std::min(addresses.size(), kAddressesShown); ++i) {
    if (i > 0) names += "; ";
    names += Name(addresses[i]);
  }
  if (addresses.size() > kAddressesShown) {
    names += "; and " + std::to_string(addresses.size() - kAddressesShown) + " more";
  }
  return names;
}

std::string Link(const std::string& target, const std::string& html) {
  return "<a href=\"" + target + "\">" + html + "</a>";
}
std::string FolderLink(std::int64_t id, const std::string& html) {
  return Link(std::string(kFolderPath) + std::to_string(id), html);
}
std::string ItemLink(std::int64_t id, const std::string& html) {
  return Link(std::string(kItemPath) + std::to_string(id), html);
}

// A whole page; `title` is plain text, the rest HTML.
std::string Page(std::string_view title, const std::string& crumbs, const std::string& content) {
  std::string html(kHead);
  html += "<title>" + Text(Cut(title, kNameShown)) + " – mailboxd</title></head><body>\n<nav>" +
          crumbs + "</nav>\n<h1>" + TextOr(title, "(no subject)") + "</h1>\n" + content +
          "<footer>mailboxd · times are UTC</footer>\n</body></html>\n";
  return html;
}

WebReply NotFound() {
  return {404, WebReply().type,
          Page("Not found", Link("/", "Mailboxes"), "<p>There is no such page here.</p>\n"), ""};
}

std::optional<std::int64_t> RowNumber(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number <= 0) return std::nullopt;
  return number;
}

std::string FolderName(const FolderInfo& folder) {
  if (folder.wellKnown == "msgfolderroot" || folder.wellKnown == "root") return "Mailbox";
  if (folder.wellKnown == "archivemsgfolderroot" || folder.wellKnown == "archiveroot") {
    return "Archive";
  }
  return folder.name;
}

// The roots are no folders to people; Finder and the recoverable items count once they hold
// something.
bool IsShown(const FolderInfo& folder, const std::string& parentKind) {
  if (folder.total > 0) return true;
  if (folder.wellKnown == "root" || folder.wellKnown == "archiveroot") return false;
  const bool inside = folder.wellKnown != "msgfolderroot" && parentKind != "root" &&
                      parentKind != "recoverableitemsroot";
  return inside || folder.wellKnown == "msgfolderroot";
}

// A mailbox's folders, parents before their children, as rows of a table.
std::string FolderRows(const std::vector<FolderInfo>& folders) {
  struct Entry {
    const FolderInfo* folder;
    int depth;
    std::string parentKind;
  };
  std::map<std::int64_t, std::vector<const FolderInfo*>> children;
  for (const FolderInfo& folder : folders) children[folder.parent].push_back(&folder);
  std::vector<Entry> waiting;  // last one first
  const auto add = [&](std::int64_t parent, int depth, const std::string& kind) {
    auto& list = children[parent];
    std::stable_sort(list.begin(), list.end(), [](const FolderInfo* a, const FolderInfo* b) {
      if (a->wellKnown.empty() != b->wellKnown.empty()) return b->wellKnown.empty();
      return a->wellKnown.empty() && a->name < b->name;
    });
    for (auto it = list.rbegin(); it != list.rend(); ++it) waiting.push_back({*it, depth, kind});
  };
  std::string rows;
  add(0, 0, "");
  while (!waiting.empty()) {
    const Entry entry = waiting.back();
    waiting.pop_back();
    const FolderInfo& folder = *entry.folder;
    const bool shown = IsShown(folder, entry.parentKind);
    if (shown) {
      rows += "<tr><td style=\"padding-left:" +
              std::to_string(std::min(entry.depth, kDeepestIndent) * 24 + 12) + "px\">" +
              FolderLink(folder.id, TextOr(FolderName(folder), "(no name)")) +
              "</td><td class=\"number\">" + std::to_string(folder.total) +
              "</td><td class=\"number\">" + std::to_string(folder.unread) + "</td></tr>\n";
    }
    add(folder.id, entry.depth + (shown ? 1 : 0), folder.wellKnown);
  }
  return rows;
}

std::string MailboxName(const MailboxInfo& box) {
  return box.address.empty() ? "Public folders" : box.address;
}

WebReply MailboxesPage(Store& store) {
  std::string content;
  for (const MailboxInfo& box : store.Mailboxes()) {
    content += "<h2>" + Text(MailboxName(box)) +
               "</h2>\n<div class=\"box\"><table>\n<tr><th>Folder</th><th class=\"number\">Items"
               "</th><th class=\"number\">Unread</th></tr>\n" +
               FolderRows(store.Folders(box.id)) + "</table></div>\n";
  }
  if (content.empty()) {
    content = "<p>No mailbox yet. Each address becomes one at its first use.</p>\n";
  }
  return {200, WebReply().type, Page("Mailboxes", "", content), ""};
}

// "Mailboxes › ann@example.com › Inbox/Projects"
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

std::string ItemRow(const ItemInfo& item) {
  return std::string(item.isRead ? "<tr>" : "<tr class=\"unread\">") + "<td>" +
         ItemLink(item.id, TextOr(item.subject, "(no subject)")) +
         (item.attachmentCount > 0 ? " <span title=\"has attachments\">📎</span>" : "") +
         "</td><td>" + TextOr(item.from ? Name(*item.from) : "", "–") + "</td><td class=\"date\">" +
         Date(DateOf(item)) + "</td><td class=\"number\">" + Size(item.size) + "</td><td>" +
         (item.isRead ? "read" : "unread") + "</td></tr>\n";
}

std::string PageLinks(std::int64_t folder, std::int64_t page, std::int64_t pages) {
  if (pages < 2) return "";
  const auto link = [&](std::int64_t to, const char* text) {
    const bool there = to >= 1 && to <= pages && to != page;
    const std::string target =
        std::string(kFolderPath) + std::to_string(folder) + "?page=" + std::to_string(to);
    return there ? Link(target, text) : "<span class=\"soft\">" + std::string(text) + "</span>";
  };
  return "<div class=\"pages\">" + link(1, "« Newest") + link(page - 1, "‹ Newer") + "<span>Page " +
         std::to_string(page) + " of " + std::to_string(pages) + "</span>" +
         link(page + 1, "Older ›") + link(pages, "Oldest »") + "</div>\n";
}

// The newest items first: page 1 ends with the folder's last row.
WebReply FolderPage(Store& store, std::int64_t id, std::int64_t page) {
  const std::optional<FolderInfo> folder = store.Folder(id);
  if (!folder) return NotFound();
  const std::int64_t pages =
      std::max<std::int64_t>(1, (folder->total + kItemsPerPage - 1) / kItemsPerPage);
  if (page > pages) return NotFound();
  const std::int64_t end = folder->total - (page - 1) * kItemsPerPage;
  const std::int64_t begin = std::max<std::int64_t>(0, end - kItemsPerPage);
  const std::vector<ItemInfo> items = store.Items(id, begin, end - begin);
  std::string content = "<p class=\"soft\">" + std::to_string(folder->total) + " items, " +
                        std::to_string(folder->unread) + " unread</p>\n";
  if (!items.empty()) {
    content +=
        "<div class=\"box\"><table>\n<tr><th>Subject</th><th>From</th><th>Date</th>"
        "<th class=\"number\">Size</th><th>State</th></tr>\n";
    for (auto item = items.rbegin(); item != items.rend(); ++item) content += ItemRow(*item);
    content += "</table></div>\n";
  }
  content += PageLinks(id, page, pages);
  return {200, WebReply().type, Page(FolderName(*folder), Crumbs(store, *folder), content), ""};
}

std::string Row(std::string_view label, const std::string& html) {
  return html.empty() ? "" : "<tr><th>" + Text(label) + "</th><td>" + html + "</td></tr>\n";
}

std::string SummaryBox(const ItemInfo& item) {
  return "<div class=\"box\"><table>\n" + Row("From", item.from ? Text(Name(*item.from)) : "") +
         Row("To", Text(Names(item.to))) + Row("Cc", Text(Names(item.cc))) +
         Row("Bcc", Text(Names(item.bcc))) + Row("Received", Date(item.received)) +
         Row("Sent", Date(item.sent)) + Row("Stored", Date(item.created)) +
         Row("Size", Size(item.size)) + Row("Class", Text(item.itemClass)) +
         Row("State",
             std::string(item.isRead ? "read" : "unread") + (item.isDraft ? ", draft" : "")) +
         "</table></div>\n";
}

struct AttachmentRow {
  std::string name;  // plain text
  std::string type;
  std::int64_t size = 0;
  std::string target;  // of its link; "" for none
};

std::string AttachmentBox(const std::vector<AttachmentRow>& attachments) {
  if (attachments.empty()) return "";
  std::string html =
      "<h2>Attachments</h2>\n<div class=\"box\"><table>\n<tr><th>Name</th><th>Type</th>"
      "<th class=\"number\">Size</th></tr>\n";
  for (size_t i = 0; i < std::min(attachments.size(), kAttachmentsShown); ++i) {
    const AttachmentRow& row = attachments[i];
    const std::string name = TextOr(row.name, "(no name)");
    html += "<tr><td>" + (row.target.empty() ? name : Link(row.target, name)) + "</td><td>" +
            Text(row.type) + "</td><td class=\"number\">" + Size(row.size) + "</td></tr>\n";
  }
  if (attachments.size() > kAttachmentsShown) {
    html += "<tr><td class=\"soft\">and " + std::to_string(attachments.size() - kAttachmentsShown) +
            " more</td></tr>\n";
  }
  return html + "</table></div>\n";
}

// Those that were stored beside the item, then those within its mail.
std::vector<AttachmentRow> AttachmentRows(Store& store, std::int64_t id,
                                          const MailContent* content) {
  std::vector<AttachmentRow> rows;
  for (AttachmentInfo& one : store.Attachments(id)) {
    rows.push_back({std::move(one.name), std::move(one.contentType), one.size, ""});
  }
  if (content == nullptr) return rows;
  for (size_t i = 0; i < content->Attachments().size(); ++i) {
    const AttachmentInfo& one = content->Attachments()[i];
    rows.push_back({one.name, one.contentType, one.size,
                    std::string(kItemPath) + std::to_string(id) + std::string(kPartInfix) +
                        std::to_string(i + 1)});
  }
  return rows;
}

// The fields of a message's head, decoded.
std::string HeaderBox(const mail::MimeHeader& header) {
  std::string rows;
  for (size_t i = 0; i < std::min(header.getCount(), kFieldsShown); ++i) {
    const mail::MimeField& field = *header.at(i);
    rows += "<tr><th>" + Text(Cut(field.name().view(), kNameShown)) + "</th><td>" +
            Text(Cut(field.value().view(), kFieldShown)) + "</td></tr>\n";
  }
  if (header.getCount() > kFieldsShown) {
    rows += "<tr><th></th><td class=\"soft\">more in the source</td></tr>\n";
  }
  if (rows.empty()) return "";
  return "<h2>Headers</h2>\n<div class=\"box\"><table>\n" + rows + "</table></div>\n";
}

std::string TextBox(std::string_view text) {
  return "<div class=\"box\"><pre>\n" + Text(Cut(text, kSourceShown)) + "</pre></div>\n";
}

// A page of a stranger's in a frame that runs nothing, follows nothing and loads nothing: it may
// not by the sandbox, by the policy of our page, which it inherits, and by one of its own.
std::string HtmlFrame(std::string_view html) {
  constexpr std::string_view kPolicy =
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
      "'unsafe-inline'\"><meta name=\"referrer\" content=\"no-referrer\">"
      "<meta http-equiv=\"x-dns-prefetch-control\" content=\"off\">\n";
  return "<div class=\"box\"><iframe sandbox title=\"Body\" srcdoc=\"" + Text(kPolicy) +
         Text(Cut(html, kSourceShown)) + "\"></iframe></div>\n";
}

std::string BodyBox(std::string_view text, std::string_view html) {
  if (text.empty() && html.empty()) return "";
  std::string out = "<h2>Body</h2>\n";
  if (html.empty()) return out + TextBox(text);
  out += HtmlFrame(html);
  if (!text.empty())
    out += "<details><summary>As plain text</summary>" + TextBox(text) + "</details>\n";
  return out + "<details><summary>HTML source</summary>" + TextBox(html) + "</details>\n";
}

std::string SourceBox(std::string_view title, std::string_view shown, size_t size,
                      const std::string& wholeLink) {
  std::string html = "<h2>" + std::string(title) + "</h2>\n<p class=\"soft\">";
  if (shown.size() < size) {
    html +=
        "The first " + std::to_string(shown.size()) + " of " + std::to_string(size) + " bytes. ";
  }
  return html + wholeLink + "</p>\n<div class=\"box\"><pre>\n" + Text(shown) + "</pre></div>\n";
}

std::optional<std::string> MimeOf(Store& store, std::int64_t id) {
  std::optional<std::string> mime;
  store.WithMime(id, [&](std::string_view, std::string_view bytes) { mime.emplace(bytes); });
  return mime;
}

WebReply ItemPage(Store& store, std::int64_t id) {
  const std::optional<ItemInfo> item = store.Item(id);
  if (!item) return NotFound();
  const std::optional<std::string> mime = MimeOf(store, id);
  std::optional<MailContent> mail;
  if (mime) mail.emplace(*mime);
  std::string content =
      SummaryBox(*item) + AttachmentBox(AttachmentRows(store, id, mail ? &*mail : nullptr));
  const std::string whole =
      Link(std::string(kItemPath) + std::to_string(id) + std::string(kSourceSuffix),
           "Download the whole");
  if (mail) {
    content += BodyBox(mail->Text(), mail->Html()) + HeaderBox(mail->Fields()) +
               SourceBox("Source", Cut(*mime, kSourceShown), mime->size(), whole);
  } else if (!item->body.empty()) {
    const bool isHtml = item->bodyType == "HTML";
    if (isHtml) content += "<h2>Body</h2>\n" + HtmlFrame(item->body);
    content += SourceBox(isHtml ? "Body (HTML source)" : "Body", Cut(item->body, kSourceShown),
                         item->body.size(), whole);
  }
  const std::optional<FolderInfo> folder = store.Folder(item->folder);
  return {200, WebReply().type,
          Page(item->subject, folder ? Crumbs(store, *folder) : Link("/", "Mailboxes"), content),
          ""};
}

// The end of a file name that has none but harmless characters: ".pdf"; ".bin" for others.
std::string Extension(const std::string& name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || name.size() - dot > 9 || dot + 1 == name.size()) return ".bin";
  for (const char c : name.substr(dot + 1)) {
    if (!(c >= 'a' && c <= 'z') && !(c >= 'A' && c <= 'Z') && !(c >= '0' && c <= '9')) {
      return ".bin";
    }
  }
  return name.substr(dot);
}

// An attachment within a mail, decoded; `number` counts from 1.
WebReply ItemPart(Store& store, std::int64_t id, std::int64_t number) {
  const std::optional<std::string> mime = MimeOf(store, id);
  if (!mime) return NotFound();
  const MailContent mail(*mime);
  const auto index = static_cast<size_t>(number - 1);
  if (index >= mail.Attachments().size()) return NotFound();
  // Never under the type that the mail claims: a browser is to save it, not to show it.
  return {200, "application/octet-stream", mail.AttachmentBytes(index),
          "item-" + std::to_string(id) + "-" + std::to_string(number) +
              Extension(mail.Attachments()[index].name)};
}

// The message, or the body of an item that has none, byte for byte.
WebReply ItemSource(Store& store, std::int64_t id) {
  const std::optional<ItemInfo> item = store.Item(id);
  if (!item) return NotFound();
  WebReply reply{200, "text/plain; charset=utf-8", item->body, ""};
  const bool hasMime = store.WithMime(
      id, [&](std::string_view, std::string_view bytes) { reply.body.assign(bytes); });
  reply.fileName = "item-" + std::to_string(id) + (hasMime ? ".eml" : ".txt");
  return reply;
}

}  // namespace

bool IsPagePath(std::string_view path) {
  return path == "/" || path.starts_with(kFolderPath) || path.starts_with(kItemPath);
}

WebReply AnswerPage(Store& store, std::string_view path, std::string_view page) {
  if (path == "/") return MailboxesPage(store);
  if (path.starts_with(kFolderPath)) {
    const auto id = RowNumber(path.substr(kFolderPath.size()));
    const auto number = page.empty() ? std::optional<std::int64_t>(1) : RowNumber(page);
    return id && number ? FolderPage(store, *id, *number) : NotFound();
  }
  if (!path.starts_with(kItemPath)) return NotFound();
  path.remove_prefix(kItemPath.size());
  if (const size_t infix = path.find(kPartInfix); infix != std::string_view::npos) {
    const auto item = RowNumber(path.substr(0, infix));
    const auto number = RowNumber(path.substr(infix + kPartInfix.size()));
    return item && number ? ItemPart(store, *item, *number) : NotFound();
  }
  const bool source = path.ends_with(kSourceSuffix);
  if (source) path.remove_suffix(kSourceSuffix.size());
  const auto id = RowNumber(path);
  if (!id) return NotFound();
  return source ? ItemSource(store, *id) : ItemPage(store, *id);
}

}  // namespace mailbox
