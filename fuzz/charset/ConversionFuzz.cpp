// Conversion between any two pages under any action. Towards UTF-8 there is no NUL by default, and
// without an action a text converts as its way over UTF-16 does.

#include <array>
#include <cstdlib>
#include <string_view>

#include "base/LogNull.h"
#include "charset/CharsetTables.h"
#include "charset/EncodingConvert.h"
#include "charset/StoredPages.h"

namespace {

constexpr std::array kOthers = {1200U,  1201U,  12000U, 12001U, 65005U, 65006U, 65000U, 65001U,
                                50220U, 50225U, 38598U, 51936U, 52936U, 709U,   0U,     1U};

unsigned PageOf(unsigned choice) {
  const auto pages = mail::storedPages();
  choice %= pages.size() + kOthers.size();
  return choice < pages.size() ? pages[choice].nCodePage : kOthers[choice - pages.size()];
}

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size < 4) return 0;
  const unsigned from = PageOf(data[0]), to = PageOf(data[1]);
  mail::EncodingConvert converter;
  converter.m_errorAction = data[2] % 9;
  converter.m_alternateCodePage = PageOf(data[3]);
  (void)converter.setSubstitution("[no such character]");
  mail::LogNull log;
  mail::DataBuffer out;
  const std::string_view text(reinterpret_cast<const char*>(data) + 4, size - 4);
  (void)converter.EncConvert(from, to, text.data(), text.size(), out, log);
  // A substitution for each byte, in UTF-32 or in UTF-7 between shifts.
  Require(out.getSize() <= 256 + 128 * text.size());

  const bool tables = mail::charset_tables::fromUnicode(from) != nullptr && from != 10004;
  const bool pdf = text.starts_with("%PDF-1");
  if (converter.m_errorAction != 0 || !tables || from == 20127 || to != 65001 || pdf) return 0;
  Require(out.view().find('\0') == std::string_view::npos);
  mail::DataBuffer units, twice;
  (void)converter.EncConvert(from, 1200, text.data(), text.size(), units, log);
  // A mark at the start of the units would be taken for one; pages of text have none.
  if (units.view().starts_with("\xFF\xFE") || units.view().starts_with("\xFE\xFF")) return 0;
  if (units.view().starts_with("%PDF-1")) return 0;
  (void)converter.EncConvert(1200, 65001, units.getData(), units.getSize(), twice, log);
  Require(out.view() == twice.view());
  return 0;
}
