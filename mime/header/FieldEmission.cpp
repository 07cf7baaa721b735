#include "mime/header/FieldEmission.h"

#include <algorithm>
#include <array>
#include <string>

#include "html/charset/CharsetNames.h"
#include "html/charset/CodePages.h"
#include "html/charset/EncodingConvert.h"
#include "mime/base/AsciiText.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/header/AttributeReader.h"
#include "mime/header/SevenBit.h"

namespace mail {

using namespace code_page;

namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Of double-byte and multi-byte pages. The range holds ISO-2022, EUC, HZ and GB.
bool WritesB(int nPage) {
  constexpr int kLastSingleByte = 50000;
  constexpr std::array kPages = {kShiftJis, kGbk,   kKorean, kBig5,
                                 kThai,     kJohab, kUtf16,  kUtf16BigEndian};
  return (nPage > kLastSingleByte && nPage < kUtf7) ||
         std::find(kPages.begin(), kPages.end(), nPage) != kPages.end();
}

}  // namespace

PreparedText::PreparedText(std::string_view strUtf8, int nCodePage, LogBase& log)
    : m_strUtf8(strUtf8),
      m_nPage(nCodePage == 0 || nCodePage == kUtf7 ? kUtf8 : nCodePage),
      m_b7bit(isSevenBit(strUtf8)),
      m_bWordsInB(WritesB(m_nPage)),
      m_bIso2022(isIso2022(static_cast<unsigned>(m_nPage))) {
  if (!m_b7bit) convert(log);
}

void PreparedText::convert(LogBase& log) {
  const bool bStaysUtf8 = m_nPage == kUtf8 || m_nPage == kAscii ||
                          isWide(static_cast<unsigned>(m_nPage)) ||
                          m_strUtf8.starts_with("%PDF-1") ||     // which is never converted
                          !codePageToName(m_nPage, strCharset);  // which no word could tell
  if (bStaysUtf8) {
    m_nPage = kUtf8;
    return;
  }
  if (convertTo(m_nPage, log)) return;
  const bool bLatin1 = m_nPage == kLatin1 || m_nPage == kWindows1252;
  if (bLatin1 && convertTo(kLatin2, log)) return;
  m_nPage = kUtf8;
  m_bIso2022 = false;
}

bool PreparedText::convertTo(int nCodePage, LogBase& log) {
  m_converted.weakClear();
  EncodingConvert objConvert;
  m_bConverted = objConvert.EncConvert(kUtf8, static_cast<unsigned>(nCodePage), m_strUtf8.data(),
                                       m_strUtf8.size(), m_converted, log) &&
                 !objConvert.m_hadErrors;
  if (m_bConverted) m_nPage = nCodePage;
  return m_bConverted;
}

bool PreparedText::needsEncoding() const {
  if (m_b7bit) return false;
  // The bytes say nothing: in some pages all letters are under 0x80, and stand for ASCII's.
  return !isSevenBit(m_strUtf8.substr(0, m_strUtf8.find_first_of("\r\n")));
}

void PreparedText::appendWords(Words nWords, StringBuffer& strOut, LogBase& log) const {
  StringBuffer strCharset;
  if (!codePageToName(m_nPage, strCharset)) (void)strCharset.setString("utf-8");
  std::string_view strBytes = bytes();
  StringBuffer strUnfolded;
  if (strBytes.find_first_of("\r\n") != kNone) {
    (void)strUnfolded.append(strBytes);
    strUnfolded.removeChar('\r');
    strUnfolded.removeChar('\n');
    strBytes = strUnfolded.view();
  }
  ContentCoding objCoding;
  objCoding.m_bAddressMode = nWords == Words::kOneInAddress;
  const auto nFolding = nWords == Words::kSeveral ? ContentCoding::Folding::kSeveralWords
                                                  : ContentCoding::Folding::kOneWord;
  if (m_bWordsInB) {
    (void)objCoding.encodeBWord(strBytes, strCharset.view(), nFolding, strOut, log);
  } else {
    (void)objCoding.encodeQWord(strBytes, strCharset.view(), nFolding, strOut, log);
  }
}

namespace {

void AppendPiece(std::string_view strUtf8, int nCodePage, StringBuffer& strOut, LogBase& log) {
  const PreparedText objText(strUtf8, nCodePage, log);
  if (objText.needsEncoding()) {
    objText.appendWords(PreparedText::Words::kOne, strOut, log);
  } else {
    (void)strOut.append(objText.bytes());
  }
}

// An attribute list on its way out: each take appends something and shortens the rest.
class AttributeWriter {
 public:
  AttributeWriter(std::string_view strValue, int nCodePage, bool bIsLocation, StringBuffer& strOut,
                  LogBase& log)
      : m_strRest(strValue),
        m_nCodePage(nCodePage),
        m_bIsLocation(bIsLocation),
        m_strOut(strOut),
        m_log(log) {}

  void run() {
    while (!m_strRest.empty()) {
      const std::size_t nEnd = std::min(m_strRest.find_first_of("=;"), m_strRest.size());
      putText(take(nEnd));
      if (m_strRest.empty()) return;
      const char chSeparator = m_strRest.front();
      (void)m_strOut.append(take(1));
      if (chSeparator == '=') takeValue();
    }
  }

 private:
  std::string_view take(std::size_t nBytes) {
    const std::string_view strTaken = m_strRest.substr(0, nBytes);
    m_strRest.remove_prefix(strTaken.size());
    return strTaken;
  }

  // Blanks around a text stay outside an encoded word, where folding and reading see them.
  void putText(std::string_view strText) {
    const std::size_t nBegin = std::min(strText.find_first_not_of(' '), strText.size());
    (void)m_strOut.append(strText.substr(0, nBegin));
    strText.remove_prefix(nBegin);
    const std::size_t nLength = strText.find_last_not_of(' ') + 1;
    AppendPiece(strText.substr(0, nLength), m_nCodePage, m_strOut, m_log);
    (void)m_strOut.append(strText.substr(nLength));
  }

  void takeValue() {
    (void)m_strOut.append(take(std::min(m_strRest.find_first_not_of(' '), m_strRest.size())));
    const bool bQuoted = m_strRest.starts_with('"');
    const std::size_t nEnd = bQuoted && m_bQuotesEnd ? closingQuote(m_strRest) : kNone;
    if (bQuoted && nEnd == kNone) m_bQuotesEnd = false;
    if (nEnd != kNone) {
      const std::string_view strQuoted = take(nEnd + 1);
      putQuoted(strQuoted.substr(1, nEnd - 1));
      return;
    }
    const std::string_view strPlain = take(std::min(m_strRest.find(';'), m_strRest.size()));
    if (bQuoted && !m_bIsLocation) {
      putOpen(strPlain.substr(1));
      return;
    }
    // A comment within the quotes would be read as part of the value.
    const std::string_view strValue = withoutComments(strPlain);
    putPlain(strValue);
    putText(strPlain.substr(strValue.size()));
  }

  void putQuoted(std::string_view strInner) {
    (void)m_strOut.append("\"");
    AppendPiece(strInner, m_nCodePage, m_strOut, m_log);
    (void)m_strOut.append("\"");
  }

  // A value whose quotes lack at the end gets them.
  void putOpen(std::string_view strInner) {
    std::string strValue;
    unquote(trimmed(strInner), strValue);
    putInQuotes(strValue);
  }

  void putPlain(std::string_view strValue) {
    m_strWritten.weakClear();
    AppendPiece(strValue, m_nCodePage, m_strWritten, m_log);
    if (m_bIsLocation || !needsQuotes(m_strWritten.view())) {
      (void)m_strOut.append(m_strWritten);
      return;
    }
    putInQuotes(strValue);
  }

  void putInQuotes(std::string_view strValue) {
    m_strWritten.weakClear();
    appendQuoted(strValue, m_strWritten);  // before it is encoded, so that decoding gives it back
    putQuoted(m_strWritten.view().substr(1, m_strWritten.getSize() - 2));
  }

  std::string_view m_strRest;
  const int m_nCodePage;
  const bool m_bIsLocation;
  StringBuffer& m_strOut;
  LogBase& m_log;
  StringBuffer m_strWritten;  // one value
  bool m_bQuotesEnd = true;   // false once a quote was found without another behind it
};

}  // namespace

void appendAttributes(std::string_view strValueUtf8, int nCodePage, bool bIsLocation,
                      StringBuffer& strOut, LogBase& log) {
  AttributeWriter(strValueUtf8, nCodePage, bIsLocation, strOut, log).run();
}

}  // namespace mail
