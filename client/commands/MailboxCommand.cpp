#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>

#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/commands/MailboxParts.h"
#include "platform/Sqlite.h"

namespace client {
namespace {

std::unique_ptr<mailbox::Store> OpenStore(const std::string& file) {
  RequireReadable(file);
  try {
    return std::make_unique<mailbox::Store>(file, mailbox::Store::Mode::kReadOnly);
  } catch (const platform::SqliteError& error) {
    throw std::runtime_error(CannotRead(file, error.what()));
  }
}

CLI::App* AddCommand(CLI::App& app, const char* name, const char* help, std::string& data) {
  CLI::App* command = app.add_subcommand(name, help);
  command->add_option("--data", data, "Folder of the local mailbox, or the file of a store")
      ->required();
  return command;
}

}  // namespace

int RunMailbox(const Arguments& arguments) {
  std::string data;
  MailboxListing listing;
  MailboxItemView view;
  MailboxExport exported;
  CLI::App app("Shows what a local mailbox holds, also while it is served.", "tarny mailbox");
  app.require_subcommand(1);
  CLI::App* list = AddCommand(app, "ls", "Mailboxes and folders with their counts", data);
  list->add_option("--mailbox", listing.address, "Only the mailbox of that address");
  list->add_flag("--items", listing.items, "And the items in each");
  list->add_flag("--json", listing.json, "As JSON");
  CLI::App* show = AddCommand(app, "show", "One item, as a reader of mail would", data);
  show->add_option("ITEM", view.item, "Number of the item, as ls --items shows it")->required();
  CLI::Option* const asJson = show->add_flag("--json", view.json, "As JSON, with its source text");
  CLI::Option* const asHtml =
      show->add_flag("--html", view.html, "The HTML text alone, in UTF-8")->excludes(asJson);
  show->add_flag("--source", view.source, "The source text as it is stored")
      ->excludes(asJson)
      ->excludes(asHtml);
  CLI::App* save = AddCommand(app, "export", "Writes all items as .eml, .ics and .vcf files", data);
  save->add_option("--mailbox", exported.address, "Only the mailbox of that address");
  save->add_flag("--maildir", exported.maildir,
                 "Mails alone, with their state, as a Maildir for each mailbox: the Inbox is its "
                 "root, the other folders lie in it");
  save->add_option("OUT", exported.out, "A folder that is new or empty")->required();
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  const auto store =
      OpenStore(std::filesystem::is_regular_file(data) ? data : data + "/mailbox.db");
  if (*show) return ShowMailboxItem(*store, view);
  return *save ? ExportMailboxes(*store, exported) : ListMailboxes(*store, listing);
}

}  // namespace client
