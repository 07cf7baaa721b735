#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "mailboxd/store/Store.h"

// What `tarny mailbox` shows and writes. Each returns the exit code and throws std::exception.
namespace client {

struct MailboxListing {
  std::string address;  // only that mailbox; empty for all
  bool items = false;
  bool json = false;
};
int ListMailboxes(mailbox::Store& store, const MailboxListing& options);

struct MailboxItemView {
  std::int64_t item = 0;
  bool json = false;
  bool source = false;
  bool html = false;
};
int ShowMailboxItem(mailbox::Store& store, const MailboxItemView& options);

struct MailboxExport {
  std::string address;   // only that mailbox; empty for all
  std::string out;       // a folder that is new or empty
  bool maildir = false;  // mails alone, as Maildirs
};
// All items as .eml, .ics and .vcf files.
int ExportMailboxes(mailbox::Store& store, const MailboxExport& options);

// What they share.

// The mailbox of that address, or all where it is empty. Throws where there is none.
std::vector<mailbox::MailboxInfo> ChosenMailboxes(mailbox::Store& store,
                                                  const std::string& address);
// Of a mailbox, for people; the public folders have no address.
std::string MailboxTitle(const std::string& address);
// Without their bodies.
std::vector<mailbox::ItemInfo> ItemsOf(mailbox::Store& store, const mailbox::FolderInfo& folder);
nlohmann::json ItemAsJson(const mailbox::ItemInfo& item);
// The bytes of a mail; empty for an item that none were stored for.
std::string MimeOf(mailbox::Store& store, std::int64_t item);

}  // namespace client
