#include "mime/encoding/EncodedWordCharset.h"

#include "html/charset/CharsetNames.h"
#include "html/charset/CodePages.h"
#include "html/charset/EncodingConvert.h"
#include "mime/base/StringBuffer.h"

namespace mail::encoded_words {

unsigned pageOf(std::string_view strCharset) {
  StringBuffer strName(strCharset.substr(0, strCharset.find('*')));
  if (strName.equalsIgnoreCase("utf-8") || strName.equalsIgnoreCase("8bit"))
    return code_page::kUtf8;
  const auto nPage = static_cast<unsigned>(nameToCodePage(strName));
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
