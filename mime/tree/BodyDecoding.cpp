#include "mime/tree/BodyDecoding.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/AsciiText.h"
#include "base/ByteSearch.h"
#include "charset/CodePages.h"
#include "charset/EncodingConvert.h"
#include "html/CkHtmlHelp.h"
#include "mime/encoding/CleanConversion.h"
#include "mime/encoding/ContentCoding.h"
#include "mime/encoding/MailCharset.h"
#include "mime/encoding/UuCoding.h"
#include "mime/header/CkContentType.h"
#include "mime/tree/LineConversion.h"

namespace mail {
namespace {

using namespace code_page;
constexpr std::size_t k7bitProbe = 8192;  // bytes at the front that say whether text is 7-bit
constexpr std::size_t kUtf8Probe = 8000;  // bytes at the front that say whether it is UTF-8
constexpr std::size_t kNulProbe = 1000;   // bytes at the front in which UTF-16 has a NUL

struct Signature {
  std::string_view strBytes;
  int nPage;
};
// The longer ones first: one begins with another.
constexpr std::array<Signature, 5> kSignatures = {{
    {{"\xFF\xFE\0\0", 4}, kUtf32},
    {{"\0\0\xFE\xFF", 4}, kUtf32BigEndian},
    {"\xEF\xBB\xBF", kUtf8},
    {"\xFF\xFE", kUtf16},
    {"\xFE\xFF", kUtf16BigEndian},
}};
// In these the lead bytes of UTF-8 are ordinary letters, or the text shows what it is.
constexpr std::array kNeverUtf8 = {
    kUtf8,   kUtf16, kUtf16BigEndian, kUtf32, kUtf32BigEndian, kShiftJis, kGbk,
    kKorean, kBig5,  kCyrillic,       kEucJp, kEucKr,          kHz};

constexpr std::array<std::string_view, 4> kBinaryTypes = {"image/", "audio/", "video/",
                                                          "application/"};

bool hasNul(std::string_view strBytes) { return strBytes.find('\0') != std::string_view::npos; }

bool starts7bit(std::string_view strBytes) {
  return byte_search::is7bit(strBytes.substr(0, k7bitProbe));
}

// A lead byte of the Latin-1 letters in UTF-8 with an 8-bit byte behind it.
bool hasUtf8Pair(std::string_view strBytes) {
  for (const char chLead : {'\xC2', '\xC3'}) {
    for (std::size_t n = strBytes.find(chLead); n < strBytes.size(); n = strBytes.find(chLead, n)) {
      if (++n < strBytes.size() && (strBytes[n] & 0x80) != 0) return true;
    }
  }
  return false;
}

bool startsAsUtf8(std::string_view strBytes) {
  return byte_search::isUtf8(strBytes.substr(0, kUtf8Probe), strBytes.size() > kUtf8Probe);
}

// ASCII with 8-bit bytes is taken for Latin-1.
int pageOfCharset(const _ckCharset& objCharset) {
  const int nPage = objCharset.getCodePage();
  return nPage == kAscii ? kLatin1 : nPage;
}

// What a META element names; empty if there is none.
StringBuffer charsetOfHtml(std::string_view strHtml, LogBase& log) {
  StringBuffer strCharset;
  _ckHtmlHelp::charsetFromMetaTag(strHtml, strCharset);
  const bool bWide =
      strCharset.beginsWithIgnoreCase("unicode") || strCharset.beginsWithIgnoreCase("utf-16");
  if (bWide && !hasNul(strHtml.substr(0, kNulProbe))) {
    log.LogInfo("Must not really be unicode HTML, no zero bytes found...");
    (void)strCharset.setString("windows-1252");
  }
  return strCharset;
}

// Quoted-printable, of which each line stands for itself.
bool decodeLines(PassingBytes objText, DataBuffer& out) {
  if (objText.comesInPieces()) {
    const std::string_view strText = objText.strBytes;
    objText.strBytes = strText.substr(0, strText.find('\0'));  // which ends it
    (void)out.reserve(strText.size());
  }
  return objText.takeLines("\n", [&](std::string_view strLines) {
    return ContentCoding::decodeQuotedPrintable(strLines, out);
  });
}

template <std::size_t N>
bool holdsAny(const StringBuffer& strText, const std::array<std::string_view, N>& arrParts) {
  return std::any_of(arrParts.begin(), arrParts.end(),
                     [&](std::string_view strPart) { return strText.contains(strPart); });
}

}  // namespace

BodyDecoding::BodyDecoding(MimeMessage2& objEntity, Options objOptions, std::string& strClue,
                           LogBase& log)
    : m_objEntity(objEntity), m_objOptions(objOptions), m_strClue(strClue), m_log(log) {}

bool BodyDecoding::decode(const PassingBytes& objBytes) {
  const std::string_view strBytes = objBytes.strBytes;
  if (!strBytes.empty()) takeClue();
  dropCharsetOfBinary();
  if (strBytes.empty()) return true;
  m_bText = m_objOptions.bTextForSure || decideText(strBytes);
  m_nPage = pageOfCharset(m_objEntity.charset());
  m_nEncoding = encodingOfEntity();
  Decoded objDecoded;
  if (!undoEncoding(objBytes, objDecoded)) return false;
  if (m_objEntity.contentType().equals("text/html") && m_nPage == 0 && !m_bAttachment) {
    takeCharsetOfHtml(objDecoded.view());
  }
  if (!toUtf8(objDecoded)) return false;
  m_objEntity.m_body.compact();
  mendHeader();
  return true;
}

void BodyDecoding::takeClue() {
  const int nPage = m_objEntity.charset().getCodePage();
  if (!m_strClue.empty() || nPage == 0 || nPage == kUtf8 || nPage == kAscii) return;
  m_strClue = m_objEntity.charset().getName().view();
}

void BodyDecoding::dropCharsetOfBinary() {
  if (holdsAny(m_objEntity.contentType(), kBinaryTypes)) {
    m_bBinaryType = true;
    m_bDropped = m_objEntity.charset().getCodePage() != 0;
    m_log.LogInfo("clearing charset based on content-type.");
    m_log.LogInfo("treating body as binary (non-character) data.");
    m_objEntity.dropCharset();
  }
  if (m_objEntity.isAttachment()) {
    m_log.LogInfo("treating body as binary data because of attachment status.");
    m_objEntity.dropCharset();
    m_bAttachment = true;
  }
}

bool BodyDecoding::decideText(std::string_view strBytes) const {
  if (m_bAttachment) return false;
  const StringBuffer& strType = m_objEntity.contentType();
  if (strType.isEmpty()) return !hasNul(strBytes);
  if (!strType.contains("text/") && !strType.contains("application/xml")) return false;
  const int nPage = m_objEntity.charset().getCodePage();
  return nPage == kUtf16 || nPage == kUtf16BigEndian || !hasNul(strBytes);
}

BodyDecoding::Encoding BodyDecoding::encodingOfEntity() const {
  struct Name {
    std::string_view strName;
    Encoding nEncoding;
  };
  static constexpr std::array<Name, 6> kNames = {{
      {"base64", Encoding::kBase64},
      {"quoted-printable", Encoding::kQuotedPrintable},
      {"uuencode", Encoding::kUuencode},
      {"x-uuencode", Encoding::kUuencode},
      {"x-uue", Encoding::kUuencode},
      {"uue", Encoding::kUuencode},
  }};
  for (const Name& objName : kNames) {
    if (m_objEntity.encoding().equalsIgnoreCase(objName.strName)) return objName.nEncoding;
  }
  return Encoding::kNone;
}

bool BodyDecoding::undoEncoding(const PassingBytes& objBytes, Decoded& objDecoded) {
  DataBuffer& out = objDecoded.arrOwned;
  objDecoded.bOwned = m_nEncoding != Encoding::kNone;
  bool bDone = true;
  switch (m_nEncoding) {
    case Encoding::kNone:
      objDecoded.objBytes = objBytes;
      return true;
    case Encoding::kBase64:
      bDone = objBytes.takeWhole(
          [&](std::string_view strText) { return ContentCoding::decodeBase64(strText, out); });
      break;
    case Encoding::kQuotedPrintable:
      bDone = decodeLines(objBytes, out);
      break;
    case Encoding::kUuencode:
      bDone =
          objBytes.takeWhole([&](std::string_view strText) { return decodeUuBody(strText, out); });
      break;
  }
  objDecoded.objBytes = PassingBytes::lastOf(out);
  return bDone;
}

void BodyDecoding::takeCharsetOfHtml(std::string_view strHtml) {
  m_log.LogInfo("No charset specified.  Trying to get HTML charset via META tag..");
  const StringBuffer strCharset = charsetOfHtml(strHtml, m_log);
  if (strCharset.isEmpty()) return;
  _ckCharset objCharset;
  if (!mail_charset::setByName(objCharset, strCharset.view())) return;
  if (objCharset.getCodePage() == 0) return;
  m_objEntity.setCharset(strCharset.view(), m_log);
  m_nPage = pageOfCharset(objCharset);
}

bool BodyDecoding::toUtf8(Decoded& objDecoded) {
  m_nTextPage = pageOfText(objDecoded.view());
  if (m_nTextPage == 0) {
    // What is typed as text and kept as it came must not be converted when it is written.
    m_objEntity.m_bUnconverted = true;
    return keep(objDecoded);
  }
  compareWithHeader();
  return m_nTextPage == kUtf8 ? keep(objDecoded) : convert(objDecoded);
}

// The page to convert from, UTF-8 for a text that stays as it is; 0 for what is kept as bytes.
int BodyDecoding::pageOfText(std::string_view strBytes) const {
  if (!m_bText) return 0;
  const bool bSaysAscii = m_objEntity.charset().getCodePage() == kAscii;
  if (m_objOptions.bDoubtsAscii && bSaysAscii && m_nEncoding != Encoding::kUuencode) {
    return byte_search::isUtf8(strBytes) ? kUtf8 : kWindows1252;
  }
  int nPage = 0;
  switch (m_nEncoding) {
    case Encoding::kUuencode:
      return 0;
    case Encoding::kBase64:
      nPage = pageOfBase64(strBytes);
      break;
    case Encoding::kQuotedPrintable:
      nPage = pageOfQuotedPrintable(strBytes);
      break;
    case Encoding::kNone:
      nPage = pageOfRaw(strBytes);
      break;
  }
  if (nPage != kLatin1) return nPage;
  // XML in another charset than UTF-8: its bytes still fit the name in the header.
  return m_bDropped ? 0 : latin1OrReally1252(strBytes);
}

// In which way the text that was found contradicts its header.
void BodyDecoding::compareWithHeader() {
  m_bReally1252 = m_nTextPage == kWindows1252 && m_nPage != kWindows1252 && mayBeRelabelled();
  m_bOverruled = m_nTextPage != m_nPage && m_nPage != 0 && !m_bReally1252 &&
                 m_nEncoding == Encoding::kQuotedPrintable;
}

int BodyDecoding::pageOfBase64(std::string_view strBytes) const {
  if (m_nPage == 0) return kUtf8;
  const bool bNotWide = m_nPage == kUtf16 && starts7bit(strBytes) && !hasNul(strBytes);
  return bNotWide ? kUtf8 : m_nPage;
}

int BodyDecoding::pageOfQuotedPrintable(std::string_view strBytes) const {
  for (const Signature& objSignature : kSignatures) {
    if (strBytes.starts_with(objSignature.strBytes)) return objSignature.nPage;
  }
  if (m_nPage == 0) return kUtf8;
  const bool bMayBe = std::find(kNeverUtf8.begin(), kNeverUtf8.end(), m_nPage) == kNeverUtf8.end();
  return bMayBe && hasUtf8Pair(strBytes) && startsAsUtf8(strBytes) ? kUtf8 : m_nPage;
}

int BodyDecoding::pageOfRaw(std::string_view strBytes) const {
  if (m_objOptions.bUtf8) return kUtf8;
  if (m_nPage != 0) return m_nPage;
  const bool bStays =
      starts7bit(strBytes) || hasUtf8Pair(strBytes) || byte_search::isUtf8(strBytes);
  return bStays ? kUtf8 : kLatin1;
}

int BodyDecoding::latin1OrReally1252(std::string_view strBytes) const {
  if (!byte_search::hasByteBetween(strBytes, 0x82, 0x9F)) return kLatin1;
  m_log.LogInfo("Has invalid iso-8859-1 bytes..");
  return kWindows1252;
}

// The page that the header names, whether it counts for the body or not: 0 for none, -1 for a name
// that is unknown.
int BodyDecoding::namedPage() const {
  _ckContentType objType;
  m_objEntity.getContentType(objType, m_log);
  return objType.m_unknownCharset.isEmpty() ? objType.m_charset.getCodePage() : -1;
}

// Only a header that claims Latin-1, or nothing, is told better.
bool BodyDecoding::mayBeRelabelled() const {
  const int nNamed = namedPage();
  return !m_bBinaryType && (nNamed == 0 || nNamed == kLatin1 || nNamed == kAscii);
}

bool BodyDecoding::convert(Decoded& objDecoded) {
  const std::string_view strBytes = objDecoded.view();
  const bool bAsciiPage = line_conversion::isAsciiPage(m_nTextPage);
  // Nothing to convert: a large text need not lie twice in memory.
  if (bAsciiPage && byte_search::is7bit(strBytes) && !hasNul(strBytes)) return keep(objDecoded);
  DataBuffer& arrBody = m_objEntity.m_body;
  if (objDecoded.objBytes.comesInPieces()) (void)arrBody.reserve(strBytes.size());
  EncodingConvert objConvert;
  const bool bConverted =
      line_conversion::toUtf8(objConvert, m_nTextPage, objDecoded.objBytes, arrBody, m_log);
  m_bLossy = objConvert.m_hadErrors;
  if (bConverted) {
    m_objEntity.m_bConverted = true;
    return true;
  }
  if (bAsciiPage && !arrBody.isEmpty()) return false;  // for want of memory
  return makeDo(objDecoded);
}

// With what there is of a text in a page that the library cannot read, or not all of it.
bool BodyDecoding::makeDo(Decoded& objDecoded) {
  DataBuffer& arrBody = m_objEntity.m_body;
  const std::string_view strBytes = objDecoded.view();
  const bool bReadable =
      m_nEncoding == Encoding::kNone && (starts7bit(strBytes) || hasUtf8Pair(strBytes));
  if (!bReadable && !arrBody.isEmpty()) {
    m_objEntity.m_bConverted = true;
    return true;
  }
  // Bytes that nobody can read yet are better than none.
  m_objEntity.m_bUnconverted = true;
  arrBody.clear();
  return keep(objDecoded);
}

bool BodyDecoding::keep(Decoded& objDecoded) {
  DataBuffer& arrBody = m_objEntity.m_body;
  if (objDecoded.bOwned) {
    arrBody = std::move(objDecoded.arrOwned);
    return true;
  }
  return arrBody.reserve(objDecoded.view().size()) &&
         objDecoded.objBytes.takeLines(
             "\n", [&](std::string_view strLines) { return arrBody.append(strLines); });
}

bool BodyDecoding::fitsDeclaredCharset() const {
  return convertsCleanly(kUtf8, static_cast<unsigned>(m_nPage), m_objEntity.m_body.view(), m_log);
}

// The header follows what the body turned out to be.
void BodyDecoding::mendHeader() {
  if (m_bReally1252) m_objEntity.setCharset("windows-1252", m_log);
  // A charset that the bytes proved wrong stays, unless the text would be lost in it.
  if (m_bOverruled && !fitsDeclaredCharset()) m_objEntity.setCharset("utf-8", m_log);
  if (m_nEncoding == Encoding::kUuencode) m_objEntity.setEncoding("base64", m_log);
  if (m_nEncoding == Encoding::kNone && m_bText &&
      m_objEntity.encoding().equalsIgnoreCase("binary") &&
      !m_objEntity.contentType().equals("message/rfc822")) {
    m_objEntity.setEncoding("8bit", m_log);
  }
  if (isXHtml()) nameAsHtml();
}

// What some mailers put around a page, in text and in attachments alike.
bool BodyDecoding::isXHtml() const {
  if (!m_bText && !m_bAttachment) return false;
  const std::string_view strBody = m_objEntity.m_body.view();
  const std::size_t nStart = std::min(strBody.find_first_not_of(" \t\r\n"), strBody.size());
  return beginsWithNoCase(strBody.substr(nStart), "<x-html>");
}

void BodyDecoding::nameAsHtml() {
  if (m_objEntity.contentType().equals("text/html")) return;
  const std::string_view strBody = m_objEntity.m_body.view();
  // The new value names a charset; us-ascii would spoil what is not.
  if (namedPage() == 0 && !byte_search::is7bit(strBody)) {
    const bool bUtf8 = m_bText || byte_search::isUtf8(strBody);
    m_objEntity.setCharset(bUtf8 ? "utf-8" : "windows-1252", m_log);
  }
  m_objEntity.setContentType("text/html", m_log);
  if (m_bAttachment) m_objEntity.dropCharset();
}

}  // namespace mail
