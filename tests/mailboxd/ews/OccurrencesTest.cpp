#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

// Single occurrences of a series as clients see and change them.
class Occurrences : public LocalMailbox {
 protected:
  // On five Mondays from 2024-03-11, at ten in Berlin; the clock changes on 03-31.
  std::string SaveSeries(const std::string& count = "5",
                         const std::string& end = "2024-03-11T10:00:00Z") {
    return ItemId(SaveIn(
        "calendar", "CalendarItem",
        Tag("t:Subject", "Round") + Tag("t:Body", "text", " BodyType=\"Text\"") +
            Tag("t:Start", "2024-03-11T09:00:00Z") + Tag("t:End", end) +
            Tag("t:Recurrence",
                Tag("t:WeeklyRecurrence", Tag("t:Interval", "1") + Tag("t:DaysOfWeek", "Monday")) +
                    Tag("t:NumberedRecurrence",
                        Tag("t:StartDate", "2024-03-11") + Tag("t:NumberOfOccurrences", count))) +
            "<t:StartTimeZone Id=\"W. Europe Standard Time\"/>"));
  }
  static std::string Number(const std::string& series, const std::string& number) {
    return Tag("t:OccurrenceItemId", "",
               " RecurringMasterId=\"" + series + "\" InstanceIndex=\"" + number + "\"");
  }
  std::string Change(const std::string& id, const std::string& changes) {
    return Ask(UpdateRequest(id, changes,
                             " ConflictResolution=\"AlwaysOverwrite\""
                             " SendMeetingInvitationsOrCancellations=\"SendToNone\""));
  }
  static std::string Set(const std::string& uri, const std::string& xml) {
    return Tag("t:SetItemField", Uri(uri) + Tag("t:CalendarItem", xml));
  }
  std::string Delete(const std::string& id) {
    return Ask(DeleteRequest(id, "HardDelete", " SendMeetingCancellations=\"SendToNone\""));
  }
  std::string Get(const std::string& id) {
    return Ask(Envelope(Tag("m:GetItem", Tag("m:ItemShape", kAll) + Tag("m:ItemIds", id))));
  }
  std::string View(const std::string& from, const std::string& to, const std::string& more = "",
                   const std::string& folder = "calendar") {
    return Ask(FindItem(WellKnown(folder), kAll,
                        "<m:CalendarView" + more + " StartDate=\"" + from +
                            "T00:00:00Z\" EndDate=\"" + to + "T00:00:00Z\"/>"));
  }
  // "03-11 09:00 Round; …"
  static std::string Events(std::string answer) {
    std::string text;
    for (size_t at; (at = answer.find("</t:CalendarItem>")) != std::string::npos;) {
      const std::string start = Find(answer, "<t:Start>2024-([^Z]*)Z");
      text += start.substr(0, 5) + " " + start.substr(6, 5) + " " +
              Find(answer, "<t:Subject>([^<]*)<") + "; ";
      answer.erase(0, at + 1);
    }
    return text;
  }
};

TEST_F(Occurrences, AreDeletedChangedAndShownInTheirTime) {
  const std::string series = SaveSeries();
  EXPECT_EQ(Code(Delete(Number(series, "2"))), "NoError");
  const std::string changed = Change(
      Number(series, "3"), Set("item:Subject", Tag("t:Subject", "Moved &amp; more")) +
                               Set("calendar:Start", Tag("t:Start", "2024-03-26T07:00:00Z")) +
                               Set("calendar:End", Tag("t:End", "2024-03-26T08:30:00Z")));
  EXPECT_EQ(Code(changed), "NoError");
  EXPECT_EQ(
      Events(View("2024-03-01", "2024-05-01")),
      "03-11 09:00 Round; 03-26 07:00 Moved &amp; more; 04-01 08:00 Round; 04-08 08:00 Round; ");
  EXPECT_EQ(Events(View("2024-03-20", "2024-03-26")), "");
  const std::string first = View("2024-03-01", "2024-05-01", " MaxEntriesReturned=\"1\"");
  EXPECT_TRUE(Holds(first, {"TotalItemsInView=\"4\" IncludesLastItemInRange=\"false\"",
                            "<t:CalendarItemType>Occurrence<"}));

  EXPECT_TRUE(Holds(Get(IdTag("t:ItemId", series)),
                    {"<t:CalendarItemType>RecurringMaster<",
                     "<t:OriginalStart>2024-03-25T09:00:00Z</t:OriginalStart></t:Occurrence>",
                     "<t:DeletedOccurrence><t:Start>2024-03-18T09:00:00Z<", ">Round<"}));
  // By its number, and by the id that it has itself.
  for (const std::string& id : {Number(series, "3"), IdTag("t:ItemId", ItemId(changed))}) {
    const std::string one = Get(id);
    EXPECT_TRUE(Holds(one, {"<t:Subject>Moved &amp; more<", "<t:CalendarItemType>Exception<",
                            "<t:End>2024-03-26T08:30:00Z<", ">text</t:Body>",
                            "<t:OriginalStart>2024-03-25T09:00:00Z<"}));
    EXPECT_TRUE(Lacks(one, {"Recurrence>", "DeletedOccurrence"}));
  }
  EXPECT_TRUE(
      Holds(Get(Tag("t:RecurringMasterItemId", "", " OccurrenceId=\"" + ItemId(changed) + "\"")),
            {"RecurringMaster<"}));
  // What is changed once more keeps the rest of it.
  EXPECT_EQ(Code(Change(IdTag("t:ItemId", ItemId(changed)),
                        Set("calendar:Location", Tag("t:Location", "Pier 3")))),
            "NoError");
  EXPECT_TRUE(Holds(Get(Number(series, "3")), {">Pier 3<", "Moved"}));
  EXPECT_EQ(Code(Delete(IdTag("t:ItemId", ItemId(changed)))), "NoError");
  EXPECT_EQ(Events(View("2024-03-12", "2024-04-02")), "04-01 08:00 Round; ");
}

TEST_F(Occurrences, ThatAreNotThereAreRefused) {
  const std::string series = SaveSeries();
  const std::string single =
      ItemId(SaveIn("calendar", "CalendarItem",
                    Tag("t:Start", "2024-03-10T23:00:00Z") + Tag("t:End", "2024-03-11T01:00:00Z")));
  (void)Delete(Number(series, "2"));
  const std::string subject = Set("item:Subject", Tag("t:Subject", "x"));
  for (const auto& [id, code] : std::vector<std::pair<std::string, std::string>>{
           {Number(series, "2"), "ErrorCalendarOccurrenceIsDeletedFromRecurrence"},
           {Number(series, "6"), "ErrorCalendarOccurrenceIndexIsOutOfRecurrenceRange"},
           {Number(series, "0"), "ErrorCalendarOccurrenceIndexIsOutOfRecurrenceRange"},
           {Number(series, "2147483647"), "ErrorCalendarOccurrenceIndexIsOutOfRecurrenceRange"},
           {Number(single, "1"), "ErrorCalendarCannotUseIdForOccurrenceId"},
           {Number("AAMkx", "1"), "ErrorInvalidIdMalformed"}}) {
    EXPECT_EQ(Code(Get(id)), code) << id;
    EXPECT_EQ(Code(Delete(id)), code) << id;
    EXPECT_EQ(Code(Change(id, subject)), code) << id;
  }
  EXPECT_EQ(
      Code(Change(Number(series, "1"), Set("calendar:End", Tag("t:End", "2024-03-11T08:00:00Z")))),
      "ErrorCalendarEndDateIsEarlierThanStartDate");
  EXPECT_EQ(Code(Change(Number(series, "1"), Tag("t:DeleteItemField", Uri("calendar:Location")))),
            "ErrorInvalidPropertyDelete");
  EXPECT_EQ(Code(View("2024-03-01", "2024-03-02", "", "inbox")),
            "ErrorCalendarFolderIsInvalidForCalendarView");
  EXPECT_EQ(Code(View("2024-03-02", "2024-03-01")), "ErrorCalendarEndDateIsEarlierThanStartDate");
  EXPECT_EQ(Code(View("2024-03-01", "2027-03-01")), "ErrorCalendarViewRangeTooBig");
  // What has begun before and goes on is seen, too.
  EXPECT_EQ(Events(View("2024-03-11", "2024-03-12")), "03-10 23:00 ; 03-11 09:00 Round; ");
  const std::string overnight = SaveSeries("3", "2024-03-12T08:00:00Z");
  (void)Change(Number(overnight, "3"), Set("calendar:End", Tag("t:End", "2024-03-28T01:00:00Z")));
  EXPECT_EQ(Events(View("2024-03-19", "2024-03-20")), "03-18 09:00 Round; ");
  EXPECT_EQ(Events(View("2024-03-27", "2024-03-28")), "03-25 09:00 Round; ");
  EXPECT_EQ(Events(View("2024-03-20", "2024-03-21")), "");
}

}  // namespace
