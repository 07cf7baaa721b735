#include "client/sources/Source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/run/ItemLoader.h"
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
              ElementsAre("Inbox\\|a.EML", "Inbox\\|b.eml", "M\xC3\xB8te\\|M\xf8te/6.eml",
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

// What lies together in a file is read by its place, long after it was listed.
TEST(Source, AFileThatChangedIsReadWhereEachItemIsStillInItsPlaceAlone) {
  const auto mail = [](const std::string& name, int lines) {
    std::string text = "From a@b.example Tue Mar  5 10:00:00 2019\nSubject: " + name + "\n\n";
    for (int i = 0; i < lines; ++i) text += "line of " + name + "\n";
    return text + "\n";
  };
  const auto mmdf = [&mail](const std::string& name, int lines) {
    return "\1\1\1\1\n" + mail(name, lines) + "\1\1\1\1\n";
  };
  const auto event = [](const std::string& name) {
    return "BEGIN:VEVENT\nUID:" + name + "\nSUMMARY:" + name +
           "\nDTSTART:20240305T100000Z\nEND:VEVENT\n";
  };
  const auto calendar = [](const std::string& events) {
    return "BEGIN:VCALENDAR\n" + events + "END:VCALENDAR\n";
  };
  const auto card = [](const std::string& name) {
    return "BEGIN:VCARD\nVERSION:3.0\nFN:" + name + "\nEND:VCARD\n";
  };
  const std::string ab = mail("a", 9) + mail("b", 2);
  struct Case {
    const char* what;
    std::string file;
    std::string before;
    std::string after;
    std::vector<bool> isRead;
  };
  for (const Case& now : {
           Case{"appended", "box", ab, ab + mail("c", 1), {true, true}},
           Case{"appended without an empty line",
                "box",
                mail("a", 1),
                mail("a", 1) + "\n" + ab,
                {true}},
           Case{"appended behind a hole",
                "box",
                ab + std::string(99, '\0'),
                ab + std::string(99, '\0') + mail("c", 1),
                {true, true}},
           Case{"marked", "box", mail("a\nStatus: O ", 1), mail("a\nStatus: RO", 1), {true}},
           Case{"grows", "box", ab.substr(0, ab.size() - 5), ab, {true, false}},
           Case{"first is gone",
                "box",
                ab + mail("c", 9),
                mail("b", 2) + mail("c", 9),
                {false, false, false}},
           Case{"another", "box", mail("a", 1), mail("b", 2), {false}},
           Case{"others", "box", mail("a", 9), mail("b", 1) + mail("c", 40), {false}},
           Case{"MMDF appended", "box", mmdf("a", 9), mmdf("a", 9) + mmdf("b", 2), {true}},
           Case{"MMDF, others", "box", mmdf("a", 9), mmdf("b", 2) + mmdf("c", 40), {false}},
           Case{"event in front",
                "x.ics",
                calendar(event("a") + event("b")),
                calendar(event("c") + event("a") + event("b")),
                {false, false}},
           Case{"card in front",
                "x.vcf",
                card("a") + card("b"),
                card("c") + card("a") + card("b"),
                {false, false}},
       }) {
    const TemporaryFolder folder;
    folder.Write(now.file, now.before);
    const Plan plan = MakePlan({folder.Path()});
    folder.Write(now.file, now.after);
    const std::string path = folder.File(now.file);  // the clock of a file may be coarse
    std::filesystem::last_write_time(
        path, std::filesystem::last_write_time(path) + std::chrono::seconds(1));
    std::vector<bool> isRead;
    for (const Plan::Entry& entry : plan.entries) {
      try {
        EXPECT_NE(ItemLoader::Load(entry).bytes, "");
        isRead.push_back(true);
      } catch (const SourceError& error) {
        EXPECT_THAT(error.what(), testing::StartsWith("its file changed since it was listed"));
        isRead.push_back(false);
      }
    }
    EXPECT_EQ(isRead, now.isRead) << now.what;
  }
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
