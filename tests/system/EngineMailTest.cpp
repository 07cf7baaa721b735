#include <algorithm>
#include <cctype>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ScriptedServer.h"
#include "tests/system/EngineRun.h"

// Mail through a real engine into a real mailbox, read back from there.
namespace system_test {
namespace {

using test_support::ScriptedServer;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Lines = std::vector<std::string>;
using Files = std::vector<std::pair<std::string, std::string>>;

class EngineMail : public testing::Test, protected EngineSetting {};

TEST_F(EngineMail, ASavedMailLeavesItsRowItsTraceAndBothStatusLines) {
  EngineRun& engine = StartIn("Projects\\");
  const std::string mime = "Subject: one\r\n\r\nbody \xFF\r\n";
  EXPECT_EQ(engine.InsertEml("k1", mime), 1);
  const std::string before =
      " -----OnCopyData-------- \n\r\n"
      "0\n\n  MailCount----------------- "
      "---------MSG_INSERT_ITEM:---------------------------------\r\n"
      "ImportItem_0\r\nImportItem_1\r\nImportItem_2\r\nImportItem_3\r\n SaveEmailItem  in \r\n"
      "Inside_SaveEmailItem\r\nInside_SaveEmailItem_0\r\nInside_SaveEmailItem_1\r\n"
      "Inside_SaveEmailItem_2\r\nInside_SaveEmailItem_GetAllowDuplicates_0\r\n";
  const std::string out = " SaveEmailItem out \r\n";
  const std::string end =
      " ------------------------------- MSG_INSERT_ITEM:_OUT ------------------------------ "
      "\n\r\n";
  EXPECT_EQ(
      engine.Trace(),
      before +
          "Inside_SaveEmailItem_GetAllowDuplicates_2\r\nInside_SaveEmailItem_3\r\n"
          "Inside_SaveEmailItem_4\r\nDate  = \r\nSubject  =\r\nFrom  =\r\nT0 = \r\n\r\n"
          "Inside_SaveEmailItem_After SetToFromBodyCreationDateProrityReadSubject\r\n"
          "After From Set\r\nInside_SaveEmailItem_After To Set\r\n"
          "Inside_SaveEmailItem_AfterSaveRecipient\r\nInside_SaveEmailItem_After CC Set\r\n"
          "Inside_SaveEmailItem_After Bcc Set\r\nInside_SaveEmailItem_After Importance Set\r\n"
          " IN \\EmlFile.Eml\r\n OUT \\EmlFile.Eml\r\n Before SaveAttachment\r\n"
          " After SaveAttachment\r\n" +
          out + "Email Save in \r\n Email Save out \r\n" + end);
  EXPECT_EQ(engine.Status(), kSuccessStatus);
  EXPECT_EQ(engine.RunStatus(), kSuccessStatus);
  EXPECT_EQ(engine.Ledger(), Lines{"Projects\\|k1|tom@example.org"});
  EXPECT_EQ(OnlyItem().mime, mime);
  EXPECT_EQ(OnlyItem().folder, "Projects");

  EXPECT_EQ(engine.InsertEml("k1", mime), 1);  // known: told as saved
  std::string again = before;
  again[again.find("0\n\n")] = '1';
  EXPECT_EQ(engine.Trace(), again + "Inside_SaveEmailItem_GetAllowDuplicates_1\r\n" + out + end);
  EXPECT_EQ(engine.Status(), kSuccessStatus);
  EXPECT_EQ(Items().size(), 1u);
  EXPECT_EQ(engine.Close(), 0);
}

TEST_F(EngineMail, WithoutTheCheckAMailComesTwiceWithTwoRows) {
  EngineRun& engine = Start();
  ASSERT_TRUE(engine.Logon("Mailbox", /*checksDuplicates=*/false));
  ASSERT_EQ(engine.CreateFolder("A\\"), 1);
  EXPECT_EQ(engine.InsertEml("k"), 1);
  EXPECT_EQ(engine.InsertEml("k"), 1);
  EXPECT_EQ(engine.InsertEml(""), 1);  // no key, no row
  EXPECT_EQ(engine.Ledger().size(), 2u);
  EXPECT_EQ(Items().size(), 3u);
}

TEST_F(EngineMail, AnUnknownTypeAndNoDescriptorCountAsDone) {
  EngineRun& engine = Start();
  ASSERT_TRUE(engine.Logon());
  engine.NewMail({.type = "MEMO"});
  EXPECT_EQ(engine.Insert(), 1);
  EXPECT_EQ(engine.RunStatus(), kSuccessStatus);
  std::filesystem::remove(engine.File("Temp/11comtextjj.t"));
  EXPECT_EQ(engine.Insert(), 1);
  EXPECT_EQ(engine.RunStatus(), kSuccessStatus);
}

TEST_F(EngineMail, TheNewFolderTakesAllMailFromThenOn) {
  EngineRun& engine = StartIn("Old\\");
  ASSERT_EQ(engine.InsertEml("k1", "Subject: 1\r\n\r\n"), 1);
  ASSERT_EQ(engine.CreateNewFolder("New\\Below\\"), 1);
  ASSERT_EQ(engine.InsertEml("k2", "Subject: 2\r\n\r\n"), 1);
  const std::string trace = engine.Trace();
  EXPECT_THAT(trace, HasSubstr("ImportItem_2\r\nelse SaveEmailItem in \r\n"));
  EXPECT_THAT(trace, HasSubstr("else SaveEmailItem out \r\nelse Email Save In \r\n"
                               " else Email Save out \r\n -----"));
  ASSERT_EQ(engine.CreateFolder("Old\\"), 1);
  ASSERT_EQ(engine.InsertEml("k3", "Subject: 3\r\n\r\n"), 1);
  Lines places;
  for (const StoredItem& item : Items())
    places.push_back(item.folder + " " + item.mime.substr(9, 1));
  std::ranges::sort(places);
  EXPECT_EQ(places, (Lines{"New/Below 2", "New/Below 3", "Old 1"}));
  EXPECT_EQ(engine.Ledger().back(), "Old\\|k3|tom@example.org");
}

TEST_F(EngineMail, EachTargetTypeHasItsRoot) {
  const struct {
    const char* target;
    const char* path;
    const char* mailbox;
    const char* folder;
  } cases[] = {{" Archive Mailbox ", "Kept\\", "tom@example.org", "Kept"},
               {"Public Folder", "Shared\\", "", "Shared"},
               {"Group", "Calendar\\", "team@example.org", "Calendar"},
               {"Group", "Calendar\\Deeper\\", "team@example.org", "Inbox"}};
  EngineRun& engine = Start();
  for (const auto& c : cases) {
    ASSERT_TRUE(engine.Logon(c.target));
    EXPECT_EQ(engine.Client().CheckArchive(), 1);
    ASSERT_EQ(engine.CreateFolder(c.path), 1) << c.target;
    const std::string mime = std::string("Subject: ") + c.path + c.target + "\r\n\r\n";
    ASSERT_EQ(engine.InsertEml(mime, mime), 1) << c.target << engine.RunStatus();
    const auto items = Items();
    const auto found = std::ranges::find(items, mime, &StoredItem::mime);
    ASSERT_NE(found, items.end()) << c.target;
    EXPECT_EQ(found->mailbox, c.mailbox) << c.target;
    EXPECT_TRUE(found->folder.ends_with(c.folder)) << found->folder;
  }
  ASSERT_TRUE(engine.Logon("Elsewhere"));
  engine.Status();
  EXPECT_EQ(engine.CreateFolder("A\\"), 0);
  EXPECT_EQ(engine.Status(), kFolderStatus);
}

TEST_F(EngineMail, AFolderBeyondThePageOfTenIsFoundOnlyByTheSecondLook) {
  EngineRun& engine = StartIn("a report\\");
  for (char c = 'b'; c <= 'k'; ++c) {
    ASSERT_EQ(engine.CreateFolder(std::string(1, c) + " report\\"), 1);
  }
  ASSERT_EQ(engine.CreateFolder("Report\\"), 1);
  EXPECT_EQ(engine.InsertEml("1"), 1);
  // Ten others that hold the name hide it now, and the server refuses another: the command tells
  // nothing, and the next mail has no folder.
  ASSERT_EQ(engine.CreateFolder("REPORT\\"), 1);
  EXPECT_EQ(engine.InsertEml("2"), 0);
  engine.Close();
  EngineRun& safe = StartIn("REPORT\\", {"--safe"});
  EXPECT_EQ(safe.InsertEml("2"), 1) << safe.RunStatus();
  for (const StoredItem& item : Items()) EXPECT_EQ(item.folder, "Report");
  EXPECT_EQ(Items().size(), 2u);
}

TEST_F(EngineMail, TextBodyAndItsPropertiesArriveAsDescribed) {
  EngineRun& engine = StartIn("T\\");
  const std::string subject = "Gr\u00fc\u00dfe";
  engine.NewMail({.importance = "1",
                  .date = "2024-02-29 13:05:07",
                  .unread = "TRUE",
                  .from = "Ann <ann@example.org>",
                  .to = "bob@example.org;;lost@example.org",
                  .cc = " cee@example.org ; dee@example.org",
                  .bcc = "eve@example.org",
                  .subject = subject,
                  .key = "t"});
  engine.WorkWide("TextFile1.txt", "one\r\ntw\xC3\xB6\nthree\tlost\nfour");
  engine.Work("a.bin", std::string("\0\x01z", 3));
  engine.Work("b c.txt", "bee");
  engine.WorkWide("11comtextjjAttach.t", "a.bin\r\n\r\nmissing.txt\r\nb c.txt");
  ASSERT_EQ(engine.Insert(), 1) << engine.RunStatus();
  const StoredItem item = OnlyItem();
  EXPECT_EQ(item.info.bodyType, "Text");
  EXPECT_EQ(item.info.body, "one\r\r\ntw\xC3\xB6\r\nthree");
  EXPECT_EQ(item.attachments, (Files{{"a.bin", std::string("\0\x01z", 3)}, {"b c.txt", "bee"}}));
  EXPECT_EQ(item.info.importance, "High");
  EXPECT_FALSE(item.info.isRead);
  ASSERT_TRUE(item.info.from);
  EXPECT_EQ(item.info.from->name + "|" + item.info.from->address, "Ann|ann@example.org");
  ASSERT_EQ(item.info.to.size(), 1u);
  ASSERT_EQ(item.info.cc.size(), 2u);
  EXPECT_EQ(item.info.cc[1].address, "dee@example.org");
  ASSERT_EQ(item.info.bcc.size(), 1u);
  EXPECT_EQ(item.Property("tag:0xe07"), "1");
  EXPECT_EQ(item.Property("tag:0xe06"), "2024-02-28T13:05:07Z");  // required without --safe
  EXPECT_EQ(item.Property("tag:0x39"), "2024-02-28T13:05:07Z");
  EXPECT_EQ(item.Property("tag:0x37"), subject);
}

TEST_F(EngineMail, TheImagePageIsMadeSentAndDeleted) {
  EngineRun& engine = StartIn("P\\");
  engine.NewMail({.key = "p"});
  EXPECT_EQ(engine.Client().ShowImage(u"ignored"), 0);  // no list yet
  engine.WorkWide("ImageAttchment.txt", "page1.jpg\nsecond line");
  EXPECT_EQ(engine.Client().ShowImage(u"ignored"), 1);
  engine.Work("page1.jpg", "\xFF\xD8jpeg");
  engine.Work("other.txt", "not asked for");
  engine.WorkWide("2ImageAttchment.txt", "\r\n page1.jpg \r\n\nmissing.jpg\n");
  engine.WorkWide("11comtextjjAttach.t", "other.txt\n");
  engine.Work("EmlFile.Eml", "Subject: not this\r\n\r\n");
  ASSERT_EQ(engine.Insert(), 1) << engine.RunStatus();
  const StoredItem item = OnlyItem();
  EXPECT_EQ(item.info.bodyType, "HTML");
  EXPECT_EQ(item.info.body,
            "<html><head></head><body><img src=\"page1.jpg\" height=\"946\" width=\"1353\" "
            "border= \"0\"></body></html>");
  EXPECT_EQ(item.attachments, (Files{{"page1.jpg", "\xFF\xD8jpeg"}}));
  EXPECT_EQ(item.mime, "");
  EXPECT_FALSE(std::filesystem::exists(engine.File("Temp/Imagech111.html")));
}

TEST_F(EngineMail, TheLastHtmlBodyArrivesInEitherEncodingAndCut) {
  EngineRun& engine = StartIn("H\\");
  engine.NewMail({});
  engine.Work("GARImage.html", "<p>caf\xE9\r\n</p>");  // the ANSI page, here 1252
  ASSERT_EQ(engine.Insert(), 1);
  engine.NewMail({});
  engine.WorkWide("GARImage.html", "<p>\xE6\x97\xA5\xE6\x9C\xAC</p>\ttail");
  ASSERT_EQ(engine.Insert(), 1);
  const auto items = Items();
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].info.bodyType, "HTML");
  EXPECT_EQ(items[0].info.body, "<p>caf\xC3\xA9\n</p>");
  EXPECT_EQ(items[1].info.body, "<p>\xE6\x97\xA5\xE6\x9C\xAC</p>");
}

TEST_F(EngineMail, AnRtfBodyGoesThroughItsStepAndLeavesItsPage) {
  EngineRun& engine = StartIn("R\\");
  engine.NewMail({});
  engine.Work("ch2111.rtf", "{\\rtf1 hello}");
  engine.WorkWide("TextFile1.txt", "comes later in the order");
  engine.Work("a.bin", "a");
  engine.WorkWide("11comtextjjAttach.t", "a.bin\n");
  ASSERT_EQ(engine.Insert(), 1) << engine.RunStatus();
  std::string temp = engine.File("Temp/");
  for (char& c : temp) c = c == '/' ? '\\' : static_cast<char>(std::toupper(c));
  EXPECT_THAT(
      engine.Trace(),
      HasSubstr(" IN \\ch2111.rtf\r\nBefore HrsConvertFile\r\n" + temp + "ch2111.rtf\r\n" + temp +
                "Html\\HTMLFile.html\r\nAfter HrsConvertFile\r\n OUT \\ch2111.rtf\r\n Before "
                "SaveAttachment"));
  EXPECT_TRUE(std::filesystem::is_regular_file(engine.File("Temp/Html/HTMLFile.html")));
  EXPECT_EQ(OnlyItem().info.body, "");
  EXPECT_EQ(OnlyItem().attachments, (Files{{"a.bin", "a"}}));
}

TEST_F(EngineMail, SafeKeepsTheLeapDayTheQuotesAndTheFolder) {
  EngineRun& engine = StartIn("O'Brien?\\", {"--safe"});
  for (int i = 0; i < 2; ++i) {  // the second time it is known
    engine.NewMail({.date = "2024-02-29 13:05:07", .key = "'); DROP TABLE MAILBOXINFO;--"});
    engine.WorkWide("TextFile1.txt", "x");
    folder.Write("outside.txt", "secret");
    engine.Work("in.txt", "in");
    std::filesystem::create_symlink(folder.File("outside.txt"), engine.File("Temp/link.txt"));
    engine.WorkWide("11comtextjjAttach.t", "..\\..\\outside.txt\nlink.txt\nin.txt\n");
    ASSERT_EQ(engine.Insert(), 1) << engine.RunStatus();
  }
  EXPECT_EQ(OnlyItem().Property("tag:0xe06"), "2024-02-29T13:05:07Z");
  EXPECT_EQ(OnlyItem().attachments, (Files{{"in.txt", "in"}}));
  EXPECT_EQ(engine.Ledger(), Lines{"O'Brien>\\|'); DROP TABLE MAILBOXINFO;--|tom@example.org"});
}

TEST_F(EngineMail, ABadAddressIsCleanedAndTriedOnceMore) {
  EngineRun& engine = StartIn("R\\");
  engine.NewMail({.to = "a\x01@example.org", .key = "r"});
  engine.WorkWide("TextFile1.txt", "x");
  ASSERT_EQ(engine.Insert(), 1);
  const std::string trace = engine.Trace();
  const size_t first = trace.find("ImportItem_0");
  const size_t second = trace.find("ImportItem_0", first + 1);
  EXPECT_NE(second, std::string::npos) << trace;
  EXPECT_EQ(trace.find("ImportItem_0", second + 1), std::string::npos) << trace;
  // The first try's failure stands in the run's log alone, by its text; then comes the success.
  const std::string status = engine.RunStatus();
  EXPECT_THAT(status, testing::AllOf(StartsWith("The invalid value"), EndsWith(kSuccessStatus)));
  ASSERT_EQ(OnlyItem().info.to.size(), 1u);
  EXPECT_EQ(OnlyItem().info.to[0].address, "a@example.org");
  engine.NewMail({.to = "a\x01@example.org", .key = "r2"});  // cleaned at once
  engine.WorkWide("TextFile1.txt", "x");
  ASSERT_EQ(engine.Insert(/*flag=*/1), 1);
  EXPECT_EQ(engine.RunStatus(), kSuccessStatus);
}

TEST_F(EngineMail, TheSecondTryHasTheImagePageOnlyWithTheSafeSwitch) {
  for (const bool safe : {false, true}) {
    EngineRun& engine = StartIn("P\\", safe ? Lines{"--safe"} : Lines{});
    engine.NewMail({.to = "a\x01@example.org"});
    engine.Work("Imagech111.html", "<p>page</p>");
    ASSERT_EQ(engine.Insert(), 1) << engine.RunStatus();
    EXPECT_EQ(Items().back().info.body, safe ? "<p>page</p>" : "");
    EXPECT_FALSE(std::filesystem::exists(engine.File("Temp/Imagech111.html")));
  }
}

TEST_F(EngineMail, ABodyThatXmlForbidsGivesAnEmptyStatusLine) {
  EngineRun& engine = StartIn("B\\");
  engine.NewMail({.key = "b"});
  engine.WorkWide("TextFile1.txt", "x\x0Cy");
  EXPECT_EQ(engine.Insert(), 0);
  EXPECT_EQ(engine.Status(), "\r\r\n");
  EXPECT_TRUE(engine.Ledger().empty());
}

// The token route, with an identity service that counts.
class EngineToken : public EngineMail {
 protected:
  ~EngineToken() override { run.reset(); }  // before the service, which waits for its connections
  EngineRun& StartByToken() { return Start({"--authority-url", authority.Url("")}); }
  void GrantTokens(int count) {
    for (int i = 0; i < count; ++i) {
      authority.Push({.body = R"({"token_type":"Bearer","expires_in":3599,"access_token":"t"})",
                      .contentType = "application/json"});
    }
  }
  size_t Asked() const { return authority.Requests().size(); }

  ScriptedServer authority;
};

TEST_F(EngineToken, EachItemGetsATokenOfItsOwn) {
  EngineRun& engine = StartByToken();
  GrantTokens(3);
  ASSERT_TRUE(engine.LogonByToken());
  ASSERT_EQ(engine.CreateFolder("A\\"), 1);
  EXPECT_EQ(Asked(), 1u);
  EXPECT_EQ(engine.InsertEml("1"), 1);
  EXPECT_EQ(engine.InsertEml("2"), 1);
  EXPECT_EQ(Asked(), 3u);
  engine.RunStatus();
  engine.Trace();
  EXPECT_EQ(engine.InsertEml("3"), 0);  // none is given any more
  EXPECT_FALSE(std::filesystem::exists(engine.File("run.txt")));
  EXPECT_EQ(engine.Trace(),
            " -----OnCopyData-------- \n\r\n"
            "2\n\n  MailCount----------------- "
            "---------MSG_INSERT_ITEM:---------------------------------\r\n");
  GrantTokens(1);
  EXPECT_EQ(engine.InsertEml("3"), 1);
  EXPECT_THAT(engine.Trace(), HasSubstr("\r\n2\n\n  MailCount"));  // the failed one did not count
  EXPECT_EQ(Items().size(), 3u);
}

TEST_F(EngineToken, ALogonWithoutATokenCountsAsDoneAndShowsLater) {
  EngineRun& engine = StartByToken();
  EXPECT_TRUE(engine.LogonByToken());
  EXPECT_EQ(engine.CreateFolder("A\\"), 1);  // an absent folder
  EXPECT_EQ(engine.InsertEml("1"), 0);
}

std::string MinutesFromNow(int minutes) {
  const std::time_t when = std::time(nullptr) + minutes * 60;
  std::tm utc{};
  gmtime_r(&when, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
  return text;
}

TEST_F(EngineToken, ConnDetailRefreshesFrom45MinutesOn) {
  EngineRun& engine = StartByToken();
  GrantTokens(1);
  ASSERT_TRUE(engine.LogonByToken());
  const struct {
    std::optional<std::string> text;
    bool refreshes;
  } cases[] = {{std::nullopt, false},
               {MinutesFromNow(0), false},
               {MinutesFromNow(-40), false},
               {MinutesFromNow(-46), true},
               {MinutesFromNow(-46) + "\r\nsecond line", true},
               {MinutesFromNow(-60 * 24 * 400), true},
               {MinutesFromNow(60), false},
               {"no date", false},
               {"", false},
               {"2024-02-30 10:00:00", false},
               {std::string("\0\xFF\xFE", 3), false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.value_or("(no file)"));
    if (c.text) std::ofstream(engine.File("ConnDetail.txt"), std::ios::binary) << *c.text;
    const size_t before = Asked();
    if (c.refreshes) GrantTokens(1);
    EXPECT_EQ(engine.CreateFolder("A\\"), 1);
    EXPECT_EQ(Asked() - before, c.refreshes ? 1u : 0u);
    EXPECT_EQ(std::filesystem::exists(engine.File("ConnDetail.txt")), c.text && !c.refreshes);
  }
  std::ofstream(engine.File("ConnDetail.txt")) << MinutesFromNow(-50);
  engine.Status();
  EXPECT_EQ(engine.CreateFolder("B\\"), 0);  // no token: nothing is made and nothing noted
  EXPECT_EQ(engine.Status(), "");
}

}  // namespace
}  // namespace system_test
