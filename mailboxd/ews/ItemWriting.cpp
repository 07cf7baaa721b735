#include "mailboxd/ews/ItemWriting.h"

#include <algorithm>
#include <optional>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/ExtendedProperties.h"

namespace mailbox {

ItemShape::ItemShape(pugi::xml_node node, Depth depth) : m_depth(depth) {
  m_all = ChildText(node, "BaseShape") != "IdOnly";
  m_mime = IsTrue(ChildText(node, "IncludeMimeContent"));
  m_text = ChildText(node, "BodyType") == "Text";
  const pugi::xml_node paths = Child(node, "AdditionalProperties");
  for (auto path = FirstElement(paths); path; path = NextElement(path)) {
    if (LocalName(path) == "FieldURI") m_fields.push_back(Attribute(path, "FieldURI"));
    if (LocalName(path) == "ExtendedFieldURI") {
      m_properties.push_back({PropertyKey(path), std::string(Attribute(path, "PropertyType"))});
    }
  }
}

namespace {

void WriteMailbox(const Address& address, EwsResponse& response) {
  response.Open("t:Mailbox");
  if (!address.name.empty()) response.Element("t:Name", address.name);
  if (!address.address.empty()) response.Element("t:EmailAddress", address.address);
  response.Element("t:RoutingType", address.routing.empty() ? "SMTP" : address.routing);
  response.Close("t:Mailbox");
}

void WriteSingle(const char* name, const std::optional<Address>& address, EwsResponse& response) {
  if (!address) return;
  response.Open(name);
  WriteMailbox(*address, response);
  response.Close(name);
}

void WriteRecipients(std::string_view name, const std::vector<Address>& list,
                     EwsResponse& response) {
  if (list.empty()) return;
  response.Open(name);
  for (const Address& address : list) WriteMailbox(address, response);
  response.Close(name);
}

std::string Display(const std::vector<Address>& list) {
  std::string text;
  for (const Address& address : list) {
    text += (text.empty() ? "" : "; ") + (address.name.empty() ? address.address : address.name);
  }
  return text;
}

// Those that are stored beside the item, then those within its mail.
void WriteAttachments(const Context& context, const ItemInfo& item, MailOfItem& mail,
                      EwsResponse& response) {
  std::vector<AttachmentInfo> stored;
  if (!mail.IsWithin()) stored = context.store.Attachments(item.id);
  const MailContent* const content = mail.Content();
  const size_t inside = content != nullptr ? content->Attachments().size() : 0;
  if (stored.empty() && inside == 0) return;
  const auto write = [&](const std::string& id, const AttachmentInfo& attachment) {
    OpenAttachment(id, attachment, response);
    CloseAttachment(attachment, response);
  };
  response.Open("t:Attachments");
  for (const AttachmentInfo& one : stored) write(MakeId(IdKind::kAttachment, one.id), one);
  for (size_t i = 0; i < inside; ++i) {
    write(MakePartId(mail.PartAt(i)), mail.Shown(i, item.created));
  }
  response.Close("t:Attachments");
}

void WriteProperties(const ItemInfo& item, const ItemShape& shape, EwsResponse& response) {
  for (const ItemShape::Property& asked : shape.Properties()) {
    if (const auto found = PropertyOf(item, asked.key, asked.type)) WriteProperty(*found, response);
  }
}

void WriteMime(MailOfItem& mail, EwsResponse& response) {
  mail.WithMime([&](std::string_view charset, std::string_view bytes) {
    response.Open("t:MimeContent",
                  XmlAttribute("CharacterSet", charset.empty() ? "UTF-8" : charset));
    response.Base64(bytes);
    response.Close("t:MimeContent");
  });
}

// The item's own body, else that of its mail.
void WriteBody(const ItemInfo& item, MailOfItem& mail, const ItemShape& shape,
               EwsResponse& response) {
  const auto write = [&](std::string_view type, std::string_view text) {
    response.Open("t:Body", XmlAttribute("BodyType", type));
    response.Raw(EscapeXml(text));
    response.Close("t:Body");
  };
  if (!item.bodyType.empty()) return write(item.bodyType, item.body);
  const MailContent* const content = mail.Content();
  if (content == nullptr) return;
  const bool hasChoice = !content->Html().empty() && !content->Text().empty();
  if (hasChoice && shape.PrefersText()) return write("Text", content->Text());
  if (!content->Html().empty()) return write("HTML", content->Html());
  if (!content->Text().empty()) write("Text", content->Text());
}

// What an item has that lies in a folder, and one inside another has not.
void WritePlace(const ItemInfo& item, const ItemShape& shape, EwsResponse& response) {
  response.Empty("t:ItemId", IdAttributes(IdKind::kItem, item.id, item.version));
  if (shape.Wants("item:ParentFolderId")) {
    response.Empty("t:ParentFolderId", IdAttributes(IdKind::kFolder, item.folder, 1));
  }
}

void WriteDate(const char* name, const std::string& date, EwsResponse& response) {
  if (!date.empty()) response.Element(name, date);
}

// The fields of every item, in the order of the schema.
void WriteItemFields(const Context& context, const ItemInfo& item, MailOfItem& mail,
                     const ItemShape& shape, EwsResponse& response) {
  if (shape.WantsMime()) WriteMime(mail, response);
  if (!mail.IsWithin()) WritePlace(item, shape, response);
  if (shape.Wants("item:ItemClass")) response.Element("t:ItemClass", item.itemClass);
  if (shape.Wants("item:Subject")) response.Element("t:Subject", item.subject);
  if (shape.Wants("item:Sensitivity")) response.Element("t:Sensitivity", item.sensitivity);
  if (shape.WantsFull("item:Body")) WriteBody(item, mail, shape, response);
  if (shape.WantsFull("item:Attachments")) WriteAttachments(context, item, mail, response);
  if (shape.Wants("item:DateTimeReceived")) {
    WriteDate("t:DateTimeReceived", item.received, response);
  }
  if (shape.Wants("item:Size")) response.Number("t:Size", item.size);
  if (shape.Wants("item:Categories") && !item.categories.empty()) {
    response.Open("t:Categories");
    for (const std::string& category : item.categories) response.Element("t:String", category);
    response.Close("t:Categories");
  }
  if (shape.Wants("item:Importance")) response.Element("t:Importance", item.importance);
  if (shape.Wants("item:InReplyTo") && !item.inReplyTo.empty()) {
    response.Element("t:InReplyTo", item.inReplyTo);
  }
  if (shape.Wants("item:IsDraft")) response.Boolean("t:IsDraft", item.isDraft);
  if (shape.Wants("item:DateTimeSent")) WriteDate("t:DateTimeSent", item.sent, response);
  if (shape.Wants("item:DateTimeCreated")) WriteDate("t:DateTimeCreated", item.created, response);
  if (shape.Wants("item:DisplayCc")) response.Element("t:DisplayCc", Display(item.cc));
  if (shape.Wants("item:DisplayTo")) response.Element("t:DisplayTo", Display(item.to));
  if (shape.Wants("item:HasAttachments")) {
    response.Boolean("t:HasAttachments", HasFiles(item));
  }
  WriteProperties(item, shape, response);
}

void WriteMessageFields(const ItemInfo& item, const ItemShape& shape, EwsResponse& response) {
  if (shape.WantsFull("message:Sender")) WriteSingle("t:Sender", item.sender, response);
  if (shape.WantsFull("message:ToRecipients")) WriteRecipients("t:ToRecipients", item.to, response);
  if (shape.WantsFull("message:CcRecipients")) WriteRecipients("t:CcRecipients", item.cc, response);
  if (shape.WantsFull("message:BccRecipients")) {
    WriteRecipients("t:BccRecipients", item.bcc, response);
  }
  if (shape.Wants("message:From")) WriteSingle("t:From", item.from, response);
  if (shape.Wants("message:InternetMessageId") && !item.messageId.empty()) {
    response.Element("t:InternetMessageId", item.messageId);
  }
  if (shape.Wants("message:IsRead")) response.Boolean("t:IsRead", item.isRead);
  if (shape.Wants("message:References") && !item.references.empty()) {
    response.Element("t:References", item.references);
  }
  if (shape.WantsFull("message:ReplyTo")) WriteRecipients("t:ReplyTo", item.replyTo, response);
}

}  // namespace

void WriteItem(const Context& context, const ItemInfo& item, MailOfItem& mail,
               const ItemShape& shape, EwsResponse& response) {
  const std::string tag = "t:" + item.element;
  response.Open(tag);
  WriteItemFields(context, item, mail, shape, response);
  WriteMessageFields(item, shape, response);
  response.Close(tag);
}

}  // namespace mailbox
