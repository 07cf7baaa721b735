#include "client/sources/PreparedItem.h"

#include <unistd.h>

#include <filesystem>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/run/ItemKinds.h"
#include "client/run/ItemWriter.h"
#include "client/run/Plan.h"
#include "client/sources/Source.h"
#include "client/sources/SpecialFolders.h"
#include "tests/client/WideText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Wide;
using test_support::ReadAll;
using test_support::TemporaryFolder;
using testing::ElementsAre;

std::string Descriptor(const std::string& type, const std::string& id) {
  return Wide(type + "\r\n2\nCreation Date : 2024-02-29 10:00:00\r\nTRUE\r\nFrom : a@b.c\r\n" +
              "To : d@e.f\r\n\r\n\r\nSubject : Hi\r\nMessageID : " + id + "\r\nBody\r\n");
}

TEST(PreparedItem, AFolderWithADescriptorIsOneItemOfTheFolderAboveIt) {
  const TemporaryFolder folder;
  folder.Write("s/Team/Old/item 1/11comtextjj.t", Descriptor("EMAIL", "<1@x>"));
  folder.Write("s/Team/Old/item 1/inside.eml", "Subject: an attachment\r\n\r\n");
  folder.Write("s/Team/Old/item 1/deeper/inside.eml", "Subject: an attachment\r\n\r\n");
  folder.Write("s/top/11comtextjj.t", Descriptor("EMAIL", "<2@x>"));
  folder.Write("s/Team/mail.eml", "Subject: a mail\r\n\r\n");
  const Listing listing = OpenSource(folder.File("s"), {})->List();
  const ItemList& items = listing.items;
  ASSERT_EQ(items.size(), 3u);
  EXPECT_TRUE(listing.problems.empty());
  EXPECT_EQ(items[0].folder, "Team\\");
  EXPECT_FALSE(items[0].prepared);
  EXPECT_EQ(items[1].folder, "Team\\Old\\");
  EXPECT_TRUE(items[1].prepared);
  EXPECT_EQ(items[1].location, folder.File("s/Team/Old/item 1"));
  EXPECT_EQ(items[2].folder, "Inbox\\");
  // A source that is an item itself.
  EXPECT_EQ(OpenSource(folder.File("s/top"), {})->List().items[0].folder, "Inbox\\");
}

TEST(PreparedItem, AFolderTakesOneKindAndTheOthersGoBelowTheirOwn) {
  const TemporaryFolder folder;
  const std::pair<const char*, const char*> items[] = {
      {"1", "CALENDAR"},
      {"2", "NOTHING"},
      {"Crew/1", "DIST_LIST"},
      {"Crew/2", "CONTACT"},
      {"Crew/3", "TASK"},
      {"Team/Old/1", "CALENDAR"},
      {"Team/Old/2", "EMAIL"},
      {"Team/Old/3", "CONTACT"},
      {"Calendar/1", "EMAIL"},
      {"Calendar/2", "CALENDAR"},
      {"CALENDAR/Old/1", "EMAIL"},
      {"contacts/1", "CONTACT"},
      {"Tasks/calendar/1", "TASK"},
      {"Team/CONTACTS/1", "CALENDAR"},
      {"Team/Tasks/1", "EMAIL"},
      {"Team/Tasks/2", "DIST_LIST"},
  };
  for (const auto& [place, type] : items) {
    folder.Write(std::string("s/") + place + "/11comtextjj.t", Descriptor(type, ""));
  }
  const auto foldersBehind = [&](const FolderKinds& known) {
    PlanOptions options;
    options.earlier.kinds = known;
    std::map<std::string, std::string> folders;
    for (const Plan::Entry& entry : MakePlan({folder.File("s")}, options).entries) {
      folders[entry.name] = entry.item.folder;
    }
    return folders;
  };
  EXPECT_EQ(foldersBehind({}), (std::map<std::string, std::string>{
                                   {"1", "Calendar\\"},
                                   {"2", "Inbox\\"},
                                   {"Crew/1", "Crew\\"},
                                   {"Crew/2", "Crew\\"},
                                   {"Crew/3", "Tasks\\Crew\\"},
                                   {"Team/Old/1", "Calendar\\Team\\Old\\"},
                                   {"Team/Old/2", "Team\\Old\\"},
                                   {"Team/Old/3", "Contacts\\Team\\Old\\"},
                                   {"Calendar/1", "Inbox\\Calendar\\"},
                                   {"Calendar/2", "Calendar\\"},
                                   {"CALENDAR/Old/1", "Inbox\\CALENDAR\\Old\\"},
                                   {"contacts/1", "contacts\\"},
                                   {"Tasks/calendar/1", "Tasks\\calendar (Tasks)\\"},
                                   {"Team/CONTACTS/1", "Team\\CONTACTS (Calendar)\\"},
                                   {"Team/Tasks/1", "Team\\Tasks\\"},
                                   {"Team/Tasks/2", "Contacts\\Team\\Tasks (Contacts)\\"}}));
  // What arrived keeps its place, whatever that is called and whatever came beside it.
  const FolderKinds known = KindsOf(MakePlan({folder.File("s")}).entries.Items());
  folder.Write("s/Team/CONTACTS/0/11comtextjj.t", Descriptor("EMAIL", ""));
  EXPECT_EQ(foldersBehind(known)["Team/CONTACTS/1"], "Team\\CONTACTS (Calendar)\\");
  const std::string unnamed = "Tasks\\calendar\\";
  EXPECT_EQ(
      foldersBehind({{FoldedName(unnamed), KindOf(TYPE_TASK).folderType}})["Tasks/calendar/1"],
      unnamed);
}

TEST(PreparedItem, ItIsReadInAFolderOfAnyName) {
  const TemporaryFolder folder;
  for (const char* name : {"plain", "back\\slash", "\xFF\xFE no text", "%?*"}) {
    folder.Write(std::string(name) + "/11comtextjj.t", Descriptor("EMAIL", "<1@x>"));
    const ST_EML_INFO info = ReadPreparedItem(folder.File(name));
    EXPECT_EQ(info.nItemType, TYPE_EMAIL);
    EXPECT_EQ(info.strMessageId, u"<1@x>");
    EXPECT_FALSE(info.bRead);
  }
  EXPECT_THROW(ReadPreparedItem(folder.Path()), SourceError);
}

TEST(PreparedItem, FilesAreCopiedWithTheDescriptorLastAndNothingIsLinked) {
  const TemporaryFolder folder;
  folder.Write("item/11comtextjj.t", Descriptor("EMAIL", "<1@x>"));
  folder.Write("item/1first.bin", std::string(3'000'000, 'x'));
  folder.Write("item/Html/a.png", "png");
  folder.Write("item/IMAGEATTCHMENT.TXT", Wide("a.png\r\n"));
  const std::string item = folder.File("item");
  const PreparedFiles files = ListPreparedFiles(item);
  EXPECT_THAT(files.files,
              ElementsAre("1first.bin", "Html/a.png", "IMAGEATTCHMENT.TXT", "11comtextjj.t"));
  EXPECT_TRUE(WantsImagePage(files));
  EmptyWorkFolder(folder.File("Temp"));
  CopyPreparedFiles(item, files, folder.File("Temp"));
  EXPECT_EQ(HashPreparedFiles(folder.File("Temp"), files), HashPreparedFiles(item, files));
  EXPECT_EQ(std::filesystem::hard_link_count(folder.File("Temp/1first.bin")), 1u);
  EXPECT_EQ(ReadAll(folder.File("Temp/Html/a.png")), "png");
  // Bytes that move from one file to the next are another content.
  const std::string before = HashPreparedFiles(item, files);
  folder.Write("item/Html/a.png", "pn");
  EXPECT_NE(HashPreparedFiles(item, files), before);
}

TEST(PreparedItem, LinksAreRefusedByName) {
  const TemporaryFolder folder;
  folder.Write("item/11comtextjj.t", Descriptor("EMAIL", "<1@x>"));
  const std::string secret = folder.Write("secret", "s");
  std::filesystem::create_symlink(secret, folder.File("item/EmlFile.Eml"));
  EXPECT_THAT([&] { ListPreparedFiles(folder.File("item")); },
              testing::ThrowsMessage<SourceError>(testing::HasSubstr("EmlFile.Eml is a link")));
}

}  // namespace
}  // namespace client
