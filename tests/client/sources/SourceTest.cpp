#include "client/sources/Source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/run/RunFolder.h"
#include "client/sources/SourceFiles.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
using client_test::Problems;
using test_support::ReadAll;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

TEST(EmlSource, TheRootGoesToTheInboxAndFoldersStandBesideIt) {
  const TemporaryFolder folder;
  for (const char* name : {"b.eml", "a.EML", "Sub/1.eml", "Sub/Deeper/2.eml", "Sub-2/3.eml",
                           "O'Brien & \"Co\"/4.eml", "a\\b/5.eml", "M\xf8te/6.eml"}) {
    folder.Write(name, "Subject: x\n\n");
  }
  EXPECT_THAT(Items(MakePlan({folder.Path()})),
              ElementsAre("Inbox\\|a.EML", "Inbox\\|b.eml", "M\xEF\xBF\xBDte\\|M\xf8te/6.eml",
                          "O'Brien & \"Co\"\\|O'Brien & \"Co\"/4.eml", "Sub\\|Sub/1.eml",
                          "Sub\\Deeper\\|Sub/Deeper/2.eml", "Sub-2\\|Sub-2/3.eml",
                          "a\xEF\xBC\xBC"
                          "b\\|a\\b/5.eml"));
}

TEST(EmlSource, WhatIsNoMailFileIsNamedAndTheRestGoesOn) {
  const TemporaryFolder folder;
  folder.Write("mail.eml", "Subject: x\n\n");
  folder.Write("notes.txt", "x");
  folder.Write("archive", "From a@b Mon\nSubject: x\n\n");
  folder.Write("Jane/cur/1:2,S", "Subject: x\n\n");
  folder.Write(".hidden", "x");
  folder.Write("Joe/cur/letter", "x");
  folder.Write("Joe/cur/2023.report", "x");
  ASSERT_EQ(symlink("mail.eml", folder.File("link.eml").c_str()), 0);
  ASSERT_EQ(symlink("nowhere", folder.File("dead.eml").c_str()), 0);
  ASSERT_EQ(symlink(".", folder.File("loop").c_str()), 0);
  ASSERT_EQ(mkfifo(folder.File("pipe.eml").c_str(), 0600), 0);
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_THAT(Items(plan), ElementsAre("Archive\\|archive:0", "Inbox\\|link.eml",
                                       "Inbox\\|mail.eml", "Jane\\|Jane/cur/1:2,S"));
  EXPECT_THAT(
      Problems(plan, folder.Path()),
      UnorderedElementsAre("dead.eml: a dead link", "loop: a link to a folder",
                           "pipe.eml: neither a file nor a folder",
                           "notes.txt: its name does not end in .eml, .ics or .vcf",
                           "Joe/cur/2023.report: its name does not end in .eml, .ics or .vcf",
                           "Joe/cur/letter: its name does not end in .eml, .ics or .vcf"));
  EXPECT_THAT(Problems(MakePlan({folder.File("Jane/cur")}), folder.File("Jane/cur")),
              ElementsAre("1:2,S: it lies in a Maildir: name that as a source"));
}

TEST(EmlSource, ADeepTreeIsWalkedWithoutRecursion) {
  const TemporaryFolder folder;
  std::string path;
  for (int i = 0; i < 300; ++i) path += "d/";
  folder.Write(path + "deep.eml", "Subject: x\n\n");
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 1u);
  EXPECT_EQ(plan.entries[0].item.folder.size(), 600u);
}

TEST(EmlSource, ASourceThatIsNotThereIsRefused) {
  EXPECT_THROW((void)MakePlan({"/nonexistent/mail"}), SourceError);
}

TEST(SourceFiles, DamagedMailPassesAndOtherFilesDoNot) {
  for (const char* mail : {"Subject: x\n", "\r\n\r\nSubject: x\r\n\r\nbody", "From a b\nTo: x\n\n",
                           "garbage first\nSubject : late\n", "X:", "From a b\n\nTo: x\n\n"}) {
    EXPECT_NO_THROW(RequireMail(mail)) << mail;
  }
  for (const char* other : {"", "\n\n\n", "no header here\n\nSubject: too late\n",
                            "\x89PNG\r\n\x1a\n", ": nothing\n"}) {
    EXPECT_THROW(RequireMail(other), SourceError) << other;
  }
}

TEST(RunFolder, RefusesPathsThatCannotServeAndForeignFolders) {
  EXPECT_EQ(RunPathProblem("/home/u/run 1"), "");
  EXPECT_EQ(RunPathProblem("/" + std::string(599, 'x')), "");
  EXPECT_NE(RunPathProblem("/" + std::string(600, 'x')), "");
  for (const char c : std::string("%#&\"'<>\\\x7f\n\xc3")) {
    EXPECT_NE(RunPathProblem(std::string("/a") + c), "") << c;
  }
  const TemporaryFolder folder;
  folder.Write("thesis.txt", "x");
  EXPECT_THROW(RunFolder run(folder.Path()), RunError);
  EXPECT_FALSE(std::filesystem::exists(folder.File("driver")));
}

TEST(RunFolder, LetsOneDriverInAndKeepsOthersOut) {
  const TemporaryFolder folder;
  const RunFolder run(folder.File("a/run"));
  struct stat status;
  ASSERT_EQ(stat(run.Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700u);
  EXPECT_THROW(RunFolder second(folder.File("a/./run/")), RunError);
}

TEST(RunFolder, RenewsAnEngineThatDiffers) {
  const TemporaryFolder folder;
  const std::string engine = folder.Write("engine", "first");
  RunFolder run(folder.File("run"));
  run.InstallEngine(engine);
  EXPECT_EQ(ReadAll(run.EngineProgram()), "first");
  std::filesystem::remove(engine);
  folder.Write("engine", "other");
  run.InstallEngine(engine);
  EXPECT_EQ(ReadAll(run.EngineProgram()), "other");
  EXPECT_THROW(run.InstallEngine(folder.File("missing")), RunError);
}

}  // namespace
}  // namespace client
