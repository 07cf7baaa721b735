#include "localstore/LocalItems.h"

#include <algorithm>
#include <array>
#include <pugixml.hpp>
#include <span>
#include <stdexcept>
#include <utility>

#include "localstore/ContactFields.h"
#include "mailboxd/ews/EwsResponse.h"
#include "mailboxd/ews/FieldXml.h"
#include "mailboxd/ews/ItemClasses.h"
#include "mailboxd/ews/ItemPlace.h"
#include "mailboxd/ews/ItemReading.h"
#include "mailboxd/store/ItemFields.h"
#include "platform/Files.h"

// Items are kept as the local mailbox keeps those that a request brings: fields are read by the
// same code, so that both hold the same of one item.
namespace localstore {
namespace {

using mailbox::ItemInfo;
using mailbox::NewItem;

constexpr std::string_view kKey = "named:PublicStrings:name:TarnyKey";
constexpr std::string_view kContact = "Contact";
constexpr std::string_view kList = "DistributionList";

std::string ElementOf(const std::string& messageClass) {
  for (const char* const element : {"CalendarItem", "Task", "Contact", "DistributionList"}) {
    if (mailbox::FindItemClass(element)->itemClass == messageClass) return element;
  }
  return "Message";
}

std::string BytesOf(const CString& path) {
  auto file = platform::File::Open(path, platform::OpenMode::kRead);
  if (!file) throw std::runtime_error("The file '" + path.ToUtf8() + "' cannot be read.");
  std::string bytes(file->Length(), '\0');
  const std::span buffer(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
  if (file->Read(buffer) != bytes.size()) {
    throw std::runtime_error("The file '" + path.ToUtf8() + "' became shorter.");
  }
  return bytes;
}

pugi::xml_document Parsed(const std::string& xml) {
  pugi::xml_document document;
  constexpr unsigned kParse = pugi::parse_default | pugi::parse_ws_pcdata_single;
  if (!document.load_buffer(xml.data(), xml.size(), kParse)) {
    throw std::runtime_error("The item's fields cannot be read.");
  }
  return document;
}

// What all kinds of items share, and the attachments hold on to.
struct Content {
  std::shared_ptr<OpenStore> store;
  NewItem item;  // attachments: those that are not stored yet

  void SetFields(const std::string& element, const std::string& zone) {
    const pugi::xml_document document = Parsed(element);
    mailbox::ReadNewItem(document.document_element(), item);
    mailbox::KeepZone(zone, item.info);
  }
  void SetOccurrence(std::int64_t number, const std::string& updates) {
    if (updates.empty()) return mailbox::DeleteOccurrence(number, item.info);
    const pugi::xml_document document = Parsed(updates);
    store->Do([&](auto& open) {
      mailbox::MailOfItem none(open, {}, std::nullopt);  // occurrences have fields alone
      mailbox::ChangeOccurrence(number, document.document_element(), none, item.info);
    });
  }
  void SetText(const std::string& field, const CString& text) {
    const std::string xml =
        "<t:" + field + ">" + mailbox::EscapeXml(text.ToUtf8()) + "</t:" + field + ">";
    std::erase_if(item.info.fields, [&](const auto& one) { return one.name == field; });
    item.info.fields.push_back({field, xml});
  }
  void Save() {
    mailbox::SetListColumns(item.info);
    if (item.info.id == 0) {
      if (item.info.received.empty()) item.info.received = mailbox::UtcNow();
      store->Do([&](auto& open) { open.CreateItem(item); });
    } else if (!store->Do(
                   [&](auto& open) { return open.UpdateItem(item.info, item.attachments); })) {
      throw std::runtime_error("The item was changed or deleted by somebody else.");
    }
    store->RequireThere();
    item.attachments.clear();
    item.mime.clear();
  }
};

class LocalAttachments : public rdo::Attachments {
 public:
  explicit LocalAttachments(std::shared_ptr<Content> content) : m_content(std::move(content)) {}
  int Count() override {
    return static_cast<int>(m_content->item.info.attachmentCount) +
           static_cast<int>(m_content->item.attachments.size());
  }
  void Add(const rdo::NewAttachment& added) override {
    mailbox::NewAttachment attachment;
    attachment.info.name = added.strName.ToUtf8();
    attachment.info.contentType = added.strContentType.ToUtf8();
    attachment.info.contentId = added.strContentId.ToUtf8();
    attachment.info.isContactPhoto = added.bContactPhoto;
    attachment.content = BytesOf(added.strPath);
    m_content->item.attachments.push_back(std::move(attachment));
  }

 private:
  std::shared_ptr<Content> m_content;
};

// What a list holds of other items by.
class Holder {
 public:
  virtual ~Holder() = default;
  virtual const ItemInfo& Info() const = 0;
};

template <typename Kind>
class LocalItem : public Kind, public Holder {
 public:
  explicit LocalItem(Content content) : m_content(std::make_shared<Content>(std::move(content))) {}

  CString MessageClass() override { return CString::FromUtf8(Info().itemClass); }
  void SetSubject(const CString& text) override { m_content->item.info.subject = text.ToUtf8(); }
  void Import(const CString& charset, std::string_view bytes) override {
    if (Info().id != 0) throw std::runtime_error("A mail that is there keeps its content.");
    m_content->item.hasMime = true;
    m_content->item.mimeCharset = charset.ToUtf8();
    m_content->item.mime = bytes;
  }
  void SetFields(const std::string& element, const std::string& zone) override {
    m_content->SetFields(element, zone);
  }
  void SetOccurrence(std::int64_t number, const std::string& updates) override {
    m_content->SetOccurrence(number, updates);
  }
  std::shared_ptr<rdo::Attachments> GetAttachments() override {
    return std::make_shared<LocalAttachments>(m_content);
  }
  void Save() override { m_content->Save(); }
  const ItemInfo& Info() const override { return m_content->item.info; }

 protected:
  std::shared_ptr<Content> m_content;
};

class LocalContact : public LocalItem<rdo::ContactItem> {
 public:
  using LocalItem::LocalItem;
  CString Text(rdo::ContactField field) override {
    return CString::FromUtf8(ContactText(Info(), field));
  }
};

class LocalList : public LocalItem<rdo::DistListItem> {
 public:
  using LocalItem::LocalItem;
  CString DLName() override { return CString::FromUtf8(mailbox::FieldText(Info(), "DisplayName")); }
  void SetDLName(const CString& name) override { m_content->SetText("DisplayName", name); }
  void AddContact(rdo::Item& item, int address) override;
};

std::string AddressOf(const ItemInfo& info, int address) {
  return mailbox::EntryText(info, "EmailAddresses", "EmailAddress" + std::to_string(address + 1));
}

// A list is a member by its name, a contact by name and address; each once.
void LocalList::AddContact(rdo::Item& item, int address) {
  const auto* const holder = dynamic_cast<const Holder*>(&item);
  if (!holder) throw std::runtime_error("A member must be an item of a store.");
  mailbox::FieldTree tree(mailbox::FindField(Info(), "Members"));
  pugi::xml_node members = tree.RootNamed("t:Members");
  const std::string name = mailbox::DisplayNameOf(holder->Info());
  const std::string email = AddressOf(holder->Info(), address);
  for (const pugi::xml_node member : members.children()) {
    const pugi::xml_node known = member.child("t:Mailbox");
    if (known.child_value("t:Name") == name && known.child_value("t:EmailAddress") == email) return;
  }
  pugi::xml_node added = members.append_child("t:Member").append_child("t:Mailbox");
  added.append_child("t:Name").text().set(name.c_str());
  if (!email.empty()) added.append_child("t:EmailAddress").text().set(email.c_str());
  const bool isList = holder->Info().element == kList;
  added.append_child("t:MailboxType").text().set(isList ? "PrivateDL" : "Contact");
  auto& fields = m_content->item.info.fields;
  std::string xml = mailbox::FieldXml(members);
  std::erase_if(fields, [](const auto& one) { return one.name == "Members"; });
  fields.push_back({"Members", std::move(xml)});
}

std::shared_ptr<rdo::Item> Wrap(Content content) {
  const std::string& element = content.item.info.element;
  if (element == kContact) return std::make_shared<LocalContact>(std::move(content));
  if (element == kList) return std::make_shared<LocalList>(std::move(content));
  return std::make_shared<LocalItem<rdo::Item>>(std::move(content));
}

rdo::FoundItem FoundOf(const ItemInfo& info) {
  const auto key = std::ranges::find(info.properties, kKey, &mailbox::ExtendedProperty::key);
  const bool hasKey = key != info.properties.end() && !key->values.empty();
  return {std::to_string(info.id), hasKey ? key->values.front() : "", info.messageId, info.size};
}

class LocalItems : public rdo::Items {
 public:
  LocalItems(std::shared_ptr<OpenStore> store, std::int64_t folder)
      : m_store(std::move(store)), m_folder(folder) {}

  int Count() override {
    const auto folder = m_store->Do([&](auto& store) { return store.Folder(m_folder); });
    if (!folder) throw std::runtime_error("The folder is not there any more.");
    return static_cast<int>(folder->total);
  }
  std::shared_ptr<rdo::Item> At(int index) override {
    const auto found =
        m_store->Do([&](auto& store) { return store.Items(m_folder, index - 1, 1); });
    if (index < 1 || found.empty()) return nullptr;
    Content content{m_store, {}};
    content.item.info = found.front();
    return Wrap(std::move(content));
  }
  std::shared_ptr<rdo::Item> Add(const CString& messageClass) override {
    Content content{m_store, {}};
    ItemInfo& info = content.item.info;
    info.folder = m_folder;
    info.itemClass = messageClass.ToUtf8();
    info.element = ElementOf(info.itemClass);
    info.isDraft = info.element == "Message";
    info.isRead = !info.isDraft;
    return Wrap(std::move(content));
  }
  void Find(const std::vector<std::string>& keys, const std::vector<std::string>& messageIds,
            const Take& take) override {
    std::vector<std::int64_t> taken;
    const auto search = [&](std::string_view property, const std::string& text) {
      if (text.empty()) return;
      for (const ItemInfo& info : m_store->Do(
               [&](auto& store) { return store.ItemsWithText(m_folder, property, text); })) {
        if (std::ranges::find(taken, info.id) != taken.end()) continue;
        taken.push_back(info.id);
        take(FoundOf(info));
      }
    };
    for (const std::string& key : keys) search(kKey, key);
    for (const std::string& id : messageIds) search(mailbox::kMessageIdKey, id);
  }
  void ForEach(const Take& take) override {
    m_store->Do([&](auto& store) {
      store.ForEachItem(m_folder, mailbox::Store::Load::kWithoutBody,
                        [&](const ItemInfo& info) { take(FoundOf(info)); });
    });
  }

 private:
  std::shared_ptr<OpenStore> m_store;
  std::int64_t m_folder;
};

}  // namespace

std::shared_ptr<rdo::Items> ItemsOf(std::shared_ptr<OpenStore> store, std::int64_t folder) {
  return std::make_shared<LocalItems>(std::move(store), folder);
}

}  // namespace localstore
