#include "pipeline/ItemDescriptor.h"

#include <gtest/gtest.h>

#include <vector>

#include "ews/ExtendedProperty.h"
#include "ews/Settings.h"
#include "tests/pipeline/TempRunFolder.h"
#include "tests/support/TimeZone.h"

namespace {

class ItemDescriptor : public testing::Test {
 protected:
  ST_EML_INFO Parse(std::u16string_view text) {
    folder.WriteWork("11comtextjj.t", text);
    ST_EML_INFO info;
    GetEmlInfo(&info);
    return info;
  }
  ST_EML_INFO ParseLines(const std::vector<std::u16string>& lines) {
    std::u16string text;
    for (const auto& line : lines) text += line + u"\n";
    return Parse(text);
  }
  // Lines 1 to 9, then the given ones.
  ST_EML_INFO ParseType(std::u16string type, std::vector<std::u16string> rest) {
    std::vector<std::u16string> lines{
        type,        u"2\r",        u"Creation Date : 2024-03-31 13:05:00",
        u"TRUE \r",  u"From : f@x", u"To : t@x;",
        u"CC : c@x", u"Bcc : b@x",  u"Subject : about Subject : it\r"};
    lines.insert(lines.end(), rest.begin(), rest.end());
    return ParseLines(lines);
  }

  TempRunFolder folder;
};

TEST_F(ItemDescriptor, MailHasItsFieldsAndAJoinedBody) {
  const ST_EML_INFO info =
      ParseType(u"\uFEFFEMAIL\r", {u"MessageID : <1@x>\r", u"Body : one\r", u" two", u"three \r"});
  EXPECT_EQ(info.nItemType, TYPE_EMAIL);
  EXPECT_EQ(info.strImportance, u"2\r");  // kept: it has its carriage return
  EXPECT_EQ(info.dtCreationDate.Format(u"%Y-%m-%d %H:%M:%S"), u"2024-03-31 13:05:00");
  EXPECT_FALSE(info.bRead);
  EXPECT_EQ(info.strFrom, u"f@x");
  EXPECT_EQ(info.strTo, u"t@x;");
  EXPECT_EQ(info.strCc, u"c@x");
  EXPECT_EQ(info.strBcc, u"b@x");
  EXPECT_EQ(info.strSubject, u"about it");
  EXPECT_EQ(info.strMessageId, u"<1@x>");
  EXPECT_EQ(info.strBody, u"one\r twothree");
}

TEST_F(ItemDescriptor, CalendarAndTaskTakeBothForms) {
  for (const bool shifted : {false, true}) {
    SCOPED_TRACE(shifted);
    const auto parse = [&](const char16_t* type, std::vector<std::u16string> lines) {
      lines.insert(shifted ? lines.end() : lines.begin(), u" \r");
      lines.push_back(u"Body : text");
      return ParseType(type, lines);
    };
    const ST_EML_INFO event =
        parse(u"CALENDAR", {u"StartDate:2024-01-02 03:04:05", u"EndDate:2024-01-02 04:00:00",
                            u"Location : here", u"cat", u"rec"});
    EXPECT_EQ(event.nItemType, TYPE_CALENDER);
    EXPECT_EQ(event.dtStartDate.GetHour(), 3);
    EXPECT_EQ(event.dtEndDate.GetHour(), 4);
    EXPECT_EQ(event.strLocation, u"here");
    EXPECT_EQ(event.strCategory, u"cat");
    EXPECT_EQ(event.strRecurrence, u"rec");
    EXPECT_EQ(event.strMessageId, u"");
    EXPECT_EQ(event.strBody, u"text");
    const ST_EML_INFO task = parse(u"TASK", {u"StartDate:2024-01-02", u"DueDate:2024-01-05", u"cat",
                                             u"High", u"rec", u"extra"});
    EXPECT_EQ(task.dtStartDate.GetDay(), 2);
    EXPECT_EQ(task.dtDueDate.GetDay(), 5);
    EXPECT_EQ(task.strCategory, u"cat");
    EXPECT_EQ(task.strTaskPriority, u"High");
    EXPECT_EQ(task.strRecurrence, u"rec");
    EXPECT_EQ(task.strTaskExtra, u"extra");
    // kept: in the second form the start line becomes the key of a task.
    EXPECT_EQ(task.strMessageId, shifted ? u"StartDate:2024-01-02" : u"");
    EXPECT_EQ(task.strBody, u"text");
  }
}

TEST_F(ItemDescriptor, ContactAndListHaveTheirTaggedLines) {
  const ST_EML_INFO contact =
      ParseType(u"CONTACT", {u"id", u" Friends \r", u"<ITEM>Name : A : B</ITEM>", u"no separator",
                             u"Body : <ITEM>x</ITEM>"});
  EXPECT_EQ(contact.strContactFolder, u"Friends");
  EXPECT_EQ(contact.strContactInfo1, u"A : B");
  EXPECT_EQ(contact.strContactInfo2, u"");
  EXPECT_EQ(contact.strMessageId, u"id");
  EXPECT_EQ(contact.strBody, u"<ITEM>x</ITEM>");
  const ST_EML_INFO list =
      ParseType(u"DIST_LIST", {u"<ITEM>Group :a@x;b@x</ITEM>\r", u"without a tag",
                               u"<ITEM>Description : d </ITEM>", u"<ITEM>ListOwner :o</ITEM>"});
  EXPECT_EQ(list.strGroup, u"a@x;b@x");
  EXPECT_EQ(list.strListName, u"");
  EXPECT_EQ(list.strListDescription, u"d");
  EXPECT_EQ(list.strListOwner, u"o");
}

TEST_F(ItemDescriptor, FirstKeywordInOrderDecidesTheType) {
  EXPECT_EQ(GetEmlType(u"TASK EMAIL"), TYPE_EMAIL);
  EXPECT_EQ(GetEmlType(u"xCONTACTx"), TYPE_CONTACT);
  EXPECT_EQ(GetEmlType(u"email"), TYPE_UNKNOWN);
  EXPECT_EQ(Parse(u"").nItemType, TYPE_UNKNOWN);
}

TEST_F(ItemDescriptor, ShortDescriptorLeavesDatesValidAndABadDateIsInvalid) {
  EXPECT_EQ(ParseLines({u"EMAIL", u"1"}).dtCreationDate.GetStatus(), COleDateTime::valid);
  EXPECT_EQ(ParseLines({u"EMAIL", u"1", u"30 February 2024"}).dtCreationDate.GetStatus(),
            COleDateTime::invalid);
}

// What a writer that was stopped leaves behind: lines before the cut are there, none is made up.
TEST_F(ItemDescriptor, EveryCutOfEveryTypeReadsItsWholeLines) {
  const std::u16string head = u"\n2\n2024-01-01\nTRUE\nfrom\nto\ncc\nbcc\nsubject\n";
  for (const char16_t* type : {u"EMAIL", u"CALENDAR", u"TASK", u"CONTACT", u"DIST_LIST"}) {
    for (const char16_t* tenth : {u"", u"x"}) {
      const std::u16string text = type + head + tenth + u"\na\nb\nc\nd\ne\nf\ng\nh";
      const std::string bytes = test_support::WideBytes(text);
      const size_t whole = std::u16string(type).size() * 2;
      for (size_t cut = 0; cut <= bytes.size(); ++cut) {
        folder.WriteWork("11comtextjj.t", bytes.substr(0, cut));
        ST_EML_INFO info;
        GetEmlInfo(&info);
        if (cut >= whole) {
          ASSERT_NE(info.nItemType, TYPE_UNKNOWN) << cut;
        }
        ASSERT_TRUE(CString(u"subject").Contains(info.strSubject)) << cut;
        ASSERT_TRUE(CString(u"abcdefgh").Contains(info.strBody)) << cut;
      }
    }
  }
}

TEST_F(ItemDescriptor, ALabelAloneIsAValueUnlessTheSafeSwitchIsOn) {
  const std::vector<std::u16string> lines = {
      u"EMAIL",  u"1",       u"",      u"",           u"From : a",
      u"To : ",  u"CC : \r", u"Bcc :", u"Subject : ", u"MessageID : ",
      u"Body : "};
  for (const bool safe : {false, true}) {
    ews::Settings().bSafe = safe;
    const ST_EML_INFO info = ParseLines(lines);
    EXPECT_EQ(info.strFrom, u"a");
    EXPECT_EQ(info.strTo, safe ? u"" : u"To :");
    EXPECT_EQ(info.strCc, safe ? u"" : u"CC :");
    EXPECT_EQ(info.strBcc, safe ? u"" : u"Bcc :");
    EXPECT_EQ(info.strSubject, safe ? u"" : u"Subject :");
    EXPECT_EQ(info.strMessageId, u"");
  }
  ews::Settings().bSafe = false;
}

TEST_F(ItemDescriptor, LeapDayMovesUnlessTheSafeSwitchIsOn) {
  const COleDateTime leap(2024, 2, 29, 10, 20, 30);
  EXPECT_EQ(GetDateTime(leap), (CivilDateTime{2024, 2, 28, 10, 20, 30}));
  EXPECT_EQ(GetDateTime(COleDateTime(2024, 3, 31, 0, 0, 0)), (CivilDateTime{2024, 3, 31, 0, 0, 0}));
  ews::Settings().bSafe = true;
  EXPECT_EQ(GetDateTime(leap), (CivilDateTime{2024, 2, 29, 10, 20, 30}));
  ews::Settings().bSafe = false;
  EXPECT_THROW(GetDateTime(COleDateTime::Invalid()), std::out_of_range);
}

TEST_F(ItemDescriptor, UtcStopsAtTheLastSecondOfYear9999) {
  const test_support::TimeZone zone("WEST8");
  EXPECT_EQ(ews::FormatUtc({ToUniversalTime({9999, 12, 31, 15, 59, 58})}), "9999-12-31T23:59:58Z");
  EXPECT_EQ(ews::FormatUtc({ToUniversalTime({9999, 12, 31, 23, 59, 59})}), "9999-12-31T23:59:59Z");
}

}  // namespace
