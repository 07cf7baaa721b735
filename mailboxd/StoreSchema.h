#pragma once

#include <span>
#include <string_view>

namespace mailbox {

// The layout of mailbox.db. `details` of an item is a JSON object with what is only shown and never
// searched for (recipients, categories, extended properties): one row to write for each item. Bytes
// of messages and attachments lie in tables of their own, so that lists do not read them.
inline constexpr int kSchemaVersion = 1;
extern const char kSchemaSql[];

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
