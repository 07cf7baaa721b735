#pragma once

#include <string_view>

// The small vocabulary of the mailbox service, with the names that its protocol gives it.
namespace ews {

enum class ExchangeVersion { Exchange2013_SP1 = 5 };

enum class WellKnownFolderName {
  Calendar,
  Contacts,
  DeletedItems,
  Drafts,
  Inbox,
  Journal,
  JunkEmail,
  MsgFolderRoot,
  Notes,
  Outbox,
  Root,
  SentItems,
  Tasks,
  PublicFoldersRoot,
  ArchiveRoot,
  ArchiveMsgFolderRoot,
  ArchiveInbox,
  ArchiveDeletedItems,
};

enum class Importance { Low, Normal, High };
enum class BodyType { HTML, Text };
enum class MapiPropertyType { Boolean, Integer, String, SystemTime };
enum class ConnectingIdType { SmtpAddress = 2 };
enum class PropertySet { FirstClassProperties };

// The names on the wire; each stays good for ever.
std::string_view WireName(ExchangeVersion e);
std::string_view WireName(WellKnownFolderName e);  // all lower case
std::string_view WireName(Importance e);
std::string_view WireName(BodyType e);
std::string_view WireName(MapiPropertyType e);

}  // namespace ews
