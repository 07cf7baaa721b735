#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/system/Programs.h"

// What goes into a mailbox as calendars and cards comes out of it as the same, for readers that
// share no code with us (tests/interop/read_export.py).
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

}  // namespace
}  // namespace system_test
