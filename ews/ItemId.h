#pragma once

#include "platform/CString.h"

namespace ews {

// Names an item that the server holds; empty for one that is not saved yet.
struct ItemId {
  CString strUniqueId;
  CString strChangeKey;
  bool IsSet() const { return !strUniqueId.IsEmpty(); }
};

}  // namespace ews
