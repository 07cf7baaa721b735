#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "ews/Settings.h"
#include "platform/Paths.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/StoreFolders.h"
#include "tests/pipeline/Descriptors.h"
#include "tests/pipeline/TempRunFolder.h"
#include "tests/target/ScriptedStores.h"

// Stores, their folders and profiles, against a provider that fails at any call.
namespace {

using test_support::Script;
using test_support::ScriptedFolder;
using testing::HasSubstr;

class Stores : public testing::Test {
 protected:
  std::string NameOfStore() {
    const int failAt = std::exchange(script.failAt, 0);
    const std::string name = handler.m_objRdoPstStore.GetName().ToUtf8();
    script.calls.pop_back();
    script.failAt = failAt;
    return name;
  }
  // The handler is asked to stop during the call of that number.
  void StopAt(int number) {
    script.TakeCalls();
    script.stop = &handler.m_bStop;
    script.stopAt = number;
  }
  // A handler as new, with the script's calls counted from here.
  void Begin(int failAt) {
    script.failAt = 0;
    handler.ClearPrevisInstance();
    handler.m_objRdoPstStore.Release();
    script.profiles = profiles;
    script.TakeCalls();
    script.failAt = failAt;
  }

  TempRunFolder folder;
  Script script;
  test_support::ScriptedProvider provider{script};
  CTarnyOutlookHandler handler;
  std::map<std::string, std::vector<Script::Store>> profiles;
  const CString path = u"\\nowhere\\Out.PST";
};

constexpr const char* kAdd = "session, logon '' 00100, stores, add \\nowhere\\Out.PST as 1";
constexpr const char* kOutlook = "outlook, O:MAPI, O:logon '' '', O:add, O:logoff, O:quit";

TEST_F(Stores, AFileIsMadeByTheFirstWayThatWorks) {
  EXPECT_EQ(handler.CreatePstFile(path), 1);
  EXPECT_EQ(script.TakeCalls(), kAdd);
  EXPECT_EQ(NameOfStore(), "Morvane \\nowhere\\Out.PST");
  handler.m_hParentWnd = 7;
  EXPECT_EQ(handler.CreatePstFile(path), 1);  // what was attached is saved and released first
  EXPECT_EQ(script.TakeCalls(),
            "on?, save, on?, logoff, session, logon '' 00170, stores, "
            "add \\nowhere\\Out.PST as 1");
  handler.m_hParentWnd = 0;
  Begin(0);
  script.givesNoStore = true;  // which is no failure
  EXPECT_EQ(handler.CreatePstFile(path), 1);
  EXPECT_EQ(script.TakeCalls(), kAdd);
  EXPECT_FALSE(handler.LogonToStore(path));
  script.givesNoStore = false;
  Begin(0);
  script.hasSession = false;  // the second way makes it, and no session can look for it then
  EXPECT_EQ(handler.CreatePstFile(path), 0);
  EXPECT_EQ(script.TakeCalls(), std::string("session, ") + kOutlook);
  script.hasOutlook = false;
  EXPECT_EQ(handler.CreatePstFile(path), 0);
  EXPECT_EQ(script.TakeCalls(), "session, outlook");
}

TEST_F(Stores, EachStepThatFailsLeadsWhereItMust) {
  struct Row {
    int failAt;
    int alsoFailAt;
    int result;
    std::string calls;
  };
  const std::string found =
      ", profiles, count profiles, profile 1, logon 'Made' 00100, stores, count stores, store 1, "
      "path, call it Morvane \\nowhere\\Out.PST, save";
  const std::string byOutlook = std::string(", ") + kOutlook;
  const std::string noLogon = "session, logon '' 00100, ";
  for (const Row& row : {
           Row{1, 0, 0, "session" + byOutlook},  // and so nothing to look with
           Row{2, 0, 1, "session, logon '' 00100" + byOutlook + found},
           Row{3, 0, 1, "session, logon '' 00100, stores" + byOutlook + found},
           Row{4, 0, 1, kAdd + byOutlook + found},
           Row{2, 3, 0, noLogon + "outlook"},
           Row{2, 4, 0, noLogon + "outlook, O:MAPI"},
           Row{2, 5, 0, noLogon + "outlook, O:MAPI, O:logon '' '', O:quit"},
           Row{2, 6, 0, noLogon + kOutlook},
           Row{2, 7, 1, noLogon + kOutlook + found},
           Row{2, 9, 0, noLogon + kOutlook + ", profiles"},
           Row{2, 17, 1, noLogon + kOutlook + found},
       }) {
    Begin(row.failAt);
    script.alsoFailAt = row.alsoFailAt;
    EXPECT_EQ(handler.CreatePstFile(path), row.result) << row.failAt << " " << row.alsoFailAt;
    EXPECT_EQ(script.TakeCalls(), row.calls) << row.failAt << " " << row.alsoFailAt;
    script.alsoFailAt = 0;
  }
}

TEST_F(Stores, WhicheverCallFailsNothingIsThrownAndAllIsReleased) {
  profiles = {{"Ann", {{"a", "\\x.PST"}, {"b", "\\Nowhere\\Out.PST"}}},
              {"Bob", {{"c", "\\nowhere\\Out.PST"}, {"d", "\\nowhere\\Out.PST"}}}};
  const auto everything = [&] {
    CStringArray names;
    CStringArray paths;
    (void)handler.GetAllExchangeProfiles(&names);
    (void)handler.OpenPstFile(path);
    (void)handler.GetAllProfilesPath(u"Bob", names, paths);
    EXPECT_EQ(names.GetSize(), paths.GetSize());
    (void)handler.SetEnvironmentForExchange(u"Bob", u"d", u"?");
    (void)handler.CreatePstFile(path);
  };
  Begin(0);
  everything();
  const int calls = static_cast<int>(script.calls.size());
  EXPECT_GT(calls, 40);
  for (const bool forGood : {false, true}) {
    for (int failAt = 1; failAt <= calls; ++failAt) {
      Begin(failAt);
      script.failsForGood = forGood;
      everything();
      script.failsForGood = false;
      script.failAt = 0;
      handler.ClearPrevisInstance();
      EXPECT_TRUE(handler.m_objRdoSession.IsEmpty() && handler.m_objRdoStores.IsEmpty() &&
                  handler.m_objRdoPstStore.IsEmpty())
          << failAt;
    }
  }
}

TEST_F(Stores, AStoreIsLookedForInEveryProfileByItsExactPath) {
  EXPECT_FALSE(handler.OpenPstFile(path));  // there is no session
  profiles = {{"Ann", {{"a", "\\x.PST"}, {"b", "\\NOWHERE\\Out.PST"}}},
              {"Bob", {{"c", "\\y.PST"}}}};
  const auto open = [&] {
    Begin(0);
    EXPECT_EQ(handler.GetAllExchangeProfiles(nullptr), 1);
    script.TakeCalls();
    return handler.OpenPstFile(path);
  };
  EXPECT_TRUE(open());  // though none has it
  EXPECT_THAT(script.TakeCalls(), testing::EndsWith("store 1, path, logoff"));
  EXPECT_EQ(NameOfStore(), "c");
  profiles["Bob"].push_back({"d", "\\nowhere\\Out.PST"});
  EXPECT_TRUE(open());
  EXPECT_THAT(script.TakeCalls(), testing::EndsWith("call it Morvane \\nowhere\\Out.PST, save"));
  Begin(0);
  EXPECT_EQ(handler.GetAllExchangeProfiles(nullptr), 1);
  StopAt(7);  // the first store, behind which no other is looked at
  EXPECT_TRUE(handler.OpenPstFile(path));
  EXPECT_EQ(
      script.TakeCalls(),
      "profiles, count profiles, profile 1, logon 'Ann' 00100, stores, count stores, store 1, "
      "path, logoff, profile 2, logon 'Bob' 00100, stores, count stores, logoff");
  handler.m_bStop = 0;
  profiles.clear();
  EXPECT_FALSE(open());
  handler.m_bStop = 1;
  script.TakeCalls();
  EXPECT_FALSE(open());
  script.TakeCalls();
  EXPECT_EQ(handler.CreatePstFile(path), 0);
  EXPECT_FALSE(handler.CreatePstFileWithRedemption(path));
  EXPECT_EQ(handler.CreatePstFileUsingOutlookAutomation(path), 0);
  EXPECT_EQ(script.TakeCalls(), "");
}

TEST_F(Stores, AFreeNameIsInUpperCaseAndNumberedAtEachExtension) {
  folder.Write("Out.pst", "");
  std::filesystem::create_directory(folder.File("My.PST"));
  folder.Write("My.PST/Out.pst", "");
  const CString here = platform::ToWindowsPath(folder.Path() + "/");
  const auto made = [&](const CString& name) {
    Begin(0);
    EXPECT_EQ(handler.CreatePstFile(here + name), 1);
    const std::string calls = script.TakeCalls();
    const size_t start = calls.find("add ") + 4;
    return calls.substr(start, calls.rfind(" as ") - start);
  };
  CString upper = here;
  upper.MakeUpper();
  EXPECT_EQ(made(u"New.pst"), (here + u"New.pst").ToUtf8());  // its case stays
  EXPECT_EQ(made(u"Out.pst"), (upper + u"OUT(1).PST").ToUtf8());
  folder.Write("Out(1).PST", "");
  folder.Write("OUT(2).pst", "");
  EXPECT_EQ(made(u"Out.pst"), (upper + u"OUT(3).PST").ToUtf8());
  EXPECT_EQ(made(u"My.PST\\Out.pst"), (upper + u"MY(1).PST\\OUT(1).PST").ToUtf8());
}

TEST_F(Stores, AProfileGivesItsStoresAndTheFirstOfAName) {
  profiles = {{"Ann", {{"a", "\\1.PST"}, {"b", "\\2.PST"}, {"b", "\\3.PST"}}}};
  CStringArray names;
  CStringArray paths;
  const auto list = [&](int failAt) {
    Begin(0);
    EXPECT_EQ(handler.GetAllExchangeProfiles(nullptr), 1);
    script.TakeCalls();
    script.failAt = failAt;
    names.RemoveAll();
    paths.RemoveAll();
    const int result = handler.GetAllProfilesPath(u"Ann", names, paths);
    std::string text = std::to_string(result);
    for (int i = 0; i < names.GetSize(); ++i) text += " " + (names[i] + paths[i]).ToUtf8();
    return text;
  };
  EXPECT_EQ(list(0), "1 a\\1.PST b\\2.PST b\\3.PST");
  EXPECT_EQ(script.TakeCalls(),
            "on?, logon 'Ann' 00100, stores, count stores, store 1, path, store name, store 2, "
            "path, store name, store 3, path, store name");
  EXPECT_EQ(list(1), "1 a\\1.PST b\\2.PST b\\3.PST");  // whether one is logged on
  EXPECT_EQ(list(2), "0");
  EXPECT_EQ(list(3), "0");
  EXPECT_EQ(list(4), "1");                  // no count
  for (int step = 8; step <= 10; ++step) {  // the second store, whichever step of it
    EXPECT_EQ(list(step), "1 a\\1.PST b\\3.PST");
  }
  script.failAt = 0;
  script.TakeCalls();
  EXPECT_EQ(handler.GetAllProfilesPath(u"", names, paths), 0);
  EXPECT_EQ(script.TakeCalls(), "");
  EXPECT_EQ(handler.SetEnvironmentForExchange(u"Ann", u"b", u"\\3.PST"), 1);
  EXPECT_EQ(handler.m_objRdoPstStore.GetPstPath(), u"\\2.PST");
  EXPECT_EQ(handler.SetEnvironmentForExchange(u"Ann", u"none", u"\\3.PST"), 0);
  StopAt(6);  // the first store, which is listed yet
  names.RemoveAll();
  EXPECT_EQ(handler.GetAllProfilesPath(u"Ann", names, paths), 0);
  EXPECT_EQ(names.GetSize(), 1);
  handler.m_bStop = 0;
  StopAt(6);
  EXPECT_EQ(handler.SetEnvironmentForExchange(u"Ann", u"b", u""), 0);
  EXPECT_THAT(script.TakeCalls(), testing::EndsWith("store 1, path, store name"));
}

TEST_F(Stores, ReleasingGoesOnBehindWhatFails) {
  struct Row {
    int failAt;
    const char* calls;
    bool keepsStore;
  };
  for (const Row& row : {Row{0, "save, on?, logoff", false}, Row{1, "save, on?, logoff", true},
                         Row{2, "save, on?", false}, Row{3, "save, on?, logoff", false}}) {
    Begin(0);
    ASSERT_EQ(handler.CreatePstFile(path), 1);
    script.TakeCalls();
    script.failAt = row.failAt;
    handler.ClearPrevisInstance();
    EXPECT_EQ(script.TakeCalls(), row.calls) << row.failAt;
    EXPECT_EQ(!handler.m_objRdoPstStore.IsEmpty(), row.keepsStore) << row.failAt;
    EXPECT_TRUE(handler.m_objRdoSession.IsEmpty() && handler.m_objRdoStores.IsEmpty());
  }
  handler.ClearPrevisInstance();  // nothing is left
  EXPECT_EQ(script.TakeCalls(), "");
}

class StoreFolders : public Stores {
 protected:
  StoreFolders() {
    root->AddChild(u"inbox")->AddChild(u"Old");
    root->AddChild(u"SENT");
  }
  bool Create(const CString& folders, int type = 0) {
    const IRDOFolders list = IRDOFolder(root).GetFolders();
    script.TakeCalls();
    return !handler.CreateFolder(folders, list, type).IsEmpty();
  }
  std::string Current() { return handler.m_objCurrFolder.GetName().ToUtf8(); }

  std::shared_ptr<ScriptedFolder> root = std::make_shared<ScriptedFolder>(script, u"root");
};

TEST_F(StoreFolders, WhatIsThereIsEnteredAndWhatIsMissingMade) {
  EXPECT_TRUE(Create(u"($Inbox)\\Work\\Plan\\lost", 6));  // names of the source; no last backslash
  EXPECT_EQ(Current(), "Plan");
  EXPECT_THAT(script.TakeCalls(), HasSubstr("make Work IPF.Note"));
  EXPECT_EQ(root->Tree(), "root(inbox(Old Work(Plan)) SENT)");
  EXPECT_TRUE(Create(u"($Sent)\\Mine\\", 14));
  EXPECT_THAT(script.TakeCalls(), HasSubstr("make Mine IPF.Contact"));
  EXPECT_TRUE(Create(u"($Drafts)\\", 6));
  EXPECT_THAT(script.TakeCalls(), HasSubstr("make Drafts IPF.Appointment"));
  EXPECT_TRUE(Create(u"INBOX\\work\\PLAN\\", 6));  // again, in another case
  EXPECT_THAT(script.TakeCalls(), testing::Not(HasSubstr("make")));
  const std::string tree = root->Tree();
  handler.m_objCurrFolder = IRDOFolder(root);
  for (const char16_t* none : {u"", u"no backslash", u"\\Inbox\\"}) {
    EXPECT_TRUE(Create(none)) << CString(none).ToUtf8();
    EXPECT_EQ(Current(), "root");
  }
  EXPECT_EQ(root->Tree(), tree);
  EXPECT_TRUE(handler.CreateFolder(u"A\\", IRDOFolders(), 0).IsEmpty());
  EXPECT_TRUE(handler.GetFolderHandle(u"none", IRDOFolder(root).GetFolders()).IsEmpty());
  EXPECT_TRUE(handler.m_objCurrFolder.IsEmpty());
}

TEST_F(StoreFolders, TheLastLevelHasItsClassByNameAndThenByType) {
  struct Row {
    const char16_t* name;
    int type;
    bool changesView;
    const char16_t* folderClass;
  };
  for (const Row& row :
       {Row{u"contacts", 2, false, u"IPF.Contact"}, Row{u"Tasks", 6, true, u"IPF.Task"},
        Row{u"Calendar", 0, false, u"IPF.Appointment"}, Row{u"CALENDAR", 6, true, u"IPF.Note"},
        Row{u"x", 2, true, u"IPF.Task"}, Row{u"x", 7, false, u"IPF.Task"},
        Row{u"x", 13, false, u"IPF.Task"}, Row{u"x", 6, true, u"IPF.Appointment"},
        Row{u"x", 14, false, u"IPF.Contact"}, Row{u"x", 3, false, u"IPF.Note"},
        Row{u"x", 4, false, u"IPF.Note"}, Row{u"", -1, false, u"IPF.Note"}}) {
    EXPECT_EQ(GetFolderTypeGroupwise(row.name, row.type, row.changesView), row.folderClass)
        << CString(row.name).ToUtf8() << " " << row.type;
  }
  EXPECT_EQ(handler.GetFolderType(u""), u"IPF.Note");
  handler.m_strFolderType = u"Diary";
  EXPECT_EQ(handler.GetFolderType(u"Diary"), u"IPF.Appointment");
  EXPECT_EQ(handler.GetFolderType(u"diary"), u"IPF.Note");
}

constexpr const char* kSeries = R"({"zone": "UTC",
    "series": {"pattern": "daily", "start": "2024-03-11", "count": 4},
    "deleted": ["2024-03-12T10:00:00"],
    "changed": [{"original": "2024-03-13T10:00:00", "start": "2024-03-13T12:00:00",
                 "end": "2024-03-13T13:00:00"}]})";

// A store as the target of a run.
class StoreAsTarget : public StoreFolders {
 protected:
  StoreAsTarget() {
    script.root = root;
    root->children.clear();
    root->AddChild(u"inbox")->AddChild(u"Old");
  }
  ~StoreAsTarget() override { ews::Settings().bSafe = false; }
  // Runs a step whose call of that number fails, and gives what failed; "" where there were fewer.
  template <typename STEP>
  std::string FailAt(int number, STEP&& step) {
    script.TakeCalls();
    script.failAt = number;
    step();
    script.failAt = 0;
    const auto at = static_cast<std::size_t>(number) - 1;
    return at < script.calls.size() ? script.calls[at] + " fails" : "";
  }
  // 1, or the words of the item's failure.
  std::string Import(const std::u16string& descriptor) {
    folder.WriteWork("11comtextjj.t", descriptor);
    CString error;
    const int result = handler.ImportItem(GetCurrPath(), error, u"run.txt");
    return result == 1 ? "1" : error.ToUtf8();
  }
};

TEST_F(StoreAsTarget, WhicheverCallOfALogonFailsThatStoreIsAttachedOrNone) {
  const CString file = platform::ToWindowsPath(folder.File("Out.PST"));
  const std::string name = file.ToUtf8();
  const auto isAttached = [&] { return handler.m_objRdoPstStore.GetPstPath() == file; };
  struct Row {
    bool isThere;
    std::map<std::string, std::vector<Script::Store>> profiles;
  };
  for (const Row& row : {Row{false, {{"Ann", {{"a", "\\x.PST"}}}}},
                         Row{true, {{"Ann", {{"a", "\\x.PST"}, {"b", name}}}}},
                         Row{true, {{"Ann", {{"a", "\\x.PST"}}}}}}) {
    if (row.isThere) folder.Write("Out.PST", "");
    profiles = row.profiles;
    for (const bool forGood : {false, true}) {
      std::string failed = "first";
      for (int number = 1; !failed.empty(); ++number) {
        Begin(0);
        bool result = false;
        script.failsForGood = forGood;
        failed = FailAt(number, [&] { result = handler.LogonToStore(file); });
        EXPECT_TRUE(result || !failed.empty());
        EXPECT_EQ(result, handler.HasStore()) << failed;
        EXPECT_TRUE(!result || isAttached()) << failed;
        EXPECT_TRUE(handler.LogonToStore(file) && isAttached()) << failed;
      }
    }
    std::filesystem::remove(folder.File("Out.PST"));
  }
}

TEST_F(StoreAsTarget, WhicheverCallOnTheWayToAFolderFailsNoItemGoesAstray) {
  ASSERT_TRUE(handler.LogonToStore(path));
  const auto go = [&] { handler.GoToStoreFolder(u"($Inbox)\\Work\\Plan\\", 0); };
  const auto import = [&] { return Import(descriptors::List(u"ann@example.com")); };
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = script.failsAsAWhole = safe;
    int told = 0;
    std::string failed = "first";
    for (int number = 1; !failed.empty(); ++number) {
      root->children.clear();
      root->AddChild(u"inbox")->AddChild(u"Old");
      failed = FailAt(number, go);
      if (handler.m_objCurrFolder.IsEmpty()) {
        ++told;
        EXPECT_EQ(import(), "The folder could not be made in the store." +
                                (safe ? " The store failed: " + failed : ""));
        EXPECT_THAT(root->Tree(), testing::Not(HasSubstr("*"))) << failed;
      } else {
        EXPECT_EQ(import(), "1") << failed;
        EXPECT_THAT(root->Tree(), HasSubstr("Work(Plan*)")) << failed;
      }
      go();
      const std::string tree = root->Tree();
      go();
      EXPECT_EQ(root->Tree(), tree) << failed;
      EXPECT_EQ(import(), "1") << failed;
      EXPECT_THAT(root->Tree(), testing::ContainsRegex("Plan[*]+[)]")) << failed;
      if (safe) {  // none is made twice
        EXPECT_THAT(root->Tree(), testing::MatchesRegex("root.inbox.Old Work.Plan[*]+..."));
      }
    }
    EXPECT_GE(told, 6);
  }
}

TEST_F(StoreAsTarget, WhicheverCallOfASaveFailsTheItemIsThereWholeOrToldWithTheStoresWords) {
  folder.WriteWork("a.txt", "a");
  folder.WriteWork("ContactPhoto.jpg", "photo");
  struct Row {
    std::u16string descriptor;
    std::string kept;
  };
  int arrived = 0;
  const std::u16string mail =
      u"EMAIL\n1\nCreation Date : 2024-03-01 10:00:00\n\nFrom : a@x.example"
      u"\nTo : b@x.example;\nCC : c@x.example;\n\nSubject : s\nMessageID : ";
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = script.failsAsAWhole = safe;
    for (const Row& row :
         {Row{mail, "IPM.Note, import, fields"}, Row{mail, "IPM.Note, fields, a.txt"},
          Row{descriptors::Calendar(u"", false, u"b@x.example;"),
              safe ? "IPM.Appointment, fields, occurrence 2, occurrence 3, a.txt"
                   : "IPM.Appointment, fields, a.txt"},
          Row{descriptors::Contact(u"<ITEM>LastName : Bell</ITEM>"),
              "IPM.Contact, fields, ContactPhoto.jpg, a.txt"},
          Row{descriptors::List(u"b@x.example;c@x.example"), "IPM.DistList, fields"}}) {
      ASSERT_TRUE(handler.LogonToStore(path));
      handler.GoToStoreFolder(u"Inbox\\", 0);
      auto& saved = root->children.front()->saved;
      std::string result;
      const auto import = [&] {
        folder.WriteWork("11comtextjjAttach.t", u"a.txt\n");
        folder.WriteWork("ItemProps.json", safe ? kSeries : "{}");
        std::filesystem::remove(folder.Work("EmlFile.Eml"));
        if (row.kept.find("import") != std::string::npos) {
          folder.WriteWork("EmlFile.Eml", "Subject: s\r\n\r\ntext");
        }
        // What arrived is known by its id; what failed must not be.
        const std::u16string id = std::u16string(static_cast<std::size_t>(arrived), u'x') + u"x\n";
        result = Import(row.descriptor + (row.descriptor == mail ? id : u""));
      };
      std::string failed = "first";
      for (int number = 1; !failed.empty(); ++number) {
        const std::vector<std::string> before = saved;
        failed = FailAt(number, import);
        if (failed.starts_with("occurrence")) {  // costs itself alone
          EXPECT_THAT(result, HasSubstr(failed));
        } else {
          if (!failed.empty()) {
            EXPECT_EQ(result, (safe ? "The store failed: " : "") + failed);
            EXPECT_EQ(saved, before) << failed;
            import();
          }
          EXPECT_EQ(result, "1") << row.kept << ": " << failed;
          EXPECT_EQ(saved.back(), row.kept) << failed;
        }
        ASSERT_EQ(saved.size(), before.size() + 1) << row.kept << ": " << failed;
        ++arrived;
      }
      if (row.kept.ends_with("a.txt")) {
        const std::vector<std::string> before = saved;
        script.givesNoAttachments = true;
        import();
        EXPECT_THAT(result, HasSubstr("takes no attachments")) << row.kept;
        EXPECT_EQ(saved, before);
        script.givesNoAttachments = false;
      }
    }
  }
}

}  // namespace
