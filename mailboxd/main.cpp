#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include "html/charset/LibraryNarrow.h"
#include "mailboxd/Server.h"
#include "platform/UniqueFd.h"

namespace {

constexpr int kSuccessCode = 0;
constexpr int kFailureCode = 1;
constexpr int kUsageCode = 2;

// The first line of the file, without its end.
std::string ReadPassword(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string line;
  if (!file || (!std::getline(file, line) && line.empty())) {
    throw std::runtime_error("no password in " + path);
  }
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

// Blocks the two signals in every thread and returns a descriptor that tells of them.
platform::UniqueFd WatchSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  return platform::UniqueFd(::signalfd(-1, &set, SFD_CLOEXEC));
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
  server.Stop();
  return kSuccessCode;
}

}  // namespace

int main(int argc, char** argv) {
  ::umask(077);
  std::signal(SIGPIPE, SIG_IGN);
  mail::installLibraryNarrow();
  mailbox::ServerOptions options;
  std::string passwordFile;
  bool untilStdinCloses = false;

  CLI::App app("A local mailbox that speaks Exchange Web Services on 127.0.0.1.", "mailboxd");
  app.add_option("--data", options.dataFolder, "Folder that holds the mailboxes")
      ->required()
      ->type_name("DIR");
  app.add_option("--port", options.port, "Port; any that is free when left out")
      ->check(CLI::Range(0, 65535));
  app.add_flag("--https", options.https, "Serve over TLS with the certificate in DIR");
  auto* user = app.add_option("--user", options.user, "Accept this login only; any without it");
  app.add_option("--password-file", passwordFile, "File with the login's password")->needs(user);
  app.add_flag("--until-stdin-closes", untilStdinCloses, "End when standard input ends");
  app.add_option("--max-message-size", options.maximumMessageSize,
                 "Largest item that is accepted, in bytes")
      ->check(CLI::PositiveNumber);
  app.add_option("--fault", options.faults,
                 "Fail on demand: busy:N[:MS], latency:MS, drop:N, ErrorCode:N");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "mailboxd: %s\n", error.what());
    return kUsageCode;
  }
  if (!options.user.empty() && passwordFile.empty()) {
    std::fputs("mailboxd: --user needs --password-file\n", stderr);
    return kUsageCode;
  }
  if (untilStdinCloses) {
    options.lifetime = mailbox::DataFolderLock::Lifetime::kUntilStdinCloses;
  }
  try {
    if (!passwordFile.empty()) options.password = ReadPassword(passwordFile);
    return Serve(options);
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "mailboxd: %s\n", error.what());
    return kUsageCode;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "mailboxd: %s\n", error.what());
    return kFailureCode;
  }
}
