#include "mailboxd/store/MailOfItem.h"

#include <string>
#include <string_view>
#include <utility>

#include "mailboxd/store/MimeProperties.h"

namespace mailbox {

MailOfItem::MailOfItem(Store& store, PartId place, const std::optional<std::string>& mime)
    : m_store(store), m_place(std::move(place)), m_looked(true) {
  if (!mime) return;
  m_mime = *mime;
  m_content.emplace(m_mime);
}

const MailContent* MailOfItem::Content() {
  if (!m_looked) {
    m_looked = true;
    std::string mime;  // a copy: the store is not held while the mail is taken apart
    const bool found = m_store.WithMime(
        m_place.item, [&](std::string_view, std::string_view bytes) { mime = bytes; });
    if (found) m_content.emplace(mime);
  }
  return m_content ? &*m_content : nullptr;
}

bool MailOfItem::WithMime(
    const std::function<void(std::string_view charset, std::string_view bytes)>& use) {
  if (!IsWithin()) return m_store.WithMime(m_place.item, use);
  if (!m_content) return false;
  use("", m_mime);
  return true;
}

PartId MailOfItem::PartAt(std::size_t index) const {
  PartId part = m_place;
  part.path.push_back(index);
  return part;
}

AttachmentInfo MailOfItem::Shown(std::size_t index, const std::string& created) {
  AttachmentInfo attachment = Content()->Attachments()[index];
  attachment.created = created;
  attachment.isItem = IsMail(index);
  return attachment;
}

bool MailOfItem::IsMail(std::size_t index) {
  const MailContent* const content = Content();
  return content != nullptr && index < content->Attachments().size() &&
         content->Attachments()[index].isItem && m_place.path.size() + 1 < PartId::kDeepest;
}

bool MailOfItem::Enter(std::size_t index) {
  if (!IsMail(index)) return false;
  m_mime = m_content->AttachmentBytes(index);
  m_place.path.push_back(index);
  m_content.emplace(m_mime);
  return true;
}

ItemInfo MailOfItem::Describe() {
  ItemInfo item;
  TakeFromMime(m_mime, item);
  item.isDraft = false;
  item.isRead = true;
  item.size = static_cast<std::int64_t>(m_mime.size());
  item.mailHasFiles = Content() != nullptr && Content()->HasFiles();
  return item;
}

bool HasFiles(const ItemInfo& item) {
  return item.attachmentCount > 0 || item.mailHasFiles.value_or(false);
}

bool LookForFiles(MailOfItem& mail, ItemInfo& item) {
  if (item.mailHasFiles || item.attachmentCount > 0) return false;
  item.mailHasFiles = mail.Content() != nullptr && mail.Content()->HasFiles();
  return true;
}

void LookForFiles(Store& store, std::vector<ItemInfo>& items) {
  std::vector<std::pair<std::int64_t, bool>> learned;
  for (ItemInfo& item : items) {
    MailOfItem mail(store, item.id);
    if (LookForFiles(mail, item)) learned.emplace_back(item.id, *item.mailHasFiles);
  }
  store.SetMailHasFiles(learned);
}

}  // namespace mailbox
