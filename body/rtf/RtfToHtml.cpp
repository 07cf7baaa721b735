#include "body/rtf/RtfToHtml.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "body/rtf/CompressedRtf.h"
#include "body/rtf/Document.h"
#include "body/rtf/EncapsulatedPage.h"
#include "body/rtf/HtmlPage.h"
#include "body/rtf/HtmlText.h"
#include "body/rtf/Reader.h"
#include "body/rtf/TextDecoder.h"
#include "charset/CharsetNames.h"
#include "html/CkHtmlHelp.h"
#include "platform/Unicode.h"

namespace rtf {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Files of 16-bit units begin with one of these, the second one with high bytes first.
constexpr std::array<std::string_view, 2> kWideMarks = {"\xFF\xFE", "\xFE\xFF"};
constexpr std::array<std::string_view, 4> kPageStarts = {"<!doctype html", "<html", "<head",
                                                         "<body"};

std::string_view WithoutBlanks(std::string_view strBytes) {
  const std::size_t nStart = strBytes.find_first_not_of(" \t\r\n");
  return nStart == std::string_view::npos ? std::string_view() : strBytes.substr(nStart);
}

// Rich text starts with a group, and in it a control word.
bool IsRichText(std::string_view strBytes) {
  strBytes = WithoutBlanks(strBytes);
  return strBytes.starts_with('{') && WithoutBlanks(strBytes.substr(1)).starts_with('\\');
}

bool IsPage(std::string_view strBytes) {
  return std::ranges::any_of(kPageStarts, [&](std::string_view strStart) {
    return mail::beginsWithNoCase(WithoutBlanks(strBytes), strStart);
  });
}

std::string WideToUtf8(std::string_view strBytes, bool bHighFirst) {
  std::u16string str;
  for (std::size_t n = 2; n + 1 < strBytes.size(); n += 2) {
    const auto nFirst = static_cast<unsigned char>(strBytes[n]);
    const auto nSecond = static_cast<unsigned char>(strBytes[n + 1]);
    str += static_cast<char16_t>(bHighFirst ? nFirst << 8 | nSecond : nSecond << 8 | nFirst);
  }
  return platform::Utf16ToUtf8(str);
}

std::u16string DecodeUnmarked(std::string_view strBytes, unsigned nPage) {
  bool bUnknown = false;
  return platform::IsValidUtf8(strBytes) ? platform::Utf8ToUtf16(strBytes)
                                         : DecodeText(strBytes, nullptr, nPage, &bUnknown);
}

// A page is kept, but for the charset that it names: that is the one it came in.
HtmlResult PageToHtml(std::string_view strBytes, unsigned nAnsiPage) {
  mail::StringBuffer strCharset;
  mail::_ckHtmlHelp::charsetFromMetaTag(strBytes, strCharset);
  const int nNamed = strCharset.isEmpty() ? 0 : mail::nameToCodePage(strCharset);
  const std::u16string str =
      DecodeUnmarked(strBytes, nNamed > 0 ? static_cast<unsigned>(nNamed) : nAnsiPage);
  EncapsulatedPage objPage;
  for (std::size_t n = 0; n < str.size();) objPage.PutMarkup(TakeCharacter(str, n));
  HtmlResult objResult;
  objResult.strHtml = objPage.Finish();
  objResult.nSteps = str.size();
  objResult.objNotes.Add(Note::kPage);
  return objResult;
}

HtmlResult PlainTextToHtml(std::string_view strBytes, unsigned nAnsiPage) {
  HtmlResult objResult;
  Document objDocument;
  HtmlPage objPage(objDocument, {}, strBytes.size());
  objPage.Text().SetPlain(true);
  const std::u16string str = DecodeUnmarked(strBytes, nAnsiPage);
  for (std::size_t n = 0; n < str.size();) {
    const char32_t ch = TakeCharacter(str, n);
    if (ch == '\n') objPage.Text().EndParagraph({}, {});
    if (ch != '\n' && ch != '\r') objPage.PutCharacter(ch, {});
  }
  objResult.nSteps = str.size();
  objResult.strHtml = objPage.Finish({}, {});
  if (!strBytes.empty()) objResult.objNotes.Add(Note::kNotRichText);
  return objResult;
}

HtmlResult PlainRtfToHtml(std::string_view strRtf, unsigned nAnsiPage, PictureSaver& objSaver) {
  if (strRtf.starts_with(kUtf8Mark)) strRtf.remove_prefix(kUtf8Mark.size());
  std::string strUtf8;
  for (const std::string_view strMark : kWideMarks) {
    if (!strRtf.starts_with(strMark)) continue;
    strUtf8 = WideToUtf8(strRtf, strMark == kWideMarks[1]);
    strRtf = strUtf8;
    break;
  }
  if (IsRichText(strRtf)) return Reader(strRtf, nAnsiPage, objSaver).Read();
  return IsPage(strRtf) ? PageToHtml(strRtf, nAnsiPage) : PlainTextToHtml(strRtf, nAnsiPage);
}

}  // namespace

HtmlResult RtfToHtml(std::string_view strRtf, unsigned nAnsiPage, PictureSaver& objSaver) {
  if (!IsCompressedRtf(strRtf)) return PlainRtfToHtml(strRtf, nAnsiPage, objSaver);
  const DecompressedRtf objPlain = DecompressRtf(strRtf);
  HtmlResult objResult = PlainRtfToHtml(objPlain.strRtf, nAnsiPage, objSaver);
  if (!objPlain.bChecksumOk) objResult.objNotes.Add(Note::kBadChecksum);
  if (!objPlain.bComplete) objResult.objNotes.Add(Note::kBadLength);
  return objResult;
}

}  // namespace rtf
