// Web archives: a page with 200 pictures, by ids and by locations, and the time a byte of pages
// from 10 KB to 10 MB.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "archive/CkMht.h"
#include "bench/Timing.h"
#include "charset/LibraryNarrow.h"

namespace {

constexpr int kPictures = 200;
constexpr std::size_t kPictureBytes = 20'000;

// A newsletter's paragraphs: tags of all kinds, and in each one of so many pictures.
std::string Page(std::size_t size, std::size_t pictures) {
  std::string text =
      "<html><head><title>t</title><style>p{margin:0} .x{background:url(0.gif)}</style></head>";
  for (std::size_t n = 0; text.size() < size; ++n) {
    const std::string picture = std::to_string(n % pictures) + ".gif";
    text +=
        "<table border=0 cellpadding=2><tr><td class=x><P align=left>Dear reader, <b>here</b> is "
        "the <a href=\"http://example.org/news?id=" +
        std::to_string(n) +
        "\">news</a> of the day, "
        "which goes on for a while. <IMG SRC=" +
        picture +
        " width=20 height=20 alt='picture'>"
        "</td></tr></table>\n";
  }
  return text + "</body></html>";
}

std::string Archive(CkMht& mht, const std::string& page) {
  const char* const text = mht.getMHT(page.c_str());
  if (text == nullptr) std::abort();
  return text;
}

std::size_t PartsOf(const std::string& archive) {
  std::size_t count = 0;
  for (auto n = archive.find("image/gif"); n != std::string::npos;
       n = archive.find("image/gif", n + 1))
    ++count;
  return count;
}

}  // namespace

int main() {
  mail::installLibraryNarrow();
  std::string pattern = std::filesystem::temp_directory_path() / "mht-bench-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return 1;
  const std::filesystem::path folder = pattern;
  for (int n = 0; n < kPictures; ++n) {
    std::ofstream(folder / (std::to_string(n) + ".gif"), std::ios::binary)
        << "GIF89a" << std::string(kPictureBytes, static_cast<char>(n));
  }
  const std::string page = folder / "page.html";
  std::ofstream(page, std::ios::binary) << Page(60'000, kPictures);
  for (const bool byId : {true, false}) {
    CkMht mht;
    mht.put_UseCids(byId);
    const std::string archive = Archive(mht, page);
    if (PartsOf(archive) != kPictures) {
      std::printf("%zu pictures in the archive\n", PartsOf(archive));
      return 1;
    }
    const double time = bench::BestTime([&] { (void)Archive(mht, page); });
    std::printf("%d pictures by %-9s %10.0f us %8.0f MB/s written\n", kPictures,
                byId ? "id" : "location", time / 1000,
                static_cast<double>(archive.size()) * 1000 / time);
  }
  std::printf("\n%10s %14s\n", "bytes", "ns a byte");
  for (const std::size_t size : {10'000U, 100'000U, 1'000'000U, 10'000'000U}) {
    const std::string text = Page(size, 1);
    CkMht mht;
    mht.put_UseCids(true);
    mht.put_ConfineToFolder(true);  // of a text without a base, which has no files
    const double time = bench::BestTime([&] {
      if (mht.htmlToMHT(text.c_str()) == nullptr) std::abort();
    });
    std::printf("%10zu %14.2f\n", text.size(), time / static_cast<double>(text.size()));
  }
  std::filesystem::remove_all(folder);
  return 0;
}
