#pragma once

#include <optional>

#include "client/run/ItemLoader.h"
#include "client/run/Outcome.h"
#include "client/run/TargetLook.h"
#include "client/run/TargetService.h"

namespace client {

// Items that an earlier run had to leave in the target without their attachments, since the server
// took neither those nor the request to delete the item. They go before the item is sent anew.
class IncompleteItems {
 public:
  // Both must outlive this.
  IncompleteItems(const Target& target, TargetLook& look) : m_look(look), m_service(target) {}

  // Deletes for good what carries the item's key in that folder. Returns how the item ends where
  // that fails, nothing where nothing is there any more.
  std::optional<Outcome> TakeAway(const std::string& folder, const LoadedItem& item);

 private:
  TargetLook& m_look;
  TargetService m_service;
};

// True of the text of a failure behind which an item is there without its attachments.
bool LeavesIncomplete(std::string_view text);

}  // namespace client
