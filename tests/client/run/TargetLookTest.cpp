#include "client/run/ServerLook.h"

#include <gmock/gmock.h>

#include <memory>

#include "client/run/LateCopies.h"
#include "client/run/LedgerLook.h"
#include "client/run/SecondPlaces.h"
#include "client/run/UnknownOutcome.h"
#include "ews/Settings.h"
#include "mailboxd/Server.h"
#include "pipeline/SeriesSaving.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A local mailbox as the target, filled from behind.
class Look : public testing::Test {
 protected:
  Look() {
    mailbox::ServerOptions options;
    options.dataFolder = folder.File("mailbox");
    server = std::make_unique<mailbox::Server>(options);
    server->Start();
    ews::Settings().strEwsUrl = CString::FromUtf8(server->EwsUrl());
    target.address = server->EwsUrl();
    target.user = "ann@example.com";
    target.password = "x";
    root = *Store().FindWellKnown(Store().Mailbox(target.user), "msgfolderroot");
  }
  mailbox::Store& Store() { return server->Mailboxes(); }

  std::int64_t MakeFolder(std::int64_t parent, const std::string& name) {
    return Store().CreateFolder(*Store().Folder(parent), name, "IPF.Note")->id;
  }
  void MakeItem(std::int64_t place, const std::string& id, const std::string& key = "") {
    mailbox::NewItem item;
    item.info.folder = place;
    item.info.messageId = id;
    if (!key.empty()) {
      item.info.properties.push_back({"named:PublicStrings:name:TarnyKey", "String", {key}});
    }
    Store().CreateItem(item);
  }
  // Key and id of each item found.
  std::vector<std::string> Find(const std::string& path, const char16_t* key, const char16_t* id) {
    std::vector<std::string> found;
    look.Find(path, key, id, [&](const ews::FoundItem& item) {
      found.push_back(item.strKey.ToUtf8() + "|" + item.strMessageId.ToUtf8());
    });
    return found;
  }
  int Count(const std::string& path) {
    int count = 0;
    look.List(path, [&](const ews::FoundItem&) { ++count; });
    return count;
  }

  SettingsKeeper settings;
  const test_support::TemporaryFolder folder;
  std::unique_ptr<mailbox::Server> server;
  Target target;
  std::int64_t root = 0;
  ServerLook look{target};
};

TEST_F(Look, APathLeadsToTheFolderOfTheEngineAndMakesNone) {
  const std::int64_t deep = MakeFolder(MakeFolder(root, "Projects"), "To Do");
  MakeItem(deep, "<a@x>");
  const std::size_t folders = Store().ChildFolders(root, /*deep=*/true).size();
  EXPECT_EQ(Count("projects\\($ToDo)\\"), 1);  // a name of the source's own, in any case
  EXPECT_EQ(Count("Projects\\"), 0);
  EXPECT_EQ(Count("Project\\"), 0);
  EXPECT_EQ(Count("Projects\\None\\"), 0);
  EXPECT_EQ(Store().ChildFolders(root, /*deep=*/true).size(), folders);
}

// The kinds of the plan tell which path leads elsewhere.
TEST_F(Look, APathOfMailLeadsBelowTheInboxWhereTheEngineWentThere) {
  ews::Settings().bSafe = true;
  const std::int64_t inbox = *Store().FindWellKnown(Store().Mailbox(target.user), "inbox");
  const std::int64_t dates =
      Store().CreateFolder(*Store().Folder(root), "Termine", "IPF.Appointment")->id;
  MakeItem(dates, "<event@x>");
  const std::int64_t mails = MakeFolder(inbox, "Termine");
  MakeItem(mails, "<1@x>");
  MakeItem(MakeFolder(mails, "Alt"), "<2@x>");
  MakeItem(mails, "<3@x>");
  ServerLook kinds{target, {{"termine\\", 0}, {"termine\\alt\\", 0}}};
  const auto count = [&](ServerLook& from, const Place& place) {
    int items = 0;
    from.List(place, [&](const ews::FoundItem&) { ++items; });
    return items;
  };
  EXPECT_EQ(count(kinds, "Termine\\"), 2);
  EXPECT_EQ(count(kinds, "Termine\\Alt\\"), 1);
  EXPECT_EQ(count(kinds, Place("Termine\\", ews::WellKnownFolderName::MsgFolderRoot)), 1);
  ServerLook events{target, {{"termine\\", 4}}};
  EXPECT_EQ(count(events, "Termine\\"), 1);
  // No item is for it: whether it is there is all that is asked.
  EXPECT_EQ(count(look, "Termine\\"), 1);
  EXPECT_TRUE(look.Has("Termine\\Alt\\"));
  EXPECT_FALSE(look.Has("Termine\\Neu\\"));
  ews::Settings().bSafe = false;
  ServerLook asItIs{target, {{"termine\\", 0}}};
  EXPECT_EQ(count(asItIs, "Termine\\"), 1);
}

TEST_F(Look, AFolderBehindAThousandThatHoldItsNameIsFound) {
  const std::int64_t parent = MakeFolder(root, "Many");
  for (int i = 0; i < 1005; ++i) MakeFolder(parent, "A report " + std::to_string(i));
  MakeItem(MakeFolder(parent, "report"), "<a@x>");
  EXPECT_EQ(Count("Many\\Report\\"), 1);
}

TEST_F(Look, AnItemIsFoundByKeyOrIdInItsFolderAlone) {
  const std::int64_t place = MakeFolder(root, "A");
  MakeItem(place, "<a@x>", "k'1 <&>");
  MakeItem(place, "<b@x>");
  MakeItem(MakeFolder(root, "B"), "<a@x>", "k'1 <&>");
  EXPECT_THAT(Find("A\\", u"k'1 <&>", u""), ElementsAre("k'1 <&>|<a@x>"));
  EXPECT_THAT(Find("A\\", u"", u"<b@x>"), ElementsAre("|<b@x>"));
  EXPECT_THAT(Find("A\\", u"k'1 <&>", u"<b@x>"), ElementsAre("k'1 <&>|<a@x>", "|<b@x>"));
  EXPECT_THAT(Find("A\\", u"", u""), ElementsAre());
  EXPECT_THAT(Find("None\\", u"k'1 <&>", u"<b@x>"), ElementsAre());
}

TEST_F(Look, AFolderIsReadPageByPageToItsEnd) {
  const std::int64_t place = MakeFolder(root, "A");
  for (int i = 0; i < 2001; ++i) MakeItem(place, "<" + std::to_string(i) + "@x>");
  EXPECT_EQ(Count("A\\"), 2001);
}

TEST_F(Look, TheFoldersThatTheEngineFallsBackToAreReadByKeyUnlessTheyAreTheSources) {
  using ews::WellKnownFolderName;
  const std::int64_t contacts = *Store().FindWellKnown(Store().Mailbox(target.user), "contacts");
  const std::int64_t others =
      Store().CreateFolder(*Store().Folder(contacts), "Other Contacts", "IPF.Contact")->id;
  MakeItem(MakeFolder(root, "Task"), "", "k");
  MakeItem(others, "", "k");
  MakeItem(others, "", "k");
  const Place tasks("Task\\", WellKnownFolderName::MsgFolderRoot);
  const Place people("Other Contacts\\", WellKnownFolderName::Contacts);
  SecondPlaces second(look, {});
  for (const Place& place : {tasks, people, people}) EXPECT_TRUE(second.Take(place, "k"));
  for (const Place& place : {tasks, people}) EXPECT_FALSE(second.Take(place, "k"));
  EXPECT_FALSE(second.Take(Place("Other Contacts\\None\\", WellKnownFolderName::Contacts), "k"));
  EXPECT_FALSE(SecondPlaces(look, {look.Identity(Place("Task\\"))}).Take(tasks, "k"));
}

TEST_F(Look, WhatALostTryLeftOfASeriesIsACopyOfItAndHasNotArrived) {
  const std::int64_t place = MakeFolder(root, "A");
  MakeItem(place, "", UnfinishedKey(u"k").ToUtf8());
  LedgerLook ledger(folder.File("none.db"));
  UnknownOutcome unknown(look, ledger, target.Login(), UnknownOutcome::Keyed::kAll);
  LoadedItem item;
  item.key = "k";
  item.mayBeSeries = true;
  EXPECT_EQ(unknown.AskOnce("A\\", item).kind, TargetAnswer::Kind::kAbsent);
  MakeItem(place, "", "k");
  EXPECT_EQ(unknown.AskOnce("A\\", item).copies, 1u);
  EXPECT_EQ(unknown.CountOnce("A\\", item).copies, 2u);
  item.mayBeSeries = false;
  EXPECT_EQ(unknown.CountOnce("A\\", item).copies, 1u);
}

TEST_F(Look, AServerThatIsGoneIsNoFolderThatIsNotThere) {
  server.reset();
  EXPECT_THAT(TextOf([&] { Count("A\\"); }), HasSubstr("folder A\\ cannot be read: The request"));
  EXPECT_THAT(TextOf([&] { look.Identity("A\\"); }), HasSubstr("folder A\\ cannot be read: The"));
}

// Questions about one mail, to a target that answers by a script.
class Unknown : public Scripted {
 protected:
  Unknown() {
    ews::Settings().strEwsUrl = u"https://mail.example.com/EWS/Exchange.asmx";
    target.user = "ann@example.com";
    item.key = item.messageId = "<a@x>";
    m_transport.Push(answers::Found({{"F", "A"}}));
  }
  void PushItems(const std::string& items, bool isLastPage = true) {
    m_transport.Push(
        answers::Success("FindItem", std::string("<m:RootFolder IncludesLastItemInRange=\"") +
                                         (isLastPage ? "true" : "false") + "\"><t:Items>" + items +
                                         "</t:Items></m:RootFolder>"));
  }
  TargetAnswer Ask(UnknownOutcome::Keyed keyed = UnknownOutcome::Keyed::kSome) {
    LedgerLook ledger(folder.File("none.db"));
    return UnknownOutcome(look, ledger, target.Login(), keyed)
        .Ask("A\\", item, std::chrono::seconds(5));
  }
  static std::string Mail(const std::string& id) {
    return "<t:Message><t:ItemId Id=\"" + id +
           "\"/><t:ExtendedProperty><t:ExtendedFieldURI PropertyTag=\"0x1035\" "
           "PropertyType=\"String\"/><t:Value>&lt;a@x&gt;</t:Value></t:ExtendedProperty>"
           "</t:Message>";
  }

  const test_support::TemporaryFolder folder;
  Target target;
  ServerLook look{target};
  LoadedItem item;
};

TEST_F(Unknown, WhatIsNotThereIsAskedForAsLongAsAServerMayBeAtWork) {
  PushItems("");
  PushItems("");
  PushItems(Mail("I"));
  const TargetAnswer answer = Ask();
  EXPECT_EQ(answer.kind, TargetAnswer::Kind::kThere);
  EXPECT_EQ(answer.copies, 1u);
  EXPECT_EQ(m_transport.Waited(), std::chrono::seconds(3));
  for (int i = 0; i < 4; ++i) PushItems("");
  EXPECT_EQ(Ask().kind, TargetAnswer::Kind::kAbsent);
  EXPECT_EQ(m_transport.Waited(), std::chrono::seconds(8));
  PushItems(Mail("I") + Mail("J"));
  EXPECT_EQ(Ask().copies, 2u);
}

TEST_F(Unknown, ARefusedSearchAndALostServerAreToldApart) {
  const std::string no = answers::Error("FindItem", "ErrorAccessDenied", "You may not look.");
  m_transport.Push(no);
  PushItems(Mail("I"));
  EXPECT_EQ(Ask().kind, TargetAnswer::Kind::kThere) << "a single refusal is asked once more";
  m_transport.Push(no);
  m_transport.Push(no);
  const TargetAnswer refused = Ask();
  EXPECT_EQ(refused.kind, TargetAnswer::Kind::kNotAsked);
  EXPECT_EQ(refused.reason, "You may not look.");
  m_transport.Push(answers::Error("FindItem", "ErrorInternalServerError", "Something broke."));
  PushItems(Mail("I"));
  EXPECT_EQ(Ask().kind, TargetAnswer::Kind::kThere) << "an error in passing is no refusal";
  ews::Failure outage;
  outage.bOutage = true;
  for (int i = 0; i < 4; ++i) m_transport.PushFailure("The request failed. No answer.", outage);
  EXPECT_EQ(Ask().kind, TargetAnswer::Kind::kUnreachable);
  for (int i = 0; i < 4; ++i) {
    m_transport.Push(answers::Error("FindItem", "ErrorInternalServerError", "Something broke."));
  }
  EXPECT_EQ(Ask().kind, TargetAnswer::Kind::kNotAsked) << "and one that does not pass is one";
}

TEST_F(Unknown, ATargetThatAnswersAllButTheSearchCannotBeAsked) {
  ews::Settings().bSafe = true;
  ews::Settings().nPatience = std::chrono::minutes(30);
  const struct {
    int status;
    int before;  // tries before another question is asked
  } rows[] = {{403, 1}, {500, 5}, {404, 5}, {400, 4}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.status);
    const auto before = m_transport.Waited();
    for (int question = 0; question < 2; ++question) {
      for (int i = 0; i < row.before; ++i) m_transport.Push("", row.status);
      if (row.status == 400) continue;
      m_transport.Push(answers::Found({}));
      m_transport.Push("", row.status);
    }
    const TargetAnswer answer = Ask();
    EXPECT_EQ(answer.kind, TargetAnswer::Kind::kNotAsked);
    EXPECT_THAT(answer.reason, HasSubstr("HTTP " + std::to_string(row.status)));
    EXPECT_LT(m_transport.Waited() - before, std::chrono::seconds(40));
    m_transport.Clear();
  }
}

TEST_F(Unknown, AFolderThatItemsAreTakenOutOfIsReadAgainAndNoneIsPassedOver) {
  PushItems(Mail("I") + Mail("J"), /*isLastPage=*/false);
  PushItems(Mail("L"));  // I is gone, so that K stands where J was
  PushItems(Mail("J") + Mail("K"), /*isLastPage=*/false);
  PushItems(Mail("K") + Mail("L"));
  std::vector<std::string> ids;
  look.List("A\\", [&](const ews::FoundItem& found) { ids.push_back(found.strId.ToUtf8()); });
  EXPECT_THAT(ids, ElementsAre("I", "J", "K", "L"));
  // One that ends no reading is read to its end once all the same, and so is one page without end.
  for (int i = 0; i < 4; ++i) {
    PushItems(Mail("I") + Mail("J"), /*isLastPage=*/false);
    PushItems(Mail("K") + Mail("L"));
  }
  for (int i = 0; i < 2; ++i) PushItems(Mail("X") + Mail("Y"), /*isLastPage=*/false);
  ids.clear();
  look.List("A\\", [&](const ews::FoundItem& found) { ids.push_back(found.strId.ToUtf8()); });
  EXPECT_THAT(ids, ElementsAre("I", "J", "X", "Y"));
}

TEST_F(Unknown, WhatComesLateIsLookedForOnceMoreAndTold) {
  LedgerLook ledger(folder.File("none.db"));
  UnknownOutcome unknown(look, ledger, target.Login(), UnknownOutcome::Keyed::kSome);
  LateCopies late(unknown);
  std::vector<std::string> told;
  int inVain = 0;
  const auto tell = [&](const LateCopies::Item& one, const std::string& remark,
                        LateCopies::Looked looked) {
    told.push_back(one.name + ": " + remark);
    inVain += looked == LateCopies::Looked::kInVain ? 1 : 0;
  };
  const auto watch = [&](const std::string& name, std::size_t sent, std::chrono::seconds ago) {
    late.Watch({name, {name, "A\\", {}, {}, ItemResult::kArrived, {}}, item, sent, 1},
               {m_transport.Now() - ago, std::chrono::seconds(5)});
  };
  watch("1", 2, std::chrono::seconds(10));
  watch("2", 2, std::chrono::seconds(2));
  watch("3", 3, std::chrono::seconds(8));
  watch("long ago", 2, std::chrono::seconds(60));
  PushItems(Mail("I") + Mail("J"));
  PushItems(Mail("I"));
  for (int i = 0; i < 2; ++i) {
    m_transport.Push(answers::Error("FindItem", "ErrorAccessDenied", "You may not look."));
  }
  PushItems(Mail("I") + Mail("J"));
  late.Look(/*ask=*/true, tell);
  EXPECT_EQ(m_transport.Waited(), LateCopies::kLate - std::chrono::seconds(1));
  EXPECT_THAT(told, ElementsAre("1: it is there twice", "2: ",
                                "3: may be there 3 times: the target could not be asked (You may "
                                "not look.)",
                                "long ago: it is there twice"));
  // A run that ended early asks nobody.
  watch("4", 2, {});
  told.clear();
  late.Look(/*ask=*/false, tell);
  EXPECT_THAT(told,
              ElementsAre("4: may be there twice: the run ended before it looked for what comes "
                          "late; the next one looks"));
  EXPECT_EQ(inVain, 1) << "a refusal is an answer, the end of a run is none";
  EXPECT_EQ(m_transport.Requests().size(), 6u) << "the folder, each item, a refused one twice";
}

TEST(TimeToFinish, IsAsLongAsTheServerWorkedOnItWithinBounds) {
  using std::chrono::seconds;
  EXPECT_EQ(TimeToFinish(seconds(0)), seconds(5));
  EXPECT_EQ(TimeToFinish(seconds(60)), seconds(60));
  EXPECT_EQ(TimeToFinish(seconds(600)), seconds(120));
}

TEST_F(Unknown, WithoutKeyAndIdThereIsNothingToAskBy) {
  item.messageId.clear();
  EXPECT_EQ(Ask(UnknownOutcome::Keyed::kNone).kind, TargetAnswer::Kind::kNotAsked);
  EXPECT_TRUE(m_transport.Requests().empty());
}

}  // namespace
}  // namespace client
