#include <iostream>

#include <fmt/format.h>

#include "client/commands/Commands.h"
#include "client/commands/MailboxParts.h"
#include "client/show/JsonText.h"
#include "client/show/OutputText.h"

namespace client {
namespace {

using nlohmann::json;

// Folders with something in them, and those that a client made; an empty folder that every mailbox
// has from the beginning would only be in the way.
std::vector<mailbox::FolderInfo> ShownFolders(mailbox::Store& store,
                                              const mailbox::MailboxInfo& info) {
  std::vector<mailbox::FolderInfo> folders = store.Folders(info.id);
  std::erase_if(folders, [](const mailbox::FolderInfo& folder) {
    return folder.total == 0 && !folder.wellKnown.empty();
  });
  return folders;
}

json FolderAsJson(mailbox::Store& store, const mailbox::FolderInfo& folder, bool withItems) {
  json object = {{"path", store.FolderPath(folder.id)},
                 {"class", folder.folderClass},
                 {"items", folder.total},
                 {"unread", folder.unread}};
  if (withItems) {
    json items = json::array();
    for (const mailbox::ItemInfo& item : ItemsOf(store, folder)) items.push_back(ItemAsJson(item));
    object["contents"] = items;
  }
  return object;
}

void ListAsJson(mailbox::Store& store, const MailboxListing& options) {
  json list = json::array();
  for (const mailbox::MailboxInfo& info : ChosenMailboxes(store, options.address)) {
    json folders = json::array();
    for (const mailbox::FolderInfo& folder : ShownFolders(store, info)) {
      folders.push_back(FolderAsJson(store, folder, options.items));
    }
    list.push_back({{"mailbox", info.address}, {"folders", folders}});
  }
  std::cout << JsonText(list);
}

void PrintItem(const mailbox::ItemInfo& item) {
  // When it takes place, or else when it came.
  const std::string date = !item.starts.empty()     ? item.starts
                           : !item.received.empty() ? item.received
                                                    : item.sent;
  std::cout << fmt::format("      #{:<5} {:<16}  {}{}\n", item.id, date.substr(0, 16),
                           item.subject.empty() ? "(no subject)" : OneLine(item.subject),
                           item.isRead ? "" : "  [unread]");
}

void ListAsText(mailbox::Store& store, const MailboxListing& options) {
  for (const mailbox::MailboxInfo& info : ChosenMailboxes(store, options.address)) {
    std::cout << OneLine(MailboxTitle(info.address)) << "\n";
    for (const mailbox::FolderInfo& folder : ShownFolders(store, info)) {
      std::cout << fmt::format("  {:>5}  {}\n", folder.total, OneLine(store.FolderPath(folder.id)));
      if (!options.items) continue;
      for (const mailbox::ItemInfo& item : ItemsOf(store, folder)) PrintItem(item);
    }
  }
}

}  // namespace

int ListMailboxes(mailbox::Store& store, const MailboxListing& options) {
  options.json ? ListAsJson(store, options) : ListAsText(store, options);
  return kExitDone;
}

}  // namespace client
