#include <array>
#include <thread>

#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

constexpr char kAlways[] = "AlwaysOverwrite";

// A path as it is, or that of the field of this name.
std::string Path(const std::string& path) {
  const bool isName = path.find(':') < path.find('<');
  return isName ? Uri(path) : path;
}
std::string Set(const std::string& path, const std::string& value) {
  return Tag("t:SetItemField", Path(path) + Tag("t:Message", value));
}
std::string Delete(const std::string& path) { return Tag("t:DeleteItemField", Path(path)); }
std::string Append(const std::string& path, const std::string& value) {
  return Tag("t:AppendToItemField", Path(path) + Tag("t:Message", value));
}
// The field, with the element that is named as it is.
std::string SetTo(const std::string& uri, const std::string& content) {
  return Set(uri, Tag("t:" + uri.substr(uri.find(':') + 1), content));
}
std::string ToAddress(const std::string& address) {
  return Tag("t:ToRecipients", Tag("t:Mailbox", Tag("t:EmailAddress", address)));
}

// Changes to a saved message.
class UpdateItem : public LocalMailbox {
 protected:
  UpdateItem() { m_limit = 100000; }
  // Saves the message and keeps its id and change key.
  void Keep(const std::string& fields) {
    const std::string answer = Save(fields);
    m_id = ItemId(answer);
    m_key = ChangeKey(answer);
  }
  std::string Request(const std::string& updates, const std::string& resolution = kAlways,
                      const std::string& disposition = " MessageDisposition=\"SaveOnly\"") {
    const std::string key = m_key.empty() ? "" : " ChangeKey=\"" + m_key + "\"";
    return UpdateRequest(Tag("t:ItemId", "", " Id=\"" + m_id + "\"" + key), updates,
                         " ConflictResolution=\"" + resolution + "\"" + disposition);
  }
  std::string Change(const std::string& updates, const std::string& resolution = kAlways) {
    return Ask(Request(updates, resolution));
  }

  std::string m_id;
  std::string m_key;
};

struct Row {
  std::string update;
  std::string shown;  // by GetItem afterwards; with "-" in front: not there
};

TEST_F(UpdateItem, SetsDeletesAndAppends) {
  const std::string tag = "<t:ExtendedFieldURI PropertyTag=\"0x37\" PropertyType=\"String\"/>";
  const Row rows[] = {
      {SetTo("item:Subject", "new &amp; better"), "<t:Subject>new &amp; better<"},
      {Set(tag, "<t:ExtendedProperty>" + tag + "<t:Value>tagged</t:Value></t:ExtendedProperty>"),
       "<t:Subject>tagged<"},
      {SetTo("item:Subject", "again"),
       "PropertyTag=\"0x37\" PropertyType=\"String\"/><t:Value>again<"},
      {Delete(tag), "<t:Subject></t:Subject>"},
      {Delete(tag), "<t:Subject></t:Subject>"},
      {SetTo("message:IsRead", "true"), "<t:IsRead>true<"},
      {SetTo("item:Importance", "High"), "<t:Importance>High<"},
      {SetTo("item:Categories", "<t:String>one</t:String>"),
       "<t:Categories><t:String>one</t:String></t:Categories>"},
      {SetTo("item:Categories", "<t:String>two</t:String>"),
       "<t:Categories><t:String>two</t:String></t:Categories>"},
      {Delete("item:Categories"), "-<t:Categories>"},
      {Set("message:ToRecipients", ToAddress("a@x.example")), "<t:DisplayTo>a@x.example<"},
      {Append("message:ToRecipients", ToAddress("b@x.example")),
       "<t:DisplayTo>a@x.example; b@x.example<"},
      {Delete("message:ToRecipients"), "<t:DisplayTo></t:DisplayTo>"},
      {Delete("message:From"), "-<t:From>"},
      {Append("item:Body", "<t:Body BodyType=\"Text\"> more</t:Body>"),
       "<t:Body BodyType=\"Text\">text of the mail more<"},
      {Delete("item:Body"), "<t:Body BodyType=\"Text\"></t:Body>"},
      {Set("item:Body", "<t:Body BodyType=\"HTML\">&lt;b&gt;</t:Body>"),
       "<t:Body BodyType=\"HTML\">&lt;b&gt;<"},
  };
  Keep(MimeField("Subject: s\r\nFrom: a@x\r\n\r\ntext of the mail"));
  std::string key;
  for (const Row& row : rows) {
    const std::string answer = Change(row.update);
    EXPECT_EQ(Code(answer), "NoError") << row.update << answer;
    EXPECT_TRUE(Holds(answer, {"<m:ConflictResults><t:Count>0<"}));
    EXPECT_NE(ChangeKey(answer), key);
    key = ChangeKey(answer);
    const std::string shown = Show(m_id, Tag("t:AdditionalProperties", tag));
    const bool absent = row.shown[0] == '-';
    EXPECT_TRUE(absent ? Lacks(shown, {row.shown.substr(1)}) : Holds(shown, {row.shown}));
    EXPECT_EQ(ChangeKey(shown), key);
  }
  EXPECT_TRUE(
      Holds(Show(m_id, "<t:IncludeMimeContent>true</t:IncludeMimeContent>"), {"<t:MimeContent"}));
}

TEST_F(UpdateItem, RefusesWhatCannotBeChangedAndChangesNothingThen) {
  const std::string good = SetTo("item:Subject", "half");
  const std::array<std::array<std::string, 3>, 12> rows = {{
      {SetTo("item:Size", "1"), "ErrorInvalidPropertySet", "item:Size"},
      {Set("item:MimeContent", MimeField("x")), "ErrorInvalidPropertySet", "item:MimeContent"},
      {Set("calendar:Start", "<t:Subject/>"), "ErrorInvalidPropertySet", "calendar:Start"},
      {Set("<t:IndexedFieldURI FieldURI=\"item:InternetMessageHeader\" FieldIndex=\"X&amp;\"/>",
           "<t:Subject/>"),
       "ErrorInvalidPropertySet", "FieldIndex=\"X&amp;\""},
      {Delete("message:IsRead"), "ErrorInvalidPropertyDelete", "message:IsRead"},
      {Delete("item:ItemId"), "ErrorInvalidPropertyDelete", "item:ItemId"},
      {Append("item:Subject", "<t:Subject>x</t:Subject>"), "ErrorInvalidPropertyAppend",
       "item:Subject"},
      {Append("item:Body", "<t:Body BodyType=\"HTML\">x</t:Body>"), "ErrorInvalidPropertyAppend",
       "item:Body"},
      {Set("item:Subject", "<t:Importance>High</t:Importance>"), "ErrorUpdatePropertyMismatch",
       "item:Subject"},
      {Set("item:Subject", ""), "ErrorIncorrectUpdatePropertyCount", "item:Subject"},
      {Set("item:Subject", "<t:Subject/><t:Importance>High</t:Importance>"),
       "ErrorIncorrectUpdatePropertyCount", "item:Subject"},
      {SetTo("item:Subject", std::string(100001, 'x')), "ErrorMessageSizeExceeded",
       "The message exceeds"},
  }};
  Keep("<t:Subject>whole</t:Subject><t:Body BodyType=\"Text\">b</t:Body>");
  for (const auto& [update, code, detail] : rows) {
    const std::string answer = Change(good + update);
    EXPECT_EQ(Code(answer), code) << answer;
    EXPECT_TRUE(Holds(answer, {detail}));
  }
  EXPECT_EQ(Code(Ask(Request(good, kAlways, ""))), "ErrorMessageDispositionRequired");
  EXPECT_EQ(Code(Ask(Request(good, kAlways, " MessageDisposition=\"SendOnly\""))),
            "ErrorInvalidOperation");
  for (const std::string& bad :
       {Set("item:Colour", "<t:Subject/>"), Set("", "<t:Subject/>"), Delete(""), std::string(),
        "<t:SetItemField>" + Path("item:Subject") + "</t:SetItemField><t:Colour/>",
        Set("item:Subject", "<t:Colour/>"), SetTo("item:Importance", "Urgent")}) {
    EXPECT_EQ(Code(Change(bad)), "ErrorSchemaValidation") << bad;
  }
  EXPECT_EQ(Code(Change(good, "Sometimes")), "ErrorSchemaValidation");
  EXPECT_TRUE(Holds(Show(m_id), {"<t:Subject>whole<"}));
  m_key = "x";
  EXPECT_EQ(Code(Change(good)), "ErrorInvalidChangeKey");
  m_key.clear();
  m_id = mailbox::MakeId(mailbox::IdKind::kItem, 999);
  EXPECT_EQ(Code(Change(good)), "ErrorItemNotFound");
  m_id = "-NO-";
  EXPECT_EQ(Code(Change(good)), "ErrorInvalidIdMalformed");
}

TEST_F(UpdateItem, TheChangeKeyDecidesUnlessAllIsOverwritten) {
  const std::string update = SetTo("item:Subject", "x");
  Keep("<t:Subject>s</t:Subject>");
  const std::string current = m_key;
  m_key.clear();
  for (const char* resolution : {"NeverOverwrite", "AutoResolve"}) {
    EXPECT_EQ(Code(Change(update, resolution)), "ErrorChangeKeyRequiredForWriteOperations");
  }
  m_key = current;
  EXPECT_EQ(Code(Change(update, "NeverOverwrite")), "NoError");
  EXPECT_EQ(Code(Change(update, "NeverOverwrite")), "ErrorIrresolvableConflict");
  EXPECT_EQ(Code(Change(update, "AutoResolve")), "NoError");
  EXPECT_EQ(Code(Change(update)), "NoError");
}

TEST_F(UpdateItem, FoldersCountWhatIsReadAndNoChangeIsLostAmongMany) {
  Keep("<t:IsRead>false</t:IsRead>");
  const auto unread = [&] {
    return Find(Ask(GetFolder(WellKnown("inbox"))), "<t:UnreadCount>([0-9]*)<");
  };
  EXPECT_EQ(unread(), "1");
  Change(SetTo("message:IsRead", "true"));
  EXPECT_EQ(unread(), "0");
  std::vector<std::thread> clients;
  for (int c = 0; c < 4; ++c) {
    clients.emplace_back([&] {
      for (int i = 0; i < 10; ++i) {
        Answer(Request(Append("item:Body", "<t:Body BodyType=\"Text\">x</t:Body>")));
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(Find(Show(m_id), "<t:Body BodyType=\"Text\">(x*)<"), std::string(40, 'x'));
}

}  // namespace
