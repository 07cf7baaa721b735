#include <algorithm>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "base/ByteSearch.h"
#include "base/LogNull.h"
#include "charset/ByteOrderMarks.h"
#include "charset/CharsetNames.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "client/commands/CommandFiles.h"
#include "client/commands/Commands.h"
#include "html/CkHtmlHelp.h"
#include "html/WholeText.h"
#include "platform/Unicode.h"

namespace client {
namespace {

using namespace mail::code_page;

// What a page that calls itself Latin-1, or nothing at all, is as a rule.
constexpr unsigned kWesternPage = kWindows1252;

// Whether most of what is no ASCII in a text is UTF-8: one that was cut in a character still is.
bool IsMostlyUtf8(std::string_view bytes) {
  if (mail::byte_search::isUtf8(bytes)) return true;
  const std::u16string units = platform::Utf8ToUtf16(bytes);
  const auto bad = std::count(units.begin(), units.end(), u'\uFFFD');
  const auto foreign =
      std::count_if(units.begin(), units.end(), [](char16_t unit) { return unit > 0x7F; });
  return 2 * bad < foreign;
}

// By its byte order mark, else by its own word where that can be, else by what its bytes are.
unsigned PageOf(std::string_view bytes) {
  if (bytes.starts_with(mail::byte_order::kUtf8Mark)) return kUtf8;
  if (bytes.starts_with("\xFF\xFE")) return kUtf16;
  if (bytes.starts_with("\xFE\xFF")) return kUtf16BigEndian;
  mail::StringBuffer name;
  mail::_ckHtmlHelp::charsetFromMetaTag(bytes, name);
  const auto named = static_cast<unsigned>(name.isEmpty() ? 0 : mail::nameToCodePage(name));
  if (named == kLatin1) return kWesternPage;
  // Its own word was read byte for byte: it cannot be of two bytes each.
  const bool usable = named != kUtf8 && !isWide(named) && mail::EncodingConvert::converts(named);
  if (usable) return named;
  return IsMostlyUtf8(bytes) ? kUtf8 : kWesternPage;
}

// The page as UTF-8; ill-formed bytes are U+FFFD.
std::string Utf8Page(std::string_view bytes) {
  mail::EncodingConvert converter;
  mail::DataBuffer converted;
  mail::LogNull log;
  // The result tells of characters that do not map; the others are there all the same.
  (void)converter.convertText(PageOf(bytes), kUtf8, bytes.data(), bytes.size(), converted, log);
  std::string page(converted.view());
  if (page.starts_with(mail::byte_order::kUtf8Mark)) {
    page.erase(0, mail::byte_order::kUtf8Mark.size());
  }
  if (!platform::IsValidUtf8(page)) page = platform::Utf16ToUtf8(platform::Utf8ToUtf16(page));
  return page;
}

std::string PlainText(const std::string& page) {
  std::string text = mail::wholeText(page);
  std::erase(text, '\r');
  return text.empty() ? text : text + '\n';
}

}  // namespace

int RunHtml2text(const Arguments& arguments) {
  std::string path;
  CLI::App app(
      "Converts HTML to plain text of 80 columns, in UTF-8 on standard output. The charset is the "
      "one that the page names; without one it is UTF-8 or, where it cannot be, windows-1252.",
      "tarny html2text");
  app.add_option("FILE", path, "The page; standard input if left out");
  int exitCode = kExitDone;
  if (!ParseArguments(app, arguments, &exitCode)) return exitCode;
  WriteOutput(PlainText(Utf8Page(ReadFileOrInput(path))));
  return kExitDone;
}

}  // namespace client
