#include "mailboxd/store/Store.h"

#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/StoreSchema.h"
#include "platform/Sqlite.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

using Store = StoredMailbox;

TEST_F(Store, AReaderBesideTheServerSeesWhatItHolds) {
  const mailbox::FolderInfo inbox = Inbox(" User@Example.COM ");
  EXPECT_EQ(m_store.FindMailbox("user@example.com"), inbox.mailbox);
  const auto sub = m_store.CreateFolder(inbox, "a/b", "IPF.Note");
  mailbox::NewItem item;
  item.info.folder = sub->id;
  item.info.subject = "hello";
  item.info.to = {{"Bob", "bob@example.com", "SMTP"}};
  item.hasMime = true;
  item.mime = std::string("a\0b", 3);
  item.attachments.resize(1);
  item.attachments[0].content = "bytes";
  m_store.CreateItem(item);

  mailbox::Store reader(m_path, mailbox::Store::Mode::kReadOnly);
  ASSERT_EQ(reader.Mailboxes().size(), 1u);
  EXPECT_EQ(reader.FolderPath(sub->id), "Inbox/a//b");
  const auto items = reader.Items(sub->id, 0, -1);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(reader.Folder(sub->id)->total, 1);
  EXPECT_EQ(items[0].subject, "hello");
  EXPECT_EQ(items[0].to.at(0).address, "bob@example.com");
  EXPECT_EQ(items[0].size, 13);
  std::string mime;
  EXPECT_TRUE(reader.WithMime(items[0].id, [&](auto, std::string_view bytes) { mime = bytes; }));
  EXPECT_EQ(mime, item.mime);
  std::string attached;
  EXPECT_TRUE(reader.WithAttachment(reader.Attachments(items[0].id).at(0).id,
                                    [&](std::string_view bytes) { attached = bytes; }));
  EXPECT_EQ(attached, "bytes");
  EXPECT_THROW(reader.Mailbox("new@example.com"), std::exception);
  EXPECT_NO_THROW(reader.SetMailHasFiles({{items[0].id, true}}));  // it keeps nothing
}

std::int64_t AddItem(mailbox::Store& store, std::int64_t folder, bool read) {
  mailbox::NewItem item;
  item.info.folder = folder;
  item.info.isRead = read;
  store.CreateItem(item);
  return item.info.id;
}

// All of a folder, page by page; its counts are held against it.
std::vector<std::int64_t> Paged(mailbox::Store& store, std::int64_t folder, std::int64_t page) {
  std::vector<std::int64_t> rows;
  std::int64_t unread = 0;
  for (;;) {
    const auto items = store.Items(folder, static_cast<std::int64_t>(rows.size()), page);
    for (const mailbox::ItemInfo& item : items) {
      rows.push_back(item.id);
      unread += item.isRead ? 0 : 1;
    }
    if (items.empty()) break;
  }
  EXPECT_EQ(store.Folder(folder)->total, static_cast<std::int64_t>(rows.size()));
  EXPECT_EQ(store.Folder(folder)->unread, unread);
  return rows;
}

TEST_F(Store, PagesAndCountsFollowWhatIsAddedMovedAndDeleted) {
  const std::int64_t inbox = Inbox().id;
  const std::int64_t bin = *m_store.FindWellKnown(Inbox().mailbox, "deleteditems");
  std::vector<std::int64_t> rows;
  std::vector<std::int64_t> binned;
  for (int i = 0; i < 9; ++i) {
    rows.push_back(AddItem(m_store, inbox, i % 2 == 0));
    binned.push_back(AddItem(m_store, bin, false));
  }
  EXPECT_EQ(Paged(m_store, inbox, 4), rows);
  rows.push_back(AddItem(m_store, inbox, false));  // behind the end of the last page
  EXPECT_EQ(m_store.Items(inbox, 9, 4).at(0).id, rows.back());
  EXPECT_EQ(m_store.Items(inbox, 0, 4).size(), 4u);
  m_store.DeleteItem(rows[1]);  // in front of the end of the page before
  rows.erase(rows.begin() + 1);
  EXPECT_EQ(m_store.Items(inbox, 4, 1).at(0).id, rows[4]);
  m_store.MoveItem(binned[0], inbox);
  rows.insert(rows.begin() + 1, binned[0]);
  EXPECT_EQ(m_store.Items(inbox, 5, 1).at(0).id, rows[5]);
  EXPECT_EQ(Paged(m_store, inbox, 3), rows);
  EXPECT_EQ(Paged(m_store, bin, 3).size(), 8u);
}

TEST(StoreLayout, AnOlderLayoutIsBroughtUpToDateByItsServer) {
  const TempFolder folder;
  const std::string path = folder.File("mailbox.db");
  {
    platform::SqliteDatabase old(path);
    old.Execute(mailbox::SchemaSteps()[0]);
    old.Execute(
        "PRAGMA user_version=1; INSERT INTO mailboxes VALUES(1,'a');"
        "INSERT INTO folders VALUES(7,1,NULL,'Inbox','INBOX','IPF.Note','inbox',1),"
        "(8,1,7,'Sent','SENT','IPF.Note','sentitems',1);"
        "INSERT INTO items VALUES(3,7,'Message','IPM.Note','',0,0,'','','',0,1,''),"
        "(5,7,'Message','IPM.Note','',1,0,'','','',0,1,'{\"messageId\":\"<a@b>\",\"properties\":"
        "[[\"tag:0xe07\",\"Integer\",[\"1\"]],[\"set:00020329-0000-0000-c000-000000000046:name:k\","
        "\"String\",[\"v\"]],"
        "[\"set:00062004-0000-0000-c000-000000000046:id:1\",\"String\",[\"w\"]]]}"
        "'),(6,8,'CalendarItem','IPM.Appointment','',1,0,'','','',0,1,"
        "'{\"body\":\"<p>\\u00e9 it''s</p>\",\"fields\":[[\"Recurrence\",\"<t:Recurrence/>\"]]}')");
  }
  EXPECT_THROW(mailbox::Store(path, mailbox::Store::Mode::kReadOnly), std::runtime_error);
  mailbox::Store store(path);
  EXPECT_EQ(Paged(store, 7, 10), (std::vector<std::int64_t>{3, 5}));
  EXPECT_EQ(Paged(store, 8, 10), std::vector<std::int64_t>{6});
  EXPECT_EQ(store.SeriesBefore(8, "2024", 10).size(), 1u);
  EXPECT_EQ(store.Item(6)->body, "<p>\u00e9 it's</p>");
  EXPECT_TRUE(store.SeriesBefore(7, "2024", 10).empty());
  EXPECT_EQ(store.Item(3)->mailHasFiles, false);  // an item without a mail
  EXPECT_EQ(store.ItemsWithText(7, mailbox::kMessageIdKey, "<a@b>").size(), 1u);
  EXPECT_EQ(store.ItemsWithText(7, "named:PublicStrings:name:k", "v").size(), 1u);
  EXPECT_TRUE(store.ItemsWithText(7, "tag:0xe07", "1").empty());
  EXPECT_EQ(store.Item(5)->properties[1].key, "named:PublicStrings:name:k");
  EXPECT_EQ(store.Item(5)->properties[2].key, "named:Address:id:1");
  ASSERT_TRUE(store.CreateFolder(*store.Folder(7), "New", "IPF.Note"));
  EXPECT_EQ(store.Folder(7)->children, 2);
  EXPECT_NO_THROW(mailbox::Store(path, mailbox::Store::Mode::kReadOnly));
}

TEST_F(Store, TextsFindWhatAnItemHasNowInItsFolder) {
  const std::int64_t inbox = Inbox().id;
  const std::int64_t bin = *m_store.FindWellKnown(Inbox().mailbox, "deleteditems");
  const std::string longest(mailbox::Store::kLongestText, 'x');
  mailbox::NewItem item;
  item.info.folder = inbox;
  item.info.messageId = "<One@example.com>";
  item.info.properties = {{"a", "String", {longest}}, {"b", "String", {longest + "x"}}};
  m_store.CreateItem(item);
  const auto count = [&](std::int64_t folder, std::string_view key, std::string_view text) {
    return m_store.ItemsWithText(folder, key, text).size();
  };
  EXPECT_EQ(count(inbox, mailbox::kMessageIdKey, "<one@EXAMPLE.com>"), 1u);
  EXPECT_EQ(count(bin, mailbox::kMessageIdKey, "<One@example.com>"), 0u);
  EXPECT_EQ(count(inbox, "a", longest), 1u);
  EXPECT_EQ(count(inbox, "b", longest + "x"), 0u);
  mailbox::ItemInfo stale = item.info;
  item.info.messageId = "<two@example.com>";
  item.info.properties.clear();
  ASSERT_TRUE(m_store.UpdateItem(item.info));
  EXPECT_FALSE(m_store.UpdateItem(stale));
  EXPECT_EQ(count(inbox, mailbox::kMessageIdKey, "<one@example.com>"), 0u);
  EXPECT_EQ(count(inbox, "a", longest), 0u);
  m_store.MoveItem(item.info.id, bin);
  EXPECT_EQ(count(bin, mailbox::kMessageIdKey, "<two@example.com>"), 1u);
  m_store.DeleteItem(item.info.id);
  EXPECT_EQ(count(bin, mailbox::kMessageIdKey, "<two@example.com>"), 0u);
}

TEST_F(Store, IdsAreNeverUsedTwice) {
  const std::int64_t first = AddItem(m_store, Inbox().id, false);
  EXPECT_TRUE(m_store.DeleteItem(first));
  EXPECT_NE(AddItem(m_store, Inbox().id, false), first);
}

// The id with one character at a time made another.
std::vector<std::string> Damaged(const std::string& id) {
  std::vector<std::string> texts(id.size(), id);
  for (size_t i = 0; i < id.size(); ++i) texts[i][i] = id[i] == 'A' ? 'B' : 'A';
  return texts;
}

TEST(Ids, ReadWhatWasMadeAndNothingElse) {
  mailbox::IdKind kind{};
  for (const std::int64_t row : {std::int64_t{1}, std::int64_t{0xFFFFFFFFFF}}) {
    const std::string id = mailbox::MakeId(mailbox::IdKind::kItem, row);
    EXPECT_EQ(mailbox::ReadId(id, &kind), row);
    EXPECT_EQ(kind, mailbox::IdKind::kItem);
    for (const std::string& changed : Damaged(id)) {
      EXPECT_EQ(mailbox::ReadId(changed, &kind), std::nullopt) << changed;
    }
  }
  for (const char* text : {"", "-NO-", "AAMk", "AAMkAAAAAAAAAAAAAAAA", "AAMkFolderInbox="}) {
    EXPECT_EQ(mailbox::ReadId(text, &kind), std::nullopt) << text;
  }
}

TEST(Ids, OfPartsAreNoIdsOfRows) {
  mailbox::IdKind kind{};
  const std::vector<size_t> deep(mailbox::PartId::kDeepest, 70000);
  EXPECT_EQ(mailbox::ReadPartId(mailbox::MakePartId({1, deep}))->path, deep);
  const std::string id = mailbox::MakePartId({0xFFFFFFFFFF, {70000, 3}});
  const auto part = mailbox::ReadPartId(id);
  ASSERT_TRUE(part);
  EXPECT_EQ(part->item, 0xFFFFFFFFFF);
  EXPECT_EQ(part->path, (std::vector<size_t>{70000, 3}));
  EXPECT_EQ(mailbox::ReadId(id, &kind), std::nullopt);
  EXPECT_FALSE(mailbox::ReadPartId(mailbox::MakeId(mailbox::IdKind::kAttachment, 1)));
  for (const std::string& changed : Damaged(id)) {
    EXPECT_FALSE(mailbox::ReadPartId(changed)) << changed;
  }
  for (size_t i = 0; i < id.size(); ++i) EXPECT_FALSE(mailbox::ReadPartId(id.substr(0, i))) << i;
}

TEST(DateTime, IsReadIntoUtc) {
  using mailbox::ReadDateTime;
  EXPECT_EQ(ReadDateTime("2024-03-05T09:15:00.000+00:00"), "2024-03-05T09:15:00Z");
  EXPECT_EQ(ReadDateTime("2024-01-01T00:30:00+01:00"), "2023-12-31T23:30:00Z");
  EXPECT_EQ(ReadDateTime("2024-02-29T23:59:59-05:30"), "2024-03-01T05:29:59Z");
  EXPECT_EQ(ReadDateTime("2024-03-05T09:15:00"), "2024-03-05T09:15:00Z");
  for (const char* text :
       {"", "2024", "2024-03-05", "2023-02-29T00:00:00Z", "2024-03-05T24:00:00Z",
        "2024-03-05T09:15:00.Z", "2024-03-05T09:15:00+1:00", "2024-03-05T09:15:00Zx"}) {
    EXPECT_EQ(ReadDateTime(text), std::nullopt) << text;
  }
}

}  // namespace
