#include <algorithm>
#include <string>

#include "mailboxd/store/ItemDetails.h"
#include "mailboxd/store/StoreImplementation.h"

// Items and attachments of a store.
namespace mailbox {
namespace {

std::int64_t BytesOf(std::span<const NewAttachment> attachments) {
  size_t size = 0;
  for (const NewAttachment& attachment : attachments) size += attachment.content.size();
  return static_cast<std::int64_t>(size);
}

std::int64_t SizeOf(const NewItem& item) {
  const size_t own = item.mime.size() + item.info.body.size() + item.info.subject.size();
  return static_cast<std::int64_t>(own) + BytesOf(item.attachments);
}

using ItemColumn = RowShape<ItemInfo>::Column;

// The columns of an item, and behind them those that cost more than their row.
RowShape<ItemInfo> ShapeOf(std::initializer_list<ItemColumn> more) {
  std::vector<ItemColumn> columns = {{"id", Into<&ItemInfo::id>},
                                     {"folder", Into<&ItemInfo::folder>},
                                     {"element", Into<&ItemInfo::element>},
                                     {"item_class", Into<&ItemInfo::itemClass>},
                                     {"subject", Into<&ItemInfo::subject>},
                                     {"is_read", Into<&ItemInfo::isRead>},
                                     {"is_draft", Into<&ItemInfo::isDraft>},
                                     {"received", Into<&ItemInfo::received>},
                                     {"sent", Into<&ItemInfo::sent>},
                                     {"created", Into<&ItemInfo::created>},
                                     {"starts", Into<&ItemInfo::starts>},
                                     {"ends", Into<&ItemInfo::ends>},
                                     {"is_series", Into<&ItemInfo::isSeries>},
                                     {"who", Into<&ItemInfo::who>},
                                     {"size", Into<&ItemInfo::size>},
                                     {"version", Into<&ItemInfo::version>},
                                     {"mail_has_files", Into<&ItemInfo::mailHasFiles>}};
  columns.insert(columns.end(), more);
  return RowShape<ItemInfo>("items", columns);
}

constexpr ItemColumn kDetails = {
    "details", [](const platform::SqliteStatement& row, int column, ItemInfo& item) {
      ReadDetails(row.Text(column), item);
    }};
constexpr ItemColumn kAttachmentCount = {"(SELECT count(*) FROM attachments WHERE item=items.id)",
                                         Into<&ItemInfo::attachmentCount>};

const RowShape<ItemInfo> kRows = ShapeOf({});
const RowShape<ItemInfo> kWithoutBody = ShapeOf({kDetails, kAttachmentCount});
const RowShape<ItemInfo> kItems =
    ShapeOf({kDetails, kAttachmentCount, {"body", Into<&ItemInfo::body>}});

const RowShape<ItemInfo>& ShapeFor(Store::Load load) {
  switch (load) {
    case Store::Load::kWithoutDetails:
      return kRows;
    case Store::Load::kWithoutBody:
      return kWithoutBody;
    case Store::Load::kWhole:
      break;
  }
  return kItems;
}

const RowShape<AttachmentInfo> kAttachments(
    "attachments", {{"id", Into<&AttachmentInfo::id>},
                    {"item", Into<&AttachmentInfo::item>},
                    {"name", Into<&AttachmentInfo::name>},
                    {"content_type", Into<&AttachmentInfo::contentType>},
                    {"content_id", Into<&AttachmentInfo::contentId>},
                    {"content_location", Into<&AttachmentInfo::contentLocation>},
                    {"is_inline", Into<&AttachmentInfo::isInline>},
                    {"is_contact_photo", Into<&AttachmentInfo::isContactPhoto>},
                    {"is_item", Into<&AttachmentInfo::isItem>},
                    {"size", Into<&AttachmentInfo::size>},
                    {"created", Into<&AttachmentInfo::created>}});

}  // namespace

std::int64_t Store::Implementation::InsertItem(const NewItem& item) {
  const ItemInfo& info = item.info;
  Run("INSERT INTO items(folder,element,item_class,subject,is_read,is_draft,received,sent,created,"
      "starts,ends,is_series,who,size,version,details,mail_has_files,body)"
      " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,nullif(?,-1),?)",
      info.folder, info.element, info.itemClass, info.subject, info.isRead, info.isDraft,
      info.received, info.sent, info.created, info.starts, info.ends, info.isSeries, info.who,
      info.size, info.version, WriteDetails(info), item.hasMime ? -1 : 0, info.body);
  const std::int64_t row = LastRow();
  InsertTexts(row, info);
  if (item.hasMime) {
    Run("INSERT INTO mime(item,charset,bytes) VALUES(?,?,?)", row, item.mimeCharset,
        BlobView{item.mime});
  }
  return row;
}

void Store::Implementation::InsertTexts(std::int64_t row, const ItemInfo& item) {
  const auto insert = [&](std::string_view key, std::string_view text) {
    if (text.empty() || text.size() > kLongestText) return;
    Run("INSERT OR IGNORE INTO item_texts(item,key,text) VALUES(?,?,?)", row, key, text);
  };
  for (const ExtendedProperty& property : item.properties) {
    if (property.type == "String" && !property.values.empty()) {
      insert(property.key, property.values.front());
    }
  }
  insert(kMessageIdKey, item.messageId);
}

void Store::Implementation::InsertAttachment(std::int64_t item, NewAttachment& attachment) {
  AttachmentInfo& info = attachment.info;
  info.item = item;
  info.size = static_cast<std::int64_t>(attachment.content.size());
  info.created = UtcNow();
  Run("INSERT INTO attachments(item,name,content_type,content_id,content_location,is_inline,"
      "is_contact_photo,is_item,size,created) VALUES(?,?,?,?,?,?,?,?,?,?)",
      item, info.name, info.contentType, info.contentId, info.contentLocation, info.isInline,
      info.isContactPhoto, info.isItem, info.size, info.created);
  info.id = LastRow();
  Run("INSERT INTO attachment_bytes(attachment,bytes) VALUES(?,?)", info.id,
      BlobView{attachment.content});
}

void Store::CreateItem(NewItem& item) {
  item.info.created = UtcNow();
  item.info.size = SizeOf(item);
  const std::lock_guard lock(m_implementation->m_mutex);
  Implementation::Transaction transaction(*m_implementation);
  const std::int64_t row = m_implementation->InsertItem(item);
  for (NewAttachment& attachment : item.attachments) {
    m_implementation->InsertAttachment(row, attachment);
  }
  transaction.Commit();
  item.info.id = row;
  item.info.attachmentCount = static_cast<std::int64_t>(item.attachments.size());
}

std::vector<std::int64_t> Store::Implementation::Rows(std::int64_t folder, std::int64_t offset,
                                                      std::int64_t limit) {
  const auto end = m_pageEnds.find(folder);
  std::vector<std::int64_t> rows;
  if (end != m_pageEnds.end() && end->second.place == offset) {
    rows = Numbers("SELECT id FROM items WHERE folder=? AND id>? ORDER BY id LIMIT ?", folder,
                   end->second.row, limit);
  } else if (const std::int64_t total = TotalOf(folder); limit > 0 && offset > total / 2) {
    // From the end, where the newest are: what costs is to count the way to a place.
    const std::int64_t count = std::clamp<std::int64_t>(total - offset, 0, limit);
    rows = Numbers("SELECT id FROM items WHERE folder=? ORDER BY id DESC LIMIT ? OFFSET ?", folder,
                   count, total - offset - count);
    std::ranges::reverse(rows);
  } else {
    rows = Numbers("SELECT id FROM items WHERE folder=? ORDER BY id LIMIT ? OFFSET ?", folder,
                   limit, offset);
  }
  if (m_writes && !rows.empty()) {
    m_pageEnds[folder] = {offset + static_cast<std::int64_t>(rows.size()), rows.back()};
  }
  return rows;
}

std::optional<ItemInfo> Store::Item(std::int64_t id, Load load) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->One(ShapeFor(load), "WHERE id=?", id);
}

std::vector<std::int64_t> Store::Rows(std::int64_t folder, std::int64_t offset,
                                      std::int64_t limit) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->Rows(folder, offset, limit);
}

std::vector<ItemInfo> Store::Items(std::int64_t folder, std::int64_t offset, std::int64_t limit,
                                   Load load) {
  const std::lock_guard lock(m_implementation->m_mutex);
  std::vector<ItemInfo> items;
  for (const std::int64_t row : m_implementation->Rows(folder, offset, limit)) {
    auto item = m_implementation->One(ShapeFor(load), "WHERE id=?", row);
    if (item) items.push_back(std::move(*item));  // a reader beside the server may miss one
  }
  return items;
}

void Store::ForEachItem(std::int64_t folder, Load load,
                        const std::function<void(const ItemInfo&)>& use) {
  const RowShape<ItemInfo>& shape = ShapeFor(load);
  const std::lock_guard lock(m_implementation->m_mutex);
  auto query = m_implementation->Query(shape.Select() + "WHERE folder=? ORDER BY id", folder);
  while (query->Step()) use(shape.Read(*query));
}

std::vector<ItemInfo> Store::ItemsWithText(std::int64_t folder, std::string_view key,
                                           std::string_view text) {
  const std::lock_guard lock(m_implementation->m_mutex);
  // The + keeps SQLite from walking the folder in place of the index.
  return m_implementation->All(kWithoutBody,
                               "WHERE id IN (SELECT item FROM item_texts WHERE key=? AND text=?) "
                               "AND +folder=? ORDER BY id",
                               key, text, folder);
}

std::vector<ItemInfo> Store::ItemsBetween(std::int64_t folder, std::string_view from,
                                          std::string_view to, std::int64_t limit) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->All(
      kWithoutBody,
      "WHERE folder=? AND starts<>'' AND starts>=? AND starts<? ORDER BY starts,id LIMIT ?", folder,
      from, to, limit);
}

std::vector<ItemInfo> Store::SeriesBefore(std::int64_t folder, std::string_view to,
                                          std::int64_t limit) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->All(
      kWithoutBody,
      "WHERE folder=? AND is_series AND starts<? ORDER BY starts DESC,id DESC LIMIT ?", folder, to,
      limit);
}

Store::Span Store::StartsIn(std::int64_t folder) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto query = m_implementation->Query(
      "SELECT min(starts),max(starts) FROM items WHERE folder=? AND starts<>''", folder);
  if (!query->Step()) return {};
  return {std::string(query->Text(0)), std::string(query->Text(1))};
}

Store::Found Store::ItemsLike(std::int64_t folder, std::string_view text, std::int64_t offset,
                              std::int64_t limit) {
  std::string pattern = "%";
  for (const char c : text) {
    if (c == '%' || c == '_' || c == '\\') pattern += '\\';
    pattern += c;
  }
  pattern += '%';
  constexpr char kFits[] =
      "WHERE folder=? AND (subject LIKE ? ESCAPE '\\' OR who LIKE ? ESCAPE '\\')";
  const std::lock_guard lock(m_implementation->m_mutex);
  Found found;
  found.total =
      m_implementation
          ->Number(std::string("SELECT count(*) FROM items ") + kFits, folder, pattern, pattern)
          .value_or(0);
  found.items =
      m_implementation->All(kWithoutBody, std::string(kFits) + " ORDER BY id DESC LIMIT ? OFFSET ?",
                            folder, pattern, pattern, limit, offset);
  return found;
}

Store::Neighbours Store::NeighboursOf(const ItemInfo& item) {
  const std::lock_guard lock(m_implementation->m_mutex);
  const auto find = [&](const std::string& sql) {
    return m_implementation->Number(sql, item.folder, item.id).value_or(0);
  };
  return {find("SELECT id FROM items WHERE folder=? AND id<? ORDER BY id DESC LIMIT 1"),
          find("SELECT id FROM items WHERE folder=? AND id>? ORDER BY id LIMIT 1")};
}

bool Store::WithMime(std::int64_t item,
                     const std::function<void(std::string_view, std::string_view)>& use) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto find = m_implementation->Query("SELECT charset,bytes FROM mime WHERE item=?", item);
  if (!find->Step()) return false;
  use(find->Text(0), find->Blob(1));
  return true;
}

void Store::SetMailHasFiles(const std::vector<std::pair<std::int64_t, bool>>& items) {
  if (items.empty() || !m_implementation->m_writes) return;  // a reader may look again
  const std::lock_guard lock(m_implementation->m_mutex);
  Implementation::Transaction transaction(*m_implementation);
  for (const auto& [id, has] : items) {
    m_implementation->Run("UPDATE items SET mail_has_files=? WHERE id=?", has, id);
  }
  transaction.Commit();
}

bool Store::UpdateItem(ItemInfo& item, std::span<NewAttachment> added) {
  const std::int64_t size = item.size + BytesOf(added);
  const std::lock_guard lock(m_implementation->m_mutex);
  Implementation::Transaction transaction(*m_implementation);
  m_implementation->Run(
      "UPDATE items SET item_class=?,subject=?,is_read=?,is_draft=?,received=?,sent=?,starts=?,"
      "ends=?,is_series=?,who=?,size=?,details=?,body=?,version=version+1"
      " WHERE id=? AND version=?",
      item.itemClass, item.subject, item.isRead, item.isDraft, item.received, item.sent,
      item.starts, item.ends, item.isSeries, item.who, size, WriteDetails(item), item.body, item.id,
      item.version);
  if (!m_implementation->Changed()) return false;
  m_implementation->Run("DELETE FROM item_texts WHERE item=?", item.id);
  m_implementation->InsertTexts(item.id, item);
  for (NewAttachment& attachment : added) m_implementation->InsertAttachment(item.id, attachment);
  transaction.Commit();
  item.size = size;
  item.attachmentCount += static_cast<std::int64_t>(added.size());
  ++item.version;
  return true;
}

bool Store::DeleteItem(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  m_implementation->m_pageEnds.clear();
  m_implementation->Run("DELETE FROM items WHERE id=?", id);
  return m_implementation->Changed();
}

bool Store::MoveItem(std::int64_t id, std::int64_t folder) {
  const std::lock_guard lock(m_implementation->m_mutex);
  m_implementation->m_pageEnds.clear();
  m_implementation->Run("UPDATE items SET folder=?,version=version+1 WHERE id=?", folder, id);
  return m_implementation->Changed();
}

std::vector<AttachmentInfo> Store::Attachments(std::int64_t item) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->All(kAttachments, "WHERE item=? ORDER BY id", item);
}

std::optional<AttachmentInfo> Store::Attachment(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->One(kAttachments, "WHERE id=?", id);
}

bool Store::WithAttachment(std::int64_t id, const std::function<void(std::string_view)>& use) {
  const std::lock_guard lock(m_implementation->m_mutex);
  auto find = m_implementation->Query("SELECT bytes FROM attachment_bytes WHERE attachment=?", id);
  if (!find->Step()) return false;
  use(find->Blob(0));
  return true;
}

std::optional<std::int64_t> Store::AddAttachment(std::int64_t item, NewAttachment& attachment) {
  const std::lock_guard lock(m_implementation->m_mutex);
  Implementation::Transaction transaction(*m_implementation);
  m_implementation->Run("UPDATE items SET version=version+1,size=size+? WHERE id=?",
                        static_cast<std::int64_t>(attachment.content.size()), item);
  if (!m_implementation->Changed()) return std::nullopt;
  m_implementation->InsertAttachment(item, attachment);
  const auto version = m_implementation->Number("SELECT version FROM items WHERE id=?", item);
  transaction.Commit();
  return version;
}

}  // namespace mailbox
