#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <map>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/LogNull.h"
#include "client/run/ItemLoader.h"
#include "client/sources/Emlx.h"
#include "client/sources/EudoraFiles.h"
#include "client/sources/MhSequences.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailLayout.h"
#include "tests/client/sources/PlanText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using client_test::Items;
using client_test::Letters;
using client_test::Problems;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kMail = "Subject: x\n\n";
const std::string kText = kMail + "text\n";
const std::string kSeparator = "From - Tue Mar 05 10:00:00 2019\n";
constexpr std::int64_t kTime = 1551780000;  // of that in UTC

const std::string kMark = "\x01\x01\x01\x01\n";

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

std::string WithCrLf(const std::string& text) {
  std::string lines;
  for (const char c : text) lines += c == '\n' ? "\r\n" : std::string(1, c);
  return lines;
}

LoadedItem Sent(const Plan::Entry& entry) {
  LoadedItem item = ItemLoader::Load(entry);
  ItemLoader::AddFiles(entry, item);
  return item;
}

// "NAME: REASON"
std::vector<std::string> MissingOf(const LoadedItem& item) {
  std::vector<std::string> missing;
  for (const auto& [name, reason] : item.missing) missing.push_back(name + ": " + reason);
  return missing;
}

std::string Mbox(const std::string& fields = "") { return kSeparator + fields + kText + "\n"; }

// As a Mac had it before it had LFs.
std::string WithCr(std::string text) {
  std::ranges::replace(text, '\n', '\r');
  return text;
}

std::string Emlx(const std::string& mail, int flags) {
  return std::to_string(mail.size()) + "        \n" + mail +
         "<plist><dict>\n<key>date-received</key>\n\t<integer>1551780000</integer>\n<key>flags</"
         "key>"
         "<integer>" +
         std::to_string(flags) + "</integer></dict></plist>\n";
}

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
       {{"Old", kMark + kSeparator + "Status: O\n" + kText + kMark + kMark + kMail +
                    "From here\n\n" + kMark},
        {"Cut.mmdf", kMark + kMail + "text"}},
       {{"Cut\\|Cut.mmdf:5|R", kMail + "text"},
        {"Old\\|Old:5|@", "Status: O\n" + kText},
        {"Old\\|Old:74|", kMail + "From here\n\n"}},
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
                                   "X-Evolution: 00000002-0400\n" + kMail + ">From x"}},
       {{"Projekte\\Kunde\\|Projekte.sbd/Kunde:0|RA@", "X-Evolution: 00000001-0011\n" + kText},
        {"Projekte\\Kunde\\|Projekte.sbd/Kunde:76|W@",
         "X-Evolution: 00000002-0400\n" + kMail + "From x"}},
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

TEST(Stores, WhatMayBeMailAndIsNotReadIsNamedAsALoss) {
  const TemporaryFolder folder;
  const std::pair<const char*, std::string> lost[] = {{"1.partial.emlx.dbx", "\xCF\xAD\x12\xFE"},
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
                                                      {"Old.log", std::string(5000, '\0')}};
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
  folder.Write("quote.txt", "He wrote:" + mails);
  folder.Write("letter.txt",
               "Dear,\nFrom here on\nA: 1\nB: 2\n\n" + kSeparator + "we write\nA: 1\n");
  const Plan plan = MakePlan({folder.Path()});
  EXPECT_TRUE(plan.entries.empty());
  int losses = 0;
  for (const SourceProblem& problem : plan.problems) losses += problem.isUnread;
  EXPECT_EQ(losses, 18);
  EXPECT_EQ(plan.problems.size(), 26u);
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

// In a tree and by itself.
TEST(Stores, AnMboxThatIsCalledEmlHasItsMailsWhereItLies) {
  const std::string from = "From a@b Tue Mar  5 09:00:00 2024\nSubject: x\n\n";
  const std::string mmdf = kMark + kText + kMark + kMark + kText + kMark;
  const TemporaryFolder folder;
  folder.Write("Kunde/1.eml", "\xEF\xBB\xBF" + Mbox("Status: O\n") + Mbox("Status: RO\n"));
  folder.Write("Kunde/2.eml", mmdf);
  // A mail that went through an mbox, in which others are spoken of.
  folder.Write("Kunde/3.eml", from + "From me,\nto you.\n\nFrom c@d Tue Mar  5 09:00:00 2024\n");
  folder.Write("Kunde/4.eml", kMail + "\n" + Mbox());
  // A patch is attached to it.
  folder.Write("Kunde/5.eml", from + "\n\nFrom " + std::string(40, 'a') +
                                  " Mon Sep 17 00:00:00 2001\nFrom: a@b\nSubject: x\n\n");
  folder.Write("Kunde/6.eml", kMark + kText + kMark);
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

TEST(Emlx, SaysWhereItsMailIsAndWhatBecameOfIt) {
  EXPECT_EQ(EmlxPlaceOf("12      \nSub")->offset, 9u);
  for (const char* head : {"", "12", "x\n", "12 x\n", "9999999999999\n", "-1\n"}) {
    EXPECT_FALSE(EmlxPlaceOf(head)) << head;
  }
  // The number need not be right, as long as a list of this kind ends the file.
  const std::string text = kText + "<?xml?>\n<plist/>\n" + kText;
  const std::string list = "<?xml?>\r\n<!DOCTYPE x>\r\n<plist>\r\n<key>flags</key></plist>\r\n";
  const auto lengthOf = [](std::uint64_t number, const std::string& behind) {
    return WithTrueLength({3, number}, "12\n" + behind).length;
  };
  for (const std::size_t number :
       {std::size_t{0}, text.size() - 2, text.size(), std::size_t{999999999999}}) {
    EXPECT_EQ(lengthOf(number, text + list), text.size()) << number;
  }
  EXPECT_EQ(lengthOf(kText.size(), text + list), kText.size());
  EXPECT_EQ(lengthOf(kText.size(), kText + "\n<plist>"), kText.size());
  EXPECT_EQ(lengthOf(kText.size(), kText + " \n"), kText.size());
  EXPECT_EQ(lengthOf(5, text), text.size());
  EXPECT_EQ(lengthOf(500, text), 500u);
  const EmlxState all = ReadEmlxState(Emlx("", 0x157));
  EXPECT_TRUE(all.read && all.state.deleted && all.state.answered && all.state.flagged &&
              all.state.draft && all.state.forwarded);
  EXPECT_EQ(all.state.received, 1551780000);
  EXPECT_TRUE(ReadEmlxState("<key>flags</key><string>0</string>").read);
}

TEST(Emlx, PartsThatLieBesideAMailComeToTheirPlaces) {
  const std::string cut = "X-Apple-Content-Length: 3\n\n";
  const std::string mail =
      "Subject: x\nContent-Type: multipart/mixed; boundary=\"a b\"\n\n--a b\n"
      "Content-Type: multipart/related;\n boundary=c\n\n--c\n\ntext\n--c\n"
      "Content-Transfer-Encoding: BASE64\n" +
      cut + "\n--c--\n--a b\nContent-Disposition: attachment; filename=notes.txt\n" + cut +
      "--a b--\n";
  const TemporaryFolder folder;
  folder.Write("INBOX.mbox/Data/Messages/12.partial.emlx", Emlx(mail, 1));
  folder.Write("INBOX.mbox/Data/Attachments/12/1.2/pic.png", "pic");
  const TemporaryFolder elsewhere;  // where links lead that the owner of the mail may have set
  elsewhere.Write("notes.txt", "secret");
  const std::string link = folder.File("INBOX.mbox/Data/Attachments/12/2");
  std::filesystem::create_directory_symlink(elsewhere.Path(), link);
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 1u);
  EXPECT_TRUE(plan.problems.empty());
  std::string wanted = mail;
  wanted.insert(wanted.find(cut) + cut.size(), "cGlj\n");
  const LoadedItem partial = Sent(plan.entries[0]);
  EXPECT_EQ(partial.bytes, WithCrLf(wanted));
  EXPECT_THAT(MissingOf(partial), ElementsAre("notes.txt: not in the source"));
  std::filesystem::remove(link);
  folder.Write("INBOX.mbox/Data/Attachments/12/2/notes.txt", "notes\n");
  wanted.insert(wanted.rfind(cut) + cut.size(), "notes\n");
  const LoadedItem whole = Sent(plan.entries[0]);
  EXPECT_EQ(whole.bytes, WithCrLf(wanted));
  EXPECT_THAT(MissingOf(whole), IsEmpty());
  EXPECT_EQ(whole.hash, partial.hash);
}

TEST(Eudora, FilesBesideItsMailboxesComeBackIntoTheirMails) {
  const std::string from = "From ???@??? Tue Mar 05 10:00:00 2019\r\n";
  const std::string text = "\r\nattachment converted: <no path>\r\n";
  const std::string lines =
      "Attachment Converted: \"c:\\eudora\\attach\\OFFER.doc\"\r\n"
      "Attachment converted: Macintosh HD:K\xF6ln.x (TEXT/ttxt) (0001234A)\r\n"
      "Embedded Content: logo.gif: 00000001,1a2b3c4d,00000000,00000000\r\n"
      "Attachment Converted: ..\\..\\In.mbx\r\nAttachment Converted: ..\r\n"
      "Attachment Converted: \"C:\\Attach\\link\"\r\nAttachment Converted: /dev/zero\r\n"
      "Attachment Converted: gone.doc\r\nAttachment Converted: offer.doc\r\n";
  const std::string head =
      "X-Attachments: C:\\a.doc;\r\nContent-Type: Text/Plain;\r\n format=flowed\r\n";
  const TemporaryFolder folder;
  folder.Write("Kunden.fol/Alt.mbx", from + head + "Subject: x\r\n\r\nt\xE4xt\r\n" + lines);
  folder.Write("ATTACH/offer.doc", "doc");
  folder.Write("ATTACH/K\xC3\xB6ln.x", std::string(60, 'x'));
  folder.Write("Embedded/Logo.gif", "gif");
  std::filesystem::create_symlink("/etc/passwd", folder.File("ATTACH/link"));
  const Plan plan = MakePlan({folder.Path()});
  ASSERT_EQ(plan.entries.size(), 1u);
  const LoadedItem item = Sent(plan.entries[0]);
  EXPECT_THAT(MissingOf(item),
              ElementsAre("In.mbx: not in the source", "link: Too many levels of symbolic links",
                          "zero: not in the source", "gone.doc: not in the source"));
  const std::size_t begin = item.bytes.find("=_");
  ASSERT_NE(begin, std::string::npos);
  const std::string boundary = item.bytes.substr(begin, 34);
  const auto part = [&](const std::string& fields, const std::string& body) {
    return "--" + boundary + "\r\nContent-Type: " + fields +
           "\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment; filename" +
           body;
  };
  EXPECT_EQ(item.bytes,
            "X-Attachments: C:\\a.doc;\r\nSubject: x\r\nMIME-Version: 1.0\r\n"
            "Content-Type: multipart/mixed; boundary=\"" +
                boundary + "\"\r\n\r\n--" + boundary +
                "\r\nContent-Type: Text/Plain;\r\n format=flowed\r\n\r\nt\xE4xt\r\n" + lines +
                "\r\n" +
                part("application/msword; name=\"offer.doc\"", "=\"offer.doc\"\r\n\r\nZG9j\r\n") +
                part("application/octet-stream; name*=UTF-8''K%C3%B6ln.x",
                     "*=UTF-8''K%C3%B6ln."
                     "x\r\n\r\neHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4"
                     "eHh4eHh4\r\neHh4\r\n") +
                part("image/gif; name=\"Logo.gif\"", "=\"Logo.gif\"\r\n\r\nZ2lm\r\n") + "--" +
                boundary + "--\r\n");

  // One whose parts were put away is text; what a sender names counts where nothing came of it; and
  // a list of files is as good as its owner's disk.
  std::string many;
  for (int i = 0; i < 10000; ++i) many += "Attachment Converted: " + std::to_string(i) + "\r\n";
  const std::string old =
      from + "Subject: x\r\nX-Attachments: C:\\offer.doc; D:\\b c.txt ;\r\n" +
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n<x-html>\xE4</x-html>\r\n";
  folder.Write("Kunden.fol/Alt.mbx", old + from + "Subject: y\r\n\r\n" + many);
  std::filesystem::create_directory(folder.File("Attach"));
  folder.Write("Attach/9", "");
  std::filesystem::resize_file(folder.File("Attach/9"), FilesBeside::kMostBytes + 1);
  const Plan later = MakePlan({folder.File("Kunden.fol/Alt.mbx")});
  ASSERT_EQ(later.entries.size(), 2u);
  const LoadedItem html = Sent(later.entries[0]);
  EXPECT_THAT(MissingOf(html), ElementsAre("b c.txt: not in the source"));
  EXPECT_THAT(html.bytes, testing::HasSubstr("\r\nContent-Type: text/html; charset=windows-1252\r\n"
                                             "Content-Transfer-Encoding: 8bit\r\n\r\n<x-html>"));
  const std::vector<std::string> missing = MissingOf(Sent(later.entries[1]));
  EXPECT_EQ(missing.size(), kMostEudoraFiles + 1);
  EXPECT_EQ(missing.back(), "and all others: more than a mail can have");
  EXPECT_EQ(missing[9], "9: too large");
  std::filesystem::remove_all(folder.File("ATTACH"));
  EXPECT_EQ(Sent(MakePlan({folder.File("Kunden.fol/Alt.mbx")}).entries[0]).hash, html.hash);

  // Anybody's mail may quote such a line.
  folder.Write("Old.mbox", Mbox() + lines);
  EXPECT_THAT(MissingOf(Sent(MakePlan({folder.File("Old.mbox")}).entries[0])), IsEmpty());
}

// "related inline NAME: ": in what, how it is to be shown, and the fields by which a text may.
std::vector<std::string> PartsOf(const LoadedItem& item) {
  mail::LogNull log;
  const auto mail = mail::buildEmail(item.bytes, /*bUtf8=*/true, log, mail::BuildFor::kReader);
  std::vector<std::string> parts;
  for (const mail::ShownNode& node : mail::layOut(*mail, log)) {
    const mail::Email2& part = *node.objPlaced.pNode;
    const std::string_view above = node.objPlaced.pParent->type().view();
    parts.push_back(fmt::format("{} {} {}: {}{}", above.substr(above.find('/') + 1),
                                part.disposition().view(), mail::fileNameOf(part),
                                part.header().valueOf("content-id"),
                                part.header().valueOf("content-location")));
  }
  return parts;
}

// What a name does not tell stays a file; so does all that a text which is no page says.
TEST(Eudora, PicturesStandWithThePageThatShowsThem) {
  const std::string from = "From ???@??? Tue Mar 05 10:00:00 2019\r\nSubject: x\r\n";
  const std::string page =
      "<x-html><body BACKGROUND=Paper.JPG><img\r\n src='CID:Logo.gif@01C5A2B3' "
      "alt=\"photo.png\">\r\n"
      "<img alt=\"photo.png\" src=\"cid:a%401\"><img src=\"file:///C|/Embedded/my%20map.gif\">"
      "<img src=\"http://x.example/web.gif\"><img src=\"//x.example/web.gif\">"
      "<img src=\"cid:two.gif@1\"><img src=\"cid:two.gif@2\"><img src=\"cid:list.doc\">"
      "<img src=\"cid:%0D%0AX:%20odd.gif\" alt=odd.gif><img src=\"C:\\Embedded\\odd.gif\"><img "
      "src=\"cid:</x-html>\r\n";
  std::string lines = "Attachment Converted: \"C:\\Attach\\list.doc\"\r\n";
  const TemporaryFolder folder;
  for (const char* const name : {"logo.gif", "paper.jpg", "photo.png", "My Map.gif", "web.gif",
                                 "two.gif", "odd.gif", "list.doc"}) {
    lines += fmt::format("Embedded Content: {}: 00000001,1a2b3c4d,00000000,00000000\r\n", name);
    folder.Write(std::string("Embedded/") + name, name);
  }
  folder.Write("In.mbx", from + "Content-Type: multipart/related; boundary=b\r\n\r\n" + page +
                             lines + from + "Content-Type: text/plain\r\n\r\n" + page + lines);
  const Plan plan = MakePlan({folder.File("In.mbx")});
  ASSERT_EQ(plan.entries.size(), 2u);
  EXPECT_THAT(PartsOf(Sent(plan.entries[0])),
              ElementsAre("related  : ", "related inline logo.gif: <Logo.gif@01C5A2B3>",
                          "related inline paper.jpg: Paper.JPG", "related inline photo.png: <a@1>",
                          "related inline My Map.gif: file:///C|/Embedded/my%20map.gif",
                          "mixed attachment list.doc: ", "mixed attachment web.gif: ",
                          "mixed attachment two.gif: ", "mixed attachment odd.gif: "));
  EXPECT_THAT(PartsOf(Sent(plan.entries[1])),
              ElementsAre("mixed  : ", "mixed attachment list.doc: ", "mixed attachment logo.gif: ",
                          "mixed attachment paper.jpg: ", "mixed attachment photo.png: ",
                          "mixed attachment My Map.gif: ", "mixed attachment web.gif: ",
                          "mixed attachment two.gif: ", "mixed attachment odd.gif: "));
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
