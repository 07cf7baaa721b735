#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/sources/MhSequences.h"
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
using client_test::Letters;
using client_test::Mbox;
using client_test::Problems;
using client_test::WithCr;
using client_test::WithCrLf;
using test_support::TemporaryFolder;
using testing::ElementsAre;

constexpr std::int64_t kTime = 1551780000;  // of kSeparator in UTC

// Of 4 bytes each, the least first.
std::string Words(const std::vector<std::uint32_t>& words) {
  std::string bytes;
  for (const std::uint32_t word : words) {
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(word >> shift);
  }
  return bytes;
}

// A mail with two fields, as gzip packs it.
const std::string kPackedMail(
    "\037\213\010\000\000\000\000\000\002\377\013\311\267RHtH\342\012.M\312JM."
    "\261R\250\340\342\002\000\256\007\272\230\024\000\000\000",
    40);

// What the list of a Eudora has of one mail.
std::string TocOf(std::size_t offset, char state) {
  std::string mail = Words({static_cast<std::uint32_t>(offset), 1, 0});
  mail += state;
  mail.resize(218);
  return mail;
}

// "FOLDER|NAME|STATE", the state as Letters has it; then "@" for kTime, or "@SECONDS", where the
// store says when the mail came.
std::string LineOf(const Plan::Entry& entry, const std::string& bytes) {
  MailState state = entry.item.state;
  entry.source->AddState(entry.item, bytes, state);
  std::string line = entry.item.folder + "|" + entry.name + "|" + Letters(state, entry.item.read);
  if (state.received) line += "@";
  if (state.received.value_or(kTime) != kTime) line += std::to_string(*state.received);
  return line;
}

// Trees as programs leave them, and what comes out of them.
TEST(Stores, EachProgramsTreeIsOneSource) {
  setenv("TZ", "UTC", 1);
  tzset();
  using Files = std::map<std::string, std::string>;
  struct Mail {
    std::string line;
    std::string bytes = kMail;
  };
  const std::string u = "\xC3\xBC";
  const std::string uuid = "0A1B2C3D-1111-2222-3333-444455556666";
  const std::string labels[] = {
      "X-Gmail-Labels: =?UTF-8?Q?Posteingang,Ungelesen,Kunde/=C3=96tt?=\n",
      "X-Gmail-Labels: Sent,Opened,Inbox,\n Starred\n", "X-Gmail-Labels: Archived,Important\n",
      "X-Gmail-Labels: Trash\n"};
  const auto exported = [](const std::string& fields) {
    return "From 1627@xxx Tue Mar 05 10:00:00 +0000 2019\n" + fields + kText + "\n";
  };
  const std::string status = "Status: D\n";
  const std::string mozilla = "X-Mozilla-Status: 0000\n";
  const struct {
    const char* name;
    Files files;
    std::vector<Mail> mails;
    std::vector<std::string> empty;
    std::vector<std::string> problems = {};
  } rows[] = {
      {"the profile of a Thunderbird",
       {{"prefs.js", "x"},
        {"cookies.sqlite", "x"},
        {"places.sqlite", "x"},
        {"Mail/Local Folders/Inbox", Mbox("X-Mozilla-Status: 1006\n")},
        {"Mail/Local Folders/Inbox.msf", "x"},
        {"Mail/Local Folders/Sent", ""},
        {"Mail/Local Folders/Sent.msf", "x"},
        {"Mail/Local Folders/v1.2", Mbox()},
        {"Mail/Local Folders/v1.2.sbd/Deeper", Mbox("X-Mozilla-Status: 0009\n") + Mbox()},
        {"Mail/Local Folders/S" + u + "d79ad4768", Mbox()},
        {"Mail/Local Folders/S" + u + "d79ad4768.msf",
         "<(8C=mailboxName)(8D=S$C3$BCd: A)>\n<(9F=S$C3$BCd: \\A?\\\nB)>\n{1:^80 (^8C^9F)}"},
        {"Mail/Local Folders/S" + u + "d79ad4768.sbd/79ad4768", Mbox()},
        {"Mail/Local Folders/msgFilterRules.dat", "name=\"x\"\n"},
        {"ImapMail/imap.example/INBOX", Mbox("X-Mozilla-Status: 0001\nX-Mozilla-Keys: $label1\n")},
        {"ImapMail/imap.example/Entw&APw-rfe", Mbox()},
        {"Mail/pop.example/Maildir/cur/1.eml", "X-Unsent: 1\n" + kMail},
        {"Mail/pop.example/Maildir/tmp/2.eml", kMail}},
       {{"Drafts\\|ImapMail/imap.example/Entw&APw-rfe:0|R@", kText},
        {"Inbox\\|ImapMail/imap.example/INBOX:0|R,Important@",
         "X-Mozilla-Status: 0001\nX-Mozilla-Keys: $label1\n" + kText},
        {"Inbox\\|Mail/Local Folders/Inbox:0|AFW@", "X-Mozilla-Status: 1006\n" + kText},
        {"S" + u + "d: A?B\\|Mail/Local Folders/S" + u + "d79ad4768:0|R@", kText},
        {"v1.2\\|Mail/Local Folders/v1.2:0|R@", kText},
        {"S" + u + "d: A?B\\79ad4768\\|Mail/Local Folders/S" + u + "d79ad4768.sbd/79ad4768:0|R@",
         kText},
        {"v1.2\\Deeper\\|Mail/Local Folders/v1.2.sbd/Deeper:73|@", kText},
        {"Maildir\\|Mail/pop.example/Maildir/cur/1.eml|R@1", "X-Unsent: 1\n" + kMail}},
       {"Sent Items\\"}},
      {"several Maildirs",
       {{"INBOX/cur/1.a:2,RS", kMail},
        {"INBOX/new/.x", ""},
        {"K&APY-ln/new/2.a", kMail},
        {"K&APY-ln/cur/.x", ""},
        {".mbsyncstate", "x"}},
       {{"Inbox\\|INBOX/cur/1.a:2,RS|RA@1"}, {"K\xC3\xB6ln\\|K&APY-ln/new/2.a|@2"}},
       {}},
      {"mbsync's, by both of its names for what lies below",
       {{"INBOX/cur/.x", ""},
        {"INBOX/new/1.a,U=1", kMail},
        {"Projekte/K&APY-ln/cur/2.a,U=1:2,FS", kMail},
        {"Projekte/K&APY-ln/new/.x", ""},
        {"Archive/cur/.x", ""},
        {"Archive/new/.x", ""},
        {"Archive/.&ANY-/cur/3.a,U=2;2,D", kMail},
        {"Archive/.&ANY-/new/.x", ""},
        {"Archive/.&ANY-/.uidvalidity", "1\n2\n"}},
       {{"Archive\\\xC3\x96\\|Archive/.&ANY-/cur/3.a,U=2;2,D|D"},
        {"Inbox\\|INBOX/new/1.a,U=1|"},
        {"Projekte\\K\xC3\xB6ln\\|Projekte/K&APY-ln/cur/2.a,U=1:2,FS|RF"}},
       {}},
      {"a server's, where folders without mail of their own stand above others",
       {{"INBOX/cur/.x", ""},
        {"INBOX/new/.x", ""},
        {"Entw&APw-rfe/2019/cur/1.a:2,S", kMail},
        {"Entw&APw-rfe/2019/new/.x", ""},
        {"Projekte/K&APY-ln/A&-B/Kunde/cur/2.a:2,S", kMail},
        {"Projekte/K&APY-ln/A&-B/Kunde/new/.x", ""}},
       {{"Drafts\\2019\\|Entw&APw-rfe/2019/cur/1.a:2,S|R@1"},
        {"Projekte\\K\xC3\xB6ln\\A&B\\Kunde\\|Projekte/K&APY-ln/A&-B/Kunde/cur/2.a:2,S|R@2"}},
       {}},
      {"mboxes of a Dovecot",
       {{".imap/inbox/dovecot.index.log", "x"},
        {".imap/Leer/dovecot.index.log", "x"},
        {"inbox", Mbox()},
        {"Leer", ""},
        {"Notiz", ""},
        {"rules.sieve", "keep;\n"},
        {"B&APw-ro/K&APY-ln/Kunde", Mbox()}},
       {{"Inbox\\|inbox:0|R@", kText},
        {"B" + u + "ro\\K\xC3\xB6ln\\Kunde\\|B&APw-ro/K&APY-ln/Kunde:0|R@", kText}},
       {"Leer\\"},
       {"rules.sieve: its name does not end in .eml, .ics or .vcf"}},
      {"mutt's, of which some have no mail",
       {{"inbox", Mbox()},
        {"inbox.lock", ""},
        {"sent", ""},
        {"subscriptions", ""},
        {"v1", ""},
        {"old/2019.mbox", Mbox()},
        {"old/2020.mbox", ""},
        {"old/todo", ""}},
       {{"Inbox\\|inbox:0|R@", kText}, {"old\\2019\\|old/2019.mbox:0|R@", kText}},
       {"Sent Items\\", "v1\\", "old\\2020\\"}},
      {"files whose folders are called as a server's are, which nothing shows to be one's",
       {{"B&APw-ro/1.eml", kMail}, {"B&APw-ro/a/2.eml", kMail}, {"B&APw-ro/3", ""}},
       {{"B&APw-ro\\|B&APw-ro/1.eml|R"}, {"B&APw-ro\\a\\|B&APw-ro/a/2.eml|R"}},
       {}},
      {"a Maildir that was copied without its empty folders, and what lies beside its mail",
       {{"cur/1.a:2,", kMail},
        {"cur/2.a", kMail},
        {".Sent/cur/2.a:2,S", "X-Unsent: 1\n" + kMail},
        {".Old.Box.mbox/new/7.a", kMail},
        {"backup/3.eml", "X-Unsent: 1\n" + kMail},
        {"backup/5", kMail},
        {"K&APY-ln/Archive2018", Mbox()},
        {"sieve/tmp/.x", ""},
        {"courierpop3dsizelist", "/2 1 1\n"},
        {"dovecot-uidlist", "3 V1\n"},
        {"dovecot.index.log", "x"},
        {"subscriptions", "Sent\n"}},
       {{"Inbox\\|cur/1.a:2,|@1"},
        {"Inbox\\|cur/2.a|R@2"},
        {"Old\\Box\\mbox\\|.Old.Box.mbox/new/7.a|@7"},
        {"Sent Items\\|.Sent/cur/2.a:2,S|R@2", "X-Unsent: 1\n" + kMail},
        {"K\xC3\xB6ln\\Archive2018\\|K&APY-ln/Archive2018:0|R@", kText},
        {"backup\\|backup/3.eml|RD", "X-Unsent: 1\n" + kMail},
        {"backup\\|backup/5|R"}},
       {}},
      {"KMail's",
       {{"inbox/cur/1.a:2,S", kMail},
        {"inbox/new/.x", ""},
        {".Projekte.directory/Kunde/cur/2.a:2,S", kMail},
        {".Projekte.directory/Kunde/new/.x", ""}},
       {{"Projekte\\Kunde\\|.Projekte.directory/Kunde/cur/2.a:2,S|R@2"},
        {"Inbox\\|inbox/cur/1.a:2,S|R@1"}},
       {}},
      {"MH",
       {{"inbox/1", kMail},
        {"inbox/2", ">From a@b Mon\n" + kMail},
        {"inbox/,3", kMail},
        {"inbox/7", kSeparator + kMail},
        {"inbox/8", Mbox() + Mbox()},
        {"inbox/.mh_sequences", "unseen: 2-9\nreplied: 1\nflagged: 2\nforwarded: 1\n"},
        {"leer/.mh_sequences", "cur: 1\n"},
        {"other/4", ">From a@b Mon\n" + kMail},
        {"sent/1", kMail}},
       {{"Inbox\\|inbox/1|RAW"},
        {"Inbox\\|inbox/2|F", ">From a@b Mon\n" + kMail},
        {"Inbox\\|inbox/7|", kSeparator + kMail},
        {"Inbox\\8\\|inbox/8:0|R@", kText},
        {"Inbox\\8\\|inbox/8:" + std::to_string(Mbox().size()) + "|R@", kText},
        {"other\\|other/4|R", ">From a@b Mon\n" + kMail},
        {"Sent Items\\|sent/1|R"}},
       {"leer\\"}},
      {"Claws Mail's",
       {{"inbox/1", kMail},
        {"inbox/2", kMail},
        {"inbox/3", kMail},
        {"inbox/4", kMail},
        {"inbox/5", kMail},
        {"inbox/.claws_mark", Words({2, 1, 4 | 16, 2, 2, 3, 8, 4, 32})}},
       {{"Inbox\\|inbox/1|RAF"},
        {"Inbox\\|inbox/2|"},
        {"Inbox\\|inbox/4|RW"},
        {"Inbox\\|inbox/5|"}},
       {}},
      {"MMDF files",
       {{"Old", kMmdfMark + kSeparator + "Status: O\n" + kText + kMmdfMark + kMmdfMark + kMail +
                    "From here\n\n" + kMmdfMark},
        {"Sent again",
         kMmdfMark + "Resent-Date: Tue, 05 Mar 2019 10:00:00 +0000\n" + kMail + kMmdfMark},
        {"Cut.mmdf", kMmdfMark + kMail + "text"}},
       {{"Cut\\|Cut.mmdf:5|R", kMail + "text"},
        {"Old\\|Old:5|@", "Status: O\n" + kText},
        {"Old\\|Old:74|", kMail + "From here\n\n"},
        {"Sent again\\|Sent again:5|R", "Resent-Date: Tue, 05 Mar 2019 10:00:00 +0000\n" + kMail}},
       {},
       {"Cut.mmdf: its last mail ends within a line: it is cut, or a program still writes it"}},
      {"Courier's, in which an s-nail was, too",
       {{"courierimapsubscribed", "INBOX.Sent\n"},
        {"courierimapuiddb", "1 1 2\n"},
        {"courierimaphieracl/Sent", "x"},
        {"cur/1:2,S", kMail},
        {"new/2:2,S", kMail},
        {"tmp/3", kMail},
        {".Sent/maildirfolder", ""},
        {".Sent/courierimapacl", "owner aceilrstwx\n"},
        {".Sent/cur/4:2,RS", kMail},
        {".Sent/new/.x", ""},
        {".Kunden.K&APY-ln/cur/5:2,FS", kMail},
        {".Kunden.K&APY-ln/new/6", kMail}},
       {{"Inbox\\|cur/1:2,S|R"},
        {"Inbox\\|new/2:2,S|R"},
        {"Kunden\\K\xC3\xB6ln\\|.Kunden.K&APY-ln/cur/5:2,FS|RF"},
        {"Kunden\\K\xC3\xB6ln\\|.Kunden.K&APY-ln/new/6|"},
        {"Sent Items\\|.Sent/cur/4:2,RS|RA"}},
       {}},
      {"an Outlook Express' in mbox",
       {{"Posteingang.mbx", WithCrLf(Mbox() + Mbox())}},
       {{"Inbox\\|Posteingang.mbx:0|R@", WithCrLf(kText)},
        {"Inbox\\|Posteingang.mbx:" + std::to_string(WithCrLf(Mbox()).size()) + "|R@",
         WithCrLf(kText)}},
       {}},
      {"Gmail's export as it is downloaded",
       {{"Alle.mbox", WithCrLf(exported(labels[3]) + exported(labels[2]))}},
       {{"Deleted Items\\|Alle.mbox:0|R@", WithCrLf(labels[3] + kText)},
        {"Archive\\|Alle.mbox:" + std::to_string(WithCrLf(exported(labels[3])).size()) + "|R@",
         WithCrLf(labels[2] + kText)}},
       {}},
      {"Evolution's",
       {{"..maildir++", "maildir++ 1\n"},
        {"cur/.x", ""},
        {"new/.x", ""},
        {".Projekte.a_b c.K\xC3\xB6ln & S" + u + "d/cur/1:2,S", kMail},
        {".Projekte.a_b c.K\xC3\xB6ln & S" + u + "d/new/.x", ""},
        {".R&D/cur/2:2,S", kMail},
        {".R&D/new/.x", ""},
        {".R&-D/cur/3:2,S", kMail},
        {".R&-D/new/.x", ""}},
       {{"Projekte\\a_b c\\K\xC3\xB6ln & S" + u + "d\\|.Projekte.a_b c.K\xC3\xB6ln & S" + u +
         "d/cur/1:2,S|R"},
        {"R&-D\\|.R&-D/cur/3:2,S|R"},
        {"R&D\\|.R&D/cur/2:2,S|R"}},
       {}},
      {"Evolution's of before",
       {{"Projekte", ""},
        {"Projekte.cmeta", "x"},
        {"Projekte.ibex.index", "x"},
        {"Projekte.ibex.index.data", "x"},
        {"Projekte.sbd/Kunde", kSeparator + "X-Evolution: 00000001-0011\n" + kText + kSeparator +
                                   "X-Evolution: 00000002-0400\n" + kMail + ">From x\n"}},
       {{"Projekte\\Kunde\\|Projekte.sbd/Kunde:0|RA@", "X-Evolution: 00000001-0011\n" + kText},
        {"Projekte\\Kunde\\|Projekte.sbd/Kunde:76|W@",
         "X-Evolution: 00000002-0400\n" + kMail + "From x\n"}},
       {}},
      {"Apple Mail's",
       {{"INBOX.mbox/" + uuid + "/Data/1/Messages/1.emlx", Emlx(kMail, 0)},
        {"Sent Messages.mbox/A:B.mbox/Messages/2.emlx", Emlx(kMail, 0x15)},
        {"Sent Messages.mbox/A:B.mbox/Messages/3.emlx", WithCrLf(Emlx(kText, 0x15))},
        {"Gr:A/C:D.mbox/Messages/3.emlx", Emlx(kMail, 1)},
        {"Gr:B/4.eml", kMail},
        {"Export.mbox/mbox", Mbox()},
        {"Export.mbox/table_of_contents", "x"},
        {"Leer.mbox/Info.plist", "x"},
        {"Leer2.mbox/mbox", ""},
        {"Leer2.mbox/table_of_contents", "x"}},
       {{"Export\\|Export.mbox/mbox:0|R@", kText},
        {"Gr/A\\C/D\\|Gr:A/C:D.mbox/Messages/3.emlx|R@"},
        {"Gr:B\\|Gr:B/4.eml|R"},
        {"Inbox\\|INBOX.mbox/" + uuid + "/Data/1/Messages/1.emlx|@"},
        {"Sent Items\\A/B\\|Sent Messages.mbox/A:B.mbox/Messages/2.emlx|RAF@"},
        {"Sent Items\\A/B\\|Sent Messages.mbox/A:B.mbox/Messages/3.emlx|RAF@", WithCrLf(kText)}},
       {"Leer\\", "Leer2\\"}},
      {"all of an Apple Mail",
       {{"V10/" + uuid + "/INBOX.mbox/" + uuid + "/Data/Messages/1.emlx", Emlx(kMail, 0)},
        {"V10/" + uuid + "/Junk.mbox/Messages/2.emlx", Emlx(kMail, 1)},
        {"V10/MailData/Signatures/x.mailsignature", "To: a@b\nSubject: x\n\nx"},
        {"0A1B2C3D-1111-2222-3333-44445555666A/a.mbox/Messages/3.emlx", Emlx(kMail, 1)},
        {"0A1B2C3D-1111-2222-3333-44445555666B/1.eml", kMail}},
       {{"a\\|0A1B2C3D-1111-2222-3333-44445555666A/a.mbox/Messages/3.emlx|R@"},
        {"0A1B2C3D-1111-2222-3333-44445555666B\\|0A1B2C3D-1111-2222-3333-44445555666B/1.eml|R"},
        {"Inbox\\|V10/" + uuid + "/INBOX.mbox/" + uuid + "/Data/Messages/1.emlx|@"},
        {"Junk E-mail\\|V10/" + uuid + "/Junk.mbox/Messages/2.emlx|R@"}},
       {}},
      {"the folder above, of a copy without MailData",
       {{"Mail/V10/" + uuid + "/INBOX.mbox/Messages/1.emlx", Emlx(kMail, 0)},
        {"Mail/V10/" + uuid + "/Sent Messages.mbox/Messages/2.emlx", Emlx(kMail, 1)},
        {"Mail/V2/MailData/x", "x"}},
       {{"Inbox\\|Mail/V10/" + uuid + "/INBOX.mbox/Messages/1.emlx|@"},
        {"Sent Items\\|Mail/V10/" + uuid + "/Sent Messages.mbox/Messages/2.emlx|R@"}},
       {}},
      {"and of an old one",
       {{"V2/IMAP-jane@host/INBOX.mbox/Messages/1.emlx", Emlx(kMail, 0)},
        {"V2/Mailboxes/Old.mbox/Messages/2.emlx", Emlx(kMail, 1)}},
       {{"Inbox\\|V2/IMAP-jane@host/INBOX.mbox/Messages/1.emlx|@"},
        {"Old\\|V2/Mailboxes/Old.mbox/Messages/2.emlx|R@"}},
       {}},
      {"a home with a Maildir",
       {{"Maildir/cur/1.a:2,S", kMail},
        {"Maildir/new/.x", ""},
        {"Maildir/.Sent/cur/2.a:2,S", kMail},
        {"Maildir/.INBOX.Kunde/cur/3.a:2,S", kMail},
        {"Documents/4.eml", kMail}},
       {{"Documents\\|Documents/4.eml|R"},
        {"Inbox\\|Maildir/cur/1.a:2,S|R@1"},
        {"Inbox\\Kunde\\|Maildir/.INBOX.Kunde/cur/3.a:2,S|R@3"},
        {"Sent Items\\|Maildir/.Sent/cur/2.a:2,S|R@2"}},
       {}},
      {"a folder that is called so among others",
       {{"INBOX/cur/1.a:2,S", kMail}, {"Maildir/cur/2.a:2,S", kMail}},
       {{"Inbox\\|INBOX/cur/1.a:2,S|R@1"}, {"Maildir\\|Maildir/cur/2.a:2,S|R@2"}},
       {}},
      {"a home with an Evolution",
       {{".local/share/evolution/mail/local/..maildir++", "maildir++ 1\n"},
        {".local/share/evolution/mail/local/cur/1:2,S", kMail},
        {".local/share/evolution/mail/local/.Sent/cur/2:2,S", kMail}},
       {{"Inbox\\|.local/share/evolution/mail/local/cur/1:2,S|R"},
        {"Sent Items\\|.local/share/evolution/mail/local/.Sent/cur/2:2,S|R"}},
       {}},
      {"the folder above Evolution's of before",
       {{"local/Inbox", Mbox()},
        {"local/Inbox.cmeta", "x"},
        {"local/Inbox.sbd/Kunde", Mbox()},
        {"local/Inbox.sbd/Kunde.cmeta", "x"}},
       {{"Inbox\\|local/Inbox:0|R@", kText}, {"Inbox\\Kunde\\|local/Inbox.sbd/Kunde:0|R@", kText}},
       {}},
      {"mboxes of an old Mac",
       {{"In.mbx", WithCr(Mbox("Status: O\n") + Mbox("Status: RO\n") + kSeparator + kMail +
                          ">From me\n\nFrom you\n")},
        {"In.toc", std::string(104, 'x') + TocOf(0, 2)}},
       {{"Inbox\\|In.mbx:0|RA@", "Status: O\n" + kText},
        {"Inbox\\|In.mbx:" + std::to_string(Mbox("Status: O\n").size()) + "|R@",
         "Status: RO\n" + kText},
        {"Inbox\\|In.mbx:" +
             std::to_string(Mbox("Status: O\n").size() + Mbox("Status: RO\n").size()) + "|@",
         kMail + "From me\n\nFrom you\n"}},
       {}},
      {"folders that are called as Apple's are",
       {{"x.mbox/Kunde/1.eml", kMail}, {"x.mbox/Kunde/Attachments/2.eml", kMail}},
       {{"x\\Kunde\\|x.mbox/Kunde/1.eml|R"},
        {"x\\Kunde\\Attachments\\|x.mbox/Kunde/Attachments/2.eml|R"}},
       {}},
      {"offlineimap's",
       {{"INBOX/cur/1.a,U=1,FMD5=7e:2,S", kMail},
        {"INBOX/new/.x", ""},
        {"Projekte.K&APY-ln/cur/.x", ""},
        {"Projekte.K&APY-ln/new/2.a", kMail},
        {"sub/v1.2/cur/3.a:2,S", kMail},
        {"sub/v1.2/new/.x", ""}},
       {{"Inbox\\|INBOX/cur/1.a,U=1,FMD5=7e:2,S|R"},
        {"Projekte\\K\xC3\xB6ln\\|Projekte.K&APY-ln/new/2.a|@2"},
        {"sub\\v1.2\\|sub/v1.2/cur/3.a:2,S|R@3"}},
       {}},
      {"Eudora's",
       {{"In.mbx", Mbox() + Mbox() + Mbox()},
        {"In.toc", std::string(104, 'x') + TocOf(Mbox().size(), 0) + TocOf(0, 2) + "cut"},
        {"Out.mbx", Mbox()},
        {"kueche.mbx", Mbox()},
        {"Kunden.fol/Old.mbx", Mbox()},
        {"K&APY-ln.FOL/K&APY-ln.mbx", Mbox()},
        {"Leer.mbx", ""},
        {"Leer.TOC", std::string(104, 0)},
        {"Attach/forwarded.eml", kMail},
        {"descmap.pce",
         "In,In.mbx,S,N\r\n,\r\nx,y\r\nK\xFC"
         "che, Bad,Kueche.mbx,M,N\r\n,,,\r\nKunden & Co,Kunden.fol,F,N"}},
       {{"Inbox\\|In.mbx:0|RA@", kText},
        {"Inbox\\|In.mbx:" + std::to_string(Mbox().size()) + "|@", kText},
        {"Inbox\\|In.mbx:" + std::to_string(2 * Mbox().size()) + "|R@", kText},
        {"Sent Items\\|Out.mbx:0|R@", kText},
        {"K" + u + "che, Bad\\|kueche.mbx:0|R@", kText},
        {"K&APY-ln\\K\xC3\xB6ln\\|K&APY-ln.FOL/K&APY-ln.mbx:0|R@", kText},
        {"Kunden & Co\\Old\\|Kunden.fol/Old.mbx:0|R@", kText}},
       {"Leer\\"}},
      {"Gmail's export",
       {{"All mail.mbox", Mbox(labels[0]) + Mbox(labels[1]) + Mbox(labels[2]) + Mbox(labels[3])},
        {"One.mbox", exported("") + exported(status + labels[3]) + exported(status) +
                         Mbox("Status: R\n")},  // which its owner put there
        {"Kunden", Mbox(mozilla + labels[3])},
        {"Old", Mbox("Received: x\n" + labels[3])}},
       {{"Inbox\\|All mail.mbox:0|,Kunde/\xC3\x96tt@", labels[0] + kText},
        {"Sent Items\\|All mail.mbox:115|RF@", labels[1] + kText},
        {"Archive\\|All mail.mbox:209|R@", labels[2] + kText},
        {"Deleted Items\\|All mail.mbox:294|R@", labels[3] + kText},
        {"Kunden\\|Kunden:0|@", mozilla + labels[3] + kText},
        {"Old\\|Old:0|R@", "Received: x\n" + labels[3] + kText},
        {"Archive\\|One.mbox:0|R@", kText},
        {"Deleted Items\\|One.mbox:63|R@", status + labels[3] + kText},
        {"Archive\\|One.mbox:158|R@", status + kText},
        {"One\\|One.mbox:231|R@", "Status: R\n" + kText}},
       {}},
      {"mboxes that are called as files beside mail are",
       {{"Server.log", Mbox()},
        {"Subscriptions", "\xEF\xBB\xBF" + Mbox()},
        {"data.sqlite", Mbox()},
        {"dovecot-users", Mbox()}},
       {{"Server.log\\|Server.log:0|R@", kText},
        {"Subscriptions\\|Subscriptions:3|R@", kText},
        {"data.sqlite\\|data.sqlite:0|R@", kText},
        {"dovecot-users\\|dovecot-users:0|R@", kText}},
       {}},
  };
  for (const auto& row : rows) {
    const TemporaryFolder folder;
    for (const auto& [name, bytes] : row.files) folder.Write(name, bytes);
    const Plan plan = MakePlan({folder.Path()});
    std::vector<Mail> mails;
    for (const Plan::Entry& entry : plan.entries) {
      const std::string bytes = entry.source->Read(entry.item);
      mails.push_back({LineOf(entry, bytes), bytes});
    }
    EXPECT_EQ(mails.size(), row.mails.size()) << row.name;
    for (std::size_t i = 0; i < std::min(mails.size(), row.mails.size()); ++i) {
      EXPECT_EQ(mails[i].line, row.mails[i].line) << row.name;
      EXPECT_EQ(mails[i].bytes, row.mails[i].bytes) << row.name << ": " << row.mails[i].line;
    }
    EXPECT_THAT(plan.emptyFolders, testing::ElementsAreArray(row.empty)) << row.name;
    EXPECT_THAT(Problems(plan, folder.Path()), testing::ElementsAreArray(row.problems)) << row.name;
  }
}

// In a tree and by itself.
TEST(Stores, AnMboxThatIsCalledEmlHasItsMailsWhereItLies) {
  const std::string from = "From a@b Tue Mar  5 09:00:00 2024\nSubject: x\n\n";
  const std::string mmdf = kMmdfMark + kText + kMmdfMark + kMmdfMark + kText + kMmdfMark;
  const TemporaryFolder folder;
  folder.Write("Kunde/1.eml", "\xEF\xBB\xBF" + Mbox("Status: O\n") + Mbox("Status: RO\n"));
  folder.Write("Kunde/2.eml", mmdf);
  // A mail that went through an mbox, in which others are spoken of.
  folder.Write("Kunde/3.eml", from + "From me,\nto you.\n\nFrom c@d Tue Mar  5 09:00:00 2024\n");
  folder.Write("Kunde/4.eml", kMail + "\n" + Mbox());
  // A patch is attached to it.
  folder.Write("Kunde/5.eml", from + "\n\nFrom " + std::string(40, 'a') +
                                  " Mon Sep 17 00:00:00 2001\nFrom: a@b\nSubject: x\n\n");
  folder.Write("Kunde/6.eml", kMmdfMark + kText + kMmdfMark);
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_THAT(
      Items(plan),
      ElementsAre("Kunde\\|Kunde/1.eml:3|unread",
                  "Kunde\\|Kunde/1.eml:" + std::to_string(3 + Mbox("Status: O\n").size()),
                  "Kunde\\|Kunde/2.eml:5",
                  "Kunde\\|Kunde/2.eml:" + std::to_string(15 + kText.size()), "Kunde\\|Kunde/3.eml",
                  "Kunde\\|Kunde/4.eml", "Kunde\\|Kunde/5.eml", "Kunde\\|Kunde/6.eml:5"));
  EXPECT_EQ(plan.sources[0]->Read(plan.entries[0].item), "Status: O\n" + kText);
  EXPECT_EQ(plan.sources[0]->Read(plan.entries[2].item), kText);
  EXPECT_THAT(Items(MakePlan({folder.File("Kunde/1.eml")})),
              ElementsAre("Inbox\\|1.eml:3|unread", testing::StartsWith("Inbox\\|1.eml:")));
  EXPECT_THAT(Items(MakePlan({folder.File("Kunde/3.eml")})), ElementsAre("Inbox\\|3.eml"));
}

// As Dovecot keeps mail on a disk that is short.
TEST(Stores, PackedMailOfAMaildirIsReadOrNamed) {
  const TemporaryFolder folder;
  folder.Write("cur/.x", "");
  folder.Write("new/1", kPackedMail);
  const std::pair<std::string, const char*> rows[] = {
      {kPackedMail.substr(0, kPackedMail.size() - 1), "(gzip), and its end is missing"},
      {kPackedMail.substr(0, kPackedMail.size() - 8) + "sum was here", "(gzip), and damaged"},
      {"\x28\xB5\x2F\xFDx", "packed (zstd): unpack it first"},
      {std::string("\xFD"
                   "7zXZ\0",
                   6),
       "packed (xz): unpack it first"}};
  for (std::size_t i = 0; i < std::size(rows); ++i)
    folder.Write("new/" + std::to_string(2 + i), rows[i].first);
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 5u);
  EXPECT_EQ(plan.sources[0]->Read(plan.entries[0].item), "To: a@b\nSubject: x\n\n");
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    try {
      (void)plan.sources[0]->Read(plan.entries[1 + i].item);
      ADD_FAILURE() << i;
    } catch (const SourceError& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(rows[i].second));
    }
  }
}

// What went through a system twice that ends lines by CR LF, which no old Mac wrote.
TEST(Stores, LinesOfAnMboxMayEndInCrCrLf) {
  std::string file = Mbox("Status: O\n") + Mbox();
  for (std::size_t at = file.find('\n'); at != std::string::npos; at = file.find('\n', at + 3)) {
    file.insert(at, "\r\r");
  }
  const TemporaryFolder folder;
  const Plan plan = MakePlan({folder.Write("Box", file)});
  ASSERT_EQ(plan.entries.size(), 2u);
  EXPECT_EQ(plan.sources[0]->Read(plan.entries[0].item),
            "Status: O\r\r\nSubject: x\r\r\n\r\r\ntext\r\r\n");
}

TEST(Stores, AnEmptyMailOfMhFailsAsOthersDo) {
  const TemporaryFolder folder;
  folder.Write("1", "");
  folder.Write(".mh_sequences", "unseen: 2\n");
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 1u);
  const Plan::Entry entry = plan.entries[0];
  EXPECT_THROW(entry.source->Read(entry.item), SourceError);
}

TEST(MhSequences, RangesMayOverlapAndBeAnything) {
  const MhSequences sequences("a: 3-1000000000000 1 2-2 5-7\nb\n c : x 4- -5 9-8 0\n");
  EXPECT_TRUE(sequences.Has("a", 1) && sequences.Has("a", 2) && sequences.Has("a", 999));
  EXPECT_FALSE(sequences.Has("a", 1000000000001) || sequences.Has("c", 5) || sequences.Has("d", 1));
}

}  // namespace
}  // namespace client
