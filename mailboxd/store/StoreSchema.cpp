#include "mailboxd/store/StoreSchema.h"

#include <array>
#include <stdexcept>

namespace mailbox {

namespace {

// Row numbers are never used twice (AUTOINCREMENT): the id of a deleted item must not find another.
constexpr char kTables[] = R"sql(
CREATE TABLE mailboxes (
  id INTEGER PRIMARY KEY,
  address TEXT NOT NULL UNIQUE);
CREATE TABLE folders (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  mailbox INTEGER NOT NULL REFERENCES mailboxes(id),
  parent INTEGER REFERENCES folders(id),
  name TEXT NOT NULL,
  name_key TEXT NOT NULL,
  class TEXT NOT NULL,
  well_known TEXT,
  version INTEGER NOT NULL DEFAULT 1);
CREATE UNIQUE INDEX folder_names ON folders(parent, name_key);
CREATE UNIQUE INDEX folder_well_known ON folders(mailbox, well_known);
CREATE TABLE items (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  folder INTEGER NOT NULL REFERENCES folders(id),
  element TEXT NOT NULL,
  item_class TEXT NOT NULL,
  subject TEXT NOT NULL,
  is_read INTEGER NOT NULL,
  is_draft INTEGER NOT NULL,
  received TEXT NOT NULL,
  sent TEXT NOT NULL,
  created TEXT NOT NULL,
  size INTEGER NOT NULL,
  version INTEGER NOT NULL,
  details TEXT NOT NULL);
CREATE INDEX items_by_folder ON items(folder, is_read);
CREATE TABLE mime (
  item INTEGER PRIMARY KEY REFERENCES items(id) ON DELETE CASCADE,
  charset TEXT NOT NULL,
  bytes BLOB NOT NULL);
CREATE TABLE attachments (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  item INTEGER NOT NULL REFERENCES items(id) ON DELETE CASCADE,
  name TEXT NOT NULL,
  content_type TEXT NOT NULL,
  content_id TEXT NOT NULL,
  content_location TEXT NOT NULL,
  is_inline INTEGER NOT NULL,
  is_contact_photo INTEGER NOT NULL,
  size INTEGER NOT NULL,
  created TEXT NOT NULL);
CREATE INDEX attachments_by_item ON attachments(item);
CREATE TABLE attachment_bytes (
  attachment INTEGER PRIMARY KEY REFERENCES attachments(id) ON DELETE CASCADE,
  bytes BLOB NOT NULL);
)sql";

// A folder's counts stand in its row, and its items are found in the order of their rows without a
// sort, so that a page costs the same in a folder of any size.
constexpr char kCounts[] = R"sql(
DROP INDEX items_by_folder;
CREATE INDEX items_in_folder ON items(folder);
ALTER TABLE folders ADD COLUMN total INTEGER NOT NULL DEFAULT 0;
ALTER TABLE folders ADD COLUMN unread INTEGER NOT NULL DEFAULT 0;
ALTER TABLE folders ADD COLUMN children INTEGER NOT NULL DEFAULT 0;
UPDATE folders SET (total, unread) =
  (SELECT count(*), ifnull(sum(is_read=0), 0) FROM items WHERE folder=folders.id),
  children=(SELECT count(*) FROM folders AS child WHERE child.parent=folders.id);
CREATE TRIGGER folder_added AFTER INSERT ON folders BEGIN
  UPDATE folders SET children=children+1 WHERE id=NEW.parent;
END;
CREATE TRIGGER item_added AFTER INSERT ON items BEGIN
  UPDATE folders SET total=total+1, unread=unread+(NEW.is_read=0) WHERE id=NEW.folder;
END;
CREATE TRIGGER item_removed AFTER DELETE ON items BEGIN
  UPDATE folders SET total=total-1, unread=unread-(OLD.is_read=0) WHERE id=OLD.folder;
END;
CREATE TRIGGER item_changed AFTER UPDATE OF folder, is_read ON items BEGIN
  UPDATE folders SET total=total-1, unread=unread-(OLD.is_read=0) WHERE id=OLD.folder;
  UPDATE folders SET total=total+1, unread=unread+(NEW.is_read=0) WHERE id=NEW.folder;
END;
)sql";

// Whether there are files in the mail of an item; NULL until somebody asks, for looking costs what
// the mail's size costs.
constexpr char kMailFiles[] = R"sql(
ALTER TABLE items ADD COLUMN mail_has_files INTEGER;
UPDATE items SET mail_has_files=0 WHERE id NOT IN (SELECT item FROM mime);
)sql";

// Texts by which items are looked up: message ids, and properties that are one String. They stand
// in the details, too; this is the index of them.
constexpr char kTexts[] = R"sql(
CREATE TABLE item_texts (
  item INTEGER NOT NULL REFERENCES items(id) ON DELETE CASCADE,
  key TEXT NOT NULL,
  text TEXT NOT NULL COLLATE NOCASE,
  PRIMARY KEY(item, key)) WITHOUT ROWID;
CREATE INDEX items_by_text ON item_texts(key, text);
INSERT INTO item_texts
  SELECT items.id, value->>0, value->>'$[2][0]'
  FROM items, json_each(iif(json_valid(details), details, '{}'), '$.properties')
  WHERE value->>1='String' AND length(CAST(value->>'$[2][0]' AS BLOB)) BETWEEN 1 AND 1000;
INSERT OR IGNORE INTO item_texts
  SELECT items.id, 'tag:0x1035', value
  FROM items, json_each(iif(json_valid(details), details, '{}'), '$.messageId')
  WHERE length(CAST(value AS BLOB)) BETWEEN 1 AND 1000;
)sql";

// What lists show and are searched by, and a calendar's months by.
constexpr char kLists[] = R"sql(
ALTER TABLE items ADD COLUMN starts TEXT NOT NULL DEFAULT '';
ALTER TABLE items ADD COLUMN ends TEXT NOT NULL DEFAULT '';
ALTER TABLE items ADD COLUMN who TEXT NOT NULL DEFAULT '';
UPDATE items SET who=trim(ifnull(details->>'$.from[0]', '') || ' ' ||
  ifnull(details->>'$.from[1]', '')) WHERE json_valid(details);
ALTER TABLE attachments ADD COLUMN is_item INTEGER NOT NULL DEFAULT 0;
CREATE INDEX items_by_start ON items(folder, starts) WHERE starts<>'';
)sql";

// Properties of sets that have a name besides their GUID are kept under the name.
constexpr char kSetNames[] = R"sql(
CREATE TEMP TABLE set_names(by_guid, by_name);
INSERT INTO set_names VALUES
  ('set:6ed8da90-450b-101b-98da-00aa003f1305:', 'named:Meeting:'),
  ('set:00062002-0000-0000-c000-000000000046:', 'named:Appointment:'),
  ('set:00062008-0000-0000-c000-000000000046:', 'named:Common:'),
  ('set:00020329-0000-0000-c000-000000000046:', 'named:PublicStrings:'),
  ('set:00062004-0000-0000-c000-000000000046:', 'named:Address:'),
  ('set:00062003-0000-0000-c000-000000000046:', 'named:Task:');
UPDATE OR IGNORE item_texts SET key=by_name || substr(key, length(by_guid) + 1)
  FROM set_names WHERE substr(key, 1, length(by_guid))=by_guid;
UPDATE items SET details=(
    WITH RECURSIVE renamed(count, text) AS (
      SELECT 0, items.details UNION ALL
      SELECT count+1, replace(text, '["' || by_guid, '["' || by_name)
      FROM renamed JOIN set_names ON set_names.rowid=count+1)
    SELECT text FROM renamed ORDER BY count DESC LIMIT 1)
  WHERE instr(details, '["set:');
DROP TABLE set_names;
)sql";

// Series stand in months in which they do not begin.
constexpr char kSeries[] = R"sql(
ALTER TABLE items ADD COLUMN is_series INTEGER NOT NULL DEFAULT 0;
UPDATE items SET is_series=1 WHERE element='CalendarItem' AND EXISTS (
  SELECT 1 FROM json_each(iif(json_valid(details), details, '{}'), '$.fields')
  WHERE value->>0='Recurrence');
CREATE INDEX series_by_start ON items(folder, starts) WHERE is_series;
)sql";

// Which store this is, wherever its file lies.
constexpr char kIdentity[] = R"sql(
CREATE TABLE identity(id TEXT NOT NULL);
INSERT INTO identity VALUES(lower(hex(randomblob(16))));
)sql";

// The last column: what stands in front of it is read without the pages of a large body.
constexpr char kBodies[] = R"sql(
ALTER TABLE items ADD COLUMN body TEXT NOT NULL DEFAULT '';
UPDATE items SET body=details->>'$.body', details=json_remove(details, '$.body')
  WHERE json_valid(details) AND json_type(details, '$.body')='text';
)sql";

constexpr std::array<const char*, 9> kSteps = {kTables,   kCounts, kMailFiles, kTexts, kLists,
                                               kSetNames, kSeries, kIdentity,  kBodies};

constexpr std::array<WellKnownFolder, 21> kFolders = {{
    {"root", "", "root", ""},
    {"msgfolderroot", "root", "Top of Information Store", "IPF.Note"},
    {"inbox", "msgfolderroot", "Inbox", "IPF.Note"},
    {"drafts", "msgfolderroot", "Drafts", "IPF.Note"},
    {"sentitems", "msgfolderroot", "Sent Items", "IPF.Note"},
    {"deleteditems", "msgfolderroot", "Deleted Items", "IPF.Note"},
    {"junkemail", "msgfolderroot", "Junk Email", "IPF.Note"},
    {"outbox", "msgfolderroot", "Outbox", "IPF.Note"},
    {"calendar", "msgfolderroot", "Calendar", "IPF.Appointment"},
    {"contacts", "msgfolderroot", "Contacts", "IPF.Contact"},
    {"tasks", "msgfolderroot", "Tasks", "IPF.Task"},
    {"notes", "msgfolderroot", "Notes", "IPF.StickyNote"},
    {"journal", "msgfolderroot", "Journal", "IPF.Journal"},
    {"archive", "msgfolderroot", "Archive", "IPF.Note"},
    {"searchfolders", "root", "Finder", "IPF.Note"},
    {"recoverableitemsroot", "root", "Recoverable Items", "IPF.Note"},
    {"recoverableitemsdeletions", "recoverableitemsroot", "Deletions", "IPF.Note"},
    {"archiveroot", "", "archiveroot", ""},
    {"archivemsgfolderroot", "archiveroot", "Top of Information Store", "IPF.Note"},
    {"archiveinbox", "archivemsgfolderroot", "Inbox", "IPF.Note"},
    {"archivedeleteditems", "archivemsgfolderroot", "Deleted Items", "IPF.Note"},
}};

}  // namespace

void RequireNotOthers(platform::SqliteDatabase& database, const std::string& path) {
  auto tables = database.Prepare(
      "SELECT count(*) FROM sqlite_master, pragma_user_version WHERE user_version=0");
  if (tables.Step() && tables.Int(0) == 0) return;
  throw std::runtime_error(path + " is the database of another program");
}

std::string IdentityIn(platform::SqliteDatabase& database) {
  if (!database.Prepare("SELECT 1 FROM sqlite_master WHERE name='identity'").Step()) return {};
  auto identity = database.Prepare("SELECT id FROM identity");
  return identity.Step() ? std::string(identity.Text(0)) : std::string();
}

std::span<const char* const> SchemaSteps() { return kSteps; }

std::span<const WellKnownFolder> WellKnownFolders() { return kFolders; }

}  // namespace mailbox
