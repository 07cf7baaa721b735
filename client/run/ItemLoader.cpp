#include "client/run/ItemLoader.h"

#include "client/run/ItemWriter.h"
#include "client/run/MailKey.h"
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

}  // namespace

LoadedItem ItemLoader::Load(const Plan::Entry& entry) {
  LoadedItem item;
  if (entry.item.prepared) {
    item.files = ListPreparedFiles(entry.item.location);
    item.hash = HashPreparedFiles(entry.item.location, item.files);
  } else {
    item.bytes = MimeBytes(entry.source->Read(entry.item));
    item.hash = platform::Sha256Hex(item.bytes);
  }
  return item;
}

void ItemLoader::Name(const Plan::Entry& entry, LoadedItem& item) {
  if (entry.item.prepared) return NamePrepared(entry, item);
  const std::string messageId = mail::MailHeader(item.bytes).text("Message-ID");
  item.ledgerKey = m_journal.ClaimKey(entry.item.folder, MailKey(messageId, item.hash), item.hash);
  item.key = item.ledgerKey;
  item.messageId = SearchableId(messageId);
}

void ItemLoader::NamePrepared(const Plan::Entry& entry, LoadedItem& item) {
  const std::string& folder = entry.item.folder;
  const ST_EML_INFO info = ReadPreparedItem(entry.item.location);
  if (info.nItemType != TYPE_EMAIL) {
    throw SourceError("the first line of its descriptor names no type of item");
  }
  std::string key = info.strMessageId.ToUtf8();
  if (key.empty()) {
    // Each is saved, be they alike: the key belongs to a place in the source.
    const std::string owner = platform::Sha256Hex(item.hash + entry.item.location);
    item.key = m_journal.ClaimKey(folder, MadeKey(item.hash), owner);
    return;
  }
  const bool taken = m_journal.IsClaimedByOther(folder, key, item.hash);
  if (taken && m_ledger.HasRow(folder, key, m_login)) {
    throw SourceError("another item with its message id is in that folder already");
  }
  if (taken || !m_journal.IsClaimed(folder, key)) m_journal.Reclaim(folder, key, item.hash);
  item.messageId = SearchableId(key);
  item.key = key;
  item.ledgerKey = std::move(key);
}

}  // namespace client
