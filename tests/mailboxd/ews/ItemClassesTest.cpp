#include "mailboxd/ews/ItemClasses.h"

#include <functional>

#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/WorkTime.h"

using namespace mailbox_test;

namespace {

// One item of a class, with fields as they are to come back.
struct Kind {
  std::string element;
  std::string folder;
  std::vector<std::string> fields;  // in the schema's order
};

std::string Mailbox(const std::string& address) {
  return Tag("t:Mailbox", Tag("t:EmailAddress", address));
}
std::string Attendees(const std::string& name, const std::string& address) {
  return Tag("t:" + name, Tag("t:Attendee", Mailbox(address)));
}
std::string Entry(const std::string& key, const std::string& content) {
  return Tag("t:Entry", content, " Key=\"" + key + "\"");
}

Kind Meeting() {
  return {
      "CalendarItem",
      "calendar",
      {"<t:ReminderIsSet>true</t:ReminderIsSet>",
       "<t:ReminderMinutesBeforeStart>15</t:ReminderMinutesBeforeStart>",
       "<t:UID>040000008200E00074C5B7101A82E008</t:UID>", "<t:Start>2024-03-11T09:00:00Z</t:Start>",
       "<t:End>2024-03-11T10:30:00Z</t:End>", "<t:IsAllDayEvent>false</t:IsAllDayEvent>",
       "<t:LegacyFreeBusyStatus>OOF</t:LegacyFreeBusyStatus>",
       "<t:Location>Room &lt;1&gt; &amp; garden</t:Location>",
       Attendees("RequiredAttendees", "Carl &lt;carl@example.com&gt;"),
       Attendees("OptionalAttendees", "dora@example.com"),
       "<t:Recurrence><t:WeeklyRecurrence><t:Interval>2</t:Interval>"
       "<t:DaysOfWeek>Monday Friday</t:DaysOfWeek></t:WeeklyRecurrence><t:EndDateRecurrence>"
       "<t:StartDate>2024-03-11+01:00</t:StartDate><t:EndDate>2024-06-28+02:00</t:EndDate>"
       "</t:EndDateRecurrence></t:Recurrence>",
       "<t:StartTimeZone Id=\"W. Europe Standard Time\" Name=\"Berlin\"></t:StartTimeZone>",
       "<t:AllowNewTimeProposal>true</t:AllowNewTimeProposal>"}};
}

Kind Person() {
  return {"Contact",
          "contacts",
          {"<t:FileAs>Curie, Marie</t:FileAs>", "<t:DisplayName>Marie Curie</t:DisplayName>",
           "<t:GivenName>Marie</t:GivenName>", "<t:CompanyName>Sorbonne</t:CompanyName>",
           Tag("t:EmailAddresses",
               Entry("EmailAddress1", "marie@example.com") + Entry("EmailAddress3", "")),
           Tag("t:PhysicalAddresses",
               Entry("Business", "<t:Street>1 rue Pierre</t:Street><t:City>Paris</t:City>")),
           Tag("t:PhoneNumbers", Entry("HomePhone", "+33 1") + Entry("TtyTddPhone", "2")),
           "<t:Birthday>1867-11-07T00:00:00Z</t:Birthday>",
           "<t:Children><t:String>Irène</t:String></t:Children>",
           Tag("t:ImAddresses", Entry("ImAddress1", "marie")), "<t:JobTitle>Professor</t:JobTitle>",
           "<t:Surname>Curie</t:Surname>"}};
}

std::vector<Kind> Kinds() {
  return {Meeting(),
          Person(),
          {"DistributionList",
           "contacts",
           {"<t:DisplayName>Team</t:DisplayName>",
            Tag("t:Members", Tag("t:Member", Mailbox("a@example.com")) +
                                 Tag("t:Member", Mailbox("a@example.com")))}},
          {"Task",
           "tasks",
           {"<t:ActualWork>30</t:ActualWork>", "<t:Companies><t:String>A</t:String></t:Companies>",
            "<t:DueDate>2024-03-15T00:00:00Z</t:DueDate>", "<t:Owner>Ann</t:Owner>",
            "<t:PercentComplete>12.5</t:PercentComplete>",
            "<t:Recurrence><t:DailyRegeneration><t:Interval>1</t:Interval></t:DailyRegeneration>"
            "<t:NoEndRecurrence><t:StartDate>2024-03-11</t:StartDate></t:NoEndRecurrence>"
            "</t:Recurrence>",
            "<t:StartDate>2024-03-11T00:00:00Z</t:StartDate>", "<t:Status>InProgress</t:Status>"}},
          {"Message",
           "inbox",
           {"<t:ReminderIsSet>true</t:ReminderIsSet>", "<t:Culture>en-US</t:Culture>",
            "<t:Flag><t:FlagStatus>Flagged</t:FlagStatus></t:Flag>",
            "<t:IsReadReceiptRequested>true</t:IsReadReceiptRequested>",
            "<t:ConversationIndex>AQI=</t:ConversationIndex>"}}};
}

class ItemClasses : public LocalMailbox {
 protected:
  std::string SaveKind(const Kind& kind) {
    std::string fields;
    for (const std::string& field : kind.fields) fields += field;
    return SaveIn(kind.folder, kind.element, fields);
  }
  static std::string ChangeRequest(const std::string& id, const std::string& change) {
    return UpdateRequest(IdTag("t:ItemId", id), change,
                         " ConflictResolution=\"AlwaysOverwrite\" MessageDisposition=\"SaveOnly\""
                         " SendMeetingInvitationsOrCancellations=\"SendToNone\"");
  }
  std::string Change(const std::string& id, const std::string& change) {
    return Ask(ChangeRequest(id, change));
  }
};

TEST_F(ItemClasses, EveryFieldComesBackAsItWasSent) {
  for (const Kind& kind : Kinds()) {
    const std::string saved = SaveKind(kind);
    ASSERT_EQ(Code(saved), "NoError") << kind.element << saved;
    EXPECT_TRUE(Holds(saved, {"<t:" + kind.element + ">"}));
    const std::string shown = Show(ItemId(saved));
    for (const std::string& field : kind.fields) EXPECT_TRUE(Holds(shown, {field}));
    EXPECT_TRUE(Holds(Ask(FindItem(WellKnown(kind.folder), kAll)), {ItemId(saved)}));
  }
}

TEST_F(ItemClasses, FieldsThatTheServerSetsFollowFromTheOthers) {
  EXPECT_TRUE(Holds(Show(ItemId(SaveKind(Meeting()))),
                    {"<t:ItemClass>IPM.Appointment<", "<t:CalendarItemType>RecurringMaster<",
                     "<t:IsMeeting>true<", "<t:Duration>PT1H30M<", "<t:IsDraft>false<"}));
  EXPECT_TRUE(Holds(
      Show(ItemId(SaveIn("calendar", "CalendarItem", ""))),
      {"<t:CalendarItemType>Single<", "<t:LegacyFreeBusyStatus>Busy<", "<t:IsRecurring>false<"}));
  EXPECT_TRUE(Holds(Show(ItemId(SaveIn("tasks", "Task", "<t:Status>Completed</t:Status>"))),
                    {"<t:IsComplete>true<", "<t:PercentComplete>0<"}));
  EXPECT_TRUE(Holds(Show(ItemId(SaveKind(Person()))), {"<t:Subject>Marie Curie<"}));
  EXPECT_TRUE(Holds(Show(ItemId(SaveIn("calendar", "CalendarItem",
                                       "<t:Start>2024-03-11T10:00:00.000+01:00</t:Start>"))),
                    {"<t:Start>2024-03-11T09:00:00Z<"}));
  const std::string refused = SaveIn("tasks", "Task", "<t:IsComplete>true</t:IsComplete>");
  EXPECT_EQ(Code(refused), "ErrorInvalidPropertySet");
  EXPECT_TRUE(Holds(refused, {"FieldURI=\"task:IsComplete\""}));
}

TEST_F(ItemClasses, EachLiesWhereItsClassMay) {
  const struct {
    const char* element;
    const char* folder;
    const char* code;
  } rows[] = {
      {"CalendarItem", "inbox", "ErrorCannotCreateCalendarItemInNonCalendarFolder"},
      {"CalendarItem", "tasks", "ErrorCannotCreateCalendarItemInNonCalendarFolder"},
      {"Contact", "calendar", "ErrorCannotCreateContactInNonContactFolder"},
      {"DistributionList", "inbox", "ErrorCannotCreateContactInNonContactFolder"},
      {"Task", "contacts", "ErrorCannotCreateTaskInNonTaskFolder"},
      {"Message", "calendar", "NoError"},
      {"DistributionList", "contacts", "NoError"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Code(SaveIn(row.folder, row.element, "")), row.code) << row.element << row.folder;
  }
  EXPECT_EQ(Code(Ask(CreateItem(WellKnown("calendar"), "<t:CalendarItem/>"))),
            "ErrorSendMeetingInvitationsRequired");
}

TEST_F(ItemClasses, TimesThatCannotBeAreRefused) {
  const auto series = [](const std::string& pattern, const std::string& range) {
    return Tag("t:Recurrence", Tag("t:DailyRecurrence", Tag("t:Interval", pattern)) + range);
  };
  const auto until = [](const std::string& day) {
    return Tag("t:EndDateRecurrence",
               "<t:StartDate>2024-03-11</t:StartDate>" + Tag("t:EndDate", day));
  };
  const auto times = [](const std::string& count) {
    return Tag("t:NumberedRecurrence",
               "<t:StartDate>2024-03-11</t:StartDate>" + Tag("t:NumberOfOccurrences", count));
  };
  const struct {
    std::string fields;
    const char* code;
  } rows[] = {
      {"<t:Start>2024-03-11T10:00:00+01:00</t:Start><t:End>2024-03-11T08:59:59Z</t:End>",
       "ErrorCalendarEndDateIsEarlierThanStartDate"},
      {"<t:Start>2024-03-11T10:00:00+01:00</t:Start><t:End>2024-03-11T09:00:00Z</t:End>",
       "NoError"},
      {series("0", until("2024-03-12")), "ErrorCalendarInvalidRecurrence"},
      {series("999", until("2024-03-11")), "NoError"},
      {series("1000", until("2024-03-12")), "ErrorCalendarInvalidRecurrence"},
      {series("1", until("2024-03-10")), "ErrorRecurrenceHasNoOccurrence"},
      {series("1", times("0")), "ErrorCalendarInvalidRecurrence"},
      {series("1", times("1")), "NoError"},
      {series("1", until("2024-02-30")), "ErrorSchemaValidation"},
      {series("1", times("1") + until("2024-03-12")), "ErrorSchemaValidation"},
      {Tag("t:Recurrence", times("1")), "ErrorSchemaValidation"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Code(SaveIn("calendar", "CalendarItem", row.fields)), row.code) << row.fields;
  }
}

std::string SetField(const std::string& path, const std::string& element,
                     const std::string& value) {
  return Tag("t:SetItemField", path + Tag("t:" + element, value));
}
std::string Indexed(const std::string& uri, const std::string& key) {
  return "<t:IndexedFieldURI FieldURI=\"" + uri + "\" FieldIndex=\"" + key + "\"/>";
}

TEST_F(ItemClasses, FieldsAreSetDeletedAndAppendedTo) {
  const std::string id = ItemId(SaveKind(Meeting()));
  const std::string answer = Change(
      id, SetField(Uri("calendar:Location"), "CalendarItem", "<t:Location>Hall</t:Location>") +
              Tag("t:DeleteItemField", Uri("calendar:Recurrence")) +
              Tag("t:AppendToItemField",
                  Uri("calendar:RequiredAttendees") +
                      Tag("t:CalendarItem", Attendees("RequiredAttendees", "new@example.com"))));
  ASSERT_EQ(Code(answer), "NoError") << answer;
  const std::string shown = Show(id);
  EXPECT_TRUE(Holds(shown, {"<t:Location>Hall<", "carl@example.com", "new@example.com",
                            "<t:CalendarItemType>Single<"}));
  EXPECT_TRUE(Lacks(shown, {"<t:Recurrence>", "garden"}));
  const struct {
    std::string change;
    const char* code;
  } refused[] = {
      {SetField(Uri("task:Owner"), "Task", "<t:Owner>x</t:Owner>"), "ErrorInvalidPropertySet"},
      {SetField(Uri("calendar:Location"), "Message", "<t:Subject>x</t:Subject>"),
       "ErrorUpdatePropertyMismatch"},
      {SetField(Uri("calendar:End"), "CalendarItem", "<t:End>2024-01-01T00:00:00Z</t:End>"),
       "ErrorCalendarEndDateIsEarlierThanStartDate"},
      {Tag("t:DeleteItemField", Uri("calendar:IsMeeting")), "ErrorInvalidPropertyDelete"},
  };
  for (const auto& row : refused) EXPECT_EQ(Code(Change(id, row.change)), row.code) << row.change;
}

TEST_F(ItemClasses, EntriesOfADictionaryAreChangedOneByOne) {
  const std::string id = ItemId(SaveKind(Person()));
  const auto contact = [](const std::string& name, const std::string& entry) {
    return Tag("t:Contact", Tag("t:" + name, entry));
  };
  const std::string answer = Change(
      id, Tag("t:SetItemField", Indexed("contacts:PhoneNumber", "HomePhone") +
                                    contact("PhoneNumbers", Entry("HomePhone", "new"))) +
              Tag("t:DeleteItemField", Indexed("contacts:PhoneNumber", "TtyTddPhone")) +
              Tag("t:DeleteItemField", Indexed("contacts:ImAddress", "ImAddress1")) +
              Tag("t:SetItemField",
                  Indexed("contacts:PhysicalAddress:State", "Business") +
                      contact("PhysicalAddresses", Entry("Business", "<t:State>IdF</t:State>"))) +
              SetField(Uri("contacts:DisplayName"), "Contact",
                       "<t:DisplayName>M. Curie</t:DisplayName>"));
  ASSERT_EQ(Code(answer), "NoError") << answer;
  const std::string shown = Show(id);
  EXPECT_TRUE(
      Holds(shown, {Tag("t:PhoneNumbers", Entry("HomePhone", "new")),
                    "<t:City>Paris</t:City><t:State>IdF</t:State>", "<t:Subject>M. Curie<"}));
  EXPECT_TRUE(Lacks(shown, {"<t:ImAddresses>"}));
  const std::string one =
      Ask(GetItem(id, kIdOnly + Tag("t:AdditionalProperties",
                                    Indexed("contacts:EmailAddress", "EmailAddress1"))));
  EXPECT_TRUE(Holds(one, {Tag("t:EmailAddresses", Entry("EmailAddress1", "marie@example.com"))}));
  EXPECT_TRUE(Lacks(one, {"EmailAddress3", "Curie"}));
}

// Each kind of change that an item could be searched or written anew for.
TEST_F(ItemClasses, ManyChangesToOneItemCostWhatTheyHold) {
  const auto property = [](int i) {
    const std::string path =
        "<t:ExtendedFieldURI PropertyTag=\"" + std::to_string(i) + "\" PropertyType=\"String\"/>";
    return SetField(path, "Message", Tag("t:ExtendedProperty", path + "<t:Value>v</t:Value>"));
  };
  const auto attendee = [](int i) {
    return Tag("t:AppendToItemField",
               Uri("calendar:OptionalAttendees") +
                   Tag("t:CalendarItem",
                       Attendees("OptionalAttendees", "a" + std::to_string(i) + "@example.com")));
  };
  const auto phone = [](int i) {
    return SetField(Indexed("contacts:PhoneNumber", "Pager"), "Contact",
                    Tag("t:PhoneNumbers", Entry("Pager", "p" + std::to_string(i))));
  };
  const struct {
    Kind kind;
    int changes;
    std::function<std::string(int)> change;
    std::string shown;
  } rows[] = {
      {{"Message", "inbox", {}}, 60000, property, "<t:Value>v<"},
      {Meeting(), 20000, attendee, "<t:EmailAddress>a19999@example.com<"},
      {{"Contact",
        "contacts",
        {Tag("t:PhoneNumbers", Entry("HomePhone", std::string(500000, '1')))}},
       20000,
       phone,
       Entry("Pager", "p19999")},
  };
  const std::string asked =
      Tag("t:AdditionalProperties",
          "<t:ExtendedFieldURI PropertyTag=\"59999\" PropertyType=\"String\"/>");
  const auto cost = [&](const auto& row, int from) {
    const std::string id = ItemId(SaveKind(row.kind));
    std::string changes;
    for (int i = from; i < row.changes; ++i) changes += row.change(i);
    const std::string request = ChangeRequest(id, changes);
    const double taken =
        test_support::WorkTime([&] { EXPECT_EQ(Code(Answer(request)), "NoError"); });
    EXPECT_TRUE(Holds(Answer(GetItem(id, kAll + asked)), {row.shown}));
    return taken;
  };
  // Four times as many cost four times as much, and not sixteen times.
  for (const auto& row : rows) {
    EXPECT_LT(cost(row, 0), 9 * cost(row, row.changes - row.changes / 4)) << row.kind.element;
  }
}

TEST_F(ItemClasses, DeletingAndMovingAskForWhatEachClassNeeds) {
  const std::string meeting = ItemId(SaveKind(Meeting()));
  const std::string task = ItemId(SaveIn("tasks", "Task", ""));
  const auto remove = [&](const std::string& id, const std::string& more) {
    return Code(Ask(DeleteRequest(IdTag("t:ItemId", id), "HardDelete", more)));
  };
  EXPECT_EQ(remove(meeting, ""), "ErrorSendMeetingCancellationsRequired");
  EXPECT_EQ(remove(task, ""), "ErrorAffectedTaskOccurrencesRequired");
  const auto move = [&](const std::string& id, const std::string& folder) {
    return Ask(Envelope(
        Tag("m:MoveItem", Tag("m:ToFolderId", folder) + Tag("m:ItemIds", IdTag("t:ItemId", id)))));
  };
  const std::string before = ChangeKey(Show(meeting));
  const std::string moved = move(meeting, WellKnown("deleteditems"));
  EXPECT_EQ(ItemId(moved), ItemId(Ask(FindItem(WellKnown("deleteditems"), kAll))));
  EXPECT_NE(ChangeKey(moved), before);
  EXPECT_EQ(ChangeKey(moved), ChangeKey(Show(meeting)));
  const std::string elsewhere =
      mailbox::MakeId(mailbox::IdKind::kFolder, Inbox("other@example.com").id);
  EXPECT_EQ(Code(move(meeting, ById(elsewhere))), "ErrorCrossMailboxMoveCopy");
  EXPECT_EQ(Code(move(meeting, ById("nonsense"))), "ErrorInvalidIdMalformed");
  EXPECT_EQ(remove(meeting, " SendMeetingCancellations=\"SendToNone\""), "NoError");
  EXPECT_EQ(remove(task, " AffectedTaskOccurrences=\"AllOccurrences\""), "NoError");
  EXPECT_EQ(Code(move(meeting, WellKnown("inbox"))), "ErrorItemNotFound");
}

TEST_F(ItemClasses, FieldsOfEveryClassCanBeSearchedForAndSortedBy) {
  const std::string person = ItemId(SaveKind(Person()));
  const std::string other = ItemId(SaveIn("contacts", "Contact", "<t:Surname>Abel</t:Surname>"));
  const auto is = [](const std::string& path, const std::string& value) {
    return Restriction(Equal(path, value));
  };
  const auto find = [&](const std::string& folder, const std::string& search) {
    return Ask(FindItem(WellKnown(folder), kIdOnly, search));
  };
  EXPECT_EQ(ItemId(find("contacts", is(Uri("contacts:Surname"), "CURIE"))), person);
  EXPECT_EQ(
      ItemId(find("contacts", is(Indexed("contacts:PhysicalAddress:City", "Business"), "paris"))),
      person);
  EXPECT_EQ(ItemId(find("contacts", Tag("m:SortOrder", Tag("t:FieldOrder", Uri("contacts:Surname"),
                                                           " Order=\"Ascending\"")))),
            other);
  const std::string meeting = ItemId(SaveKind(Meeting()));
  EXPECT_EQ(ItemId(find("calendar", is(Uri("calendar:Start"), "2024-03-11T09:00:00Z"))), meeting);
  EXPECT_EQ(ItemId(find("calendar", is(Uri("calendar:IsAllDayEvent"), "false"))), meeting);
  EXPECT_EQ(ItemId(find("calendar", is(Uri("task:Owner"), "x"))), "");
  EXPECT_EQ(Code(find("calendar", is(Uri("calendar:Recurrence"), "x"))),
            "ErrorUnsupportedPathForQuery");
}

// The server's own words for the sets and their GUIDs name the same.
TEST_F(ItemClasses, APropertyIsFoundUnderEitherNameOfItsSet) {
  const std::string byGuid =
      "<t:ExtendedFieldURI PropertySetId=\"00020329-0000-0000-C000-000000000046\" "
      "PropertyName=\"Key\" PropertyType=\"String\"/>";
  const std::string byName =
      "<t:ExtendedFieldURI DistinguishedPropertySetId=\"PublicStrings\" PropertyName=\"Key\" "
      "PropertyType=\"String\"/>";
  const std::string id =
      ItemId(Save(Tag("t:ExtendedProperty", byGuid + "<t:Value>here</t:Value>")));
  for (const std::string& path : {byGuid, byName}) {
    const std::string search = Restriction(Equal(path, "HERE"));
    EXPECT_EQ(ItemId(Ask(FindItem(WellKnown("inbox"), kIdOnly, search))), id);
    EXPECT_TRUE(Holds(Show(id, Tag("t:AdditionalProperties", path)), {path, "<t:Value>here<"}));
  }
}

}  // namespace
