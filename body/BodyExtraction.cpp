#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/LogNull.h"
#include "body/LibraryText.h"
#include "body/WorkFileReaders.h"
#include "ews/Settings.h"
#include "html/CkHtmlToText.h"
#include "html/WholeText.h"
#include "mime/CkEmail.h"
#include "mime/email/EmailBuilding.h"
#include "mime/email/EmailLayout.h"
#include "platform/Files.h"
#include "platform/NarrowText.h"
#include "target/CTarnyOutlookHandler.h"

// What is left of a mail that is too large for the target: its HTML as plain text, which becomes
// the body of a mail without MIME content.
namespace {

// kept: what the ANSI page lacks is lost. False when there is no HTML text.
bool TextOfHtml(const CString& strEml, CString& strText) {
  CkEmail objEmail;
  if (!objEmail.LoadEml(LibraryText(strEml).getString()) || !objEmail.HasHtmlBody()) return false;
  CkHtmlToText objConverter;
  const char* const pszText = objConverter.toText(objEmail.getHtmlBody());
  strText = platform::NarrowToWide(pszText == nullptr ? "" : pszText);
  return true;
}

// A body in UTF-8, as it is.
std::string BodyOf(const mail::ShownNode& objNode) {
  mail::LogNull objLog;
  mail::DataBuffer objRoom;
  return std::string(mail::readableText(*objNode.objPlaced.pNode, objRoom, objLog));
}

bool IsHtml(const mail::ShownNode& objNode) {
  mail::LogNull objLog;
  return objNode.nRole == mail::Role::kHtml || mail::isFurtherHtml(objNode, objLog);
}

// The nodes that the HTML text of a mail lies in; none where that has no words of its own, such as
// a picture with a link: only a plain form says something then.
std::set<const mail::Email2*> PlacesOfHtml(const mail::Email2& objMail,
                                           const std::vector<mail::ShownNode>& arrShown) {
  const auto itHtml = std::ranges::find(arrShown, mail::Role::kHtml, &mail::ShownNode::nRole);
  std::set<const mail::Email2*> arrPlaces;
  if (itHtml == arrShown.end()) return arrPlaces;
  CString strWords =
      CString::FromUtf8(mail::wholeText(BodyOf(*itHtml), mail::LinkTargets::kLeftOut));
  if (strWords.Trim().IsEmpty()) return arrPlaces;
  const mail::Email2* pInner = itHtml->objPlaced.pNode;
  const std::vector<mail::PlacedEmail> arrNodes = mail::nodesOf(objMail);
  for (auto it = arrNodes.rbegin(); it != arrNodes.rend(); ++it) {  // each behind its parent
    if (it->pNode != pInner || it->pParent == nullptr) continue;
    arrPlaces.insert(pInner = it->pParent);
  }
  return arrPlaces;
}

// What a reader of mail sees as text, all of it, but for other forms of the HTML text.
std::string ReadableText(const mail::Email2& objMail) {
  mail::LogNull objLog;
  const std::vector<mail::ShownNode> arrShown = mail::layOut(objMail, objLog);
  const std::set<const mail::Email2*> arrPlaces = PlacesOfHtml(objMail, arrShown);
  std::string strText;
  for (const mail::ShownNode& objNode : arrShown) {
    const mail::Email2* const pParent = objNode.objPlaced.pParent;
    const bool bHtml = IsHtml(objNode);
    const bool bOtherForm = objNode.nRole == mail::Role::kText && arrPlaces.contains(pParent) &&
                            pParent->type().view() == "multipart/alternative";
    if (bOtherForm || (!bHtml && objNode.nRole != mail::Role::kText)) continue;
    const std::string strPart = bHtml ? mail::wholeText(BodyOf(objNode)) : BodyOf(objNode);
    if (!strPart.empty() && !strText.empty() && !strText.ends_with('\n')) strText += "\r\n";
    strText += strPart;
  }
  return strText;
}

bool SafeText(const CString& strEml, CString& strText) {
  int nLength = 0;
  const std::unique_ptr<unsigned char[]> pBytes(GetPureMime(strEml, &nLength));
  if (!pBytes) return false;
  mail::LogNull objLog;
  const auto pMail = mail::buildEmail(
      {reinterpret_cast<const char*>(pBytes.get()), static_cast<std::size_t>(nLength)},
      /*bUtf8=*/false, objLog, mail::BuildFor::kReader);
  if (pMail == nullptr) return false;
  strText = CString::FromUtf8(ReadableText(*pMail));
  return !strText.IsEmpty();
}

}  // namespace

int CTarnyOutlookHandler::GetHTMLbODY(CString strHTMLfile) {
  const CString strEml = strHTMLfile + u"\\EmlFile.Eml";
  if (!platform::PathExists(strEml)) return kSuccess;
  // kept: 0 for success too
  const bool bSafe = ews::Settings().bSafe;
  CString strText;
  if (!(bSafe ? SafeText(strEml, strText) : TextOfHtml(strEml, strText))) {
    if (bSafe) m_objLogManager.WriteLog(u"EmlFile.Eml has no text that can be read");
    return kFailure;
  }
  const CString strTextFile = strHTMLfile + u"\\TextFile1.txt";
  (void)platform::DeleteFileAt(strTextFile);
  auto objFile = platform::File::Open(strTextFile, platform::OpenMode::kCreateRead);
  const bool bWritten = objFile && objFile->Write(strText.View());
  if (!bWritten && bSafe) {
    m_objLogManager.WriteLog(u"TextFile1.txt could not be written");
    objFile.reset();
    (void)platform::DeleteFileAt(strTextFile);  // half a text is not to pass for the whole
  }
  return kFailure;
}
