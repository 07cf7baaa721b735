#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "ews/DirectoryLists.h"
#include "ews/ServiceException.h"

// A page of a directory's list: whatever stands in it, its text has a line for each entry, with one
// TAB and an address behind it.

namespace {

void CheckLine(std::string_view line) {
  if (std::count(line.begin(), line.end(), '\t') != 1 || line.ends_with('\t')) std::abort();
  const auto isControl = [](char ch) { return static_cast<unsigned char>(ch) < 0x20; };
  if (std::count_if(line.begin(), line.end(), isControl) != 1) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  try {
    const auto page = ews::ReadDirectoryPage({reinterpret_cast<const char*>(data), size});
    const std::string text = ews::DirectoryText(page.arrEntries);
    size_t lines = 0;
    for (size_t from = 0; from < text.size(); ++lines) {
      const size_t end = text.find('\n', from);
      if (end == std::string::npos) std::abort();
      CheckLine(std::string_view(text).substr(from, end - from));
      from = end + 1;
    }
    if (lines != page.arrEntries.size()) std::abort();
  } catch (const ews::ServiceException&) {
    // The way to say that it is no page.
  }
  return 0;
}
