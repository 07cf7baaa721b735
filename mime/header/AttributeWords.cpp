#include "mime/header/AttributeWords.h"

#include <string>
#include <utility>

#include "mime/encoding/ContentCoding.h"
#include "mime/header/AttributeCutter.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/EncodedWordMarks.h"

namespace mail {
namespace {

// Blanks around the words stay: reading words drops those at the ends.
void AppendDecodedText(std::string_view strRaw, StringBuffer& strOut, LogBase& log) {
  const std::size_t nBegin = strRaw.find_first_not_of(" \t");
  const std::size_t nEnd = strRaw.find_last_not_of(" \t") + 1;
  StringBuffer strText(strRaw.substr(nBegin, nEnd - nBegin));
  (void)ContentCoding::QB_DecodeToUtf8(strText, log);
  (void)strOut.append(strRaw.substr(0, nBegin));
  (void)strOut.append(strText);
  (void)strOut.append(strRaw.substr(nEnd));
}

// Quotes and semicolons that come out of words are text.
void AppendDecodedValue(const AttributeCutter& objCutter, StringBuffer& strOut, LogBase& log) {
  const bool bPlain = objCutter.kind() == AttributeCutter::Kind::kPlain;
  std::string strValue;
  if (!bPlain) unquote(objCutter.text(), strValue);
  StringBuffer strText(bPlain ? objCutter.text() : std::string_view(strValue));
  (void)ContentCoding::QB_DecodeToUtf8(strText, log);
  if (bPlain && !needsQuotes(strText.view())) {
    (void)strOut.append(strText);
  } else {
    appendQuoted(strText.view(), strOut);
  }
}

}  // namespace

void decodeAttributes(StringBuffer& strValueUtf8, LogBase& log) {
  StringBuffer strDecoded;
  for (AttributeCutter objCutter(strValueUtf8.view()); objCutter.next();) {
    if (!hasEncodedWords(objCutter.text())) {
      (void)strDecoded.append(objCutter.raw());
    } else if (objCutter.kind() == AttributeCutter::Kind::kText) {
      AppendDecodedText(objCutter.text(), strDecoded, log);
    } else {
      AppendDecodedValue(objCutter, strDecoded, log);
    }
  }
  strValueUtf8 = std::move(strDecoded);
}

}  // namespace mail
