// Items per second of each way that a mail's body takes through the engine, from its work files to
// the mailbox server and the ledger row, all of one size (but the picture pages, which are short):
// a whole message goes as it is, rich text becomes a page and the page a message, and a message
// that is too large is sent twice. For one item the table says how long a command takes, how much
// of it the engine computes, and what share that is; the rest is the server and the disk. The
// engine waits a second behind a message that was sent twice, which is taken off here.

#include <chrono>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "bench/engine/BenchEngine.h"
#include "charset/LibraryNarrow.h"
#include "client/run/EngineLogs.h"
#include "client/run/ItemWriter.h"
#include "client/run/LedgerLook.h"
#include "platform/Paths.h"
#include "platform/Unicode.h"

namespace {

using Clock = std::chrono::steady_clock;
using Files = std::vector<std::pair<std::string, std::string>>;

constexpr std::size_t kBytes = 30'000;    // of a body
constexpr std::int64_t kLimit = 200'000;  // of the server, in bytes
constexpr double kPause = 1;              // seconds, behind a message that was sent twice

struct Route {
  const char* name;
  int items;
  bool image;    // asks for the page around an image
  bool reduced;  // is refused first
  Files files;
};

std::string Wide(std::string_view utf8) {
  std::string bytes;
  for (const char16_t unit : platform::Utf8ToUtf16(utf8)) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

std::string Lines(std::string_view before, std::string_view after) {
  std::string text;
  for (int n = 0; text.size() < kBytes; ++n) {
    text +=
        fmt::format("{}line {} of the tide tables, with some words in it{}\r\n", before, n, after);
  }
  return text;
}

std::vector<Route> Routes() {
  const std::string page = "<html><body>" + Lines("<p>", "</p>") + "</body></html>";
  const std::string header = "Subject: x\r\nContent-Type: text/html; charset=utf-8\r\n\r\n";
  const std::string large =
      "Subject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
      "Content-Type: text/html\r\n\r\n" +
      page + "\r\n--b\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\n" +
      std::string(kLimit, 'x') + "\r\n--b--\r\n";
  std::string picture;  // in rich text
  for (std::size_t n = 0; n < kBytes / 10; ++n) picture += "89";
  return {
      {"whole mail", 200, false, false, {{"EmlFile.Eml", header + page}}},
      {"rich text", 200, false, false, {{"ch2111.rtf", "{\\rtf1 " + Lines("", "\\par") + "}"}}},
      {"with pictures",
       200,
       false,
       false,
       {{"ch2111.rtf", "{\\rtf1 {\\pict\\pngblip " + picture + "}{\\pict\\jpegblip " + picture +
                           "}" + Lines("", "\\par") + "}"}}},
      {"plain text", 200, false, false, {{"TextFile1.txt", Wide(Lines("", ""))}}},
      {"last page", 200, false, false, {{"GARImage.html", page}}},
      {"image page",
       200,
       true,
       false,
       {{"ImageAttchment.txt", Wide("a.png")},
        {"2ImageAttchment.txt", Wide("a.png")},
        {"a.png", std::string(kBytes, 'x')}}},
      {"reduced", 20, false, true, {{"EmlFile.Eml", large}}},
  };
}

void Write(const client::RunFolder& run, const Route& route, const std::string& key) {
  const std::string folder = run.WorkFolder() + "/";
  client::EmptyWorkFolder(run.WorkFolder());
  for (const auto& [name, bytes] : route.files) {
    std::ofstream(folder + name, std::ios::binary) << bytes;
  }
  std::ofstream(folder + "11comtextjj.t", std::ios::binary)
      << Wide(client::DescriptorText({key, "2024-03-04 08:12:41", true, {}}));
}

void Measure(BenchEngine& bench, const Route& route) {
  ST_ITEM_INFO info;
  info.strFilePath = platform::ToWindowsPath(bench.Run().WorkFolder() + "/");
  info.strLogFilepath = CString::FromUtf8(client::kStatusLogName);
  client::EngineClient& engine = bench.Engine().Client();
  double commands = 0;
  const clockid_t clock = ClockOf(bench.Engine().Pid());
  const double before = ProcessorTime(clock);
  for (int n = 0; n < route.items; ++n) {
    Write(bench.Run(), route, fmt::format("{} {}", route.name, n));
    const auto start = Clock::now();
    const bool page = !route.image || engine.ShowImage(CString()) == 1;
    const int result = engine.InsertItem(info);
    commands += std::chrono::duration<double>(Clock::now() - start).count();
    if (!page || result != (route.reduced ? 0 : 1)) throw std::runtime_error("an item failed");
  }
  if (route.reduced) commands -= kPause * route.items;
  const double processor = ProcessorTime(clock) - before;
  client::LedgerLook ledger(bench.Run().File(std::string(client::kLedgerName)));
  for (int n = 0; n < route.items; ++n) {
    if (ledger.HasRow("Inbox\\", fmt::format("{} {}", route.name, n), kUser)) continue;
    throw std::runtime_error("an item has no row");
  }
  fmt::print("{:<14} {:>6} {:>9.1f} {:>10.2f} {:>10.2f} {:>7.0f} %\n", route.name, route.items,
             route.items / commands, commands * 1000 / route.items, processor * 1000 / route.items,
             processor * 100 / commands);
  std::fflush(stdout);
}

void RunAll(const std::string& folder) {
  fmt::print("{:<14} {:>6} {:>9} {:>10} {:>10} {:>9}\n", "body", "items", "engine/s", "command ms",
             "engine ms", "its share");
  mailbox::ServerOptions options;
  options.https = true;
  options.maximumMessageSize = kLimit;
  BenchEngine bench(folder, options);
  for (const Route& route : Routes()) Measure(bench, route);
}

}  // namespace

int main() {
  mail::installLibraryNarrow();
  return RunInFolder("RouteBench", RunAll);
}
