#include <array>
#include <thread>

#include "mailboxd/Server.h"
#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

constexpr char kAlways[] = "AlwaysOverwrite";

// Changes to saved items, as a client makes them: over HTTP.
class UpdateItem : public testing::Test {
 protected:
  UpdateItem() : m_server(Options()) { m_server.Start(); }

  mailbox::ServerOptions Options() const {
    mailbox::ServerOptions options;
    options.dataFolder = m_folder.Path();
    options.maximumMessageSize = 100000;
    return options;
  }
  std::string Ask(const std::string& request) {
    const Reply reply = Send({m_server.EwsUrl(), request});
    EXPECT_EQ(reply.result, CURLE_OK);
    ExpectInSchema(reply.body);
    return reply.body;
  }
  // Saves a message and keeps its id and change key.
  void Save(const std::string& fields) {
    const std::string answer = Ask(CreateMessage(WellKnown("inbox"), fields));
    m_id = ItemId(answer);
    m_key = Find(answer, "ChangeKey=\"([^\"]*)\"");
  }
  std::string Change(const std::string& updates, const std::string& resolution = kAlways,
                     const std::string& disposition = " MessageDisposition=\"SaveOnly\"") {
    return Envelope("<m:UpdateItem ConflictResolution=\"" + resolution + "\"" + disposition +
                    "><m:ItemChanges><t:ItemChange><t:ItemId Id=\"" + m_id + "\"" +
                    (m_key.empty() ? "" : " ChangeKey=\"" + m_key + "\"") + "/><t:Updates>" +
                    updates + "</t:Updates></t:ItemChange></m:ItemChanges></m:UpdateItem>");
  }
  static std::string Field(const std::string& uri) {
    return "<t:FieldURI FieldURI=\"" + uri + "\"/>";
  }
  static std::string Set(const std::string& path, const std::string& value) {
    return "<t:SetItemField>" + path + "<t:Message>" + value + "</t:Message></t:SetItemField>";
  }
  static std::string Delete(const std::string& path) {
    return "<t:DeleteItemField>" + path + "</t:DeleteItemField>";
  }
  static std::string Append(const std::string& path, const std::string& value) {
    return "<t:AppendToItemField>" + path + "<t:Message>" + value +
           "</t:Message></t:AppendToItemField>";
  }
  std::string Show(const std::string& more = "") {
    return Ask(GetItem(m_id, "<t:BaseShape>AllProperties</t:BaseShape>" + more));
  }
  static std::string Mailboxes(const std::string& element, const std::string& address) {
    return "<t:" + element + "><t:Mailbox><t:EmailAddress>" + address +
           "</t:EmailAddress></t:Mailbox></t:" + element + ">";
  }

  TempFolder m_folder;
  mailbox::Server m_server;
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
      {Set(Field("item:Subject"), "<t:Subject>new &amp; better</t:Subject>"),
       "<t:Subject>new &amp; better<"},
      {Set(tag, "<t:ExtendedProperty>" + tag + "<t:Value>tagged</t:Value></t:ExtendedProperty>"),
       "<t:Subject>tagged<"},
      {Set(Field("item:Subject"), "<t:Subject>again</t:Subject>"),
       "PropertyTag=\"0x37\" PropertyType=\"String\"/><t:Value>again<"},
      {Delete(tag), "<t:Subject></t:Subject>"},
      {Delete(tag), "<t:Subject></t:Subject>"},
      {Set(Field("message:IsRead"), "<t:IsRead>true</t:IsRead>"), "<t:IsRead>true<"},
      {Set(Field("item:Importance"), "<t:Importance>High</t:Importance>"), "<t:Importance>High<"},
      {Set(Field("item:Categories"), "<t:Categories><t:String>one</t:String></t:Categories>"),
       "<t:Categories><t:String>one</t:String></t:Categories>"},
      {Set(Field("item:Categories"), "<t:Categories><t:String>two</t:String></t:Categories>"),
       "<t:Categories><t:String>two</t:String></t:Categories>"},
      {Delete(Field("item:Categories")), "-<t:Categories>"},
      {Set(Field("message:ToRecipients"), Mailboxes("ToRecipients", "a@x.example")),
       "<t:DisplayTo>a@x.example<"},
      {Append(Field("message:ToRecipients"), Mailboxes("ToRecipients", "b@x.example")),
       "<t:DisplayTo>a@x.example; b@x.example<"},
      {Delete(Field("message:ToRecipients")), "<t:DisplayTo></t:DisplayTo>"},
      {Delete(Field("message:From")), "-<t:From>"},
      {Append(Field("item:Body"), "<t:Body BodyType=\"Text\"> more</t:Body>"),
       "<t:Body BodyType=\"Text\">text of the mail more<"},
      {Delete(Field("item:Body")), "<t:Body BodyType=\"Text\"></t:Body>"},
      {Set(Field("item:Body"), "<t:Body BodyType=\"HTML\">&lt;b&gt;</t:Body>"),
       "<t:Body BodyType=\"HTML\">&lt;b&gt;<"},
  };
  Save(MimeField("Subject: s\r\nFrom: a@x\r\n\r\ntext of the mail"));
  std::string key;
  for (const Row& row : rows) {
    const std::string answer = Ask(Change(row.update));
    EXPECT_EQ(Code(answer), "NoError") << row.update << answer;
    EXPECT_NE(answer.find("<m:ConflictResults><t:Count>0<"), std::string::npos);
    EXPECT_NE(Find(answer, "ChangeKey=\"([^\"]*)\""), key);
    key = Find(answer, "ChangeKey=\"([^\"]*)\"");
    const std::string shown = Show("<t:AdditionalProperties>" + tag + "</t:AdditionalProperties>");
    const bool absent = row.shown[0] == '-';
    EXPECT_EQ(shown.find(row.shown.substr(absent)) == std::string::npos, absent)
        << row.shown << "\n"
        << shown;
    EXPECT_EQ(Find(shown, "ChangeKey=\"([^\"]*)\""), key);
  }
  EXPECT_NE(Show("<t:IncludeMimeContent>true</t:IncludeMimeContent>").find("<t:MimeContent"),
            std::string::npos);
}

TEST_F(UpdateItem, RefusesWhatCannotBeChangedAndChangesNothingThen) {
  const std::string good = Set(Field("item:Subject"), "<t:Subject>half</t:Subject>");
  const std::array<std::array<std::string, 3>, 12> rows = {{
      {Set(Field("item:Size"), "<t:Size>1</t:Size>"), "ErrorInvalidPropertySet", "item:Size"},
      {Set(Field("item:MimeContent"), MimeField("x")), "ErrorInvalidPropertySet",
       "item:MimeContent"},
      {Set(Field("calendar:Start"), "<t:Subject/>"), "ErrorInvalidPropertySet", "calendar:Start"},
      {Set("<t:IndexedFieldURI FieldURI=\"item:InternetMessageHeader\" FieldIndex=\"X&amp;\"/>",
           "<t:Subject/>"),
       "ErrorInvalidPropertySet", "FieldIndex=\"X&amp;\""},
      {Delete(Field("message:IsRead")), "ErrorInvalidPropertyDelete", "message:IsRead"},
      {Delete(Field("item:ItemId")), "ErrorInvalidPropertyDelete", "item:ItemId"},
      {Append(Field("item:Subject"), "<t:Subject>x</t:Subject>"), "ErrorInvalidPropertyAppend",
       "item:Subject"},
      {Append(Field("item:Body"), "<t:Body BodyType=\"HTML\">x</t:Body>"),
       "ErrorInvalidPropertyAppend", "item:Body"},
      {Set(Field("item:Subject"), "<t:Importance>High</t:Importance>"),
       "ErrorUpdatePropertyMismatch", "item:Subject"},
      {Set(Field("item:Subject"), ""), "ErrorIncorrectUpdatePropertyCount", "item:Subject"},
      {Set(Field("item:Subject"), "<t:Subject/><t:Importance>High</t:Importance>"),
       "ErrorIncorrectUpdatePropertyCount", "item:Subject"},
      {Set(Field("item:Subject"), "<t:Subject>" + std::string(100001, 'x') + "</t:Subject>"),
       "ErrorMessageSizeExceeded", "The message exceeds"},
  }};
  Save("<t:Subject>whole</t:Subject><t:Body BodyType=\"Text\">b</t:Body>");
  for (const auto& [update, code, detail] : rows) {
    const std::string answer = Ask(Change(good + update));
    EXPECT_EQ(Code(answer), code) << answer;
    EXPECT_NE(answer.find(detail), std::string::npos) << answer;
  }
  EXPECT_EQ(Code(Ask(Change(good, kAlways, ""))), "ErrorMessageDispositionRequired");
  EXPECT_EQ(Code(Ask(Change(good, kAlways, " MessageDisposition=\"SendOnly\""))),
            "ErrorInvalidOperation");
  for (const std::string& bad :
       {Set(Field("item:Colour"), "<t:Subject/>"), Set("", "<t:Subject/>"), Delete(""),
        std::string(), "<t:SetItemField>" + Field("item:Subject") + "</t:SetItemField><t:Colour/>",
        Set(Field("item:Subject"), "<t:Colour/>"),
        Set(Field("item:Importance"), "<t:Importance>Urgent</t:Importance>")}) {
    EXPECT_EQ(Code(Ask(Change(bad))), "ErrorSchemaValidation") << bad;
  }
  EXPECT_EQ(Code(Ask(Change(good, "Sometimes"))), "ErrorSchemaValidation");
  EXPECT_NE(Show().find("<t:Subject>whole<"), std::string::npos);
  m_key = "x";
  EXPECT_EQ(Code(Ask(Change(good))), "ErrorInvalidChangeKey");
  m_key.clear();
  m_id = mailbox::MakeId(mailbox::IdKind::kItem, 999);
  EXPECT_EQ(Code(Ask(Change(good))), "ErrorItemNotFound");
  m_id = "-NO-";
  EXPECT_EQ(Code(Ask(Change(good))), "ErrorInvalidIdMalformed");
}

TEST_F(UpdateItem, TheChangeKeyDecidesUnlessAllIsOverwritten) {
  const std::string update = Set(Field("item:Subject"), "<t:Subject>x</t:Subject>");
  Save("<t:Subject>s</t:Subject>");
  const std::string current = m_key;
  m_key.clear();
  for (const char* resolution : {"NeverOverwrite", "AutoResolve"}) {
    EXPECT_EQ(Code(Ask(Change(update, resolution))), "ErrorChangeKeyRequiredForWriteOperations");
  }
  m_key = current;
  EXPECT_EQ(Code(Ask(Change(update, "NeverOverwrite"))), "NoError");
  EXPECT_EQ(Code(Ask(Change(update, "NeverOverwrite"))), "ErrorIrresolvableConflict");
  EXPECT_EQ(Code(Ask(Change(update, "AutoResolve"))), "NoError");
  EXPECT_EQ(Code(Ask(Change(update))), "NoError");
}

TEST_F(UpdateItem, FoldersCountWhatIsReadAndNoChangeIsLostAmongMany) {
  Save("<t:IsRead>false</t:IsRead>");
  const auto unread = [&] {
    return Find(Ask(Envelope("<m:GetFolder><m:FolderShape><t:BaseShape>AllProperties</t:BaseShape>"
                             "</m:FolderShape><m:FolderIds>" +
                             WellKnown("inbox") + "</m:FolderIds></m:GetFolder>")),
                "<t:UnreadCount>([0-9]*)<");
  };
  EXPECT_EQ(unread(), "1");
  Ask(Change(Set(Field("message:IsRead"), "<t:IsRead>true</t:IsRead>")));
  EXPECT_EQ(unread(), "0");
  std::vector<std::thread> clients;
  for (int c = 0; c < 4; ++c) {
    clients.emplace_back([&] {
      for (int i = 0; i < 10; ++i) {
        Send({m_server.EwsUrl(),
              Change(Append(Field("item:Body"), "<t:Body BodyType=\"Text\">x</t:Body>"))});
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(Find(Show(), "<t:Body BodyType=\"Text\">(x*)<"), std::string(40, 'x'));
}

}  // namespace
