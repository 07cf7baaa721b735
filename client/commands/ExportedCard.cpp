#include "client/commands/ExportedCard.h"

#include <array>
#include <initializer_list>
#include <string_view>

#include "client/commands/ContentText.h"
#include "client/commands/ExportedItem.h"
#include "mailboxd/store/ItemFields.h"
#include "platform/Base64.h"
#include "platform/COleDateTime.h"
#include "platform/Unicode.h"

namespace client {
namespace {

using mailbox::EntryText;
using mailbox::FieldText;
using mailbox::ItemInfo;

struct Row {
  const char* property;
  const char* from;  // a field, or the key of an entry
};
constexpr auto kTexts = std::to_array<Row>({
    {"NICKNAME", "Nickname"},
    {"TITLE", "JobTitle"},
    {"ROLE", "Profession"},
    {"URL;TYPE=WORK", "BusinessHomePage"},
    {"X-SPOUSE", "SpouseName"},
    {"X-MANAGER", "Manager"},
    {"X-ASSISTANT", "AssistantName"},
    {"X-KADDRESSBOOK-X-OFFICE", "OfficeLocation"},
});
constexpr auto kPhones = std::to_array<Row>({
    {"TEL;TYPE=WORK", "BusinessPhone"},
    {"TEL;TYPE=WORK", "BusinessPhone2"},
    {"TEL;TYPE=WORK,FAX", "BusinessFax"},
    {"TEL;TYPE=HOME", "HomePhone"},
    {"TEL;TYPE=HOME", "HomePhone2"},
    {"TEL;TYPE=HOME,FAX", "HomeFax"},
    {"TEL;TYPE=FAX", "OtherFax"},
    {"TEL;TYPE=CELL", "MobilePhone"},
    {"TEL;TYPE=CAR", "CarPhone"},
    {"TEL;TYPE=PAGER", "Pager"},
    {"TEL;TYPE=ISDN", "Isdn"},
    {"TEL;TYPE=MAIN", "PrimaryPhone"},
    {"TEL;TYPE=VOICE", "OtherTelephone"},
    {"TEL;TYPE=X-EVOLUTION-COMPANY", "CompanyMainPhone"},
    {"TEL;TYPE=X-EVOLUTION-ASSISTANT", "AssistantPhone"},
    {"TEL;TYPE=X-EVOLUTION-CALLBACK", "Callback"},
    {"TEL;TYPE=X-EVOLUTION-RADIO", "RadioPhone"},
    {"TEL;TYPE=X-EVOLUTION-TELEX", "Telex"},
    {"TEL;TYPE=X-EVOLUTION-TTYTDD", "TtyTddPhone"},
});
constexpr auto kAddresses = std::to_array<Row>(
    {{"ADR;TYPE=WORK", "Business"}, {"ADR;TYPE=HOME", "Home"}, {"ADR", "Other"}});

class CardWriter {
 public:
  CardWriter(mailbox::Store& store, const ItemInfo& item, std::uint64_t& leftOut)
      : m_store(store), m_item(item), m_leftOut(leftOut) {}

  std::string Write() {
    m_text.Raw("BEGIN:VCARD\r\nVERSION:3.0\r\n");
    m_text.Text("UID", UidOf(m_item));
    const std::string name = FieldText(m_item, "DisplayName");
    m_text.Text("FN", name.empty() ? m_item.subject : name);
    m_item.element == "DistributionList" ? WriteGroup(name) : WritePerson();
    m_text.Text("NOTE", PlainBodyOf(m_item));
    m_text.Raw("END:VCARD\r\n");
    return m_text.Take();
  }

 private:
  std::string Field(const char* name) const { return FieldText(m_item, name); }

  void WriteGroup(const std::string& name) {
    m_text.Parts("N", {name, "", "", "", ""}, ';');
    m_text.Line("X-ADDRESSBOOKSERVER-KIND", "group");
    const mailbox::FieldTree members(mailbox::FindField(m_item, "Members"));
    for (const pugi::xml_node member : members.Root().children()) {
      const std::string address = member.child("t:Mailbox").child("t:EmailAddress").child_value();
      if (!address.empty()) m_text.Text("X-ADDRESSBOOKSERVER-MEMBER", "mailto:" + address);
    }
  }

  void WritePerson() {
    // The engine's tagged fields set named properties, other clients the fields.
    m_text.Parts("N",
                 {Field("Surname"), Field("GivenName"), Field("MiddleName"),
                  FirstOf({PropertyTextOf(m_item, "tag:0x3a45"),
                           PropertyTextOf(m_item, "named:Address:id:14917")}),
                  FirstOf({Field("Generation"), PropertyTextOf(m_item, "named:Address:id:14853")})},
                 ';');
    m_text.Text("X-EVOLUTION-FILE-AS", Field("FileAs"));
    const std::string department = Field("Department");
    if (department.empty()) {
      m_text.Parts("ORG", {Field("CompanyName")}, ';');
    } else {
      m_text.Parts("ORG", {Field("CompanyName"), department}, ';');
    }
    for (const Row& row : kTexts) m_text.Text(row.property, Field(row.from));
    m_text.Text("URL;TYPE=HOME", FirstOf({PropertyTextOf(m_item, "tag:0x3a50"),
                                          PropertyTextOf(m_item, "named:Address:id:14928")}));
    for (const char* key : {"EmailAddress1", "EmailAddress2", "EmailAddress3"}) {
      m_text.Text("EMAIL;TYPE=INTERNET", EntryText(m_item, "EmailAddresses", key));
    }
    for (const Row& row : kPhones) {
      m_text.Text(row.property, EntryText(m_item, "PhoneNumbers", row.from));
    }
    for (const char* key : {"ImAddress1", "ImAddress2", "ImAddress3"}) {
      m_text.Text("X-MS-IMADDRESS", EntryText(m_item, "ImAddresses", key));
    }
    WriteAddresses();
    WriteBirthday();
    m_text.Text("X-ANNIVERSARY", Field("WeddingAnniversary").substr(0, 10));
    const mailbox::FieldTree children(mailbox::FindField(m_item, "Children"));
    for (const pugi::xml_node child : children.Root().children()) {
      m_text.Text("RELATED;TYPE=child;VALUE=text", child.child_value());
    }
    m_text.Parts("CATEGORIES", m_item.categories, ',');
    if (m_item.sensitivity != "Normal") m_text.Line("CLASS", "PRIVATE");
    WritePhoto();
  }

  // A tagged field is any text.
  void WriteBirthday() {
    const std::string tagged = PropertyTextOf(m_item, "named:Address:id:14914");
    const COleDateTime date = platform::ParseDateText(platform::Utf8ToUtf16(tagged));
    const bool isDate = !tagged.empty() && date.GetStatus() == COleDateTime::valid;
    m_text.Text("BDAY", FirstOf({Field("Birthday").substr(0, 10),
                                 isDate ? date.Format(u"%Y-%m-%d").ToUtf8() : tagged}));
  }

  static std::string FirstOf(std::initializer_list<std::string> texts) {
    for (const std::string& text : texts) {
      if (!text.empty()) return text;
    }
    return {};
  }

  void WriteAddresses() {
    const mailbox::FieldTree tree(mailbox::FindField(m_item, "PhysicalAddresses"));
    for (const Row& row : kAddresses) {
      const pugi::xml_node entry = tree.Root().find_child_by_attribute("Key", row.from);
      const auto part = [&](const char* name) -> std::string {
        return entry.child(name).child_value();
      };
      m_text.Parts(row.property,
                   {"", "", part("t:Street"), part("t:City"), part("t:State"), part("t:PostalCode"),
                    part("t:CountryOrRegion")},
                   ';');
    }
  }

  // One of an engine that does not mark it as such is known by its name.
  void WritePhoto() {
    bool isWritten = false;
    for (const mailbox::AttachmentInfo& file : m_store.Attachments(m_item.id)) {
      const bool isPhoto = file.isContactPhoto || file.contentId == "ContactPhoto.jpg";
      if (isWritten || !isPhoto) {
        ++m_leftOut;
        continue;
      }
      isWritten = true;
      m_store.WithAttachment(file.id, [&](std::string_view bytes) {
        const char* type = bytes.starts_with("\x89PNG") ? "PNG"
                           : bytes.starts_with("GIF8")  ? "GIF"
                                                        : "JPEG";
        m_text.Line("PHOTO;ENCODING=b" + ContentParameter("TYPE", type),
                    platform::Base64Encode(bytes));
      });
    }
  }

  mailbox::Store& m_store;
  const ItemInfo& m_item;
  std::uint64_t& m_leftOut;
  ContentText m_text;
};

}  // namespace

std::string CardTextOf(mailbox::Store& store, const ItemInfo& item, std::uint64_t& leftOut) {
  return CardWriter(store, item, leftOut).Write();
}

}  // namespace client
