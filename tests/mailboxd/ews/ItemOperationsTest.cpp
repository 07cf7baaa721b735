#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

using ItemOperations = LocalMailbox;

std::string Property(const std::string& tag, const std::string& type, const std::string& value) {
  return Tag("t:ExtendedProperty", "<t:ExtendedFieldURI PropertyTag=\"" + tag +
                                       "\" PropertyType=\"" + type + "\"/>" +
                                       Tag("t:Value", value));
}

TEST_F(ItemOperations, MimeComesBackByteForByte) {
  std::string all = "Subject: all bytes\n\n";
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  for (const std::string& message :
       {std::string(), std::string("x"), std::string("\0\0", 2), std::string("\r\r\n\n"), all,
        std::string(300000, '\xFF'), std::string("Subject: caf\xE9 \x01\r\n\r\nbody")}) {
    const std::string answer = Save(MimeField(message));
    ASSERT_EQ(Code(answer), "NoError");
    EXPECT_EQ(BytesIn(Ask(GetItem(ItemId(answer), kMime))), message);
  }
}

// What is saved, and what is shown of it then.
struct Saved {
  const char* what;
  std::string fields;
  std::vector<std::string_view> shown;
  std::string asked = {};  // properties besides
};

std::vector<Saved> SavedItems() {
  const std::string mime =
      MimeField("From: Ann <ann@example.com>\r\nSubject: from\r\n header\r\n\r\nx");
  const auto asking = [](const std::string& property) {
    return Tag("t:AdditionalProperties", "<t:ExtendedFieldURI " + property + "/>");
  };
  return {
      {"the fields of a mail, decoded",
       MimeField(
           "Received: from a by b; Tue, 5 Mar 2024 10:00:00 +0100\r\n"
           "From: =?utf-8?Q?Ott,_J=C3=BCrgen?= <j@x.example>\r\nTo: a@x.example, B "
           "<b@x.example>\r\n"
           "Cc: c@x.example\r\nDate: Tue, 5 Mar 2024 09:59:00 +0100\r\nX-Priority: 1 (Highest)\r\n"
           "Subject: =?iso-8859-1?Q?Gr=FC=DFe?=\r\nIn-Reply-To: <r@x>\r\n"
           "Content-Type: text/html; charset=koi8-r\r\n\r\n<b>\xC4</b>"),
       {"<t:Subject>Grüße<", "<t:DateTimeReceived>2024-03-05T09:00:00Z<",
        "<t:DateTimeSent>2024-03-05T08:59:00Z<", "<t:Body BodyType=\"HTML\">&lt;b&gt;д&lt;/b&gt;<",
        "<t:Importance>High<", "<t:InReplyTo>&lt;r@x&gt;<", "<t:Name>Ott, Jürgen<",
        "<t:DisplayTo>a@x.example; B<", "<t:EmailAddress>c@x.example<"}},
      {"folded fields", mime, {"<t:Subject>from header<", "<t:EmailAddress>ann@example.com<"}},
      {"a field of the request before the mail's",
       mime + "<t:Subject>own</t:Subject>",
       {"<t:Subject>own<"}},
      {"a property before the mail's field",
       mime + Property("55", "String", "tagged"),
       {"<t:Subject>tagged<"}},
      {"a text in several pieces",
       "<t:Subject>a<!-- b -->c<![CDATA[<d>]]>e</t:Subject>",
       {"<t:Subject>ac&lt;d&gt;e<"}},
      {"IsRead before the flags, which say that it is no draft",
       Property("3591", "Integer", "1") + "<t:IsRead>false</t:IsRead>",
       {"<t:IsRead>false<", "<t:IsDraft>false<",
        "PropertyTag=\"0xe07\" PropertyType=\"Integer\"/><t:Value>0<"},
       asking("PropertyTag=\"0x0E07\" PropertyType=\"Integer\"")},
      {"a draft without flags",
       "<t:IsRead>true</t:IsRead>",
       {"<t:IsRead>true<", "<t:IsDraft>true<"}},
      {"fields as they were given",
       "<t:Sensitivity>Private</t:Sensitivity><t:Body BodyType=\"HTML\">&lt;b&gt;1 &amp;amp; "
       "2&lt;/b&gt;</t:Body><t:Categories><t:String>Blue &amp; green</t:String></t:Categories>"
       "<t:Importance>High</t:Importance>" +
           Property("3590", "SystemTime", "2024-03-05T11:15:00.000+02:00") +
           "<t:ExtendedProperty><t:ExtendedFieldURI "
           "PropertySetId=\"00062008-0000-0000-C000-000000000046\" PropertyId=\"34051\" "
           "PropertyType=\"StringArray\"/><t:Values><t:Value>a</t:Value><t:Value>b</t:Value>"
           "</t:Values></t:ExtendedProperty><t:ToRecipients><t:Mailbox><t:EmailAddress>"
           "Eve &lt;eve@example.com&gt;</t:EmailAddress></t:Mailbox></t:ToRecipients>",
       {"<t:Sensitivity>Private<", "<t:Body BodyType=\"HTML\">&lt;b&gt;1 &amp;amp; 2&lt;/b&gt;<",
        "<t:String>Blue &amp; green<", "<t:Importance>High<",
        "<t:DateTimeReceived>2024-03-05T09:15:00Z<", "<t:Value>a</t:Value><t:Value>b</t:Value>",
        "<t:EmailAddress>Eve &lt;eve@example.com&gt;<"},
       asking("PropertySetId=\"00062008-0000-0000-c000-000000000046\" PropertyId=\"34051\" "
              "PropertyType=\"StringArray\"")},
  };
}

TEST_F(ItemOperations, ItemsAreShownAsTheirMailSaysAndFirstAsTheRequestSaid) {
  for (const Saved& row : SavedItems()) {
    EXPECT_TRUE(Holds(Show(ItemId(Save(row.fields)), row.asked), row.shown)) << row.what;
  }
}

TEST_F(ItemOperations, AttachmentsTravelWithTheItemAndAfterIt) {
  const auto file = [](const std::string& name, const std::string& bytes) {
    return Tag("t:FileAttachment",
               Tag("t:Name", name) +
                   "<t:ContentType>image/png</t:ContentType><t:ContentId>c@x</t:ContentId>"
                   "<t:IsInline>false</t:IsInline><t:IsContactPhoto>false</t:IsContactPhoto>" +
                   Tag("t:Content", platform::Base64Encode(bytes)));
  };
  const std::string bytes("\0\xFF\r\n", 4);
  const std::string saved = Save(Tag("t:Attachments", file("a", bytes) + file("b", "")));
  EXPECT_EQ(CountOf(saved, "<t:AttachmentId "), 2u);
  const std::string added =
      Ask(Envelope(Tag("m:CreateAttachment", IdTag("m:ParentItemId", ItemId(saved)) +
                                                 Tag("m:Attachments", file("c", "third")))));
  EXPECT_EQ(Code(added), "NoError");
  EXPECT_NE(Find(added, "RootItemChangeKey=\"([^\"]*)\""), ChangeKey(saved));
  EXPECT_EQ(CountOf(Show(ItemId(saved)), "<t:FileAttachment>"), 3u);
  EXPECT_EQ(BytesIn(Ask(GetAttachment(AttachmentId(saved)))), bytes);
}

std::string AttachedItem(const std::string& item) {
  return Tag("t:Attachments", Tag("t:ItemAttachment",
                                  "<t:Name>inside</t:Name><t:IsInline>false</t:IsInline>" + item));
}

TEST_F(ItemOperations, ItemsOfEveryClassTravelInsideAnother) {
  const std::string file = Tag(
      "t:Attachments", Tag("t:FileAttachment", "<t:Name>f</t:Name><t:Content>AQI=</t:Content>"));
  const std::string mime = "Subject: inner\r\n\r\nbody";
  const struct {
    std::string item;
    std::vector<std::string_view> shown;
  } rows[] = {
      {Tag("t:Message", MimeField(mime)), {"<t:Subject>inner<", "<t:Body BodyType=\"Text\">body<"}},
      {Tag("t:CalendarItem",
           "<t:Subject>x</t:Subject>" + file + "<t:Start>2024-03-11T10:00:00Z</t:Start>"),
       {"<t:CalendarItem><t:ItemClass>IPM.Appointment<", "<t:Content>AQI=<",
        "<t:Start>2024-03-11T10:00:00Z<"}},
      {Tag("t:Contact", "<t:Surname>Curie</t:Surname>"), {"<t:Surname>Curie<"}},
  };
  for (const auto& row : rows) {
    const std::string saved = Save(AttachedItem(row.item));
    ASSERT_TRUE(Holds(saved, {"<t:ItemAttachment><t:AttachmentId "}));
    const std::string id = AttachmentId(saved);
    EXPECT_TRUE(Holds(Show(ItemId(saved)), {"<t:ItemAttachment>", "<t:Name>inside<"}));
    EXPECT_TRUE(Holds(Ask(GetAttachment(id)), row.shown));
  }
  const std::string id = AttachmentId(Save(AttachedItem(rows[0].item)));
  EXPECT_EQ(
      BytesIn(Ask(GetAttachment(
          id, Tag("m:AttachmentShape", "<t:IncludeMimeContent>true</t:IncludeMimeContent>")))),
      mime);
}

TEST_F(ItemOperations, AttachedItemsThatCannotBeAreRefused) {
  std::string nested = Tag("t:Message", "");
  for (int i = 0; i < 4; ++i) nested = Tag("t:Message", AttachedItem(nested));
  const struct {
    std::string item;
    const char* code;
  } rows[] = {
      {"", "ErrorMissingItemForCreateItemAttachment"},
      {Tag("t:Message", "") + Tag("t:Task", ""),
       "ErrorInvalidItemForOperationCreateItemAttachment"},
      {Tag("t:Message", "<t:MimeContent>!</t:MimeContent>"), "ErrorMimeContentInvalidBase64String"},
      {Tag("t:Task", "<t:IsComplete>true</t:IsComplete>"), "ErrorInvalidPropertySet"},
      {nested, "ErrorAttachmentNestLevelLimitExceeded"},
  };
  for (const auto& row : rows) EXPECT_EQ(Code(Save(AttachedItem(row.item))), row.code) << row.item;
  EXPECT_EQ(Code(Save(Find(nested, "^<t:Message>(.*)</t:Message>$"))), "NoError");
}

std::string Attached(const std::string& content) {
  return Tag("t:Attachments", Tag("t:FileAttachment", Tag("t:Content", content)));
}

TEST_F(ItemOperations, WhatIsTooLargeOrDamagedIsRefused) {
  m_limit = 1000;
  const std::string body = Tag("t:Body", std::string(900, 'x'), " BodyType=\"Text\"");
  const struct {
    std::string fields;
    const char* code;
  } rows[] = {
      {MimeField(std::string(1001, 'x')), "ErrorMessageSizeExceeded"},
      {body + Attached(platform::Base64Encode(std::string(101, 'y'))), "ErrorMessageSizeExceeded"},
      {"<t:MimeContent>!!!</t:MimeContent>", "ErrorMimeContentInvalidBase64String"},
      {Attached("!"), "ErrorSchemaValidation"},
  };
  for (const auto& row : rows) EXPECT_EQ(Code(Save(row.fields)), row.code) << row.fields;
  EXPECT_TRUE(Holds(Save(rows[0].fields), {"The message exceeds the maximum supported size."}));
  EXPECT_EQ(Inbox().total, 0);
  EXPECT_EQ(Code(Save(MimeField(std::string(1000, 'x')))), "NoError");
}

TEST_F(ItemOperations, DeletedItemsAreGoneOrInTheBin) {
  const std::string first = SaveMail("a");
  const std::string second = SaveMail("b");
  const auto remove = [&](const std::string& id, const std::string& how) {
    return Code(Ask(DeleteRequest(IdTag("t:ItemId", id), how)));
  };
  EXPECT_EQ(remove(first, "HardDelete"), "NoError");
  EXPECT_EQ(remove(first, "HardDelete"), "ErrorItemNotFound");
  EXPECT_EQ(Code(Show(first)), "ErrorItemNotFound");
  EXPECT_EQ(remove(second, "MoveToDeletedItems"), "NoError");
  EXPECT_EQ(BytesIn(Ask(GetItem(second, kMime))), "b");
  EXPECT_EQ(ItemId(Ask(FindItem(WellKnown("deleteditems"), kAll))), second);
}

TEST_F(ItemOperations, AFaultRefusesTheNextItemsOrWhatAnOperationIsAskedFor) {
  for (const char* const order :
       {"ErrorItemSave:2", "FindItem:ErrorAccessDenied:1", "CreateItem:ErrorQuotaExceeded:1"}) {
    ASSERT_TRUE(m_faults.Add(order));
  }
  for (const char* const order : {"ErrorOfNoKind:2", "busy:many", "SendItem:ErrorItemSave:1",
                                  "FindItem:busy:1", "token:busy:1", "503", "503:1:1:1", ""}) {
    EXPECT_FALSE(m_faults.Add(order)) << order;
  }
  for (const char* const code :
       {"ErrorQuotaExceeded", "ErrorItemSave", "ErrorItemSave", "NoError"}) {
    EXPECT_EQ(Code(Save(MimeField("a"))), code);
  }
  for (const char* const code : {"ErrorAccessDenied", "NoError"}) {
    EXPECT_EQ(Code(Ask(FindItem(WellKnown("inbox"), kIdOnly))), code);
  }
}

TEST_F(ItemOperations, NoAnswerIsLargerThanItsBoundHoweverMuchIsAskedFor) {
  m_limit = 20 << 20;
  // Each of its characters is six when it is written.
  const std::string id =
      ItemId(Save(Tag("t:Body", std::string(m_limit - 100, '"'), " BodyType=\"Text\"")));
  const auto ask = [&](size_t count, const std::string& more = "") {
    std::string ids;
    for (size_t i = 0; i < count; ++i) ids += IdTag("t:ItemId", id);
    return Answer(
        Envelope(Tag("m:GetItem", Tag("m:ItemShape", kAll + more) + Tag("m:ItemIds", ids))));
  };
  const std::string answer = ask(4);
  EXPECT_LE(answer.size(), mailbox::EwsResponse::kLargest);
  EXPECT_EQ(CountOf(answer, "ResponseClass=\"Success\""), 2u);
  EXPECT_EQ(CountOf(answer, "<m:ResponseCode>ErrorDataSizeLimitExceeded<"), 2u);
  EXPECT_TRUE(answer.ends_with("</s:Envelope>"));
  std::string paths;
  for (int i = 0; i < 1001; ++i) paths += Uri("item:Subject");
  EXPECT_EQ(Code(ask(100001)), "ErrorDataSizeLimitExceeded");
  EXPECT_EQ(Code(ask(1, Tag("t:AdditionalProperties", paths))), "ErrorDataSizeLimitExceeded");
  const std::string longText =
      "<t:Contains><t:FieldURI FieldURI=\"item:Subject\"/>"
      "<t:Constant Value=\"" +
      std::string(70000, 'x') + "\"/></t:Contains>";
  EXPECT_EQ(Code(Ask(FindItem(WellKnown("inbox"), kIdOnly, Restriction(longText)))),
            "ErrorRestrictionTooLong");
}

}  // namespace
