#include "client/run/ItemLoader.h"

#include "client/run/ItemWriter.h"
#include "client/run/MailKey.h"
#include "client/run/OtherItems.h"
#include "ews/SoapWriter.h"
#include "mime/MailHeader.h"
#include "platform/CString.h"
#include "platform/Sha256.h"

namespace client {
namespace {

// As it stands in a mailbox; empty for one that no request can carry.
std::string SearchableId(const std::string& messageId) {
  CString id = CString::FromUtf8(messageId);
  id.Trim();
  const bool usable = id.GetLength() <= static_cast<int>(kMaxKey) && ews::IsXmlText(id);
  return usable ? id.ToUtf8() : std::string();
}

std::string IdOfPrepared(const std::string& location) {
  const ST_EML_INFO info = ReadPreparedItem(location);
  if (info.nItemType != TYPE_EMAIL) {
    throw SourceError("the first line of its descriptor names no type of item");
  }
  return info.strMessageId.ToUtf8();
}

}  // namespace

LoadedItem ItemLoader::Load(const Plan::Entry& entry) {
  LoadedItem item;
  if (entry.item.prepared) {
    item.files = ListPreparedFiles(entry.item.location);
    item.hash = HashPreparedFiles(entry.item.location, item.files);
  } else {
    item.bytes = entry.source->Read(entry.item);
    if (entry.item.type == TYPE_EMAIL) item.bytes = MimeBytes(std::move(item.bytes));
    item.hash = platform::Sha256Hex(item.bytes);
  }
  return item;
}

void ItemLoader::Identify(const Plan::Entry& entry, LoadedItem& item) {
  if (entry.item.type != TYPE_EMAIL) {
    item.id = IdOfOther(entry.item.type, item.bytes);
    item.key = ContentKey(MailKey(item.id, item.hash), item.hash);
    return;
  }
  item.id = entry.item.prepared ? IdOfPrepared(entry.item.location)
                                : mail::MailHeader(item.bytes).text("Message-ID");
  item.messageId = SearchableId(item.id);
  const bool asItStands = entry.item.prepared && !item.id.empty();
  item.key = ContentKey(asItStands ? item.id : MailKey(item.id, item.hash), item.hash);
}

void ItemLoader::Name(const Plan::Entry& entry, LoadedItem& item) {
  Identify(entry, item);
  if (entry.item.prepared) return NamePrepared(entry, item);
  if (entry.item.type != TYPE_EMAIL) return ClaimPlace(entry, item);
  item.ledgerKey = m_journal.ClaimKey(entry.item.folder, MailKey(item.id, item.hash), item.hash);
}

// Each is saved, be they alike: the key belongs to a place in the source.
void ItemLoader::ClaimPlace(const Plan::Entry& entry, LoadedItem& item) {
  const std::string owner = platform::Sha256Hex(item.hash + entry.item.location);
  item.key = m_journal.ClaimKey(entry.item.folder, item.key, owner);
}

void ItemLoader::NamePrepared(const Plan::Entry& entry, LoadedItem& item) {
  const std::string& folder = entry.item.folder;
  if (item.id.empty()) return ClaimPlace(entry, item);
  const bool taken = m_journal.IsClaimedByOther(folder, item.id, item.hash);
  if (taken && m_ledger.HasRow(folder, item.id, m_login)) {
    throw SourceError("another item with its message id is in that folder already");
  }
  if (taken || !m_journal.IsClaimed(folder, item.id)) {
    m_journal.Reclaim(folder, item.id, item.hash);
  }
  item.ledgerKey = item.id;
}

}  // namespace client
