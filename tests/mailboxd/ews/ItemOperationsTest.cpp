#include "tests/mailboxd/LocalMailbox.h"

using namespace mailbox_test;

namespace {

class ItemOperations : public LocalMailbox {
 protected:
  std::string Save(const std::string& fields, const std::string& folder = WellKnown("inbox")) {
    return Ask(CreateMessage(folder, fields));
  }
  std::string Show(const std::string& id, const std::string& more = "") {
    return Ask(GetItem(id, "<t:BaseShape>AllProperties</t:BaseShape>" + more));
  }
  static std::string Property(const std::string& tag, const std::string& type,
                              const std::string& value) {
    return "<t:ExtendedProperty><t:ExtendedFieldURI PropertyTag=\"" + tag + "\" PropertyType=\"" +
           type + "\"/><t:Value>" + value + "</t:Value></t:ExtendedProperty>";
  }
  std::string ReadBack(const std::string& id) {
    const std::string answer = Ask(GetItem(id,
                                           "<t:BaseShape>IdOnly</t:BaseShape>"
                                           "<t:IncludeMimeContent>true</t:IncludeMimeContent>"));
    const size_t open = answer.find("<t:MimeContent");
    if (open == std::string::npos) return "no MIME content";
    const size_t begin = answer.find('>', open) + 1;
    std::string bytes;
    EXPECT_TRUE(platform::Base64Decode(
        std::string_view(answer).substr(begin, answer.find('<', begin) - begin), bytes));
    return bytes;
  }
};

TEST_F(ItemOperations, MimeComesBackByteForByte) {
  std::string all = "Subject: all bytes\n\n";
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  const std::vector<std::string> messages = {"",
                                             "x",
                                             std::string("\0\0", 2),
                                             "\r\r\n\n",
                                             all,
                                             std::string(300000, '\xFF'),
                                             "Subject: caf\xE9 \x01\r\n\r\nbody"};
  for (const std::string& message : messages) {
    const std::string answer = Save(MimeField(message));
    ASSERT_EQ(Code(answer), "NoError");
    EXPECT_EQ(ReadBack(ItemId(answer)), message);
  }
}

TEST_F(ItemOperations, PropertiesComeFromTheMailDecoded) {
  const std::string shown = Show(ItemId(Save(MimeField(
      "Received: from a by b; Tue, 5 Mar 2024 10:00:00 +0100\r\n"
      "From: =?utf-8?Q?Ott,_J=C3=BCrgen?= <j@x.example>\r\nTo: a@x.example, B <b@x.example>\r\n"
      "Cc: c@x.example\r\nDate: Tue, 5 Mar 2024 09:59:00 +0100\r\nX-Priority: 1 (Highest)\r\n"
      "Subject: =?iso-8859-1?Q?Gr=FC=DFe?=\r\nIn-Reply-To: <r@x>\r\n"
      "Content-Type: text/html; charset=koi8-r\r\n\r\n<b>\xC4</b>"))));
  for (const char* part :
       {"<t:Subject>Gr\xC3\xBC\xC3\x9F"
        "e<",
        "<t:DateTimeReceived>2024-03-05T09:00:00Z<", "<t:DateTimeSent>2024-03-05T08:59:00Z<",
        "<t:Body BodyType=\"HTML\">&lt;b&gt;\xD0\xB4&lt;/b&gt;<", "<t:Importance>High<",
        "<t:InReplyTo>&lt;r@x&gt;<", "<t:Name>Ott, J\xC3\xBCrgen<", "<t:DisplayTo>a@x.example; B<",
        "<t:EmailAddress>c@x.example<"}) {
    EXPECT_NE(shown.find(part), std::string::npos) << part << " in " << shown;
  }
}

TEST_F(ItemOperations, HeaderFieldsAreShownAndTheRequestWins) {
  const std::string mime =
      MimeField("From: Ann <ann@example.com>\r\nSubject: from\r\n header\r\n\r\nx");
  const std::string shown = Show(ItemId(Save(mime)));
  EXPECT_NE(shown.find("<t:Subject>from header<"), std::string::npos) << shown;
  EXPECT_NE(shown.find("<t:EmailAddress>ann@example.com<"), std::string::npos);
  const std::string other = Show(ItemId(Save(mime + "<t:Subject>own</t:Subject>")));
  EXPECT_NE(other.find("<t:Subject>own<"), std::string::npos);
  const std::string divided =
      Show(ItemId(Save("<t:Subject>a<!-- b -->c<![CDATA[<d>]]>e</t:Subject>")));
  EXPECT_NE(divided.find("<t:Subject>ac&lt;d&gt;e<"), std::string::npos) << divided;
  const std::string tagged = Show(ItemId(Save(mime + Property("55", "String", "tagged"))));
  EXPECT_NE(tagged.find("<t:Subject>tagged<"), std::string::npos);
}

TEST_F(ItemOperations, IsReadDecidesAndTheFlagsOnlySayThatItIsNoDraft) {
  const std::string ask =
      "<t:AdditionalProperties><t:ExtendedFieldURI PropertyTag=\"0x0E07\" "
      "PropertyType=\"Integer\"/></t:AdditionalProperties>";
  const std::string flags = Property("3591", "Integer", "1");
  const std::string unread = Show(ItemId(Save(flags + "<t:IsRead>false</t:IsRead>")), ask);
  EXPECT_NE(unread.find("<t:IsRead>false<"), std::string::npos);
  EXPECT_NE(unread.find("<t:IsDraft>false<"), std::string::npos);
  EXPECT_NE(unread.find("PropertyTag=\"0xe07\" PropertyType=\"Integer\"/><t:Value>0<"),
            std::string::npos)
      << unread;
  const std::string plain = Show(ItemId(Save("<t:IsRead>true</t:IsRead>")));
  EXPECT_NE(plain.find("<t:IsRead>true<"), std::string::npos);
  EXPECT_NE(plain.find("<t:IsDraft>true<"), std::string::npos);
}

TEST_F(ItemOperations, FieldsComeBackAsTheyWereGiven) {
  const std::string fields =
      "<t:Sensitivity>Private</t:Sensitivity><t:Body BodyType=\"HTML\">&lt;b&gt;1 &amp;amp; "
      "2&lt;/b&gt;</t:Body><t:Categories><t:String>Blue &amp; green</t:String></t:Categories>"
      "<t:Importance>High</t:Importance>" +
      Property("3590", "SystemTime", "2024-03-05T11:15:00.000+02:00") +
      "<t:ExtendedProperty><t:ExtendedFieldURI "
      "PropertySetId=\"00062008-0000-0000-C000-000000000046\" PropertyId=\"34051\" "
      "PropertyType=\"StringArray\"/><t:Values><t:Value>a</t:Value><t:Value>b</t:Value></t:Values>"
      "</t:ExtendedProperty><t:ToRecipients><t:Mailbox><t:EmailAddress>Eve &lt;eve@example.com&gt;"
      "</t:EmailAddress></t:Mailbox></t:ToRecipients>";
  const std::string shown =
      Show(ItemId(Save(fields)),
           "<t:AdditionalProperties><t:ExtendedFieldURI "
           "PropertySetId=\"00062008-0000-0000-c000-000000000046\" PropertyId=\"34051\" "
           "PropertyType=\"StringArray\"/></t:AdditionalProperties>");
  for (const char* part :
       {"<t:Sensitivity>Private<", "<t:Body BodyType=\"HTML\">&lt;b&gt;1 &amp;amp; 2&lt;/b&gt;<",
        "<t:String>Blue &amp; green<", "<t:Importance>High<",
        "<t:DateTimeReceived>2024-03-05T09:15:00Z<", "<t:Value>a</t:Value><t:Value>b</t:Value>",
        "<t:EmailAddress>Eve &lt;eve@example.com&gt;<"}) {
    EXPECT_NE(shown.find(part), std::string::npos) << part << "\n" << shown;
  }
}

TEST_F(ItemOperations, AttachmentsTravelWithTheItemAndAfterIt) {
  const auto file = [](const std::string& name, const std::string& bytes) {
    return "<t:FileAttachment><t:Name>" + name +
           "</t:Name><t:ContentType>image/png</t:ContentType><t:ContentId>c@x</t:ContentId>"
           "<t:IsInline>false</t:IsInline><t:IsContactPhoto>false</t:IsContactPhoto><t:Content>" +
           platform::Base64Encode(bytes) + "</t:Content></t:FileAttachment>";
  };
  const std::string bytes("\0\xFF\r\n", 4);
  const std::string saved =
      Save("<t:Attachments>" + file("a", bytes) + file("b", "") + "</t:Attachments>");
  EXPECT_EQ(CountOf(saved, "<t:AttachmentId "), 2u);
  const std::string added = Ask(
      Envelope("<m:CreateAttachment><m:ParentItemId Id=\"" + ItemId(saved) + "\"/><m:Attachments>" +
               file("c", "third") + "</m:Attachments></m:CreateAttachment>"));
  EXPECT_EQ(Code(added), "NoError");
  EXPECT_NE(Find(added, "RootItemChangeKey=\"([^\"]*)\""), Find(saved, "ChangeKey=\"([^\"]*)\""));
  EXPECT_EQ(CountOf(Show(ItemId(saved)), "<t:FileAttachment>"), 3u);
  const std::string content = Ask(Envelope(
      "<m:GetAttachment><m:AttachmentIds><t:AttachmentId Id=\"" +
      Find(saved, "AttachmentId Id=\"([^\"]*)\"") + "\"/></m:AttachmentIds></m:GetAttachment>"));
  EXPECT_EQ(Find(content, "<t:Content>([^<]*)<"), platform::Base64Encode(bytes));
}

TEST_F(ItemOperations, TheSizeLimitCountsAllOfAnItem) {
  m_limit = 1000;
  EXPECT_EQ(Code(Save(MimeField(std::string(1000, 'x')))), "NoError");
  const std::string refused = Save(MimeField(std::string(1001, 'x')));
  EXPECT_EQ(Code(refused), "ErrorMessageSizeExceeded");
  EXPECT_NE(refused.find("The message exceeds the maximum supported size."), std::string::npos);
  EXPECT_EQ(Code(Save("<t:Body BodyType=\"Text\">" + std::string(900, 'x') +
                      "</t:Body><t:Attachments><t:FileAttachment><t:Content>" +
                      platform::Base64Encode(std::string(101, 'y')) +
                      "</t:Content></t:FileAttachment></t:Attachments>")),
            "ErrorMessageSizeExceeded");
}

TEST_F(ItemOperations, BadBase64IsToldApart) {
  EXPECT_EQ(Code(Save("<t:MimeContent>!!!</t:MimeContent>")),
            "ErrorMimeContentInvalidBase64String");
  EXPECT_EQ(Code(Save("<t:Attachments><t:FileAttachment><t:Content>!</t:Content>"
                      "</t:FileAttachment></t:Attachments>")),
            "ErrorSchemaValidation");
  EXPECT_EQ(m_store.Folder(*m_store.FindWellKnown(m_store.Mailbox(m_login), "inbox"))->total, 0);
}

TEST_F(ItemOperations, ItemsOfAnotherClassAreHeldAgainstTheFolder) {
  const auto save = [&](const std::string& attributes, const std::string& item) {
    return Code(
        Ask(Envelope("<m:CreateItem MessageDisposition=\"SaveOnly\"" + attributes +
                     "><m:SavedItemFolderId>" + WellKnown("inbox") +
                     "</m:SavedItemFolderId><m:Items><t:" + item + "/></m:Items></m:CreateItem>")));
  };
  EXPECT_EQ(save("", "CalendarItem"), "ErrorSendMeetingInvitationsRequired");
  EXPECT_EQ(save(" SendMeetingInvitations=\"SendToNone\"", "CalendarItem"),
            "ErrorCannotCreateCalendarItemInNonCalendarFolder");
  EXPECT_EQ(save("", "Task"), "ErrorCannotCreateTaskInNonTaskFolder");
  EXPECT_EQ(save("", "Contact"), "ErrorCannotCreateContactInNonContactFolder");
}

TEST_F(ItemOperations, DeletedItemsAreGoneOrInTheBin) {
  const std::string first = ItemId(Save(MimeField("a")));
  const std::string second = ItemId(Save(MimeField("b")));
  const auto remove = [&](const std::string& id, const std::string& how) {
    return Code(Ask(Envelope("<m:DeleteItem DeleteType=\"" + how + "\"><m:ItemIds><t:ItemId Id=\"" +
                             id + "\"/></m:ItemIds></m:DeleteItem>")));
  };
  EXPECT_EQ(remove(first, "HardDelete"), "NoError");
  EXPECT_EQ(remove(first, "HardDelete"), "ErrorItemNotFound");
  EXPECT_EQ(Code(Show(first)), "ErrorItemNotFound");
  EXPECT_EQ(remove(second, "MoveToDeletedItems"), "NoError");
  EXPECT_EQ(ReadBack(second), "b");
  const std::string found =
      Ask(Envelope("<m:FindItem Traversal=\"Shallow\"><m:ItemShape><t:BaseShape>AllProperties"
                   "</t:BaseShape></m:ItemShape><m:ParentFolderIds>" +
                   WellKnown("deleteditems") + "</m:ParentFolderIds></m:FindItem>"));
  EXPECT_EQ(ItemId(found), second);
}

TEST_F(ItemOperations, AFaultRefusesTheNextItemsOnly) {
  ASSERT_TRUE(m_faults.Add("ErrorItemSave:2"));
  EXPECT_FALSE(m_faults.Add("ErrorOfNoKind:2"));
  EXPECT_FALSE(m_faults.Add("busy:many"));
  EXPECT_EQ(Code(Save(MimeField("a"))), "ErrorItemSave");
  EXPECT_EQ(Code(Save(MimeField("a"))), "ErrorItemSave");
  EXPECT_EQ(Code(Save(MimeField("a"))), "NoError");
}

}  // namespace
