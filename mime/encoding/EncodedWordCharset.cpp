#include "mime/encoding/EncodedWordCharset.h"

#include "html/charset/CharsetNames.h"
#include "html/charset/EncodingConvert.h"
#include "mime/base/StringBuffer.h"

namespace mail::encoded_words {

unsigned pageOf(std::string_view strCharset) {
  constexpr int kFirstCharset = 100;  // smaller numbers are encodings such as base64
  StringBuffer strName(strCharset.substr(0, strCharset.find('*')));
  if (strName.equalsIgnoreCase("utf-8") || strName.equalsIgnoreCase("8bit")) return kUtf8;
  const int nPage = nameToCodePage(strName);
  return nPage < kFirstCharset ? 0 : static_cast<unsigned>(nPage);
}

bool toUtf8(unsigned nPage, std::string_view strBytes, DataBuffer& out, LogBase& log) {
  const auto nBefore = out.getSize();
  if (nPage != 0 && nPage != kUtf8) {
    EncodingConvert objConvert;
    if (objConvert.EncConvert(nPage, kUtf8, strBytes.data(), strBytes.size(), out, log))
      return true;
    if (out.getSize() != nBefore) return true;  // all that has a meaning came out
  }
  return out.append(strBytes);
}

}  // namespace mail::encoded_words
