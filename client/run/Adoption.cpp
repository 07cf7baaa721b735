#include "client/run/Adoption.h"

#include <stdexcept>

#include "client/run/MailKey.h"

namespace client {

TargetIndex ReadTargetFolder(TargetLook& look, Journal& journal, const std::string& folder,
                             const TargetLook::Take& alsoTo) {
  TargetIndex index;
  try {
    look.List(folder, [&](const ews::FoundItem& found) {
      // An item under a key of this run is the one with that key, and no other with its id.
      const bool own = journal.IsClaimed(folder, found.strKey.ToUtf8());
      index.Add(found, own ? TargetIndex::ById::kNo : TargetIndex::ById::kYes);
      if (alsoTo) alsoTo(found);
    });
  } catch (const platform::SqliteError&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("the target's folder " + folder + " cannot be read: " + error.what());
  }
  return index;
}

bool Adoption::Take(const std::string& folder, const LoadedItem& item) {
  auto place = m_folders.find(folder);
  if (place == m_folders.end()) {
    place = m_folders.emplace(folder, ReadTargetFolder(m_look, m_journal, folder)).first;
  }
  return place->second.Take(KeyOnItem(item.key), item.messageId, item.MimeSize()).has_value();
}

}  // namespace client
