#include "mailboxd/MailOfItem.h"

#include <string>
#include <string_view>

namespace mailbox {

const MailContent* MailOfItem::Content() {
  if (!m_looked) {
    m_looked = true;
    std::string mime;  // a copy: the store is not held while the mail is taken apart
    const bool found =
        m_store.WithMime(m_item, [&](std::string_view, std::string_view bytes) { mime = bytes; });
    if (found) m_content.emplace(mime);
  }
  return m_content ? &*m_content : nullptr;
}

bool LookForFiles(MailOfItem& mail, ItemInfo& item) {
  if (item.mailHasFiles || item.attachmentCount > 0) return false;
  item.mailHasFiles = mail.Content() != nullptr && mail.Content()->HasFiles();
  return true;
}

}  // namespace mailbox
