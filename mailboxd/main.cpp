#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

#include "charset/LibraryNarrow.h"
#include "mailboxd/Server.h"
#include "mailboxd/store/FolderLanguages.h"
#include "platform/UniqueFd.h"

namespace {

constexpr int kSuccessCode = 0;
constexpr int kFailureCode = 1;
constexpr int kUsageCode = 2;

struct Arguments {
  mailbox::ServerOptions server;
  std::string passwordFile;
  std::string language = "en";
  bool untilStdinCloses = false;
};

// The first line of the file, without its end.
std::string ReadPassword(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string line;
  if (file.is_open()) std::getline(file, line);
  if (!file.is_open() || file.bad()) {  // a folder opens, and cannot be read
    throw std::runtime_error(path + " cannot be read: " + std::strerror(errno));
  }
  if (line.ends_with('\r')) line.pop_back();
  if (line.empty()) throw std::runtime_error("no password in the first line of " + path);
  return line;
}

// The signals that ask for an end. A SIGHUP that is ignored is not among them: whoever started the
// server wants it to outlive its terminal.
sigset_t EndSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  struct sigaction hangUp {};
  sigaction(SIGHUP, nullptr, &hangUp);
  if (hangUp.sa_handler != SIG_IGN) sigaddset(&set, SIGHUP);
  return set;
}

// Blocks them in every thread and returns a descriptor that tells of them.
platform::UniqueFd WatchSignals() {
  const sigset_t set = EndSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  return platform::UniqueFd(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

// From here on a signal ends the process at once; the one that came is not seen again.
void LetSignalsEnd(int signals) {
  signalfd_siginfo taken{};
  (void)!::read(signals, &taken, sizeof taken);
  const sigset_t set = EndSignals();
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

// Returns at a signal or, if asked for, when standard input has ended.
void WaitForEnd(int signals, bool untilStdinCloses) {
  pollfd watched[2] = {{signals, POLLIN, 0}, {untilStdinCloses ? STDIN_FILENO : -1, POLLIN, 0}};
  for (;;) {
    if (::poll(watched, 2, -1) < 0) continue;
    if (watched[0].revents != 0) return;
    if (watched[1].revents == 0) continue;
    char bytes[512];
    if (::read(STDIN_FILENO, bytes, sizeof bytes) <= 0) return;
  }
}

int Serve(const mailbox::ServerOptions& options) {
  const platform::UniqueFd signals = WatchSignals();
  mailbox::Server server(options);
  server.Start();
  std::printf("mailboxd: listening on %s\n", server.Url().c_str());
  std::fflush(stdout);
  WaitForEnd(signals.Get(),
             options.lifetime == mailbox::DataFolderLock::Lifetime::kUntilStdinCloses);
  LetSignalsEnd(signals.Get());
  server.Stop();
  return kSuccessCode;
}

void AddOptions(CLI::App& app, Arguments& arguments) {
  mailbox::ServerOptions& server = arguments.server;
  // Asked for below and not by the parser, which would name it before an option that is unknown.
  app.add_option("--data", server.dataFolder,
                 "Folder that holds the mailboxes, or the file of a store, "
                 "whose pages alone are served then")
      ->type_name("DIR")
      ->option_text("DIR REQUIRED");
  app.add_option("--port", server.port, "Port; any that is free when left out")
      ->check(CLI::Range(0, 65535));
  app.add_flag("--https", server.https, "Serve over TLS with the certificate in DIR");
  auto* user = app.add_option("--user", server.user, "Accept this login only; any without it");
  app.add_option("--password-file", arguments.passwordFile, "File with the login's password")
      ->needs(user);
  app.add_flag("--until-stdin-closes", arguments.untilStdinCloses, "End when standard input ends");
  app.add_option("--max-message-size", server.maximumMessageSize,
                 "Largest item that is accepted, in bytes")
      ->check(CLI::PositiveNumber);
  app.add_option(
      "--fault", server.faults,
      "Fail on demand: busy:N[:MS], STATUS:N[:SECONDS], soap:ErrorCode:N, "
      "[OPERATION:]ErrorCode:N,\n"
      "expired:N, broken:N, close:N, drop-before:N, drop-in:N, drop:N, drop-saved:N, latency:MS,\n"
      "hold:MS; STATUS, drop and latency also behind token: or autodiscover:. The same by POST to\n"
      "/faults, a line each, with a login as any request has; DELETE ends them");
  app.add_option("--language", arguments.language,
                 "Name the folders of new mailboxes as those of that language are: ar, de, en, ja");
  app.add_option("--log", server.logFile,
                 "Append a line for each request: time, method, path, operation, mailbox, status,\n"
                 "bytes in and out, microseconds")
      ->type_name("FILE");
}

// What is missing beside what is there; "" for nothing.
const char* MissingOf(const Arguments& arguments) {
  if (arguments.server.dataFolder.empty()) return "--data is required";
  const bool open = arguments.server.user.empty();
  return !open && arguments.passwordFile.empty() ? "--user needs --password-file" : "";
}

int Fail(int code, const char* text) {
  std::fprintf(stderr, "mailboxd: %s\n", text);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  ::umask(077);
  std::signal(SIGPIPE, SIG_IGN);
  mail::installLibraryNarrow();
  Arguments arguments;
  CLI::App app("A local mailbox that speaks Exchange Web Services on 127.0.0.1.", "mailboxd");
  app.set_version_flag("--version", "mailboxd " TARNY_VERSION);
  AddOptions(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return Fail(kUsageCode, error.what());
  }
  if (const char* missing = MissingOf(arguments); *missing != '\0') {
    return Fail(kUsageCode, missing);
  }
  if (!mailbox::SetFolderLanguage(arguments.language)) {
    return Fail(kUsageCode, "--language is ar, de, en or ja");
  }
  mailbox::ServerOptions& server = arguments.server;
  if (arguments.untilStdinCloses) {
    server.lifetime = mailbox::DataFolderLock::Lifetime::kUntilStdinCloses;
  }
  try {
    if (!arguments.passwordFile.empty()) server.password = ReadPassword(arguments.passwordFile);
    return Serve(server);
  } catch (const std::invalid_argument& error) {
    return Fail(kUsageCode, error.what());
  } catch (const std::exception& error) {
    return Fail(kFailureCode, error.what());
  }
}
