#include "client/commands/MailboxParts.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace client {

std::vector<mailbox::MailboxInfo> ChosenMailboxes(mailbox::Store& store,
                                                  const std::string& address) {
  std::vector<mailbox::MailboxInfo> chosen;
  const std::string wanted = mailbox::NormalAddress(address);
  for (mailbox::MailboxInfo& info : store.Mailboxes()) {
    if (address.empty() || info.address == wanted) chosen.push_back(std::move(info));
  }
  if (chosen.empty() && !address.empty()) {
    throw std::runtime_error("there is no mailbox " + address);
  }
  return chosen;
}

std::string MailboxTitle(const std::string& address) {
  return address.empty() ? "Public Folders" : address;
}

std::vector<mailbox::ItemInfo> ItemsOf(mailbox::Store& store, const mailbox::FolderInfo& folder) {
  return store.Items(folder.id, 0, -1, mailbox::Store::Load::kWithoutBody);
}

nlohmann::json ItemAsJson(const mailbox::ItemInfo& item) {
  nlohmann::json object = {
      {"id", item.id},       {"subject", item.subject},      {"class", item.itemClass},
      {"read", item.isRead}, {"received", item.received},    {"sent", item.sent},
      {"bytes", item.size},  {"message_id", item.messageId}, {"attachments", item.attachmentCount}};
  if (!item.starts.empty()) object["starts"] = item.starts;
  if (!item.ends.empty()) object["ends"] = item.ends;
  return object;
}

std::string MimeOf(mailbox::Store& store, std::int64_t item) {
  std::string bytes;
  store.WithMime(item, [&](std::string_view, std::string_view mime) { bytes = mime; });
  return bytes;
}

}  // namespace client
