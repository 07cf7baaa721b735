#include <optional>
#include <string>

#include "mailboxd/ews/EwsRequest.h"
#include "mailboxd/ews/FieldXml.h"
#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/ews/ItemReading.h"
#include "mailboxd/ews/ItemWriting.h"
#include "mailboxd/ews/Operations.h"
#include "mailboxd/store/MailOfItem.h"
#include "platform/Base64.h"

namespace mailbox {
namespace {

void AddOne(const Context& context, std::int64_t item, pugi::xml_node node, EwsResponse& response) {
  NewAttachment attachment = ReadAttachment(node);
  const auto parent = context.store.Item(item);
  if (!parent) throw ErrorOf("ErrorItemNotFound");
  const auto added = static_cast<std::int64_t>(attachment.content.size());
  if (parent->size + added > context.maximumMessageSize) {
    throw ErrorOf("ErrorMessageSizeExceeded");
  }
  const auto version = context.store.AddAttachment(item, attachment);
  if (!version) throw ErrorOf("ErrorItemNotFound");
  response.Success("m:Attachments", [&] {
    const std::string tag = AttachmentTag(attachment.info);
    response.Open(tag);
    response.Empty("t:AttachmentId",
                   XmlAttribute("Id", MakeId(IdKind::kAttachment, attachment.info.id)) +
                       XmlAttribute("RootItemId", MakeId(IdKind::kItem, item)) +
                       XmlAttribute("RootItemChangeKey", MakeChangeKey(IdKind::kItem, *version)));
    response.Close(tag);
  });
}

template <typename WriteContent>
void WriteOne(std::string_view id, const AttachmentInfo& attachment, EwsResponse& response,
              WriteContent writeContent) {
  response.Success("m:Attachments", [&] {
    OpenAttachment(id, attachment, response);
    writeContent();
    CloseAttachment(attachment, response);
  });
}

template <typename Bytes>
void WriteContent(const Bytes& bytes, EwsResponse& response) {
  response.Open("t:Content");
  response.Base64(bytes);
  response.Close("t:Content");
}

// A part of the mail that an item keeps, or of a mail attached there: a file's bytes, or a mail as
// an item of its own.
void GetPart(const Context& context, const PartId& id, std::string_view idText,
             const ItemShape& shape, EwsResponse& response) {
  const auto item = context.store.Item(id.item);
  if (!item) throw ErrorOf("ErrorItemNotFound");
  MailOfItem mail(context.store, id.item);
  const size_t last = id.path.back();
  for (size_t i = 0; i + 1 < id.path.size(); ++i) {
    if (!mail.Enter(id.path[i])) throw ErrorOf("ErrorItemNotFound");
  }
  const MailContent* const content = mail.Content();
  if (content == nullptr || last >= content->Attachments().size()) {
    throw ErrorOf("ErrorItemNotFound");
  }
  const AttachmentInfo attachment = mail.Shown(last, item->created);
  WriteOne(idText, attachment, response, [&] {
    if (!attachment.isItem) return WriteContent(content->AttachmentBytes(last), response);
    mail.Enter(last);
    WriteItem(context, mail.Describe(), mail, shape, response);
  });
}

// An item that was attached as one: it is read anew out of what was sent of it.
void WriteAttachedItem(const Context& context, const AttachmentInfo& attachment,
                       std::string_view xml, const ItemShape& shape, EwsResponse& response) {
  pugi::xml_document document;
  document.load_buffer(xml.data(), xml.size(), pugi::parse_default | pugi::parse_ws_pcdata_single);
  const pugi::xml_node node = FirstElement(document);
  NewItem item = ReadNewItem(node);
  item.info.created = attachment.created;
  item.info.size = attachment.size;
  // What is attached to it in turn stays inside it.
  if (const pugi::xml_node inner = Child(node, "Attachments")) {
    item.info.fields.push_back({"Attachments", FieldXml(inner)});
  }
  MailOfItem mail(context.store, {attachment.item, {0}},
                  item.hasMime ? std::optional(item.mime) : std::nullopt);
  WriteItem(context, item.info, mail, shape, response);
}

void GetOne(const Context& context, std::string_view idText, const ItemShape& shape,
            EwsResponse& response) {
  if (const auto part = ReadPartId(idText)) return GetPart(context, *part, idText, shape, response);
  const std::int64_t id = ResolveId(idText, IdKind::kAttachment);
  const auto attachment = context.store.Attachment(id);
  if (!attachment) throw ErrorOf("ErrorItemNotFound");
  std::string content;
  context.store.WithAttachment(id, [&](std::string_view bytes) { content = bytes; });
  WriteOne(idText, *attachment, response, [&] {
    if (!attachment->isItem) return WriteContent(content, response);
    WriteAttachedItem(context, *attachment, content, shape, response);
  });
}

// The one item in an ItemAttachment element, as it is kept.
std::string ReadAttachedItem(pugi::xml_node node) {
  constexpr int kDeepest = 4;  // items within items; each costs a look at all that is in it
  int depth = 0;
  for (pugi::xml_node outer = node; outer; outer = outer.parent()) {
    if (LocalName(outer) == "ItemAttachment") ++depth;
  }
  if (depth > kDeepest) throw ErrorOf("ErrorAttachmentNestLevelLimitExceeded");
  pugi::xml_node item;
  for (auto child = FirstElement(node); child; child = NextElement(child)) {
    if (FindItemClass(LocalName(child)) == nullptr) continue;
    if (item) throw ErrorOf("ErrorInvalidItemForOperationCreateItemAttachment");
    item = child;
  }
  if (!item) throw ErrorOf("ErrorMissingItemForCreateItemAttachment");
  (void)ReadNewItem(item);  // throws for what it could not be given back as
  return FieldXml(item);
}

[[noreturn]] void ThrowNoBase64() {
  SoapFault fault("ErrorSchemaValidation",
                  "The request failed schema validation: The "
                  "'http://schemas.microsoft.com/exchange/services/2006/types:Content' element "
                  "is invalid - The value is invalid according to its datatype "
                  "'http://www.w3.org/2001/XMLSchema:base64Binary'.");
  fault.message = "The request failed schema validation.";
  throw fault;
}

}  // namespace

std::string AttachmentTag(const AttachmentInfo& attachment) {
  return attachment.isItem ? "t:ItemAttachment" : "t:FileAttachment";
}

void OpenAttachment(std::string_view id, const AttachmentInfo& attachment, EwsResponse& response) {
  const auto optional = [&](std::string_view name, const std::string& text) {
    if (!text.empty()) response.Element(name, text);
  };
  response.Open(AttachmentTag(attachment));
  response.Empty("t:AttachmentId", XmlAttribute("Id", id));
  response.Element("t:Name", attachment.name);
  optional("t:ContentType", attachment.contentType);
  optional("t:ContentId", attachment.contentId);
  optional("t:ContentLocation", attachment.contentLocation);
  response.Number("t:Size", attachment.size);
  optional("t:LastModifiedTime", attachment.created);
  response.Boolean("t:IsInline", attachment.isInline);
  if (!attachment.isItem) response.Boolean("t:IsContactPhoto", attachment.isContactPhoto);
}

void CloseAttachment(const AttachmentInfo& attachment, EwsResponse& response) {
  response.Close(AttachmentTag(attachment));
}

NewAttachment ReadAttachment(pugi::xml_node node) {
  NewAttachment attachment;
  attachment.info.name = ChildText(node, "Name");
  attachment.info.contentType = ChildText(node, "ContentType");
  attachment.info.contentId = ChildText(node, "ContentId");
  attachment.info.contentLocation = ChildText(node, "ContentLocation");
  attachment.info.isInline = IsTrue(ChildText(node, "IsInline"));
  attachment.info.isContactPhoto = IsTrue(ChildText(node, "IsContactPhoto"));
  attachment.info.isItem = LocalName(node) == "ItemAttachment";
  if (attachment.info.isItem) {
    attachment.content = ReadAttachedItem(node);
  } else if (!platform::Base64Decode(ChildText(node, "Content"), attachment.content)) {
    ThrowNoBase64();
  }
  return attachment;
}

void CreateAttachment(const Context& context, pugi::xml_node request, EwsResponse& response) {
  const std::string_view parent = Attribute(Child(request, "ParentItemId"), "Id");
  AnswerEach(context, Child(request, "Attachments"), "Attachments", response,
             [&](pugi::xml_node node) {
               AddOne(context, ResolveId(parent, IdKind::kItem), node, response);
             });
}

void GetAttachment(const Context& context, pugi::xml_node request, EwsResponse& response) {
  AnswerEach(context, Child(request, "AttachmentIds"), "Attachments", response,
             [&](pugi::xml_node id) {
               const ItemShape shape(Child(request, "AttachmentShape"), Depth::kFull);
               GetOne(context, Attribute(id, "Id"), shape, response);
             });
}

}  // namespace mailbox
