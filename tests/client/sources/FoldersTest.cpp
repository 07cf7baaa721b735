#include <map>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/run/FolderMap.h"
#include "client/sources/GmailLabels.h"
#include "client/sources/SpecialFolderTable.h"
#include "client/sources/SpecialFolders.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
using test_support::TemporaryFolder;
using testing::ElementsAre;

TEST(SpecialFolders, NoNameMeansTwoThingsInAnyCase) {
  std::map<std::string, SpecialFolder> seen;
  for (const SpecialFolderName& row : kSpecialFolderNames) {
    EXPECT_EQ(seen.try_emplace(FoldedName(row.name), row.folder).first->second, row.folder)
        << row.name;
  }
  for (const char* name : {"กล่องขาออก", "Sampah", "Lixo", "Hộp thư", "Predlošci"}) {
    EXPECT_EQ(SpecialFolderNamed(name), std::nullopt) << name;
  }
}

TEST(SpecialFolders, AreKnownAtTheTopAlone) {
  const std::pair<const char*, const char*> rows[] = {
      {"Gesendet\\2024\\", "Sent Items\\2024\\"},
      {"GELÖSCHTE ELEMENTE\\", "Deleted Items\\"},
      {"Entwu\u0308rfe\\", "Drafts\\"},  // as macOS takes letters apart
      {"送信済みトレイ\\", "Sent Items\\"},
      {"البريد الوارد\\a\\", "Inbox\\a\\"},
      {"INBOX\\Trash\\x\\", "Deleted Items\\x\\"},
      {"INBOX\\Kunde\\", "Inbox\\Kunde\\"},
      {"[Gmail]\\Spam\\", "Junk E-mail\\"},
      {"[Gmail]\\All Mail\\", "[Gmail]\\All Mail\\"},
      {"Kunde\\Sent\\", "Kunde\\Sent\\"},
      {"[Gmail]\\", "[Gmail]\\"},
      {"Archives\\2019\\", "Archive\\2019\\"},
      {"", ""},
      {"\\", "\\"},
  };
  for (const auto& [path, wanted] : rows) EXPECT_EQ(WithExchangeNames(path), wanted);
}

TEST(FolderMap, TakesTheFirstLineThatFits) {
  FolderMap map(
      "\xEF\xBB\xBFProjects/Old\tArchive/Projects\r\n\r\n# where things go\r\n"
      "PROJECTS/*\tWork/P\nProjects/New\tnever\nA\\/B\\/*\tX\\/Y\nStra\xC3\x9F"
      "e/*\tS/*\n");
  const std::pair<const char*, const char*> rows[] = {
      {"Projects\\Old\\", "Archive\\Projects\\"},
      {"projects\\", "Work\\P\\"},
      {"Projects\\New\\a b\\", "Work\\P\\New\\a b\\"},
      {"Projects2\\", ""},
      {"Strasse\\\xC3\x9F\\", "S\\\xC3\x9F\\"},
      {"Other\\", ""},
      {"a/b/*\\", "X/Y\\"},
      {"A/B/*\\c\\", ""},
  };
  for (const auto& [path, wanted] : rows) EXPECT_EQ(map.PlaceOf(path), wanted) << path;
  EXPECT_THAT(map.Unused(), ElementsAre("Projects/New\tnever"));
  FolderMap all("a\tb\n*\tOld/*");
  for (const char* odd : {"#Kunde\\a/b\\", "  Kunde \\ x  \\", " \\", "*\\", "A\\*\\", " #\\"}) {
    const std::string path = FolderMapPath(odd);
    FolderMap each(" " + path + " \t " + path + " \r\n");  // as people may align it
    EXPECT_EQ(each.PlaceOf(odd), odd) << path;
    EXPECT_EQ(each.PlaceOf("A\\x\\"), "") << path;
  }
  EXPECT_EQ(all.PlaceOf("a\\"), "b\\");
  EXPECT_EQ(all.PlaceOf("a\\c\\"), "Old\\a\\c\\");
  for (const char* text : {"a b", "a\t", "\tb", "x\ty\n/*\tb", "*\t"}) {
    EXPECT_THROW(FolderMap bad(text), std::runtime_error) << text;
  }
}

TEST(Plan, PlacesFoldersTellsWhichBecomeOneAndWhichAreEmpty) {
  const TemporaryFolder folder;
  for (const char* name :
       {"a.eml", "Sent/1.eml", "Gesendet/2.eml", "Kunde/x/3.eml", "kunde/x/4.eml", "Alt/5.eml",
        "Straße/6.eml", "Ku\u0308che/7.eml", "Küche/8.eml"}) {
    folder.Write(name, "Subject: x\n\n");
  }
  for (const char* empty : {"Leer", "Kunde/y", "Papierkorb", "STRASSE"}) {
    std::filesystem::create_directories(folder.File(empty));
  }
  PlanOptions options;
  options.folders = FolderMap("Alt\tNeu/Alt\nAlter\tNeu");
  const Plan plan = MakePlan({folder.Path()}, options);
  EXPECT_THAT(Items(plan),
              ElementsAre("Inbox\\|a.eml", "Neu\\Alt\\|Alt/5.eml", "Sent Items\\|Gesendet/2.eml",
                          "Kunde\\x\\|Kunde/x/3.eml", "Ku\u0308che\\|Ku\u0308che/7.eml",
                          "Küche\\|Küche/8.eml", "Sent Items\\|Sent/1.eml", "Straße\\|Straße/6.eml",
                          "kunde\\x\\|kunde/x/4.eml"));
  std::vector<std::string> merged;
  for (const SourceProblem& each : plan.merged) merged.push_back(each.location + "=" + each.reason);
  EXPECT_THAT(merged,
              ElementsAre("Kunde\\x\\=Kunde\\x\\, kunde\\x\\", "Sent Items\\=Gesendet\\, Sent\\"));
  ASSERT_EQ(plan.alike.size(), 1u);
  EXPECT_EQ(plan.alike[0].reason, "Ku\u0308che\\, Küche\\");
  EXPECT_THAT(plan.emptyFolders,
              ElementsAre("Kunde\\y\\", "Leer\\", "Deleted Items\\", "STRASSE\\"));
  ASSERT_EQ(plan.unusedLines.size(), 1u);
  EXPECT_EQ(plan.unusedLines[0].location, "Alter\tNeu");
  options.specialFolders = false;
  options.emptyFolders = false;
  const Plan plain = MakePlan({folder.Path()}, options);
  EXPECT_EQ(plain.entries[2].item.folder, "Gesendet\\");
  EXPECT_TRUE(plain.emptyFolders.empty());
}

TEST(Plan, PlacesWhatIsNoMailByTheMapToo) {
  const TemporaryFolder folder;
  const std::string event =
      "BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:S\nDTSTART:20240305T100000Z\nEND:VEVENT\n"
      "END:VCALENDAR\n";
  folder.Write("Kunde/1.eml", "Subject: x\n\n");
  folder.Write("Notes/a/2.eml", "Subject: x\n\n");  // whose folder nobody looks into for mail
  for (const char* name : {"Kunde/a.ics", "Nur/b.ics", "Rest/c.ics"}) folder.Write(name, event);
  folder.Write("x/d.vcf", "BEGIN:VCARD\nFN:N\nEND:VCARD\n");
  PlanOptions options;
  options.folders = FolderMap("Kunde\tA/Kunde\nNur\tPlan\nContacts/x\tLeute");
  const Plan plan = MakePlan({folder.Path()}, options);
  std::vector<std::string> folders;
  for (const Plan::Entry& entry : plan.entries) folders.push_back(entry.item.folder);
  EXPECT_THAT(folders, ElementsAre("A\\Kunde\\", "Calendar\\A\\Kunde\\", "Inbox\\Notes\\a\\",
                                   "Plan\\", "Calendar\\Rest\\", "Leute\\"));
  EXPECT_TRUE(plan.unusedLines.empty());
}

// "FOLDER" for each mail, those without first.
std::vector<std::string> FoldersOf(const Plan& plan) {
  std::vector<std::string> folders = plan.emptyFolders;
  for (const Plan::Entry& entry : plan.entries) folders.push_back(entry.item.folder);
  return folders;
}

TEST(Plan, GoesByTheMarksOfADovecotBeforeNames) {
  const TemporaryFolder folder;
  const std::pair<const char*, const char*> uses[] = {{"", ""},
                                                      {".Versandt", "\\Sent"},
                                                      {".Versandt.2019", ""},
                                                      {".Kunde.Ablage", "\\Flagged \\aRCHIVE"},
                                                      {".Trash", "\\Junk"},
                                                      {".Drafts", ""},
                                                      {".Alles", "\\All"}};
  std::string attributes = "priv/0/comment\nspecialuse\n";
  int number = 0;
  for (const auto& [name, use] : uses) {
    const std::string id = "a" + std::to_string(++number);
    const std::string path = std::string("m/") + name + "/";
    folder.Write(path + "cur/1:2,S", "Subject: x\n\n");
    folder.Write(path + "new/.keep", "");
    folder.Write(path + "dovecot-uidlist", "3 V1 N1 G" + id + "\n1 :x\n");
    if (*use) attributes += "priv/" + id + "/specialuse\n" + use + "\n";
  }
  folder.Write("m/dovecot-attributes", attributes + "priv/a7/specialuse");
  EXPECT_THAT(FoldersOf(MakePlan({folder.File("m")})),
              ElementsAre("Inbox\\", "Alles\\", "Drafts\\", "Archive\\", "Junk E-mail\\",
                          "Sent Items\\", "Sent Items\\2019\\"));
  // In a tree it may be one of several mailboxes, of which each keeps what is its own.
  EXPECT_THAT(FoldersOf(MakePlan({folder.Path()})),
              ElementsAre("m\\", "m\\Alles\\", "m\\Drafts\\", "m\\Kunde\\Ablage\\", "m\\Trash\\",
                          "m\\Versandt\\", "m\\Versandt\\2019\\"));
  PlanOptions options;
  options.specialFolders = false;
  EXPECT_EQ(MakePlan({folder.File("m")}, options).entries[5].item.folder, "Versandt\\");
}

TEST(Plan, GoesByTheFoldersThatTheOwnerOfAThunderbirdChose) {
  const TemporaryFolder folder;
  folder.Write(
      "prefs.js",
      "user_pref(\"mail.identity.id1.fcc_folder\", \"imap://j%40x@imap.x/INBOX/Gr%C3%BCn\");\n"
      "user_pref(\"mail.identity.id1.draft_folder\", \"mailbox://nobody@Local%20Folders/Neu\");\n"
      "user_pref(\"mail.identity.id1.archive_folder\", \"imap://j@imap.x/Abl%26AOQ-ge%\");\n"
      "user_pref(\"mail.identity.id2.fcc_folder\", \"imap://j@imap.x/INBOX\");\n"
      "user_pref(\"mail.identity.id3.fcc_folder\", \"imap://j@imap.x\");\n"
      "user_pref(\"mail.identity.id1.stationery_folder\", \"imap://j@imap.x/Vorlagen\");\n"
      "user_pref(\"mail.server.server1.trash_folder_name\", \"INBOX/Weg\");\n"
      "user_pref(\"mail.server.server1.spamActionTargetFolder\", \"imap://j@imap.x/M%C3%BCll\");\n"
      "user_pref(\"mail.server.server1.moveOnSpam\", true);\n"
      "user_pref(\"mail.server.server1.moveTargetMode\", 1);\n"
      "user_pref(\"mail.server.server2.trash_folder_name\", \"Trash\");\n"
      "user_pref(\"mail.server.server2.spamActionTargetFolder\", \"imap://j@imap.x/Rest\");\n"
      "user_pref(\"mail.server.server2.moveOnSpam\", true);\n"
      "user_pref(\"mail.server.server3.spamActionTargetFolder\", \"imap://j@imap.x/Rest\");\n"
      "user_pref(\"mail.server.server3.moveTargetMode\", 1);\n"
      "user_pref(\"mail.identity.id4.fcc_folder\", \"");
  for (const char* const name :
       {"ImapMail/imap.x/INBOX", "ImapMail/imap.x/INBOX.sbd/Gr\xC3\xBCn",
        "ImapMail/imap.x/INBOX.sbd/Weg", "ImapMail/imap.x/M\xC3\xBCll", "ImapMail/imap.x/Rest",
        "ImapMail/imap.x/Vorlagen", "ImapMail/imap.x/Abl&AOQ-ge%", "Mail/Local Folders/Neu"}) {
    folder.Write(name, "From - Tue Mar 05 10:00:00 2019\nSubject: x\n\nx\n");
  }
  const std::string hashed =
      "Mail/Local Folders/Neu.sbd/S\xC3\xBC"
      "d79ad4768";
  folder.Write(hashed, "From - Tue Mar 05 10:00:00 2019\nSubject: x\n\nx\n");
  // The index that has its true name is gone.
  folder.Write("folderTree.json",
               R"({"open":["mailbox://nobody@Local%20Folders/Neu/S%C3%BCd%3A%20A%3FB","%"]})");
  EXPECT_THAT(FoldersOf(MakePlan({folder.Path()})),
              ElementsAre("Archive\\", "Inbox\\", "Junk E-mail\\", "Rest\\", "Vorlagen\\",
                          "Sent Items\\", "Deleted Items\\", "Drafts\\",
                          "Drafts\\S\xC3\xBC"
                          "d: A?B\\"));
}

TEST(GmailLabels, TellFolderAndStateInSeveralLanguages) {
  const struct {
    const char* labels;
    const char* folder;
    bool read;
    bool flagged;
    std::vector<std::string> categories;
  } rows[] = {{"Boîte de réception,Non lus,Clients/Ott", "Inbox\\", false, false, {"Clients/Ott"}},
              {"Messages envoyés, OUVERT", "Sent Items\\", true, false, {}},
              {"受信トレイ,未読,スター付き", "Inbox\\", false, true, {}},
              {"Archived,Starred,Important", "Archive\\", true, true, {}},
              {"Inbox,Spam,a,a,", "Junk E-mail\\", true, false, {"a"}},
              {"\"a, b\",Inbox , \"c\"d, e\", \"f\"",
               "Inbox\\",
               true,
               false,
               {"a, b", "\"c\"d", "e\"", "f"}},
              {"", "Archive\\", true, false, {}}};
  for (const auto& row : rows) {
    StateFields fields;
    EXPECT_EQ(TakeGmailLabels(row.labels, fields), row.folder) << row.labels;
    EXPECT_EQ(fields.read, row.read) << row.labels;
    EXPECT_EQ(fields.state.flagged, row.flagged) << row.labels;
    EXPECT_EQ(fields.state.categories, row.categories) << row.labels;
  }
}

// Folders that are two in the source and have one name in the target.
TEST(Plan, TellsFoldersThatHaveOnePath) {
  const TemporaryFolder folder;
  for (const char* name :
       {"m/cur/1:2,S", "m/new/2", "m/.A/cur/3", "m/.A/new/4", "m/A/cur/5", "m/A/tmp/x",
        "m/a\tb/cur/6", "m/a b/cur/7", "m/a b/tmp/x", "m/a\tb/tmp/x", "m/.A/tmp/x"}) {
    folder.Write(name, "Subject: x\n\n");
  }
  const Plan plan = MakePlan({folder.File("m")});
  std::vector<std::string> merged;
  for (const SourceProblem& each : plan.merged) merged.push_back(each.location + "=" + each.reason);
  EXPECT_THAT(merged, ElementsAre("A\\=.A, A", "a b\\=a\tb, a b"));
}

}  // namespace
}  // namespace client
