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
  }
}

}  // namespace
}  // namespace system_test
