// A second pass over a Maildir whose mails have arrived, as between a first run and the day of the
// change: people have read, answered and flagged one in a hundred, and one in two hundred is new.
// `tarny`, the engine and the local mailbox run as they do for anyone; what was made and what was
// told of must be exactly that, and a third pass finds nothing to do. The peer of the second pass
// is the first one, which sends all.
//
//   SecondPassBench [mails]

#include <fcntl.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "platform/ChildProcess.h"
#include "platform/UniqueFd.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMails = 10'000;
constexpr int kChangedOf = 100;  // one of so many
constexpr int kNewOf = 200;
constexpr std::size_t kMailSize = 4'000;  // bytes

std::string NameOf(int number) { return fmt::format("17096{:08}.M1P1.host", number); }

void WriteMail(const std::string& path, int number) {
  std::string mail = fmt::format(
      "Message-ID: <{0}@example.com>\nDate: Tue, 5 Mar 2024 09:00:00 +0100\n"
      "From: Jane Doe <jane@example.com>\nTo: bob@example.com\nSubject: number {0}\n\n",
      number);
  while (mail.size() < kMailSize) mail += "The text of a mail has lines of some length, as this.\n";
  std::ofstream file(path, std::ios::binary);
  file << mail;
  if (!file.flush()) throw std::runtime_error(path + " cannot be written");
}

void WriteMaildir(const std::string& maildir, int mails) {
  for (const char* const part : {"/cur", "/new", "/tmp"}) {
    std::filesystem::create_directories(maildir + part);
  }
  for (int i = 0; i < mails; ++i) WriteMail(maildir + "/cur/" + NameOf(i) + ":2,", i);
}

// Returns how many changed and how many came.
std::pair<int, int> UseMaildir(const std::string& maildir, int mails) {
  static constexpr std::array<const char*, 4> kLetters = {"S", "RS", "FS", "PRS"};
  int changed = 0;
  for (int i = 0; i < mails; i += kChangedOf, ++changed) {
    const std::string path = maildir + "/cur/" + NameOf(i) + ":2,";
    std::filesystem::rename(path, path + kLetters[static_cast<std::size_t>(changed) % 4]);
  }
  const int arrived = mails / kNewOf;
  for (int i = 0; i < arrived; ++i) {
    WriteMail(maildir + "/new/" + NameOf(mails + i), mails + i);
  }
  return {changed, arrived};
}

struct Pass {
  double seconds = 0;
  nlohmann::json summary;
};

Pass RunPass(const std::string& folder) {
  const std::string out = folder + "/out";
  const platform::UniqueFd file(
      ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  platform::ChildOptions options;
  options.arrArguments = {TARNY_BIN "/tarny",
                          "migrate",
                          folder + "/Maildir",
                          "--to",
                          "local:" + folder + "/mailbox",
                          "--run",
                          folder + "/run",
                          "--json"};
  options.nStdout = file.Get();
  const auto start = Clock::now();
  const int status = platform::ChildProcess::Start(options).Wait();
  Pass pass;
  pass.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (status != 0) throw std::runtime_error("tarny: " + platform::DescribeExit(status));
  std::ifstream text(out);
  pass.summary = nlohmann::json::parse(text);
  return pass;
}

void Tell(const char* name, const Pass& pass, const Pass& first) {
  fmt::print("{:7} {:6} created {:6} updated {:6} there already {:8.2f} s  {:5.3f} of the first\n",
             name, pass.summary["sent"].get<int>(), pass.summary["updated"].get<int>(),
             pass.summary["there_already"].get<int>(), pass.seconds, pass.seconds / first.seconds);
  std::fflush(stdout);
}

void Require(const Pass& pass, int sent, int updated, int known) {
  const nlohmann::json& found = pass.summary;
  if (found["sent"] == sent && found["updated"] == updated && found["there_already"] == known &&
      found["missing"].empty() && found["remarks"].empty()) {
    return;
  }
  throw std::runtime_error(fmt::format("not {} created, {} updated and {} known: {}", sent, updated,
                                       known, found.dump()));
}

void Measure(const std::string& folder, int mails) {
  WriteMaildir(folder + "/Maildir", mails);
  const Pass first = RunPass(folder);
  Tell("first", first, first);
  Require(first, mails, 0, 0);
  const auto [changed, arrived] = UseMaildir(folder + "/Maildir", mails);
  const Pass second = RunPass(folder);
  Tell("second", second, first);
  Require(second, arrived, changed, mails - changed);
  const Pass third = RunPass(folder);
  Tell("third", third, first);
  Require(third, 0, 0, mails + arrived);
}

}  // namespace

int main(int argc, char** argv) {
  const int mails = argc > 1 ? std::atoi(argv[1]) : kMails;
  std::string folder = (std::filesystem::temp_directory_path() / "tarny-bench-XXXXXX").string();
  if (!::mkdtemp(folder.data())) return 2;
  int status = 0;
  try {
    Measure(folder, mails);
  } catch (const std::exception& error) {
    fmt::print(stderr, "SecondPassBench: {}\n", error.what());
    status = 1;
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return status;
}
