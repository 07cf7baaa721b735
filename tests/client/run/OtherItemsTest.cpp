#include "client/run/OtherItems.h"

#include <cstdlib>
#include <ctime>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "client/run/WorkFolder.h"
#include "client/sources/PreparedItem.h"
#include "pipeline/ItemDescriptor.h"
#include "tests/client/WideText.h"
#include "tests/support/TemporaryFolder.h"

namespace client {
namespace {

using nlohmann::json;
using test_support::ReadAll;
using test_support::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

// A work folder with one item in it, and what the engine reads there.
class OtherItems : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
  }
  void TearDown() override {
    setenv("TZ", "UTC", 1);
    tzset();
  }
  ST_EML_INFO Write(std::int32_t type, const std::string& text, const std::string& key = "k") {
    EmptyWorkFolder(m_folder.Path());
    LeftOut left = WriteOther(m_folder.Path(), type, text, key);
    m_left = std::move(left.texts);
    m_isReduced = left.isReduced;
    return ReadPreparedItem(m_folder.Path());
  }
  json Props() const { return json::parse(ReadAll(m_folder.File("ItemProps.json"))); }

  TemporaryFolder m_folder;
  std::vector<std::string> m_left;
  bool m_isReduced = false;
};

std::string Event(const std::string& lines) {
  return "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\n" + lines + "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

TEST_F(OtherItems, AnEventIsReadByTheEngineAsItWas) {
  const ST_EML_INFO info = Write(
      TYPE_CALENDER,
      Event("UID:u\r\nSUMMARY:Subject : Round\r\nLOCATION:Pier 3\r\nCATEGORIES:Port,Work\r\n"
            "DTSTART;TZID=America/New_York:20240305T210000\r\nDURATION:PT1H\r\nPRIORITY:9\r\n"
            "RRULE:FREQ=WEEKLY;BYDAY=TU,TH;UNTIL=20240601T000000Z\r\n"
            "EXDATE;TZID=America/New_York:20240312T210000\r\nDESCRIPTION:one\\ntwo Body : 2\r\n"
            "ORGANIZER:mailto:ann@x.example\r\n"
            "ATTENDEE;CN=\"Bo; B\";PARTSTAT=DECLINED:mailto:bo@x.example\r\n"
            "ATTENDEE;ROLE=OPT-PARTICIPANT;CN=Cy:mailto:cy@x.example\r\n"
            "ATTACH;VALUE=BINARY;ENCODING=BASE64;X-FILENAME=a/b.txt:aGk=\r\n"
            "ATTACH;VALUE=BINARY;ENCODING=BASE64;X-FILENAME=AB.txt:aG8=\r\n"
            "BEGIN:VALARM\r\nTRIGGER:-PT15M\r\nEND:VALARM\r\n"));
  EXPECT_EQ(info.nItemType, TYPE_CALENDER);
  EXPECT_EQ(info.strImportance, u"3");
  EXPECT_EQ(info.strFrom, u"ann@x.example");
  EXPECT_EQ(info.strTo, u"bo@x.example");
  EXPECT_EQ(info.strCc, u"\"Cy\" <cy@x.example>");
  EXPECT_EQ(info.strSubject, u"Subject :\u00A0Round");
  EXPECT_EQ(info.strLocation, u"Pier 3");
  EXPECT_EQ(info.strCategory, u"Port");
  EXPECT_EQ(info.strRecurrence, u"W,3;1;0;2024-03-06;2024-05-31;2024-05-31;");
  EXPECT_EQ(info.strBody, u"one\rtwo Body :\u00A02");
  const CivilDateTime start = GetDateTime(info.dtStartDate);
  EXPECT_EQ(start, (CivilDateTime{2024, 3, 6, 3, 0, 0}));
  EXPECT_EQ(GetDateTime(info.dtEndDate), (CivilDateTime{2024, 3, 6, 4, 0, 0}));
  EXPECT_EQ(ReadAll(m_folder.File("Attachments/ab.txt")), "hi");
  EXPECT_EQ(ReadAll(m_folder.File("Attachments/AB (2).txt")), "ho");
  EXPECT_EQ(ReadAll(m_folder.File("TextFile1.eml")), "one\ntwo Body : 2");
  EXPECT_EQ(Props(), json::parse(R"({
    "key": "k", "uid": "u", "categories": ["Port", "Work"], "busy": "Busy", "reminder": 15,
    "zone": "Eastern Standard Time",
    "start": "2024-03-05T21:00:00", "end": "2024-03-05T22:00:00",
    "series": {"pattern": "weekly", "interval": 1, "days": ["Tuesday", "Thursday"],
               "firstDay": "Monday", "start": "2024-03-05", "end": "2024-05-30"},
    "deleted": ["2024-03-12T21:00:00"], "organizer": {"address": "ann@x.example"},
    "attendees": [
      {"address": "bo@x.example", "name": "Bo; B", "role": "required", "answer": "declined"},
      {"address": "cy@x.example", "name": "Cy", "role": "optional", "answer": "none"}]})"));
  EXPECT_THAT(m_left, ElementsAre("the answers of an attendee (kept in the property TarnyAnswers "
                                  "alone)"));
}

TEST_F(OtherItems, ATaskKeepsItsDaysAndItsState) {
  const ST_EML_INFO info =
      Write(TYPE_TASK,
            "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:Paint\r\nPRIORITY:2\r\n"
            "DTSTART;VALUE=DATE:20240701\r\nDUE;VALUE=DATE:20240703\r\n"
            "RRULE:FREQ=YEARLY;BYMONTH=6;COUNT=3\r\nSTATUS:IN-PROCESS\r\n"
            "ORGANIZER:mailto:ann@x.example\r\n"
            "PERCENT-COMPLETE:40\r\nX-ALT-DESC;FMTTYPE=text/html:<HTML>x</HTML>\r\n"
            "BEGIN:VALARM\r\nTRIGGER;VALUE=DATE-TIME:20240701T060000Z\r\n"
            "END:VALARM\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
  EXPECT_EQ(info.nItemType, TYPE_TASK);
  EXPECT_TRUE(info.strMessageId.IsEmpty());
  EXPECT_EQ(info.strTaskPriority, u"High");
  EXPECT_EQ(info.strRecurrence, u"Y,6,1;1;3;2024-07-01;;;");
  EXPECT_EQ(info.strBody, u"<HTML>x</HTML>");
  EXPECT_EQ(GetDateTime(info.dtStartDate), (CivilDateTime{2024, 7, 1, 0, 0, 0}));
  EXPECT_EQ(GetDateTime(info.dtDueDate), (CivilDateTime{2024, 7, 3, 0, 0, 0}));
  EXPECT_TRUE(std::filesystem::exists(m_folder.File("ch111.html")));
  const json props = Props();
  EXPECT_EQ(props["status"], "InProgress");
  EXPECT_EQ(props["percent"], 40);
  EXPECT_EQ(props["reminderTime"], "2024-07-01T06:00:00Z");
  EXPECT_EQ(props["series"]["month"], "June");
  EXPECT_THAT(
      m_left,
      ElementsAre("the organizer of a task ann@x.example",
                  "the first occurrence, on a day that the rule does not name: 2024-07-01"));
  (void)Write(TYPE_TASK,
              "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nDTSTART:20240701T000000\r\n"
              "DUE:20240703T170000\r\nSTATUS:CANCELLED\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
  EXPECT_THAT(m_left, ElementsAre("that it was cancelled",
                                  "the time of day that it is due: "
                                  "17:00:00"));
}

TEST_F(OtherItems, AContactIsTaggedAndWholeInItsProperties) {
  const std::string card =
      "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Bell\r\nN:Bell;Ann;M;Dr;\r\nTEL;TYPE=CELL:1\r\n"
      "TEL;TYPE=HOME,FAX:2\r\nTEL:3\r\nEMAIL:ann@x.example\r\nADR;TYPE=WORK:;;Pier 3;Bremen;;1;DE"
      "\r\nBDAY:1980-03-05\r\nTITLE:</ITEM>Mate\r\nNOTE:one\\ntwo\r\nCLASS:PRIVATE\r\n"
      "PHOTO;ENCODING=b:/9j/4A==\r\nEND:VCARD\r\n";
  const ST_EML_INFO info = Write(TYPE_CONTACT, card);
  EXPECT_EQ(info.nItemType, TYPE_CONTACT);
  EXPECT_EQ(info.strBody,
            u"<ITEM>Complete Name : Ann Bell</ITEM>\r<ITEM>File As 1 : Bell, Ann</ITEM>\r"
            u"<ITEM>First Name : Ann</ITEM>\r<ITEM>Last Name : Bell</ITEM>\r"
            u"<ITEM>Prefix : Dr</ITEM>\r<ITEM>E-Mail Address : ann@x.example</ITEM>\r"
            u"<ITEM>Cellular Phone Number : 1</ITEM>\r<ITEM>Fax Number : 2</ITEM>\r"
            u"<ITEM>BussinessAddress : Pier 3;Bremen;;1;DE;</ITEM>\r"
            u"<ITEM>Birthday : 1980-03-05</ITEM>");
  EXPECT_EQ(ReadAll(m_folder.File("TextFile1.eml")), client_test::Wide("one\r\ntwo"));
  EXPECT_EQ(ReadAll(m_folder.File("ContactPhoto.jpg")), "\xFF\xD8\xFF\xE0");
  const json props = Props();
  EXPECT_EQ(props["sensitivity"], "Private");
  const json& contact = props["contact"];
  EXPECT_EQ(contact["jobTitle"], "</ITEM>Mate");
  EXPECT_EQ(contact["middleName"], "M");
  EXPECT_EQ(contact["phones"][2], (json{{"kind", "OtherTelephone"}, {"number", "3"}}));
  EXPECT_THAT(m_left, IsEmpty());

  const TemporaryFolder other;
  EXPECT_THAT(WriteOther(other.Path(), TYPE_CONTACT, card, /*key=*/"").texts,
              ElementsAre("what a descriptor has no place for of contact, sensitivity"));
  EXPECT_FALSE(std::filesystem::exists(other.File("ItemProps.json")));
}

TEST_F(OtherItems, AGroupNamesThoseWithAnAddress) {
  const ST_EML_INFO info =
      Write(TYPE_DIST_LIST,
            "BEGIN:VCARD\r\nFN:Watch\r\nKIND:group\r\nNOTE:of\\nthe night\r\n"
            "CATEGORIES:Port,Work\r\nTEL:1\r\n"
            "MEMBER:urn:uuid:2\r\nMEMBER:mailto:c@x.example\r\n"
            "MEMBER:mailto:odd;@x.example\r\nEND:VCARD\r\n"
            "BEGIN:VCARD\r\nUID:2\r\nFN:Dee\r\nEMAIL:d@x.example\r\nEND:VCARD\r\n");
  EXPECT_EQ(info.nItemType, TYPE_DIST_LIST);
  EXPECT_EQ(info.strListName, u"Watch");
  EXPECT_EQ(info.strListDescription, u"of the night");
  EXPECT_EQ(info.strGroup, u"\"Dee\" <d@x.example>;c@x.example");
  EXPECT_THAT(m_left, ElementsAre("TEL 1", "the member odd;@x.example"));
  EXPECT_TRUE(m_isReduced);
  EXPECT_EQ(Props()["categories"], json({"Port", "Work"}));
}

TEST_F(OtherItems, PropertiesThatTheEngineWouldNotReadGiveWay) {
  std::string lines = "DTSTART:20240305T090000\r\nSUMMARY:x\r\n";
  for (int i = 0; i < 20000; ++i) {
    lines += "ATTENDEE:mailto:" + std::to_string(i) + "@x.example\r\n";
  }
  (void)Write(TYPE_CALENDER, Event(lines));
  EXPECT_THAT(m_left, ElementsAre("attendees, which is too large"));
  EXPECT_LT(ReadAll(m_folder.File("ItemProps.json")).size(), 1u << 20);
}

}  // namespace
}  // namespace client
