#include "client/run/IncompleteItems.h"

#include <stdexcept>
#include <vector>

#include "client/run/MailKey.h"
#include "ews/FindItems.h"
#include "ews/Item.h"
#include "ews/ServiceException.h"

namespace client {

std::optional<Outcome> IncompleteItems::TakeAway(const std::string& folder,
                                                 const LoadedItem& item) {
  const std::string there = "it is there without its attachments, from an earlier run, and ";
  const std::string own = KeyOnItem(item.key);
  const CString key = CString::FromUtf8(own);
  std::vector<CString> ids;
  const auto take = [&](const ews::FoundItem& found) {
    if (IsFoundText(found.strKey, own)) ids.push_back(found.strId);
  };
  try {
    m_look.Find(folder, key, CString(), take);
    if (item.elsewhere) m_look.Find(*item.elsewhere, key, CString(), take);
    for (const CString& id : ids) {
      if (ews::Item::Delete(*m_service.Get(), id)) continue;
      return Outcome{Outcome::Kind::kFailed, there + "could not be deleted; it has to go first"};
    }
    return std::nullopt;
  } catch (const std::runtime_error& failure) {  // of a logon, too
    const bool ends = EndsRun(failure.what());
    return Outcome{ends ? Outcome::Kind::kLeft : Outcome::Kind::kFailed,
                   there + "could not be looked for: " + failure.what()};
  }
}

bool LeavesIncomplete(std::string_view text) { return text.ends_with(ews::kStaysIncomplete); }

}  // namespace client
