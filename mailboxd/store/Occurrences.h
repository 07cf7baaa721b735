#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/store/ItemFields.h"
#include "mailboxd/store/Series.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

// The occurrences of a series one by one, with what was changed of each. The item that is the
// series keeps this in a field of its own, beside those that clients know:
//
//   <t:Occurrences>
//     <t:Deleted Key="3">2024-03-12T09:00:00Z</t:Deleted>
//     <t:Changed Key="5"><t:Subject>…</t:Subject><t:Start>…</t:Start></t:Changed>
//   </t:Occurrences>
inline constexpr const char* kOccurrencesField = "Occurrences";

class Occurrences {
 public:
  struct Place {
    std::int64_t number;  // from 1
    std::int64_t start;   // seconds since 1970-01-01 UTC
    bool isChanged;
  };

  // Nothing for an item that is no series. The item must outlive this.
  static std::optional<Occurrences> Of(const ItemInfo& master);

  // Those that start from `from` on and before `to`, and those that reach into it, by their start.
  std::vector<Place> Between(std::int64_t from, std::int64_t to) const;
  // An occurrence as an item by itself, with the row of its series; nothing for a number that the
  // series does not have, and for one that was deleted.
  std::optional<ItemInfo> At(std::int64_t number) const;
  bool IsDeleted(std::int64_t number) const;
  std::vector<ItemInfo> AllChanged() const;
  std::vector<std::string> DeletedStarts() const;  // in the store's form

  // The field for the series' item, with one more occurrence deleted, or changed: it is to have
  // those fields of `changed` from now on. The occurrence must be there.
  ItemField WithDeleted(std::int64_t number) const;
  ItemField WithChanged(std::int64_t number, const std::vector<std::string>& fields,
                        const ItemInfo& changed) const;

 private:
  explicit Occurrences(const ItemInfo& master, Series series);
  pugi::xml_node ChangedEntry(std::int64_t number) const;
  ItemInfo Make(std::int64_t number, std::int64_t start) const;

  const ItemInfo* m_master;
  Series m_series;
  std::int64_t m_length;  // seconds
  std::shared_ptr<const FieldTree> m_tree;
  std::map<std::int64_t, pugi::xml_node> m_entries;  // by number
};

// Puts the field in the place of the one of its name.
void ReplaceField(ItemField field, ItemInfo& item);

}  // namespace mailbox
