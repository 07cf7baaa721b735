// HTML to plain text: the library, and our process beside those of w3m and html2text, on the same
// pages; every word of the page must be in each text before the clock starts. Then the time a byte
// from 10 KB to 10 MB, and the cleaning of tags.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "base/StringBuffer.h"
#include "bench/Timing.h"
#include "charset/LibraryNarrow.h"
#include "html/CkHtmlHelp.h"
#include "html/CkHtmlToText.h"
#include "platform/MemoryPages.h"

namespace {

std::string Convert(const std::string& html) {
  CkHtmlToText converter;
  converter.put_Utf8(true);
  const char* const text = converter.toText(html.c_str());
  return text != nullptr ? text : "";
}

// A newsletter with layout tables, links, a list and a quote, over and over; each piece holds its
// number.
std::string Page(std::size_t size) {
  std::string page =
      "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\">"
      "<title>News</title><style>td { padding: 0 }</style></head><body bgcolor=#ffffff>\n";
  for (std::size_t n = 0; page.size() < size; ++n) {
    const std::string number = "number" + std::to_string(n);
    page +=
        "<table width=\"100%\" cellpadding=\"0\" cellspacing=\"0\"><tr><td style=\"padding:20px\" "
        "align=left>\n<h2>Regatta on the 14th &ndash; " +
        number +
        "</h2>\n"
        "<p class=MsoNormal>Dear colleagues,&nbsp;<b>here</b> is what happens around the harbour "
        "this month; caf&eacute; and club house open at nine, and the first boats are back.</p>\n"
        "<ul><li>twelve boats</li><li>one pier</li></ul>\n"
        "<blockquote><p>When does it <i>start</i>?</p></blockquote>\n"
        "<p><a href=\"https://news.example/c/91bc?u=" +
        std::to_string(n) +
        "&amp;v=1\" target=_blank>Put your name down</a></p></td>\n"
        "<td><img src=\"a.png\" width=1 height=1 alt=\"\"><br>next to it</td></tr></table>\n";
  }
  return page + "</body></html>\n";
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

bool HoldsAllNumbers(std::string_view text, std::string_view page) {
  for (std::size_t n = 0;; ++n) {
    const std::string word = "number" + std::to_string(n);
    if (page.find(word + "<") == std::string_view::npos) return n > 0;
    if (text.find(word) == std::string_view::npos) return false;
  }
}

struct Peer {
  const char* name;
  const char* command;  // behind it comes the page
};
constexpr std::array kPeers = {
    Peer{"tarny", TARNY_BIN "/tarny html2text"},
    Peer{"w3m", "w3m -dump -T text/html -I UTF-8 -O UTF-8"},
    Peer{"html2text", "html2text -utf8 -nobs"},
};

bool IsThere(const Peer& peer) {
  const std::string program =
      std::string(peer.command).substr(0, std::string(peer.command).find(' '));
  return std::system(("command -v " + program + " > /dev/null 2>&1").c_str()) == 0;
}

// Microseconds of the whole process, start-up among them; 0 for a peer that is not installed.
double TimeOfProcess(const Peer& peer, const std::string& input, const std::string& page) {
  if (!IsThere(peer)) return 0;
  const std::string output = input + ".txt";
  const std::string command = std::string(peer.command) + " " + input + " > " + output;
  const auto run = [&] {
    if (std::system(command.c_str()) != 0) std::abort();
  };
  run();
  if (!HoldsAllNumbers(ReadFile(output), page)) {
    std::printf("%s lacks words of the page\n", peer.name);
    std::exit(1);
  }
  return bench::BestTime(run) / 1000;
}

void CompareWithPeers(const std::filesystem::path& folder) {
  std::printf("microseconds; 0: not installed\n%10s %12s", "bytes", "library");
  for (const Peer& peer : kPeers) std::printf(" %12s", peer.name);
  std::puts("");
  for (const std::size_t size : {10'000U, 100'000U, 1'000'000U}) {
    const std::string page = Page(size);
    const std::string input = folder / "in.html";
    std::ofstream(input, std::ios::binary) << page;
    if (!HoldsAllNumbers(Convert(page), page)) std::abort();
    const double call = bench::BestTime([&] { (void)Convert(page); });
    std::printf("%10zu %12.0f", page.size(), call / 1000);
    for (const Peer& peer : kPeers) std::printf(" %12.0f", TimeOfProcess(peer, input, page));
    std::puts("");
  }
}

void ShowGrowth() {
  std::printf("\n%10s %12s %12s\n", "bytes", "ns a byte", "MB/s");
  for (const std::size_t size : {10'000U, 100'000U, 1'000'000U, 10'000'000U}) {
    const std::string page = Page(size);
    const double time = bench::BestTime([&] { (void)Convert(page); });
    const auto bytes = static_cast<double>(page.size());
    std::printf("%10zu %12.2f %12.1f\n", page.size(), time / bytes, bytes * 1000 / time);
  }
}

void ShowTagCleaning() {
  constexpr std::array<std::string_view, 6> kTags = {
      "<img src=\"https://x.example/logo.png\" alt=\"Harbour Lights\" width=\"600\" height=\"80\" "
      "/>",
      "<td style=\"font-size:11px;color:#999\">",
      "<a href=https://news.example/c/91bc?u=1 target=_blank>",
      "<p class=MsoNormal style='margin-left:36.0pt;text-indent:-18.0pt;mso-list:l0 level1 lfo1'>",
      "<table width=\"100%\" border=\"0\" cellpadding=\"0\" cellspacing=\"0\">",
      "<br>",
  };
  std::size_t bytes = 0;
  for (const std::string_view tag : kTags) bytes += tag.size();
  mail::StringBuffer clean;
  const double time = bench::BestTime([&] {
    for (const std::string_view tag : kTags) mail::_ckHtmlHelp::cleanHtmlTag(tag, clean);
  });
  std::printf("\ncleaning of tags as mails have them: %.1f MB/s\n",
              static_cast<double>(bytes) * 1000 / time);
  std::string tag = "<a";
  for (int n = 0; n < 100; ++n) {
    tag += " name" + std::to_string(n) + "=\"" + std::string(100'000, 'v') + "\"";
  }
  tag += '>';
  const double large = bench::BestTime([&] { mail::_ckHtmlHelp::cleanHtmlTag(tag, clean); });
  std::printf("of one of 10 MB: %.1f MB/s\n", static_cast<double>(tag.size()) * 1000 / large);
}

}  // namespace

int main() {
  platform::KeepFreedMemory();  // as our programs do
  mail::installLibraryNarrow();
  std::string pattern = std::filesystem::temp_directory_path() / "html-bench-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return 1;
  CompareWithPeers(pattern);
  std::filesystem::remove_all(pattern);
  ShowGrowth();
  ShowTagCleaning();
  return 0;
}
