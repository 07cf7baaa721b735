#include "body/rtf/RtfToHtml.h"

#include "body/rtf/CompressedRtf.h"
#include "body/rtf/Document.h"
#include "body/rtf/HtmlPage.h"
#include "body/rtf/HtmlText.h"
#include "body/rtf/Reader.h"
#include "body/rtf/TextDecoder.h"
#include "platform/Unicode.h"

namespace rtf {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// Rich text starts with a group, and in it a control word.
bool IsRichText(std::string_view strBytes) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t nStart = strBytes.find_first_not_of(kBlanks);
  return nStart != std::string_view::npos && strBytes.substr(nStart).starts_with("{\\");
}

HtmlResult PlainTextToHtml(std::string_view strBytes, unsigned nAnsiPage) {
  HtmlResult objResult;
  Document objDocument;
  HtmlPage objPage(objDocument, {}, strBytes.size());
  objPage.Text().SetPlain(true);
  bool bUnknown = false;
  const std::u16string str = platform::IsValidUtf8(strBytes)
                                 ? platform::Utf8ToUtf16(strBytes)
                                 : DecodeText(strBytes, nullptr, nAnsiPage, &bUnknown);
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
  if (!IsRichText(strRtf)) return PlainTextToHtml(strRtf, nAnsiPage);
  return Reader(strRtf, nAnsiPage, objSaver).Read();
}

}  // namespace

HtmlResult RtfToHtml(std::string_view strRtf, unsigned nAnsiPage, PictureSaver& objSaver) {
  if (!IsCompressedRtf(strRtf)) return PlainRtfToHtml(strRtf, nAnsiPage, objSaver);
  const DecompressedRtf objPlain = DecompressRtf(strRtf);
  HtmlResult objResult = PlainRtfToHtml(objPlain.strRtf, nAnsiPage, objSaver);
  if (!objPlain.bChecksumOk) objResult.objNotes.Add(Note::kBadChecksum);
  if (!objPlain.bComplete && objResult.objNotes.Count(Note::kCut) == 0) {
    objResult.objNotes.Add(Note::kCut);
  }
  return objResult;
}

}  // namespace rtf
