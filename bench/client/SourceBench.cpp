// Reading of sources: listing a Maildir and an mbox file and reading each of their mails, as a run
// does, beside `cat` reading the same bytes. Both come behind a first reading that brings the files
// into the memory of the system, so that neither waits for a disk.
//
//   SourceBench [mails of the Maildir] [MiB of the mbox file]

#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include <fmt/format.h>

#include "client/sources/Source.h"
#include "platform/ChildProcess.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMails = 100'000;
constexpr std::uint64_t kMiB = 1 << 20;
constexpr std::uint64_t kMboxMiB = 4096;
constexpr std::size_t kSmallMail = 4'000;  // bytes, of a Maildir
constexpr std::size_t kMail = 40'000;      // bytes, of an mbox file

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double PeakMiB() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

std::string Mail(std::uint64_t number, std::size_t size) {
  std::string mail = fmt::format(
      "Message-ID: <{0}@example.com>\nDate: Tue, 5 Mar 2024 09:00:00 +0100\n"
      "Subject: number {0}\nStatus: RO\n\n",
      number);
  while (mail.size() < size) mail += "The text of a mail has lines of some length, as this one.\n";
  return mail;
}

void Write(std::ofstream& file, const std::string& bytes) {
  if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
    throw std::runtime_error("the files cannot be written");
  }
}

void WriteMaildir(const std::string& path, int mails) {
  for (const char* const part : {"/cur", "/new", "/tmp"}) {
    std::filesystem::create_directories(path + part);
  }
  for (int i = 0; i < mails; ++i) {
    std::ofstream file(fmt::format("{}/cur/17096{:08}.M{}P1.host:2,S", path, i, i));
    Write(file, Mail(static_cast<std::uint64_t>(i), kSmallMail));
  }
}

void WriteMbox(const std::string& path, std::uint64_t size) {
  std::ofstream file(path, std::ios::binary);
  std::uint64_t written = 0;
  for (std::uint64_t i = 0; written < size; ++i) {
    const std::string mail =
        "From bob@example.com Tue Mar  5 09:00:00 2024\n" + Mail(i, kMail) + "\n";
    Write(file, mail);
    written += mail.size();
  }
}

double SecondsOfCat(const std::string& path) {
  const auto begin = Clock::now();
  platform::ChildOptions options;
  options.arrArguments = {"/bin/sh", "-c", "find \"$0\" -type f -print0 | xargs -0 cat > /dev/null",
                          path};
  platform::ChildProcess cat = platform::ChildProcess::Start(options);
  if (cat.Wait() != 0) throw std::runtime_error("cat failed");
  return SecondsSince(begin);
}

void Measure(const char* name, const std::string& path) {
  (void)SecondsOfCat(path);
  const double cat = SecondsOfCat(path);
  const auto begin = Clock::now();
  const auto source = client::OpenSource(path, {});
  const client::Listing listing = source->List();
  const double listed = SecondsSince(begin);
  const double peak = PeakMiB();
  std::uint64_t bytes = 0;
  for (const client::SourceItem& item : listing.items) bytes += source->Read(item).size();
  const double all = SecondsSince(begin);
  const double megabytes = static_cast<double>(bytes) / 1e6;
  const auto mails = static_cast<double>(listing.items.size());
  fmt::print(
      "{:8} {:7} mails {:6.0f} MB | listed {:6.2f} s | listed and read {:6.2f} s, {:7.0f} mails/s, "
      "{:5.0f} MB/s | cat {:6.2f} s | {:4.1f} times cat | peak of the list {:.0f} MiB\n",
      name, listing.items.size(), megabytes, listed, all, mails / all, megabytes / all, cat,
      all / cat, peak);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  const int mails = argc > 1 ? std::atoi(argv[1]) : kMails;
  const std::uint64_t mebibytes = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : kMboxMiB;
  std::string folder = (std::filesystem::temp_directory_path() / "tarny-bench-XXXXXX").string();
  if (!::mkdtemp(folder.data())) return 2;
  int status = 0;
  try {
    WriteMaildir(folder + "/Maildir", mails);
    Measure("Maildir", folder + "/Maildir");
    std::filesystem::remove_all(folder + "/Maildir");
    WriteMbox(folder + "/mail.mbox", mebibytes * kMiB);
    Measure("mbox", folder + "/mail.mbox");
  } catch (const std::exception& error) {
    fmt::print(stderr, "SourceBench: {}\n", error.what());
    status = 1;
  }
  std::filesystem::remove_all(folder);
  return status;
}
