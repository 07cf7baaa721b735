#include "pipeline/ItemBodies.h"

#include <algorithm>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "body/BodyText.h"
#include "body/Hrn.h"
#include "body/WorkFileReaders.h"
#include "ews/Settings.h"
#include "pipeline/BodySource.h"
#include "pipeline/Losses.h"
#include "pipeline/SaverSteps.h"
#include "platform/Files.h"

// The converter writes each picture as a file beside the page, "HTMLFile_" + number + extension,
// and the page links it by its path. Where all images of the page are such links, each becomes one
// by content id:
//
//   <img src="file://\RUN\TEMP\HTMLFile_3.png"   what the converter writes
//   <img src="HTMLFile_3.png"                    without the folder
//   <img src="cid:HTMLFile_3.png@01C77B50.1E294610"
//
// The numbers are taken in their order and not in the page's. From the hundredth on all extensions
// count as ".jpg", and so one pass over the page serves all of those.
namespace {

constexpr int kRtfToHtml = 2;        // the converter's selector
constexpr int kSignature = 3;        // characters in front of the page
constexpr int kFirstFixed = 100;     // from here on the extension is not looked at
constexpr int kExtension = 4;        // characters
constexpr size_t kLongestName = 64;  // characters of a picture's file
constexpr int kAttachmentHidden = 0x7FFE;
constexpr std::u16string_view kPicture = u"HTMLFile_";
constexpr std::u16string_view kFixedExtension = u".jpg";
constexpr std::u16string_view kLink = u"<img src=\"";

CString Numbered(int nNumber) {
  return CString(kPicture) + CString::FromUtf8(std::to_string(nNumber));
}

int CountImages(const CString& strPage, const RtfBodyRules& objRules, CLogManager& objLog) {
  int nCount = 0;
  for (int nAt = strPage.Find(u"<img"); nAt >= 0; nAt = strPage.Find(u"<img", nAt + 1)) {
    objLog.WriteLog(objRules.pszImage);
    ++nCount;
  }
  objLog.WriteLog(objRules.pszLast);
  return nCount;
}

CString FixedName(int nNumber) { return Numbered(nNumber) + kFixedExtension; }

// kept: by the first place of the number, though it may be the beginning of a longer one.
CString NameOf(const CString& strPage, int nNumber, const RtfBodyRules& objRules) {
  if (nNumber >= kFirstFixed) return FixedName(nNumber);
  const CString strNumbered = Numbered(nNumber);
  CString strExtension =
      strPage.Mid(strPage.Find(strNumbered) + strNumbered.GetLength(), kExtension);
  if (objRules.bMendsHtm && strExtension.Trim().CompareNoCase(u"htm") == 0) {
    strExtension = CString(u".") + strExtension;
  }
  return strNumbered + strExtension;
}

CString LinkTo(const CString& strName) { return CString(kLink) + strName; }
CString LinkById(const CString& strName) {
  return CString(kLink) + u"cid:" + strName + kContentIdEnd;
}

// The page with each link by id that fnNameAt names: it gets what stands behind `<img src="`, and
// gives the name that it begins with, or "" for what is to stay.
template <typename NAMEAT>
CString WithLinksById(const CString& strPage, NAMEAT&& fnNameAt) {
  std::u16string_view strRest = strPage.View();
  std::u16string strResult;
  for (size_t nAt = strRest.find(kLink); nAt != strRest.npos; nAt = strRest.find(kLink)) {
    strResult += strRest.substr(0, nAt);
    strRest.remove_prefix(nAt + kLink.size());
    const CString strName = fnNameAt(strRest);
    strResult += strName.IsEmpty() ? kLink : LinkById(strName).View();
    strRest.remove_prefix(static_cast<size_t>(strName.GetLength()));
  }
  strResult += strRest;
  return strResult;
}

// The number behind "HTMLFile_" at the text's beginning, without zeros in front; 0 if there is
// none.
int NumberAt(std::u16string_view strText) {
  constexpr size_t kMostDigits = 9;
  if (!strText.starts_with(kPicture)) return 0;
  strText.remove_prefix(kPicture.size());
  int nNumber = 0;
  for (size_t n = 0; n < std::min(strText.size(), kMostDigits); ++n) {
    if (strText[n] < (n == 0 ? u'1' : u'0') || strText[n] > u'9') break;
    nNumber = nNumber * 10 + (strText[n] - u'0');
  }
  return nNumber;
}

// All pictures from the hundredth on, in one pass.
CString WithFixedLinks(const CString& strPage, int nCount) {
  return WithLinksById(strPage, [&](std::u16string_view strText) {
    const int nNumber = NumberAt(strText);
    if (nNumber < kFirstFixed || nNumber > nCount) return CString();
    const CString strName = FixedName(nNumber);
    return strText.starts_with(strName.View()) ? strName : CString();
  });
}

// The names of the pictures beside the page, in upper case.
class PictureFiles {
 public:
  explicit PictureFiles(const CString& strFolder) {
    for (const platform::FoundFile& objFile : platform::FindFiles(strFolder + kPicture + u"*")) {
      m_setNames.insert(CString(objFile.strName).MakeUpper());
    }
  }
  bool Has(CString strName) const { return m_setNames.contains(strName.MakeUpper()); }

 private:
  std::set<CString> m_setNames;
};

void MakeInline(ews::Item& objItem, ews::Attachment& objAttachment, const CString& strName) {
  objAttachment.SetContentId(strName + kContentIdEnd);
  objAttachment.SetContentType(u"image/jpeg");  // kept: whatever it is
  objItem.SetExtendedProperty({kAttachmentHidden, ews::MapiPropertyType::Boolean}, true);
}

void LinkPictures(ews::Item& objItem, CString& strPage, int nCount, const CString& strFolder,
                  const RtfBodyRules& objRules, CLogManager& objLog) {
  const PictureFiles objFiles(strFolder);
  for (int n = 1; n <= nCount; ++n) {
    const CString strName = NameOf(strPage, n, objRules);
    if (n < kFirstFixed) strPage.Replace(LinkTo(strName), LinkById(strName));
    if (!objFiles.Has(strName)) continue;
    try {
      objItem.Attachments().AddFileAttachment(strFolder + strName);
      // kept: as if every earlier picture had been attached, and nothing but them
      MakeInline(objItem, objItem.Attachments()[n - 1], strName);
    } catch (...) {  // one picture costs no other
      if (objRules.pszFailure) objLog.WriteLog(objRules.pszFailure);
    }
  }
  if (nCount >= kFirstFixed) strPage = WithFixedLinks(strPage, nCount);
}

// With the safe switch: each picture that is there, whatever its number and its extension, under
// its own id; the link of one that is not there stays.
void LinkPicturesThatAreThere(ews::Item& objItem, CString& strPage, const CString& strFolder,
                              const RtfBodyRules& objRules, CLogManager& objLog) {
  const PictureFiles objFiles(strFolder);
  std::set<CString> setAttached;
  strPage = WithLinksById(strPage, [&](std::u16string_view strText) {
    const size_t nLength = strText.substr(0, kLongestName).find(u'"');
    if (NumberAt(strText) == 0 || nLength == strText.npos) return CString();
    const CString strName = strText.substr(0, nLength);
    if (!objFiles.Has(strName)) return CString();
    if (setAttached.contains(strName)) return strName;
    try {
      MakeInline(objItem, objItem.Attachments().AddFileAttachment(strFolder + strName), strName);
      setAttached.insert(strName);
      return strName;
    } catch (...) {
      if (objRules.pszFailure) objLog.WriteLog(objRules.pszFailure);
      NoteLoss(objLog, strName, u"the picture cannot be attached");
      return CString();
    }
  });
}

CString Converted(const CString& strHtmPath, CLogManager& objLog) {
  const CString strHtml = strHtmPath + u"HTMLFile.html";
  Hrn objConverter;
  objConverter.SetInWebServer(false);
  try {
    objConverter.HrsConvertFile(strHtmPath + u"ch2111.rtf", strHtml, kRtfToHtml);
  } catch (const std::system_error& objError) {  // there is no page then
    objLog.WriteLog(CString(u"ch2111.rtf could not be converted: ") +
                    CString::FromUtf8(objError.what()));
    NoteLoss(objLog, u"ch2111.rtf", u"it gives no body; the next one is taken");
  }
  int nLength = 0;
  return GetStringFromFilenonUnicode(strHtml, &nLength).Mid(kSignature);
}

}  // namespace

bool SetPageFromRtf(ews::Item& objItem, const CString& strHtmPath, const RtfBodyRules& objRules,
                    CLogManager& objLog) {
  if (objRules.pszBegin) objLog.WriteLog(objRules.pszBegin);
  CString strPage = Converted(strHtmPath, objLog);
  const int nImages = CountImages(strPage, objRules, objLog);
  if (ews::Settings().bSafe && ShowsNothing(strPage.ToUtf8())) return false;
  // kept: where not all images are such links, they lose the folder, too, and name no file then
  const int nLinked = strPage.Replace(CString(u"file://") + strHtmPath, u"");
  if (ews::Settings().bSafe) {
    LinkPicturesThatAreThere(objItem, strPage, strHtmPath, objRules, objLog);
  } else if (nImages == nLinked) {
    LinkPictures(objItem, strPage, nImages, strHtmPath, objRules, objLog);
  }
  if (strPage.IsEmpty()) return false;
  SetBodyText(objItem, ews::BodyType::HTML, strPage);
  return true;
}

void SetRecordBody(ews::Item& objItem, const CString& strHtmPath, ST_EML_INFO& objInfo,
                   const RtfBodyRules& objRules, CLogManager& objLog) {
  const auto IsThere = [&](const char16_t* pszFile) {
    return platform::PathExists(strHtmPath + pszFile);
  };
  BodySource eSource = FirstBodySource(kOtherBodyFiles, IsThere);
  if (eSource == BodySource::kRichText) {
    if (SetPageFromRtf(objItem, strHtmPath, objRules, objLog)) return;
    eSource = FirstBodySource(std::span(kOtherBodyFiles).subspan(1), IsThere);
    // kept: rich text gives way to plain text alone
    if (eSource == BodySource::kPage && !ews::Settings().bSafe) return;
  }
  if (eSource == BodySource::kText) SetBodyText(objItem, ews::BodyType::Text, objInfo.strBody);
  if (eSource != BodySource::kPage) return;
  objInfo.strBody = WithPageTags(objInfo.strBody);
  SetBodyText(objItem, ews::BodyType::HTML, objInfo.strBody);
}

CString WithPageTags(CString strText) {
  constexpr std::u16string_view kOpen = u"<HTML>";
  constexpr std::u16string_view kClose = u"</HTML>";
  const bool bOpens = strText.Contains(kOpen);
  const bool bCloses = strText.Contains(kClose);
  if (!bOpens && !bCloses) return strText;
  if (!bCloses) strText += kClose;
  if (!bOpens) strText = CString(kOpen) + strText;
  const int nLength = strText.Find(kClose) + static_cast<int>(kClose.size());
  return strText.Mid(strText.Find(kOpen), nLength);
}
