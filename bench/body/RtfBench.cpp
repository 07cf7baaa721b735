// Rich text to HTML: the call beside the process of unrtf, and our own process, on the same
// documents; every word of the text must be in both pages before the clock starts. Then the time a
// byte from 10 KB to 50 MB.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "bench/Timing.h"
#include "body/rtf/RtfToHtml.h"
#include "charset/LibraryNarrow.h"
#include "platform/MemoryPages.h"

namespace {

class NoPictures : public rtf::PictureSaver {
 public:
  std::string Save(std::string_view, std::string_view) override { return "p.png"; }
};

std::string Convert(std::string_view text) {
  NoPictures pictures;
  return rtf::RtfToHtml(text, 1252, pictures).strHtml;
}

// A letter with formats, a list and a table, over and over; each piece holds its number.
std::string Document(std::size_t size) {
  std::string text =
      "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss\\fcharset0 Arial;}{\\f1\\froman"
      "\\fcharset0 Times New Roman;}}{\\colortbl;\\red255\\green0\\blue0;}\\f0\\fs20\n";
  for (std::size_t n = 0; text.size() < size; ++n) {
    const std::string number = "number" + std::to_string(n);
    text +=
        "\\pard\\sa120 Dear colleagues, {\\b here} is the {\\i report} " + number +
        " with {\\cf1 caf\\'e9} and more text that goes on for a while.\\par\n"
        "{\\pntext\\bullet\\tab}{\\*\\pn\\pnlvlblt{\\pntxtb\\bullet}}\\fi-360\\li720 item\\par\n"
        "\\trowd\\cellx2000\\cellx4000\\pard\\intbl a\\cell b\\cell\\row\n";
  }
  return text + "\\pard}";
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

double TimeOfProcess(const std::string& command) {
  return bench::BestTime([&] {
    if (std::system(command.c_str()) != 0) std::abort();
  });
}

bool HoldsAllNumbers(std::string_view page, std::string_view source) {
  for (std::size_t n = 0;; ++n) {
    const std::string word = "number" + std::to_string(n);
    if (source.find(word + " ") == std::string_view::npos) return n > 0;
    if (page.find(word) == std::string_view::npos) return false;
  }
}

void CompareWithPeer(const std::filesystem::path& folder) {
  const bool peer = std::system("command -v unrtf > /dev/null 2>&1") == 0;
  if (!peer) std::puts("unrtf is not installed: no comparison");
  std::printf("%10s %14s %14s %14s\n", "bytes", "call us", "process us", "unrtf us");
  for (const std::size_t size : {10'000U, 100'000U, 1'000'000U}) {
    const std::string source = Document(size);
    const std::string input = folder / "in.rtf", output = folder / "out.html";
    std::ofstream(input, std::ios::binary) << source;
    const std::string own = TARNY_BIN "/tarny rtf2html " + input + " " + output;
    const std::string other = "unrtf --html --nopict " + input + " > " + output + " 2> /dev/null";
    const bool same =
        HoldsAllNumbers(Convert(source), source) && std::system(own.c_str()) == 0 &&
        HoldsAllNumbers(ReadFile(output), source) &&
        (!peer || (std::system(other.c_str()) == 0 && HoldsAllNumbers(ReadFile(output), source)));
    if (!same) {
      std::puts("the results differ");
      std::exit(1);
    }
    const double call = bench::BestTime([&] { (void)Convert(source); });
    std::printf("%10zu %14.0f %14.0f %14.0f\n", source.size(), call / 1000,
                TimeOfProcess(own) / 1000, peer ? TimeOfProcess(other) / 1000 : 0.0);
  }
}

}  // namespace

int main() {
  platform::KeepFreedMemory();  // as our programs do
  mail::installLibraryNarrow();
  std::string pattern = std::filesystem::temp_directory_path() / "rtf-bench-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return 1;
  CompareWithPeer(pattern);
  std::filesystem::remove_all(pattern);
  std::printf("\n%10s %14s\n", "bytes", "ns a byte");
  for (const std::size_t size : {10'000U, 100'000U, 1'000'000U, 10'000'000U, 50'000'000U}) {
    const std::string source = Document(size);
    const double time = bench::BestTime([&] { (void)Convert(source); });
    std::printf("%10zu %14.2f\n", source.size(), time / static_cast<double>(source.size()));
  }
  return 0;
}
