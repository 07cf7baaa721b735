#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

#include "mime/header/MailDate.h"

// Any text gives no date or one of the years that are read; written in the standard form it reads
// back the same, and so does the text with a comment and blanks around it.
namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

std::string Standard(std::time_t time) {
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[64];
  return {text, std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S +0000", &parts)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto date = mail::parseMailDate(text);
  Check(mail::parseMailDate("(a)\r\n " + text) == date);
  if (!date) return 0;
  constexpr std::int64_t kYear1900 = -2'208'988'800;
  constexpr std::int64_t kYear10000 = 253'402'300'800;
  constexpr std::int64_t kMostOffset = 100 * 3600;
  Check(*date >= kYear1900 - kMostOffset && *date < kYear10000 + 86400 + kMostOffset);
  if (*date >= kYear1900 && *date < kYear10000) Check(mail::parseMailDate(Standard(*date)) == date);
  return 0;
}
