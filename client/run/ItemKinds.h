#pragma once

#include <cstdint>

#include "client/run/Plan.h"

namespace client {

// The kinds of items that a folder of the target tells apart.
struct ItemKind {
  std::int32_t folderType;  // of a folder command
  std::int32_t storeType;   // the same where the target is a store, which reads it otherwise
  const char* folder;       // the mailbox's own
};

// By the type that a descriptor names; a mail's for any other.
const ItemKind& KindOf(std::int32_t itemType);

// A folder takes one kind. Where a source's folder holds several, mail stays, or, without any, what
// comes first; the others go below the mailbox's own folder of their kind. What bears the name of
// such an own folder takes that kind alone, whatever else lies there: a mail that is put beside a
// calendar must not move the calendar, nor be put where nobody sees it; nor is anything put among
// the mailbox's notes or into its journal. Nor must what comes later move what has arrived: `known`
// is what the folders took before. A last level by whose name the target would take another kind
// says whose it is: "Tasks\Calendar (Tasks)\". Mail stays there.
void PlaceByKind(ItemList& items, const FolderKinds& known);

// What the folders take once PlaceByKind has placed everything.
FolderKinds KindsOf(const ItemList& items);

}  // namespace client
