#pragma once

#include <cstdint>
#include <optional>

#include "mailboxd/MailContent.h"
#include "mailboxd/Store.h"

namespace mailbox {

// The mail that an item keeps, taken apart when it is first needed.
class MailOfItem {
 public:
  // Keeps the store.
  MailOfItem(Store& store, std::int64_t item) : m_store(store), m_item(item) {}

  // Null for an item without MIME content. As good as the object.
  const MailContent* Content();

 private:
  Store& m_store;
  const std::int64_t m_item;
  bool m_looked = false;
  std::optional<MailContent> m_content;
};

// Sets the item's mailHasFiles where it decides and nobody has asked before; true then, for the
// store to keep it. A large mail is looked through now, and not while it is saved.
bool LookForFiles(MailOfItem& mail, ItemInfo& item);

}  // namespace mailbox
