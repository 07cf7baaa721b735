#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/COleDateTime.h"

// Date texts under several locales. A text that is read as a date gives one that exists; written as
// ISO 8601 and read again it is the same date, in every locale; blanks around it change nothing;
// and its local time has an instant within two and a half days of it as UTC.

namespace {

constexpr std::array<const char*, 8> kLocales{"C",     "en_GB", "de_DE", "ru_RU",
                                              "ja_JP", "ko_KR", "ar_EG", "hu_HU"};

void Require(bool holds) {
  if (!holds) std::abort();
}

bool Same(const COleDateTime& a, const COleDateTime& b) {
  return a.GetStatus() == b.GetStatus() && a.Value() == b.Value();
}

}  // namespace

// The first byte picks the locale; UTF-8 text follows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  setenv("LC_ALL", kLocales[data[0] % kLocales.size()], 1);
  const CString text = CString::FromUtf8({reinterpret_cast<const char*>(data + 1), size - 1});
  const COleDateTime date = platform::ParseDateText(text);
  Require(Same(date, platform::ParseDateText(CString(u" \t") + text + u"\r\n")));
  if (date.GetStatus() != COleDateTime::valid) {
    Require(date.Format(u"%Y").IsEmpty());
    return 0;
  }
  Require(Same(date, COleDateTime(date.GetYear(), date.GetMonth(), date.GetDay(), date.GetHour(),
                                  date.GetMinute(), date.GetSecond())));
  Require(Same(date, platform::ParseDateText(date.Format(u"%Y-%m-%d %H:%M:%S"))));
  Require(Same(date, platform::ParseDateText(date.Format(u"%H:%M:%S %d %B %Y"))));
  const double days = (platform::LocalToUtcSeconds(date) / 86400.0) + 25569;
  const double wall = date.Value() < 0 ? date.Value() - 1 : date.Value();
  Require(days > wall - 2.5 && days < wall + 2.5);
  return 0;
}
