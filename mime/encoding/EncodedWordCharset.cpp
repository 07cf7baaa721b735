#include "mime/encoding/EncodedWordCharset.h"

#include "html/charset/CodePages.h"
#include "html/charset/EncodingConvert.h"
#include "mime/base/AsciiText.h"
#include "mime/encoding/MailCharset.h"

namespace mail::encoded_words {

unsigned pageOf(std::string_view strCharset) {
  const std::string_view strName = strCharset.substr(0, strCharset.find('*'));
  if (equalsNoCase(strName, "8bit")) return code_page::kUtf8;
  const auto nPage = static_cast<unsigned>(mail_charset::pageOf(strName));
  return code_page::isCharset(nPage) ? nPage : 0;
}

bool toUtf8(unsigned nPage, std::string_view strBytes, DataBuffer& out, LogBase& log) {
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
