#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "base/LogNull.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/show/EmailText.h"
#include "client/show/OutputText.h"
#include "client/sources/Names.h"
#include "mailboxd/store/Store.h"
#include "mime/email/EmailBuilding.h"
#include "platform/Sqlite.h"
#include "platform/UniqueFd.h"

namespace client {
namespace {

using nlohmann::json;

struct MailboxOptions {
  std::string data;
  std::string address;  // only that mailbox; empty for all
  std::string out;
  std::int64_t item = 0;
  bool items = false;
  bool json = false;
  bool source = false;
  bool html = false;
};

std::string DisplayAddress(const std::string& address) {
  return address.empty() ? "Public Folders" : address;
}

std::vector<mailbox::MailboxInfo> Chosen(mailbox::Store& store, const MailboxOptions& options) {
  std::vector<mailbox::MailboxInfo> chosen;
  const std::string wanted = mailbox::NormalAddress(options.address);
  for (mailbox::MailboxInfo& info : store.Mailboxes()) {
    if (options.address.empty() || info.address == wanted) chosen.push_back(std::move(info));
  }
  if (chosen.empty() && !options.address.empty()) {
    throw std::runtime_error("there is no mailbox " + options.address);
  }
  return chosen;
}

std::vector<mailbox::ItemInfo> ItemsOf(mailbox::Store& store, const mailbox::FolderInfo& folder) {
  return store.Items(folder.id, 0, -1);
}

json ItemAsJson(const mailbox::ItemInfo& item) {
  return {
      {"id", item.id},       {"subject", item.subject},      {"class", item.itemClass},
      {"read", item.isRead}, {"received", item.received},    {"sent", item.sent},
      {"bytes", item.size},  {"message_id", item.messageId}, {"attachments", item.attachmentCount}};
}

json FolderAsJson(mailbox::Store& store, const mailbox::FolderInfo& folder,
                  const MailboxOptions& options) {
  json object = {{"path", store.FolderPath(folder.id)},
                 {"class", folder.folderClass},
                 {"items", folder.total},
                 {"unread", folder.unread}};
  if (options.items) {
    json items = json::array();
    for (const mailbox::ItemInfo& item : ItemsOf(store, folder)) items.push_back(ItemAsJson(item));
    object["contents"] = items;
  }
  return object;
}

void ListAsJson(mailbox::Store& store, const MailboxOptions& options) {
  json list = json::array();
  for (const mailbox::MailboxInfo& info : Chosen(store, options)) {
    json folders = json::array();
    for (const mailbox::FolderInfo& folder : store.Folders(info.id)) {
      if (folder.total > 0 || folder.wellKnown.empty()) {
        folders.push_back(FolderAsJson(store, folder, options));
      }
    }
    list.push_back({{"mailbox", info.address}, {"folders", folders}});
  }
  std::cout << list.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
}

void PrintItem(const mailbox::ItemInfo& item) {
  const std::string date = item.received.empty() ? item.sent : item.received;
  std::cout << fmt::format("      #{:<5} {:<16}  {}{}\n", item.id, date.substr(0, 16),
                           item.subject.empty() ? "(no subject)" : OneLine(item.subject),
                           item.isRead ? "" : "  [unread]");
}

// Folders with something in them, and those that a client made; an empty folder that every mailbox
// has from the beginning would only be in the way.
int List(mailbox::Store& store, const MailboxOptions& options) {
  if (options.json) {
    ListAsJson(store, options);
    return kExitDone;
  }
  for (const mailbox::MailboxInfo& info : Chosen(store, options)) {
    std::cout << OneLine(DisplayAddress(info.address)) << "\n";
    for (const mailbox::FolderInfo& folder : store.Folders(info.id)) {
      if (folder.total == 0 && !folder.wellKnown.empty()) continue;
      std::cout << fmt::format("  {:>5}  {}\n", folder.total, OneLine(store.FolderPath(folder.id)));
      if (!options.items) continue;
      for (const mailbox::ItemInfo& item : ItemsOf(store, folder)) PrintItem(item);
    }
  }
  return kExitDone;
}

std::string MimeOf(mailbox::Store& store, std::int64_t item) {
  std::string bytes;
  store.WithMime(item, [&](std::string_view, std::string_view mime) { bytes = mime; });
  return bytes;
}

std::string MailText(const std::string& mime, bool html) {
  mail::LogNull log;
  const auto email = mail::buildEmail(mime, /*bUtf8=*/false, log);
  if (email == nullptr) throw std::runtime_error("this is no mail: --source shows it");
  if (!html) return ReadableMail(*email);
  const auto text = HtmlOfMail(*email);
  if (!text) throw std::runtime_error(kNoHtmlText);
  return std::string(text->view());
}

nlohmann::ordered_json AddressJson(const mailbox::Address& address) {
  return {{"name", address.name}, {"address", address.address}};
}

nlohmann::ordered_json AddressesJson(const std::vector<mailbox::Address>& addresses) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const mailbox::Address& address : addresses) list.push_back(AddressJson(address));
  return list;
}

// Of an item that no mail's bytes were stored for.
std::string ItemText(mailbox::Store& store, const mailbox::ItemInfo& item, bool html) {
  const bool isHtml = item.bodyType == "HTML";
  if (html && !isHtml) throw std::runtime_error("the item has no HTML text");
  if (html) return item.body;
  nlohmann::ordered_json head = {{"subject", item.subject},
                                 {"from", item.from ? AddressJson(*item.from) : nullptr},
                                 {"to", AddressesJson(item.to)},
                                 {"cc", AddressesJson(item.cc)},
                                 {"bcc", AddressesJson(item.bcc)},
                                 {"date", item.sent},
                                 {"attachments", nlohmann::ordered_json::array()}};
  for (const mailbox::AttachmentInfo& file : store.Attachments(item.id)) {
    head["attachments"].push_back(
        {{"filename", file.name}, {"type", file.contentType}, {"size", file.size}});
  }
  const std::string text = isHtml              ? "(HTML text only: --html shows it)\n"
                           : item.body.empty() ? "(no text)\n"
                                               : ReadableLines(item.body);
  return ReadableHead(head) + "\n" + text;
}

int Show(mailbox::Store& store, const MailboxOptions& options) {
  const std::optional<mailbox::ItemInfo> item = store.Item(options.item);
  if (!item) throw std::runtime_error(fmt::format("there is no item {}", options.item));
  const std::string mime = MimeOf(store, item->id);
  if (options.json) {
    json object = ItemAsJson(*item);
    object["folder"] = store.FolderPath(item->folder);
    object["mime"] = mime;
    object["body"] = item->body;
    std::cout << object.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
    return kExitDone;
  }
  if (mime.empty() && options.source) throw std::runtime_error("the item has no source text");
  if (mime.empty()) {
    std::cout << ItemText(store, *item, options.html);
  } else {
    std::cout << (options.source ? mime : MailText(mime, options.html));
  }
  return kExitDone;
}

void WriteNewFile(const std::filesystem::path& path, const std::string& bytes) {
  const platform::UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  size_t done = 0;
  while (file && done < bytes.size()) {
    const ssize_t written = write(file.Get(), bytes.data() + done, bytes.size() - done);
    if (written < 0 && errno != EINTR) break;
    if (written > 0) done += static_cast<size_t>(written);
  }
  if (!file || done < bytes.size()) {
    throw std::runtime_error(path.string() + " cannot be written: " + std::strerror(errno));
  }
}

void MakeFolder(const std::filesystem::path& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) throw std::runtime_error(path.string() + " cannot be made: " + error.message());
}

// Gives each name once below a folder, without regard to case, so that the tree can be carried to
// any file system.
class UniqueNames {
 public:
  std::string Take(const std::string& wanted) {
    int& count = m_counts[Key(wanted)];  // so that many of one name are no matter
    std::string name = wanted;
    while (!m_taken.insert(Key(name)).second) name = NumberedFileName(wanted, ++count + 1);
    return name;
  }

 private:
  static std::string Key(std::string name) {
    for (char& c : name) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return name;
  }
  std::set<std::string> m_taken;
  std::map<std::string, int> m_counts;
};

struct Exported {
  std::uint64_t written = 0;
  std::uint64_t leftOut = 0;  // items that were not stored as a message's bytes
};

void ExportMailbox(mailbox::Store& store, std::int64_t id, const std::filesystem::path& out,
                   Exported& count) {
  std::map<std::int64_t, std::filesystem::path> places;
  std::map<std::filesystem::path, UniqueNames> names;
  for (const mailbox::FolderInfo& folder : store.Folders(id)) {
    // A root stands for the mailbox itself.
    const auto parent = places.find(folder.parent);
    const std::filesystem::path base = parent == places.end() ? out : parent->second;
    const std::filesystem::path place =
        folder.parent == 0 ? base : base / names[base].Take(FileName(folder.name));
    places[folder.id] = place;
    if (folder.total == 0) continue;
    MakeFolder(place);
    for (const mailbox::ItemInfo& item : ItemsOf(store, folder)) {
      const std::string mime = MimeOf(store, item.id);
      ++(mime.empty() ? count.leftOut : count.written);
      if (mime.empty()) continue;
      const std::string subject = item.subject.empty() ? "mail" : item.subject;
      WriteNewFile(place / names[place].Take(FileName(subject + ".eml")), mime);
    }
  }
}

int Export(mailbox::Store& store, const MailboxOptions& options) {
  MakeFolder(options.out);
  if (!std::filesystem::is_empty(options.out)) {
    throw std::runtime_error(options.out + " is there already and not empty");
  }
  Exported count;
  UniqueNames names;
  for (const mailbox::MailboxInfo& info : Chosen(store, options)) {
    const std::string name = names.Take(FileName(DisplayAddress(info.address)));
    ExportMailbox(store, info.id, std::filesystem::path(options.out) / name, count);
  }
  std::cerr << fmt::format("{} written to {}\n", ItemCount(count.written), OneLine(options.out));
  if (count.leftOut == 0) return kExitDone;
  std::cerr << fmt::format("{} left out for want of a source text\n", ItemCount(count.leftOut));
  return kExitFailed;
}

std::unique_ptr<mailbox::Store> OpenStore(const std::string& file) {
  RequireReadable(file);
  try {
    return std::make_unique<mailbox::Store>(file, mailbox::Store::Mode::kReadOnly);
  } catch (const platform::SqliteError& error) {
    throw std::runtime_error(CannotRead(file, error.what()));
  }
}

CLI::App* AddCommand(CLI::App& app, const char* name, const char* help, MailboxOptions& options) {
  CLI::App* command = app.add_subcommand(name, help);
  command->add_option("--data", options.data, "Folder of the local mailbox")->required();
  return command;
}

}  // namespace

int RunMailbox(const Arguments& arguments) {
  MailboxOptions options;
  CLI::App app("Shows what a local mailbox holds, also while it is served.", "tarny mailbox");
  app.require_subcommand(1);
  CLI::App* list = AddCommand(app, "ls", "Mailboxes and folders with their counts", options);
  list->add_option("--mailbox", options.address, "Only the mailbox of that address");
  list->add_flag("--items", options.items, "And the items in each");
  list->add_flag("--json", options.json, "As JSON");
  CLI::App* show = AddCommand(app, "show", "One item, as a reader of mail would", options);
  show->add_option("ITEM", options.item, "Number of the item, as ls --items shows it")->required();
  CLI::Option* const asJson =
      show->add_flag("--json", options.json, "As JSON, with its source text");
  CLI::Option* const asHtml =
      show->add_flag("--html", options.html, "The HTML text alone, in UTF-8")->excludes(asJson);
  show->add_flag("--source", options.source, "The source text as it is stored")
      ->excludes(asJson)
      ->excludes(asHtml);
  CLI::App* save = AddCommand(app, "export", "Writes all mail as .eml files", options);
  save->add_option("--mailbox", options.address, "Only the mailbox of that address");
  save->add_option("OUT", options.out, "A folder that is new or empty")->required();
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  const auto store = OpenStore(options.data + "/mailbox.db");
  if (*show) return Show(*store, options);
  return *save ? Export(*store, options) : List(*store, options);
}

}  // namespace client
