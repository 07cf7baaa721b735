#include "client/run/StoreLook.h"

#include <gmock/gmock.h>

#include "client/run/FailuresInARow.h"
#include "client/run/Journal.h"
#include "client/run/RunFolder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/target/ScriptedStores.h"

// Stores of whichever provider: here a script's.
namespace client {
namespace {

using test_support::ScriptedFolder;
using testing::HasSubstr;

class StoreLookTest : public testing::Test {
 protected:
  StoreLookTest() { target.address = "store:/nowhere/Out.pst"; }

  test_support::Script script;
  test_support::ScriptedProvider provider{script};
  Target target;
};

TEST_F(StoreLookTest, FoldersAreFoundInTheStoreOfThePath) {
  const auto root = std::make_shared<ScriptedFolder>(script, u"root");
  root->AddChild(u"INBOX")->AddChild(u"Old");
  script.root = root;
  StoreLook look(target);
  EXPECT_EQ(look.Identity("($Inbox)\\old\\"), "INBOX\\Old\\");
  EXPECT_EQ(script.looked.path, "\\nowhere\\Out.pst");
  EXPECT_FALSE(look.Has("Inbox\\New\\"));
  EXPECT_EQ(look.Identity("Inbox\\New\\"), "Inbox\\New\\");
  script.isThere = false;  // which the one that looks already does not ask again
  EXPECT_TRUE(look.Has("Inbox\\"));
  EXPECT_FALSE(StoreLook(target).Has("Inbox\\"));
}

TEST_F(StoreLookTest, ALogonIsTriedAsTheEngineDoesIt) {
  script.root = std::make_shared<ScriptedFolder>(script, u"root");
  EXPECT_EQ(TryStore(target), "");
  EXPECT_EQ(script.TakeCalls().substr(0, 23), "session, logon '' 00100");
  script.isThere = false;  // it will be made
  EXPECT_EQ(TryStore(target), "");
  script.hasSession = false;
  EXPECT_EQ(TryStore(target), "no such class");
  script.problem = "it is held";
  EXPECT_EQ(StoreProblem(target), "it is held");
  EXPECT_EQ(TryStore(target), "it is held");
}

TEST_F(StoreLookTest, AnotherStoreInThePlaceOfTheRunsOwnIsRefusedOnceItHoldsItems) {
  const test_support::TemporaryFolder folder;
  Journal journal(folder.File("journal.db"));
  const auto refusal = [&]() -> std::string {
    try {
      RequireStoreKept(target, journal);
      return "";
    } catch (const RunError& error) {
      return error.what();
    }
  };
  script.identity = "first";
  KeepStore(target, journal);
  script.isThere = false;
  EXPECT_EQ(refusal(), "");  // nothing is lost
  journal.Store({"/m/a.eml", "Inbox\\", "h1", "<a>", ItemResult::kArrived, ""});
  EXPECT_THAT(refusal(), HasSubstr("Out.pst is not there any more"));
  script.isThere = std::nullopt;  // nobody can tell
  EXPECT_EQ(refusal(), "");
  script.isThere = true;
  EXPECT_EQ(refusal(), "");
  script.identity = "second";
  EXPECT_THAT(refusal(), HasSubstr("Out.pst is not the one that this run filled"));
  script.identity = std::nullopt;
  EXPECT_EQ(refusal(), "");
  target.address = "https://mail.example.com/";
  script.isThere = false;
  EXPECT_EQ(refusal(), "");
}

TEST_F(StoreLookTest, WhatAStoreSaysOfItselfIsToldFromWhatItSaysOfAnItem) {
  const struct {
    const char* text;
    bool isOfStore;
    bool isGone;
  } rows[] = {
      {"The store failed: /nowhere/Out.pst fails: disk full", true, false},
      {"The folder could not be made in the store. The store failed: disk full", true, false},
      {"The store is gone: /nowhere/Out.pst is not there any more", true, true},
      {"The folder could not be made in the store. The store is gone: x", true, true},
      {"The folder could not be made in the store.", false, false},
      {"The folder could not be made in the store. A folder needs a name.", false, false},
      {"The invalid value 'The store is gone: x' was specified for the 'Subject' element.", false,
       false},
      {"", false, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(IsOfStore(row.text), row.isOfStore) << row.text;
    EXPECT_EQ(IsStoreGone(target, row.text), row.isGone) << row.text;
    FailuresInARow failures(target);
    std::string reason;
    for (int item = 0; item < 20; ++item) {
      EXPECT_EQ(reason, "");
      reason = failures.Add({Outcome::Kind::kFailed, row.text});
    }
    EXPECT_EQ(!reason.empty(), row.isOfStore) << row.text;
  }
  script.isThere = false;
  EXPECT_TRUE(IsStoreGone(target, "Whatever."));
}

}  // namespace
}  // namespace client
