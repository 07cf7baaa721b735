#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/sources/ContentHash.h"
#include "client/sources/EmlSource.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/StateFields.h"
#include "client/sources/TagNames.h"
#include "platform/Sha256.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
using client_test::Letters;
using client_test::Problems;
using test_support::TemporaryFolder;
using testing::ElementsAre;

TEST(MaildirSource, FlagsAndSubFoldersAreRead) {
  const TemporaryFolder folder;
  for (const char* name :
       {"cur/1:2,S", "cur/2.S:2,F", "cur/3", "new/4:2,S", "tmp/half", ".Sent.2024/cur/5:2,RS",
        ".Entw&APw-rfe/new/6", ".A&B/cur/7:2,S", "Plain/cur/8:2,S"}) {
    folder.Write(name, "Subject: x\n\n");
  }
  for (const char* name : {".Sent.2024/new", ".Entw&APw-rfe/cur", ".A&B/new", "Plain/new"}) {
    std::filesystem::create_directories(folder.File(name));
  }
  // Prepared items belong to the folder above them, in the Maildir's own names.
  for (const char* item : {"item", "Plain/.item", ".Entw&APw-rfe/item"}) {
    folder.Write(std::string(item) + "/11comtextjj.t", "");
    folder.Write(std::string(item) + "/cur/attachment", "Subject: no mail of its own\n\n");
  }
  EXPECT_THAT(
      Items(MakePlan({folder.Path()})),
      ElementsAre("Inbox\\|cur/1:2,S", "Inbox\\|cur/2.S:2,F|unread", "Inbox\\|cur/3|unread",
                  "Inbox\\|new/4:2,S", "A&B\\|.A&B/cur/7:2,S",
                  "Drafts\\|.Entw&APw-rfe/new/6|unread", "Entw\xC3\xBCrfe\\|.Entw&APw-rfe/item",
                  "Sent Items\\2024\\|.Sent.2024/cur/5:2,RS", "Plain\\|Plain/cur/8:2,S",
                  "Plain\\|Plain/.item", "Inbox\\|item"));
}

TEST(MaildirSource, WhatCannotBeTakenIsNamed) {
  const TemporaryFolder folder;
  for (const char* name : {"cur/1:2,S", "cur/.hidden", "new/2", "cur/sub/3", "dovecot-uidlist"}) {
    folder.Write(name, "Subject: x\n\n");
  }
  std::filesystem::create_symlink("nowhere", folder.File("new/dead"));
  std::filesystem::create_directory_symlink("cur", folder.File(".Linked"));
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_EQ(plan.entries.size(), 2u);
  EXPECT_THAT(Problems(plan, folder.Path()),
              ElementsAre("cur/sub: a folder where mail belongs", "new/dead: a dead link",
                          ".Linked: a link to a folder"));
  EXPECT_TRUE(std::ranges::all_of(plan.problems, &SourceProblem::isUnread));
}

TEST(ModifiedUtf7, IsReadWhereItIsValid) {
  EXPECT_EQ(FromModifiedUtf7("~peter/mail/&U,BTFw-/&ZeVnLIqe-"),
            "~peter/mail/\xE5\x8F\xB0\xE5\x8C\x97/\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E");
  EXPECT_EQ(FromModifiedUtf7("A&-B"), "A&B");
  for (const char* text :
       {"A&B", "", "\xC3\xBC", "x/\xE6\x97\xA5\xE6\x9C\xAC y\xF0\x9F\x98\x80z & 1"}) {
    EXPECT_EQ(FromModifiedUtf7(ToModifiedUtf7(text, "/ ")), text);
  }
  EXPECT_EQ(ToModifiedUtf7("a/b & \xC3\xBC", "/"), "a&AC8-b &- &APw-");
  for (const char* name :
       {"A&B", "&", "&A-", "&APz-", "&APw", "M\xC3\xBCll&-", "&AP w-", "&2AA-", "&2D0-&3gA-"}) {
    EXPECT_EQ(FromModifiedUtf7(name), name);
  }
}

struct MboxCase {
  const char* name;
  std::string file;
  std::vector<std::string> mails;
  MboxKind kind = MboxKind::kAuto;
  std::uint64_t suspects = 0;
};

std::vector<std::string> MailsIn(const MboxCase& test, size_t piece) {
  MboxSplitter splitter(test.kind);
  const std::string_view file = test.file;
  for (size_t at = 0; at < file.size(); at += piece) splitter.Feed(file.substr(at, piece));
  std::vector<std::string> mails;
  for (const MboxSplitter::Mail& mail : splitter.Finish()) {
    mails.push_back(UnquoteMbox(file.substr(mail.offset, mail.length), test.kind));
  }
  EXPECT_EQ(splitter.Suspects(), test.suspects) << test.name;
  return mails;
}

const std::string kDated = "From jane@mail.example Tue Mar  5 10:00:00 2019\n";
const std::string kOther = "From john@mail.example Tue Mar  5 10:00:01 2019\n";

TEST(Mbox, IsDividedAsTheProgramMeantItThatWroteIt) {
  const std::string forward = "see:\n\n" + kOther + "Subject: within\n\nit\n";
  const std::string counted =
      "Subject: 1\nContent-Length: " + std::to_string(forward.size()) + "\n\n" + forward;
  std::string crLf = kDated + counted + "\n" + kOther + "Subject: 2\n\nb\n\n";
  for (size_t at = 0; (at = crLf.find('\n', at)) != std::string::npos; at += 2) {
    crLf.insert(at, "\r");
  }
  std::string countedCrLf;
  for (const char c : counted) countedCrLf += c == '\n' ? "\r\n" : std::string(1, c);
  const std::string undated =
      "Subject: 1\n\na\n\nFrom MAILER-DAEMON\nSubject: 2\nTo: x\n\nb\n\nFrom \nTo: x\nSubject: "
      "3\n\nc\n";
  const std::string countedUndated =
      "Content-Length: " + std::to_string(undated.size() - 12) + "\n" + undated;
  const MboxCase cases[] = {
      {"a length leads over what looks like a separator",
       kDated + counted + "\n" + kOther + "Subject: 2\n\nb\n",
       {counted, "Subject: 2\n\nb\n"}},
      {"and to the end", kDated + counted, {counted}},
      {"line ends became CR LF after it was counted",
       crLf,
       {countedCrLf, "Subject: 2\r\n\r\nb\r\n"}},
      {"one that lies is passed over",
       kDated + "Content-Length: 3\n\nabcdef\n\n" + kOther + "Content-Length: 99999\n\nb\n",
       {"Content-Length: 3\n\nabcdef\n", "Content-Length: 99999\n\nb\n"}},
      {"a length is nothing to a kind without",
       kDated + counted + "\n",
       {counted.substr(0, counted.find(kOther) - 1), "Subject: within\n\nit\n"},
       MboxKind::kMboxrd},
      {"no empty line behind a text",
       kDated + "Subject: 1\n\na\n" + kOther + "Subject: 2\n\nb",
       {"Subject: 1\n\na\n", "Subject: 2\n\nb"}},
      {"text that names a day is none without a field behind it",
       kDated + "Subject: 1\n\na\n" + kOther + "and more\n\nFrom here on\n\nFrom \n\n",
       {"Subject: 1\n\na\n" + kOther + "and more\n\nFrom here on\n\nFrom \n"}},
      {"nor is it one behind an empty line, unless the kind quotes it or fields stand behind "
       "damage",
       kDated + "Subject: 1\n\na\n\n" + kOther + "we wrote:\nNote: x\n\nb\n\n" + kOther +
           "damage\nSubject: 2\nTo: x\n\nc\n\n" + kOther + "the end",
       {"Subject: 1\n\na\n\n" + kOther + "we wrote:\nNote: x\n\nb\n",
        "damage\nSubject: 2\nTo: x\n\nc\n\n" + kOther + "the end"},
       MboxKind::kAuto,
       2},
      {"of a mail without a header",
       kDated + "Subject: 1\n\na\n\n" + kOther + "\nbody\n\n" + kDated + "Subject: 3\n\nc\n",
       {"Subject: 1\n\na\n\n" + kOther + "\nbody\n", "Subject: 3\n\nc\n"},
       MboxKind::kAuto,
       1},
      {"which a length may lead to, or over",
       kDated + "Content-Length: 2\n\na\n\n" + kOther + "\nbody\n\n" + kDated +
           "Content-Length: 59\n\nc\n\n" + kOther + "\nsaid b\n\n" + kOther + "A: 4\n\nd\n",
       {"Content-Length: 2\n\na\n", "body\n", "Content-Length: 59\n\nc\n\n" + kOther + "\nsaid b\n",
        "A: 4\n\nd\n"}},
      {"such a line where the kind would have quoted it",
       kDated + "Subject: 1\n\na\n\n" + kOther + "b\n",
       {"Subject: 1\n\na\n", "b\n"},
       MboxKind::kMboxrd},
      {"bare lines where the file has such",
       "From \r\nX-Mozilla-Status: 0001\r\nSubject: 1\n\na\n>From \n\nFrom \r\nSubject: "
       "2\r\n\r\nb\r\n",
       {"X-Mozilla-Status: 0001\r\nSubject: 1\n\na\nFrom \n", "Subject: 2\r\n\r\nb\r\n"}},
      {"and where a program's state follows",
       kDated + "Subject: 1\n\na\n\nFrom \nX-Mozilla-Status: 0000\n\nb\n",
       {"Subject: 1\n\na\n", "X-Mozilla-Status: 0000\n\nb\n"}},
      {"dates that nobody knows, in a file that begins so",
       "From jane Di 5. M\xC3\xA4rz\nSubject: 1\n\na\n\nFrom jane says\n\nFrom x Mi\nTo: 2\n\nb\n",
       {"Subject: 1\n\na\n\nFrom jane says\n", "To: 2\n\nb\n"}},
      {"where a file begins with a date, what has none may be text, and is told",
       kDated + undated,
       {undated},
       MboxKind::kAuto,
       2},
      {"unless a length says so", kDated + countedUndated, {countedUndated}},
      {"text that is followed by one field, or stands behind text, is not",
       kDated + "Subject: 1\n\na\nFrom here\nA: 1\nB: 2\n\nFrom me\nNote: x\nand\nA: 1\n",
       {"Subject: 1\n\na\nFrom here\nA: 1\nB: 2\n\nFrom me\nNote: x\nand\nA: 1\n"}},
      {"and in a kind that quotes it begins a mail",
       kDated + undated,
       {"Subject: 1\n\na\n", "Subject: 2\nTo: x\n\nb\n", "To: x\nSubject: 3\n\nc\n"},
       MboxKind::kMboxrd},
      {"a byte order mark in front",
       "\xEF\xBB\xBF" + kDated + "Subject: 1\n\na\n\n" + kOther + "Subject: 2\n\nb\n",
       {"Subject: 1\n\na\n", "Subject: 2\n\nb\n"}},
      {"two lines in a row are of one mail",
       kDated + kOther + "Subject: 1\n\na\n",
       {kOther + "Subject: 1\n\na\n"}},
      {"a program that quotes all",
       "From - Tue Mar 05 10:11:12 2019\nA: 1\n\n>From x\n>>From y\n\n",
       {"A: 1\n\nFrom x\n>From y\n"}},
      {"one that quotes the bare word",
       "From a@b Tue Mar  5 10:00:00 2019 +0000\nA: 1\n\n>From x\n>>From y\n\n",
       {"A: 1\n\nFrom x\n>>From y\n"}},
      {"one that quotes nothing",
       "From ???@??? Tue Mar 05 10:11:12 2019\r\nA: 1\r\n\r\n>From x\r\n",
       {"A: 1\r\n\r\n>From x\r\n"}},
      {"nor does this, by its length",
       kDated + "Content-Length: 8\n\n>From x\n\n",
       {"Content-Length: 8\n\n>From x\n"}},
      {"and one that does in spite of lengths",
       kDated + "Content-Length: 8\n\n>From x\n\n",
       {"Content-Length: 8\n\nFrom x\n"},
       MboxKind::kMboxcl},
      {"junk in front, and a cut end",
       "\n\njunk\n" + kDated + "Subject: 1\n\na\n\n" + kOther,
       {"Subject: 1\n\na\n", ""}},
  };
  for (const MboxCase& test : cases) {
    for (const size_t piece : {1u, 7u, 100000u}) {
      EXPECT_EQ(MailsIn(test, piece), test.mails) << test.name;
    }
  }
}

TEST(FromLine, IsKnownByWhatStandsBehindItsSender) {
  setenv("TZ", "Europe/Berlin", 1);
  tzset();
  const struct {
    const char* line;
    std::int64_t time;  // 0: no date
  } rows[] = {
      {"From jane@mail  Tue Mar 05 10:00:00 2019\n", 1551776400},
      {"From a@b Tue Mar  5 10:00:00 2019 +0000\r\n", 1551780000},
      {"From 16276@xxx Tue Mar 05 10:00:00 +0000 2019", 1551780000},
      {"From - Tue Mar 05 10:00:00 2019", 1551776400},
      {"From ???@??? Tue Mar 05 10:00:00 2019", 1551776400},
      {"From Tue Mar 05 10:00:00 GMT 2019", 1551780000},
      {"From Jane Doe <a@b> Tue Mar 05 10:00 2019 remote from host", 1551776400},
      {"From a Tue, 05 Mar 2019 10:00:00 +0000", 1551780000},
      {"From a Tue Mar  5 10:00:00 MET DST 2019", 1551776400},
      {"From a Tue Mar  5 10:00:00 GMT+1 2019", 1551776400},
      {"From a Tue Mar  5 10:00:00.123 UTC 19", 1551780000},
      {"From a 2019-03-05 10:00:00", 1551776400},
      {"From Mon to Tue Mar 5 2019 we are away", 0},
      {"From here on", 0},
      {"From a@b Tue Mar 5 10:00:00 2019 the office moves", 0},
      {"From a Tue Mar 5", 0},
  };
  for (const auto& row : rows) {
    const FromLine line = ParseFromLine(row.line);
    EXPECT_EQ(line.shape == FromLine::Shape::kDated, row.time != 0) << row.line;
    EXPECT_EQ(TimeOf(line).value_or(0), row.time) << row.line;
  }
  EXPECT_EQ(ParseFromLine("From \r\n").shape, FromLine::Shape::kBare);
}

TEST(StateFields, SayWhatEachProgramMeans) {
  const std::pair<const char*, const char*> rows[] = {
      {"Subject: x\n", "?"},
      {"Status: RO\nX-Status: FA\n", "RAF"},
      {"Status: O\nX-Status: TD\n", "DX"},
      {"status:\nX-STATUS : A\n", "A"},
      {"Status: DOR\n", "RX"},
      {"Status: RESOLVED\nX-Status: DRAFT\n", "?"},
      {"Status: RO\nStatus: DOOR\nX-Status: FADED\n", "R"},
      {"Status: 200 OK\nX-Status: FT\n", "?FD"},
      {"X-Keywords: Urgent  $label1  NonJunk $Forwarded   \n", "?W,Urgent,Important"},
      {"X-Keywords: To do, Done,\n  Urgent, \\Seen\n", "?,To do,Done,Urgent"},
      {"X-Mozilla-Status: 1007\nX-Mozilla-Status2: 02000000\nX-Mozilla-Keys: $label1 sp&AOQ-ter\n",
       "RAFW,Important,sp\xC3\xA4ter"},
      {"X-Mozilla-Status: 0008\r\nStatus: RO\r\n", "X"},
      {"X-Mozilla-Status: 0001\nX-Mozilla-Status2: 00200000\n", "RX"},
      {"X-Mozilla-Status: none\n", "?"},
      {"Status: O\nX-Evolution: 00000004-041f\n", "RAFWDX"},
      {"X-Evolution: 4\nX-Status:\n", "?"},
  };
  for (const auto& [header, wanted] : rows) {
    const StateFields fields = ReadStateFields(header);
    EXPECT_EQ(Letters(fields.state, fields.read), wanted) << header;
  }
}

TEST(TagNames, AreWhatTheOwnerOfAProfileCallsThem) {
  const TagNames tags(
      "// x\nuser_pref(\"mailnews.tags.$label1.tag\", \"Dr\\u00e4ngt \\\"sehr\\\"\");\r\n"
      "user_pref(\"mailnews.tags.$label1.color\", \"#FF0000\");\n"
      "user_pref(\"mailnews.tags.sp&AOQ-ter.tag\", \"Later on\");\n"
      "user_pref(\"mailnews.tags.cut.tag\", \"no end");
  MailState state;
  state.categories = {"Important", "sp\xC3\xA4ter", "cut", "Work", "Later on"};
  tags.Apply(state);
  EXPECT_THAT(state.categories, ElementsAre("Dr\xC3\xA4ngt \"sehr\"", "Later on", "cut", "Work"));
}

// What a store writes into a header when a mail is read, tagged or moved makes it no other mail.
TEST(ContentHash, LeavesOutWhatStoresNote) {
  const std::string mail = "Subject: x\r\n\r\nStatus: body\r\n";
  EXPECT_EQ(ContentHash(mail), platform::Sha256Hex(mail));
  for (const char* fields :
       {"Status: RO\r\n", "x-mozilla-status: 0001\r\nX-Mozilla-Keys: a\r\n b\r\n",
        "X-Keywords:\r\n\tUrgent\r\nX-UID : 7\r\n"}) {
    EXPECT_EQ(ContentHash(fields + mail), ContentHash(mail)) << fields;
    EXPECT_EQ(ContentHash("Subject: x\r\n" + std::string(fields) + mail.substr(12)),
              ContentHash(mail))
        << fields;
  }
  for (const char* other : {"Subject: x\r\n\r\nStatus: other\r\n", "Statuses: x\r\n", "Status"}) {
    EXPECT_NE(ContentHash(other + mail), ContentHash(mail)) << other;
  }
}

TEST(MboxSource, TellsStateAndLeavesWhatIsDeletedBehind) {
  const TemporaryFolder folder;
  const std::string path = folder.Write(
      "Old mail.mbox",
      kDated + "Subject: DON'T DELETE THIS MESSAGE -- FOLDER INTERNAL DATA\nX-IMAP: 1 2\n\nx\n\n" +
          kDated + "Subject: 1\nStatus: RO\n\nStatus: O\n\n" + kDated +
          "Subject: 2\nX-Status: D\n\nTwo\n\n" + kDated +
          "Subject: DON'T DELETE THIS MESSAGE -- FOLDER INTERNAL DATA\nX-IMAPbase: 1 2\n\nx\n");
  const Plan plan = MakePlan({path});
  EXPECT_THAT(Items(plan),
              ElementsAre("Old mail\\|Old mail.mbox:123", "Old mail\\|Old mail.mbox:282|unread"));
  EXPECT_EQ(plan.deleted, 1u);
  EXPECT_EQ(plan.storeData, 1u);
  EXPECT_EQ(plan.sources[0]->Read(plan.entries[0].item), "Subject: 1\nStatus: RO\n\nStatus: O\n");
  EXPECT_EQ(MakePlan({path}, {.withDeleted = true}).entries.size(), 4u);
  EXPECT_THAT(MakePlan({folder.Write("Sent", "")}).emptyFolders, ElementsAre("Sent Items\\"));
}

TEST(MaildirSource, AMailIsReadWhereverItMovedMeanwhile) {
  const TemporaryFolder folder;
  const std::pair<const char*, const char*> moves[] = {
      {"new/1.a.h", "cur/1.a.h:2,"},      {"new/2.a.h", "cur/2.a.h,U=7:2,FS"},
      {"cur/3.a.h:2,", "cur/3.a.h:2,RS"}, {"cur/4.a.h;2,S", "new/4.a.h"},
      {"cur/5.a.h:2,", "tmp/5.a.h"},      {"cur/6.a.h:2,", "cur/6.a.h:2,"}};
  for (const auto& [before, after] : moves) {
    folder.Write(before, std::string("Subject: ") + before + "\n\n");
  }
  std::filesystem::create_directory(folder.File("tmp"));
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), std::size(moves));
  for (const auto& [before, after] : moves) {
    std::filesystem::rename(folder.File(before), folder.File(after));
  }
  for (const Plan::Entry& entry : plan.entries) {
    if (entry.name == "cur/5.a.h:2,") {
      EXPECT_THROW(entry.source->Read(entry.item), SourceError);
    } else {
      EXPECT_EQ(entry.source->Read(entry.item), "Subject: " + entry.name + "\n\n");
      EXPECT_EQ(EmlSource(folder.Path(), {}).Read(entry.item), entry.source->Read(entry.item));
    }
  }
  // What was found moves once more.
  std::filesystem::rename(folder.File("cur/2.a.h,U=7:2,FS"), folder.File("cur/2.a.h,U=8:2,FS"));
  EXPECT_EQ(plan.sources[0]->Read({folder.File("new/2.a.h"), ""}), "Subject: new/2.a.h\n\n");
}

// Whichever of the two folders it is seen in, or in both.
TEST(MaildirSource, AMailThatMovesWhileItsFolderIsListedComesOnce) {
  constexpr int kMails = 2000;
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.File("cur"));
  for (int i = 0; i < kMails; ++i) {
    folder.Write("new/" + std::to_string(i) + ".h", "Subject: x\n\n");
    if (i % 10 == 0) folder.Write("cur/" + std::to_string(i) + "-.h:2,S", "Subject: x\n\n");
  }
  std::thread reader([&] {
    for (int i = 0; i < kMails; ++i) {
      const std::string name = std::to_string(i) + ".h";
      std::filesystem::rename(folder.File("new/" + name), folder.File("cur/" + name + ":2,RS"));
    }
  });
  std::vector<std::string> names;
  const Plan plan = MakePlan({folder.Path()});
  reader.join();
  for (const Plan::Entry& entry : plan.entries) {
    names.push_back(entry.name.substr(4, entry.name.find(':') - 4));
    EXPECT_EQ(entry.source->Read(entry.item), "Subject: x\n\n");
  }
  std::ranges::sort(names);
  EXPECT_EQ(std::ranges::adjacent_find(names), names.end());
  EXPECT_EQ(names.size(), kMails + kMails / 10u);
  EXPECT_THAT(Problems(plan, folder.Path()), ElementsAre());
}

TEST(MaildirSource, AFileThatIsCalledOtherwiseHasNotMoved) {
  const TemporaryFolder folder;
  folder.Write("Maildir/cur/Hello, a.eml", "Subject: a\n\n");
  folder.Write("Maildir/cur/Hello, b.eml", "Subject: b\n\n");
  std::filesystem::create_directory(folder.File("Maildir/tmp"));
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 2u);
  std::filesystem::remove(folder.File("Maildir/cur/Hello, a.eml"));
  EXPECT_THROW(plan.sources[0]->Read(plan.entries[0].item), SourceError);
}

TEST(MaildirSource, AFolderOfThatNameElsewhereMovesNoMail) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("new/Hello, a.eml", "Subject: a\n\n");
  folder.Write("new/Hello, b.eml", "Subject: b\n\n");
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 2u);
  std::filesystem::remove(path);
  EXPECT_THROW(plan.sources[0]->Read(plan.entries[0].item), SourceError);
}

TEST(MaildirSource, LettersAndKeywordsTellTheState) {
  const TemporaryFolder folder;
  for (const char* name :
       {"cur/1551780000.a.h:2,RSTa", "cur/2.a.h;2,FS", "cur/3.a.h!2,DP",
        "cur/4.a.h\xEF\x80\xBA"
        "2,Sab",
        "cur/5.a:1,S", "new/6.a.h,U=3:2,RSc", ".Sub/cur/7.a:2,a", ".Sub/new/8"}) {
    folder.Write(name, "Subject: x\n\n");
  }
  const std::pair<const char*, time_t> fileTimes[] = {{".Sub/cur/7.a:2,a", 0},
                                                      {"new/6.a.h,U=3:2,RSc", 0},
                                                      {"cur/1551780000.a.h:2,RSTa", 1551700000}};
  for (const auto& [name, time] : fileTimes) {
    const timespec times[] = {{time, 0}, {time, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, folder.File(name).c_str(), times, 0), 0);
  }
  folder.Write("dovecot-keywords", "0 $Forwarded\n1 Urgent\n99 none\nx\n2 $label2\n");
  folder.Write(".Sub/dovecot-keywords", "0 Local");
  folder.Write(".Sub/courierimapkeywords/:list", "Blue\nRed\n\n8:1 0 7 x\n7.a:1\n\n");
  folder.Write(".Sub/courierimapkeywords/.1.7.a", "Green\n");
  folder.Write(".Sub/courierimapkeywords/.2.7.a", "Work\n$Forwarded\n");
  // From a disk that takes no colon.
  folder.Write(".Win/cur/1.a!2,S", "Subject: x\n\n");
  folder.Write(".Win/cur/2.a;2,S", "Subject: x\n\n");
  folder.Write(".Win/courierimapkeywords/!list", "Blue\nRed\n\n1.a:1\n2.a:0\n");
  const Plan plan = MakePlan({folder.Path()}, {.withDeleted = true});
  std::vector<std::string> states;
  for (const Plan::Entry& entry : plan.entries) {
    states.push_back(Letters(entry.item.state, entry.item.read));
  }
  EXPECT_THAT(states, ElementsAre("RAWX", "RF", "WD", "RW,Urgent", "", "RA,Work", "W,Local,Work",
                                  ",Red,Blue", "R,Red", "R,Blue"));
  EXPECT_EQ(plan.entries[0].item.state.received, 1551700000);    // the file's: it was saved later
  EXPECT_EQ(plan.entries[5].item.state.received, std::nullopt);  // the time of a copy
  EXPECT_EQ(plan.entries[6].item.state.received, 7);             // no file was made in 1970
  EXPECT_THAT(Problems(plan, folder.Path()),
              ElementsAre(testing::StartsWith("dovecot-keywords: 1 of its keywords stay behind")));
  EXPECT_TRUE(std::ranges::none_of(plan.problems, &SourceProblem::isUnread));
  EXPECT_EQ(MakePlan({folder.Path()}).deleted, 1u);
}

}  // namespace
}  // namespace client
