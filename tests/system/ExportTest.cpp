#include <cstdlib>
#include <filesystem>

#include <gmock/gmock.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// What goes into a mailbox as calendars and cards is there, and comes out of it, as the same for
// readers that share no code with us (tests/interop/).
namespace system_test {
namespace {

using test_support::ReadAll;
using test_support::TemporaryFolder;

constexpr const char* kCalendar =
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n"
    // Twice a week in New York, whose clock changes on 2024-03-10.
    "BEGIN:VEVENT\r\nUID:1\r\nSUMMARY:Round; the harbour\r\nDTSTART;TZID=America/New_York:"
    "20240305T210000\r\nDURATION:PT1H\r\nRRULE:FREQ=WEEKLY;BYDAY=TU,TH;COUNT=5\r\n"
    "EXDATE;TZID=America/New_York:20240312T210000\r\nORGANIZER:mailto:ann@x.example\r\n"
    "ATTENDEE;CN=Bo;PARTSTAT=ACCEPTED:mailto:bo@x.example\r\n"
    "ATTENDEE;ROLE=OPT-PARTICIPANT:mailto:cy@x.example\r\n"
    "BEGIN:VALARM\r\nTRIGGER:-PT20M\r\nEND:VALARM\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:1\r\nSUMMARY:Earlier\r\nRECURRENCE-ID;TZID=America/New_York:"
    "20240314T210000\r\nDTSTART;TZID=America/New_York:20240314T180000\r\n"
    "DTEND;TZID=America/New_York:20240314T190000\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:2\r\nSUMMARY:Leap\r\nDTSTART;VALUE=DATE:20240130\r\n"
    "RRULE:FREQ=MONTHLY;BYMONTHDAY=28,29,30;BYSETPOS=-1;COUNT=3\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:6\r\nSUMMARY:Watch duty\r\nDTSTART;VALUE=DATE:20240227\r\n"
    "RRULE:FREQ=DAILY;INTERVAL=2;COUNT=3\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:7\r\nSUMMARY:Board\r\nDTSTART;VALUE=DATE:20240312\r\n"
    "RRULE:FREQ=MONTHLY;BYDAY=2TU;UNTIL=20240601\r\nEND:VEVENT\r\n"
    "BEGIN:VEVENT\r\nUID:8\r\nSUMMARY:Regatta\r\nDTSTART;VALUE=DATE:20240614\r\n"
    "RRULE:FREQ=YEARLY;COUNT=3\r\nEND:VEVENT\r\n"
    "BEGIN:VTODO\r\nUID:3\r\nSUMMARY:Paint\r\nDTSTART;VALUE=DATE:20240701\r\n"
    "DUE;VALUE=DATE:20240703\r\nSTATUS:IN-PROCESS\r\nPERCENT-COMPLETE:40\r\nEND:VTODO\r\n"
    "END:VCALENDAR\r\n";
constexpr const char* kCards =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:4\r\nFN:Zo\u00EB Bell\r\nN:Bell;Zo\u00EB;;;\r\n"
    "EMAIL:zoe@x.example\r\nEMAIL:bell@x.example\r\nTEL:1\r\nBDAY:1980-03-05\r\n"
    "NOTE:one\\, two\\nthree\r\nPHOTO;ENCODING=b:/9j/4A==\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:5\r\nFN:Watch\r\nKIND:group\r\nMEMBER:urn:uuid:4\r\n"
    "MEMBER:mailto:dee@x.example\r\nEND:VCARD\r\n";

TEST(Export, IsReadByOthersAsItWasSent) {
  if (std::system("/usr/bin/python3 -c 'import vobject, icalendar' > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "no python3-vobject and python3-icalendar here";
  }
  const TemporaryFolder folder;
  folder.Write("source/port.ics", kCalendar);
  folder.Write("source/crew.vcf", kCards);
  const Result migrated = Migrate(folder);
  ASSERT_EQ(SummaryOf(migrated)["sent"], 8) << migrated.err;
  const std::string data = folder.File("mailbox");
  const Result exported =
      RunProgram("tarny", {"mailbox", "export", "--data", data, folder.File("out")}, folder.Path());
  ASSERT_EQ(exported.status, 0) << exported.err;
  const std::string command = "/usr/bin/python3 " + std::string(TARNY_SOURCE) +
                              "/tests/interop/read_export.py " + folder.File("out") + " > " +
                              folder.File("read.txt") + " 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(ReadAll(folder.File("read.txt")),
            "Board: 2024-03-12, 2024-04-09, 2024-05-14\n"
            "Leap: 2024-01-30, 2024-02-29, 2024-03-30\n"
            "Regatta: 2024-06-14, 2025-06-14, 2026-06-14\n"
            "Round; the harbour: 2024-03-06 02:00, 2024-03-08 02:00, 2024-03-15 01:00, "
            "2024-03-20 01:00; bo@x.example ACCEPTED; cy@x.example NEEDS-ACTION; "
            "20 minutes before\n"
            "Earlier: 2024-03-14 22:00 instead of 2024-03-15 01:00; bo@x.example ACCEPTED; "
            "cy@x.example NEEDS-ACTION; 20 minutes before\n"
            "Watch duty: 2024-02-27, 2024-02-29, 2024-03-02\n"
            "Watch; mailto:zoe@x.example; mailto:dee@x.example\n"
            "Zo\u00EB Bell; zoe@x.example; bell@x.example; 1; 1980-03-05; one, two / three; "
            "a photo of 4 bytes\n"
            "Paint: due 2024-07-03, 40 %, IN-PROCESS\n");
}

// The samples, by hand from their files.
TEST(IndependentReader, SeesWhatWasMigratedAsItsSourceSays) {
  const std::string interop = std::string(TARNY_SOURCE) + "/tests/interop";
  if (!std::filesystem::is_directory(interop + "/node_modules/ews-javascript-api")) {
    GTEST_SKIP() << "run npm ci in tests/interop first";
  }
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.File("source"));
  for (const std::string name : {"calendar", "contacts", "diary"}) {
    std::filesystem::copy(std::string(TARNY_SOURCE) + "/samples/" + name,
                          folder.File("source/" + name), std::filesystem::copy_options::recursive);
  }
  const Mailbox mailbox(folder.Path(), {});
  const Result migrated =
      RunProgram("tarny", ServerArguments(folder, std::stoi(mailbox.Port())), folder.Path());
  EXPECT_EQ(SummaryOf(migrated)["sent"], 15);
  const std::string command = "cd '" + interop + "' && TZ=America/New_York timeout 240 node " +
                              "migrated.js http://127.0.0.1:" + mailbox.Port() +
                              "/EWS/Exchange.asmx user@example.com 2024-03-01..2024-04-20 " +
                              "2025-06-01..2025-07-01 > " + folder.File("seen.txt") + " 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(ReadAll(folder.File("seen.txt")),
            "Days:\n"
            "2024-03-04 08:00 to 09:00 Safety round, Pier 3\n"
            "2024-03-06 02:00 to 02:30 Call with the yard in Boston\n"
            "2024-03-07 08:00 to 09:00 Safety round, Pier 3\n"
            "2024-03-11 08:00 to 09:00 Safety round, Pier 3\n"
            "2024-03-12 14:00 to 15:30 Round of the lights, Pier 3\n"
            "2024-03-14 13:00 to 14:30 Safety round (with the insurer), Office\n"
            "2024-03-18 08:00 to 09:00 Safety round, Pier 3\n"
            "2024-03-21 08:00 to 09:00 Safety round, Pier 3\n"
            "2024-03-25 08:00 to 09:00 Safety round, Pier 3\n"
            "2024-03-28 08:00 to 09:00 Safety round, Pier 3\n"
            "2024-03-31 12:00 to 12:00 Tide table due\n"
            "2024-04-03 01:00 to 01:30 Call with the yard in Boston\n"
            "2024-04-04 07:00 to 08:00 Safety round, Pier 3\n"
            "2024-04-08 07:00 to 08:00 Safety round, Pier 3\n"
            "2024-04-09 14:00 to 15:30 Round of the lights, Pier 3\n"
            "2024-04-11 07:00 to 08:00 Safety round, Pier 3\n"
            "2024-04-15 07:00 to 08:00 Safety round, Pier 3\n"
            "2024-04-17 14:15 to 15:00 Doctor\n"
            "2024-04-18 07:00 to 08:00 Safety round, Pier 3\n"
            "2025-06-28 to 2025-06-30 Hafenfest – Tag der offenen Tür\n"
            "2025-06-30 12:00 to 12:00 Tide table due\n"
            "Meetings:\n"
            "Call with the yard in Boston; Busy\n"
            "Doctor; OOF; Private\n"
            "Hafenfest – Tag der offenen Tür; Free\n"
            "Round of the lights; Busy; Safety; tom.okafor@example.org; "
            "ingrid.halvorsen@harbour.example.com\n"
            "Safety round; Busy; 15 minutes before; Safety; Port; ann@example.org; "
            "perhaps juergen@example.com\n"
            "Tide table due; Busy\n"
            "Tasks:\n"
            "Check the ropes: due 2024-01-02, 0 %\n"
            "Paint the bollards: due 2024-04-19, 0 %\n"
            "Paint the bollards: due 2024-04-19, 40 %\n"
            "Renew the permit: never due, 100 %\n"
            "People:\n"
            "Ann Bell; ann@example.org; +49 170 555 02; 1975-03-05; a photo\n"
            "Ann Bell; ann@harbour.example.com\n"
            "Jürgen Ott; juergen@example.com; +49 170 555 10\n"
            "Night watch; hanako@example.com; juergen@example.com; gate@example.org\n"
            "佐藤 花子; hanako@example.com; +81-90-555-20; 1604-04-12\n");
}

}  // namespace
}  // namespace system_test
