#include <unistd.h>

#include <filesystem>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/sources/FolderIndex.h"
#include "client/sources/HashedName.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::StartsWith;

const std::string kMail = "Subject: x\n\n";
const std::string kMbox = "From - Tue Mar 05 10:00:00 2019\n" + kMail + "text\n\n";
const std::string kSearch = "(B0=searchStr)";

// An index of a folder, as its program writes one: `cells` are the last that it wrote of the
// folder.
std::string Index(const std::string& cells, const std::string& moreColumns = "") {
  return "// <!-- <mdb:mork:z v=\"1.4\"/> -->\n< <(a=c)> // (f=iso-8859-1)\n"
         "  "
         "(80=ns:msg:db:row:scope:msgs:all)(81=subject)(9F=ns:msg:db:row:scope:dbfolderinfo:all)\n"
         "  (A0=ns:msg:db:table:kind:dbfolderinfo)(A1=numMsgs)(A8=UIDValidity)(AF=imapFlags)" +
         moreColumns +
         ">\n\n<(80=1)(81=0)(A1=ff)(83=2)(8C=12c)(84=e008)(90=a\\)[\\\\\n\\$(^A1=9\\))>\n"
         "{1:^80 {(k^96:c)(s=9)}\n  [1(^81^90)]}\n{1:^9F {(k^A0:c)(s=9u)}\n  [1(^AB=1)]}\n\n"
         "@$${6{@\n[1:^9F" +
         cells + "]\n@$$}6}@\n";
}

// "!NAME: REASON" for each thing that was left out and may be mail, without the "!" for others.
std::vector<std::string> LeftOut(const Plan& plan, const std::string& source) {
  std::vector<std::string> texts = client_test::Problems(plan, source);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (plan.problems[i].isUnread) texts[i].insert(0, "!");
  }
  return texts;
}

struct Tree {
  const char* name;
  std::map<std::string, std::string> files;
  std::vector<std::string> items;
  std::vector<std::string> leftOut;  // what each begins with
};

void Check(const Tree& tree, const std::string& root) {
  const Plan plan = MakePlan({root});
  EXPECT_THAT(Items(plan), ElementsAreArray(tree.items)) << tree.name;
  std::vector<testing::Matcher<std::string>> leftOut;
  for (const std::string& text : tree.leftOut) leftOut.push_back(StartsWith(text));
  EXPECT_THAT(LeftOut(plan, root), ElementsAreArray(leftOut)) << tree.name;
}

void Check(const Tree& tree) {
  const TemporaryFolder folder;
  for (const auto& [name, bytes] : tree.files) folder.Write(name, bytes);
  Check(tree, folder.Path());
}

TEST(MailProfiles, StandForTheFolderThatTheyLieIn) {
  Check({"one, beside those that are elsewhere",
         {{"profiles.ini",
           "[Install3]\r\nDefault=Profiles/ab.default\r\n\r\n[Profile0]\r\nName=Home\r\n"
           "IsRelative=1\r\nPath=Profiles/ab.default\r\n[Profile1]\nName=Was\nIsRelative=0\n"
           "Path=C:\\Users\\x\\Profiles\\ab.default\n[Profile2]\nName=Old\nIsRelative=0\n"
           "Path=D:\\Mail\\old\n[Profile3]\nName=Up\nPath=../up\n[Profile4]\nName=Gone\n"
           "Path=Profiles/gone\n[Profile5]\nName=New\nPath=Profiles/new\n"},
          {"installs.ini", "[3]\n"},
          {"Crash Reports/InstallTime2024", "1"},
          {"Profiles/new/times.json", "{}"},
          {"Profiles/ab.default/prefs.js", "x"},
          {"Profiles/ab.default/Mail/Local Folders/Inbox", kMbox},
          {"Profiles/ab.default/ImapMail/imap.example/INBOX", kMbox}},
         {"Inbox\\|Profiles/ab.default/ImapMail/imap.example/INBOX:0",
          "Inbox\\|Profiles/ab.default/Mail/Local Folders/Inbox:0"},
         {"!profiles.ini: its profile \"Old\" lies elsewhere, in D:\\Mail\\old",
          "!profiles.ini: its profile \"Up\"", "!profiles.ini: its profile \"Gone\""}});
  Check({"several, two of one name, one that no list names",
         {{"profiles.ini",
           "[Profile0]\nName=Work\nPath=a\n[Profile1]\nName=WORK\nPath=b\nDefault=1\n[General]"
           "\nName=x\n"},
          {"a/prefs.js", "x"},
          {"a/Mail/Local Folders/Inbox", kMbox},
          {"b/prefs.js", "x"},
          {"b/Mail/Local Folders/Inbox", kMbox},
          {"c/prefs.js", "x"},
          {"c/Mail/Local Folders/Inbox", kMbox}},
         {"Work\\Inbox\\|a/Mail/Local Folders/Inbox:0", "Inbox\\|b/Mail/Local Folders/Inbox:0",
          "c\\Inbox\\|c/Mail/Local Folders/Inbox:0"},
         {}});
  Check({"that of a home among others",
         {{"home/.thunderbird/profiles.ini", "[Profile0]\nPath=a\n"},
          {"home/.thunderbird/a/prefs.js", "x"},
          {"home/.thunderbird/a/Mail/Local Folders/Sent", kMbox},
          {"other/1.eml", kMail}},
         {"home\\Sent\\|home/.thunderbird/a/Mail/Local Folders/Sent:0", "other\\|other/1.eml"},
         {}});
}

TEST(ThunderbirdProfile, NamesWhatItsOwnerHasThereAndIsNotTaken) {
  const TemporaryFolder folder;
  const Tree tree = {
      "all of a profile",
      {{"prefs.js",
        "user_pref(\"mail.server.server1.type\", \"none\");\n"
        "user_pref(\"mail.server.server1.directory\", \"C:\\\\p\\\\Mail\\\\Local Folders\");\n"
        "user_pref(\"mail.server.server2.type\", \"pop3\");\n"
        "user_pref(\"mail.server.server2.directory\", \"D:\\\\Mail\\\\jane\");\n"
        "user_pref(\"mail.server.server3.type\", \"ews\");\n"
        "user_pref(\"mail.server.server3.directory-rel\", \"[ProfD]../ImapMail/x\");\n"
        "user_pref(\"mail.server.server4.type\", \"imap\");\n"
        "user_pref(\"mail.server.server4.directory\", \"/gone/ImapMail/imap.example\");\n"
        "user_pref(\"mail.server.server4.directory-rel\", \"[ProfD]ImapMail/imap.example\");\n"
        "user_pref(\"mail.server.server5.type\", \"im\");\n"
        "user_pref(\"mail.server.server5.directory\", \"/gone/prpl-irc\");\n"
        "user_pref(\"mail.server.server6.type\", \"pop3\");\n"
        "user_pref(\"mail.server.server6.directory-rel\", \"[ProfD]Mail/gone\");\n"},
       {"abook.sqlite", "x"},
       {"abook.sqlite-wal", "x"},
       {"panacea.dat", "x"},
       {"session.json", "{}"},
       {"calendar-data/cache.sqlite", "x"},
       {"calendar-data/local.sqlite", "x"},
       {"global-messages-db.sqlite", "x"},
       {"ImapMail/imap.example.msf", ""},
       {"ImapMail/imap.example/msgFilterRules.dat", "x"},
       {"Mail/At the top", kMbox},
       {"Mail/Local Folders/Inbox.mozmsgs/1.wdseml", kMail},
       {"Mail/Local Folders/Subscriptions", kMbox},
       {"Mail/Local Folders/dovecot", kMbox},
       {"Mail/Local Folders/feeditems_error_1.json", "{}"},
       {"Mail/Local Folders/filterlog.html", "x"},
       {"Mail/Local Folders/folderTree.json", "{}"},
       {"Mail/Local Folders/msgFilterRules.dat.bak", "version=\"9\"\n"},
       {"Mail/Local Folders/nstmp-1", "no mail"},
       {"Mail/Local Folders/popstate-1.dat", "x"},
       {"Mail/Local Folders/S\xC3\xBC"
        "d79ad4768/cur/1.eml",
        kMail},
       {"Mail/Local Folders/S\xC3\xBC"
        "d79ad4768/tmp/.x",
        ""},
       {"Mail/Local Folders/S\xC3\xBC"
        "d79ad4768.msf",
        "(9F=S$C3$BCd: A?B)"},
       {"Mail/Local Folders/S\xC3\xBC"
        "d79ad4768.sbd/Below/cur/2.eml",
        kMail},
       {"Mail/Local Folders/S\xC3\xBC"
        "d79ad4768.sbd/Below/tmp/.x",
        ""},
       {"Mail/Feeds/feeds.json", "[]"},
       {"Mail/Feeds/Trash", kMbox},
       {"Mail.old/Local Folders/Inbox", kMbox},
       {"News/news.example/comp.lang.c", kMbox},
       {"News/newsrc-news.example", "x"}},
      {"At the top\\|Mail/At the top:0", "Feeds\\Trash\\|Mail/Feeds/Trash:0",
       "Subscriptions\\|Mail/Local Folders/Subscriptions:0",
       "dovecot\\|Mail/Local Folders/dovecot:0",
       "S\xC3\xBC"
       "d: A?B\\|Mail/Local Folders/S\xC3\xBC"
       "d79ad4768/cur/1.eml",
       "S\xC3\xBC"
       "d: A?B\\Below\\|Mail/Local Folders/S\xC3\xBC"
       "d79ad4768.sbd/Below/cur/2.eml"},
      {"!Mail.old: its program does not look into it, and there may be mail (Local Folders/Inbox)",
       "abook.sqlite: an address book", "calendar-data/local.sqlite: calendars",
       "calendar-data/cache.sqlite: calendars", "News/news.example: news of a server",
       "!Mail/gone: an account has its mail there",
       "!prefs.js: the mail of an account lies elsewhere, in D:\\Mail\\jane",
       "!prefs.js: the mail of an account lies elsewhere, in [ProfD]../ImapMail/x",
       "!Mail/dead: a dead link", "!Mail/linked: a link to a folder"}};
  for (const auto& [name, bytes] : tree.files) folder.Write(name, bytes);
  ASSERT_EQ(symlink("nowhere", folder.File("Mail/dead").c_str()), 0);
  ASSERT_EQ(symlink("/tmp", folder.File("Mail/linked").c_str()), 0);
  Check(tree, folder.Path());
}

TEST(ThunderbirdProfile, NamesWhatMayBeMailBesideItsAccounts) {
  const std::string two = "Name: x\nVersion: 1\n";
  Check({"loose",
         {{"prefs.js", "x"},
          {"Mail/Local Folders/Inbox", kMbox},
          {"SiteSecurityServiceState.txt", "a.example:HSTS\t1\nb.example:HSTS\t1\n"},
          {"addonStartup.json.lz4", "mozLz40"},
          {"cache2/entries/0A", two},
          {"extensions/x/package", two},
          {"notes.txt", "x"},
          {"Add-on/state.json", "{}"},
          {"Add-on/debug.log", "x"},
          {"places.sqlite", "x"},
          {"backup.7z", "x"},
          {"saved.eml", kMail},
          {"2019", kMbox},
          {"2020", std::string(1, '\0') + "From - Tue Mar 05 10:00:00 2019\nA: 1\nB: 2\n\n"},
          {"empty.mbox", ""},
          {"A/deep/er/x.ics", "x"},
          {"B/cur/1:2,S", "x"},
          {"B/new/.x", ""},
          {"C/12", kMail},
          {"D/Inbox.dbx", "x"},
          {"E/Maildir/cur/.x", ""},
          {"E/Maildir/new/.x", ""}},
         {"Inbox\\|Mail/Local Folders/Inbox:0"},
         {"!2019: its program does not look there", "!2020: its program does not look there",
          "!A: its program does not look into it, and there may be mail (deep/er/x.ics)",
          "!B: its program does not look into it, and there may be mail (cur/1:2,S)",
          "!C: its program does not look into it, and there may be mail (12)",
          "!D: its program does not look into it, and there may be mail (Inbox.dbx)",
          "!backup.7z: it is packed", "!saved.eml: its program does not look there"}});
}

TEST(ThunderbirdProfile, ReadsAccountsThatLieInOtherFoldersOfTheSource) {
  const TemporaryFolder elsewhere;
  elsewhere.Write("Mail/Local Folders/Inbox", kMbox);
  const TemporaryFolder folder;
  auto account = [number = 0](const char* type, const std::string& key,
                              const std::string& path) mutable {
    const std::string name = "user_pref(\"mail.server.server" + std::to_string(++number) + ".";
    return name + "type\", \"" + type + "\");\n" + name + key + "\", \"" + path + "\");\n";
  };
  const std::string rel = "directory-rel";
  folder.Write("p/prefs.js",
               account("pop3", rel, "[ProfD]Post/a") + account("pop3", rel, "[ProfD]Post/a/Sub") +
                   account("imap", rel, "[ProfD]x/../Post/b") +
                   account("imap", rel, "[ProfD]linked/Post") +
                   account("none", rel, "[ProfD]../Data/mail") +
                   account("rss", "directory", folder.File("p/Post/feeds")) +
                   account("none", "directory", elsewhere.File("Mail/Local Folders")) +
                   account("pop3", "directory", elsewhere.File("Mail/Local Folders")));
  for (const char* name : {"Post/a/Inbox", "Post/a/Sub/Old", "Post/feeds/Trash", "Post/b/Sent",
                           "Mail/Local Folders/Sent", "../Data/mail/Inbox"}) {
    folder.Write(std::string("p/") + name, kMbox);
  }
  folder.Write("p/Post/feeds/feeds.json", "[]");
  folder.Write("p/Post/b/Lost.msf", Index("(^A1=2)"));
  folder.Write("Data/mail/Gone.msf", Index("(^A1=3)"));
  folder.Write("p/Post/more/x.eml", kMail);
  ASSERT_EQ(symlink("..", folder.File("p/linked").c_str()), 0);
  Check({"the profile in a tree",
         {},
         {"Data\\mail\\Inbox\\|Data/mail/Inbox:0", "Sent Items\\|p/Mail/Local Folders/Sent:0",
          "Inbox\\|p/Post/a/Inbox:0", "Sub\\Old\\|p/Post/a/Sub/Old:0",
          "Sent Items\\|p/Post/b/Sent:0", "feeds\\Trash\\|p/Post/feeds/Trash:0"},
         {"!p/Post: its program does not look into it, and there may be mail (more/x.eml)",
          "!p/linked: a link to a folder",
          "!p/prefs.js: the mail of an account lies elsewhere, in " +
              elsewhere.File("Mail/Local Folders"),
          "!p/prefs.js: the mail of an account lies elsewhere, in [ProfD]linked/Post",
          "!p/Post/b: mail is on its server alone, not made available offline: Lost (2)",
          "!Data/mail: of mail the index alone is here: Gone (3)"}},
        folder.Path());
  Check({"the profile alone",
         {},
         {"Sent Items\\|Mail/Local Folders/Sent:0", "Inbox\\|Post/a/Inbox:0",
          "Sub\\Old\\|Post/a/Sub/Old:0", "Sent Items\\|Post/b/Sent:0",
          "feeds\\Trash\\|Post/feeds/Trash:0"},
         {"!Post: its program", "!linked: a link to a folder",
          "!prefs.js: the mail of an account lies elsewhere, in " + elsewhere.Path(),
          "!prefs.js: the mail of an account lies elsewhere, in [ProfD]../Data/mail",
          "!prefs.js: the mail of an account lies elsewhere, in [ProfD]linked/Post",
          "!Post/b: mail is on its server alone"}},
        folder.File("p"));
  // A copy of one that had its local folders on another disk.
  Check({"of another machine",
         {{"prefs.js",
           account("pop3", rel, "[ProfD]Mail/pop") +
               "user_pref(\"mail.server.server99.directory\", \"D:\\\\p\\\\Mail\\\\pop\");\n"
               "user_pref(\"mail.server.server99.directory-rel\", \"[ProfD]Mail/pop\");\n" +
               account("none", "directory", "E:\\\\Mail\\\\Local Folders") +
               account("pop3", "directory", "D:\\\\p\\\\Post\\\\in")},
          {"Mail/Local Folders/Inbox", kMbox},
          {"Mail/pop/Inbox", kMbox},
          {"Post/in/Inbox", kMbox}},
         {"Inbox\\|Mail/Local Folders/Inbox:0", "Inbox\\|Mail/pop/Inbox:0",
          "Inbox\\|Post/in/Inbox:0"},
         {"!prefs.js: the mail of an account lies elsewhere, in E:\\Mail\\Local Folders"}});
}

TEST(TrueNames, ReadTheListsOfAProfileOnce) {
  const TemporaryFolder folder;
  folder.Write("prefs.js", "x");
  folder.Write("folderTree.json", R"(["mailbox://x/S%C3%BCd%3A%20A%3FB"])");
  const std::string account = folder.File("Mail/Local Folders");
  const std::string name =
      "S\xC3\xBC"
      "d79ad4768";
  TrueNames names;
  EXPECT_EQ(names.Of(account, name),
            "S\xC3\xBC"
            "d: A?B");
  folder.Write("folderTree.json", "[]");
  EXPECT_EQ(names.Of(account + "/x.sbd", name), names.Of(account, name));
  EXPECT_NE(names.Of(account, name), name);
  EXPECT_EQ(TrueNames().Of(account, name), name);
}

TEST(ThunderbirdProfile, NamesMailThatOnlyItsIndexesKnow) {
  const std::string imap = "ImapMail/imap.example/";
  const std::string local = "Mail/Local Folders/";
  Check(
      {"on a server, and lost here",
       {{"prefs.js", "x"},
        {imap + "INBOX", kMbox + kMbox},
        {imap + "INBOX.msf", Index("(^A1^83)")},
        {imap + "Part", kMbox},
        {imap + "Part.msf", Index("(^A1^8C)")},
        {imap + "Entw&APw-rfe.msf", Index("(^A1=7)")},
        {imap + "Maildir/cur/1.eml", kMail},
        {imap + "Maildir/tmp/.x", ""},
        {imap + "Maildir.msf", Index("(^A1=1)")},
        {imap + "Empty.msf", Index("(^A1=0)(^A8=5)")},
        {imap + "Never", ""},
        {imap + "Never.msf", ""},
        {imap + "Search.msf", Index("(^B0=x)", kSearch)},
        {imap + "[Gmail].msf", Index("(^AF^84)")},
        {imap + "[Gmail].sbd/All.msf", Index("(^A1=3)")},
        {local + "Inbox", kMbox},
        {local + "Inbox.msf", Index("(^A1=7)")},
        {local + "Lost.msf", Index("(^A1=5)")},
        {local + "Never.msf", ""}},
       {"Inbox\\|ImapMail/imap.example/INBOX:0", "Inbox\\|ImapMail/imap.example/INBOX:50",
        "Part\\|ImapMail/imap.example/Part:0", "Maildir\\|ImapMail/imap.example/Maildir/cur/1.eml",
        "Inbox\\|Mail/Local Folders/Inbox:0"},
       {"!ImapMail/imap.example: mail is on its server alone, not made available offline: "
        "Entw\xC3\xBCrfe (7), Never (number unknown), Part (299), [Gmail]/All (3)",
        "!Mail/Local Folders: of mail the index alone is here: Lost (5)"}});
  // Without the profile, and one account by itself.
  const TemporaryFolder folder;
  folder.Write("memos", kMbox);
  folder.Write(local + "Inbox", kMbox);
  folder.Write(imap + "Sent", kMbox);
  folder.Write(imap + "Sent.msf", Index("(^A1^83)"));
  const std::string reason = ": mail is on its server alone, not made available offline: Sent (1)";
  Check({"without prefs.js",
         {},
         {"memos\\|memos:0", "Sent Items\\|ImapMail/imap.example/Sent:0",
          "Inbox\\|Mail/Local Folders/Inbox:0"},
         {"!ImapMail/imap.example" + reason}},
        folder.Path());
  Check({"accounts", {}, {"Sent Items\\|imap.example/Sent:0"}, {"!imap.example" + reason}},
        folder.File("ImapMail"));
  const Plan account = MakePlan({folder.File("ImapMail/imap.example")});
  EXPECT_FALSE(account.IsWhole());
  Tree many = {"many", {{"prefs.js", "x"}}, {}, {}};
  for (char c = 'a'; c <= 'k'; ++c) many.files[imap + c + ".msf"] = Index("(^A1=1)");
  many.leftOut = {
      "!ImapMail/imap.example: mail is on its server alone, not made available offline: "
      "a (1), b (1), c (1), d (1), e (1), f (1), g (1), h (1) and 3 more folders"};
  Check(many);
}

TEST(FolderIndex, IsReadInPiecesAndToAnyEnd) {
  const std::string whole = Index("(^A1^8C)(^AF^84)", kSearch);
  for (const std::size_t piece : {1u, 3u, 1000u}) {
    const FolderIndex index = FolderIndexOf([&](const auto& take) {
      for (std::size_t at = 0; at < whole.size(); at += piece) {
        take(std::string_view(whole).substr(at, piece));
      }
    });
    EXPECT_EQ(index.mails, 300u);
    EXPECT_TRUE(index.isLevel);
    EXPECT_FALSE(index.isSearch);  // the column is known, and no cell has it
  }
  for (const char* cells : {"(^A1^77)", "(^A1=x)", "(^A1=fffffffffffffffff)", "(^A1=)", "(^A1"}) {
    const std::string text = Index(std::string("(^A1=7)") + cells);
    const FolderIndex index = FolderIndexOf([&](const auto& take) { take(text); });
    EXPECT_EQ(index.mails, std::string_view(cells).ends_with(')') ? std::nullopt
                                                                  : std::optional<std::uint64_t>(7))
        << cells;
  }
}

TEST(Stores, MailBesideAMaildirComesAndThatInFilesOfADovecotIsNamed) {
  Check({"beside",
         {{"cur/1.a:2,S", kMail},
          {"new/.x", ""},
          {"cur/3f/12", kMail},
          {"courierimapuiddb", "1 2\n"},
          {"dovecot-uidlist", "3 V1\n"},
          {"subscriptions", "V\t2\n"},
          {".Sent/cur/2.a:2,S", kMail},
          {".Sent/new/.x", ""},
          {".Sent/old.mbox", kMbox},
          {"plain/Archive", kMbox},
          {"plain/1.eml", kMail},
          {"plain/note", "no mail"}},
         {"Inbox\\|cur/1.a:2,S", "Sent Items\\|.Sent/cur/2.a:2,S",
          "Sent Items\\old\\|.Sent/old.mbox:0", "plain\\|plain/1.eml",
          "plain\\Archive\\|plain/Archive:0"},
         {"!cur/3f: a folder where mail belongs", "plain/note: its name does not end"}});
  Check({"all of an Evolution, and a hidden file",
         {{"mail/local/..maildir++", "maildir++ 1\n"},
          {"mail/local/cur/1.a:2,S", kMail},
          {"mail/local/new/.x", ""},
          {"mail/local/.Sent/cur/2.a:2,S", kMail},
          {"mail/local/.Sent/new/.x", ""},
          {"mail/local/folders.db-wal", "x"},
          {"mail/.hidden", kMbox},
          {"mail/.other", "x"},
          {"addressbook/local/system/contacts.db", "x"}},
         {"Inbox\\|mail/local/cur/1.a:2,S", "Sent Items\\|mail/local/.Sent/cur/2.a:2,S"},
         {"addressbook/local/system/contacts.db: an address book",
          "!mail/.hidden: it is hidden, looks like an mbox"}});
  Check({"dbox",
         {{"mailboxes/A/dbox-Mails/u.1", "2 M1e\n"},
          {"mailboxes/A/dbox-Mails/u.22", "2 M1e\n"},
          {"mailboxes/A/dbox-Mails/dovecot.index", "x"},
          {"mailboxes/B/dbox-Mails/dovecot.index", "x"},
          {"storage/dovecot.map.index", "x"},
          {"storage/m.1", "2 M1e\n"},
          {"other/storage/m.1", "x"}},
         {},
         {"!storage: mail of a Dovecot in a file",
          "!mailboxes/A/dbox-Mails: mail of a Dovecot in 2 files",
          "other/storage/m.1: its name does not end"}});
}

}  // namespace
}  // namespace client
