// The local mailbox over http on loopback. First, mails saved a second by one client over one kept
// connection, beside SQLite alone that inserts the same bytes into a table of row and content, each
// in a transaction of its own and as safe from a power cut as the mailbox keeps them. What lies
// between is http, the check against the schema, base64, the mail's header, and indexes. Then, how
// long a page of a folder takes in which 1,000 items lie, and 100,000: it is to cost the same.

#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <curl/curl.h>
#include <fmt/format.h>

#include "bench/BareCurl.h"
#include "charset/LibraryNarrow.h"
#include "mailboxd/Server.h"
#include "platform/Base64.h"
#include "platform/Sqlite.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kUser = "bench@local.example";
constexpr int kMails = 1000;
constexpr size_t kSizes[] = {2'000, 30'000};
constexpr int kFew = 1'000;
constexpr int kMany = 100'000;
constexpr int kTries = 21;  // of each page; the one in the middle counts

double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

std::string MakeMail(size_t bytes, int number) {
  std::mt19937 random(static_cast<unsigned>(number));
  std::string mail = fmt::format(
      "Date: Mon, 4 Mar 2024 08:12:41 +0100\r\nMessage-ID: <{}.{}@example.com>\r\n"
      "From: Ann <ann@example.com>\r\nTo: bob@example.com\r\nSubject: number {}\r\n\r\n",
      bytes, number, number);
  while (mail.size() < bytes) {
    for (int i = 0; i < 76; ++i) mail += static_cast<char>('!' + random() % 90);
    mail += "\r\n";
  }
  return mail;
}

std::string Envelope(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
         "<soap:Envelope xmlns:soap=\"http://schemas.xmlsoap.org/soap/envelope/\""
         " xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\""
         " xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><soap:Header>"
         "<t:RequestServerVersion Version=\"Exchange2013_SP1\"/></soap:Header><soap:Body>" +
         body + "</soap:Body></soap:Envelope>";
}

std::string CreateItem(const std::string& mail) {
  return Envelope(
      "<m:CreateItem MessageDisposition=\"SaveOnly\"><m:SavedItemFolderId>"
      "<t:DistinguishedFolderId Id=\"inbox\"/></m:SavedItemFolderId><m:Items><t:Message>"
      "<t:MimeContent CharacterSet=\"UTF-8\">" +
      platform::Base64Encode(mail) + "</t:MimeContent></t:Message></m:Items></m:CreateItem>");
}

std::string FindItem(int offset) {
  return Envelope(fmt::format(
      "<m:FindItem Traversal=\"Shallow\"><m:ItemShape><t:BaseShape>Default</t:BaseShape>"
      "</m:ItemShape><m:IndexedPageItemView MaxEntriesReturned=\"1000\" Offset=\"{}\""
      " BasePoint=\"Beginning\"/><m:ParentFolderIds><t:DistinguishedFolderId Id=\"inbox\"/>"
      "</m:ParentFolderIds></m:FindItem>",
      offset));
}

// A server of its own, with its inbox.
class Mailbox {
 public:
  explicit Mailbox(const std::string& folder) : m_server(Options(folder)) {
    m_server.Start();
    mailbox::Store& store = m_server.Mailboxes();
    m_inbox = *store.FindWellKnown(store.Mailbox(kUser), "inbox");
  }
  mailbox::Server& Server() { return m_server; }
  std::int64_t Inbox() const { return m_inbox; }

 private:
  static mailbox::ServerOptions Options(const std::string& folder) {
    mailbox::ServerOptions options;
    options.dataFolder = folder;
    return options;
  }
  mailbox::Server m_server;
  std::int64_t m_inbox = 0;
};

double SaveInMailbox(const std::string& folder, const std::vector<std::string>& mails) {
  Mailbox mailbox(folder);
  const std::string url = mailbox.Server().EwsUrl();
  std::vector<std::string> bodies;
  for (const std::string& mail : mails) bodies.push_back(CreateItem(mail));
  bench::BareCurl client(kUser);
  const auto start = Clock::now();
  for (const std::string& body : bodies) client.Ask(url, body, "NoError");
  const double seconds = Seconds(start);
  mailbox::Store& store = mailbox.Server().Mailboxes();
  const auto items = store.Items(mailbox.Inbox(), 0, -1);
  if (items.size() != mails.size()) throw std::runtime_error("not every mail is there");
  for (size_t i = 0; i < items.size(); ++i) {
    store.WithMime(items[i].id, [&](std::string_view, std::string_view bytes) {
      if (bytes != mails[i]) throw std::runtime_error("a mail is not what was sent");
    });
  }
  return seconds;
}

double SaveInSqlite(const std::string& path, const std::vector<std::string>& mails) {
  platform::SqliteDatabase database(path);
  database.Execute(
      "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
      "CREATE TABLE items(id INTEGER PRIMARY KEY, folder INTEGER, subject TEXT);"
      "CREATE TABLE mime(item INTEGER PRIMARY KEY, bytes BLOB)");
  auto item = database.Prepare("INSERT INTO items(folder,subject) VALUES(1,?)");
  auto mime = database.Prepare("INSERT INTO mime VALUES(?,?)");
  const auto start = Clock::now();
  for (const std::string& mail : mails) {
    database.Execute("BEGIN IMMEDIATE");
    item.Bind(1, "number").Run();
    mime.Bind(1, database.LastInsertRowId()).BindBlobStatic(2, mail).Run();
    database.Execute("COMMIT");
  }
  return Seconds(start);
}

void RunSaving(const std::string& folder) {
  fmt::print("{:>9} {:>6} {:>11} {:>10} {:>6}\n", "mail", "mails", "mailboxd/s", "sqlite/s",
             "ratio");
  for (const size_t bytes : kSizes) {
    std::vector<std::string> mails;
    for (int i = 0; i < kMails; ++i) mails.push_back(MakeMail(bytes, i));
    const double ours = SaveInMailbox(fmt::format("{}/{}", folder, bytes), mails);
    const double peer = SaveInSqlite(fmt::format("{}/{}.db", folder, bytes), mails);
    fmt::print("{:>9} {:>6} {:>11.1f} {:>10.1f} {:>6.2f}\n", bytes, kMails, kMails / ours,
               kMails / peer, peer / ours);
    std::fflush(stdout);
  }
}

// So many mails of 2 KB in the inbox, which differ in date and subject: one that is saved, and
// copies of its rows, behind the server's back and in one transaction.
void Fill(const std::string& folder, int count) {
  {
    Mailbox mailbox(folder);
    bench::BareCurl(kUser).Ask(mailbox.Server().EwsUrl(), CreateItem(MakeMail(2'000, 0)),
                               "NoError");
  }
  platform::SqliteDatabase database(folder + "/mailbox.db");
  database.Execute(fmt::format(
      "BEGIN;"
      "WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i+1 FROM n WHERE i<{})"
      "INSERT INTO items(id,folder,element,item_class,subject,is_read,is_draft,received,sent,"
      "created,who,size,version,details,mail_has_files)"
      "SELECT i,folder,element,item_class,'number '||i||'.',i%2,is_draft,"
      "strftime('%Y-%m-%dT%H:%M:%SZ',received,(-i)||' minutes'),sent,created,who,size,version,"
      "details,0 FROM n JOIN items ON items.id=1;"
      "INSERT INTO mime(item,charset,bytes)"
      "SELECT items.id,charset,bytes FROM items JOIN mime ON mime.item=1 WHERE items.id>1;"
      "COMMIT",
      count));
}

double Median(bench::BareCurl& client, const std::string& url, const std::string& body,
              const std::string& expected) {
  std::vector<double> times;
  for (int i = 0; i < kTries; ++i) {
    const auto start = Clock::now();
    client.Ask(url, body, expected);
    times.push_back(Seconds(start) * 1000);
  }
  std::ranges::nth_element(times, times.begin() + kTries / 2);
  return times[kTries / 2];
}

struct PageTimes {  // milliseconds
  std::string name;
  double time = 0;
};

std::vector<PageTimes> TimePages(const std::string& folder, int count) {
  Fill(folder, count);
  Mailbox mailbox(folder);
  bench::BareCurl client(kUser);
  const std::string ews = mailbox.Server().EwsUrl();
  const std::string list = fmt::format("{}/folder/{}", mailbox.Server().Url(), mailbox.Inbox());
  const int last = count - kFew;
  const auto found = fmt::format("IncludesLastItemInRange=\"{}\"", last == 0);
  return {{"FindItem, first 1000", Median(client, ews, FindItem(0), found)},
          {"FindItem, last 1000",
           Median(client, ews, FindItem(last), "IncludesLastItemInRange=\"true\"")},
          {"list, newest page", Median(client, list, "", fmt::format("number {}.<", count))},
          {"list, oldest page",
           Median(client, fmt::format("{}?page={}", list, count / 100), "", "number 2.<")},
          {"list, search for one", Median(client, list + "?q=number+777.", "", "number 777.<")}};
}

void RunPages(const std::string& folder) {
  const auto few = TimePages(folder + "/few", kFew);
  const auto many = TimePages(folder + "/many", kMany);
  fmt::print("\n{:<22} {:>12} {:>14} {:>6}\n", "page, ms", fmt::format("{} items", kFew),
             fmt::format("{} items", kMany), "ratio");
  for (size_t i = 0; i < few.size(); ++i) {
    fmt::print("{:<22} {:>12.2f} {:>14.2f} {:>6.2f}\n", few[i].name, few[i].time, many[i].time,
               many[i].time / few[i].time);
  }
}

}  // namespace

int main() {
  mail::installLibraryNarrow();
  curl_global_init(CURL_GLOBAL_DEFAULT);
  std::string folder = std::filesystem::temp_directory_path() / "tarny-bench-XXXXXX";
  if (!mkdtemp(folder.data())) return 1;
  int exitCode = 0;
  try {
    RunSaving(folder);
    RunPages(folder);
  } catch (const std::exception& error) {
    fmt::print(stderr, "MailboxBench: {}\n", error.what());
    exitCode = 1;
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return exitCode;
}
