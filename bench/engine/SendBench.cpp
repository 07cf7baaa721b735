// Items per second of one engine against a mailbox server, driven over its endpoint as tarny drives
// it, beside libcurl alone posting the same CreateItem bodies from memory to the same server: over
// https and http, on one connection that is kept and on a new one for each request, with and
// without latency. The engine's side includes the work files, the trace and the ledger row, which
// is on disk before a command returns. For one item the table says what both compute, how long the
// driver writes its work files, and what a command takes beyond libcurl's request.

#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <curl/curl.h>
#include <fmt/format.h>

#include "bench/BareCurl.h"
#include "bench/engine/BenchEngine.h"
#include "charset/LibraryNarrow.h"
#include "client/run/EngineLogs.h"
#include "client/run/ItemWriter.h"
#include "client/run/LedgerLook.h"
#include "ews/EmailMessage.h"
#include "ews/EwsTransport.h"
#include "ews/ExchangeService.h"
#include "ews/FolderId.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "platform/Paths.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Case {
  std::string_view scheme;
  bool kept;     // one connection; else the server ends it behind each answer
  int latency;   // milliseconds
  size_t bytes;  // of one mail
  int items;
  bool IsOfServer(const Case& other) const {
    return std::tie(scheme, kept, latency) == std::tie(other.scheme, other.kept, other.latency);
  }
};
constexpr std::string_view kHttps = "https";
constexpr std::string_view kHttp = "http";
constexpr Case kCases[] = {
    {kHttps, true, 0, 2'000, 600},    {kHttps, true, 0, 100'000, 200},
    {kHttps, true, 0, 3'000'000, 30}, {kHttps, true, 0, 25'000'000, 6},
    {kHttps, false, 0, 2'000, 200},   {kHttps, false, 0, 100'000, 100},
    {kHttp, true, 0, 2'000, 600},     {kHttp, true, 0, 100'000, 200},
    {kHttp, true, 0, 3'000'000, 30},  {kHttp, true, 0, 25'000'000, 6},
    {kHttp, false, 0, 2'000, 200},    {kHttp, false, 0, 100'000, 100},
    {kHttps, true, 30, 2'000, 100},   {kHttps, true, 30, 30'000, 100},
    {kHttps, true, 30, 300'000, 50},
};

std::string MakeMail(const Case& size, int number) {
  std::mt19937 random(static_cast<unsigned>(number));
  std::string mail = fmt::format(
      "Date: Mon, 4 Mar 2024 08:12:41 +0100\r\nMessage-ID: <{}.{}@example.com>\r\n"
      "Subject: number {}\r\n\r\n",
      size.bytes, number, number);
  mail.reserve(size.bytes + 100);
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

struct Times {  // seconds, of all mails
  double all = 0;
  double commands = 0;   // from the command, or request, to its result
  double processor = 0;  // of the engine, or of libcurl's thread
};

// Every answer must be a success.
Times SendWithCurl(const mailbox::Server& mailbox, const std::vector<std::string>& bodies) {
  bench::BareCurl curl(kUser, mailbox.CertificateFile());
  const std::string url = mailbox.EwsUrl();
  const double processor = ProcessorTime(CLOCK_THREAD_CPUTIME_ID);
  const auto start = Clock::now();
  for (const std::string& body : bodies) curl.Ask(url, body, "NoError");
  const double all = std::chrono::duration<double>(Clock::now() - start).count();
  return {all, all, ProcessorTime(CLOCK_THREAD_CPUTIME_ID) - processor};
}

// Sends all mails through the engine. Every mail must have its row.
Times SendWithEngine(client::EngineProcess& engine, const client::RunFolder& run,
                     const std::vector<std::string>& mails, const std::string& prefix) {
  ST_ITEM_INFO info;
  info.strFilePath = platform::ToWindowsPath(run.WorkFolder() + "/");
  info.strLogFilepath = CString::FromUtf8(client::kStatusLogName);
  Times times;
  const clockid_t clock = ClockOf(engine.Pid());
  const double processor = ProcessorTime(clock);
  const auto start = Clock::now();
  for (size_t i = 0; i < mails.size(); ++i) {
    client::EmptyWorkFolder(run.WorkFolder());
    client::WriteMail(run.WorkFolder(), {prefix + std::to_string(i), "2024-03-04 08:12:41", true},
                      mails[i]);
    const auto command = Clock::now();
    if (engine.Client().InsertItem(info) != 1) throw std::runtime_error("an item failed");
    times.commands += std::chrono::duration<double>(Clock::now() - command).count();
  }
  times.all = std::chrono::duration<double>(Clock::now() - start).count();
  times.processor = ProcessorTime(clock) - processor;
  client::LedgerLook ledger(run.File(std::string(client::kLedgerName)));
  for (size_t i = 0; i < mails.size(); ++i) {
    if (!ledger.HasRow("Inbox\\", prefix + std::to_string(i), kUser)) {
      throw std::runtime_error("an item has no row");
    }
  }
  return times;
}

mailbox::ServerOptions Options(const Case& size) {
  mailbox::ServerOptions options;
  options.https = size.scheme == kHttps;
  if (size.latency > 0) options.faults.push_back(fmt::format("latency:{}", size.latency));
  if (!size.kept) options.faults.emplace_back("close:1000000");
  return options;
}

void Run(BenchEngine& bench, const Case& size) {
  std::vector<std::string> mails;
  std::vector<std::string> bodies;
  for (int i = 0; i < size.items; ++i) mails.push_back(MakeMail(size, i));
  for (const std::string& mail : mails) bodies.push_back(CreateItemBody(mail));
  const Times curl = SendWithCurl(bench.Server(), bodies);
  const Times ours =
      SendWithEngine(bench.Engine(), bench.Run(), mails, fmt::format("<{}.", size.bytes));
  const double each = 1000.0 / size.items;  // milliseconds of one item
  fmt::print("{:>5} {:>4} {:>7} {:>9} {:>5} {:>9.1f} {:>9.1f} {:>6.2f}", size.scheme,
             size.kept ? "kept" : "new", size.latency, size.bytes, size.items,
             size.items / ours.all, size.items / curl.all, curl.all / ours.all);
  fmt::print(" {:>10.3f} {:>10.3f} {:>6.2f} {:>9.2f} {:>9.2f}\n", ours.processor * each,
             curl.processor * each, ours.processor / curl.processor,
             (ours.all - ours.commands) * each, (ours.commands - curl.commands) * each);
  std::fflush(stdout);
}

void RunAll(const std::string& folder) {
  fmt::print("{:>5} {:>4} {:>7} {:>9} {:>5} {:>9} {:>9} {:>6} {:>10} {:>10} {:>6} {:>9} {:>9}\n",
             "", "", "latency", "mail", "items", "engine/s", "libcurl/s", "ratio", "engine CPU",
             "curl CPU", "ratio", "files ms", "beyond ms");
  std::optional<BenchEngine> bench;
  const Case* last = nullptr;
  for (const Case& size : kCases) {
    if (!last || !size.IsOfServer(*last)) {
      bench.reset();
      bench.emplace(fmt::format("{}/{}", folder, &size - kCases), Options(size));
    }
    Run(*bench, size);
    last = &size;
  }
}

}  // namespace

int main() {
  mail::installLibraryNarrow();
  curl_global_init(CURL_GLOBAL_DEFAULT);
  return RunInFolder("SendBench", RunAll);
}
