// `tarny migrate --adopt` with a new run folder, whose items are in the target already: requests,
// seconds and memory, beside libcurl alone reading the same pages of the folder over one kept
// connection to the same server. What is adopted is not sent, so the number of items in the target
// must stay what it was. The time of a run without items is what its start and logon take; the rest
// is shared by the reading of the folder, of the source, and a row on disk for each item.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <curl/curl.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "bench/BareCurl.h"
#include "mailboxd/Server.h"
#include "platform/ChildProcess.h"
#include "platform/Sqlite.h"
#include "platform/UniqueFd.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kUser = "bench@local.example";
constexpr int kSizes[] = {0, 2'000, 20'000};  // items
constexpr int kPage = 1'000;
constexpr size_t kMailSize = 2'000;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string MessageId(int number) { return fmt::format("<{}@example.com>", number); }

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error(path + " cannot be written");
}

void WriteSource(const std::string& folder, int items) {
  std::filesystem::create_directories(folder);
  for (int i = 0; i < items; ++i) {
    std::string mail = fmt::format("Message-ID: {}\r\nSubject: number {}\r\n\r\n", MessageId(i), i);
    mail.resize(kMailSize, 'x');
    WriteFile(fmt::format("{}/{}.eml", folder, i), mail);
  }
}

// The same items in the mailbox, with ids and keys, as an earlier run has left them; all in one
// change of its database, for their bytes are never looked at.
void FillTarget(mailbox::Server& server, const std::string& database, int items) {
  mailbox::Store& store = server.Mailboxes();
  const std::int64_t inbox = *store.FindWellKnown(store.Mailbox(kUser), "inbox");
  if (items == 0) return;
  platform::SqliteDatabase rows(database);
  rows.Execute(fmt::format(
      "BEGIN;"
      "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i+1<{}) "
      "INSERT INTO items(id,folder,element,item_class,subject,is_read,is_draft,received,sent,"
      "created,size,version,details,mail_has_files) SELECT NULL,{},'Message','IPM.Note','number "
      "'||i,0,0,'','','',{},1,"
      "json_object('messageId','<'||i||'@example.com>','properties',json_array(json_array("
      "'named:PublicStrings:name:TarnyKey','String',json_array('<'||i||'@example.com>')))),0 FROM "
      "n;"
      "INSERT INTO item_texts SELECT id,'tag:0x1035',details->>'messageId' FROM items;"
      "INSERT INTO item_texts SELECT item,'named:PublicStrings:name:TarnyKey',text FROM item_texts;"
      "COMMIT",
      items, inbox, kMailSize));
}

std::int64_t ItemsIn(mailbox::Server& server) {
  mailbox::Store& store = server.Mailboxes();
  std::int64_t items = 0;
  for (const mailbox::FolderInfo& folder : store.Folders(store.Mailbox(kUser))) {
    items += folder.total;
  }
  return items;
}

struct Run {
  double seconds = 0;
  std::int64_t requests = 0;
  nlohmann::json summary;
};

Run Adopt(mailbox::Server& server, const std::string& folder) {
  const std::string out = folder + "/out";
  const platform::UniqueFd file(open(out.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  platform::ChildOptions options;
  options.arrArguments = {TARNY_BIN "/tarny",
                          "migrate",
                          folder + "/source",
                          "--to",
                          server.EwsUrl(),
                          "--run",
                          folder + "/run",
                          "--user",
                          kUser,
                          "--password-file",
                          folder + "/word",
                          "--adopt",
                          "--json"};
  options.nStdout = file.Get();
  const std::int64_t before = server.RequestCount();
  const auto start = Clock::now();
  const int status = platform::ChildProcess::Start(options).Wait();
  Run run;
  run.seconds = SecondsSince(start);
  run.requests = server.RequestCount() - before;
  if (status != 0) throw std::runtime_error("tarny: " + platform::DescribeExit(status));
  std::ifstream text(out);
  run.summary = nlohmann::json::parse(text);
  return run;
}

std::string FindPage(int offset) {
  return fmt::format(
      "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
      "xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\" "
      "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><s:Body>"
      "<m:FindItem Traversal=\"Shallow\"><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
      "<t:AdditionalProperties><t:FieldURI FieldURI=\"item:ItemClass\"/>"
      "<t:FieldURI FieldURI=\"item:Size\"/>"
      "<t:ExtendedFieldURI PropertyTag=\"4149\" PropertyType=\"String\"/>"
      "<t:ExtendedFieldURI DistinguishedPropertySetId=\"PublicStrings\" PropertyName=\"TarnyKey\" "
      "PropertyType=\"String\"/></t:AdditionalProperties></m:ItemShape>"
      "<m:IndexedPageItemView MaxEntriesReturned=\"{}\" Offset=\"{}\" BasePoint=\"Beginning\"/>"
      "<m:ParentFolderIds><t:DistinguishedFolderId Id=\"inbox\"/></m:ParentFolderIds></m:FindItem>"
      "</s:Body></s:Envelope>",
      kPage, offset);
}

// Seconds for all pages with libcurl alone; each must hold its items.
double ReadWithCurl(const mailbox::Server& server, int items) {
  bench::BareCurl curl(kUser);
  const std::string url = server.EwsUrl();
  const auto start = Clock::now();
  for (int offset = 0; offset < items; offset += kPage) {
    const int last = std::min(offset + kPage, items) - 1;
    curl.Ask(url, FindPage(offset), fmt::format("&lt;{}@example.com&gt;", last));
  }
  return SecondsSince(start);
}

void Measure(const std::string& folder, int items) {
  std::filesystem::create_directories(folder);
  WriteFile(folder + "/word", "local\n");
  WriteSource(folder + "/source", items);
  mailbox::ServerOptions options;
  options.dataFolder = folder + "/mailbox";
  mailbox::Server server(options);
  server.Start();
  FillTarget(server, options.dataFolder + "/mailbox.db", items);
  const double curl = ReadWithCurl(server, items);
  const Run run = Adopt(server, folder);
  if (run.summary["sent"] != 0 || run.summary["there_already"] != items ||
      ItemsIn(server) != items) {
    throw std::runtime_error("something was sent that is there: " + run.summary.dump());
  }
  rusage usage{};  // of the programs that have ended; the largest of them
  getrusage(RUSAGE_CHILDREN, &usage);
  fmt::print("{:>7} {:>9} {:>9.2f} {:>10.2f} {:>9.1f}\n", items, run.requests, run.seconds, curl,
             static_cast<double>(usage.ru_maxrss) / 1024);
  std::fflush(stdout);
}

}  // namespace

int main() {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  std::string folder = std::filesystem::temp_directory_path() / "tarny-bench-XXXXXX";
  if (!mkdtemp(folder.data())) return 1;
  int exitCode = 0;
  try {
    fmt::print("{:>7} {:>9} {:>9} {:>10} {:>9}\n", "items", "requests", "adopt s", "libcurl s",
               "peak MiB");
    for (const int items : kSizes) Measure(fmt::format("{}/{}", folder, items), items);
  } catch (const std::exception& error) {
    fmt::print(stderr, "AdoptBench: {}\n", error.what());
    exitCode = 1;
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return exitCode;
}
