#include <map>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/Sqlite.h"
#include "tests/client/WideText.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// Prepared appointments, tasks, contacts and lists, through the real programs.
namespace system_test {
namespace {

using client_test::Wide;
using test_support::TemporaryFolder;
using testing::HasSubstr;

void WriteItem(const TemporaryFolder& folder, const std::string& place, const std::string& type,
               const std::string& lines) {
  folder.Write("source/" + place + "/11comtextjj.t",
               Wide(type +
                    "\r\n2\nCreation Date : 2024-02-29 10:00:00\r\n\r\nFrom : a@example.com\r\n"
                    "To : b@example.com;c@example.com;\r\n\r\n\r\nSubject : " +
                    place + "\r\n" + lines));
}

std::map<std::string, int> ElementsByFolder(const TemporaryFolder& folder) {
  mailbox::Store store(folder.File("mailbox") + "/mailbox.db", mailbox::Store::Mode::kReadOnly);
  std::map<std::string, int> found;
  for (const mailbox::MailboxInfo& box : store.Mailboxes()) {
    for (const mailbox::FolderInfo& info : store.Folders(box.id)) {
      for (const mailbox::ItemInfo& item : store.Items(info.id, 0, 100)) {
        ++found[info.name + " " + item.element];
      }
    }
  }
  return found;
}

TEST(OtherItems, EachArrivesOnceInAFolderOfItsKind) {
  const std::string dates = "StartDate:2024-03-11 10:00:00\r\nEndDate:2024-03-11 11:00:00\r\n";
  const std::string contact = "\r\n\r\n\r\n\r\n<ITEM>Namn : Ann</ITEM>";
  for (const bool asIs : {false, true}) {
    const TemporaryFolder folder;
    WriteItem(folder, "Diary/1", "CALENDAR", "\r\n" + dates + "Room\r\n\r\nW,1;1;4;2024-03-11;;;");
    WriteItem(folder, "Diary/2", "CALENDAR", dates + "Room\r\n\r\n\r\n\r\nform B");
    WriteItem(folder, "To do/1", "TASK", "\r\nStartDate:2024-03-11\r\nDueDate:2024-03-12\r\n");
    WriteItem(folder, "To do/2", "TASK", "StartDate:2024-03-11\r\nDueDate:2024-03-12\r\n");
    WriteItem(folder, "People/1", "CONTACT", contact);
    WriteItem(folder, "People/2", "CONTACT", contact);  // alike, and both are sent
    WriteItem(folder, "People/3", "DIST_LIST",
              "<ITEM>Group :a@example.com</ITEM>\r\n<ITEM>ListName :Crew</ITEM>\r\n");
    WriteItem(folder, "Mixed/1", "EMAIL", "MessageID : <1@example.com>\r\n");
    WriteItem(folder, "Mixed/2", "CALENDAR", "\r\n" + dates);
    const std::vector<std::string> options =
        asIs ? std::vector<std::string>{"--as-is"} : std::vector<std::string>{};
    const Result result = Migrate(folder, options);
    EXPECT_EQ(SummaryOf(result)["sent"], 9) << result.err;
    EXPECT_EQ(ElementsByFolder(folder), (std::map<std::string, int>{{"Diary CalendarItem", 2},
                                                                    {"To do Task", 2},
                                                                    {"People Contact", 2},
                                                                    {"People DistributionList", 1},
                                                                    {"Mixed Message", 1},
                                                                    {"Mixed CalendarItem", 1}}));
    const nlohmann::json again = SummaryOf(Migrate(folder, options));
    EXPECT_EQ(again["sent"], 0);
    EXPECT_EQ(again["there_already"], 9);
    if (asIs) continue;  // which writes no keys to look for

    std::filesystem::remove(folder.File("run/journal.db"));
    std::filesystem::remove(folder.File("run/SQLLiteNew.db"));
    EXPECT_EQ(SummaryOf(Migrate(folder, {"--adopt"}))["there_already"], 9);
    EXPECT_EQ(ElementsByFolder(folder)["People Contact"], 2);

    // A mail that comes later moves nothing that has arrived.
    WriteItem(folder, "People/4", "EMAIL", "MessageID : <4@example.com>\r\n");
    EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 1);
    EXPECT_EQ(ElementsByFolder(folder)["People Contact"], 2);
  }
}

TEST(OtherItems, ADoubtFollowsItsItemToAnotherPlace) {
  const TemporaryFolder folder;
  folder.Write("source/1.vcf",
               "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nX-SHIRT:XL\r\nEND:VCARD\r\n");
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 1);
  // As a power cut behind the save leaves it.
  platform::SqliteDatabase(folder.File("run/journal.db"))
      .Execute(
          "INSERT INTO begun (folder, key, time) SELECT folder, key, datetime('now') FROM item;"
          "DELETE FROM item");
  std::filesystem::rename(folder.File("source/1.vcf"), folder.File("source/zoe.vcf"));
  const nlohmann::json summary = SummaryOf(Migrate(folder));
  EXPECT_EQ(summary["there_already"], 1);
  EXPECT_THAT(summary["remarks"].dump(), HasSubstr("left out: X-SHIRT XL; found in the target"));
  EXPECT_EQ(ElementsByFolder(folder)["Contacts Contact"], 1);
}

TEST(OtherItems, RichTextOfEveryKindArrivesWithItsPictures) {
  const TemporaryFolder folder;
  std::filesystem::copy(TARNY_SOURCE "/samples/diary", folder.File("source"),
                        std::filesystem::copy_options::recursive);
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 3);
  std::map<std::string, std::size_t> pictures;
  for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
    pictures[item.folder + " " + item.info.element] = item.attachments.size();
    for (const mailbox::AttachmentInfo& file : item.attachmentInfos) {
      EXPECT_THAT(item.info.body, HasSubstr("<img src=\"cid:" + file.contentId + "\""));
    }
  }
  EXPECT_EQ(pictures, (std::map<std::string, std::size_t>{{"Calendar/Harbour CalendarItem", 2},
                                                          {"Tasks/Harbour Task", 1},
                                                          {"Harbour Contact", 1}}));
  EXPECT_EQ(SummaryOf(Migrate(folder))["there_already"], 3);
}

// What its user may have gone on with in the target is neither doubled nor overwritten.
TEST(OtherItems, AChangedEventIsToldAndItsEarlierVersionStays) {
  const TemporaryFolder folder;
  const auto write = [&](const std::string& lines) {
    folder.Write("source/port.ics",
                 "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:round@x\r\n"
                 "DTSTART:20240305T090000Z\r\n" +
                     lines + "END:VEVENT\r\nEND:VCALENDAR\r\n");
  };
  const auto subjects = [&] {
    std::vector<std::string> found;
    for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
      found.push_back(item.info.subject);
    }
    return found;
  };
  // Occurrences that no series of Exchange has are a loss.
  write("SUMMARY:a\r\nRRULE:FREQ=MONTHLY;BYMONTHDAY=5,20\r\n");
  const nlohmann::json first = SummaryOf(Migrate(folder), 1);
  EXPECT_EQ(first["sent"], 1);
  EXPECT_EQ(first["arrived_reduced"], 1);
  EXPECT_THAT(first.dump(), HasSubstr("arrived reduced, left out: all occurrences but the first"));
  EXPECT_EQ(SummaryOf(Migrate(folder))["there_already"], 1);

  write("SUMMARY:b\r\nSEQUENCE:1\r\n");
  for (int run = 0; run < 4; ++run) {
    // A run that has lost its memory learns it from the target, for good.
    if (run == 2) std::filesystem::remove(folder.File("run/journal.db"));
    const bool adopts = run == 2;
    const nlohmann::json changed = SummaryOf(
        Migrate(folder, adopts ? std::vector<std::string>{"--adopt"} : std::vector<std::string>{}),
        1);
    EXPECT_EQ(changed["failed"], 1);
    EXPECT_THAT(changed["failures"].dump(), HasSubstr("UID round@x is there already"));
    EXPECT_EQ(subjects(), std::vector<std::string>{"a"});
  }
  const std::vector<std::string> show = {"mailbox", "show", "--data", folder.File("mailbox"), "1"};
  EXPECT_THAT(RunProgram("tarny", show, folder.Path()).out,
              HasSubstr("Start:   2024-03-05T09:00:00Z\n"));

  ASSERT_TRUE(mailbox::Store(folder.File("mailbox/mailbox.db")).DeleteItem(1));
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], 1);
  EXPECT_EQ(SummaryOf(Migrate(folder))["there_already"], 1);
  EXPECT_EQ(subjects(), std::vector<std::string>{"b"});
}

}  // namespace
}  // namespace system_test
