#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "ews/ExtendedProperty.h"
#include "ews/StoredMail.h"
#include "platform/CString.h"

namespace ews {
class Item;
}

// What a driving program knows of an item and its descriptor cannot say: an object in UTF-8 JSON,
// beside the descriptor.
//
//   {"key": "<1@example.com>", "received": "2019-03-05T09:00:01Z", "flags": ["answered"]}
//
// docs/protocol.md has all members. An unknown one is passed over; a wrong value costs that
// property alone.
inline constexpr std::u16string_view kItemPropsFile = u"ItemProps.json";
inline constexpr size_t kMaxItemPropsBytes = 1u << 20;  // a larger file is not read

struct ItemProps {
  CString strKey;                           // empty: none
  std::optional<ews::UtcTime> objReceived;  // both from 1601 on, where the server's calendar begins
  std::optional<ews::UtcTime> objSent;
  bool bAnswered = false;
  bool bForwarded = false;
  bool bFlagged = false;
  bool bDraft = false;
  std::vector<CString> arrCategories;
  std::optional<ews::Sensitivity> eSensitivity;
  nlohmann::json objJson;  // the object, for the members of one type alone; null for none
};

// Both add a line to arrNotes for whatever is left out and why; without any, all of it was taken.
// A file that is missing, empty or unreadable gives none of it.
ItemProps ReadItemProps(const CString& strPath, std::vector<CString>& arrNotes);
ItemProps ParseItemProps(std::string_view strJson, std::vector<CString>& arrNotes);

// Sets what is there on the item; what is not there stays as it was.
void ApplyItemProps(const ItemProps& objProps, ews::Item& objItem);
// What makes the flags and categories of a saved mail those of objNow, where they were those of
// objBefore. A draft stays what it was.
ews::MailChanges ChangesOfState(const ItemProps& objBefore, const ItemProps& objNow);
