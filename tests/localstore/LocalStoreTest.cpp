#include "localstore/LocalProvider.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>
#include <string>

#include "ews/Contact.h"
#include "ews/Settings.h"
#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/Store.h"
#include "pipeline/ItemComparison.h"
#include "platform/Sqlite.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/StoreFiles.h"
#include "tests/pipeline/TempRunFolder.h"
#include "tests/support/SmallFiles.h"

// Stores of this machine through the handler, as the engine uses them.
namespace {

namespace fs = std::filesystem;
using test_support::SmallFiles;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;

// Folders of tests lie in memory from then on, where that can be: thousands of changes on a disk
// take their time.
struct FoldersInMemory {
  FoldersInMemory() {
    if (fs::is_directory("/dev/shm")) setenv("TMPDIR", "/dev/shm", /*overwrite=*/0);
  }
};

class LocalStores : public testing::Test {
 protected:
  CString Path(const std::string& name) const { return platform::ToWindowsPath(folder.File(name)); }
  static std::shared_ptr<rdo::StoreFiles> Files() {
    return std::dynamic_pointer_cast<rdo::StoreFiles>(rdo::CreateObject(rdo::kStoreFiles));
  }
  IRDOFolders Root() const { return handler.m_objRdoPstStore.GetRootFolder().GetFolders(); }
  // The rows of folders that a store holds.
  std::size_t Folders(const std::string& name) const {
    mailbox::Store store(folder.File(name), mailbox::Store::Mode::kReadOnly);
    return store.Folders(store.Mailboxes().at(0).id).size();
  }
  // What an item of the descriptor comes to: 1, or the words of its failure.
  std::string Import(const std::u16string& type, const std::u16string& subject,
                     bool isDiskFull = false) {
    folder.WriteWork("11comtextjj.t",
                     type +
                         u"\n1\nCreation Date : 2024-03-01 10:00:00\n\nFrom : a@example.com\n"
                         u"To : \n\n\nSubject : " +
                         subject + u"\n\n\n\n\n\n\n\nBody : text");
    std::optional<SmallFiles> full;
    if (isDiskFull) full.emplace(1);
    CString error;
    const int result = handler.ImportItem(GetCurrPath(), error, u"run.txt");
    return result == 1 ? "1" : error.ToUtf8();
  }

  FoldersInMemory inMemory;
  TempRunFolder folder;
  localstore::Provider provider;
  CTarnyOutlookHandler handler;
};

TEST_F(LocalStores, AStoreIsMadeOnceAndFoundAgainByItsPath) {
  const CString path = Path("Out.PST");
  EXPECT_TRUE(handler.LogonToStore(path));
  EXPECT_TRUE(fs::is_regular_file(folder.File("Out.PST")));
  EXPECT_EQ(handler.m_objRdoPstStore.GetName(), u"Morvane " + path);
  handler.ClearPrevisInstance();
  EXPECT_TRUE(handler.LogonToStore(path));  // the same
  EXPECT_FALSE(fs::exists(folder.File("OUT(1).PST")));
  EXPECT_EQ(handler.CreatePstFile(path), 1);  // a new one beside it
  EXPECT_TRUE(fs::exists(folder.File("OUT(1).PST")));

  CStringArray names;
  CStringArray paths;
  EXPECT_EQ(handler.GetAllProfilesPath(u"Default", names, paths), 1);
  EXPECT_THAT(std::vector<CString>(paths.begin(), paths.end()),
              testing::ElementsAre(path, handler.m_objRdoPstStore.GetPstPath()));
  EXPECT_EQ(handler.GetAllProfilesPath(u"Other", names, paths), 0);
  EXPECT_EQ(handler.SetEnvironmentForExchange(u"Default", names[0], CString()), 1);
  EXPECT_EQ(handler.m_objRdoPstStore.GetPstPath(), path);

  // One that another profile has is found there; one that none has is attached.
  handler.ClearPrevisInstance();
  fs::rename(folder.File("Profiles/Default"), folder.File("Profiles/Ann"));
  EXPECT_TRUE(handler.LogonToStore(path));
  EXPECT_FALSE(fs::exists(folder.File("Profiles/Default")));
  handler.ClearPrevisInstance();
  fs::copy_file(folder.File("Out.PST"), folder.File("Copy.pst"));
  const auto identity = [&](const char* name) {
    return Files()->Identity(Path(name)).value_or("");
  };
  EXPECT_EQ(identity("Copy.pst").size(), 32u);
  EXPECT_EQ(identity("Copy.pst"), identity("Out.PST"));
  EXPECT_NE(identity("Copy.pst"), identity("OUT(1).PST"));
  EXPECT_TRUE(handler.LogonToStore(Path("Copy.pst")));
  EXPECT_EQ(handler.m_objRdoPstStore.GetPstPath(), Path("Copy.pst"));
}

TEST_F(LocalStores, AThousandFoldersAreMadeOnce) {
  ASSERT_TRUE(handler.LogonToStore(Path("Out.PST")));
  const std::size_t before = Folders("Out.PST");
  const auto make = [&] {
    for (int i = 0; i < 1000; ++i) {
      const std::string levels = "($Inbox)\\" + std::to_string(i / 100) + "\\" +
                                 std::to_string(i / 10) + "\\n" + std::to_string(i) + "\\";
      handler.GoToStoreFolder(CString::FromUtf8(levels), 6);
      ASSERT_EQ(handler.m_objCurrFolder.GetName().ToUtf8(), "n" + std::to_string(i));
    }
  };
  make();
  EXPECT_EQ(Folders("Out.PST"), before + 1110);
  make();
  EXPECT_EQ(Folders("Out.PST"), before + 1110);
}

TEST_F(LocalStores, AFolderMayHaveAnyNameButNoneAndATooLongOne) {
  ASSERT_TRUE(handler.LogonToStore(Path("Out.PST")));
  std::u16string all;
  for (char16_t unit = 0; unit < 0x180; ++unit) {
    if (unit != u'\\') all += unit;
  }
  for (const std::u16string& name :
       {all.substr(0, 200), all.substr(200), std::u16string(255, u'x'), std::u16string(u" "),
        std::u16string(u"\xD83D\xDE00"), std::u16string(u"Half \xD83D")}) {
    const std::size_t before = Folders("Out.PST");
    const CString kept = CString::FromUtf8(CString(name).ToUtf8());
    for (int round = 0; round < 2; ++round) {
      handler.GoToStoreFolder(name + u"\\", 0);
      EXPECT_EQ(handler.m_objCurrFolder.GetName(), kept);
    }
    EXPECT_EQ(Folders("Out.PST"), before + 1);
  }
  for (const std::u16string& name : {std::u16string(256, u'x'), std::u16string(u"Inbox\\")}) {
    handler.GoToStoreFolder(name + u"\\", 0);
    EXPECT_TRUE(handler.m_objCurrFolder.IsEmpty());
    EXPECT_EQ(Import(u"EMAIL", u"lost"), "The folder could not be made in the store.");
  }
  ews::Settings().bSafe = true;
  handler.GoToStoreFolder(u"Inbox\\" + std::u16string(256, u'x') + u"\\", 0);
  EXPECT_THAT(Import(u"EMAIL", u"lost"), HasSubstr("The folder's name is too long"));
  ews::Settings().bSafe = false;
}

TEST_F(LocalStores, ContactsAreComparedAndListsJoinedInAStore) {
  ASSERT_TRUE(handler.LogonToStore(Path("Out.PST")));
  handler.GoToStoreFolder(u"Contacts\\", 14);
  IRDOItems items = handler.m_objCurrFolder.GetItems();
  ews::Contact ann(nullptr);
  ann.SetDisplayName(u"Ann <&> Bell");
  ann.SetSurname(u"Bell");
  ann.EmailAddresses()[ews::EmailAddressKey::EmailAddress1] = ews::EmailAddress(u"ann@x.example");
  ann.PhoneNumbers()[ews::PhoneNumberKey::Pager] = u"17";
  ann.PhysicalAddresses()[ews::PhysicalAddressKey::Home].City = u"\xC5rhus";
  ann.SetBody(ews::MessageBody(ews::BodyType::Text, u"b\r\nc "));
  ann.SetExtendedProperty(
      {u"00062004-0000-0000-C000-000000000046", 0x3A05, ews::MapiPropertyType::String},
      CString(u"Jr."));
  const auto add = [&] {
    const auto contact = items.Add<IRDOContactItem>(rdo::kContactClass);
    contact.SetFields(ann.FieldsAsXml(), ann.ZoneOfFields());
    return contact;
  };
  const IRDOContactItem fresh = add();
  using enum rdo::ContactField;
  const std::pair<rdo::ContactField, const char16_t*> fields[] = {{FullName, u"Ann <&> Bell"},
                                                                  {LastName, u"Bell"},
                                                                  {Email1Address, u"ann@x.example"},
                                                                  {PagerNumber, u"17"},
                                                                  {HomeAddressCity, u"\xC5rhus"},
                                                                  {Body, u"b\r\nc "},
                                                                  {Suffix, u"Jr."},
                                                                  {FirstName, u""},
                                                                  {BusinessAddressCity, u""}};
  for (const auto& [field, text] : fields) EXPECT_EQ(fresh.Get(field), text);
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(&items, fresh, true));
  fresh.Save();
  EXPECT_TRUE(handler.CheckIfDublicateItemPresent(&items, add(), true));
  EXPECT_EQ(gIRDOContactItem.Get(LastName), u"Bell");
  gIRDOContactItem.Release();
  ann.SetBody(ews::MessageBody(ews::BodyType::Text, u"b\r\nc"));
  EXPECT_FALSE(handler.CheckIfDublicateItemPresent(&items, add(), true));

  // What is there is changed whole or not at all.
  folder.WriteWork("note.txt", u"note");
  const auto first = items.Item<IRDOContactItem>(1);
  EXPECT_THROW(first.Import(u"UTF-8", "Subject: x\r\n\r\n"), std::runtime_error);
  first.SetSubject(u"changed");
  first.GetAttachments().Add({u"note.txt", GetCurrPath() + u"note.txt", {}, {}});
  const auto state = [&] {
    mailbox::Store store(folder.File("Out.PST"), mailbox::Store::Mode::kReadOnly);
    return store.Item(1)->subject + " " + std::to_string(store.Item(1)->attachmentCount);
  };
  {
    const SmallFiles full(1);
    EXPECT_THROW(first.Save(), std::runtime_error);
  }
  EXPECT_EQ(state(), "Ann <&> Bell 0");
  first.Save();
  EXPECT_EQ(state(), "changed 1");
  EXPECT_EQ(first.GetAttachments().GetCount(), 1);

  for (int round = 0; round < 2; ++round) {
    handler.SaveDLGroup(&items, u"All", u"Crew");
    ASSERT_EQ(items.GetCount(), 3);  // the parent comes first, but is saved behind its child
    const auto crew = items.Item<IRDODistListItem>(2);
    EXPECT_EQ(crew.GetDLName(), u"Crew");
    const auto all = items.Item<IRDODistListItem>(3);
    EXPECT_EQ(all.GetDLName(), u"All");
    mailbox::Store store(folder.File("Out.PST"), mailbox::Store::Mode::kReadOnly);
    const auto members = mailbox::FieldTree(mailbox::FindField(*store.Item(3), "Members"));
    EXPECT_EQ(std::distance(members.Root().begin(), members.Root().end()), 1);
    EXPECT_STREQ(members.Root().first_child().first_child().child_value("t:Name"), "Crew");
  }
}

TEST_F(LocalStores, WhatTheStoreSaysIsTheItemsFailureAndTheNextOneArrives) {
  ASSERT_TRUE(handler.LogonToStore(Path("Out.PST")));
  handler.GoToStoreFolder(u"Inbox\\", 0);
  ASSERT_EQ(Import(u"EMAIL", u"first"), "1");
  for (const char16_t* type : {u"EMAIL", u"CALENDAR", u"TASK", u"CONTACT", u"DIST_LIST"}) {
    EXPECT_THAT(Import(type, u"full", /*isDiskFull=*/true),
                AllOf(testing::StartsWith("The store failed: "), HasSubstr("Out.PST fails: "),
                      AnyOf(HasSubstr("full"), HasSubstr("I/O"))))
        << CString(type).ToUtf8();
  }
  ASSERT_EQ(Import(u"EMAIL", u"second"), "1");
  {
    platform::SqliteDatabase other(folder.File("Out.PST"));
    other.Execute("BEGIN IMMEDIATE");
    EXPECT_THAT(Import(u"EMAIL", u"locked"), testing::StartsWith("The store failed: "));
  }
  ASSERT_EQ(Import(u"EMAIL", u"third"), "1");
  EXPECT_EQ(handler.m_objCurrFolder.GetItems().GetCount(), 3);
  fs::rename(folder.File("Out.PST"), folder.File("Gone.PST"));
  fs::create_symlink("Out.PST", folder.File("Out.PST"));  // leads nowhere: nobody can say
  EXPECT_EQ(Import(u"EMAIL", u"fourth"), "1");
  EXPECT_FALSE(handler.m_objRdoPstStore.GetRootFolder().IsEmpty());
  fs::remove(folder.File("Out.PST"));
  EXPECT_THROW((void)handler.m_objRdoPstStore.GetRootFolder(), std::runtime_error);
  EXPECT_THAT(Import(u"EMAIL", u"gone"), testing::StartsWith("The store is gone: "));
  folder.Write("Out.PST", "another file");
  EXPECT_THAT(Import(u"EMAIL", u"gone"), testing::StartsWith("The store is gone: "));
}

TEST_F(LocalStores, WhatIsNoStoreIsLeftAlone) {
  ASSERT_TRUE(handler.LogonToStore(Path("Out.PST")));
  handler.ClearPrevisInstance();
  handler.m_objCurrFolder.Release();
  folder.Write("Junk.PST", std::string(5000, 'j'));
  fs::create_directory(folder.File("Folder.PST"));
  EXPECT_FALSE(handler.LogonToStore(Path("Junk.PST")));
  EXPECT_FALSE(handler.LogonToStore(Path("Folder.PST")));
  EXPECT_FALSE(handler.LogonToStore(Path("none/Out.PST")));
  EXPECT_EQ(test_support::ReadAll(folder.File("Junk.PST")), std::string(5000, 'j'));
  platform::SqliteDatabase(folder.File("Other.PST")).Execute("CREATE TABLE pages(url)");
  const std::string others = test_support::ReadAll(folder.File("Other.PST"));
  EXPECT_FALSE(handler.LogonToStore(Path("Other.PST")));
  EXPECT_THAT(Files()->Problem(Path("Other.PST")), HasSubstr("another program"));
  EXPECT_EQ(Files()->Identity(Path("Junk.PST")), std::nullopt);
  folder.Write("Empty.PST", "");
  EXPECT_EQ(Files()->Problem(Path("Empty.PST")) + Files()->Problem(Path("New.PST")), "");
  EXPECT_FALSE(*Files()->IsThere(Path("Empty.PST")) || *Files()->IsThere(Path("New.PST")));
  EXPECT_EQ(test_support::ReadAll(folder.File("Empty.PST")), "");
  EXPECT_TRUE(*Files()->IsThere(Path("Out.PST")));
  EXPECT_THAT(Files()->Problem(Path("none/Out.PST")), HasSubstr("there is no folder"));
  EXPECT_THAT(Files()->Problem(Path("Junk.PST/Out.PST")), HasSubstr("Not a directory"));
  EXPECT_EQ(test_support::ReadAll(folder.File("Other.PST")), others);
  handler.ClearPrevisInstance();
  // A store cut short is told at the latest when it is used; one that is gone is made anew.
  fs::resize_file(folder.File("Out.PST"), 6000);
  if (handler.LogonToStore(Path("Out.PST"))) {
    handler.GoToStoreFolder(u"Inbox\\", 0);
    EXPECT_NE(Import(u"EMAIL", u"cut"), "1");
  }
  handler.ClearPrevisInstance();
  handler.m_objCurrFolder.Release();
  for (const char* const end : {"-wal", "-shm"}) fs::remove(folder.File("Out.PST") + end);
  folder.Write("Out.PST", std::string(5000, 'j'));  // and listed all the same
  EXPECT_FALSE(handler.LogonToStore(Path("Out.PST")));
  handler.ClearPrevisInstance();
  for (const char* const end : {"", "-wal", "-shm"}) fs::remove(folder.File("Out.PST") + end);
  EXPECT_TRUE(handler.LogonToStore(Path("Out.PST")));
  handler.ClearPrevisInstance();
  for (const char* const text : {"", "{", "{\"stores\":[1]}", "{\"stores\":[{\"name\":\"a\"}]}"}) {
    folder.Write("Profiles/Default/profile.json", text);
    EXPECT_FALSE(handler.LogonToStore(Path("Out.PST"))) << text;
    EXPECT_EQ(test_support::ReadAll(folder.File("Profiles/Default/profile.json")), text);
  }
}

}  // namespace
