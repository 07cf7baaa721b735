#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "mailboxd/store/Store.h"

// The pieces that the pages are made of. They show what strangers sent, so each text takes one way
// into them: through Text(), which leaves no byte that a browser could take for markup. Links are
// made from row numbers alone.
namespace mailbox::web {

inline constexpr std::size_t kNameShown = 300;  // bytes of a subject or name in a list or heading

// The first `limit` bytes, less a character that would be cut in two.
std::string_view Cut(std::string_view text, std::size_t limit);

// For text and for attribute values in double quotes. What is no UTF-8, and control characters,
// which HTML does not allow, become U+FFFD; so do marks that would turn the text around.
std::string Text(std::string_view raw);
// A subject or a name, cut where a list or a heading would burst; `otherwise` for a blank one.
std::string TextOr(std::string_view raw, std::string_view otherwise);

std::string Size(std::int64_t bytes);                                                // "1.7 KB"
std::string Count(std::int64_t count, std::string_view one, std::string_view many);  // "1 item"
std::string Date(std::string_view stored);  // 2024-03-05T09:15:00Z as people read it
std::string Name(const Address& address);   // plain text: "Ann <ann@example.com>"

// `target` is a path of ours, `html` what shows.
std::string Link(const std::string& target, const std::string& html);
// The text alone, softly, where there is nothing to lead to.
std::string LinkIf(bool there, const std::string& target, const std::string& html);
std::string FolderLink(std::int64_t id, const std::string& html);

struct Column {
  std::string_view title;
  std::string_view kind = {};  // class of its heading: "number"
};
// A table with headings, open for its rows. The caption is for those who do not see it.
std::string OpenTable(std::string_view kind, std::string_view caption,
                      std::initializer_list<Column> columns);
// A table of labels and values.
std::string OpenList(std::string_view kind, std::string_view caption);
// One of its rows; nothing for a value that is "".
std::string Row(std::string_view label, const std::string& html);
std::string CloseTable();

// "12 items, 3 unread"
std::string Totals(std::int64_t items, std::int64_t unread);
// "Required attendees" for "RequiredAttendees".
std::string Spaced(std::string_view name);

// A whole page; `title` is plain text, the rest HTML.
std::string Page(std::string_view title, const std::string& crumbs, const std::string& content);
// "Mailboxes › ann@example.com › Inbox/Projects"
std::string Crumbs(Store& store, const FolderInfo& folder);
std::string FolderName(const FolderInfo& folder);     // plain text
std::string MailboxName(const MailboxInfo& mailbox);  // plain text

}  // namespace mailbox::web
