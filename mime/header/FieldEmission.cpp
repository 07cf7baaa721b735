#include "mime/header/FieldEmission.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/AsciiText.h"
#include "charset/CharsetNames.h"
#include "charset/CodePages.h"
#include "mime/encoding/CleanConversion.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/encoding/EncodedWordCharset.h"
#include "mime/header/AttributeCutter.h"
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
  StringBuffer strCharset;
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
  m_bConverted =
      convertsCleanly(kUtf8, static_cast<unsigned>(nCodePage), m_strUtf8, m_converted, log);
  // Readers take the controls of Latin-1 for windows-1252.
  if (nCodePage == kLatin1 && encoded_words::holdsC1Controls(m_converted.view())) {
    m_bConverted = false;
  }
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
  StringBuffer strWords;
  if (m_bWordsInB) {
    (void)objCoding.encodeBWord(strBytes, strCharset.view(), nFolding, strWords, log);
  } else {
    (void)objCoding.encodeQWord(strBytes, strCharset.view(), nFolding, strWords, log);
  }
  if (nWords == Words::kOneInQuotes) {
    (void)strWords.replaceAll("\"", "=22");
    (void)strWords.replaceAll("\\", "=5C");
  }
  (void)strOut.append(strWords);
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

// An attribute list on its way out, stretch by stretch.
class AttributeWriter {
 public:
  AttributeWriter(int nCodePage, bool bIsLocation, StringBuffer& strOut, LogBase& log)
      : m_nCodePage(nCodePage), m_bIsLocation(bIsLocation), m_strOut(strOut), m_log(log) {}

  void run(std::string_view strValue) {
    for (AttributeCutter objCutter(strValue); objCutter.next();) {
      if (objCutter.kind() == AttributeCutter::Kind::kQuoted) {
        putQuoted(objCutter);
      } else if (objCutter.kind() == AttributeCutter::Kind::kText || m_bIsLocation) {
        putText(objCutter.raw());
      } else if (objCutter.kind() == AttributeCutter::Kind::kOpen) {
        putUnquoted(trimmed(objCutter.text()));  // and closes the quotes
      } else {
        putPlain(objCutter.text());
      }
    }
  }

 private:
  // Blanks around a text stay outside an encoded word, where folding and reading see them.
  void putText(std::string_view strText) {
    const std::size_t nBegin = std::min(strText.find_first_not_of(' '), strText.size());
    (void)m_strOut.append(strText.substr(0, nBegin));
    strText.remove_prefix(nBegin);
    const std::size_t nLength = strText.find_last_not_of(' ') + 1;
    AppendPiece(strText.substr(0, nLength), m_nCodePage, m_strOut, m_log);
    (void)m_strOut.append(strText.substr(nLength));
  }

  void putQuoted(const AttributeCutter& objCutter) {
    if (PreparedText(objCutter.text(), m_nCodePage, m_log).needsEncoding()) {
      putUnquoted(objCutter.text());
    } else {
      (void)m_strOut.append(objCutter.raw());
    }
  }

  void putPlain(std::string_view strValue) {
    if (needsQuotes(strValue) || PreparedText(strValue, m_nCodePage, m_log).needsEncoding()) {
      putInQuotes(strValue);
    } else {
      (void)m_strOut.append(strValue);
    }
  }

  // What stands between quotes holds backslashes; an encoded word holds what they hide.
  void putUnquoted(std::string_view strInner) {
    std::string strValue;
    unquote(strInner, strValue);
    putInQuotes(strValue);
  }

  void putInQuotes(std::string_view strValue) {
    const PreparedText objText(strValue, m_nCodePage, m_log);
    if (!objText.needsEncoding()) return appendQuoted(strValue, m_strOut);
    (void)m_strOut.append("\"");
    objText.appendWords(PreparedText::Words::kOneInQuotes, m_strOut, m_log);
    (void)m_strOut.append("\"");
  }

  const int m_nCodePage;
  const bool m_bIsLocation;
  StringBuffer& m_strOut;
  LogBase& m_log;
};

}  // namespace

void appendAttributes(std::string_view strValueUtf8, int nCodePage, bool bIsLocation,
                      StringBuffer& strOut, LogBase& log) {
  AttributeWriter(nCodePage, bIsLocation, strOut, log).run(strValueUtf8);
}

}  // namespace mail
