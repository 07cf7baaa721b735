#include "client/run/ItemLoader.h"

#include <fmt/format.h>

#include "client/run/ItemWriter.h"
#include "client/run/MailKey.h"
#include "client/run/OtherItems.h"
#include "client/sources/ContentHash.h"
#include "mime/MailHeader.h"
#include "pipeline/ST_EML_INFO.h"
#include "platform/CString.h"
#include "platform/Sha256.h"

namespace client {
namespace {

// As it stands in a mailbox.
std::string Trimmed(const std::string& messageId) {
  CString id = CString::FromUtf8(messageId);
  id.Trim();
  return id.ToUtf8();
}

ST_EML_INFO ReadTyped(const std::string& location) {
  ST_EML_INFO info = ReadPreparedItem(location);
  if (info.nItemType != TYPE_UNKNOWN) return info;
  throw SourceError("the first line of its descriptor names no type of item");
}

// What the engine enters into its ledger; empty for what gets no row.
std::string RowId(const ST_EML_INFO& info) {
  const bool hasRow = info.nItemType != TYPE_CONTACT && info.nItemType != TYPE_DIST_LIST;
  return hasRow ? info.strMessageId.ToUtf8() : std::string();
}

std::optional<Place> SecondPlace(std::int32_t type, const std::string& below) {
  using ews::WellKnownFolderName;
  if (type == TYPE_TASK) return Place("Task\\", WellKnownFolderName::MsgFolderRoot);
  if (type != TYPE_CONTACT) return std::nullopt;
  return Place("Other Contacts\\" + (below.empty() ? below : below + "\\"),
               WellKnownFolderName::Contacts);
}

}  // namespace

LoadedItem ItemLoader::Load(const Plan::Entry& entry) {
  LoadedItem item;
  if (entry.item.prepared) {
    item.files = ListPreparedFiles(entry.item.location);
    item.hash = HashPreparedFiles(entry.item.location, item.files);
  } else {
    item.bytes = entry.source->Read(entry.item);
    const bool isMail = !entry.item.IsOther();
    if (isMail) item.bytes = MimeBytes(std::move(item.bytes));
    item.state = entry.item.state;
    if (isMail) entry.source->AddState(entry.item, item.bytes, item.state);
    item.hash = isMail ? ContentHash(item.bytes) : platform::Sha256Hex(item.bytes);
  }
  return item;
}

void ItemLoader::AddFiles(const Plan::Entry& entry, LoadedItem& item) {
  if (!entry.IsMail()) return;
  FilesBeside files;
  entry.source->AddFiles(entry.item, item.bytes, files);
  item.missing = files.AllMissing();
}

void ItemLoader::Identify(const Plan::Entry& entry, LoadedItem& item) {
  if (entry.item.prepared) {
    const ST_EML_INFO info = ReadTyped(entry.item.location);
    item.id = RowId(info);
    item.elsewhere = SecondPlace(info.nItemType, info.strContactFolder.ToUtf8());
    item.mayBeSeries = info.nItemType == TYPE_CALENDER;
  } else if (entry.item.IsOther()) {
    item.id = IdOfOther(entry.item.type, item.bytes);
    item.elsewhere = SecondPlace(entry.item.type, "");
    item.mayBeSeries = entry.item.type == TYPE_CALENDER;
  } else {
    item.id = mail::MailHeader(item.bytes).text("Message-ID");
  }
  if (entry.item.type == TYPE_EMAIL) item.messageId = Trimmed(item.id);
  const bool asItStands = entry.item.prepared && !item.id.empty();
  item.key = ContentKey(asItStands ? item.id : MailKey(item.id, item.hash), item.hash);
}

void ItemLoader::Name(const Plan::Entry& entry, LoadedItem& item) {
  Identify(entry, item);
  if (entry.item.prepared) return NamePrepared(entry, item);
  if (entry.item.IsOther()) return ClaimPlace(entry, item);
  item.ledgerKey = m_journal.ClaimKey(entry.item.folder, MailKey(item.id, item.hash), item.hash);
}

bool ItemLoader::WasNamed(Journal& journal, const Plan::Entry& entry, const LoadedItem& item) {
  const std::string& folder = entry.item.folder;
  if (entry.item.prepared && !item.id.empty()) return journal.OwnerOf(folder, item.id) == item.hash;
  if (!entry.IsMail()) return journal.IsClaimed(folder, item.key);
  return journal.MailOf(folder, item.hash).has_value() ||
         journal.HasClaimed(folder, MailKey(item.id, item.hash), item.hash);
}

// Each is saved, be they alike: the key belongs to a place in the source.
void ItemLoader::ClaimPlace(const Plan::Entry& entry, LoadedItem& item) {
  const std::string owner = OwnerOf(item, entry.item.location);
  if (m_journal.IsClaimedByOther(entry.item.folder, item.key, owner)) {
    item.key = PlaceKey(item.key, owner);
  }
  item.key = m_journal.ClaimKey(entry.item.folder, item.key, owner);
}

std::string ItemLoader::OwnerOf(const LoadedItem& item, std::string_view location) {
  return platform::Sha256Hex(std::string(item.hash).append(location));
}

void ItemLoader::TakeOverKey(const Plan::Entry& entry, const std::string& key, LoadedItem& item) {
  m_journal.Reclaim(entry.item.folder, key, OwnerOf(item, entry.item.location));
  item.key = key;
}

void ItemLoader::NamePrepared(const Plan::Entry& entry, LoadedItem& item) {
  const std::string& folder = entry.item.folder;
  if (item.id.empty()) return ClaimPlace(entry, item);
  const bool taken = m_journal.IsClaimedByOther(folder, item.id, item.hash);
  if (taken && m_ledger.HasRow(folder, item.id, m_login)) {
    throw SourceError(fmt::format("another item with its {} is in that folder already",
                                  entry.item.type == TYPE_TASK ? "start" : "message id"));
  }
  if (taken || !m_journal.IsClaimed(folder, item.id)) {
    m_journal.Reclaim(folder, item.id, item.hash);
  }
  item.ledgerKey = item.id;
}

}  // namespace client
