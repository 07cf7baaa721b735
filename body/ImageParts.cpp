#include <string>
#include <string_view>

#include "body/RawText.h"
#include "body/TextLines.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/NarrowText.h"
#include "platform/Paths.h"
#include "target/CTarnyOutlookHandler.h"

// The pictures in the raw text of a message: parts that follow its HTML become files, named by
// their Content-IDs.
namespace {

using raw_text::Holds;

constexpr std::string_view kEncoding = "Content-Transfer-Encoding:";

// Names a file directly in the work folder, whoever wrote it.
bool IsFileName(const CString& strName) {
  return !strName.IsEmpty() && strName.FindOneOf(u"\\/") < 0 && strName != u"." && strName != u"..";
}

CString NameOfContentId(const CString& strLine) {
  CString strName = strLine.Mid(strLine.Find(u'<'));
  strName.Remove(u'<');
  strName.Remove(u'>');
  return strName;
}

// The lines before a part's data. kept: the one that names its encoding ends them and is none of
// them, unless it comes first.
CStringArray ReadPartHeader(TextLines& objLines, std::string_view strFirst) {
  CStringArray arrHeader;
  arrHeader.Add(platform::NarrowToWide(strFirst));
  std::string_view strLine;
  while (objLines.Read(strLine) && !Holds(strLine, kEncoding)) {
    arrHeader.Add(platform::NarrowToWide(strLine));
  }
  return arrHeader;
}

// The data of a part in one line, up to an empty one; false if there is none.
bool ReadPartData(TextLines& objLines, std::string& strData) {
  std::string_view strLine;
  while (objLines.Read(strLine)) {
    if (strLine.empty()) return true;
    strData += strLine;
  }
  return false;
}

bool Append(const CString& strPath, const CString& strLine) {
  auto objFile = platform::File::Open(strPath, platform::OpenMode::kAppendKeep);
  if (!objFile) return false;
  return objFile->Append(strLine.View());
}

}  // namespace

int CTarnyOutlookHandler::ExtractImageFromFile(CkMime* mime, CString strImageFile,
                                               CString strFileName) {
  m_arrImagePaths.RemoveAll();
  auto objLines = TextLines::Open(strImageFile);
  std::string_view strLine;
  if (!objLines || !objLines->Read(strLine)) return kSuccess;
  while (objLines->Read(strLine) && !Holds(strLine, "</html>")) {
  }
  while (objLines->Read(strLine) && ExtractImagePart(mime, *objLines, strLine, strFileName)) {
  }
  return kSuccess;
}

// One part, whose first line has been read. False where no further one is looked for.
bool CTarnyOutlookHandler::ExtractImagePart(CkMime* mime, TextLines& objLines,
                                            std::string_view strFirst, const CString& strList) {
  CStringArray arrHeader = ReadPartHeader(objLines, strFirst);
  if (FindExtension(ExtractTYPEFromeFile(arrHeader, u"image/")) == 0) return false;
  CString strId = ExtractTYPEFromeFile(arrHeader, u"Content-ID:");
  if (strId.IsEmpty()) strId = ExtractTYPEFromeFile(arrHeader, u"Content-Id:");
  CString strName = NameOfContentId(strId);
  if (FindDotExtensionn(ExtractTYPEFromeFile(arrHeader, u"name=")) == 0) {
    strName.Empty();
  } else if (Append(GetCurrPath() + strList, strName + u"\r\n")) {
    m_arrImagePaths.Add(strName);
  }
  // One that cannot be made is listed all the same, and read past.
  auto objFile = IsFileName(strName)
                     ? platform::File::Open(GetCurrPath() + strName, platform::OpenMode::kCreate)
                     : std::nullopt;
  std::string strData;
  const bool bWhole = ReadPartData(objLines, strData);
  if (objFile) {
    CString strText =
        strId + u"\r\n" + ExtractTYPEFromeFile(arrHeader, u"Content-Transfer-Encoding:") + u"\r\n";
    if (bWhole) strText += u"\r\n" + CString(platform::NarrowToWide(strData));
    (void)objFile->WriteText(strText);
    objFile.reset();
    if (bWhole) EncodeWithString(mime, GetCurrPath(), strName);
  }
  return bWhole;
}

int CTarnyOutlookHandler::FinalIamge(CString strImage, CString strOleFileName) {
  constexpr std::size_t kMostHeader = 6552;  // bytes before the blank line; longer ones stay
  constexpr std::string_view kBlankLine = "\r\n\r\n";
  auto objImage = platform::File::Open(strImage, platform::OpenMode::kRead);
  if (!objImage) return kSuccess;
  std::string strBytes(static_cast<std::size_t>(objImage->Length()), '\0');
  strBytes.resize(
      objImage->Read({reinterpret_cast<unsigned char*>(strBytes.data()), strBytes.size()}));
  std::string_view strData = strBytes;
  const std::size_t nBlank = strData.substr(0, kMostHeader + kBlankLine.size()).find(kBlankLine);
  if (nBlank != std::string_view::npos) strData.remove_prefix(nBlank + kBlankLine.size());
  auto objData = platform::File::Open(strOleFileName, platform::OpenMode::kCreate);
  if (!objData) return kFailure;
  (void)objData->Write({reinterpret_cast<const unsigned char*>(strData.data()), strData.size()});
  return kSuccess;
}
