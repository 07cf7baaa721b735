#include "mime/encoding/EncodedWordCharset.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "mime/encoding/CleanConversion.h"
#include "mime/encoding/MailCharset.h"
#include "platform/Unicode.h"

namespace mail::encoded_words {
namespace {

// Mailers of Windows called their own charset Latin-1: the controls of that stand in no text, the
// quotes, dashes and letters that windows-1252 has in their place do.
bool convertedByWindows1252(std::string_view strBytes, DataBuffer& out, LogBase& log) {
  if (!holdsC1Controls(strBytes)) return false;
  const auto nBefore = out.getSize();
  if (convertsCleanly(code_page::kWindows1252, code_page::kUtf8, strBytes, out, log)) return true;
  out.chop(out.getSize() - nBefore);  // it is not that either
  return false;
}

// Bytes of 8 bits are not what the label says: UTF-8 if they can be, Latin-1 else.
unsigned pageOfAscii(std::string_view strBytes) {
  return platform::IsValidUtf8(strBytes) ? code_page::kUtf8 : code_page::kLatin1;
}

}  // namespace

bool holdsC1Controls(std::string_view strLatin1) {
  return std::any_of(strLatin1.begin(), strLatin1.end(),
                     [](char ch) { return (ch & '\xE0') == '\x80'; });
}

unsigned pageOf(std::string_view strCharset) {
  const std::string_view strName = strCharset.substr(0, strCharset.find('*'));
  if (equalsNoCase(strName, "8bit")) return code_page::kUtf8;
  const auto nPage = static_cast<unsigned>(mail_charset::pageOf(strName));
  return code_page::isCharset(nPage) ? nPage : 0;
}

bool toUtf8(unsigned nPage, std::string_view strBytes, DataBuffer& out, LogBase& log) {
  if (nPage == code_page::kAscii) nPage = pageOfAscii(strBytes);
  if (nPage == code_page::kLatin1 && convertedByWindows1252(strBytes, out, log)) return true;
  const auto nBefore = out.getSize();
  if (nPage != 0 && nPage != code_page::kUtf8) {
    EncodingConvert objConvert;
    if (objConvert.EncConvert(nPage, code_page::kUtf8, strBytes.data(), strBytes.size(), out, log))
      return true;
    if (out.getSize() != nBefore) return true;  // all that has a meaning came out
  }
  return out.append(strBytes);
}

}  // namespace mail::encoded_words
