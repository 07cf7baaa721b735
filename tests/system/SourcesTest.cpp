#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

#include <gtest/gtest.h>

#include "client/run/LostMails.h"
#include "client/run/Plan.h"
#include "client/sources/ModifiedUtf7.h"
#include "platform/Sqlite.h"
#include "platform/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// What sources know, and what of it stands in the mailbox.
namespace system_test {
namespace {

using test_support::TemporaryFolder;

struct Names {
  std::string inbox, sent, drafts, deleted, archive, junk, outbox;
  std::vector<std::string> ofOthers;  // calendar, contacts, tasks, notes, journal
};
const std::map<std::string, Names> kLanguages = {
    {"de",
     {"Posteingang",
      "Gesendete Elemente",
      "Entwürfe",
      "Gelöschte Elemente",
      "Archiv",
      "Junk-E-Mail",
      "Postausgang",
      {"Kalender", "Kontakte", "Aufgaben", "Notizen", "Journal"}}},
    {"ja",
     {"受信トレイ",
      "送信済みアイテム",
      "下書き",
      "削除済みアイテム",
      "アーカイブ",
      "迷惑メール",
      "送信トレイ",
      {"予定表", "連絡先", "タスク", "メモ", "履歴"}}},
    {"ar",
     {"علبة الوارد",
      "العناصر المرسلة",
      "المسودات",
      "العناصر المحذوفة",
      "الأرشيف",
      "البريد الإلكتروني غير الهام",
      "صندوق الصادر",
      {"التقويم", "جهات الاتصال", "المهام", "الملاحظات", "دفتر اليومية"}}}};

Result MigrateInto(const std::string& language, const TemporaryFolder& folder,
                   const std::vector<std::string>& more = {}) {
  const Mailbox mailbox(folder.Path(), {"--language", language});
  return RunProgram("tarny", ServerArguments(folder, std::stoi(mailbox.Port()), more),
                    folder.Path());
}

// "FOLDER: " and letters: R read, A answered, F flagged, W forwarded, D draft; categories; when it
// came. By subject.
std::map<std::string, std::string> ArrivedState(const TemporaryFolder& folder) {
  std::map<std::string, std::string> found;
  for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
    std::string& text = found[item.info.subject];
    text = item.folder + ": " + (item.info.isRead ? "R" : "");
    if (item.Property("tag:0x1081") == "102") text += "A";
    if (item.Property("tag:0x1090") == "2") text += "F";
    if (item.Property("tag:0x1081") == "104") text += "W";
    if (item.info.isDraft) text += "D";
    for (const std::string& category : item.info.categories) text += "," + category;
    text += " " + item.info.received.substr(0, 10);
  }
  return found;
}

std::string Mail(const std::string& subject, const std::string& more = "") {
  return "Subject: " + subject + "\n" + more + "Date: Mon, 4 Mar 2019 08:12:00 +0000\n\ntext\n";
}

void WriteMaildir(const TemporaryFolder& folder) {
  const std::string received = "Received: by x; Tue, 5 Mar 2019 10:00:00 +0000\n";
  folder.Write("source/cur/1551780000.a:2,RSb", Mail("in", received));
  folder.Write("source/new/1551866400.b", Mail("new"));
  folder.Write("source/.Gesendet/cur/1551952800.c:2,FSa", Mail("sent"));
  folder.Write("source/.Entw&APw-rfe/cur/1551780000.d:2,DS", Mail("draft"));
  folder.Write("source/.Papierkorb.Alt/cur/1551780000.e:2,ST", Mail("gone"));
  folder.Write("source/.Papierkorb/cur/1551780000.f:2,S", Mail("bin"));
  folder.Write("source/dovecot-keywords", "0 $Forwarded\n1 Dringend\n");
  folder.Write("source/.Gesendet/dovecot-keywords", "0 $Forwarded\n");
  for (const char* name : {".Gesendet/new", ".Entw&APw-rfe/new", ".Papierkorb/new",
                           ".Papierkorb.Alt/new", ".Leer/new", ".Leer/cur"}) {
    std::filesystem::create_directories(folder.File(std::string("source/") + name));
  }
}

TEST(Sources, AMaildirArrivesInTheFoldersOfAMailboxOfAnyLanguage) {
  for (const auto& [language, names] : kLanguages) {
    const TemporaryFolder folder;
    WriteMaildir(folder);
    EXPECT_EQ(SummaryOf(MigrateInto(language, folder))["deleted"], 1);
    const std::map<std::string, std::string> wanted = {
        {"in", names.inbox + ": RA,Dringend 2019-03-05"},
        {"new", names.inbox + ":  2019-03-06"},
        {"sent", names.sent + ": RFW 2019-03-07"},
        {"draft", names.drafts + ": RD 2019-03-05"},
        {"bin", names.deleted + ": R 2019-03-05"}};
    EXPECT_EQ(ArrivedState(folder), wanted) << names.inbox;
    mailbox::Store store(folder.File("mailbox/mailbox.db"), mailbox::Store::Mode::kReadOnly);
    int made = 0;
    const std::int64_t id = store.Mailboxes().back().id;
    for (const mailbox::FolderInfo& each : store.Folders(id)) made += each.wellKnown.empty();
    EXPECT_EQ(made, 2) << "Leer, and what was deleted in Papierkorb/Alt";
  }
}

// What a Thunderbird calls its own folders on disk is English, whatever it shows.
TEST(Sources, AProfileOfThunderbirdArrivesInTheFoldersOfAMailboxOfAnyLanguage) {
  const std::string from = "From - Tue Mar 05 10:00:00 2019\n";
  for (const auto& [language, names] : kLanguages) {
    const TemporaryFolder folder;
    folder.Write("source/prefs.js", "user_pref(\"mailnews.tags.$label1.tag\", \"Dringend\");\n");
    const std::string local = "source/Mail/Local Folders/";
    folder.Write(local + "Inbox",
                 from + Mail("in", "X-Mozilla-Status: 1003\nX-Mozilla-Keys: $label1\n"));
    folder.Write(local + "Sent", from + Mail("sent", "X-Mozilla-Status: 0005\n"));
    folder.Write(local + "Drafts", from + Mail("draft", "X-Mozilla-Status: 0001\n"));
    folder.Write("source/ImapMail/imap.example/Papierkorb",
                 from + Mail("bin", "X-Mozilla-Status: 0000\n"));
    EXPECT_EQ(SummaryOf(MigrateInto(language, folder))["sent"], 4);
    const std::map<std::string, std::string> wanted = {
        {"in", names.inbox + ": RW,Dringend 2019-03-05"},
        {"sent", names.sent + ": RF 2019-03-05"},
        {"draft", names.drafts + ": R 2019-03-05"},
        {"bin", names.deleted + ":  2019-03-05"}};
    EXPECT_EQ(ArrivedState(folder), wanted) << language;
  }
}

// Without the safeguards nothing but the names is known, and none of the states.
TEST(Sources, AsItIsTheSameGoesBesideThem) {
  const TemporaryFolder folder;
  WriteMaildir(folder);
  ASSERT_EQ(MigrateInto("de", folder, {"--as-is"}).status, 0);
  const std::map<std::string, std::string> wanted = {{"in", "Inbox: R 2019-03-04"},
                                                     {"new", "Inbox:  2019-03-04"},
                                                     {"sent", "Sent Items: R 2019-03-04"},
                                                     {"draft", "Drafts: R 2019-03-04"},
                                                     {"bin", "Deleted Items: R 2019-03-04"}};
  EXPECT_EQ(ArrivedState(folder), wanted);
}

// What a mail program of that language calls them, and two folders of its user.
struct OwnNames {
  std::string sent, drafts, deleted, archive, junk, outbox, customers, calendar;
};
const std::map<std::string, OwnNames> kOwnNames = {
    {"de",
     {"Gesendet", "Entwürfe", "Papierkorb", "Archiv", "Spamverdacht", "Postausgang", "Kunden",
      "Kunden/Calendar"}},
    {"ja",
     {"送信済みメール", "下書き", "ごみ箱", "アーカイブ", "迷惑メール", "送信トレイ", "顧客",
      "顧客/Calendar"}},
    {"ar",
     {"البريد المرسل", "المسودات", "المهملات", "أرشيف", "الرسائل غير المرغوب فيها", "صندوق الصادر",
      "العملاء", "العملاء/Calendar"}}};

// With those that a mailbox of that language has for other items than mail.
std::vector<std::string> ListOf(const std::string& language) {
  const OwnNames& own = kOwnNames.at(language);
  std::vector<std::string> names = {own.sent, own.drafts, own.deleted,   own.archive,
                                    own.junk, own.outbox, own.customers, own.calendar};
  std::ranges::copy(kLanguages.at(language).ofOthers, std::back_inserter(names));
  return names;
}

// One mail in each, named by the folder, as a Dovecot and as a Thunderbird have them.
void WriteLocalMaildir(const TemporaryFolder& folder, const std::string& language) {
  folder.Write("source/new/1", Mail("in"));
  std::filesystem::create_directories(folder.File("source/cur"));
  for (std::string name : ListOf(language)) {
    const std::string subject = name;
    std::ranges::replace(name, '/', '.');
    const std::string maildir = "source/." + client::ToModifiedUtf7(name);
    folder.Write(maildir + "/cur/1:2,S", Mail(subject));
    std::filesystem::create_directories(folder.File(maildir + "/new"));
  }
}

void WriteLocalProfile(const TemporaryFolder& folder, const std::string& language) {
  const std::string from = "From - Tue Mar 05 10:00:00 2019\n";
  const std::string account = "source/ImapMail/imap.example/";
  folder.Write("source/prefs.js", "");
  folder.Write(account + "INBOX", from + Mail("in"));
  for (const std::string& name : ListOf(language)) {
    const std::size_t slash = name.find('/');
    const bool isBelow = slash != std::string::npos;
    const std::string above =
        isBelow ? client::ToModifiedUtf7(name.substr(0, slash)) + ".sbd/" : std::string();
    const std::string last = isBelow ? name.substr(slash + 1) : name;
    folder.Write(account + above + client::ToModifiedUtf7(last), from + Mail(name));
  }
}

// By the subject of each mail, which is its folder's name in the source.
std::map<std::string, std::string> WantedPlaces(const std::string& language, bool safe) {
  const OwnNames& own = kOwnNames.at(language);
  const Names& theirs = kLanguages.at(language);
  std::map<std::string, std::string> wanted = {{own.customers, own.customers},
                                               {own.calendar, own.calendar}};
  const std::tuple<std::string, std::string, std::string> special[] = {
      {"in", theirs.inbox, "Inbox"},
      {own.sent, theirs.sent, "Sent Items"},
      {own.drafts, theirs.drafts, "Drafts"},
      {own.deleted, theirs.deleted, "Deleted Items"},
      {own.archive, theirs.archive, "Archive"},
      {own.junk, theirs.junk, "Junk E-mail"},
      {own.outbox, theirs.outbox, "Outbox"}};
  for (const auto& [subject, place, english] : special) wanted[subject] = safe ? place : english;
  for (const std::string& other : theirs.ofOthers) {
    wanted[other] = safe ? theirs.inbox + "/" + other : other;
    if (!safe && other == "Journal") wanted[other] = "Inbox/Journal";  // its name in English
  }
  return wanted;
}

// Side by side: with the safeguards the mailbox's own folders, without them new ones beside these;
// and mail where its program shows it, or in a folder for appointments.
TEST(Sources, FoldersInItsLanguageGoToTheMailboxsOwnAndAsItIsBesideThem) {
  for (const auto& [language, own] : kOwnNames) {
    for (const auto write : {&WriteLocalMaildir, &WriteLocalProfile}) {
      for (const bool safe : {true, false}) {
        const TemporaryFolder folder;
        write(folder, language);
        const auto more = safe ? std::vector<std::string>() : std::vector<std::string>{"--as-is"};
        EXPECT_EQ(SummaryOf(MigrateInto(language, folder, more))["sent"], 14);
        std::map<std::string, std::string> found;
        for (const StoredItem& item : ItemsOf(folder.File("mailbox"))) {
          found[item.info.subject] = item.folder;
        }
        EXPECT_EQ(found, WantedPlaces(language, safe)) << language << safe;
        mailbox::Store store(folder.File("mailbox/mailbox.db"), mailbox::Store::Mode::kReadOnly);
        for (const mailbox::FolderInfo& each : store.Folders(store.Mailboxes().back().id)) {
          if (!each.wellKnown.empty()) continue;
          const bool isShown = safe || each.name != "Calendar";
          EXPECT_EQ(each.folderClass, isShown ? "IPF.Note" : "IPF.Appointment") << each.name;
        }
      }
    }
  }
}

// The ledger, the check and a second pass go by the path of the plan, wherever it led.
TEST(Sources, MailThatIsCalledAsACalendarIsKnownWhereItWent) {
  for (const auto& [language, names] : kLanguages) {
    const TemporaryFolder folder;
    const std::string calendar = "source/." + client::ToModifiedUtf7(names.ofOthers[0]);
    folder.Write("source/cur/.keep", "");
    folder.Write("source/new/.keep", "");
    folder.Write(calendar + "/cur/1.a:2,", Mail("1"));
    folder.Write(calendar + "/new/.keep", "");
    const std::string old = calendar + ".Alt";
    folder.Write(old + "/new/2.a", Mail("2"));
    folder.Write(old + "/cur/.keep", "");
    for (const std::string& empty :
         {"source/." + client::ToModifiedUtf7(names.ofOthers[1]), calendar + ".Leer"}) {
      folder.Write(empty + "/cur/.keep", "");
      folder.Write(empty + "/new/.keep", "");
    }
    const Mailbox mailbox(folder.Path(), {"--language", language});
    std::vector<std::string> arguments = ServerArguments(folder, std::stoi(mailbox.Port()));
    const auto run = [&] { return RunProgram("tarny", arguments, folder.Path()); };
    EXPECT_EQ(SummaryOf(run())["sent"], 2);
    std::filesystem::rename(folder.File(calendar + "/cur/1.a:2,"),
                            folder.File(calendar + "/cur/1.a:2,S"));
    const nlohmann::json second = SummaryOf(run());
    EXPECT_EQ(second["updated"], 1);
    EXPECT_EQ(second["there_already"], 1);
    arguments.push_back("--adopt");
    EXPECT_EQ(SummaryOf(run())["sent"], 0);
    arguments.pop_back();
    arguments[0] = "verify";
    EXPECT_EQ(SummaryOf(run())["complete"], true);
    const std::string place = names.inbox + "/" + names.ofOthers[0];
    const std::map<std::string, std::string> wanted = {{"1", place + ": R 2019-03-04"},
                                                       {"2", place + "/Alt:  2019-03-04"}};
    EXPECT_EQ(ArrivedState(folder), wanted);
    mailbox::Store store(folder.File("mailbox/mailbox.db"), mailbox::Store::Mode::kReadOnly);
    std::vector<std::string> made;
    for (const mailbox::FolderInfo& each : store.Folders(store.Mailboxes().back().id)) {
      if (each.wellKnown.empty()) made.push_back(store.FolderPath(each.id));
    }
    EXPECT_THAT(made, testing::UnorderedElementsAre(place, place + "/Alt", place + "/Leer"));
  }
}

// One line for each mail: folder, state, time, content.
std::vector<std::string> LinesOf(const std::string& source) {
  std::vector<std::string> lines;
  const client::Plan plan = client::MakePlan({source});
  for (const client::Plan::Entry& entry : plan.entries) {
    const client::MailState& state = entry.item.state;
    std::string line = entry.item.folder + (entry.item.read ? "S" : "");
    for (const auto& [isSet, letter] : {std::pair{state.answered, 'R'},
                                        {state.forwarded, 'P'},
                                        {state.flagged, 'F'},
                                        {state.draft, 'D'}}) {
      if (isSet) line += letter;
    }
    std::set<std::string> categories(state.categories.begin(), state.categories.end());
    for (const std::string& each : categories) line += "," + each;
    lines.push_back(line + " " + std::to_string(state.received.value_or(0)) + " " +
                    entry.source->Read(entry.item));
  }
  std::ranges::sort(lines);
  return lines;
}

TEST(Sources, AMaildirComesOutOfTheMailboxAsItWentIn) {
  const TemporaryFolder folder;
  std::string keywords = "0 $Forwarded\n1 Gr&APwA3w-e\n2 To&ACA-do\n3 $label1\n";
  for (int i = 4; i < 26; ++i) keywords += std::to_string(i) + " Word" + std::to_string(i) + "\n";
  const char* const letters[] = {
      "",    "S",  "R",  "RS",  "F",    "FS", "D",    "DS",
      "FRS", "PS", "PR", "PRS", "DFRS", "b",  "Sbcd", "FPRSabcdefghijklmnopqrstuvwxyz"};
  const char* const places[] = {"", "INBOX/Kunde/", "Projekte.2019/K&APY-ln/", "Sent/"};
  int number = 0;
  for (const std::string place : places) {
    for (const char* each : letters) {
      const std::string time = std::to_string(1551780000 + ++number);
      folder.Write("source/" + place + "cur/" + time + ".a:2," + each,
                   "Subject: " + time + "\n\n\xC3\xA4 text\n");
    }
    folder.Write("source/" + place + "new/.keep", "");
    folder.Write("source/" + place + "dovecot-keywords", keywords);
  }
  EXPECT_EQ(SummaryOf(Migrate(folder))["sent"], number);
  const Result exported = RunProgram(
      "tarny",
      {"mailbox", "export", "--maildir", "--data", folder.File("mailbox"), folder.File("out")},
      folder.Path());
  EXPECT_EQ(exported.status, 0) << exported.err;
  EXPECT_EQ(LinesOf(folder.File("out/mailbox@local.example")), LinesOf(folder.File("source")));
}

class SecondPass : public testing::Test {
 protected:
  nlohmann::json Pass(const std::vector<std::string>& more = {}, int status = 0) {
    return SummaryOf(Migrate(m_folder, more), status);
  }
  void Rename(const std::string& from, const std::string& to) {
    std::filesystem::rename(m_folder.File("source/" + from), m_folder.File("source/" + to));
  }
  void WriteMbox(const std::string& fieldsOfThree, const std::string& rest) {
    const std::string from = "From - Tue Mar 05 10:00:00 2019\n";
    m_folder.Write("source/Old", from + Mail("three", fieldsOfThree) + "\n" + rest);
  }

  const TemporaryFolder m_folder;
};

TEST_F(SecondPass, TellsChangedStatesAndTakesAwayWhatIsGone) {
  const std::string four =
      "From - Tue Mar 05 10:00:00 2019\n" + Mail("four", "X-Mozilla-Status: 0001\n");
  m_folder.Write("source/INBOX/cur/1.a:2,", Mail("one"));
  m_folder.Write("source/INBOX/cur/2.a:2,FRSab", Mail("two"));
  m_folder.Write("source/INBOX/cur/5.a:2,S", Mail("five"));
  m_folder.Write("source/INBOX/new/.keep", "");
  m_folder.Write("source/INBOX/dovecot-keywords", "0 Urgent\n1 Later\n");
  WriteMbox("X-Mozilla-Status: 0000\n", four);
  EXPECT_EQ(Pass()["sent"], 5);

  Rename("INBOX/cur/1.a:2,", "INBOX/cur/1.a:2,PRSa");
  Rename("INBOX/cur/2.a:2,FRSab", "INBOX/new/2.a:2,b");
  Rename("INBOX/cur/5.a:2,S", "../5");
  m_folder.Write("source/INBOX/cur/6.a:2,S", Mail("six"));
  WriteMbox("Status: RO\nX-Mozilla-Status: 0007\nX-Mozilla-Keys: $label1\n", "");
  for (const bool again : {false, true}) {
    const nlohmann::json summary = Pass();
    EXPECT_EQ(summary["updated"], again ? 0 : 3);
    EXPECT_EQ(summary["sent"], again ? 0 : 1);
    EXPECT_EQ(summary["there_already"], again ? 4 : 0);
    EXPECT_EQ(summary["missing"].size(), 2u);
  }
  std::map<std::string, std::string> wanted = {{"one", "Inbox: RW,Urgent 2019-03-04"},
                                               {"two", "Inbox: ,Later 2019-03-04"},
                                               {"three", "Old: RAF,Important 2019-03-05"},
                                               {"four", "Old: R 2019-03-05"},
                                               {"five", "Inbox: R 2019-03-04"},
                                               {"six", "Inbox: R 2019-03-04"}};
  EXPECT_EQ(ArrivedState(m_folder), wanted);

  // A source that is not there at all is no reason to take everything away.
  std::filesystem::rename(m_folder.File("source"), m_folder.File("aside"));
  std::filesystem::create_directory(m_folder.File("source"));
  EXPECT_EQ(Pass({}, 1)["empty_sources"].size(), 1u);
  EXPECT_EQ(Pass({"--delete-missing", "--ignore-left-out"}, 1)["taken_away"], 0);
  std::filesystem::remove(m_folder.File("source"));
  std::filesystem::rename(m_folder.File("aside"), m_folder.File("source"));

  EXPECT_EQ(Pass({"--delete-missing"})["taken_away"], 2);
  wanted["four"] = "Deleted Items: R 2019-03-05";
  wanted["five"] = "Deleted Items: R 2019-03-04";
  EXPECT_EQ(ArrivedState(m_folder), wanted);
  EXPECT_EQ(Pass({"--delete-missing"})["missing"].size(), 0u);
  Rename("../5", "INBOX/cur/5.a:2,S");
  EXPECT_EQ(Pass()["sent"], 1) << "taken away and back in the source";

  // What another run folder brought is nothing to take away.
  std::filesystem::remove_all(m_folder.File("run"));
  EXPECT_EQ(Pass({"--adopt"})["there_already"], 5);
  Rename("INBOX/cur/6.a:2,S", "../6");
  Rename("INBOX/cur/1.a:2,PRSa", "INBOX/cur/1.a:2,FRSa");
  const nlohmann::json adopted = Pass({"--delete-missing"});
  EXPECT_EQ(adopted["updated"], 1);
  EXPECT_EQ(adopted["taken_away"], 0);
  EXPECT_EQ(ArrivedState(m_folder)["one"], "Inbox: RAF,Urgent 2019-03-04");
}

// It stays the folder that it was.
TEST_F(SecondPass, AFolderWhoseNameIsSpelledOtherwiseIsTheSameOne) {
  const std::string composed =
      "K\xC3\xBC"
      "che";
  const std::string upper =
      "K\xC3\x9C"
      "CHE";
  const std::string apart =
      "Ku\xCC\x88"
      "che";
  m_folder.Write("source/" + composed + "/1.eml", Mail("one"));
  m_folder.Write("source/" + composed + "/2.ics",
                 "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:2\r\nDTSTART:20240102T100000Z\r\n"
                 "END:VEVENT\r\nEND:VCALENDAR\r\n");
  EXPECT_EQ(Pass()["sent"], 2);
  int mails = 2;
  for (const auto& [from, to] : {std::pair(composed, upper), std::pair(upper, apart)}) {
    Rename(from, to);
    ++mails;
    m_folder.Write("source/" + to + "/" + std::to_string(mails) + ".eml",
                   Mail(std::to_string(mails)));
    const nlohmann::json next = Pass({"--delete-missing"});
    EXPECT_EQ(next["sent"], 1);
    EXPECT_EQ(next["there_already"], mails - 1);
    EXPECT_EQ(next["missing"].size(), 0u);
  }
}

// A run knows what it sent by its folder in the target.
TEST_F(SecondPass, WhatWouldGoElsewhereThanBeforeIsRefused) {
  const auto pass = [this](const std::string& map, std::vector<std::string> more = {}) {
    m_folder.Write("map", map);
    more.insert(more.end(), {"--folder-map", m_folder.File("map")});
    return Migrate(m_folder, more);
  };
  const std::string from = "From - Tue Mar 05 10:00:00 2019\n";
  m_folder.Write("source/Sent/1.eml", Mail("one"));
  m_folder.Write("source/Kunde/2.eml", Mail("two"));
  m_folder.Write("source/Kunde/3.ics",
                 "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:3\r\nDTSTART:20240102T100000Z\r\n"
                 "END:VEVENT\r\nEND:VCALENDAR\r\n");
  m_folder.Write("source/Calendar/4.eml", Mail("four"));
  m_folder.Write("source/Later/5.eml", "no mail yet");
  m_folder.Write("source/Dir/cur/.x", "");
  m_folder.Write("source/Dir/new/6.a", Mail("six"));
  m_folder.Write("source/Old/cur/9.a:2,S", Mail("nine"));
  m_folder.Write("source/Box", from + Mail("gone") + "\n" + from + Mail("seven") + "\n");
  const std::string boxes = "Dir\tPost/a\\/b\nBox\tPost\nOld\tPost/* \\ \n";
  const std::string before = boxes + "Calendar/Kunde\tTermine\n";
  EXPECT_EQ(SummaryOf(pass(before + "Later\tKunde\n"), 1)["sent"], 8);
  m_folder.Write("source/Later/5.eml", Mail("five"));
  // Everything lies elsewhere by now in what its program keeps together.
  Rename("Dir/new/6.a", "Dir/cur/6.a:2,S");
  std::filesystem::remove(m_folder.File("source/Dir/new"));
  std::filesystem::create_directory(m_folder.File("source/Old/new"));
  m_folder.Write("source/Box", from + Mail("seven") + "\n");
  // As earlier versions kept a Maildir without it.
  platform::SqliteDatabase(m_folder.File("run/journal.db"))
      .Execute("UPDATE holder SET path = path || '/cur' WHERE path LIKE '%/Old'");

  const std::string to = " went to ";
  struct Case {
    std::string map;
    std::vector<std::string> options;
    std::string from;
    std::string wanted;
  };
  for (const Case& now : {Case{boxes, {}, "Kunde/3.ics", "Termine\\"},
                          Case{before, {"--no-special-folders"}, "Sent", "Sent Items\\"},
                          Case{before + "Kunde\tA\n", {"--adopt"}, "Kunde", "Kunde\\"},
                          Case{before + "Calendar\tA\n", {}, "Calendar", "Inbox\\Calendar\\"},
                          Case{"Dir\tA\n" + before, {}, "Dir", "Post\\a/b\\"},
                          Case{"Old\tA\n" + before, {}, "Old", "Post\\*  \\"},
                          Case{"Box\tA\n" + before, {}, "Box", "Post\\"}}) {
    const std::string wanted = m_folder.File("source/" + now.from) + to + now.wanted;
    EXPECT_THAT(pass(now.map, now.options), FailsWith(wanted));
    std::vector<std::string> dry = now.options;
    dry.push_back("--dry-run");
    EXPECT_THAT(pass(now.map, dry), FailsWith(wanted));
  }
  EXPECT_EQ(ItemsOf(m_folder.File("mailbox")).size(), 8u);
  // The lines that lead there are told.
  const std::string lines =
      "\nBox\tPost\nCalendar\tInbox/Calendar\nDir\tPost/a\\/b\nCalendar/Kunde\tTermine\n"
      "Old\tPost/\\* \\ \n";
  EXPECT_THAT(pass("Calendar\tA\n").err, testing::HasSubstr("The lines:" + lines));

  // What is spelled otherwise, new, or led there by the map is fine, and what never left.
  m_folder.Write("source/New/8.eml", Mail("eight"));
  const std::string fine =
      boxes + "Calendar/kunde\tTERMINE\nSent\tSent Items\nNew\tKunde\nNone\tA\n";
  EXPECT_EQ(SummaryOf(pass(fine, {"--no-special-folders"}))["sent"], 2);
  EXPECT_EQ(SummaryOf(pass(fine, {"--no-special-folders"}))["there_already"], 9);

  // Earlier versions kept nothing of this.
  platform::SqliteDatabase(m_folder.File("run/journal.db")).Execute("DROP TABLE holder");
  EXPECT_EQ(SummaryOf(pass(before + "New\tNew\n"))["sent"], 1);
  EXPECT_THAT(pass(before + "New\tKunde\n"), FailsWith(m_folder.File("source/New") + to + "New\\"));

  // What was taken away again needs no place.
  std::filesystem::remove(m_folder.File("source/Dir/cur/6.a:2,S"));
  const std::string last = before + "New\tNew\n";
  EXPECT_EQ(SummaryOf(pass(last, {"--delete-missing"}))["taken_away"], 2) << "gone and six";
  m_folder.Write("source/Dir/cur/9.a:2,S", Mail("nine"));
  EXPECT_EQ(SummaryOf(pass("Dir\tA\n" + last))["sent"], 1);
}

// With a level more or less.
TEST_F(SecondPass, WhatASourceHoldsIsKnownWhereItWasMoved) {
  const auto pass = [this](const std::string& source, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = MigrateArguments(m_folder, more);
    arguments[1] = m_folder.File(source);
    return RunProgram("tarny", arguments, m_folder.Path());
  };
  const auto move = [this](const std::string& from, const std::string& to) {
    std::filesystem::create_directories(m_folder.File(to).substr(0, m_folder.File(to).rfind('/')));
    std::filesystem::rename(m_folder.File(from), m_folder.File(to));
  };
  m_folder.Write("source/1.eml", Mail("1"));
  m_folder.Write("source/Kunde/2.eml", Mail("2"));
  m_folder.Write("source/Kunde/3.eml", Mail("3"));
  m_folder.Write("source/Dir/cur/4.a:2,S", Mail("4"));
  m_folder.Write("source/Dir/new/.keep", "");
  m_folder.Write("source/Box", "From - Tue Mar 05 10:00:00 2019\n" + Mail("5") + "\n");
  const auto write = [this](const std::string& file, const std::string& uid) {
    m_folder.Write(file, "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:" + uid +
                             "\r\nSUMMARY:Event\r\nDTSTART:20240102T100000Z\r\n"
                             "END:VEVENT\r\nEND:VCALENDAR\r\n");
  };
  write("source/Kunde/6.ics", "6");
  write("source/9.ics", "9");
  EXPECT_EQ(Pass()["sent"], 7);

  // As deep as before, though its mails were sorted since.
  move("source", "a/source");
  move("a/source/Kunde/3.eml", "a/source/Sorted/3.eml");
  EXPECT_THAT(pass("a/source"), FailsWith("which is not among those given"));
  const nlohmann::json same = SummaryOf(pass("a/source", {"--adopt"}));
  EXPECT_EQ(same["there_already"], 6);
  EXPECT_EQ(same["sent"], 1);

  move("a", "b/a");
  m_folder.Write("b/a/7.eml", Mail("7"));
  write("b/a/10.ics", "10");
  m_folder.Write("b/a/source/Kunde/8.eml", Mail("8"));
  const std::string lines =
      "source\tInbox\nCalendar/source\tCalendar\nsource/Box\tBox\nsource/Dir\tDir\n"
      "source/Kunde\tKunde\nCalendar/source/Kunde\tCalendar/Kunde\nsource/Sorted\tSorted\n";
  for (const char* const option : {"--adopt", "--dry-run"}) {
    EXPECT_THAT(pass("b/a", {option}), FailsWith("The lines:\n" + lines));
  }
  m_folder.Write("map", lines);
  const nlohmann::json deeper =
      SummaryOf(pass("b/a", {"--adopt", "--folder-map", m_folder.File("map")}));
  EXPECT_EQ(deeper["there_already"], 7);
  EXPECT_EQ(deeper["sent"], 3);

  move("b/a/source/Kunde", "c/Kunde");
  EXPECT_THAT(pass("c/Kunde", {"--adopt"}),
              FailsWith("The lines:\nInbox\tKunde\nCalendar\tCalendar/Kunde\n"));
}

TEST_F(SecondPass, WhatIsSortedInASourceOfAnyNameHasNotMovedWithAnother) {
  const std::string kept = m_folder.File("K\xF6ln");
  m_folder.Write("K\xF6ln/A/1.eml", Mail("1"));
  m_folder.Write("source/2.eml", Mail("2"));
  EXPECT_EQ(Pass({kept})["sent"], 2);
  std::filesystem::rename(kept + "/A", kept + "/B");
  std::filesystem::rename(m_folder.File("source"), m_folder.File("b"));
  std::vector<std::string> arguments = MigrateArguments(m_folder, {kept, "--adopt"});
  arguments[1] = m_folder.File("b");
  const nlohmann::json sorted = SummaryOf(RunProgram("tarny", arguments, m_folder.Path()));
  EXPECT_EQ(sorted["there_already"], 1);
  EXPECT_EQ(sorted["sent"], 1);
}

// Its labels are folders, whatever lies beside them in its file.
TEST_F(SecondPass, AnExportKeepsThePlacesOfItsLabels) {
  const auto mail = [](const std::string& label, const std::string& name) {
    return "From 1627@xxx Tue Mar 05 10:00:00 +0000 2019\n" +
           Mail(name, "X-GM-THRID: 1\nX-Gmail-Labels: " + label + "\n") + "\n";
  };
  m_folder.Write("source/All.mbox", mail("Sent", "1"));
  const std::vector<std::string> map = {"--folder-map", m_folder.Write("map", "Sent Items\tA\n")};
  EXPECT_EQ(Pass(map)["sent"], 1);
  m_folder.Write("source/All.mbox", mail("Inbox", "2") + mail("Sent", "1"));
  EXPECT_EQ(Pass(map)["sent"], 1);
  EXPECT_THAT(Migrate(m_folder), FailsWith("All.mbox went to A\\"));
  m_folder.Write("source/All.mbox", mail("Inbox", "3"));
  EXPECT_EQ(Pass()["sent"], 1);
}

// The levels that a source puts above a folder may grow, and what lies in it must not double.
TEST_F(SecondPass, AFolderThatIsCalledOtherwiseByNowIsKnown) {
  const std::string from = "From - Tue Mar 05 10:00:00 2019\n";
  const auto profile = [&](const std::string& name) {
    m_folder.Write("source/Profiles/" + name + "/prefs.js", "x");
    m_folder.Write("source/Profiles/" + name + "/Mail/Local Folders/Kunde",
                   from + Mail(name) + "\n");
  };
  profile("ab.home");
  m_folder.Write("source/profiles.ini",
                 "[Profile0]\nName=Home\nIsRelative=1\nPath=Profiles/ab.home\n");
  EXPECT_EQ(Pass()["sent"], 1);
  profile("cd.work");
  m_folder.Write("source/profiles.ini",
                 "[Profile0]\nName=Home\nIsRelative=1\nPath=Profiles/ab.home\n"
                 "[Profile1]\nName=Work\nIsRelative=1\nPath=Profiles/cd.work\nDefault=1\n");
  EXPECT_THAT(Migrate(m_folder), FailsWith("Kunde\\ by now"));
  m_folder.Write("map", "Home/Kunde\tKunde\n");
  const nlohmann::json led = Pass({"--folder-map", m_folder.File("map")});
  EXPECT_EQ(led["there_already"], 1);
  EXPECT_EQ(led["sent"], 1);
}

// Which files of a folder somebody opens.
class OpenedFiles {
 public:
  explicit OpenedFiles(const std::string& folder)
      : m_events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    EXPECT_GE(inotify_add_watch(m_events.Get(), folder.c_str(), IN_OPEN), 0);
  }
  // Since it was asked last.
  std::set<std::string> Names() {
    std::set<std::string> names;
    alignas(inotify_event) std::array<char, 1 << 16> events;
    ssize_t left = read(m_events.Get(), events.data(), events.size());
    for (const char* at = events.data(); left > 0;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(at);
      if (event->len > 0) names.insert(event->name);
      at += sizeof(inotify_event) + event->len;
      left -= static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    return names;
  }

 private:
  platform::UniqueFd m_events;
};

// What a program took out of its mails, and what no item can become: a word, and no second copy. No
// mail that is there with all its files has these read again, until they are checked.
TEST_F(SecondPass, TellsWhatAnItemThatIsThereCannotGet) {
  m_folder.Write("source/Eudora/In.mbx",
                 "From ???@??? Tue Mar 05 10:00:00 2019\n" + Mail("one") +
                     "Attachment Converted: \"C:\\Eudora\\Attach\\offer.doc\"\n"
                     "Attachment Converted: \"C:\\Eudora\\Attach\\list.doc\"\n"
                     "From ???@??? Tue Mar 05 10:00:00 2019\n" +
                     Mail("three") + "Attachment Converted: \"C:\\Eudora\\Attach\\plan.doc\"\n");
  m_folder.Write("source/Eudora/Attach/list.doc", "list");
  m_folder.Write("source/Eudora/Attach/plan.doc", std::string(100'000, 'x'));
  m_folder.Write("source/INBOX/cur/1.a:2,DS", Mail("two"));
  m_folder.Write("source/INBOX/new/.keep", "");
  const auto remarks = [](const nlohmann::json& summary) {
    std::string text;
    for (const auto& each : summary["remarks"]) text += each["text"].get<std::string>() + "\n";
    return text;
  };
  using testing::ElementsAre;
  OpenedFiles opened(m_folder.File("source/Eudora/Attach"));
  const nlohmann::json first = Pass({}, 1);
  EXPECT_EQ(first["arrived_reduced"], 1);
  EXPECT_THAT(opened.Names(), ElementsAre("list.doc", "plan.doc"));
  EXPECT_EQ(remarks(first),
            "arrived reduced, left out: attachment offer.doc (not in the source)\n");
  EXPECT_EQ(remarks(Pass()), "");
  EXPECT_THAT(opened.Names(), ElementsAre("list.doc"));

  m_folder.Write("source/Eudora/Attach/Offer.doc", "offer");
  Rename("INBOX/cur/1.a:2,DS", "INBOX/cur/1.a:2,S");
  const std::string late =
      "arrived reduced, without what is in the source by now: attachment offer.doc\n";
  const nlohmann::json later = Pass({}, 1);
  EXPECT_EQ(later["there_already"], 3);
  EXPECT_EQ(remarks(later),
            late + "it is no draft in the source any more, and the item there stays one\n");
  EXPECT_EQ(remarks(Pass({}, 1)), late);
  EXPECT_THAT(opened.Names(), ElementsAre("Offer.doc", "list.doc"));
  EXPECT_EQ(ArrivedState(m_folder)["two"], "Inbox: RD 2019-03-04");
  for (const StoredItem& item : ItemsOf(m_folder.File("mailbox"))) {
    const std::string list = "attachment; filename=\"list.doc\"\r\n\r\nbGlzdA==\r\n";
    EXPECT_EQ(item.mime.find(list) != std::string::npos, item.info.subject == "one");
  }
  std::vector<std::string> check = MigrateArguments(m_folder);
  check[0] = "verify";
  const nlohmann::json checked = SummaryOf(RunProgram("tarny", check, m_folder.Path()));
  for (const auto& each : checked["folders"]) EXPECT_EQ(each["other_size"].size(), 0u);
}

// The most dangerous mistake is to take away what is still there, if in another form.
TEST_F(SecondPass, TakesNothingAwayThatMayStillBeInTheSource) {
  for (const char* const name : {"new/1.a", "cur/2.b;2,S", "cur/3.c!2,", "cur/4.d:2,S",
                                 ".Kunde/cur/5.e:2,S", "new/6.f", "cur/7.g:2,S"}) {
    m_folder.Write(std::string("source/") + name, Mail(name));
  }
  m_folder.Write("source/.Kunde/new/.keep", "");
  EXPECT_EQ(Pass()["sent"], 7);
  Rename("new/1.a", "cur/1.a:2,S");
  m_folder.Write("source/cur/1.a:2,S", "");
  Rename("cur/2.b;2,S", "cur/2.b;2,FS");
  m_folder.Write("source/cur/2.b;2,FS", Mail("rewritten"));
  Rename("cur/3.c!2,", ".Kunde/cur/3.c,U=12!2,S");
  m_folder.Write("source/.Kunde/cur/3.c,U=12!2,S", "");
  Rename("cur/4.d:2,S", "../4");
  Rename(".Kunde/cur/5.e:2,S", "cur/5.e:2,S");
  // What its user took out of the target is no mail that was moved.
  Rename("new/6.f", "../6");
  for (const StoredItem& item : ItemsOf(m_folder.File("mailbox"))) {
    if (item.info.subject != "new/6.f") continue;
    mailbox::Store(m_folder.File("mailbox/mailbox.db")).DeleteItem(item.info.id);
  }

  const nlohmann::json summary = Pass({"--delete-missing"}, 1);
  EXPECT_EQ(summary["taken_away"], 2) << summary;
  EXPECT_EQ(summary["gone_there_too"], 1);
  EXPECT_EQ(summary["missing"].size(), 3u);
  const auto found = ArrivedState(m_folder);
  for (const auto& [subject, isAway] : std::map<std::string, bool>{{"new/1.a", false},
                                                                   {"cur/2.b;2,S", false},
                                                                   {"cur/3.c!2,", false},
                                                                   {"cur/4.d:2,S", true},
                                                                   {"cur/7.g:2,S", false}}) {
    EXPECT_EQ(found.at(subject).starts_with("Deleted Items"), isAway) << subject;
  }
}

TEST_F(SecondPass, TakesNothingAwayWhileAPartOfTheSourceIsOutOfSight) {
  for (const char* const name : {"1", "2", "3"}) {
    m_folder.Write(std::string("source/") + name + ".eml", Mail(name));
  }
  m_folder.Write("source/Kunde/4.eml", Mail("4"));
  EXPECT_EQ(Pass()["sent"], 4);
  Rename("1.eml", "../1.eml");
  Rename("Kunde/4.eml", "../4.eml");
  std::filesystem::remove(m_folder.File("source/Kunde"));
  m_folder.Write("source/Kunde", std::string("\xCF\xAD\x12\xFE") + std::string(100, 'x'));
  EXPECT_EQ(Pass({}, 1)["missing"].size(), 1u) << "and what lay where nobody can look";
  EXPECT_EQ(Pass({"--ignore-left-out"})["missing"].size(), 1u);
  const nlohmann::json summary = Pass({"--ignore-left-out", "--delete-missing"}, 1);
  EXPECT_EQ(summary["taken_away"], 0);
  EXPECT_THAT(summary["staying"].dump(), testing::HasSubstr("not all of the source"));

  // It is named however much else is left out, and in a plan, too.
  for (int i = 0; i < 60; ++i) {
    m_folder.Write("source/A" + std::to_string(i) + ".jpg", "\xFF\xD8\xFF\xE0");
  }
  std::vector<std::string> arguments = MigrateArguments(m_folder, {"--dry-run"});
  const nlohmann::json plan =
      nlohmann::json::parse(RunProgram("tarny", arguments, m_folder.Path()).out);
  EXPECT_EQ(plan["whole"], false);
  for (const nlohmann::json& one : plan["left_out"]) {
    EXPECT_EQ(one["may_hold_mail"], one["item"] == m_folder.File("source/Kunde")) << one;
  }
  std::erase(arguments, "--json");
  const Result text = RunProgram("tarny", arguments, m_folder.Path());
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.out, testing::HasSubstr("May hold mail that was not read:\n  " +
                                           m_folder.File("source/Kunde")));
  EXPECT_THAT(text.out, testing::HasSubstr("and 10 more (--json has all)\n"));
  EXPECT_THAT(text.out, testing::HasSubstr("Not all of the source could be read\n"));
}

// What was cut, not mounted or emptied by mistake looks as if its user had deleted everything.
TEST_F(SecondPass, TakesNothingAwayWhileAnMboxLooksCut) {
  const std::string from = "From - Tue Mar 05 10:00:00 2019\n";
  const std::string two = from + Mail("1") + "\n" + from + Mail("2") + "\n";
  const std::string rest = from + Mail("3") + "\n";
  m_folder.Write("source/Box", two + rest);
  m_folder.Write("source/4.eml", Mail("4"));
  m_folder.Write("source/5.eml", Mail("5"));
  EXPECT_EQ(Pass()["sent"], 5);
  std::filesystem::remove(m_folder.File("source/4.eml"));
  for (const std::string& damaged : {two.substr(0, two.size() - 3), two + std::string(64, '\0')}) {
    m_folder.Write("source/Box", damaged);
    const nlohmann::json summary = Pass({"--delete-missing"}, 1);
    EXPECT_EQ(summary["taken_away"], 0);
    EXPECT_THAT(summary["staying"].dump(), testing::HasSubstr("not all of the source"));
  }
  m_folder.Write("source/Box", two);
  EXPECT_EQ(Pass({"--delete-missing"})["taken_away"], 3) << "3, 4 and the cut 2";
}

// Of what is whole as far as anybody can tell, no more than somebody takes away by hand.
TEST_F(SecondPass, TakesNothingAwayThatASourceLosesAtOnce) {
  constexpr int kMany = client::kManyMails;
  const auto writeMails = [this](const std::string& name, int count) {
    for (int i = 0; i < count; ++i) {
      const std::string mail = name + std::to_string(i);
      m_folder.Write("source/" + name + "/" + mail + ".eml", Mail(mail));
    }
  };
  const auto mailsOf = [](const std::string& name, int count) {
    std::string mbox;
    for (int i = 0; i < count; ++i) {
      mbox += "From - Tue Mar 05 10:00:00 2019\n" + Mail(name + std::to_string(i)) + "\n";
    }
    return mbox;
  };
  writeMails("Stays", 1);
  for (const char* const name : {"Gone", "Spam", "Old"}) writeMails(name, kMany);
  writeMails("Few", kMany - 1);
  m_folder.Write("source/Empty", mailsOf("Empty", kMany));
  m_folder.Write("source/Mixed", mailsOf("Mixed", kMany));
  writeMails("Box", kMany);
  m_folder.Write("source/Tidy", mailsOf("Tidy", 2 * kMany));
  m_folder.Write("source/Moved", mailsOf("Moved", kMany));
  EXPECT_EQ(Pass({"--folder-map", m_folder.Write("map", "Mixed\tBox\n")})["sent"], 10 * kMany);

  for (const char* const name : {"Gone", "Spam", "Few"}) {
    std::filesystem::remove_all(m_folder.File(std::string("source/") + name));
  }
  Rename("Old", "New");
  m_folder.Write("source/Empty", "");
  m_folder.Write("source/Mixed", "Fro");
  m_folder.Write("source/Tidy", mailsOf("Tidy", 1));
  m_folder.Write("source/Moved", "");
  m_folder.Write("source/There", mailsOf("Moved", kMany));
  const nlohmann::json summary =
      Pass({"--delete-missing", "--folder-map", m_folder.File("map")}, 1);
  EXPECT_EQ(summary["taken_away"], 6 * kMany - 2) << "Spam, Few, Old, Tidy and Moved";
  std::vector<std::string> staying;
  for (const nlohmann::json& each : summary["staying"]) {
    const std::string text = each["text"];
    staying.push_back(each["item"].get<std::string>() + ": " + text.substr(0, text.find(':')));
  }
  EXPECT_THAT(staying, testing::ElementsAre("Empty\\: 20 mails", "Gone\\: 20 mails",
                                            m_folder.File("source/Mixed") + ": 20 mails"));
  std::vector<std::pair<std::string, int>> places;  // of mboxes
  for (const nlohmann::json& each : summary["missing"]) {
    const std::string place = each["item"];
    const std::size_t colon = place.rfind(':');
    if (colon != place.npos) places.emplace_back(each["text"], std::stoi(place.substr(colon + 1)));
  }
  EXPECT_EQ(places.size(), 5 * kMany - 1);
  EXPECT_TRUE(std::ranges::is_sorted(places));

  // Once its folder is gone there, too, nobody wants it.
  platform::SqliteDatabase(m_folder.File("mailbox/mailbox.db"))
      .Execute("UPDATE folders SET name='Away',name_key='AWAY' WHERE name='Gone'");
  EXPECT_EQ(Pass({"--delete-missing", "--folder-map", m_folder.File("map")}, 1)["gone_there_too"],
            kMany);
}

TEST_F(SecondPass, ToldAsRemarkWhereTheTargetCannotBeTold) {
  m_folder.Write("source/cur/1.a:2,", Mail("one"));
  m_folder.Write("source/new/.keep", "");
  for (const char* const mode : {"--as-is", "--safe"}) {
    const bool isStore = mode == std::string("--safe");
    const auto pass = [&] {
      std::vector<std::string> arguments = {"migrate", m_folder.File("source"), "--json"};
      const std::string to =
          isStore ? "store:" + m_folder.File("x.pst") : "local:" + m_folder.File("mailbox");
      const std::string run = m_folder.File(isStore ? "run2" : "run1");
      for (const std::string& each : {std::string("--to"), to, std::string("--run"), run}) {
        arguments.push_back(each);
      }
      if (!isStore) arguments.push_back(mode);
      return SummaryOf(RunProgram("tarny", arguments, m_folder.Path()));
    };
    EXPECT_EQ(pass()["sent"], 1);
    Rename("cur/1.a:2,", "cur/1.a:2,S");
    EXPECT_THAT(pass()["remarks"].dump(), testing::HasSubstr("its state changed")) << mode;
    EXPECT_EQ(pass()["remarks"].size(), 0u) << mode;
    Rename("cur/1.a:2,S", "cur/1.a:2,");
  }
}

}  // namespace
}  // namespace system_test
