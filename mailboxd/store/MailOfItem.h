#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/store/Ids.h"
#include "mailboxd/store/MailContent.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

// The mail that an item keeps, or one that is attached within it; read and taken apart when it is
// first needed.
class MailOfItem {
 public:
  // Keeps the store.
  MailOfItem(Store& store, std::int64_t item) : m_store(store), m_place{item} {}

  // For an item inside another, which is stored there as a whole: it has that mail, or none.
  MailOfItem(Store& store, PartId place, const std::optional<std::string>& mime);

  // Null for an item without MIME content. As good as the object, until Enter.
  const MailContent* Content();
  // Calls `use` with charset and bytes, while the store is held; false where there are none.
  bool WithMime(const std::function<void(std::string_view charset, std::string_view bytes)>& use);

  const PartId& Place() const { return m_place; }
  bool IsWithin() const { return !m_place.path.empty(); }
  // For an attachment of Content(): its id, and how it is shown, with the date of its item. A mail
  // that cannot be entered is shown as a file.
  PartId PartAt(std::size_t index) const;
  AttachmentInfo Shown(std::size_t index, const std::string& created);
  // Whether that attachment is a mail that can be entered: not too deep inside others.
  bool IsMail(std::size_t index);
  // Goes on to the mail that is attached there; false where IsMail is.
  bool Enter(std::size_t index);

  // What an attached mail says of itself, as an item of its own. Without row, folder and ids.
  ItemInfo Describe();

 private:
  Store& m_store;
  PartId m_place;
  bool m_looked = false;
  std::string m_mime;  // of a mail within another
  std::optional<MailContent> m_content;
};

// Whether the item has files, as far as is known: see LookForFiles.
bool HasFiles(const ItemInfo& item);
// Sets the item's mailHasFiles where it decides and nobody has asked before; true then, for the
// store to keep it. A large mail is looked through now, and not while it is saved.
bool LookForFiles(MailOfItem& mail, ItemInfo& item);
// The same for a page of a list; what was learned is kept, in one change of the store.
void LookForFiles(Store& store, std::vector<ItemInfo>& items);

}  // namespace mailbox
