#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/Sqlite.h"
#include "tests/client/WideText.h"
#include "tests/support/FaultProxy.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/EngineRun.h"
#include "tests/system/Programs.h"

// Prepared items, and run folders that cannot serve, through the real programs.
namespace system_test {
namespace {

using client_test::Wide;
using test_support::ReadAll;
using test_support::TemporaryFolder;
using testing::HasSubstr;
using Files = std::vector<std::pair<std::string, std::string>>;

void WriteItem(const TemporaryFolder& folder, const std::string& place, const std::string& type,
               const std::string& id, const std::string& body) {
  const std::string item = "source/" + place;
  folder.Write(item + "/TextFile1.txt", Wide(body));
  folder.Write(item + "/11comtextjj.t",
               Wide(type +
                    "\r\n2\nCreation Date : 2024-02-29 10:00:00\r\n\r\nFrom : a@example.com\r\n"
                    "To : b@example.com\r\n\r\n\r\nSubject : Hi " +
                    place + "\r\nMessageID : " + id + "\r\n"));
}

// How many items the mailbox lists.
int Items(const TemporaryFolder& folder) {
  const std::vector<std::string> list = {"mailbox", "ls", "--data", folder.File("mailbox"),
                                         "--items"};
  return static_cast<int>(std::ranges::count(RunProgram("tarny", list, folder.Path()).out, '#'));
}

// The items of a mailbox by their subject.
std::map<std::string, StoredItem> BySubject(const TemporaryFolder& folder) {
  std::map<std::string, StoredItem> items;
  for (StoredItem& item : ItemsOf(folder.File("mailbox"))) {
    const std::string subject = item.Property("tag:0x37");
    EXPECT_TRUE(items.emplace(subject, std::move(item)).second) << subject << " came twice";
  }
  return items;
}

// Python's reader of mail on files of the folder. The script has read(name), and the folder's path
// as its argument.
void ExpectRead(const TemporaryFolder& folder, const std::string& script) {
  const std::string path = folder.Write("read.py", R"(
import email, email.policy, re, sys
def read(name):
    with open(sys.argv[1] + '/' + name, 'rb') as file:
        mail = email.message_from_binary_file(file, policy=email.policy.default)
    assert not mail.defects and not any(part.defects for part in mail.walk())
    return mail
)" + script);
  EXPECT_EQ(std::system(("python3 " + path + " " + folder.Path()).c_str()), 0);
}

class RichText : public testing::Test, protected EngineSetting {};

// Python's reader of mail says what arrived, of every file that a body can come from.
TEST(PreparedItems, EachBodyArrivesOnceAsItWasPrepared) {
  const TemporaryFolder folder;
  const std::string samples = TARNY_SOURCE "/samples/prepared/";
  std::filesystem::copy(samples, folder.File("source"), std::filesystem::copy_options::recursive);
  ASSERT_EQ(SummaryOf(Migrate(folder))["sent"], 6);
  EXPECT_EQ(LedgerRows(folder), 6);
  const std::map<std::string, StoredItem> items = BySubject(folder);
  EXPECT_EQ(items.size(), 6U);
  for (const auto& [subject, item] : items) {  // what a mail does not say of itself
    const bool unread = subject == "Whole, with what is in it" || subject.starts_with("Leap day") ||
                        subject.starts_with("Only an HTML");
    EXPECT_EQ(item.info.isRead, !unread) << subject;
    EXPECT_EQ(item.info.received, item.info.sent) << subject;
  }
  EXPECT_TRUE(items.at("Whole, with what is in it").mime ==
              ReadAll(samples + "GroupWise/whole mail/EmlFile.Eml"));
  const std::string rich = "Buoys, in rich text with two pictures";
  const std::vector<std::string> show = {"mailbox", "show", "--data", folder.File("mailbox"),
                                         std::to_string(items.at(rich).info.id)};
  EXPECT_THAT(RunProgram("tarny", show, folder.Path()).out,
              testing::AllOf(HasSubstr("Subject: " + rich + "\n"), HasSubstr("From: "),
                             HasSubstr("To: "), HasSubstr("Date: ")));
  const Result saved = RunProgram(
      "tarny", {"mailbox", "export", "--data", folder.File("mailbox"), folder.File("out")},
      folder.Path());
  EXPECT_EQ(saved.status, 0) << saved.err;
  ExpectRead(folder, R"py(
import glob, os
def source(name):
    with open(sys.argv[1] + '/source/' + name, 'rb') as file: return file.read()
def files(item, names):
    return {name: source(item + name) for name in names}
notes, groupwise = 'Notes archive/', 'GroupWise/'
rtf = source(notes + 'rich text/ch2111.rtf').decode()
rich = [bytes.fromhex(h) for h in re.findall(r'pichgoal\d+ ([0-9a-f]+)', rtf)]
assert len(rich) == 2
tom, ingrid = 'tom.okafor@example.org', 'ingrid.halvorsen@harbour.example.com'
priya = '"Okonkwo, Priya" <priya@harbour.example.com>'
# folder, type, in the text, pictures, files, date, importance, sender, recipients
expected = {
    'Leap day: tide table \u2014 Gezeiten, \u043f\u0440\u0438\u043b\u0438\u0432\u044b, \u6f6e\u6c50':
        ('Notes archive', 'text/plain',
         ['Tom, Priya,\n\nthe tide table is attached. High water at 06:12, in Greek: '
          '\u03c0\u03b1\u03bb\u03af\u03c1\u03c1\u03bf\u03b9\u03b1.\n\nIngrid\n'], [],
         files(notes + 'text body/', ['tides.csv', 'Gru\u00df.txt']), '2024-02-29 08:30', 'High',
         f'Ingrid Halvorsen <{ingrid}>',
         [f'Tom Okafor <{tom}>', priya, 'planners@harbour.example.com']),
    'The new light, as a page':
        ('Notes archive', 'text/html', ['height="946" width="1353"'],
         [source(notes + 'image page/light.png')], {}, '2024-07-05 12:00', None,
         'Harbour news <news@harbour.example.com>', [tom]),
    'Only an HTML page was left':
        ('GroupWise', 'text/html', [source(groupwise + 'last resort HTML/GARImage.html').decode()],
         [], {}, '2024-07-06 09:15', 'Low', tom, [ingrid]),
    'Buoys, in rich text with two pictures':
        ('Notes archive', 'text/html', ['northern buoys', 'caf&#233;', '&#28526;&#27728;'], rich,
         files(notes + 'rich text/', ['depths.csv']), '2024-05-14 16:45', None,
         'Priya Okonkwo <priya@harbour.example.com>',
         [f'Tom Okafor <{tom}>', ingrid]),
}
found = {}
for path in glob.glob(sys.argv[1] + '/out/*/**/*.eml', recursive=True):
    mail = read(os.path.relpath(path, sys.argv[1]))
    page = mail.get_body(('related', 'html', 'plain'))
    text = mail.get_body(('html', 'plain'))
    pictures = list(page.iter_parts())[1:] if page.is_multipart() else []
    ids = re.findall(r'src="cid:([^"]+)"', text.get_content())
    assert ids == [part['Content-ID'][1:-1] for part in pictures], (path, ids)
    found[mail['Subject']] = (mail, text, [part.get_content() for part in pictures],
                      os.path.basename(os.path.dirname(path)))
for subject, (folder, kind, words, shown, attached, date, importance, sender, people) in (
        expected.items()):
    mail, text, pictures, place = found[subject]
    assert (place, text.get_content_type(), pictures) == (folder, kind, shown), subject
    content = text.get_content().replace('\r\n', '\n')
    assert all(word.replace('\r\n', '\n') in content for word in words), content
    assert mail['Date'].datetime.strftime('%Y-%m-%d %H:%M') == date, mail['Date']
    assert mail['Importance'] == importance and mail['From'] == sender, mail.as_string()[:500]
    all_people = [str(a) for f in ('To', 'Cc') if mail[f] for a in mail[f].addresses]
    assert all_people == people, all_people
    content = {part.get_filename(): part.get_payload(decode=True)
               for part in mail.iter_attachments() if part.get_content_maintype() != 'image'}
    assert content == attached, content
assert len(found) == 6, found.keys()
)py");
  const StoredItem& buoys = items.at("Buoys, in rich text with two pictures");
  EXPECT_EQ(buoys.info.received, "2024-05-14T16:45:00Z");
  EXPECT_EQ(buoys.attachments,
            (Files{{"depths.csv", ReadAll(samples + "Notes archive/rich text/depths.csv")}}));
  EXPECT_EQ(items.at("Whole, with what is in it").info.importance, "High");
  EXPECT_EQ(SummaryOf(Migrate(folder))["there_already"], 6);
}

// Pictures by the dozen, of several types: each is there once, with its bytes, in its place.
TEST_F(RichText, AMailKeepsAllItsPictures) {
  const std::string kinds[] = {"\\pngblip 89504e470d0a1a0a", "\\jpegblip ffd8ffe0",
                               "\\emfblip 01000000"};
  std::string rtf = "{\\rtf1 first";
  for (int n = 0; n < 120; ++n) {
    rtf += fmt::format("{{\\pict{}{:04x}}}", kinds[n % 3], n);
  }
  EngineRun& engine = StartIn("R\\");
  engine.NewMail({.importance = "3", .date = "2024-03-04 08:12:41", .unread = "TRUE"});
  engine.Work("ch2111.rtf", rtf + " last}");
  engine.Work("a.bin", std::string("\0\xFF", 2));
  engine.WorkWide("11comtextjjAttach.t", "a.bin\n");
  ASSERT_EQ(engine.Insert(), 1) << engine.RunStatus();
  const StoredItem item = OnlyItem();
  EXPECT_EQ(item.attachments, (Files{{"a.bin", std::string("\0\xFF", 2)}}));
  EXPECT_EQ(item.info.importance, "Low");
  EXPECT_FALSE(item.info.isRead);
  EXPECT_EQ(item.Property("tag:0xe06"), "2024-03-04T08:12:41Z");
  folder.Write("rtf.eml", item.mime);
  folder.Write("rtf", rtf);
  ExpectRead(folder, R"py(
mail = read('rtf.eml')
page, *pictures = mail.iter_parts()
expected = re.findall(r'blip ([0-9a-f]+)', open(sys.argv[1] + '/rtf').read())
assert [p.get_payload(decode=True).hex() for p in pictures] == expected and len(expected) == 120
ids = re.findall('src="cid:([^"]+)"', page.get_content())
assert ids == [p['Content-ID'][1:-1] for p in pictures] and len(set(ids)) == 120
)py");
}

// A page within rich text may name its charset: it is of no mail but its own, in one engine too.
TEST_F(RichText, AMailIsNotLabelledByTheOneBefore) {
  EngineRun& engine = StartIn("R\\");
  const std::string html =
      "{\\rtf1\\ansi\\fromhtml1{\\*\\htmltag64 <html><head><meta http-equiv=\"Content-Type\" "
      "content=\"text/html; charset=koi8-r\"></head><body>}one{\\*\\htmltag <p>}"
      "{\\*\\htmltag64 </body></html>}}";
  const std::string plain = "{\\rtf1 caf\\'e9 \\u1071?}";
  for (const std::string& rtf : {plain, html, plain}) {
    engine.NewMail({});
    engine.Work("ch2111.rtf", rtf);
    ASSERT_EQ(engine.Insert(), 1) << engine.RunStatus();
  }
  const std::vector<StoredItem> items = Items();
  ASSERT_EQ(items.size(), 3U);
  EXPECT_THAT(items[0].mime, HasSubstr("caf&#233; &#1071;"));
  EXPECT_EQ(items[2].mime, items[0].mime);
}

TEST(PreparedItems, TheDescriptorsIdIsTheKeyAndAnItemWithoutOneArrivesOnceToo) {
  const TemporaryFolder folder;
  WriteItem(folder, "Team/1", "EMAIL", "<one@example.com>", "first");
  WriteItem(folder, "Team/2", "EMAIL", "<one@example.com>", "other content, same id");
  WriteItem(folder, "Team/3", "EMAIL", "", "no id");
  WriteItem(folder, "Other/4", "EMAIL", "<o'brien@example.com>", "a quote in its id");
  WriteItem(folder, "Other/5", "NONSENSE", "<five@example.com>", "no type");
  const Result result = Migrate(folder);
  const nlohmann::json summary = SummaryOf(result, 1);
  EXPECT_EQ(summary["sent"], 3) << result.err;
  EXPECT_EQ(summary["failed"], 2) << result.err;
  EXPECT_THAT(result.err, HasSubstr("another item with its message id"));
  EXPECT_THAT(result.err, HasSubstr("names no type"));
  EXPECT_EQ(LedgerRows(folder), 2);
  const nlohmann::json again = SummaryOf(Migrate(folder), 1);
  EXPECT_EQ(again["sent"], 0);
  EXPECT_EQ(again["there_already"], 3);
}

TEST(PreparedItems, AsIsLeavesOutEachSafeguardAndSaysWhatThatCost) {
  for (const bool asIs : {false, true}) {
    const TemporaryFolder folder;
    folder.Write("outside.txt", "not of this item");
    WriteItem(folder, "list", "EMAIL", "<list@example.com>", "x");
    folder.Write("source/list/in.txt", "in");
    folder.Write("source/list/11comtextjjAttach.t", Wide("..\\..\\outside.txt\r\nin.txt\r\n"));
    WriteItem(folder, "quote", "EMAIL", "<o'brien@example.com>", "x");
    // Ten folders that hold its name hide one from the first look.
    for (char c = 'A'; c <= 'K'; ++c) {
      WriteItem(folder, std::string(1, c) + " report/1", "EMAIL", std::string("<") + c + "@x>",
                "x");
    }
    WriteItem(folder, "Report/1", "EMAIL", "<first@example.com>", "x");
    WriteItem(folder, "report/2", "EMAIL", "<second@example.com>", "x");

    const Result result =
        Migrate(folder, asIs ? std::vector<std::string>{"--as-is"} : std::vector<std::string>{});
    const nlohmann::json summary = SummaryOf(result, asIs ? 1 : 0);
    EXPECT_EQ(summary["sent"], asIs ? 13 : 15) << result.err;
    EXPECT_EQ(summary["not_confirmed"], asIs ? 1 : 0) << result.err;
    EXPECT_EQ(summary["failed"], asIs ? 1 : 0) << result.err;
    EXPECT_EQ(result.err.find("with --as-is a quote") != std::string::npos, asIs) << result.err;
    const std::map<std::string, StoredItem> items = BySubject(folder);
    EXPECT_EQ(items.contains("Hi report/2"), !asIs);
    ASSERT_TRUE(items.contains("Hi list"));
    const StoredItem& list = items.at("Hi list");
    EXPECT_EQ(list.info.received.substr(0, 10), asIs ? "2024-02-28" : "2024-02-29");
    EXPECT_EQ(list.attachments, (asIs ? Files{{"outside.txt", "not of this item"}, {"in.txt", "in"}}
                                      : Files{{"in.txt", "in"}}));
  }
}

TEST(PreparedItems, ALedgerLockedInTheMiddleIsToldForTheItemThatLostItsRow) {
  constexpr int kItems = 20;
  constexpr int kLost = 10;
  const TemporaryFolder folder;
  for (int i = 0; i < kItems; ++i) {
    const std::string number = std::to_string(i);
    WriteItem(folder, number, "EMAIL", "<" + number + "@example.com>", "x");
  }
  std::optional<platform::SqliteDatabase> other;
  const auto lock = [&](int number) {  // from its save to the next one
    other.reset();
    if (number != kLost) return;
    other.emplace(folder.File("run/SQLLiteNew.db"));
    other->Execute("BEGIN IMMEDIATE");
  };
  const Mailbox mailbox(folder.Path(), {});
  const test_support::FaultProxy proxy(std::stoi(mailbox.Port()), test_support::AtEachSave(lock));
  const std::vector<std::string> arguments = ServerArguments(folder, proxy.Port());
  const Result result = RunProgram("tarny", arguments, folder.Path());
  EXPECT_THAT(result, FailsWith("its ledger has no row (database is locked)"));
  EXPECT_EQ(SummaryOf(result, 1)["not_confirmed"], 1);
  EXPECT_EQ(SummaryOf(result, 1)["sent"], kItems - 1);
  EXPECT_EQ(LedgerRows(folder), kItems - 1);
  const nlohmann::json again = SummaryOf(RunProgram("tarny", arguments, folder.Path()));
  EXPECT_EQ(again["sent"], 0);
  ASSERT_EQ(again["remarks"].size(), 1u);
  EXPECT_THAT(again["remarks"][0]["text"].get<std::string>(),
              HasSubstr("an earlier run could not tell"));
  EXPECT_EQ(ItemsOf(folder.File("mailbox")).size(), static_cast<std::size_t>(kItems));
  EXPECT_EQ(LedgerRows(folder), kItems);
}

TEST(PreparedItems, TwentyItemsInARowWithoutProofStopTheRun) {
  const TemporaryFolder folder;
  for (int i = 10; i < 35; ++i) {
    const std::string number = std::to_string(i);
    WriteItem(folder, number, "EMAIL", "<o'brien" + number + "@example.com>", "x");
  }
  const Result result = Migrate(folder, {"--as-is"});
  EXPECT_THAT(result, FailsWith("20 items in a row could not be confirmed"));
  EXPECT_EQ(SummaryOf(result, 1)["not_confirmed"], 20);
  EXPECT_EQ(SummaryOf(result, 1)["not_reached"], 5);
}

TEST(Targets, EachGetsItsFoldersBelowARootOfItsOwn) {
  const std::vector<std::pair<std::string, std::string>> places = {
      {"mailbox", "Team"}, {"archive", "Archive/Team"}, {"public", "Team"}, {"group", "Inbox"}};
  for (const auto& [target, place] : places) {
    const TemporaryFolder folder;
    const std::string mail = "Message-ID: <1@example.com>\r\nSubject: x\r\n\r\nx\r\n";
    folder.Write("source/Team/1.eml", mail);
    const Result result = Migrate(folder, {"--target", target, "--mailbox", "team@example.com"});
    EXPECT_EQ(result.status, 0) << target << ": " << result.err;
    EXPECT_TRUE(ContentsOf(folder.File("mailbox")) == (Contents{{{place, mail}, 1}})) << target;
    EXPECT_EQ(LedgerRows(folder), 1) << target;
  }
}

TEST(TarnyItem, ShowsADescriptorAsJson) {
  const TemporaryFolder folder;
  WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
  const Result shown = RunProgram("tarny", {"item", folder.File("source/1")}, folder.Path());
  ASSERT_EQ(shown.status, 0) << shown.err;
  const nlohmann::json item = nlohmann::json::parse(shown.out);
  EXPECT_EQ(item["type"], "mail");
  EXPECT_EQ(item["created"], "2024-02-29T10:00:00");
  EXPECT_EQ(item["message_id"], "<one@example.com>");
  EXPECT_EQ(item["files"].size(), 2u);
  EXPECT_EQ(item["body_route"]["route"], "plain text");
  const auto route = [&] {
    const Result result = RunProgram("tarny", {"item", folder.File("source/1")}, folder.Path());
    return nlohmann::json::parse(result.out)["body_route"];
  };
  folder.Write("source/1/emlfile.EML", "x");    // found whatever the case, as the engine finds it
  folder.Write("source/1/ch2111.rtf/in", "x");  // so is a folder, which cannot be read then
  EXPECT_EQ(route()["file"], "EmlFile.Eml");
  EXPECT_EQ(route()["not_used"], (nlohmann::json{"ch2111.rtf", "TextFile1.txt"}));
  folder.Write("source/1/ImageAttchment.txt", "x");
  EXPECT_EQ(route()["route"], "image page");
  struct OtherRoute {
    std::string type, lines, files, route;
  };
  for (const OtherRoute& each : {
           OtherRoute{"CALENDAR", "", "", R"("no body" null [])"},
           OtherRoute{"TASK", "", "ch111.html", R"("page" "ch111.html" [])"},
           OtherRoute{"TASK", "", "ch111.html TEXTFILE1.eml",
                      R"("plain text" "TextFile1.eml" ["ch111.html"])"},
           OtherRoute{"CONTACT", "", "TextFile1.txt", R"("no body" null [])"},
           OtherRoute{"CONTACT", "\n\n\n\nBody : <ITEM>Comments : hello</ITEM>\n", "",
                      R"("tagged field" null [])"},
           OtherRoute{"CONTACT", "", "TextFile1.eml ch2111.rtf",
                      R"("rich text" "ch2111.rtf" ["TextFile1.eml"])"},
           OtherRoute{"DIST_LIST", "", "TextFile1.eml", "null null null"},
       }) {
    std::filesystem::remove_all(folder.File("source/1"));
    folder.Write("source/1/11comtextjj.t",
                 Wide(each.type + "\n\n\n\n\n\n\n\nSubject : s\n" + each.lines));
    std::istringstream names(each.files);
    for (std::string name; names >> name;) folder.Write("source/1/" + name, "x");
    nlohmann::json found = route();
    const auto member = [&](const char* key) -> std::string {
      return found.is_null() ? "null" : found[key].dump();
    };
    EXPECT_EQ(member("route") + " " + member("file") + " " + member("not_used"), each.route);
  }
  EXPECT_EQ(RunProgram("tarny", {"item", folder.File("source")}, folder.Path()).status, 1);
  EXPECT_EQ(RunProgram("tarny", {"item"}, folder.Path()).status, 2);
}

TEST(RunFolder, ADiskThatTakesNoMoreIsToldBeforeAnythingIsSent) {
  const TemporaryFolder folder;
  WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
  // A file may not grow beyond half a kilobyte: to the programs, a disk that is full.
  const std::string err = folder.File("err");
  const std::string command = "trap '' XFSZ; ulimit -f 1; exec " TARNY_BIN "/tarny migrate " +
                              folder.File("source") + " --to local:" + folder.File("mailbox") +
                              " --run " + folder.File("run") + " 2> " + err;
  EXPECT_NE(std::system(command.c_str()), 0);
  EXPECT_THAT(ReadAll(err), HasSubstr("cannot be used: its journal"));
  EXPECT_FALSE(std::filesystem::exists(folder.File("mailbox/mailbox.db")));
}

TEST(RunFolder, AnEngineForWhichThereIsNoRoomLeavesNoHalfAndSaysWhy) {
  const std::string elsewhere = "/dev/shm";  // the engine is copied there, not linked
  struct stat here {};
  struct stat there {};
  if (stat(TARNY_BIN, &here) != 0 || stat(elsewhere.c_str(), &there) != 0 ||
      here.st_dev == there.st_dev) {
    GTEST_SKIP() << "no second file system here";
  }
  const TemporaryFolder folder;
  WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
  std::string run = elsewhere + "/tarny-test-XXXXXX";
  ASSERT_NE(mkdtemp(run.data()), nullptr);
  const std::string err = folder.File("err");
  const std::string command = "trap '' XFSZ; ulimit -f 9; exec " TARNY_BIN "/tarny migrate " +
                              folder.File("source") + " --to local:" + folder.File("mailbox") +
                              " --run " + run + " 2> " + err;
  EXPECT_NE(std::system(command.c_str()), 0);
  EXPECT_THAT(ReadAll(err), HasSubstr("cannot be written: File too large"));
  EXPECT_FALSE(std::filesystem::exists(run + "/TarnyOutlookEngine.new"));
  std::filesystem::remove_all(run);
}

TEST(RunFolder, ADamagedLedgerOrJournalIsToldBeforeAnythingIsSent) {
  for (const char* name : {"SQLLiteNew.db", "journal.db"}) {
    const TemporaryFolder folder;
    WriteItem(folder, "1", "EMAIL", "<one@example.com>", "x");
    ASSERT_EQ(Migrate(folder).status, 0);
    folder.Write("run/" + std::string(name), std::string(8192, 'x'));
    WriteItem(folder, "2", "EMAIL", "<two@example.com>", "x");
    const Result result = Migrate(folder);
    EXPECT_THAT(result, FailsWith("cannot be used"));
    EXPECT_THAT(result.err, HasSubstr(name));
    EXPECT_EQ(Items(folder), 1);
  }
}

}  // namespace
}  // namespace system_test
