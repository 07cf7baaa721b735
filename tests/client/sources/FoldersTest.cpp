#include <map>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/run/FolderMap.h"
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
      "# where things go\r\n\r\nProjects/Old\tArchive/Projects\r\n"
      "PROJECTS/*\tWork/P\nProjects/New\tnever\nStra\xC3\x9F"
      "e/*\tS/*\n");
  const std::pair<const char*, const char*> rows[] = {
      {"Projects\\Old\\", "Archive\\Projects\\"},      {"projects\\", "Work\\P\\"},
      {"Projects\\New\\a b\\", "Work\\P\\New\\a b\\"}, {"Projects2\\", ""},
      {"Strasse\\\xC3\x9F\\", "S\\\xC3\x9F\\"},        {"Other\\", ""},
  };
  for (const auto& [path, wanted] : rows) EXPECT_EQ(map.PlaceOf(path), wanted) << path;
  EXPECT_THAT(map.Unused(), ElementsAre("Projects/New\tnever"));
  for (const char* text : {"a b", "a\t", "\tb", "x\ty\n/*\tb"}) {
    EXPECT_THROW(FolderMap bad(text), std::runtime_error) << text;
  }
}

TEST(Plan, PlacesFoldersTellsWhichBecomeOneAndWhichAreEmpty) {
  const TemporaryFolder folder;
  for (const char* name :
       {"a.eml", "Sent/1.eml", "Gesendet/2.eml", "Kunde/x/3.eml", "kunde/x/4.eml", "Alt/5.eml"}) {
    folder.Write(name, "Subject: x\n\n");
  }
  for (const char* empty : {"Leer", "Kunde/y", "Papierkorb"}) {
    std::filesystem::create_directories(folder.File(empty));
  }
  PlanOptions options;
  options.folders = FolderMap("Alt\tNeu/Alt\nAlter\tNeu");
  const Plan plan = MakePlan({folder.Path()}, options);
  EXPECT_THAT(Items(plan), ElementsAre("Inbox\\|a.eml", "Neu\\Alt\\|Alt/5.eml",
                                       "Sent Items\\|Gesendet/2.eml", "Kunde\\x\\|Kunde/x/3.eml",
                                       "Sent Items\\|Sent/1.eml", "kunde\\x\\|kunde/x/4.eml"));
  std::vector<std::string> merged;
  for (const SourceProblem& each : plan.merged) merged.push_back(each.location + "=" + each.reason);
  EXPECT_THAT(merged,
              ElementsAre("Kunde\\x\\=Kunde\\x\\, kunde\\x\\", "Sent Items\\=Gesendet\\, Sent\\"));
  EXPECT_THAT(plan.emptyFolders, ElementsAre("Kunde\\y\\", "Leer\\", "Deleted Items\\"));
  ASSERT_EQ(plan.unusedLines.size(), 1u);
  EXPECT_EQ(plan.unusedLines[0].location, "Alter\tNeu");
  options.specialFolders = false;
  options.emptyFolders = false;
  const Plan plain = MakePlan({folder.Path()}, options);
  EXPECT_EQ(plain.entries[2].item.folder, "Gesendet\\");
  EXPECT_TRUE(plain.emptyFolders.empty());
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
