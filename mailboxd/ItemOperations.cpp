#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <utility>

#include "mailboxd/DateTime.h"
#include "mailboxd/EwsRequest.h"
#include "mailboxd/ExtendedProperties.h"
#include "mailboxd/Operations.h"
#include "mime/HeaderLookup.h"
#include "platform/Base64.h"

namespace mailbox {
namespace {

constexpr int kUnsentFlag = 8;  // in the message flags: the item is a draft
constexpr int kReadFlag = 1;

// ---- Reading a new item ----

Address ReadMailbox(pugi::xml_node node) {
  return {std::string(ChildText(node, "Name")), std::string(ChildText(node, "EmailAddress")),
          std::string(ChildText(node, "RoutingType"))};
}

std::vector<Address> ReadMailboxes(pugi::xml_node list) {
  std::vector<Address> addresses;
  for (auto node = FirstElement(list); node; node = NextElement(node)) {
    addresses.push_back(ReadMailbox(node));
  }
  return addresses;
}

// "Ann <ann@example.com>" or a bare address, from a header field.
Address ParseAddress(const std::string& text) {
  const size_t open = text.rfind('<');
  const size_t close = text.find('>', open == std::string::npos ? 0 : open);
  if (open == std::string::npos || close == std::string::npos) return {"", text, ""};
  std::string name = text.substr(0, open);
  std::erase(name, '"');
  while (!name.empty() && name.back() == ' ') name.pop_back();
  return {name, text.substr(open + 1, close - open - 1), ""};
}

// What the message says of itself; what the request says beside it wins afterwards.
void TakeFromMime(const std::string& message, ItemInfo& item) {
  const auto field = [&](const char* name) { return mime::FindHeader(message, name).value_or(""); };
  item.subject = field("Subject");
  item.messageId = field("Message-ID");
  item.inReplyTo = field("In-Reply-To");
  item.references = field("References");
  if (const std::string from = field("From"); !from.empty()) item.from = ParseAddress(from);
}

void ReadMime(pugi::xml_node node, NewItem& item) {
  const pugi::xml_node content = Child(node, "MimeContent");
  if (!content) return;
  if (!platform::Base64Decode(Text(content), item.mime)) {
    throw ErrorOf("ErrorMimeContentInvalidBase64String");
  }
  item.hasMime = true;
  item.mimeCharset = Attribute(content, "CharacterSet");
  TakeFromMime(item.mime, item.info);
}

struct TextField {
  std::string_view element;
  std::string ItemInfo::*member;
};
constexpr std::array<TextField, 7> kTexts = {{
    {"ItemClass", &ItemInfo::itemClass},
    {"Subject", &ItemInfo::subject},
    {"Sensitivity", &ItemInfo::sensitivity},
    {"Importance", &ItemInfo::importance},
    {"InReplyTo", &ItemInfo::inReplyTo},
    {"InternetMessageId", &ItemInfo::messageId},
    {"References", &ItemInfo::references},
}};

struct RecipientField {
  std::string_view element;
  std::vector<Address> ItemInfo::*member;
};
constexpr std::array<RecipientField, 4> kRecipients = {{
    {"ToRecipients", &ItemInfo::to},
    {"CcRecipients", &ItemInfo::cc},
    {"BccRecipients", &ItemInfo::bcc},
    {"ReplyTo", &ItemInfo::replyTo},
}};

// Some properties are fields of the item under another name.
void ApplyProperty(const ExtendedProperty& property, ItemInfo& item) {
  if (property.values.empty()) return;
  const std::string& value = property.values.front();
  if (property.key == kMessageFlags) {
    int flags = 0;
    std::from_chars(value.data(), value.data() + value.size(), flags);
    item.isDraft = (flags & kUnsentFlag) != 0;
  } else if (property.key == kDeliveryTime) {
    item.received = ReadDateTime(value).value_or(item.received);
  } else if (property.key == kSubmitTime) {
    item.sent = ReadDateTime(value).value_or(item.sent);
  } else if (property.key == kSubject) {
    item.subject = value;
  }
}

void ReadChild(pugi::xml_node child, NewItem& item) {
  ItemInfo& info = item.info;
  const std::string_view name = LocalName(child);
  for (const TextField& row : kTexts) {
    if (row.element == name) info.*row.member = Text(child);
  }
  for (const RecipientField& row : kRecipients) {
    if (row.element == name) info.*row.member = ReadMailboxes(child);
  }
  if (name == "Body") {
    info.body = Text(child);
    info.bodyType = Attribute(child, "BodyType");
  } else if (name == "IsRead") {
    info.isRead = IsTrue(Text(child));
  } else if (name == "From") {
    info.from = ReadMailbox(FirstElement(child));
  } else if (name == "Sender") {
    info.sender = ReadMailbox(FirstElement(child));
  } else if (name == "DateTimeSent") {
    info.sent = ReadDateTime(Text(child)).value_or("");
  } else if (name == "DateTimeReceived") {
    info.received = ReadDateTime(Text(child)).value_or("");
  } else if (name == "Categories") {
    for (auto one = FirstElement(child); one; one = NextElement(one)) {
      info.categories.emplace_back(Text(one));
    }
  } else if (name == "Attachments") {
    for (auto one = FirstElement(child); one; one = NextElement(one)) {
      item.attachments.push_back(ReadAttachment(one));
    }
  } else if (name == "ExtendedProperty") {
    info.properties.push_back(ReadProperty(child));
  }
}

NewItem ReadMessage(pugi::xml_node node) {
  NewItem item;
  ReadMime(node, item);
  for (auto child = FirstElement(node); child; child = NextElement(child)) ReadChild(child, item);
  for (const ExtendedProperty& property : item.info.properties) ApplyProperty(property, item.info);
  if (item.info.received.empty()) item.info.received = UtcNow();
  if (item.info.itemClass.empty()) item.info.itemClass = "IPM.Note";
  return item;
}

// ---- What may be saved where ----

struct ItemRule {
  std::string_view element;
  std::string_view folderClass;  // "" for any
  std::string_view mismatch;
};
constexpr std::array<ItemRule, 5> kRules = {{
    {"Message", "", ""},
    {"CalendarItem", "IPF.Appointment", "ErrorCannotCreateCalendarItemInNonCalendarFolder"},
    {"Contact", "IPF.Contact", "ErrorCannotCreateContactInNonContactFolder"},
    {"DistributionList", "IPF.Contact", "ErrorCannotCreateContactInNonContactFolder"},
    {"Task", "IPF.Task", "ErrorCannotCreateTaskInNonTaskFolder"},
}};

void CheckPlace(pugi::xml_node request, pugi::xml_node node, const FolderInfo& folder) {
  const std::string_view element = LocalName(node);
  const auto rule = std::find_if(kRules.begin(), kRules.end(),
                                 [&](const ItemRule& r) { return r.element == element; });
  if (rule == kRules.end()) throw ErrorOf("ErrorInvalidOperation");
  const std::string_view disposition = Attribute(request, "MessageDisposition");
  if (element == "Message" && disposition.empty()) throw ErrorOf("ErrorMessageDispositionRequired");
  if (!disposition.empty() && disposition != "SaveOnly") {
    throw OperationError("ErrorInvalidOperation", "This mailbox saves items and sends none.");
  }
  if (element == "CalendarItem" && !request.attribute("SendMeetingInvitations")) {
    throw ErrorOf("ErrorSendMeetingInvitationsRequired");
  }
  if (!folder.folderClass.starts_with(rule->folderClass)) throw ErrorOf(rule->mismatch);
  if (element != "Message") {
    throw OperationError("ErrorInvalidOperation",
                         "This mailbox does not keep items of this kind yet.");
  }
}

void CheckSize(const Context& context, const NewItem& item) {
  auto size = static_cast<std::int64_t>(item.mime.size() + item.info.body.size());
  for (const NewAttachment& attachment : item.attachments) {
    size += static_cast<std::int64_t>(attachment.content.size());
  }
  if (size > context.maximumMessageSize) throw ErrorOf("ErrorMessageSizeExceeded");
}

void CreateOne(const Context& context, pugi::xml_node request, pugi::xml_node node,
               EwsResponse& response) {
  FolderInfo folder;
  if (const pugi::xml_node id = FirstElement(Child(request, "SavedItemFolderId"))) {
    folder = ResolveFolder(context, id);
  } else {
    const auto drafts =
        context.store.FindWellKnown(context.store.Mailbox(context.mailbox), "drafts");
    folder = context.store.Folder(drafts.value_or(0)).value_or(FolderInfo());
  }
  CheckPlace(request, node, folder);
  if (const std::string code = context.faults.TakeItemError(); !code.empty()) throw ErrorOf(code);
  NewItem item = ReadMessage(node);
  CheckSize(context, item);
  item.info.folder = folder.id;
  context.store.CreateItem(item);

  response.BeginSuccess();
  response.Open("m:Items");
  response.Open("t:Message");
  response.Empty("t:ItemId", IdAttributes(IdKind::kItem, item.info.id, item.info.version));
  if (!item.attachments.empty()) {
    response.Open("t:Attachments");
    for (const NewAttachment& attachment : item.attachments) {
      response.Open("t:FileAttachment");
      response.Empty("t:AttachmentId",
                     XmlAttribute("Id", MakeId(IdKind::kAttachment, attachment.info.id)));
      response.Close("t:FileAttachment");
    }
    response.Close("t:Attachments");
  }
  response.Close("t:Message");
  response.Close("m:Items");
  response.EndMessage();
}

// ---- Showing an item ----

enum class Depth { kSummary, kFull };  // what FindItem can show, and what GetItem can

class ItemShape {
 public:
  ItemShape(pugi::xml_node node, Depth depth) : m_depth(depth) {
    m_all = ChildText(node, "BaseShape") != "IdOnly";
    m_mime = IsTrue(ChildText(node, "IncludeMimeContent"));
    const pugi::xml_node paths = Child(node, "AdditionalProperties");
    for (auto path = FirstElement(paths); path; path = NextElement(path)) {
      if (LocalName(path) == "FieldURI") m_fields.push_back(Attribute(path, "FieldURI"));
      if (LocalName(path) == "ExtendedFieldURI") {
        m_properties.push_back({PropertyKey(path), std::string(Attribute(path, "PropertyType"))});
      }
    }
  }

  bool Asked(std::string_view field) const {
    return std::find(m_fields.begin(), m_fields.end(), field) != m_fields.end();
  }
  // For what a list shows, too.
  bool Wants(std::string_view field) const { return m_all || Asked(field); }
  // For what only one item at a time shows.
  bool WantsFull(std::string_view field) const { return m_depth == Depth::kFull && Wants(field); }
  bool WantsMime() const {
    return m_depth == Depth::kFull && (m_mime || Asked("item:MimeContent"));
  }
  struct Property {
    std::string key;
    std::string type;
  };
  const std::vector<Property>& Properties() const { return m_properties; }

 private:
  Depth m_depth;
  bool m_all = false;
  bool m_mime = false;
  std::vector<std::string_view> m_fields;
  std::vector<Property> m_properties;
};

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

void WriteAttachments(const Context& context, const ItemInfo& item, EwsResponse& response) {
  response.Open("t:Attachments");
  for (const AttachmentInfo& attachment : context.store.Attachments(item.id)) {
    response.Open("t:FileAttachment");
    response.Empty("t:AttachmentId",
                   XmlAttribute("Id", MakeId(IdKind::kAttachment, attachment.id)));
    response.Element("t:Name", attachment.name);
    if (!attachment.contentType.empty()) response.Element("t:ContentType", attachment.contentType);
    if (!attachment.contentId.empty()) response.Element("t:ContentId", attachment.contentId);
    response.Number("t:Size", attachment.size);
    response.Element("t:LastModifiedTime", attachment.created);
    response.Boolean("t:IsInline", attachment.isInline);
    response.Boolean("t:IsContactPhoto", attachment.isContactPhoto);
    response.Close("t:FileAttachment");
  }
  response.Close("t:Attachments");
}

// The flags as a reader sees them: as they were set, with the bits that the item's state decides.
std::string MessageFlags(const ItemInfo& item, const ExtendedProperty* stored) {
  int flags = 0;
  if (stored != nullptr && !stored->values.empty()) {
    const std::string& text = stored->values.front();
    std::from_chars(text.data(), text.data() + text.size(), flags);
  }
  flags = (flags & ~(kReadFlag | kUnsentFlag)) | (item.isRead ? kReadFlag : 0) |
          (item.isDraft ? kUnsentFlag : 0);
  return std::to_string(flags);
}

void WriteProperties(const ItemInfo& item, const ItemShape& shape, EwsResponse& response) {
  for (const ItemShape::Property& asked : shape.Properties()) {
    const auto found = std::find_if(item.properties.begin(), item.properties.end(),
                                    [&](const ExtendedProperty& p) { return p.key == asked.key; });
    const ExtendedProperty* stored = found == item.properties.end() ? nullptr : &*found;
    if (asked.key == kMessageFlags) {
      WriteProperty({asked.key, asked.type, {MessageFlags(item, stored)}}, response);
    } else if (asked.key == kSubject && stored == nullptr && !item.subject.empty()) {
      WriteProperty({asked.key, asked.type, {item.subject}}, response);
    } else if (stored != nullptr) {
      WriteProperty(*stored, response);
    }
  }
}

void WriteMime(const Context& context, const ItemInfo& item, EwsResponse& response) {
  context.store.WithMime(item.id, [&](std::string_view charset, std::string_view bytes) {
    response.Open("t:MimeContent",
                  XmlAttribute("CharacterSet", charset.empty() ? "UTF-8" : charset));
    response.Base64(bytes);
    response.Close("t:MimeContent");
  });
}

// The fields of every item, in the order of the schema.
void WriteItemFields(const Context& context, const ItemInfo& item, const ItemShape& shape,
                     EwsResponse& response) {
  if (shape.WantsMime()) WriteMime(context, item, response);
  response.Empty("t:ItemId", IdAttributes(IdKind::kItem, item.id, item.version));
  if (shape.Wants("item:ParentFolderId")) {
    response.Empty("t:ParentFolderId", IdAttributes(IdKind::kFolder, item.folder, 1));
  }
  if (shape.Wants("item:ItemClass")) response.Element("t:ItemClass", item.itemClass);
  if (shape.Wants("item:Subject")) response.Element("t:Subject", item.subject);
  if (shape.Wants("item:Sensitivity")) response.Element("t:Sensitivity", item.sensitivity);
  if (shape.WantsFull("item:Body") && !item.bodyType.empty()) {
    response.Open("t:Body", XmlAttribute("BodyType", item.bodyType));
    response.Raw(EscapeXml(item.body));
    response.Close("t:Body");
  }
  if (shape.WantsFull("item:Attachments") && item.attachmentCount > 0) {
    WriteAttachments(context, item, response);
  }
  if (shape.Wants("item:DateTimeReceived")) {
    response.Element("t:DateTimeReceived", item.received);
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
  if (shape.Wants("item:DateTimeSent") && !item.sent.empty()) {
    response.Element("t:DateTimeSent", item.sent);
  }
  if (shape.Wants("item:DateTimeCreated")) response.Element("t:DateTimeCreated", item.created);
  if (shape.Wants("item:DisplayCc")) response.Element("t:DisplayCc", Display(item.cc));
  if (shape.Wants("item:DisplayTo")) response.Element("t:DisplayTo", Display(item.to));
  if (shape.Wants("item:HasAttachments")) {
    response.Boolean("t:HasAttachments", item.attachmentCount > 0);
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

void WriteItem(const Context& context, const ItemInfo& item, const ItemShape& shape,
               EwsResponse& response) {
  const std::string tag = "t:" + item.element;
  response.Open(tag);
  WriteItemFields(context, item, shape, response);
  WriteMessageFields(item, shape, response);
  response.Close(tag);
}

void FindBelow(const Context& context, pugi::xml_node request, pugi::xml_node parent,
               const ItemShape& shape, EwsResponse& response) {
  const FolderInfo folder = ResolveFolder(context, parent);
  const bool live = Attribute(request, "Traversal") == "Shallow";
  const std::int64_t total = live ? folder.total : 0;
  const Page page = ReadPage(Child(request, "IndexedPageItemView"), total);
  const std::vector<ItemInfo> items =
      context.store.Items(folder.id, page.first, page.end - page.first);
  response.BeginSuccess();
  response.Open("m:RootFolder", PageAttributes(page, total));
  response.Open("t:Items");
  for (const ItemInfo& item : items) WriteItem(context, item, shape, response);
  response.Close("t:Items");
  response.Close("m:RootFolder");
  response.EndMessage();
}

void DeleteOne(const Context& context, std::string_view how, std::int64_t id) {
  const auto item = context.store.Item(id);
  if (!item) throw ErrorOf("ErrorItemNotFound");
  if (how != "MoveToDeletedItems") {
    if (!context.store.DeleteItem(id)) throw ErrorOf("ErrorItemNotFound");
    return;
  }
  const auto folder = context.store.Folder(item->folder);
  const auto bin = context.store.FindWellKnown(folder ? folder->mailbox : 0, "deleteditems");
  const bool done = bin ? context.store.MoveItem(id, *bin) : context.store.DeleteItem(id);
  if (!done) throw ErrorOf("ErrorItemNotFound");
}

}  // namespace

void CreateItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  for (auto node = FirstElement(Child(request, "Items")); node; node = NextElement(node)) {
    try {
      CreateOne(context, request, node, response);
    } catch (const OperationError& error) {
      response.Error(error, "Items");
    }
  }
}

void GetItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  const pugi::xml_node shapeNode = Child(request, "ItemShape");
  for (auto id = FirstElement(Child(request, "ItemIds")); id; id = NextElement(id)) {
    try {
      const ItemShape shape(shapeNode, Depth::kFull);
      const auto item = context.store.Item(ResolveId(Attribute(id, "Id"), IdKind::kItem));
      if (!item) throw ErrorOf("ErrorItemNotFound");
      response.BeginSuccess();
      response.Open("m:Items");
      WriteItem(context, *item, shape, response);
      response.Close("m:Items");
      response.EndMessage();
    } catch (const OperationError& error) {
      response.Error(error, "Items");
    }
  }
}

void FindItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  const pugi::xml_node parents = Child(request, "ParentFolderIds");
  for (auto parent = FirstElement(parents); parent; parent = NextElement(parent)) {
    try {
      const ItemShape shape(Child(request, "ItemShape"), Depth::kSummary);
      FindBelow(context, request, parent, shape, response);
    } catch (const OperationError& error) {
      response.Error(error, "");
    }
  }
}

void DeleteItem(const Context& context, pugi::xml_node request, EwsResponse& response) {
  for (auto id = FirstElement(Child(request, "ItemIds")); id; id = NextElement(id)) {
    try {
      DeleteOne(context, Attribute(request, "DeleteType"),
                ResolveId(Attribute(id, "Id"), IdKind::kItem));
      response.BeginSuccess();
      response.EndMessage();
    } catch (const OperationError& error) {
      response.Error(error, "");
    }
  }
}

}  // namespace mailbox
