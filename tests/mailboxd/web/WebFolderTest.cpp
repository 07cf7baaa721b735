#include "mailboxd/web/WebPages.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

class WebFolder : public LocalMailbox {
 protected:
  std::string Look(const std::string& folder, const mailbox::WebQuery& query = {},
                   int status = 200) {
    const auto row = *m_store.FindWellKnown(m_store.Mailbox(m_login), folder);
    const mailbox::WebReply reply =
        mailbox::AnswerPage(m_store, "/folder/" + std::to_string(row), query);
    EXPECT_EQ(reply.status, status);
    return reply.body;
  }
  std::string LookAtItem(const std::string& id) {
    mailbox::IdKind kind{};
    const auto row = *mailbox::ReadId(id, &kind);
    return mailbox::AnswerPage(m_store, "/item/" + std::to_string(row), {}).body;
  }
};

std::string Meeting(const std::string& subject, const std::string& start) {
  return Tag("t:Subject", subject) + Tag("t:Start", start) + "<t:Location>Room</t:Location>";
}

TEST_F(WebFolder, AMonthHasItsDaysAndNoOthers) {
  SaveIn("calendar", "CalendarItem", Meeting("leap", "2024-02-29T23:59:59Z"));
  SaveIn("calendar", "CalendarItem", Meeting("march", "2024-03-01T00:00:00Z"));
  SaveIn("calendar", "CalendarItem", Meeting("long ago", "1999-12-31T10:00:00Z"));
  const std::string month = Look("calendar", {.month = "2024-02"});
  EXPECT_TRUE(
      Holds(month, {">leap</a>", "<h1>Calendar</h1>", "month=2024-01\">", "month=2024-03\">",
                    "month=1999-12\">« First", "datetime=\"2024-02-29\""}));
  EXPECT_TRUE(
      Lacks(month, {"march", "long ago", "datetime=\"2024-02-30\"", "datetime=\"2024-01-31\""}));
  // Nothing begins in this month, so the last in which something does is shown.
  EXPECT_TRUE(Holds(Look("calendar"), {">march</a>"}));
  EXPECT_TRUE(Holds(Look("calendar", {.page = "1"}), {">leap</a>", ">long ago</a>", "Room"}));
  for (const char* const bad : {"2024-13", "2024-00", "2024", "x", "2024-02-01", "0000-01"}) {
    Look("calendar", {.month = bad}, 404);
  }
}

TEST_F(WebFolder, ASeriesStandsOnEachOfItsDaysInTheZoneOfItsRequest) {
  const std::string recurrence =
      "<t:Recurrence><t:WeeklyRecurrence><t:Interval>1</t:Interval><t:DaysOfWeek>Monday"
      "</t:DaysOfWeek></t:WeeklyRecurrence><t:NoEndRecurrence><t:StartDate>2024-03-18+01:00"
      "</t:StartDate></t:NoEndRecurrence></t:Recurrence>";
  const std::string meeting =
      Tag("t:CalendarItem",
          Tag("t:Subject", "weekly") + "<t:Start>2024-03-18T09:00:00Z</t:Start>" + recurrence);
  const std::string request =
      Tag("m:CreateItem",
          Tag("m:SavedItemFolderId", WellKnown("calendar")) + Tag("m:Items", meeting), kQuietly);
  const std::string zone =
      Tag("t:TimeZoneContext", "<t:TimeZoneDefinition Id=\"W. Europe Standard Time\"/>");
  const std::string answer = Ask(Envelope(request, zone));
  ASSERT_EQ(Code(answer), "NoError") << answer;
  EXPECT_TRUE(Holds(Show(ItemId(answer)), {"<t:StartTimeZone Id=\"W. Europe Standard Time\""}));
  EXPECT_TRUE(Holds(LookAtItem(ItemId(answer)),
                    {"Weekly recurrence</span> 1, Monday; ", "No end recurrence</span> 2024-03-18",
                     "W. Europe Standard Time<"}));
  SaveIn("calendar", "CalendarItem", Meeting("once", "2024-04-08T07:00:00Z"));
  const std::string begin = Look("calendar", {.month = "2024-03"});
  EXPECT_EQ(CountOf(begin, ">weekly</a>"), 2u);
  EXPECT_TRUE(Holds(begin, {">09:00<"}));
  const std::string april = Look("calendar", {.month = "2024-04"});
  EXPECT_EQ(CountOf(april, ">weekly</a>"), 5u);
  EXPECT_EQ(CountOf(april, ">08:00<"), 5u);  // summer time
  EXPECT_LT(april.find(">07:00<"), april.find(">15</time>"));
  EXPECT_EQ(CountOf(Look("calendar", {.month = "2024-02"}), ">weekly</a>"), 0u);
  // It has no end, so it stands in this month, too.
  EXPECT_TRUE(Holds(Look("calendar"), {">weekly</a>"}));
}

TEST_F(WebFolder, ASearchFindsSubjectsAndPeopleAsTheyAreWritten) {
  for (int i = 0; i < 150; ++i) Save(Tag("t:Subject", "Weekly " + std::to_string(i)));
  Save(
      "<t:Subject>100% _sure_ \\ &lt;b&gt;</t:Subject><t:From><t:Mailbox><t:Name>Ann</t:Name>"
      "<t:EmailAddress>ann@example.com</t:EmailAddress></t:Mailbox></t:From>");
  EXPECT_TRUE(Holds(Look("inbox", {.search = "ANN@"}), {"1 item found", "_sure_"}));
  for (const char* const literal : {"100%", "_SURE_", "\\ <"}) {
    EXPECT_TRUE(Holds(Look("inbox", {.search = literal}), {"1 item found"})) << literal;
  }
  const std::string second = Look("inbox", {.page = "2", .search = "weekly"});
  EXPECT_TRUE(
      Holds(second, {"150 items found", ">Weekly 49<", ">Weekly 0<", "?page=1&amp;q=weekly"}));
  EXPECT_TRUE(Lacks(second, {">Weekly 50<"}));
  EXPECT_TRUE(Holds(Look("inbox", {.search = "\"><script>"}), {"0 items found", "value=\"&quot;"}));
  Look("inbox", {.page = "3", .search = "weekly"}, 404);
}

TEST_F(WebFolder, PeopleGroupsAndTasksAreListedByWhatTheyAre) {
  SaveIn("contacts", "Contact",
         "<t:DisplayName>Marie Curie</t:DisplayName><t:CompanyName>Sorbonne</t:CompanyName>"
         "<t:EmailAddresses><t:Entry Key=\"EmailAddress1\">marie@example.com</t:Entry>"
         "</t:EmailAddresses><t:PhoneNumbers><t:Entry Key=\"HomePhone\">+33 1</t:Entry>"
         "</t:PhoneNumbers>");
  SaveIn("contacts", "DistributionList",
         "<t:DisplayName>Team</t:DisplayName><t:Members><t:Member><t:Mailbox><t:EmailAddress>"
         "a@example.com</t:EmailAddress></t:Mailbox></t:Member></t:Members>");
  SaveIn("tasks", "Task",
         "<t:Subject>Write</t:Subject><t:DueDate>2024-03-15T00:00:00Z</t:DueDate>"
         "<t:Status>InProgress</t:Status>");
  EXPECT_TRUE(Holds(Look("contacts"), {">Marie Curie</a>", "marie@example.com", "+33 1", "Sorbonne",
                                       ">Team</a>", "Group, 1 member<"}));
  EXPECT_TRUE(Holds(Look("tasks"), {">Write</a>", "2024-03-15 00:00", "In progress"}));
}

TEST_F(WebFolder, AnItemShowsWhatElseWasSetOnIt) {
  const std::string id = ItemId(
      SaveIn("contacts", "Contact",
             "<t:Categories><t:String>Friends &lt;3</t:String></t:Categories>"
             "<t:ExtendedProperty><t:ExtendedFieldURI DistinguishedPropertySetId=\"Address\" "
             "PropertyId=\"14917\" PropertyType=\"String\"/><t:Value>Dr. &lt;x&gt;</t:Value>"
             "</t:ExtendedProperty><t:DisplayName>A</t:DisplayName><t:PhysicalAddresses>"
             "<t:Entry Key=\"Home\"><t:Street>1 rue</t:Street><t:City>Paris</t:City></t:Entry>"
             "</t:PhysicalAddresses><t:PhoneNumbers><t:Entry Key=\"Pager\">1</t:Entry>"
             "<t:Entry Key=\"HomePhone\">2</t:Entry></t:PhoneNumbers>"));
  EXPECT_TRUE(
      Holds(LookAtItem(id), {"Physical addresses", "Home</span> 1 rue, Paris<", "Pager</span> 1; ",
                             "Friends &lt;3<", "named:Address:id:14917", "Dr. &lt;x&gt;"}));
}

}  // namespace
