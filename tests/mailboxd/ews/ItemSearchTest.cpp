#include "platform/Sqlite.h"
#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/MemoryRise.h"
#include "tests/support/WorkTime.h"

using namespace mailbox_test;

// A sanitizer keeps what was freed for a while, to see late uses of it: here no more than memory is
// measured by.
#ifdef __SANITIZE_ADDRESS__
constexpr long kKeptBySanitizer = 20;  // MB, with what it puts around blocks
extern "C" const char* __asan_default_options() { return "quarantine_size_mb=8"; }
#else
constexpr long kKeptBySanitizer = 0;
#endif

namespace {

const std::string kInbox = WellKnown("inbox");
const std::string kIdPath = "<t:ExtendedFieldURI PropertyTag=\"0x1035\" PropertyType=\"String\"/>";
const std::string kKeyPath =
    "<t:ExtendedFieldURI DistinguishedPropertySetId=\"PublicStrings\" PropertyName=\"Key\""
    " PropertyType=\"String\"/>";

std::string Order(const std::string& direction, const std::string& path) {
  return Tag("t:FieldOrder", path, " Order=\"" + direction + "\"");
}
std::string Page(int offset, int count, const std::string& base = "Beginning") {
  return "<m:IndexedPageItemView MaxEntriesReturned=\"" + std::to_string(count) + "\" Offset=\"" +
         std::to_string(offset) + "\" BasePoint=\"" + base + "\"/>";
}

class ItemSearch : public LocalMailbox {
 protected:
  // The subjects of what is found, in order.
  std::string Subjects(const std::string& answer) {
    std::string subjects;
    const std::regex pattern("<t:Subject>([^<]*)<");
    for (std::sregex_iterator it(answer.begin(), answer.end(), pattern), end; it != end; ++it) {
      subjects += (*it)[1].str() + " ";
    }
    return subjects;
  }
  std::string Found(const std::string& expression) {
    return Subjects(Ask(FindItem(kInbox, kDefault, Restriction(expression))));
  }
  std::string Sorted(const std::string& orders, const std::string& page = "") {
    return Subjects(Ask(FindItem(kInbox, kDefault, page + Tag("m:SortOrder", orders))));
  }
  void SaveKeyed(const std::string& mime, const std::string& key) {
    const std::string property = Tag("t:ExtendedProperty", kKeyPath + Tag("t:Value", key));
    EXPECT_EQ(Code(Save(MimeField(mime) + property)), "NoError");
  }
  // A folder of many, without a wait for the disk for each.
  void Fill(int count) {
    const std::string rows =
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i+1<" +
        std::to_string(count) + ") INSERT INTO ";
    platform::SqliteDatabase database(m_path);
    database.Execute(rows +
                     "items(id,folder,element,item_class,subject,is_read,is_draft,received,sent,"
                     "created,size,version,details,mail_has_files) SELECT NULL," +
                     std::to_string(Inbox().id) +
                     ",'Message','IPM.Note','s'||i,0,0,'','','',0,1,"
                     "json_object('messageId','<'||i||'@x>'),0 FROM n");
    database.Execute(
        "INSERT INTO item_texts SELECT id,'tag:0x1035',details->>'messageId' FROM items");
  }
};

TEST_F(ItemSearch, ItemsAreFoundByMessageIdKeyAndField) {
  SaveKeyed("Message-ID: <One@x>\r\nSubject: one\r\nDate: Tue, 5 Mar 2024 10:00:00 +0100\r\n\r\n",
            "k1");
  SaveKeyed("Message-ID: two@x\r\nSubject: two\r\nDate: Wed, 6 Mar 2024 10:00:00 +0100\r\n\r\n",
            "k2");
  Save(MimeField("Subject: other\r\n\r\n") + "<t:IsRead>true</t:IsRead>");
  SaveKeyed("Message-ID:\r\n <One@x>\r\nSubject: again\r\n\r\n", "K1");
  const std::string sent = Uri("item:DateTimeSent");
  const auto Excludes = [](const std::string& bits) {
    return Tag("t:Excludes", Uri("message:IsRead") + "<t:Bitmask Value=\"" + bits + "\"/>");
  };
  const std::string ids = Uri("message:InternetMessageId");
  const struct {
    std::string expression;
    const char* found;
  } rows[] = {
      {Equal(kIdPath, "&lt;One@x&gt;"), "one again "},
      {Equal(ids, "&lt;ONE@x&gt;"), "one again "},
      {Equal(kIdPath, "One@x"), ""},
      {Equal(kIdPath, "two@x"), "two "},
      {Equal(kIdPath, ""), ""},
      {Equal(kKeyPath, "k1"), "one again "},
      {Tag("t:Or", Equal(kIdPath, "&lt;One@x&gt;") + Equal(kKeyPath, "k2")), "one two again "},
      {Tag("t:Or", Equal(kIdPath, "two@x") + Equal(kKeyPath, "k2")), "two "},
      {Tag("t:Or", Equal(kIdPath, "two@x") + Equal(Uri("item:Subject"), "other")), "two other "},
      {Tag("t:And", Equal(Uri("item:Subject"), "again") + Equal(kKeyPath, "k1")), "again "},
      {Tag("t:Not", Equal(kKeyPath, "k1")), "two other "},
      {Compared("IsNotEqualTo", kIdPath, "two@x"), "one other again "},
      {Tag("t:Exists", kKeyPath), "one two again "},
      {Tag("t:Contains", kIdPath + "<t:Constant Value=\"@X\"/>",
           " ContainmentMode=\"Substring\" ContainmentComparison=\"IgnoreCase\""),
       "one two again "},
      {Compared("IsGreaterThan", sent, "2024-03-05T10:00:00+01:00"), "two "},
      {Compared("IsLessThanOrEqualTo", sent, "2024-03-05T09:00:00Z"), "one "},
      {Equal(Uri("message:IsRead"), "true"), "other "},
      {Excludes("0x1"), "one two again "},
      {Excludes("2"), "one two other again "},
  };
  for (const auto& row : rows) EXPECT_EQ(Found(row.expression), row.found) << row.expression;
  const auto refused = [&](const std::string& expression) {
    return Code(Ask(FindItem(kInbox, kIdOnly, Restriction(expression))));
  };
  EXPECT_EQ(refused(Equal(Uri("item:Body"), "x")), "ErrorUnsupportedPathForQuery");
  EXPECT_EQ(refused(Equal(sent, "yesterday")), "ErrorInvalidValueForProperty");
  EXPECT_EQ(refused(Tag("t:And", "")), "ErrorSchemaValidation");
  EXPECT_EQ(refused(Excludes("bits")), "ErrorInvalidExcludesRestriction");
}

TEST_F(ItemSearch, AListShowsTheMessageIdAndTheKey) {
  SaveKeyed("Message-ID: <One@x>\r\n\r\n", "k &lt;1");
  Save(MimeField("Subject: bare\r\n\r\n"));
  const std::string shape =
      std::string(kIdOnly) + Tag("t:AdditionalProperties", kIdPath + kKeyPath);
  const std::string list = Ask(FindItem(kInbox, shape));
  EXPECT_TRUE(
      Holds(list, {"PropertyTag=\"0x1035\" PropertyType=\"String\"/><t:Value>&lt;One@x&gt;<",
                   "PropertyName=\"Key\" PropertyType=\"String\"/><t:Value>k &lt;1<"}));
  EXPECT_EQ(CountOf(list, "<t:ExtendedProperty>"), 2u);
  EXPECT_TRUE(Holds(Ask(GetItem(ItemId(list), shape)), {"<t:Value>&lt;One@x&gt;<"}));
}

TEST_F(ItemSearch, OrdersAreKeptOverPages) {
  for (const char* subject : {"b", "C", "a", "c"}) {
    Save(Tag("t:Subject", subject) +
         (*subject == 'a' ? "" : "<t:InternetMessageId>&lt;x@x&gt;</t:InternetMessageId>"));
  }
  const std::string subject = Uri("item:Subject");
  EXPECT_EQ(Sorted(Order("Ascending", subject)), "a b C c ");
  EXPECT_EQ(Sorted(Order("Descending", subject)), "C c b a ");
  EXPECT_EQ(Sorted(Order("Descending", kIdPath) + Order("Ascending", subject)), "b C c a ");
  EXPECT_EQ(Sorted(Order("Ascending", subject), Page(1, 2)), "b C ");
  EXPECT_EQ(Sorted(Order("Ascending", subject), Page(1, 2, "End")), "b C ");
  EXPECT_TRUE(
      Holds(Ask(FindItem(kInbox, kIdOnly, Page(0, 1) + Restriction(Equal(kIdPath, "&lt;x@x&gt;")))),
            {"IndexedPagingOffset=\"1\" TotalItemsInView=\"3\" "
             "IncludesLastItemInRange=\"false\""}));
}

TEST_F(ItemSearch, NoPageHasMoreThanAThousandRowsAndTheNextGoesOn) {
  Fill(1001);
  const std::string first = Ask(FindItem(kInbox, kIdOnly, Page(0, 5000)));
  EXPECT_TRUE(Holds(first, {"IndexedPagingOffset=\"1000\"", "IncludesLastItemInRange=\"false\""}));
  EXPECT_EQ(CountOf(first, "<t:ItemId"), 1000u);
  EXPECT_EQ(CountOf(Ask(FindItem(kInbox, kIdOnly)), "<t:ItemId"), 1000u);
  const std::string last = Ask(FindItem(kInbox, kDefault, Page(1000, 5000)));
  EXPECT_EQ(Subjects(last), "s1000 ");
  EXPECT_TRUE(Holds(last, {"IncludesLastItemInRange=\"true\""}));
}

// However large the items of a page are, their bodies and mails are not read for a list.
TEST_F(ItemSearch, APageOfLargeItemsTakesLittleMemory) {
  constexpr int kItems = 60;  // of 2 MB
  constexpr long kMost = 10 + kKeptBySanitizer;
  Fill(kItems);
  platform::SqliteDatabase(m_path).Execute(
      "UPDATE items SET body=hex(zeroblob(1000000)),"
      "details=json_object('bodyType','Text','fields',json_array(json_array('Kept',"
      "hex(zeroblob(100000)))))");
  const std::string orders = Tag("m:SortOrder", Order("Ascending", Uri("item:Subject")));
  for (const std::string& how : {FindItem(kInbox, kIdOnly), FindItem(kInbox, kDefault),
                                 FindItem(kInbox, kDefault, orders)}) {
    size_t count = 0;
    EXPECT_LT(test_support::MemoryRise([&] { count = CountOf(Answer(how), "<t:ItemId"); }), kMost);
    EXPECT_EQ(count, static_cast<size_t>(kItems));
  }
}

TEST_F(ItemSearch, OneAmongManyIsFoundWithoutAWalk) {
  Fill(50000);
  const std::string request =
      FindItem(kInbox, kIdOnly,
               Restriction(Tag("t:Or", Equal(kIdPath, "&lt;30000@x&gt;") +
                                           Equal(kKeyPath, "&lt;30000@x&gt;"))));
  const std::string walk =
      FindItem(kInbox, kIdOnly, Restriction(Equal(Uri("item:Subject"), "s30000")));
  const auto time = [&](const std::string& asked) {
    return test_support::WorkTime([&] { EXPECT_EQ(CountOf(Answer(asked), "<t:ItemId"), 1u); });
  };
  time(request);
  EXPECT_LT(5 * std::min(time(request), time(request)), std::min(time(walk), time(walk)));
}

}  // namespace
