#include "mailboxd/web/WebFolder.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/MailOfItem.h"
#include "mailboxd/web/WebHtml.h"
#include "mailboxd/web/WebItem.h"
#include "mailboxd/web/WebMonth.h"

namespace mailbox::web {
namespace {

constexpr size_t kLongestSearch = 200;  // bytes

std::string_view DateOf(const ItemInfo& item) {
  if (!item.received.empty()) return item.received;
  return item.sent.empty() ? item.created : item.sent;
}

// A paper clip, drawn: fonts that have one are not everywhere.
constexpr std::string_view kClip =
    " <svg class=\"clip\" role=\"img\" aria-label=\"with attachments\" viewBox=\"0 0 16 16\">"
    "<title>with attachments</title><path d=\"M11.5 5 6.3 10.2a1.2 1.2 0 0 0 1.7 1.7l5.2-5.2a3 3 0 "
    "0 0-4.2-4.2L3.4 8.1a4.2 4.2 0 0 0 5.9 5.9L13 10.3\"/></svg>";

std::string SenderCell(const ItemInfo& item) {
  if (!item.from) return "<td>" + TextOr(item.who, "–") + "</td>";
  const std::string& name = item.from->name.empty() ? item.from->address : item.from->name;
  return "<td title=\"" + Text(Cut(Name(*item.from), kNameShown)) + "\">" + TextOr(name, "–") +
         "</td>";
}

std::string Cell(const std::string& html) { return "<td>" + html + "</td>"; }
std::string TextCell(std::string_view text) { return Cell(TextOr(text, "–")); }
std::string DateCell(std::string_view date) { return "<td class=\"date\">" + Date(date) + "</td>"; }

std::string MailCells(const ItemInfo& item) {
  return SenderCell(item) + DateCell(DateOf(item)) + "<td class=\"number\">" + Size(item.size) +
         "</td>";
}

std::string MeetingCells(const ItemInfo& item) {
  return "<td class=\"date\">" + Date(item.starts) + (item.isSeries ? " · series" : "") + "</td>" +
         DateCell(item.ends) + TextCell(item.who);
}

std::string TaskCells(const ItemInfo& item) {
  const std::string status = FieldText(item, "Status");
  return DateCell(item.starts) + DateCell(item.ends) +
         TextCell(status.empty() ? "Not started" : Spaced(status));
}

std::string ContactCells(const ItemInfo& item) {
  if (item.element == "DistributionList") {
    std::int64_t members = 0;
    const FieldTree list(FindField(item, "Members"));
    for (const pugi::xml_node member : list.Root().children()) members += member ? 1 : 0;
    return Cell("Group, " + Count(members, "member", "members")) + Cell("") + Cell("");
  }
  std::string phone;
  for (const char* const key : {"MobilePhone", "BusinessPhone", "HomePhone"}) {
    if (phone.empty()) phone = EntryText(item, "PhoneNumbers", key);
  }
  return TextCell(item.who) + TextCell(phone) + TextCell(FieldText(item, "CompanyName"));
}

// How a folder of that class lists its items.
struct ListKind {
  std::string_view folderClass;
  Column columns[4];
  std::string (*cells)(const ItemInfo& item);  // all but the first
};
const ListKind kKinds[] = {
    {"IPF.Appointment", {{"Subject"}, {"Begins"}, {"Ends"}, {"Place"}}, MeetingCells},
    {"IPF.Contact", {{"Name"}, {"E-mail"}, {"Phone"}, {"Company"}}, ContactCells},
    {"IPF.Task", {{"Subject"}, {"Begins"}, {"Due"}, {"Status"}}, TaskCells},
    {"", {{"Subject"}, {"From"}, {"Date"}, {"Size", "number"}}, MailCells},
};

const ListKind& KindOf(const FolderInfo& folder) {
  return *std::ranges::find_if(kKinds, [&](const ListKind& kind) {
    return folder.folderClass.starts_with(kind.folderClass);
  });
}

std::string ItemRow(const ItemInfo& item, const ListKind& kind) {
  return std::string(item.isRead ? "<tr>" : "<tr class=\"unread\">") + "<td>" +
         (item.isRead ? "" : "<span class=\"hidden\">unread </span>") +
         Link("/item/" + std::to_string(item.id), TextOr(item.subject, "(no subject)")) +
         std::string(HasFiles(item) ? kClip : "") + "</td>" + kind.cells(item) + "</tr>\n";
}

// A text as the value of a parameter in a link.
std::string Parameter(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (plain) {
      out += c;
    } else {
      out.append("%").append(1, kDigits[byte >> 4]).append(1, kDigits[byte & 15]);
    }
  }
  return out;
}

// Where a list is, and which part of it is shown.
struct List {
  const FolderInfo& folder;
  std::string_view search;
  std::int64_t page = 1;
  std::int64_t total = 0;

  std::int64_t Pages() const {
    return std::max<std::int64_t>(1, (total + kItemsPerPage - 1) / kItemsPerPage);
  }
};

std::string PageLinks(const List& list) {
  const std::int64_t pages = list.Pages();
  if (pages < 2) return "";
  const auto link = [&](std::int64_t to, const char* text) {
    const bool there = to >= 1 && to <= pages && to != list.page;
    std::string target =
        "/folder/" + std::to_string(list.folder.id) + "?page=" + std::to_string(to);
    if (!list.search.empty()) target += "&amp;q=" + Parameter(list.search);
    return LinkIf(there, target, text);
  };
  return "<nav class=\"pages\" aria-label=\"Pages\">" + link(1, "« Newest") +
         link(list.page - 1, "‹ Newer") + "<span>Page " + std::to_string(list.page) + " of " +
         std::to_string(pages) + "</span>" + link(list.page + 1, "Older ›") +
         link(pages, "Oldest »") + "</nav>\n";
}

std::string SearchForm(const List& list) {
  const bool isCalendar = IsCalendar(list.folder);
  const std::string path = "/folder/" + std::to_string(list.folder.id);
  return "<form class=\"search\" role=\"search\" action=\"" + path +
         "\"><input type=\"search\" name=\"q\" maxlength=\"100\" aria-label=\"Search subjects and "
         "people\" placeholder=\"Subject or person\" value=\"" +
         Text(list.search) + "\"><button>Search</button>" +
         (list.search.empty() ? "" : Link(path + "?page=1", "Show all")) +
         (isCalendar ? Link(path, "Month") : "") + "</form>\n";
}

// The newest items first: page 1 ends with the folder's last row.
std::vector<ItemInfo> ItemsOf(Store& store, List& list) {
  if (!list.search.empty()) {
    Store::Found found = store.ItemsLike(list.folder.id, list.search,
                                         (list.page - 1) * kItemsPerPage, kItemsPerPage);
    list.total = found.total;
    return std::move(found.items);
  }
  const std::int64_t end = list.total - (list.page - 1) * kItemsPerPage;
  if (end < 0) return {};
  const std::int64_t begin = std::max<std::int64_t>(0, end - kItemsPerPage);
  std::vector<ItemInfo> items =
      store.Items(list.folder.id, begin, end - begin, Store::Load::kWithoutBody);
  std::ranges::reverse(items);
  return items;
}

WebReply ListPage(Store& store, const FolderInfo& folder, std::string_view search,
                  std::int64_t page) {
  List list{folder, search, page, folder.total};
  std::vector<ItemInfo> items = ItemsOf(store, list);
  if (page > list.Pages()) return NotFound();
  LookForFiles(store, items);
  std::string content = Totals(folder.total, folder.unread) + SearchForm(list);
  if (!search.empty()) {
    content += "<p role=\"status\">" + Count(list.total, "item", "items") + " found</p>\n";
  }
  if (!items.empty()) {
    const ListKind& kind = KindOf(folder);
    const Column* const c = kind.columns;
    content += OpenTable("items", "Items, the newest first", {c[0], c[1], c[2], c[3]});
    for (const ItemInfo& item : items) content += ItemRow(item, kind);
    content += CloseTable();
  }
  return {200, WebReply().type,
          Page(FolderName(folder), Crumbs(store, folder), content + PageLinks(list))};
}

}  // namespace

WebReply AnswerFolder(Store& store, std::int64_t id, const WebQuery& query) {
  const std::optional<FolderInfo> folder = store.Folder(id);
  const std::int64_t page = query.page.empty() ? 1 : NumberIn(query.page);
  if (!folder || page < 1) return NotFound();
  const bool isList = !query.page.empty() || !query.search.empty();
  if (IsCalendar(*folder) && !isList) return MonthPage(store, *folder, query.month);
  return ListPage(store, *folder, Cut(query.search, kLongestSearch), page);
}

}  // namespace mailbox::web
