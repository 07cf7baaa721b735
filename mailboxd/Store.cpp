#include "mailboxd/Store.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <map>
#include <mutex>
#include <stdexcept>

#include "mailboxd/ItemDetails.h"
#include "mailboxd/StoreSchema.h"
#include "platform/Sqlite.h"
#include "platform/Unicode.h"

namespace mailbox {
namespace {

// Names are compared without regard to case by this key.
std::string NameKey(std::string_view name) {
  return platform::Utf16ToUtf8(platform::UpperUnits(platform::Utf8ToUtf16(name)));
}

std::int64_t SizeOf(const NewItem& item) {
  size_t size = item.mime.size() + item.info.body.size() + item.info.subject.size();
  for (const NewAttachment& attachment : item.attachments) size += attachment.content.size();
  return static_cast<std::int64_t>(size);
}

constexpr char kFolderColumns[] =
    "id,ifnull(parent,0),mailbox,name,class,ifnull(well_known,''),version";
constexpr char kItemColumns[] =
    "id,folder,element,item_class,subject,is_read,is_draft,received,sent,created,size,version,"
    "details,(SELECT count(*) FROM attachments WHERE item=items.id)";
constexpr char kAttachmentColumns[] =
    "id,item,name,content_type,content_id,content_location,is_inline,is_contact_photo,size,created";

}  // namespace

std::string UtcNow() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm fields{};
  gmtime_r(&now, &fields);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields);
  return text;
}

std::string NormalAddress(std::string_view address) {
  const size_t first = address.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return "";
  address = address.substr(first, address.find_last_not_of(" \t\r\n") - first + 1);
  std::string normal(address);
  for (char& c : normal) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return normal;
}

class Store::Implementation {
 public:
  // A prepared statement in use; it is reset when this goes, so that no read transaction stays.
  class Use {
   public:
    explicit Use(platform::SqliteStatement& statement) : m_statement(statement) {}
    ~Use() { m_statement.Reset(); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    platform::SqliteStatement* operator->() { return &m_statement; }
    platform::SqliteStatement& operator*() { return m_statement; }

   private:
    platform::SqliteStatement& m_statement;
  };

  // All or nothing: rolled back unless committed.
  class Transaction {
   public:
    explicit Transaction(Implementation& owner) : m_owner(owner) { owner.Run("BEGIN IMMEDIATE"); }
    ~Transaction() {
      if (m_done) return;
      try {
        m_owner.Run("ROLLBACK");
      } catch (const platform::SqliteError&) {
        // SQLite has rolled back by itself after some errors.
      }
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit() {
      m_owner.Run("COMMIT");
      m_done = true;
    }

   private:
    Implementation& m_owner;
    bool m_done = false;
  };

  Implementation(const std::string& path, Mode mode)
      : m_database(path, mode == Mode::kReadOnly
                             ? platform::SqliteDatabase::Open::kReadOnly
                             : platform::SqliteDatabase::Open::kReadWriteCreate) {
    if (mode == Mode::kReadWrite) {
      m_database.Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL");
      m_database.Execute("PRAGMA foreign_keys=ON; PRAGMA journal_size_limit=16777216");
    }
    std::int64_t version = ReadNumber("PRAGMA user_version");
    if (version == 0 && mode == Mode::kReadWrite) {
      Transaction transaction(*this);
      m_database.Execute(kSchemaSql);
      m_database.Execute("PRAGMA user_version=" + std::to_string(kSchemaVersion));
      transaction.Commit();
      version = kSchemaVersion;
    }
    if (version != kSchemaVersion) {
      throw std::runtime_error(path + " is of layout " + std::to_string(version) + ", not " +
                               std::to_string(kSchemaVersion));
    }
  }

  // The statement of that text, prepared once.
  Use Prepared(const std::string& sql) {
    auto found = m_statements.find(sql);
    if (found == m_statements.end()) {
      found = m_statements.emplace(sql, m_database.Prepare(sql)).first;
    }
    return Use(found->second);
  }
  void Run(const char* sql) { Prepared(sql)->Step(); }

  std::int64_t ReadNumber(const char* sql) {
    Use statement = Prepared(sql);
    return statement->Step() ? statement->Int(0) : 0;
  }
  std::int64_t ReadNumber(const char* sql, std::int64_t parameter) {
    Use statement = Prepared(sql);
    statement->Bind(1, parameter);
    return statement->Step() ? statement->Int(0) : 0;
  }

  std::optional<std::int64_t> FindMailbox(const std::string& address);
  std::int64_t MakeMailbox(const std::string& address);
  std::int64_t InsertFolder(std::int64_t mailbox, std::int64_t parent, std::string_view name,
                            std::string_view folderClass, std::string_view wellKnown);
  void Count(FolderInfo& folder);
  std::vector<FolderInfo> ReadFolders(platform::SqliteStatement& statement);
  void InsertItem(NewItem& item);
  void InsertAttachment(std::int64_t item, NewAttachment& attachment);
  static FolderInfo ReadFolder(platform::SqliteStatement& row);
  static ItemInfo ReadItem(platform::SqliteStatement& row);
  static AttachmentInfo ReadAttachment(platform::SqliteStatement& row);

  std::mutex m_mutex;
  platform::SqliteDatabase m_database;  // before the statements: they must go first
  std::map<std::string, platform::SqliteStatement> m_statements;
  std::map<std::string, std::int64_t> m_mailboxes;
};

std::optional<std::int64_t> Store::Implementation::FindMailbox(const std::string& address) {
  if (const auto known = m_mailboxes.find(address); known != m_mailboxes.end())
    return known->second;
  Use find = Prepared("SELECT id FROM mailboxes WHERE address=?");
  find->Bind(1, std::string_view(address));
  if (!find->Step()) return std::nullopt;
  return m_mailboxes[address] = find->Int(0);
}

std::int64_t Store::Implementation::InsertFolder(std::int64_t mailbox, std::int64_t parent,
                                                 std::string_view name,
                                                 std::string_view folderClass,
                                                 std::string_view wellKnown) {
  Use insert = Prepared(
      "INSERT INTO folders(mailbox,parent,name,name_key,class,well_known) VALUES(?,?,?,?,?,?)");
  insert->Bind(1, mailbox);
  if (parent == 0) {
    insert->BindNull(2);
  } else {
    insert->Bind(2, parent);
  }
  insert->Bind(3, name).Bind(4, std::string_view(NameKey(name))).Bind(5, folderClass);
  if (wellKnown.empty()) {
    insert->BindNull(6);
  } else {
    insert->Bind(6, wellKnown);
  }
  insert->Step();
  return m_database.LastInsertRowId();
}

std::int64_t Store::Implementation::MakeMailbox(const std::string& address) {
  if (const auto found = FindMailbox(address)) return *found;
  Transaction transaction(*this);
  {
    Use insert = Prepared("INSERT INTO mailboxes(address) VALUES(?)");
    insert->Bind(1, std::string_view(address));
    insert->Step();
  }
  const std::int64_t id = m_database.LastInsertRowId();
  if (address.empty()) {
    InsertFolder(id, 0, kPublicRoot.name, kPublicRoot.folderClass, kPublicRoot.id);
  } else {
    std::map<std::string_view, std::int64_t> rows;
    for (const WellKnownFolder& folder : WellKnownFolders()) {
      rows[folder.id] = InsertFolder(id, folder.parent.empty() ? 0 : rows[folder.parent],
                                     folder.name, folder.folderClass, folder.id);
    }
  }
  transaction.Commit();
  return m_mailboxes[address] = id;
}

FolderInfo Store::Implementation::ReadFolder(platform::SqliteStatement& row) {
  FolderInfo folder;
  folder.id = row.Int(0);
  folder.parent = row.Int(1);
  folder.mailbox = row.Int(2);
  folder.name = row.Text(3);
  folder.folderClass = row.Text(4);
  folder.wellKnown = row.Text(5);
  folder.version = row.Int(6);
  return folder;
}

std::vector<FolderInfo> Store::Implementation::ReadFolders(platform::SqliteStatement& statement) {
  std::vector<FolderInfo> folders;
  while (statement.Step()) folders.push_back(ReadFolder(statement));
  return folders;
}

void Store::Implementation::Count(FolderInfo& folder) {
  folder.total = ReadNumber("SELECT count(*) FROM items WHERE folder=?", folder.id);
  folder.unread = ReadNumber("SELECT count(*) FROM items WHERE folder=? AND is_read=0", folder.id);
  folder.children = ReadNumber("SELECT count(*) FROM folders WHERE parent=?", folder.id);
}

ItemInfo Store::Implementation::ReadItem(platform::SqliteStatement& row) {
  ItemInfo item;
  item.id = row.Int(0);
  item.folder = row.Int(1);
  item.element = row.Text(2);
  item.itemClass = row.Text(3);
  item.subject = row.Text(4);
  item.isRead = row.Int(5) != 0;
  item.isDraft = row.Int(6) != 0;
  item.received = row.Text(7);
  item.sent = row.Text(8);
  item.created = row.Text(9);
  item.size = row.Int(10);
  item.version = row.Int(11);
  ReadDetails(row.Text(12), item);
  item.attachmentCount = row.Int(13);
  return item;
}

AttachmentInfo Store::Implementation::ReadAttachment(platform::SqliteStatement& row) {
  AttachmentInfo attachment;
  attachment.id = row.Int(0);
  attachment.item = row.Int(1);
  attachment.name = row.Text(2);
  attachment.contentType = row.Text(3);
  attachment.contentId = row.Text(4);
  attachment.contentLocation = row.Text(5);
  attachment.isInline = row.Int(6) != 0;
  attachment.isContactPhoto = row.Int(7) != 0;
  attachment.size = row.Int(8);
  attachment.created = row.Text(9);
  return attachment;
}

void Store::Implementation::InsertItem(NewItem& item) {
  ItemInfo& info = item.info;
  {
    Use insert = Prepared(
        "INSERT INTO items(folder,element,item_class,subject,is_read,is_draft,received,sent,"
        "created,size,version,details) VALUES(?,?,?,?,?,?,?,?,?,?,?,?)");
    insert->Bind(1, info.folder).Bind(2, std::string_view(info.element));
    insert->Bind(3, std::string_view(info.itemClass)).Bind(4, std::string_view(info.subject));
    insert->Bind(5, std::int64_t{info.isRead}).Bind(6, std::int64_t{info.isDraft});
    insert->Bind(7, std::string_view(info.received)).Bind(8, std::string_view(info.sent));
    insert->Bind(9, std::string_view(info.created)).Bind(10, info.size).Bind(11, info.version);
    insert->Bind(12, std::string_view(WriteDetails(info)));
    insert->Step();
  }
  info.id = m_database.LastInsertRowId();
  if (item.hasMime) {
    Use insert = Prepared("INSERT INTO mime(item,charset,bytes) VALUES(?,?,?)");
    insert->Bind(1, info.id).Bind(2, std::string_view(item.mimeCharset));
    insert->BindBlobStatic(3, item.mime);
    insert->Step();
  }
}

void Store::Implementation::InsertAttachment(std::int64_t item, NewAttachment& attachment) {
  AttachmentInfo& info = attachment.info;
  info.item = item;
  info.size = static_cast<std::int64_t>(attachment.content.size());
  info.created = UtcNow();
  {
    Use insert = Prepared(
        "INSERT INTO attachments(item,name,content_type,content_id,content_location,is_inline,"
        "is_contact_photo,size,created) VALUES(?,?,?,?,?,?,?,?,?)");
    insert->Bind(1, item).Bind(2, std::string_view(info.name));
    insert->Bind(3, std::string_view(info.contentType)).Bind(4, std::string_view(info.contentId));
    insert->Bind(5, std::string_view(info.contentLocation));
    insert->Bind(6, std::int64_t{info.isInline}).Bind(7, std::int64_t{info.isContactPhoto});
    insert->Bind(8, info.size).Bind(9, std::string_view(info.created));
    insert->Step();
  }
  info.id = m_database.LastInsertRowId();
  Use insert = Prepared("INSERT INTO attachment_bytes(attachment,bytes) VALUES(?,?)");
  insert->Bind(1, info.id).BindBlobStatic(2, attachment.content);
  insert->Step();
}

Store::Store(const std::string& path, Mode mode)
    : m_implementation(std::make_unique<Implementation>(path, mode)) {}
Store::~Store() = default;

std::vector<MailboxInfo> Store::Mailboxes() {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto list = m_implementation->Prepared("SELECT id,address FROM mailboxes ORDER BY address");
  std::vector<MailboxInfo> mailboxes;
  while (list->Step()) mailboxes.push_back({list->Int(0), std::string(list->Text(1))});
  return mailboxes;
}

std::int64_t Store::Mailbox(std::string_view address) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->MakeMailbox(NormalAddress(address));
}

std::optional<std::int64_t> Store::FindMailbox(std::string_view address) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->FindMailbox(NormalAddress(address));
}

std::optional<std::int64_t> Store::FindWellKnown(std::int64_t mailbox, std::string_view id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  if (id == kPublicRoot.id) mailbox = m_implementation->MakeMailbox("");
  auto find = m_implementation->Prepared("SELECT id FROM folders WHERE mailbox=? AND well_known=?");
  find->Bind(1, mailbox).Bind(2, id);
  if (!find->Step()) return std::nullopt;
  return find->Int(0);
}

std::optional<FolderInfo> Store::Folder(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto find = m_implementation->Prepared(std::string("SELECT ") + kFolderColumns +
                                         " FROM folders WHERE id=?");
  find->Bind(1, id);
  if (!find->Step()) return std::nullopt;
  FolderInfo folder = Implementation::ReadFolder(*find);
  m_implementation->Count(folder);
  return folder;
}

std::vector<FolderInfo> Store::Folders(std::int64_t mailbox) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto list = m_implementation->Prepared(std::string("SELECT ") + kFolderColumns +
                                         " FROM folders WHERE mailbox=? ORDER BY id");
  list->Bind(1, mailbox);
  std::vector<FolderInfo> folders = m_implementation->ReadFolders(*list);
  for (FolderInfo& folder : folders) m_implementation->Count(folder);
  return folders;
}

std::vector<FolderInfo> Store::ChildFolders(std::int64_t parent, bool deep) {
  const std::lock_guard lock(m_implementation->m_mutex);
  static const std::string kShallow =
      std::string("SELECT ") + kFolderColumns + " FROM folders WHERE parent=? ORDER BY name_key";
  static const std::string kDeep =
      std::string(
          "WITH RECURSIVE below(row) AS (SELECT id FROM folders WHERE parent=? UNION ALL "
          "SELECT folders.id FROM folders JOIN below ON folders.parent=below.row) SELECT ") +
      kFolderColumns + " FROM folders WHERE id IN below ORDER BY name_key,id";
  auto list = m_implementation->Prepared(deep ? kDeep : kShallow);
  list->Bind(1, parent);
  return m_implementation->ReadFolders(*list);
}

std::string Store::FolderPath(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  std::vector<std::string> names;
  auto find = m_implementation->Prepared(std::string("SELECT ") + kFolderColumns +
                                         " FROM folders WHERE id=?");
  while (id != 0) {
    find->Bind(1, id);
    if (!find->Step()) break;
    const FolderInfo folder = Implementation::ReadFolder(*find);
    find->Reset();
    if (folder.parent == 0 || folder.wellKnown == "msgfolderroot") break;
    names.push_back(folder.wellKnown == "archivemsgfolderroot" ? "Archive" : folder.name);
    id = folder.parent;
  }
  std::string path;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    if (!path.empty()) path += '/';
    for (const char c : *name) path.append(c == '/' ? 2 : 1, c);
  }
  return path;
}

std::optional<FolderInfo> Store::CreateFolder(const FolderInfo& parent, std::string_view name,
                                              std::string_view folderClass) {
  const std::lock_guard lock(m_implementation->m_mutex);
  {
    auto find = m_implementation->Prepared("SELECT 1 FROM folders WHERE parent=? AND name_key=?");
    find->Bind(1, parent.id).Bind(2, std::string_view(NameKey(name)));
    if (find->Step()) return std::nullopt;
  }
  FolderInfo folder;
  folder.id = m_implementation->InsertFolder(parent.mailbox, parent.id, name, folderClass, "");
  folder.parent = parent.id;
  folder.mailbox = parent.mailbox;
  folder.name = name;
  folder.folderClass = folderClass;
  return folder;
}

void Store::CreateItem(NewItem& item) {
  item.info.created = UtcNow();
  item.info.size = SizeOf(item);
  item.info.attachmentCount = static_cast<std::int64_t>(item.attachments.size());
  const std::lock_guard lock(m_implementation->m_mutex);
  Implementation::Transaction transaction(*m_implementation);
  m_implementation->InsertItem(item);
  for (NewAttachment& attachment : item.attachments) {
    m_implementation->InsertAttachment(item.info.id, attachment);
  }
  transaction.Commit();
}

std::optional<ItemInfo> Store::Item(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto find =
      m_implementation->Prepared(std::string("SELECT ") + kItemColumns + " FROM items WHERE id=?");
  find->Bind(1, id);
  if (!find->Step()) return std::nullopt;
  return Implementation::ReadItem(*find);
}

std::vector<ItemInfo> Store::Items(std::int64_t folder, std::int64_t offset, std::int64_t limit,
                                   std::int64_t* total) {
  const std::lock_guard lock(m_implementation->m_mutex);
  *total = m_implementation->ReadNumber("SELECT count(*) FROM items WHERE folder=?", folder);
  auto list = m_implementation->Prepared(std::string("SELECT ") + kItemColumns +
                                         " FROM items WHERE folder=? ORDER BY id LIMIT ? OFFSET ?");
  list->Bind(1, folder).Bind(2, limit).Bind(3, offset);
  std::vector<ItemInfo> items;
  while (list->Step()) items.push_back(Implementation::ReadItem(*list));
  return items;
}

bool Store::WithMime(std::int64_t item,
                     const std::function<void(std::string_view, std::string_view)>& use) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto find = m_implementation->Prepared("SELECT charset,bytes FROM mime WHERE item=?");
  find->Bind(1, item);
  if (!find->Step()) return false;
  use(find->Text(0), find->Blob(1));
  return true;
}

bool Store::DeleteItem(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto statement = m_implementation->Prepared("DELETE FROM items WHERE id=?");
  statement->Bind(1, id);
  statement->Step();
  return m_implementation->m_database.Changes() > 0;
}

bool Store::MoveItem(std::int64_t id, std::int64_t folder) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto statement =
      m_implementation->Prepared("UPDATE items SET folder=?,version=version+1 WHERE id=?");
  statement->Bind(1, folder).Bind(2, id);
  statement->Step();
  return m_implementation->m_database.Changes() > 0;
}

std::vector<AttachmentInfo> Store::Attachments(std::int64_t item) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto list = m_implementation->Prepared(std::string("SELECT ") + kAttachmentColumns +
                                         " FROM attachments WHERE item=? ORDER BY id");
  list->Bind(1, item);
  std::vector<AttachmentInfo> attachments;
  while (list->Step()) attachments.push_back(Implementation::ReadAttachment(*list));
  return attachments;
}

std::optional<AttachmentInfo> Store::Attachment(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto find = m_implementation->Prepared(std::string("SELECT ") + kAttachmentColumns +
                                         " FROM attachments WHERE id=?");
  find->Bind(1, id);
  if (!find->Step()) return std::nullopt;
  return Implementation::ReadAttachment(*find);
}

bool Store::WithAttachment(std::int64_t id, const std::function<void(std::string_view)>& use) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto find = m_implementation->Prepared("SELECT bytes FROM attachment_bytes WHERE attachment=?");
  find->Bind(1, id);
  if (!find->Step()) return false;
  use(find->Blob(0));
  return true;
}

std::optional<std::int64_t> Store::AddAttachment(std::int64_t item, NewAttachment& attachment) {
  const std::lock_guard lock(m_implementation->m_mutex);
  Implementation::Transaction transaction(*m_implementation);
  {
    auto update =
        m_implementation->Prepared("UPDATE items SET version=version+1,size=size+? WHERE id=?");
    update->Bind(1, static_cast<std::int64_t>(attachment.content.size())).Bind(2, item);
    update->Step();
    if (m_implementation->m_database.Changes() == 0) return std::nullopt;
  }
  m_implementation->InsertAttachment(item, attachment);
  const std::int64_t version =
      m_implementation->ReadNumber("SELECT version FROM items WHERE id=?", item);
  transaction.Commit();
  return version;
}

}  // namespace mailbox
