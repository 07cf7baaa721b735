#include "mailboxd/web/WebItem.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "base/ExtPtrArray.h"
#include "base/LogNull.h"
#include "base/WholeNumber.h"
#include "html/WholeText.h"
#include "mailboxd/store/MailOfItem.h"
#include "mailboxd/web/DownloadName.h"
#include "mailboxd/web/InlinePictures.h"
#include "mailboxd/web/WebFields.h"
#include "mailboxd/web/WebHtml.h"
#include "mime/header/CkEmailAddress.h"

namespace mailbox::web {
namespace {

constexpr size_t kAddressesShown = 200;  // of one field
constexpr size_t kFieldsShown = 500;     // of a message's head
constexpr size_t kFieldShown = 20000;    // bytes of one field's value
constexpr size_t kAttachmentsShown = 1000;

// An item, or a mail inside it, as its page and what belongs to it need it.
struct View {
  View(Store& store, const ItemInfo& stored)
      : item(stored), mail(store, stored.id), base("/item/" + std::to_string(stored.id)) {}

  ItemInfo item;
  MailOfItem mail;
  std::string base;  // its page: "/item/5", "/item/5/mail/2.1"
};

// Goes into the mail that "2.1" leads to; false where there is none.
bool Enter(std::string_view path, View& view) {
  view.base.append("/mail/").append(path);
  while (true) {
    const std::string_view first = path.substr(0, path.find('.'));
    const std::int64_t number = NumberIn(first);
    if (number == 0 || !view.mail.Enter(static_cast<size_t>(number - 1))) return false;
    if (first.size() == path.size()) break;
    path.remove_prefix(first.size() + 1);
  }
  view.item = view.mail.Describe();
  return true;
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
  return Text(names);
}

std::string StateOf(const ItemInfo& item) {
  return Text(item.itemClass) + (item.isRead ? ", read" : ", unread") +
         (item.isDraft ? ", draft" : "");
}

std::string SummaryBox(const View& view) {
  const ItemInfo& item = view.item;
  const auto differs = [&](const std::optional<Address>& one) {
    return one && !(item.from && one->address == item.from->address);
  };
  return OpenList("summary", "Summary") + Row("From", item.from ? Text(Name(*item.from)) : "") +
         Row("Sender", differs(item.sender) ? Text(Name(*item.sender)) : "") +
         Row("To", Names(item.to)) + Row("Cc", Names(item.cc)) + Row("Bcc", Names(item.bcc)) +
         Row("Reply to", Names(item.replyTo)) + FieldRows(item) + Row("Sent", Date(item.sent)) +
         Row("Received", Date(item.received)) + Row("Stored", Date(item.created)) +
         Row("Size", Size(item.size)) + (view.mail.IsWithin() ? "" : Row("State", StateOf(item))) +
         CloseTable();
}

// The picture of a contact: what says that it is one, or is named as clients name it.
std::string PhotoBox(Store& store, const ItemInfo& item) {
  constexpr std::int64_t kLargest = 2 * 1024 * 1024;  // bytes
  if (item.element != "Contact") return "";
  for (const AttachmentInfo& one : store.Attachments(item.id)) {
    const bool isNamed = one.name == "ContactPicture.jpg" || one.name == "ContactPhoto.jpg";
    if (one.size > kLargest || !(one.isContactPhoto || isNamed)) continue;
    std::string url;
    store.WithAttachment(one.id, [&](std::string_view bytes) { url = PictureUrl(bytes); });
    if (url.empty()) continue;
    return "<img class=\"photo\" alt=\"Photo of " + Text(Cut(item.subject, kNameShown)) +
           "\" src=\"" + url + "\">\n";
  }
  return "";
}

struct AttachmentRow {
  AttachmentInfo info;
  std::string target;  // of the link that saves it
  std::string page;    // of a mail; "" for a file
};

// Those that were stored beside the item, then those within its mail.
std::vector<AttachmentRow> AttachmentRows(Store& store, View& view) {
  std::vector<AttachmentRow> rows;
  if (!view.mail.IsWithin()) {
    for (AttachmentInfo& one : store.Attachments(view.item.id)) {
      const std::string target = "/attachment/" + std::to_string(one.id);
      rows.push_back({std::move(one), target, ""});
    }
  }
  const MailContent* const content = view.mail.Content();
  if (content == nullptr) return rows;
  const std::string inner = view.base + (view.mail.IsWithin() ? "." : "/mail/");
  for (size_t i = 0; i < content->Attachments().size(); ++i) {
    const std::string number = std::to_string(i + 1);
    rows.push_back({content->Attachments()[i], view.base + "/part/" + number,
                    view.mail.IsMail(i) ? inner + number : ""});
  }
  return rows;
}

std::string AttachmentBox(const std::vector<AttachmentRow>& rows) {
  if (rows.empty()) return "";
  std::string html = "<h2>Attachments</h2>\n" + OpenTable("attachments", "Attachments",
                                                          {{"Name"}, {"Type"}, {"Size", "number"}});
  for (size_t i = 0; i < std::min(rows.size(), kAttachmentsShown); ++i) {
    const AttachmentRow& row = rows[i];
    const std::string name = TextOr(row.info.name, "(no name)");
    const std::string links =
        row.page.empty()
            ? Link(row.target, name)
            : Link(row.page, name) + " <span class=\"soft\">· " +
                  Link(row.target, "save<span class=\"hidden\"> " + name + "</span>") + "</span>";
    html +=
        "<tr><td>" + links + "</td><td class=\"type\">" +
        Text(Cut(row.info.isItem && row.page.empty() ? "item" : row.info.contentType, kNameShown)) +
        (row.info.isInline ? " · in the text" : "") + "</td><td class=\"number\">" +
        Size(row.info.size) + "</td></tr>\n";
  }
  if (rows.size() > kAttachmentsShown) {
    html += "<tr><td class=\"soft\">and " + std::to_string(rows.size() - kAttachmentsShown) +
            " more</td></tr>\n";
  }
  return html + CloseTable();
}

std::string TextBox(std::string_view text) {
  return "<div class=\"box\"><pre>\n" + Text(text) + "</pre></div>\n";
}

// The value of a field, decoded: that of an address field keeps its encoded words, for a name may
// hold what would be taken for an address.
std::string ValueOf(const mail::MimeField& field) {
  const std::string_view value = Cut(field.value().view(), kFieldShown);
  const bool decoded = field.type() != mail::MimeField::kAddresses;
  if (decoded || value.find("=?") == std::string_view::npos) return std::string(value);
  mail::LogNull log;
  mail::ExtPtrArrayOf<mail::_ckEmailAddress> people;
  mail::_ckEmailAddress::loadList(value, people, log);
  std::string names;
  for (size_t i = 0; i < people.getSize(); ++i) {
    const mail::_ckEmailAddress& one = *people.at(i);
    names += (i > 0 ? ", " : "") +
             Name({std::string(one.m_friendlyName.view()), std::string(one.m_address.view()), ""});
  }
  return names.empty() ? std::string(value) : names;
}

// The fields of a message's head.
std::string HeaderBox(const mail::MimeHeader& header) {
  if (header.getCount() == 0) return "";
  std::string rows;
  for (size_t i = 0; i < std::min(header.getCount(), kFieldsShown); ++i) {
    const mail::MimeField& field = *header.at(i);
    rows += "<tr><th scope=\"row\">" + Text(Cut(field.name().view(), kNameShown)) + "</th><td>" +
            Text(ValueOf(field)) + "</td></tr>\n";
  }
  if (header.getCount() > kFieldsShown) {
    rows += "<tr><th></th><td class=\"soft\">more in the source</td></tr>\n";
  }
  const auto count = static_cast<std::int64_t>(header.getCount());
  return Folded("Header, " + Count(count, "field", "fields"),
                OpenList("names", "Header") + rows + CloseTable());
}

// What a text shows of itself on a page, and whether that is all.
std::string CutBox(std::string_view text, size_t size) {
  std::string note;
  if (text.size() < size) {
    note = "<p class=\"soft\">The first " + std::to_string(text.size()) + " of " +
           std::to_string(size) + " bytes.</p>\n";
  }
  return note + TextBox(text);
}
std::string CutBox(std::string_view text) { return CutBox(Cut(text, kSourceShown), text.size()); }

// The mail's own plain text, else one made of its HTML.
std::string PlainBox(std::string_view text, std::string_view html) {
  if (!text.empty()) return CutBox(text);
  return CutBox(mail::wholeText(std::string(html)));
}

std::string BodyBox(std::string_view text, std::string_view html, const std::string& base) {
  if (text.empty() && html.empty()) return "";
  if (html.empty()) return "<h2>Body</h2>\n" + CutBox(text);
  return "<h2>Body</h2>\n<div class=\"box\"><iframe sandbox title=\"Body\" src=\"" + base +
         "/body\"></iframe></div>\n" + Folded("As plain text", PlainBox(text, html)) +
         Folded("HTML source", CutBox(html));
}

std::string SourceBox(View& view) {
  std::string shown;
  size_t size = 0;
  view.mail.WithMime([&](std::string_view, std::string_view bytes) {
    shown = Cut(bytes, kSourceShown);
    size = bytes.size();
  });
  return Folded("Source", "<p>" + Link(view.base + "/source", "Save the whole") + "</p>\n" +
                              CutBox(shown, size));
}

// Of the folder that the item is in; for a mail inside another, the way out of it.
std::string CrumbsOf(Store& store, const View& view) {
  const PartId& place = view.mail.Place();
  const std::optional<ItemInfo> item = store.Item(place.item);
  const std::optional<FolderInfo> folder = item ? store.Folder(item->folder) : std::nullopt;
  std::string crumbs = folder ? Crumbs(store, *folder) : Link("/", "Mailboxes");
  if (!item || place.path.empty()) return crumbs;
  const std::string top = "/item/" + std::to_string(place.item);
  crumbs += " › " + Link(top, "<bdi>" + TextOr(item->subject, "(no subject)") + "</bdi>");
  if (place.path.size() < 2) return crumbs;
  return crumbs + " › " + Link(view.base.substr(0, view.base.rfind('.')), "mail around it");
}

std::string NeighbourLinks(Store& store, const View& view) {
  if (view.mail.IsWithin()) return "";
  const Store::Neighbours beside = store.NeighboursOf(view.item);
  const auto link = [](std::int64_t id, const char* text) {
    return LinkIf(id != 0, "/item/" + std::to_string(id), text);
  };
  return "<nav class=\"pages\" aria-label=\"Items\">" + link(beside.newer, "‹ Newer") +
         link(beside.older, "Older ›") + "</nav>\n";
}

// The item's own body, else those of its mail.
struct Body {
  std::string_view text;
  std::string_view html;
};
Body BodyOf(View& view) {
  const ItemInfo& item = view.item;
  if (item.bodyType == "HTML") return {"", item.body};
  if (!item.bodyType.empty()) return {item.body, ""};
  const MailContent* const mail = view.mail.Content();
  return mail != nullptr ? Body{mail->Text(), mail->Html()} : Body{};
}

WebReply ItemPage(Store& store, View& view) {
  const ItemInfo& item = view.item;
  std::string content = NeighbourLinks(store, view) + PhotoBox(store, item) + SummaryBox(view) +
                        AttachmentBox(AttachmentRows(store, view));
  const Body body = BodyOf(view);
  content += BodyBox(body.text, body.html, view.base);
  if (const MailContent* const mail = view.mail.Content(); mail != nullptr) {
    content += HeaderBox(mail->Fields()) + SourceBox(view);
  } else if (!item.body.empty()) {
    content += "<p>" + Link(view.base + "/source", "Save the body") + "</p>\n";
  }
  content += PropertyBox(item);
  return {200, WebReply().type, Page(item.subject, CrumbsOf(store, view), content)};
}

// The HTML body alone, for the frame on the item's page. It may be opened by itself: what keeps it
// harmless travels with it.
WebReply BodyPage(Store& store, View& view) {
  constexpr std::string_view kStyle =
      "<style>body{font:15px/1.5 system-ui,sans-serif;margin:12px;overflow-wrap:break-word}"
      "img{max-width:100%;height:auto}</style>\n";
  const std::string_view html = BodyOf(view).html;
  if (html.empty()) return NotFound();
  const MailContent* const mail = view.mail.Content();
  const std::string shown =
      WithPictures(html, mail != nullptr ? PicturesOf(*mail) : PicturesOf(store, view.item));
  return {200, WebReply().type, std::string(kStyle) + shown, "", kBodyPolicy};
}

// A type that may stand in a header as it is; what the mail claims otherwise is not told on.
std::string TypeOf(const std::string& claimed) {
  const auto isToken = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' ||
           c == '_';
  };
  const size_t slash = claimed.find('/');
  const bool whole =
      slash != std::string::npos && slash > 0 && slash + 1 < claimed.size() && claimed.size() < 100;
  if (!whole || std::count_if(claimed.begin(), claimed.end(), isToken) + 1 !=
                    static_cast<std::ptrdiff_t>(claimed.size())) {
    return "application/octet-stream";
  }
  return claimed;
}

WebReply File(const AttachmentInfo& attachment, std::string bytes) {
  std::string name = attachment.name;
  if (attachment.isItem && !attachment.contentType.starts_with("message/")) {
    return {200, "text/xml; charset=utf-8", std::move(bytes), SaveAs(name + ".xml"), kFilePolicy};
  }
  if (attachment.contentType == "message/rfc822" && !name.ends_with(".eml")) name += ".eml";
  return {200, TypeOf(attachment.contentType), std::move(bytes), SaveAs(name), kFilePolicy};
}

// An attachment within a mail, decoded; `number` counts from 1.
WebReply PartFile(View& view, std::int64_t number) {
  const MailContent* const content = view.mail.Content();
  const auto index = static_cast<size_t>(number - 1);
  if (number < 1 || content == nullptr || index >= content->Attachments().size()) {
    return NotFound();
  }
  return File(content->Attachments()[index], content->AttachmentBytes(index));
}

// The message, or the body of an item that has none, byte for byte.
WebReply SourceFile(View& view) {
  WebReply reply{200, "message/rfc822", "", "", kFilePolicy};
  const bool hasMime = view.mail.WithMime(
      [&](std::string_view, std::string_view bytes) { reply.body.assign(bytes); });
  if (!hasMime) {
    reply.type = "text/plain; charset=utf-8";
    reply.body = view.item.body;
  }
  const std::string name = view.item.subject.empty() ? "item" : view.item.subject;
  reply.disposition = SaveAs(name + (hasMime ? ".eml" : ".txt"));
  return reply;
}

}  // namespace

WebReply NotFound() {
  return {404, WebReply().type,
          Page("Not found", Link("/", "Mailboxes"), "<p>There is no such page here.</p>\n")};
}

std::int64_t NumberIn(std::string_view text) {
  return std::max<std::int64_t>(0, mail::wholeNumber<std::int64_t>(text).value_or(0));
}

WebReply AnswerItem(Store& store, std::int64_t id, std::span<const std::string_view> rest) {
  const std::optional<ItemInfo> item = store.Item(id);
  if (!item) return NotFound();
  View view(store, *item);
  if (rest.size() >= 2 && rest[0] == "mail") {
    if (!Enter(rest[1], view)) return NotFound();
    rest = rest.subspan(2);
  }
  if (rest.empty()) return ItemPage(store, view);
  if (rest.size() == 1 && rest[0] == "body") return BodyPage(store, view);
  if (rest.size() == 1 && rest[0] == "source") return SourceFile(view);
  if (rest.size() == 2 && rest[0] == "part") return PartFile(view, NumberIn(rest[1]));
  return NotFound();
}

WebReply AnswerAttachment(Store& store, std::int64_t id) {
  const std::optional<AttachmentInfo> attachment = store.Attachment(id);
  std::string bytes;
  const bool found = store.WithAttachment(id, [&](std::string_view view) { bytes = view; });
  return attachment && found ? File(*attachment, std::move(bytes)) : NotFound();
}

}  // namespace mailbox::web
