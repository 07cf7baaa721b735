#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "body/RawText.h"
#include "body/TextLines.h"
#include "ews/Settings.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "target/CTarnyOutlookHandler.h"

// The HTML in the raw text of a message, found by marks in its lines: "ssaa.txt" becomes
// "EmlFile.Eml", whose header has what the HTML needs to be read.
namespace {

constexpr std::array<std::string_view, 7> kPageStarts = {
    "<html", "DOCTYPE html", "DOCTYPE HTML", "meta name", "meta http", "META HTTP", "html lang"};
constexpr std::string_view kEncoding = "Content-Transfer-Encoding:";
constexpr std::string_view kType = "Content-Type:";

using namespace raw_text;

class PageCopier {
 public:
  // The message; nothing where the text has none that can be read.
  std::optional<std::string> Copy(TextLines& objLines) {
    std::string_view strLine;
    while (objLines.Read(strLine)) {
      const bool bPage = HoldsAny(strLine, kPageStarts);
      // kept: of the page's first line, too, which may be a META tag with a charset
      if (!bPage || !ews::Settings().bSafe) TakeHeaderLine(strLine);
      if (!bPage) continue;
      if (m_strEncoding.empty()) break;
      PutStart(Unjoined(strLine));
      PutRest(objLines);
    }
    if (m_strMail.empty() || m_bBase64) return std::nullopt;
    return std::move(m_strMail);
  }

 private:
  void TakeHeaderLine(std::string_view strLine) {
    if (Holds(strLine, kEncoding)) m_strEncoding = strLine;
    if (Holds(strLine, kType)) {
      m_strType = strLine;
    } else if (Holds(strLine, "charset=")) {
      m_strCharset = strLine;
    }
  }
  void PutStart(std::string_view strLine) {
    m_strMail.append(m_strEncoding).append("\n").append(m_strType).append("\n");
    if (!m_strCharset.empty()) m_strMail.append(m_strCharset).append("\n");
    m_strMail += '\n';
    m_strMail += FromTag(strLine);
  }
  // Up to the page's end, all in one line.
  void PutRest(TextLines& objLines) {
    std::string_view strLine;
    while (objLines.Read(strLine)) {
      strLine = Unjoined(strLine);
      if (Holds(strLine, kBase64)) {
        m_bBase64 = true;
        return;
      }
      m_strMail += strLine;
      if (EndsPage(strLine)) return;
    }
  }

  std::string_view m_strEncoding, m_strType, m_strCharset;  // whole lines
  std::string m_strMail;
  bool m_bBase64 = false;  // a part that is no text was run into
};

}  // namespace

void CTarnyOutlookHandler::CreateEML(CString strHTMLfilePath) {
  const CString strEml = strHTMLfilePath + u"EmlFile.Eml";
  (void)platform::DeleteFileAt(strEml);
  auto objRaw = TextLines::Open(strHTMLfilePath + u"ssaa.txt");
  if (!objRaw) return;
  const auto strMail = PageCopier().Copy(*objRaw);
  if (!strMail) return;
  auto objEml = platform::File::Open(strEml, platform::OpenMode::kCreateRead);
  if (!objEml) return;
  const std::string strBytes = platform::ToTextMode(*strMail);
  const bool bWritten =
      objEml->Write({reinterpret_cast<const unsigned char*>(strBytes.data()), strBytes.size()});
  if (!bWritten) (void)platform::DeleteFileAt(strEml);  // a part of a mail is none
}
