#pragma once

#include <algorithm>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/ews/Operations.h"
#include "mailboxd/store/MailOfItem.h"

namespace mailbox {

enum class Depth { kSummary, kFull };  // what FindItem can show, and what GetItem can

// What a request wants to see of an item. It keeps views of the request.
class ItemShape {
 public:
  ItemShape(pugi::xml_node node, Depth depth);

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
  // Whether it wants more than the item's id.
  bool WantsMore() const {
    return m_all || !m_fields.empty() || !m_properties.empty() || !m_entries.empty();
  }
  // Where a mail has its body as text and as HTML; HTML unless text is asked for.
  bool PrefersText() const { return m_text; }
  struct Property {
    std::string key;
    std::string type;
    pugi::xml_node path;
  };
  const std::vector<Property>& Properties() const { return m_properties; }
  // Whether entries of a dictionary are asked for one by one, and which: ("PhoneNumbers", "Pager").
  struct Entry {
    std::string_view field;
    std::string_view key;
  };
  const std::vector<Entry>& Entries() const { return m_entries; }

 private:
  Depth m_depth;
  bool m_all = false;
  bool m_mime = false;
  bool m_text = false;
  std::vector<std::string_view> m_fields;
  std::vector<Property> m_properties;
  std::vector<Entry> m_entries;
};

// Writes the item's element with what the shape wants, in the order of the schema. The mail is the
// item's, which is taken apart only for a shape that wants body or attachments; for a mail within
// another, the item is what it describes itself as.
void WriteItem(const Context& context, const ItemInfo& item, MailOfItem& mail,
               const ItemShape& shape, EwsResponse& response);

}  // namespace mailbox
