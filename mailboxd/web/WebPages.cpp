#include "mailboxd/web/WebPages.h"

#include <algorithm>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "mailboxd/store/MailOfItem.h"
#include "mailboxd/web/WebHtml.h"
#include "mailboxd/web/WebItem.h"
#include "mailboxd/web/WebStyle.h"

// Mailboxes and folders; the pages of items are in WebItem.cpp.
namespace mailbox {
namespace {

using namespace web;

constexpr int kDeepestIndent = 24;  // deeper folders stand below one another
constexpr size_t kMostSegments = 8;

// The roots are no folders to people; Finder and the recoverable items count once they hold
// something.
bool IsShown(const FolderInfo& folder, const std::string& parentKind) {
  if (folder.total > 0) return true;
  if (folder.wellKnown == "root" || folder.wellKnown == "archiveroot") return false;
  const bool inside = folder.wellKnown != "msgfolderroot" && parentKind != "root" &&
                      parentKind != "recoverableitemsroot";
  return inside || folder.wellKnown == "msgfolderroot";
}

std::string CountCell(std::int64_t count) {
  return std::string("<td class=\"number") + (count == 0 ? " none" : "") + "\">" +
         std::to_string(count) + "</td>";
}

std::string FolderRow(const FolderInfo& folder, int depth) {
  std::string row = folder.total > 0 ? "<tr><td>" : "<tr class=\"none\"><td>";
  for (int i = 0; i < std::min(depth, kDeepestIndent); ++i) row += "<i></i>";
  return row + FolderLink(folder.id, TextOr(FolderName(folder), "(no name)")) + "</td>" +
         CountCell(folder.total) + CountCell(folder.unread) + "</tr>\n";
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
    const bool shown = IsShown(*entry.folder, entry.parentKind);
    if (shown) rows += FolderRow(*entry.folder, entry.depth);
    add(entry.folder->id, entry.depth + (shown ? 1 : 0), entry.folder->wellKnown);
  }
  return rows;
}

std::string Totals(std::int64_t items, std::int64_t unread) {
  return "<p class=\"soft\">" + Count(items, "item", "items") + ", " + std::to_string(unread) +
         " unread</p>\n";
}

WebReply MailboxesPage(Store& store) {
  std::string content;
  for (const MailboxInfo& box : store.Mailboxes()) {
    const std::vector<FolderInfo> folders = store.Folders(box.id);
    std::int64_t items = 0;
    std::int64_t unread = 0;
    for (const FolderInfo& folder : folders) {
      items += folder.total;
      unread += folder.unread;
    }
    const std::string name = MailboxName(box);
    content += "<h2>" + Text(Cut(name, kNameShown)) + "</h2>\n" + Totals(items, unread) +
               OpenTable("folders", "Folders of " + name,
                         {{"Folder"}, {"Items", "number"}, {"Unread", "number"}}) +
               FolderRows(folders) + CloseTable();
  }
  if (content.empty()) {
    content = "<p>No mailbox yet. Each address becomes one at its first use.</p>\n";
  }
  return {200, WebReply().type, Page("Mailboxes", "", content)};
}

std::string_view DateOf(const ItemInfo& item) {
  if (!item.received.empty()) return item.received;
  return item.sent.empty() ? item.created : item.sent;
}

// A paper clip, drawn: fonts that have one are not everywhere.
constexpr std::string_view kClip =
    " <svg class=\"clip\" role=\"img\" aria-label=\"with attachments\" viewBox=\"0 0 16 16\">"
    "<title>with attachments</title><path d=\"M11.5 5 6.3 10.2a1.2 1.2 0 0 0 1.7 1.7l5.2-5.2a3 3 0 "
    "0 0-4.2-4.2L3.4 8.1a4.2 4.2 0 0 0 5.9 5.9L13 10.3\"/></svg>";

std::string ItemRow(const ItemInfo& item) {
  const std::string sender =
      item.from ? (item.from->name.empty() ? item.from->address : item.from->name) : "";
  return std::string(item.isRead ? "<tr>" : "<tr class=\"unread\">") + "<td>" +
         (item.isRead ? "" : "<span class=\"hidden\">unread </span>") +
         Link("/item/" + std::to_string(item.id), TextOr(item.subject, "(no subject)")) +
         std::string(HasFiles(item) ? kClip : "") + "</td><td" +
         (sender.empty() ? "" : " title=\"" + Text(Cut(Name(*item.from), kNameShown)) + "\"") +
         ">" + TextOr(sender, "–") + "</td><td class=\"date\">" + Date(DateOf(item)) +
         "</td><td class=\"number\">" + Size(item.size) + "</td></tr>\n";
}

std::string PageLinks(std::int64_t folder, std::int64_t page, std::int64_t pages) {
  if (pages < 2) return "";
  const auto link = [&](std::int64_t to, const char* text) {
    const bool there = to >= 1 && to <= pages && to != page;
    return LinkIf(there, "/folder/" + std::to_string(folder) + "?page=" + std::to_string(to), text);
  };
  return "<nav class=\"pages\" aria-label=\"Pages\">" + link(1, "« Newest") +
         link(page - 1, "‹ Newer") + "<span>Page " + std::to_string(page) + " of " +
         std::to_string(pages) + "</span>" + link(page + 1, "Older ›") + link(pages, "Oldest »") +
         "</nav>\n";
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
  std::vector<ItemInfo> items = store.Items(id, begin, end - begin);
  LookForFiles(store, items);
  std::string content = Totals(folder->total, folder->unread);
  if (!items.empty()) {
    content += OpenTable("items", "Items, the newest first",
                         {{"Subject"}, {"From"}, {"Date"}, {"Size", "number"}});
    for (auto item = items.rbegin(); item != items.rend(); ++item) content += ItemRow(*item);
    content += CloseTable();
  }
  content += PageLinks(id, page, pages);
  return {200, WebReply().type, Page(FolderName(*folder), Crumbs(store, *folder), content)};
}

// What stands between the slashes of a path.
std::vector<std::string_view> SegmentsOf(std::string_view path) {
  std::vector<std::string_view> segments;
  while (path.starts_with('/') && segments.size() < kMostSegments) {
    path.remove_prefix(1);
    segments.push_back(path.substr(0, path.find('/')));
    path.remove_prefix(segments.back().size());
  }
  return segments;
}

}  // namespace

bool IsPagePath(std::string_view path) {
  return path == "/" || path == "/style.css" || path.starts_with("/folder/") ||
         path.starts_with("/item/") || path.starts_with("/attachment/");
}

WebReply AnswerPage(Store& store, std::string_view path, std::string_view page) {
  if (path == "/") return MailboxesPage(store);
  if (path == "/style.css") return {200, "text/css; charset=utf-8", std::string(Style())};
  const std::vector<std::string_view> segments = SegmentsOf(path);
  const std::int64_t id = segments.size() < 2 ? 0 : NumberIn(segments[1]);
  if (id == 0) return NotFound();
  if (segments[0] == "item") return AnswerItem(store, id, std::span(segments).subspan(2));
  if (segments.size() > 2) return NotFound();
  if (segments[0] == "attachment") return AnswerAttachment(store, id);
  const std::int64_t number = page.empty() ? 1 : NumberIn(page);
  return segments[0] == "folder" && number > 0 ? FolderPage(store, id, number) : NotFound();
}

}  // namespace mailbox
