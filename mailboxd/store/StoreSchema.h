#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/Sqlite.h"

namespace mailbox {

// The layout of mailbox.db. `details` of an item is a JSON object with what is mostly shown and
// seldom searched for (recipients, categories, extended properties): one row to write for each
// item. What items are looked up by stands in an index besides. Bytes of messages and attachments
// lie in tables of their own, and bodies behind all else, so that lists do not read them.
//
// The layout's number is the number of steps that have been made; step n turns layout n into n + 1.
// A step that has been released is never changed.
std::span<const char* const> SchemaSteps();

// Throws std::runtime_error for what another program keeps in SQLite: it has tables, and no layout
// of ours.
void RequireNotOthers(platform::SqliteDatabase& database, const std::string& path);

// What a store was given at random when it was made; empty for one of an older layout.
std::string IdentityIn(platform::SqliteDatabase& database);

// The folders that every mailbox has from its first use, parents before children. A class-less
// folder is a root.
struct WellKnownFolder {
  std::string_view id;      // DistinguishedFolderId
  std::string_view parent;  // its parent's id; "" for a root
  std::string_view name;
  std::string_view folderClass;
};
std::span<const WellKnownFolder> WellKnownFolders();

// The root that all mailboxes share.
inline constexpr WellKnownFolder kPublicRoot = {"publicfoldersroot", "", "Public Folders",
                                                "IPF.Note"};

}  // namespace mailbox
