// Items per second of one engine against mailboxd, driven over its endpoint as tarny drives it,
// beside libcurl alone posting the same CreateItem bodies over one kept connection to the same
// mailboxd. The engine's side includes the work files, the trace and the ledger row, which is on
// disk before a command returns; the ratio says what all of that costs.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <curl/curl.h>
#include <fmt/format.h>

#include "client/Console.h"
#include "client/EngineProcess.h"
#include "client/ItemWriter.h"
#include "client/LedgerLook.h"
#include "client/LocalMailbox.h"
#include "client/RunFolder.h"
#include "client/StatusLog.h"
#include "client/Target.h"
#include "ews/EmailMessage.h"
#include "ews/EwsTransport.h"
#include "ews/ExchangeService.h"
#include "ews/FolderId.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "html/charset/LibraryNarrow.h"
#include "platform/Paths.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kUser = "bench@local.example";

struct Case {
  size_t bytes;  // of one mail
  int items;
};
constexpr Case kCases[] = {{2'000, 300}, {30'000, 300}, {300'000, 100}, {3'000'000, 20}};

std::string MakeMail(const Case& size, int number) {
  std::mt19937 random(static_cast<unsigned>(number));
  std::string mail = fmt::format(
      "Date: Mon, 4 Mar 2024 08:12:41 +0100\r\nMessage-ID: <{}.{}@example.com>\r\n"
      "Subject: number {}\r\n\r\n",
      size.bytes, number, number);
  while (mail.size() < size.bytes) {
    for (int i = 0; i < 76; ++i) mail += static_cast<char>('!' + random() % 90);
    mail += "\r\n";
  }
  return mail;
}

// Keeps the body of a request in place of sending it.
class CapturingTransport : public ews::EwsTransport {
 public:
  std::string body;

 private:
  ews::HttpResponse DoSend(const ews::HttpRequest& request) override {
    body.resize(request.pBody->Length());
    request.pBody->Rewind();
    size_t done = 0;
    while (done < body.size()) {
      const size_t got = request.pBody->Read(std::span(body).subspan(done));
      if (got == 0) break;
      done += got;
    }
    throw ews::ServiceException("captured");
  }
};

// What the engine sends for this mail.
std::string CreateItemBody(const std::string& mail) {
  CapturingTransport transport;
  const ews::ScopedTransport scope(transport);
  const auto service =
      std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
  service->SetUrl(u"https://127.0.0.1/EWS/Exchange.asmx");
  ews::EmailMessage message(service);
  auto bytes = std::make_unique<unsigned char[]>(mail.size());
  std::memcpy(bytes.get(), mail.data(), mail.size());
  message.SetMimeContent({u"ASCII", std::move(bytes), mail.size()});
  message.SetIsRead(true);
  message.SetExtendedProperty({0x0E07, ews::MapiPropertyType::Integer}, std::int32_t{1});
  try {
    message.Save(ews::WellKnownFolderName::Inbox);
  } catch (const ews::ServiceException&) {
    // The transport's way to say that it has the body.
  }
  return transport.body;
}

size_t Append(char* data, size_t size, size_t count, void* text) {
  static_cast<std::string*>(text)->append(data, size * count);
  return size * count;
}

// Seconds for all bodies over one connection. Every answer must be a success.
double SendWithCurl(const client::LocalMailbox& mailbox, const std::vector<std::string>& bodies) {
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(),
                                                                 curl_easy_cleanup);
  const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(
      curl_slist_append(curl_slist_append(nullptr, "Content-Type: text/xml; charset=utf-8"),
                        "Expect:"),
      curl_slist_free_all);
  const std::string url = mailbox.Url() + "/EWS/Exchange.asmx";
  const std::string ca = mailbox.CertificateFile();
  std::string answer;
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_CAINFO, ca.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_USERNAME, kUser);
  curl_easy_setopt(curl.get(), CURLOPT_PASSWORD, "local");
  curl_easy_setopt(curl.get(), CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
  curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Append);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &answer);
  const auto start = Clock::now();
  for (const std::string& body : bodies) {
    answer.clear();
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body.data());
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    const CURLcode code = curl_easy_perform(curl.get());
    if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
    if (answer.find("NoError") == std::string::npos) throw std::runtime_error(answer);
  }
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Seconds for all mails through the engine. Every mail must have its row.
double SendWithEngine(client::EngineProcess& engine, const client::RunFolder& run,
                      const std::vector<std::string>& mails, const std::string& prefix) {
  ST_ITEM_INFO info;
  info.strFilePath = platform::ToWindowsPath(run.WorkFolder() + "/");
  info.strLogFilepath = CString::FromUtf8(client::kStatusLogName);
  const auto start = Clock::now();
  for (size_t i = 0; i < mails.size(); ++i) {
    client::EmptyWorkFolder(run.WorkFolder());
    client::WriteMail(run.WorkFolder(), {prefix + std::to_string(i), "2024-03-04 08:12:41", true},
                      mails[i]);
    if (engine.Client().InsertItem(info) != 1) throw std::runtime_error("an item failed");
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  client::LedgerLook ledger(run.File(std::string(client::kLedgerName)));
  for (size_t i = 0; i < mails.size(); ++i) {
    if (!ledger.HasRow("Inbox\\", prefix + std::to_string(i), kUser)) {
      throw std::runtime_error("an item has no row");
    }
  }
  return seconds;
}

void RunAll(const std::string& folder) {
  client::Console console;
  client::RunFolder run(folder + "/run");
  run.TakeOver(console);
  run.InstallEngine(TARNY_BIN "/TarnyOutlookEngine");
  const client::LocalMailbox mailbox(TARNY_BIN "/mailboxd", folder + "/mailbox", console);
  client::EngineProcess engine(
      run,
      {"--verify-certificates", "--safe", "--autodiscover-url", mailbox.AutodiscoverUrl(),
       "--ca-file", mailbox.CertificateFile(), "--trust-host", "127.0.0.1"},
      {mailbox.LifeLine()}, console);
  client::Target target;
  target.user = kUser;
  target.password = "local";
  ST_FOLDER_INFO inbox;
  inbox.strFolder = u"Inbox\\";
  if (!engine.Client().Logon(client::LoginRecord(target)) ||
      engine.Client().CreateFolder(inbox) != 1) {
    throw std::runtime_error("the engine cannot log on");
  }
  fmt::print("{:>10} {:>6} {:>14} {:>14} {:>8}\n", "mail", "items", "engine /s", "libcurl /s",
             "ratio");
  for (const Case& size : kCases) {
    std::vector<std::string> mails;
    std::vector<std::string> bodies;
    for (int i = 0; i < size.items; ++i) mails.push_back(MakeMail(size, i));
    for (const std::string& mail : mails) bodies.push_back(CreateItemBody(mail));
    const double curl = SendWithCurl(mailbox, bodies);
    const double ours = SendWithEngine(engine, run, mails, fmt::format("<{}.", size.bytes));
    fmt::print("{:>10} {:>6} {:>14.1f} {:>14.1f} {:>8.2f}\n", size.bytes, size.items,
               size.items / ours, size.items / curl, curl / ours);
    std::fflush(stdout);
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
    RunAll(folder);
  } catch (const std::exception& error) {
    fmt::print(stderr, "SendBench: {}\n", error.what());
    exitCode = 1;
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return exitCode;
}
