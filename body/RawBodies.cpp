#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "body/LibraryText.h"
#include "body/RawText.h"
#include "body/TextLines.h"
#include "ews/Settings.h"
#include "mime/CkCrypt2.h"
#include "mime/CkMime.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/NarrowText.h"
#include "target/CTarnyOutlookHandler.h"

// The page in the raw text of a message, by itself: "ssaa.txt" becomes "ch111.html", first as a
// part of a fixed message, in the encoding that it came in, then decoded.
namespace {

using namespace raw_text;

constexpr std::array<std::string_view, 7> kPageStarts = {
    "<html", "DOCTYPE html", "DOCTYPE HTML", "meta name", "meta http", "<META HTTP", "html lang"};
constexpr std::string_view kUsualEncoding = "quoted-printable";
constexpr std::size_t kLongestCharset = 13;  // characters; quotes count

// kept: no charset behind the type, and no boundary at the end.
std::string Template(std::string_view strEncoding) {
  std::string strText =
      "Content-Type: multipart/mixed;\n"
      " boundary=\"------------070404010201060604000708\"\n"
      "\n"
      "This is a multi-part message in MIME format.\n"
      "\n"
      "--------------070404010201060604000708\n"
      "Content-Transfer-Encoding: ";
  strText.append(strEncoding).append("\nContent-Type: text/html;\n\n");
  return strText;
}

// What the template names: kept, an encoding whose name has no "bit" in it counts as the usual one.
std::string EncodingOf(const CString& strEncoding, const CString& strCharset) {
  if (strEncoding.Contains(u"bit")) return platform::WideToNarrow(strEncoding);
  return std::string(strEncoding.IsEmpty() && strCharset.IsEmpty() ? "7bit" : kUsualEncoding);
}

class PageFinder {
 public:
  explicit PageFinder(std::string_view strEncoding) : m_strTemplate(Template(strEncoding)) {}

  // Goes through the text up to the end of its first page that has one; true if there is one.
  bool Find(TextLines& objLines) {
    std::string_view strLine;
    while (objLines.Read(strLine)) {
      LookForCharset(strLine);
      if (!HoldsAny(strLine, kPageStarts)) continue;
      m_strText.append(m_strTemplate).append(FromTag(Unjoined(strLine)));
      if (CopyPage(objLines)) return true;
    }
    return false;
  }
  // A page that nobody named a charset for is none, nor is one that ran into a file.
  bool IsUsable() const { return !m_strText.empty() && !m_bBase64 && m_bCharset; }
  const std::string& Text() const { return m_strText; }

 private:
  void LookForCharset(std::string_view strLine) {
    m_bCharset = m_bCharset || Holds(strLine, "charset");
  }
  // All in one line.
  bool CopyPage(TextLines& objLines) {
    std::string_view strLine;
    while (objLines.Read(strLine)) {
      strLine = Unjoined(strLine);
      m_bBase64 = Holds(strLine, kBase64);
      if (m_bBase64) return false;
      LookForCharset(strLine);
      m_strText += strLine;
      if (EndsPage(strLine)) return true;
    }
    return false;
  }

  std::string m_strTemplate;
  std::string m_strText;
  bool m_bCharset = false;
  bool m_bBase64 = false;  // the last line that was looked at as one of a page
};

}  // namespace

bool CTarnyOutlookHandler::GetCharater(CString strFilepath, CString& strEncoding,
                                       CString& strcharset) {
  auto objLines = TextLines::Open(strFilepath);
  std::string_view strLine;
  for (int nCharsets = 0; objLines && nCharsets < 2 && objLines->Read(strLine);) {
    if (Holds(strLine, "Content-Transfer-Encoding:")) {
      strEncoding = platform::NarrowToWide(strLine.substr(strLine.find(':') + 1));
    }
    if (Holds(strLine, "charset=")) {
      ++nCharsets;
      const std::string_view strValue = strLine.substr(strLine.find('=') + 1);
      strcharset = strValue.size() > kLongestCharset ? CString() : platform::NarrowToWide(strValue);
    }
    if (Holds(strLine, "<html")) break;
  }
  strEncoding.Trim();
  strcharset.Trim();
  if (!strEncoding.Contains(u"quoted-printable")) return true;
  // kept: the second name in capitals too, and the first not
  return !strcharset.Contains(u"iso-8859-1") && !strcharset.Contains(u"us-ascii") &&
         !strcharset.Contains(u"US-ASCII");
}

int CTarnyOutlookHandler::ExtractHtmlFile(CkMime* mime, CString strFilePath, CString) {
  const CString strRaw = strFilePath + u"ssaa.txt";
  const CString strPage = strFilePath + u"ch111.html";
  CString strEncoding;
  CString strCharset;
  if (!GetCharater(strRaw, strEncoding, strCharset)) return kFailure;
  bool bEnded = false;
  if (auto objLines = TextLines::Open(strRaw)) {
    auto objPage = platform::File::Open(strPage, platform::OpenMode::kCreateRead);
    PageFinder objFinder(EncodingOf(strEncoding, strCharset));
    bEnded = objFinder.Find(*objLines);
    const std::string strBytes = platform::ToTextMode(objFinder.Text());
    const bool bWritten =
        objFinder.IsUsable() && objPage &&
        objPage->Write({reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()});
    objPage.reset();
    if (!bWritten) (void)platform::DeleteFileAt(strPage);  // a part of a page is none
  }
  if (platform::PathExists(strPage)) (void)DecodeBodyString(mime, strFilePath, u"ch111.html");
  return bEnded ? kSuccess : kFailure;
}

int CTarnyOutlookHandler::DecodeBodyString(CkMime* mime, CString strHTMLPath, CString strFileName) {
  const CString strPage = strHTMLPath + strFileName;
  const CString strTemp = strHTMLPath + u"HtmlTemFile.txt";
  // One that an earlier item left would keep this one from its name, and be taken for it.
  if (ews::Settings().bSafe) (void)platform::DeleteFileAt(strTemp);
  (void)platform::RenameFile(strPage, strTemp);
  if (!mime->LoadMimeFile(LibraryText(strTemp).getString())) return kFailure;
  const std::unique_ptr<CkMime> pPart(mime->GetPart(0));
  if (pPart) (void)pPart->SaveBody(LibraryText(strPage).getString());
  (void)platform::DeleteFileAt(strTemp);
  return kSuccess;
}

// kept: nothing is decoded, and what the one fixed file says is of no consequence.
CString CTarnyOutlookHandler::DecodeString(CString) {
  CkCrypt2 objCrypt;
  CString strEncoding;
  CString strCharset;
  (void)GetCharater(u"C:\\Users\\windows7\\Desktop\\17_5_2019\\test.txt", strEncoding, strCharset);
  return {};
}
