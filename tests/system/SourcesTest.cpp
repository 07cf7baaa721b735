#include <filesystem>
#include <map>

#include <gtest/gtest.h>

#include "platform/Sqlite.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// What sources know, and what of it stands in the mailbox.
namespace system_test {
namespace {

using test_support::TemporaryFolder;

struct Names {
  std::string inbox, sent, drafts, deleted;
};

// One whose folders are called so.
void MakeMailbox(const TemporaryFolder& folder, const Names& names) {
  std::filesystem::create_directories(folder.File("mailbox"));
  const std::string path = folder.File("mailbox/mailbox.db");
  { mailbox::Store(path).Mailbox("mailbox@local.example"); }
  platform::SqliteDatabase database(path, platform::SqliteDatabase::Open::kReadWrite);
  for (const auto& [id, name] : {std::pair{"inbox", names.inbox},
                                 {"sentitems", names.sent},
                                 {"drafts", names.drafts},
                                 {"deleteditems", names.deleted}}) {
    auto rename = database.Prepare("UPDATE folders SET name=?, name_key=? WHERE well_known=?");
    rename.Bind(1, name).Bind(2, name).Bind(3, std::string_view(id)).Run();
  }
}

// "FOLDER: " and letters: R read, A answered, F flagged, W forwarded, D draft; categories; when it
// came. By subject.
std::map<std::string, std::string> ArrivedState(const TemporaryFolder& folder) {
  std::map<std::string, std::string> found;
  for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
    std::string& text = found[item.info.subject];
    text = item.folder + ": " + (item.info.isRead ? "R" : "");
    if (item.Property("tag:0x1081") == "102") text += "A";
    if (item.Property("tag:0x1090") == "2") text += "F";
    if (item.Property("tag:0x1081") == "104") text += "W";
    if (item.info.isDraft) text += "D";
    for (const std::string& category : item.info.categories) text += "," + category;
    text += " " + item.info.received.substr(0, 10);
  }
  return found;
}

std::string Mail(const std::string& subject, const std::string& more = "") {
  return "Subject: " + subject + "\n" + more + "Date: Mon, 4 Mar 2019 08:12:00 +0000\n\ntext\n";
}

void WriteMaildir(const TemporaryFolder& folder) {
  const std::string received = "Received: by x; Tue, 5 Mar 2019 10:00:00 +0000\n";
  folder.Write("source/cur/1551780000.a:2,RSb", Mail("in", received));
  folder.Write("source/new/1551866400.b", Mail("new"));
  folder.Write("source/.Gesendet/cur/1551952800.c:2,FSa", Mail("sent"));
  folder.Write("source/.Entw&APw-rfe/cur/1551780000.d:2,DS", Mail("draft"));
  folder.Write("source/.Papierkorb.Alt/cur/1551780000.e:2,ST", Mail("gone"));
  folder.Write("source/.Papierkorb/cur/1551780000.f:2,S", Mail("bin"));
  folder.Write("source/dovecot-keywords", "0 $Forwarded\n1 Dringend\n");
  folder.Write("source/.Gesendet/dovecot-keywords", "0 $Forwarded\n");
  for (const char* name : {".Gesendet/new", ".Entw&APw-rfe/new", ".Papierkorb/new",
                           ".Papierkorb.Alt/new", ".Leer/new", ".Leer/cur"}) {
    std::filesystem::create_directories(folder.File(std::string("source/") + name));
  }
}

TEST(Sources, AMaildirArrivesInTheFoldersOfAMailboxOfAnyLanguage) {
  const Names rows[] = {{"Posteingang", "Gesendete Elemente", "Entwürfe", "Gelöschte Elemente"},
                        {"受信トレイ", "送信済みアイテム", "下書き", "削除済みアイテム"},
                        {"علبة الوارد", "العناصر المرسلة", "المسودات", "العناصر المحذوفة"}};
  for (const Names& names : rows) {
    const TemporaryFolder folder;
    MakeMailbox(folder, names);
    WriteMaildir(folder);
    EXPECT_EQ(SummaryOf(Migrate(folder))["deleted"], 1);
    const std::map<std::string, std::string> wanted = {
        {"in", names.inbox + ": RA,Dringend 2019-03-05"},
        {"new", names.inbox + ":  2019-03-06"},
        {"sent", names.sent + ": RFW 2019-03-07"},
        {"draft", names.drafts + ": RD 2019-03-05"},
        {"bin", names.deleted + ": R 2019-03-05"}};
    EXPECT_EQ(ArrivedState(folder), wanted) << names.inbox;
    mailbox::Store store(folder.File("mailbox/mailbox.db"), mailbox::Store::Mode::kReadOnly);
    int made = 0;
    for (const mailbox::FolderInfo& each : store.Folders(1)) made += each.wellKnown.empty();
    EXPECT_EQ(made, 2) << "Leer, and what was deleted in Papierkorb/Alt";
  }
}

// Without the safeguards nothing but the names is known, and none of the states.
TEST(Sources, AsItIsTheSameGoesBesideThem) {
  const TemporaryFolder folder;
  MakeMailbox(folder, {"Posteingang", "Gesendete Elemente", "Entwürfe", "Gelöschte Elemente"});
  WriteMaildir(folder);
  ASSERT_EQ(Migrate(folder, {"--as-is"}).status, 0);
  const std::map<std::string, std::string> wanted = {{"in", "Inbox: R 2019-03-04"},
                                                     {"new", "Inbox:  2019-03-04"},
                                                     {"sent", "Sent Items: R 2019-03-04"},
                                                     {"draft", "Drafts: R 2019-03-04"},
                                                     {"bin", "Deleted Items: R 2019-03-04"}};
  EXPECT_EQ(ArrivedState(folder), wanted);
}

}  // namespace
}  // namespace system_test
