#include "mailboxd/web/WebPages.h"

#include <algorithm>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "mailboxd/web/WebFolder.h"
#include "mailboxd/web/WebHtml.h"
#include "mailboxd/web/WebItem.h"
#include "mailboxd/web/WebStyle.h"

// All mailboxes; the pages of folders and items are in WebFolder.cpp and WebItem.cpp.
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

WebReply AnswerPage(Store& store, std::string_view path, const WebQuery& query) {
  if (path == "/") return MailboxesPage(store);
  if (path == "/style.css") return {200, "text/css; charset=utf-8", std::string(Style())};
  const std::vector<std::string_view> segments = SegmentsOf(path);
  const std::int64_t id = segments.size() < 2 ? 0 : NumberIn(segments[1]);
  if (id == 0) return NotFound();
  if (segments[0] == "item") return AnswerItem(store, id, std::span(segments).subspan(2));
  if (segments.size() > 2) return NotFound();
  if (segments[0] == "attachment") return AnswerAttachment(store, id);
  return segments[0] == "folder" ? AnswerFolder(store, id, query) : NotFound();
}

}  // namespace mailbox
