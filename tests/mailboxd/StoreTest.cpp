#include "mailboxd/Store.h"

#include "mailboxd/DateTime.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

TEST(Store, AReaderBesideTheServerSeesWhatItHolds) {
  const TempFolder folder;
  const std::string path = folder.Path() + "/mailbox.db";
  mailbox::Store store(path);
  const std::int64_t box = store.Mailbox(" User@Example.COM ");
  EXPECT_EQ(store.FindMailbox("user@example.com"), box);
  const auto inbox = store.Folder(*store.FindWellKnown(box, "inbox"));
  const auto sub = store.CreateFolder(*inbox, "a/b", "IPF.Note");
  mailbox::NewItem item;
  item.info.folder = sub->id;
  item.info.subject = "hello";
  item.info.to = {{"Bob", "bob@example.com", "SMTP"}};
  item.hasMime = true;
  item.mime = std::string("a\0b", 3);
  item.attachments.resize(1);
  item.attachments[0].content = "bytes";
  store.CreateItem(item);

  mailbox::Store reader(path, mailbox::Store::Mode::kReadOnly);
  ASSERT_EQ(reader.Mailboxes().size(), 1u);
  EXPECT_EQ(reader.FolderPath(sub->id), "Inbox/a//b");
  std::int64_t total = 0;
  const auto items = reader.Items(sub->id, 0, -1, &total);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(total, 1);
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
}

TEST(Store, IdsAreNeverUsedTwice) {
  const TempFolder folder;
  mailbox::Store store(folder.Path() + "/mailbox.db");
  mailbox::NewItem item;
  item.info.folder = *store.FindWellKnown(store.Mailbox("a"), "inbox");
  store.CreateItem(item);
  const std::int64_t first = item.info.id;
  EXPECT_TRUE(store.DeleteItem(first));
  store.CreateItem(item);
  EXPECT_NE(item.info.id, first);
}

TEST(Ids, ReadWhatWasMadeAndNothingElse) {
  mailbox::IdKind kind{};
  for (const std::int64_t row : {std::int64_t{1}, std::int64_t{0xFFFFFFFFFF}}) {
    const std::string id = mailbox::MakeId(mailbox::IdKind::kItem, row);
    EXPECT_EQ(mailbox::ReadId(id, &kind), row);
    EXPECT_EQ(kind, mailbox::IdKind::kItem);
    for (size_t i = 0; i < id.size(); ++i) {
      std::string changed = id;
      changed[i] = changed[i] == 'A' ? 'B' : 'A';
      EXPECT_EQ(mailbox::ReadId(changed, &kind), std::nullopt) << changed;
    }
  }
  for (const char* text : {"", "-NO-", "AAMk", "AAMkAAAAAAAAAAAAAAAA", "AAMkFolderInbox="}) {
    EXPECT_EQ(mailbox::ReadId(text, &kind), std::nullopt) << text;
  }
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
