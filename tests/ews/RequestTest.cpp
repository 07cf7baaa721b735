#include <regex>

#include <pugixml.hpp>

#include "ews/EmailMessage.h"
#include "ews/ExchangeService.h"
#include "platform/Paths.h"
#include "tests/ews/Answers.h"
#include "tests/ews/ScriptedTransport.h"
#include "tests/support/SchemaValidator.h"
#include "tests/support/TemporaryFolder.h"

// What goes over the wire. Each request is held against the schema and against a request of the
// same kind that another client sent, where those are present beside the source tree.

namespace {

using test_support::SchemaValidator;
using testing::HasSubstr;
using testing::Not;

// One line for each element: its path, its attributes, its text.
void Dump(pugi::xml_node node, const std::string& path, std::string& out) {
  const std::string here = path + "/" + node.name();
  out += here;
  for (const auto attribute : node.attributes()) {
    if (!std::string_view(attribute.name()).starts_with("xmlns")) {
      out += std::string(" ") + attribute.name() + "=" + attribute.value();
    }
  }
  const bool leaf =
      node.find_child([](auto child) { return child.type() == pugi::node_element; }).empty();
  if (leaf) out += std::string(": ") + node.child_value();
  out += "\n";
  for (const auto child : node.children()) {
    if (child.type() == pugi::node_element) Dump(child, here, out);
  }
}

std::string DumpOf(const std::string& xml) {
  pugi::xml_document document;
  EXPECT_TRUE(document.load_buffer(xml.data(), xml.size())) << xml;
  std::string out;
  Dump(document.document_element(), "", out);
  return out;
}

class Request : public ScriptedService {
 protected:
  Request() { m_service->SetCredentials(ews::WebCredentials(u"user@example.com", u"secret")); }

  void SetUp() override {
    if (!SchemaValidator::Available()) GTEST_SKIP() << "no schema beside the source tree";
  }

  // Holds the last request against the schema, and against the sample.
  void ExpectValid() {
    static const SchemaValidator validator;
    ASSERT_FALSE(m_transport.Requests().empty());
    EXPECT_EQ(validator.Validate(LastBody()), "") << LastBody();
  }
  void ExpectLike(const std::string& sample) {
    ExpectValid();
    std::string expected = DumpOf(SchemaValidator::Sample(sample + ".request.xml"));
    expected = std::regex_replace(expected, std::regex("\\.000\\+00:00"), "Z");
    const std::string mailbox = "/t:Mailbox/t:EmailAddress: \"Eve, Ex\" <eve@example.com>";
    const size_t at = expected.find(mailbox);
    if (at != std::string::npos) {  // addresses are parsed here
      const size_t line = expected.rfind('\n', at) + 1;
      const std::string parent = expected.substr(line, at - line) + "/t:Mailbox/";
      expected.replace(line, at - line + mailbox.size(),
                       parent + "t:Name: Eve, Ex\n" + parent + "t:EmailAddress: eve@example.com");
    }
    EXPECT_EQ(DumpOf(LastBody()), expected) << sample;
  }

  // A file of that name and text, in Windows form.
  CString MakeFile(const std::string& name, const std::string& text) {
    return platform::ToWindowsPath(m_folder.Write(name, text));
  }

  test_support::TemporaryFolder m_folder;

  static void SetMailProperties(ews::EmailMessage& mail) {
    using ews::MapiPropertyType;
    const ews::UtcTime time{1709630100};  // 2024-03-05 09:15:00
    mail.SetExtendedProperty({0x0E07, MapiPropertyType::Integer}, 7);
    mail.SetExtendedProperty({0x0E06, MapiPropertyType::SystemTime}, time);
    mail.SetExtendedProperty({0x0039, MapiPropertyType::SystemTime}, time);
    mail.SetExtendedProperty({0x0037, MapiPropertyType::String}, CString(u"Status & plan"));
    mail.SetExtendedProperty({0x0E07, MapiPropertyType::Integer}, 1);  // the later value stands
  }

  static void SetPeople(ews::EmailMessage& mail) {
    mail.SetFrom(ews::EmailAddress(CString(u"ann@example.com")));
    mail.BccRecipients().Add(u"dora@example.com");
    mail.CcRecipients().Add(u"carl@example.com");
    mail.ToRecipients().Add(u"bob@example.com");
    mail.ToRecipients().Add(u"\"Eve, Ex\" <eve@example.com>");
  }

  // Both save into the folder and hold what was sent against the sample.
  void SaveMail(ews::EmailMessage& mail, const std::string& sample,
                const std::string& attachments = "") {
    m_transport.Push(answers::Item("AAMkItem=", attachments));
    mail.Save(m_inbox);
    ExpectLike(sample);
    EXPECT_EQ(mail.Id().strUniqueId, u"AAMkItem=");
  }
  template <typename Kind>
  void SaveFolder(const ews::FolderId& parent, const CString& name, const std::string& sample) {
    m_transport.Push(answers::NewFolder("AAMkNew="));
    Kind folder(m_service);
    folder.SetDisplayName(name);
    folder.Save(parent);
    EXPECT_EQ(folder.Id().ToString(), u"AAMkNew=");
    ExpectLike(sample);
  }

  const ews::FolderId m_inbox{CString(u"AAMkFolderInbox=")};
};

TEST_F(Request, SearchesWithAndWithoutARestriction) {
  m_transport.Push(answers::Found({}));
  m_service->FindFolders(ews::WellKnownFolderName::ArchiveMsgFolderRoot, ews::FolderView(10));
  ExpectLike("01-findfolder-archive-probe");

  const auto search = [&](const ews::FolderId& parent, const CString& name) {
    ews::SearchFilterCollection filter(ews::LogicalOperator::Or);
    filter.Add(ews::ContainsSubstring(ews::FolderSchema::DisplayName, name));
    filter.Add(ews::ContainsSubstring(ews::FolderSchema::DisplayName, name));
    m_transport.Push(answers::Found({}));
    m_service->FindFolders(parent, filter, ews::FolderView(10));
  };
  search(ews::WellKnownFolderName::MsgFolderRoot, u"Inbox");
  ExpectLike("02-findfolder-by-name");
  search(ews::FolderId(u"-NO-"), u"A");
  ExpectLike("08-findfolder-parent-absent-folder");

  search(m_inbox, u"");  // an empty text is an empty value
  ExpectValid();
  m_transport.Push(answers::Found({}));
  m_service->FindFolders(m_inbox, ews::IsEqualTo(ews::FolderSchema::DisplayName, u"<A> \"&\" 'B'"),
                         ews::FolderView(10));
  ExpectValid();
}

TEST_F(Request, MakesFoldersOfFourKinds) {
  const CString name = u"Projects & Plans";
  SaveFolder<ews::Folder>(ews::WellKnownFolderName::MsgFolderRoot, name, "04-createfolder-plain");
  SaveFolder<ews::CalendarFolder>(m_inbox, name, "05-createfolder-calendar");
  SaveFolder<ews::TasksFolder>(m_inbox, name, "06-createfolder-tasks");
  SaveFolder<ews::ContactsFolder>(m_inbox, name, "07-createfolder-contacts");
  SaveFolder<ews::Folder>(m_inbox, u"", "18-createfolder-empty-name");
}

TEST_F(Request, SavesAMailWithATextBody) {
  ews::EmailMessage mail(m_service);
  mail.SetIsRead(true);  // set in another order than the schema's
  SetPeople(mail);
  SetMailProperties(mail);
  mail.SetImportance(ews::Importance::High);
  mail.SetBody(ews::MessageBody(ews::BodyType::Text, u"Line one\nLine <two>"));
  SaveMail(mail, "10-createitem-message-text");
}

TEST_F(Request, SavesAMailAsMime) {
  const std::string bytes =
      "From: ann@example.com\r\nTo: bob@example.com\r\nSubject: Hi\r\n\r\nBody\r\n";
  auto copy = std::make_unique<unsigned char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), copy.get());
  ews::EmailMessage mail(m_service);
  mail.SetMimeContent(ews::MimeContent(u"ASCII", std::move(copy), bytes.size()));
  mail.SetImportance(ews::Importance::Normal);
  mail.SetIsRead(true);
  SetMailProperties(mail);
  SetPeople(mail);
  SaveMail(mail, "12-createitem-message-mime");
}

TEST_F(Request, SendsAttachmentsWithTheItem) {
  ews::EmailMessage mail(m_service);
  mail.SetBody(CString(u"<img src=\"cid:HTMLFile_1.jpg@01C77B50.1E294610\">"));
  mail.Attachments().AddFileAttachment(MakeFile("HTMLFile_1.jpg", "data of HTMLFile_1.jpg"));
  mail.Attachments()[0].SetContentType(u"image/jpeg");
  mail.Attachments()[0].SetContentId(u"HTMLFile_1.jpg@01C77B50.1E294610");
  mail.Attachments().AddFileAttachment(u"report.pdf", MakeFile("other.bin", "data of report.pdf"));
  SetMailProperties(mail);
  SaveMail(mail, "13-createitem-message-attachments",
           "<t:Attachments><t:FileAttachment/></t:Attachments>");
  EXPECT_EQ(m_transport.Requests().size(), 1u);
}

TEST_F(Request, SendsAttachmentsApartToAServerThatListsNone) {
  ews::EmailMessage mail(m_service);
  mail.SetBody(ews::MessageBody(ews::BodyType::Text, u"x"));
  mail.Attachments()
      .AddFileAttachment(MakeFile("a.txt", "data of a.txt"))
      .SetContentId(u"a.txt@example");
  mail.Attachments().AddFileAttachment(MakeFile("b.txt", "data of b.txt"));
  m_transport.Push(answers::Item("AAMkItemZXhhbXBsZS0xMQ=="));
  m_transport.Push(answers::Success("CreateAttachment", ""));
  mail.Save(m_inbox);
  ASSERT_EQ(m_transport.Requests().size(), 2u);
  ExpectLike("15-createattachment");
}

TEST_F(Request, BindsAndReachesAGroupAndImpersonates) {
  m_transport.Push(answers::Success(
      "GetItem", "<m:Items><t:Message><t:ItemId Id=\"AAMkItemBound=\"/></t:Message></m:Items>"));
  const auto bound = ews::EmailMessage::Bind(m_service, {u"AAMkItemBound=", u""},
                                             ews::PropertySet::FirstClassProperties);
  EXPECT_EQ(bound.Id().strUniqueId, u"AAMkItemBound=");
  ExpectLike("16-getitem-bind");

  ews::EmailMessage mail(m_service);
  mail.SetBody(ews::MessageBody(ews::BodyType::Text, u"x"));
  m_transport.Push(answers::Item("I="));
  mail.Save(ews::FolderId(ews::WellKnownFolderName::Inbox, ews::Mailbox(u"group@example.com")));
  ExpectLike("17-createitem-group-mailbox");

  m_service->SetImpersonatedUserId({ews::ConnectingIdType::SmtpAddress, u"target@example.com"});
  m_transport.Push(answers::Found({}));
  m_service->FindFolders(ews::WellKnownFolderName::MsgFolderRoot, ews::FolderView(10));
  ExpectLike("50-impersonation-basic");
}

TEST_F(Request, LeavesOutBlankAddresses) {
  ews::EmailMessage mail(m_service);
  mail.SetFrom(ews::EmailAddress(CString(u" ")));
  mail.ToRecipients().Add(u"");
  mail.CcRecipients().Add(u"");
  mail.CcRecipients().Add(u"carl@example.com");
  m_transport.Push(answers::Item("I="));
  mail.Save(m_inbox);
  ExpectValid();
  EXPECT_THAT(LastBody(), AllOf(Not(HasSubstr("<t:From")), Not(HasSubstr("<t:ToRecipients")),
                                HasSubstr("carl@example.com")));
}

TEST_F(Request, NamesAPropertyByItsSet) {
  ews::EmailMessage mail(m_service);
  mail.SetExtendedProperty(
      {u"00062004-0000-0000-C000-000000000046", 0x8084, ews::MapiPropertyType::String},
      CString(u"x"));
  mail.SetExtendedProperty({0x7FFE, ews::MapiPropertyType::Boolean}, true);
  EXPECT_THROW(mail.SetExtendedProperty({0x7FFE, ews::MapiPropertyType::Boolean}, CString(u"x")),
               ews::ServiceException);
  m_transport.Push(answers::Item("I="));
  mail.Save(m_inbox);
  ExpectValid();
}

}  // namespace
