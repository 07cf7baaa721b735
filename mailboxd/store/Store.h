#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mailbox {

// All texts are UTF-8; dates are UTC in the form 2024-03-05T09:15:00Z; sizes are bytes. Row numbers
// are positive.

struct MailboxInfo {
  std::int64_t id = 0;
  std::string address;  // lower case; "" is the mailbox of the public folders
};

struct FolderInfo {
  std::int64_t id = 0;
  std::int64_t parent = 0;  // 0 for a root
  std::int64_t mailbox = 0;
  std::string name;
  std::string folderClass;  // "IPF.Note", …; "" for a root
  std::string wellKnown;    // DistinguishedFolderId, "" for a folder that a client made
  std::int64_t version = 1;
  std::int64_t total = 0;  // items
  std::int64_t unread = 0;
  std::int64_t children = 0;
};

struct Address {
  std::string name;
  std::string address;
  std::string routing;
};

struct ExtendedProperty {
  std::string key;   // "tag:0xe07", "set:GUID:id:34051", "set:GUID:name:x", "named:Common:id:…"
  std::string type;  // "Integer", "SystemTime", "StringArray", …
  std::vector<std::string> values;
};

// The property that is also an item's messageId.
inline constexpr std::string_view kMessageIdKey = "tag:0x1035";

struct AttachmentInfo {
  std::int64_t id = 0;
  std::int64_t item = 0;
  std::string name;
  std::string contentType;
  std::string contentId;
  std::string contentLocation;
  bool isInline = false;
  bool isContactPhoto = false;
  bool isItem = false;  // an attached mail; one that is stored beside an item is XML of any class
  std::int64_t size = 0;
  std::string created;
};

// A field of an item that has no member of its own: as the client sent it.
struct ItemField {
  std::string name;  // of its element: "Start"
  std::string xml;   // the element whole, its names with the prefix t
};

// Which occurrence of a series an item is that stands for one alone; it has the row of its series.
struct OccurrenceInfo {
  std::int64_t number = 0;    // from 1; 0 for an item that is whole
  std::string originalStart;  // as the series has it
  bool isChanged = false;     // it has something of its own
};

struct ItemInfo {
  std::int64_t id = 0;
  std::int64_t folder = 0;
  std::string element = "Message";  // the EWS element: "Message", "CalendarItem", …
  std::string itemClass = "IPM.Note";
  std::string subject;
  bool isRead = false;
  bool isDraft = true;
  std::string received;
  std::string sent;
  std::string created;
  std::string starts;     // when it takes place, or a task is to be begun; "" without that
  std::string ends;       // "" too; the day on which a task is due
  bool isSeries = false;  // it takes place again after its start
  std::string who;        // a person in one line, for lists: who sent it, a contact's address
  std::int64_t size = 0;
  std::int64_t version = 1;
  std::int64_t attachmentCount = 0;  // stored beside the item
  std::optional<bool> mailHasFiles;  // within its MIME content; nothing until SetMailHasFiles

  // Details.
  std::string importance = "Normal";
  std::string sensitivity = "Normal";
  std::string bodyType;  // "HTML", "Text"; "" when the item has no body of its own
  std::string body;
  std::string inReplyTo;
  std::string messageId;
  std::string references;
  std::vector<std::string> categories;
  std::optional<Address> from;
  std::optional<Address> sender;
  std::vector<Address> to, cc, bcc, replyTo;
  std::vector<ExtendedProperty> properties;
  std::vector<ItemField> fields;
  OccurrenceInfo occurrence;
};

struct NewAttachment {
  AttachmentInfo info;  // id, item, size and created are set when it is stored
  std::string content;
};

struct NewItem {
  ItemInfo info;  // id, created, size, version are set when it is stored
  bool hasMime = false;
  std::string mimeCharset;
  std::string mime;  // stored byte for byte
  std::vector<NewAttachment> attachments;
};

// What one local mailbox server holds, in DIR/mailbox.db. A call that returns has its change on
// disk. All calls may come from any thread; they run one at a time. Every call may throw
// platform::SqliteError.
class Store {
 public:
  enum class Mode { kReadWrite, kExisting, kReadOnly };
  // `path` of the database file. kReadWrite creates it, kExisting does not; kReadOnly may be used
  // beside a running server. An older layout is brought up to date, but by kReadOnly. Throws
  // std::runtime_error for any other layout, and for the database of another program.
  explicit Store(const std::string& path, Mode mode = Mode::kReadWrite);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  std::vector<MailboxInfo> Mailboxes();
  // The mailbox of that address (any ASCII case), made with its folders at first use.
  std::int64_t Mailbox(std::string_view address);
  std::optional<std::int64_t> FindMailbox(std::string_view address);

  std::optional<std::int64_t> FindWellKnown(std::int64_t mailbox, std::string_view id);
  std::optional<FolderInfo> Folder(std::int64_t id);
  // All folders of a mailbox, parents before children.
  std::vector<FolderInfo> Folders(std::int64_t mailbox);
  // Children, or all below, by name.
  std::vector<FolderInfo> ChildFolders(std::int64_t parent, bool deep);
  // "Inbox/Projects": the names from below the mailbox's root of messages, `/` in a name doubled.
  std::string FolderPath(std::int64_t id);
  // Nothing when the parent has a child of that name in any case.
  std::optional<FolderInfo> CreateFolder(const FolderInfo& parent, std::string_view name,
                                         std::string_view folderClass);

  // Stores the item with all it has, or nothing; fills the ids of item and attachments. On failure
  // the item has none.
  void CreateItem(NewItem& item);
  // How much of an item is read: without details, many times faster, or all but the body, which
  // can be as large as a mail. Only a whole item may be given to UpdateItem.
  enum class Load { kWithoutDetails, kWithoutBody, kWhole };
  std::optional<ItemInfo> Item(std::int64_t id, Load load = Load::kWhole);
  // The rows of items, the newest last, from the offset on. A limit below 0 means all. Page after
  // page costs no more than all at once.
  std::vector<std::int64_t> Rows(std::int64_t folder, std::int64_t offset, std::int64_t limit);
  // The items in those rows.
  std::vector<ItemInfo> Items(std::int64_t folder, std::int64_t offset, std::int64_t limit,
                              Load load = Load::kWhole);
  // Calls `use` for each, in that order, while the store is held.
  void ForEachItem(std::int64_t folder, Load load, const std::function<void(const ItemInfo&)>& use);
  // What follows finds items without their bodies.
  // Those that begin from `from` on and before `to`, by their start.
  std::vector<ItemInfo> ItemsBetween(std::int64_t folder, std::string_view from,
                                     std::string_view to, std::int64_t limit);
  // Series that begin before `to`, the one that begins last first.
  std::vector<ItemInfo> SeriesBefore(std::int64_t folder, std::string_view to, std::int64_t limit);
  struct Span {
    std::string first;
    std::string last;
  };
  Span StartsIn(std::int64_t folder);  // the first and the last start; "" for none
  // Those in whose subject or person the text stands, without regard to the case of ASCII letters,
  // the newest row first; `total` is their number. Costs a walk through the folder's rows.
  struct Found {
    std::int64_t total = 0;
    std::vector<ItemInfo> items;
  };
  Found ItemsLike(std::int64_t folder, std::string_view text, std::int64_t offset,
                  std::int64_t limit);
  // Those whose property of that key is the text, without regard to the case of ASCII letters;
  // found at once in a folder of any size. For the message id and properties that are one String,
  // of up to kLongestText bytes.
  static constexpr std::size_t kLongestText = 1000;
  std::vector<ItemInfo> ItemsWithText(std::int64_t folder, std::string_view key,
                                      std::string_view text);
  // The rows in front of and behind an item in its folder; 0 for none.
  struct Neighbours {
    std::int64_t older = 0;
    std::int64_t newer = 0;
  };
  Neighbours NeighboursOf(const ItemInfo& item);
  // Calls `use` with charset and bytes while the store is held; false when the item has no MIME.
  bool WithMime(std::int64_t item,
                const std::function<void(std::string_view charset, std::string_view bytes)>& use);
  // Keeps the mailHasFiles of items, by row, all in one change. Their versions stay, for nothing
  // about them has changed.
  void SetMailHasFiles(const std::vector<std::pair<std::int64_t, bool>>& items);
  // Stores what has changed of an item, but for its folder and dates of its own, and attachments
  // that it gets, all or nothing, if it is still of that version, and counts the version up; false
  // when it is not, or not there.
  bool UpdateItem(ItemInfo& item, std::span<NewAttachment> added = {});
  // False when the item is not there.
  bool DeleteItem(std::int64_t id);
  bool MoveItem(std::int64_t id, std::int64_t folder);

  std::vector<AttachmentInfo> Attachments(std::int64_t item);
  std::optional<AttachmentInfo> Attachment(std::int64_t id);
  bool WithAttachment(std::int64_t id, const std::function<void(std::string_view bytes)>& use);
  // Fills the attachment's ids; returns the item's new version, nothing when it is not there.
  std::optional<std::int64_t> AddAttachment(std::int64_t item, NewAttachment& attachment);

 private:
  class Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

// Now, in the store's form.
std::string UtcNow();

// The form in which addresses are kept: blanks around cut, ASCII letters in lower case.
std::string NormalAddress(std::string_view address);

}  // namespace mailbox
