#include "tests/system/Programs.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>

#include "client/run/LineDrain.h"
#include "platform/Sqlite.h"
#include "tests/support/ReservedPort.h"

namespace system_test {
namespace {

constexpr std::string_view kGreeting = "mailboxd: listening on ";

std::string FreshName(const std::string& folder) {
  static std::atomic<int> count = 0;
  return folder + "/output-" + std::to_string(++count);
}

platform::UniqueFd OpenOutput(const std::string& path) {
  platform::UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file) throw std::runtime_error(path + " cannot be opened");
  return file;
}

// Kept until the end of the test, so that a server that is started again finds its port free.
int PortForServer() {
  static std::mutex mutex;
  static std::vector<test_support::ReservedPort> ports;
  const std::lock_guard lock(mutex);
  return ports.emplace_back().Port();
}

}  // namespace

Program::Program(const std::string& name, std::vector<std::string> arguments,
                 const std::string& folder) {
  const std::string base = FreshName(folder);
  m_out = base + ".out";
  m_err = base + ".err";
  const platform::UniqueFd out = OpenOutput(m_out);
  const platform::UniqueFd err = OpenOutput(m_err);
  platform::ChildOptions options;
  options.arrArguments = std::move(arguments);
  options.arrArguments.insert(options.arrArguments.begin(), TARNY_BIN "/" + name);
  options.nStdout = out.Get();
  options.nStderr = err.Get();
  m_process.emplace(platform::ChildProcess::Start(options));
}

Result Program::Wait() {
  const int status = m_process->Wait();
  Result result;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = test_support::ReadAll(m_out);
  result.err = test_support::ReadAll(m_err);
  return result;
}

std::string Program::Out() const { return test_support::ReadAll(m_out); }

std::string Program::Err() const { return test_support::ReadAll(m_err); }

Result RunProgram(const std::string& name, std::vector<std::string> arguments,
                  const std::string& folder) {
  return Program(name, std::move(arguments), folder).Wait();
}

Mailbox::Mailbox(const std::string& folder, std::vector<std::string> options) {
  if (std::ranges::find(options, "--port") == options.end()) {
    options.insert(options.end(), {"--port", std::to_string(PortForServer())});
  }
  client::Pipe input = client::MakePipe();
  client::Pipe output = client::MakePipe();
  const platform::UniqueFd err = OpenOutput(FreshName(folder) + ".mailboxd");
  platform::ChildOptions start;
  start.arrArguments = {TARNY_BIN "/mailboxd", "--data", folder + "/mailbox",
                        "--until-stdin-closes"};
  start.arrArguments.insert(start.arrArguments.end(), options.begin(), options.end());
  start.nStdin = input.readEnd.Get();
  start.nStdout = output.writeEnd.Get();
  start.nStderr = err.Get();
  m_process.emplace(platform::ChildProcess::Start(start));
  output.writeEnd.Reset();
  m_stdin = std::move(input.writeEnd);
  std::string line;
  char c = 0;
  while (read(output.readEnd.Get(), &c, 1) == 1 && c != '\n') line += c;
  if (!line.starts_with(kGreeting)) throw std::runtime_error("mailboxd does not start: " + line);
  m_url = line.substr(kGreeting.size());
}

Mailbox::~Mailbox() {
  m_stdin.Reset();
  m_process->Signal(SIGCONT);
  if (!m_process->TryWait()) m_process->Wait();
}

void Mailbox::Kill() {
  m_process->Signal(SIGKILL);
  m_process->Wait();
}

std::vector<pid_t> ProcessesWhere(const std::function<bool(std::string_view)>& is) {
  std::vector<pid_t> pids;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ostringstream text;  // stays empty when the process ends meanwhile
    text << std::ifstream(entry.path() / "cmdline").rdbuf();
    std::string line = text.str();
    while (!line.empty() && line.back() == '\0') line.pop_back();
    if (is(line)) pids.push_back(std::stoi(name));
  }
  return pids;
}

std::vector<pid_t> EnginesOf(const std::string& runFolder) {
  // The whole path at the end of the command line: no other test's engine has it.
  return ProcessesWhere(
      [&](std::string_view line) { return line.ends_with("<GUID>" + runFolder); });
}

std::string StoredItem::Property(const std::string& key) const {
  for (const mailbox::ExtendedProperty& property : info.properties) {
    if (property.key == key && !property.values.empty()) return property.values.front();
  }
  return {};
}

std::vector<StoredItem> ItemsOf(const std::string& dataFolder) {
  const bool isFile = std::filesystem::is_regular_file(dataFolder);
  mailbox::Store store(isFile ? dataFolder : dataFolder + "/mailbox.db",
                       mailbox::Store::Mode::kReadOnly);
  std::vector<StoredItem> items;
  for (const mailbox::MailboxInfo& box : store.Mailboxes()) {
    for (const mailbox::FolderInfo& folder : store.Folders(box.id)) {
      for (const mailbox::ItemInfo& row : store.Items(folder.id, 0, -1)) {
        StoredItem& item = items.emplace_back();
        item.mailbox = box.address;
        item.folder = store.FolderPath(folder.id);
        item.info = store.Item(row.id).value();
        store.WithMime(row.id, [&](std::string_view, std::string_view bytes) {
          item.mime = std::string(bytes);
        });
        for (const mailbox::AttachmentInfo& file : store.Attachments(row.id)) {
          item.attachmentInfos.push_back(file);
          auto& attachment = item.attachments.emplace_back(file.name, "");
          store.WithAttachment(file.id, [&](std::string_view bytes) { attachment.second = bytes; });
        }
      }
    }
  }
  return items;
}

Contents ContentsOf(const std::string& dataFolder) {
  Contents contents;
  for (const StoredItem& item : ItemsOf(dataFolder)) ++contents[{item.folder, item.mime}];
  return contents;
}

Generated WriteMails(const test_support::TemporaryFolder& folder, int count) {
  const std::vector<std::string> places = {
      "",
      "Projects",
      "Projects/O'Brien & Sons",
      "Projects/O'Brien & Sons/\"Quoted\" &quot; <x>",
      "R\xC3\xA9sum\xC3\xA9s \xE2\x82\xAC/\xE6\x97\xA5\xE6\x9C\xAC",
      "What? 100% [x]"};
  std::mt19937 random(2024);
  Generated generated;
  for (int i = 0; i < count; ++i) {
    const std::string& place = places[static_cast<size_t>(i) % places.size()];
    std::string mail = "Date: Mon, 4 Mar 2024 08:12:" + std::to_string(10 + i % 50) + " +0100\r\n";
    mail += "Subject: number " + std::to_string(i) + "\r\n";
    if (i % 10 == 3) {
      mail += "Message-ID: <shared@example.com>\r\n";
    } else if (i % 10 == 5) {
      mail += "Message-ID: <o'quote" + std::to_string(i) + "@example.com>\r\n";
    } else if (i % 10 != 4) {
      mail += "Message-ID: <" + std::to_string(i) + "@example.com>\r\n";
    }
    mail += "\r\n";
    const size_t size = i % 50 == 0 ? 300'000 : random() % 3000;
    while (mail.size() < size) {
      mail += static_cast<char>(random() % 256);
      if (random() % 60 == 0) mail += "\r\n";
    }
    folder.Write("source/" + place + "/" + std::to_string(i) + ".eml", mail);
    ++generated.expected[{place.empty() ? "Inbox" : place, mail}];
    ++generated.count;
  }
  return generated;
}

std::vector<std::string> MigrateArguments(const test_support::TemporaryFolder& folder,
                                          const std::vector<std::string>& more) {
  std::vector<std::string> arguments = {
      "migrate", folder.File("source"), "--to",  "local:" + folder.File("mailbox"),
      "--run",   folder.File("run"),    "--json"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

Result Migrate(const test_support::TemporaryFolder& folder, const std::vector<std::string>& more) {
  return RunProgram("tarny", MigrateArguments(folder, more), folder.Path());
}

std::vector<std::string> ServerArguments(const test_support::TemporaryFolder& folder, int port,
                                         const std::vector<std::string>& more) {
  std::vector<std::string> arguments = MigrateArguments(
      folder,
      {"--user", "user@example.com", "--password-file", folder.Write("password", "secret\n")});
  *(std::ranges::find(arguments, "--to") + 1) =
      fmt::format("http://127.0.0.1:{}/EWS/Exchange.asmx", port);
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

nlohmann::json SummaryOf(const Result& result, int status) {
  EXPECT_EQ(result.status, status) << result.err;
  nlohmann::json summary = nlohmann::json::parse(result.out, nullptr, false);
  EXPECT_FALSE(summary.is_discarded()) << result.err;
  return summary;
}

int LedgerRows(const test_support::TemporaryFolder& folder) {
  try {
    platform::SqliteDatabase ledger(folder.File("run/SQLLiteNew.db"),
                                    platform::SqliteDatabase::Open::kReadOnly);
    platform::SqliteStatement query = ledger.Prepare("SELECT count(*) FROM MAILBOXINFO");
    return query.Step() ? static_cast<int>(query.Int(0)) : 0;
  } catch (const platform::SqliteError&) {
    return 0;
  }
}

}  // namespace system_test
