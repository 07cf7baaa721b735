#include <sys/stat.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "charset/LibraryNarrow.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "client/show/OutputText.h"
#include "localstore/LocalProvider.h"
#include "platform/MemoryPages.h"

namespace {

struct Command {
  std::string_view name;
  int (*run)(const client::Arguments&);
  std::string_view help;
};
constexpr auto kCommands = std::to_array<Command>({
    {"migrate", client::RunMigrate, "send mail from files on disk into a mailbox"},
    {"verify", client::RunVerify, "say what of a source is in the mailbox, and what is not"},
    {"users", client::RunUsers, "list the users of a tenant's directory"},
    {"groups", client::RunGroups, "list the groups of a tenant's directory"},
    {"mailbox", client::RunMailbox, "show or export what a local mailbox holds"},
    {"profiles", client::RunProfiles, "list the profiles of a run and their stores"},
    {"email", client::RunEmail, "show a mail as a reader of mail would"},
    {"mime", client::RunMime, "show the MIME tree of a message, or write it out again"},
    {"item", client::RunItem, "show the descriptor of a prepared item as JSON"},
    {"ledger", client::RunLedger, "show what the ledger of a run holds"},
    {"convert", client::RunConvert, "convert text from one charset to another"},
    {"html2text", client::RunHtml2text, "convert HTML to plain text"},
    {"mht", client::RunMht, "make one file of a page with all that it shows"},
    {"rtf2html", client::RunRtf2html, "convert rich text to a page with its pictures"},
});

void PrintUsage(std::FILE* out) {
  std::fputs("usage: tarny SUBCOMMAND ...\n\n", out);
  for (const Command& command : kCommands) {
    std::fprintf(out, "  %-10s %s\n", command.name.data(), command.help.data());
  }
  std::fputs("\ntarny SUBCOMMAND --help tells more; tarny --version tells which this is.\n", out);
}

int Run(const client::Arguments& arguments) {
  if (arguments.empty() || arguments[0] == "--help" || arguments[0] == "-h") {
    PrintUsage(arguments.empty() ? stderr : stdout);
    return arguments.empty() ? client::kExitUsage : client::kExitDone;
  }
  if (arguments[0] == "--version") {
    std::puts("tarny " TARNY_VERSION);
    return client::kExitDone;
  }
  for (const Command& command : kCommands) {
    if (arguments[0] == command.name) return command.run({arguments.begin() + 1, arguments.end()});
  }
  const std::string name = client::OneLine(arguments[0]);
  std::fprintf(stderr, "tarny: there is no %s '%s'\n\n",
               name.starts_with('-') ? "option" : "subcommand", name.c_str());
  PrintUsage(stderr);
  return client::kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  umask(077);
  (void)std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow fails like one on a full disk
  platform::KeepFreedMemory();
  mail::installLibraryNarrow();
  const localstore::Provider stores;
  const client::Arguments arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  try {
    const int exitCode = Run(arguments);
    if (exitCode == client::kExitDone) client::RequireOutputWritten();
    return exitCode;
  } catch (const std::exception& error) {
    const std::string text = client::OneLine(error.what());
    const std::string name = arguments.empty() ? "" : " " + client::OneLine(arguments[0]);
    std::fprintf(stderr, "tarny%s: %s\n", name.c_str(), text.c_str());
    return client::kExitFailed;
  }
}
