#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/sources/PlanText.h"
#include "tests/client/sources/StoreTexts.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Emlx;
using client_test::Items;
using client_test::kMail;
using client_test::kMmdfMark;
using client_test::kSeparator;
using client_test::kText;
using client_test::Mbox;
using client_test::Problems;
using client_test::WithCr;
using test_support::TemporaryFolder;
using testing::ElementsAre;

TEST(Stores, WhatMayBeMailAndIsNotReadIsNamedAsALoss) {
  const TemporaryFolder folder;
  const std::pair<const char*, std::string> lost[] = {
      {"1.partial.emlx.dbx", "\xCF\xAD\x12\xFE"},
      {"Inbox.dbx", "\xCF\xAD\x12\xFE"},
      {"babyl", "BABYL OPTIONS: x\n"},
      {"mail", "To: a@b\nSubject: x\n\nx"},
      {".mix5c7e4f00", ":msg:1"},
      {".Inbox.tmp", Mbox()},
      {"Server.log", "*mbx*\r\n"},
      {"m.1", "2 M1e C5c7e4f00\n"},
      {"nstmp-2", Mbox()},
      {"x.mbox", "nothing"},
      {"x.mbox.gz", "\x1F\x8B"},
      {"x.msg", "\xD0\xCF\x11\xE0"},
      {"wide", std::string("\xFF\xFE"
                           "F\0r\0o\0m\0 \0",
                           12)},
      {"Kunden", std::string(5000, '\0')},
      {"zeros.bin", std::string(5000, '\0')},
      {".box", '\0' + Mbox("A: b\n")},
      {"nstmp-3", '\0' + Mbox("A: b\n")},
      {"Old.log", std::string(5000, '\0')},
      {"2019.txt", "Of 2019\n" + Mbox("A: b\n") + Mbox("A: b\n")},
      {"2018.txt",
       "Of 2018\n" + Mbox("A: b\n") + std::string(3 << 20, 'x') + "\n\n" + Mbox("A: b\n")}};
  folder.Write("Old.log.msf", "x");
  for (const auto& [name, bytes] : lost) folder.Write(name, bytes);
  folder.Write("notes.txt", "Note: one field is none\n");
  folder.Write("dates.txt", "2 May\n");
  folder.Write("dovecot-uidlist", "3 V1\n");
  folder.Write("abook.sqlite", "x");
  folder.Write("old.mab", "x");
  folder.Write("Kunden.msf", "x");
  // What stands in them are no mails of theirs.
  const std::string mails = "\n\n" + Mbox("Status: O\n");
  folder.Write("x.pdf", "%PDF-1.4" + mails);
  folder.Write("far.txt", std::string(2 << 20, 'x') + mails);
  folder.Write("quote.txt", "He wrote:" + mails + std::string(20000, 'x') + "\n\n" + kSeparator);
  const std::string patch = "\n\nFrom " + std::string(40, 'a') + " Mon Sep 17 00:00:00 2001\n" +
                            "From: x@y\nDate: Fri, 1 Mar 2019 10:00:00 +0000\n\n---\n";
  folder.Write("series.patch", "Two of them:" + patch + mails + patch);
  folder.Write("letter.txt",
               "Dear,\nFrom here on\nA: 1\nB: 2\n\n" + kSeparator + "we write\nA: 1\n");
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_TRUE(plan.entries.empty());
  int losses = 0;
  for (const SourceProblem& problem : plan.problems) losses += problem.isUnread;
  EXPECT_EQ(losses, 20);
  EXPECT_EQ(plan.problems.size(), 29u);
}

// In a tree and by itself.
TEST(Stores, AnMboxComesFromItsFirstWholeMailOnWhereItsBeginningIsDamaged) {
  const std::string mail = Mbox("Status: O\n");
  const std::string folded = kSeparator + "Received: from a\n\tby b\nStatus: RO\n" + kText;
  const std::string file = mail + folded;
  const struct {
    const char* name;
    std::string front;
    std::string mails;
  } rows[] = {{"Nulls", std::string(4096, '\0'), file},
              {"OneNull", std::string(1, '\0'), file},
              {"ManyNulls", std::string(200000, '\0'), file},
              {"Line", "rubbish\n", file},
              {"Marks", "\xFF\xFE", file},
              {"Cut", mail.substr(10), folded + "\n" + mail},
              {"CutField", mail.substr(kSeparator.size() + 2), folded + "\n" + mail},
              {"OfAMac", WithCr("rubbish\n"), WithCr(file)},
              {"Text", "here\nFrom here on\n" + std::string(10000, 'x') + "\n\n", file},
              {"Likely.mbox", std::string(500000, 'x') + "\n\n", file},
              {"Binary.mbox", std::string("\1\0\2", 3) + std::string(5000, 'x') + "\n\n", file}};
  for (const auto& row : rows) {
    const TemporaryFolder folder;
    const std::string path = folder.Write(row.name, row.front + row.mails);
    for (const std::string& source : {folder.Path(), path}) {
      const Plan plan = MakePlan({source});
      ASSERT_EQ(plan.entries.size(), 2u) << row.name;
      EXPECT_EQ(plan.entries[0].item.offset, row.front.size()) << row.name;
      EXPECT_TRUE(plan.entries[1].source->Read(plan.entries[1].item).ends_with(kText)) << row.name;
      ASSERT_EQ(plan.problems.size(), 1u) << row.name;
      EXPECT_TRUE(plan.problems[0].isUnread);
      EXPECT_THAT(plan.problems[0].reason,
                  testing::HasSubstr(" " + std::to_string(row.front.size()) + " bytes"));
    }
  }
}

TEST(Stores, AHoleInAnMboxTakesNoOtherMailAlong) {
  const std::string hole(64, '\0');
  const std::string far(5000, '\0');
  const struct {
    const char* name;
    std::string file;
    std::size_t mails;
    std::string first;
    const char* problem;
  } rows[] = {
      {"Between", Mbox() + hole + Mbox() + Mbox() + far + Mbox(), 4, kText, "5064 of its bytes"},
      {"InText", kSeparator + kMail + "te" + far + Mbox(), 2, kMail + "te", "5000 of its bytes"},
      {"InHeader", kSeparator + "Subject: x" + hole + Mbox(), 2, "Subject: x", "64 of its bytes"},
      {"Within", kSeparator + kMail + "te" + hole + "xt\n\n" + Mbox(), 2,
       kMail + "te" + hole + "xt\n", "64 of its bytes"},
      {"AtEnd", Mbox() + Mbox() + hole, 2, kText, "64 of its bytes"},
      {"Cut", Mbox() + kSeparator + kMail + "te", 2, kText, "its last mail ends within a line"},
      {"Mmdf", kMmdfMark + kText + kMmdfMark + kMmdfMark + kMail + far + "\n" + kMmdfMark, 2, kText,
       "5000 of its bytes"},
      {"MmdfMarks", kMmdfMark + kMail + "te" + far + "ject: x\nTo: a@b\n\nx\n" + kMmdfMark, 2,
       kMail + "te", "5000 of its bytes"},
      {"OfDos", Mbox() + "\x1A", 1, kText + "\n\x1A", nullptr},
      {"OwnNulls", kSeparator + kMail + std::string(63, '\0') + "From\n\n", 1,
       kMail + std::string(63, '\0') + "From\n", nullptr},
      {"OfALength", kSeparator + "Content-Length: 2\n" + kMail + "te", 1,
       "Content-Length: 2\n" + kMail + "te", nullptr}};
  for (const auto& row : rows) {
    const TemporaryFolder folder;
    const Plan plan = MakePlan({folder.Write(row.name, row.file)});
    ASSERT_EQ(plan.entries.size(), row.mails) << row.name;
    EXPECT_EQ(plan.sources[0]->Read(plan.entries[0].item), row.first) << row.name;
    EXPECT_NO_THROW(plan.sources[0]->Read(plan.entries[row.mails - 1].item)) << row.name;
    ASSERT_EQ(plan.problems.size(), row.problem ? 1u : 0u) << row.name;
    if (!row.problem) continue;
    EXPECT_THAT(plan.problems[0].reason, testing::StartsWith(row.problem));
    EXPECT_TRUE(plan.problems[0].isUnread);
  }
}

TEST(Stores, OfSeveralVersionsOfAnAppleMailTheNewestIsRead) {
  const std::string place = "/0A1B2C3D-1111-2222-3333-444455556666/INBOX.mbox/Messages/1.emlx";
  const TemporaryFolder folder;
  for (const char* version : {"V2", "V9", "V10"}) {
    folder.Write("Library/Mail/" + (version + place), Emlx(kMail, 1));
  }
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_THAT(Items(plan), ElementsAre("Inbox\\|Library/Mail/V10" + place));
  EXPECT_THAT(Problems(plan, folder.Path()),
              ElementsAre(testing::HasSubstr("Mail/V2: an Apple Mail had its mail there before it "
                                             "had it in V10"),
                          testing::HasSubstr("Mail/V9: an Apple Mail")));
  EXPECT_TRUE(std::ranges::all_of(plan.problems, &SourceProblem::isUnread));
}

// The mail is sent as far as it is there.
TEST(Stores, WhatMayHoldMoreMailIsSentAndNamed) {
  const TemporaryFolder folder;
  const std::string whole = Emlx(kText, 0);
  folder.Write("A.mbox/Messages/1.emlx", whole.substr(0, whole.find("xt\n<plist>")));
  folder.Write("Box", Mbox() + "From MAILER-DAEMON\nSubject: 2\nTo: a@b\n\nb\n");
  // Lines by which a mail may begin, one without a header and one without a date.
  folder.Write("Box2", Mbox() + "From person Tue Jan  2 10:00:00 2018\nwho wrote\n\n" +
                           "From somebody\nFrom: x@y\nTo: z@q\n\nb\n");
  folder.Write("mh/.mh_sequences", "");
  folder.Write("mh/2018", Mbox() + Mbox());
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 5u);
  EXPECT_EQ(plan.sources[0]->Read(plan.entries[2].item), kMail + "te");
  EXPECT_THAT(Problems(plan, folder.Path()),
              ElementsAre(testing::StartsWith("Box: 1 of its lines begin with \"From \""),
                          testing::StartsWith("Box2: 2 of its lines begin with \"From \""),
                          "A.mbox/Messages/1.emlx: the mail is cut: 14 of its 17 bytes are there"));
  EXPECT_TRUE(std::ranges::all_of(plan.problems, &SourceProblem::isUnread));
}

// Whoever may read everything is somebody else for that long.
class WithoutRights {
 public:
  WithoutRights() { EXPECT_EQ(m_user == 0 ? seteuid(kNobody) : 0, 0); }
  ~WithoutRights() { EXPECT_EQ(seteuid(m_user), 0); }
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  const uid_t m_user = geteuid();
};

TEST(Stores, WhatCannotBeOpenedMayBeMail) {
  const TemporaryFolder folder;
  folder.Write("tree/box", Mbox());
  folder.Write("tree/Kunde/1.eml", kMail);
  folder.Write("tree/Jane/cur/1.a:2,S", kMail);
  folder.Write("tree/Jane/new/2.a", kMail);
  folder.Write("tree/Jane/.Sent/cur/3.a:2,S", kMail);
  chmod(folder.Path().c_str(), 0755);
  chmod(folder.File("tree/box").c_str(), 0);
  const auto setMode = [&](mode_t mode) {
    for (const char* name : {"tree/Kunde", "tree/Jane/cur", "tree/Jane/.Sent"}) {
      chmod(folder.File(name).c_str(), mode);
    }
  };
  setMode(0744);  // may be listed, and nothing in them looked at
  const WithoutRights rights;
  const Plan plan = MakePlan({folder.File("tree")});
  EXPECT_THAT(Items(plan), ElementsAre("Jane\\|Jane/new/2.a|unread"));
  const std::string reason = ": cannot be looked at: Permission denied";
  EXPECT_THAT(Problems(plan, folder.File("tree")),
              ElementsAre("box: cannot be read: Permission denied", "Jane/cur/1.a:2,S" + reason,
                          "Jane/.Sent/cur" + reason, "Kunde/1.eml" + reason));
  EXPECT_TRUE(std::ranges::all_of(plan.problems, &SourceProblem::isUnread));
  EXPECT_THROW(MakePlan({folder.File("tree/box")}), SourceError);
  setMode(0755);  // lets them be removed
}

// As its name and its place have it, where it may hold mail or says what is read; what else a
// program keeps beside mail is named alone.
TEST(Stores, WhatCannotBeReadIsToldByItsNameAndPlace) {
  const std::string imap = "ImapMail/imap.example/Part";
  const std::string denied = ": cannot be read: Permission denied";
  const std::string hidden = ": it is hidden, cannot be read: Permission denied";
  const struct {
    const char* name;
    std::map<std::string, std::string> files;
    std::vector<std::string> unreadable;
    std::vector<std::string> told;  // what each begins with, "!" in front of a loss
  } rows[] = {
      {"a profile",
       {{"Mail/Local Folders/Inbox", Mbox()}, {imap, Mbox()}},
       {"prefs.js", imap + ".msf"},
       {"!prefs.js" + denied, "!" + imap + ".msf" + denied}},
      {"beside mail",
       {{"Inbox", Mbox()}, {".empty", ""}},
       {".box", ".empty", "._box", ".mbsyncstate.new", "nstmp-2", "x.wdseml"},
       {"!.box" + hidden, "!nstmp-2" + denied}},
      {"a home",
       {{"mbox", Mbox()}, {".bashrc", "x"}, {"a/.x", "x"}},
       {".bash_history", ".old.mbox", ".backup.zip", "a/.env"},
       {"!.backup.zip" + hidden, "!.old.mbox" + hidden}},
      {"MH",
       {{"1", kMail}},
       {".mh_sequences", ".claws_mark", ".sylpheed_mark", ".hidden"},
       {".mh_sequences" + denied, ".claws_mark" + denied, ".sylpheed_mark" + denied,
        "!.hidden" + hidden}},
      {"a Maildir",
       {{"cur/1.a:2,S", kMail}},
       {"courierimapkeywords/:list", "courierimapkeywords/.1.1.a", "dovecot-attributes", ".box"},
       {"courierimapkeywords/:list" + denied, "courierimapkeywords/.1.1.a" + denied,
        "!.box" + hidden, "!dovecot-attributes" + denied}},
  };
  for (const auto& row : rows) {
    const TemporaryFolder folder;
    chmod(folder.Path().c_str(), 0755);
    for (const auto& [name, bytes] : row.files) folder.Write(name, bytes);
    for (const std::string& name : row.unreadable) {
      if (!row.files.contains(name)) folder.Write(name, "x");
      chmod(folder.File(name).c_str(), 0);
    }
    const WithoutRights rights;
    const Plan plan = MakePlan({folder.Path()});
    std::vector<std::string> told = Problems(plan, folder.Path());
    for (std::size_t i = 0; i < told.size(); ++i) {
      if (plan.problems[i].isUnread) told[i].insert(0, "!");
    }
    std::vector<testing::Matcher<std::string>> wanted;
    for (const std::string& text : row.told) wanted.push_back(testing::StartsWith(text));
    EXPECT_THAT(told, testing::ElementsAreArray(wanted)) << row.name;
  }
}

}  // namespace
}  // namespace client
