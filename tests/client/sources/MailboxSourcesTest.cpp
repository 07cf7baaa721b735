#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/sources/ModifiedUtf7.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
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
                  "Inbox\\|new/4:2,S|unread", "A&B\\|.A&B/cur/7:2,S",
                  "Entw\xC3\xBCrfe\\|.Entw&APw-rfe/new/6|unread",
                  "Entw\xC3\xBCrfe\\|.Entw&APw-rfe/item", "Sent\\2024\\|.Sent.2024/cur/5:2,RS",
                  "Plain\\|Plain/cur/8:2,S", "Plain\\|Plain/.item", "Inbox\\|item"));
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
              ElementsAre("cur/sub: a folder where mail belongs",
                          "new/dead: neither a file nor a folder, or a dead link",
                          ".Linked: a link to a folder"));
}

TEST(ModifiedUtf7, IsReadWhereItIsValid) {
  EXPECT_EQ(FromModifiedUtf7("~peter/mail/&U,BTFw-/&ZeVnLIqe-"),
            "~peter/mail/\xE5\x8F\xB0\xE5\x8C\x97/\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E");
  EXPECT_EQ(FromModifiedUtf7("A&-B"), "A&B");
  for (const char* name :
       {"A&B", "&", "&A-", "&APz-", "&APw", "M\xC3\xBCll&-", "&AP w-", "&2AA-", "&2D0-&3gA-"}) {
    EXPECT_EQ(FromModifiedUtf7(name), name);
  }
}

TEST(MboxSource, EachMailComesOnceWithItsQuotingUndone) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("Old mail.mbox",
                                        "From a Mon\nSubject: 1\nStatus: RO\n\nOne\n"
                                        "From here is no mail\n>From was quoted\n>>From twice\n\n"
                                        "From b Tue\nSubject: 2\nStatus: O\n\nTwo\n\n"
                                        "From c Wed\nSubject: 3\n\nThree");
  const Plan plan = MakePlan({path});
  EXPECT_THAT(Items(plan),
              ElementsAre("Old mail\\|Old mail.mbox:0", "Old mail\\|Old mail.mbox:90|unread",
                          "Old mail\\|Old mail.mbox:128"));
  const Source& source = *plan.sources[0];
  EXPECT_EQ(source.Read(plan.entries[0].item),
            "Subject: 1\nStatus: RO\n\nOne\nFrom here is no mail\nFrom was quoted\n>From twice\n");
  EXPECT_EQ(source.Read(plan.entries[1].item), "Subject: 2\nStatus: O\n\nTwo\n");
  EXPECT_EQ(source.Read(plan.entries[2].item), "Subject: 3\n\nThree");
}

TEST(MboxSource, LongLinesAndLineEndsOfEitherKindHideNoMail) {
  const TemporaryFolder folder;
  // The second mail begins where one read of the file ends and the next begins.
  const std::string first = "From a\r\nSubject: 1\r\n\r\n";
  const std::string end = "From x\r\n\r\n";
  const std::string path =
      folder.Write("m", first + std::string((1 << 20) - first.size() - end.size() - 3, 'x') + end +
                            "From b\r\nSubject: 2\r\n\r\nTwo\n\r\n");
  const Plan plan = MakePlan({path});
  ASSERT_EQ(plan.entries.size(), 2u);
  EXPECT_EQ(plan.entries[1].item.offset, (1u << 20) - 3);
  EXPECT_EQ(plan.sources[0]->Read(plan.entries[1].item), "Subject: 2\r\n\r\nTwo\n");
}

}  // namespace
}  // namespace client
