#include "pipeline/SaverSteps.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#include "body/WorkFileReaders.h"
#include "ews/Settings.h"
#include "pipeline/ItemDescriptor.h"
#include "platform/Files.h"
#include "platform/LineReader.h"
#include "platform/Paths.h"

void SetImportance(ews::Item& objItem, const CString& strImportance) {
  if (strImportance == u"1") objItem.SetImportance(ews::Importance::High);
  if (strImportance == u"2") objItem.SetImportance(ews::Importance::Normal);
  if (strImportance == u"3") objItem.SetImportance(ews::Importance::Low);
}

void SetMimeFromPath(ews::Item& objItem, const CString& strHtmPath) {
  if (strHtmPath.IsEmpty()) return;
  int nLength = 0;
  std::unique_ptr<unsigned char[]> pBytes(GetPureMime(strHtmPath, &nLength));
  if (nLength > 0) {
    objItem.SetMimeContent({u"us-ascii", std::move(pBytes), static_cast<size_t>(nLength)});
  }
}

void SetBodyText(ews::Item& objItem, ews::BodyType eType, const CString& strText) {
  const CString strSent = ews::Settings().bSafe ? Sendable(strText.View()) : strText.UpToNul();
  objItem.SetBody(ews::MessageBody(eType, strSent));
}

COleDateTime WallClock(const COleDateTime& dt) {
  const CivilDateTime objDate = GetDateTime(dt);
  return {objDate.nYear, objDate.nMonth,  objDate.nDay,
          objDate.nHour, objDate.nMinute, objDate.nSecond};
}

bool LiesInWorkFolder(const CString& strPath) {
  std::error_code objError;
  const auto objFolder = std::filesystem::canonical(platform::ResolvePath(GetCurrPath()), objError);
  if (objError) return false;
  const auto objFile = std::filesystem::canonical(platform::ResolvePath(strPath), objError);
  if (objError) return false;
  const auto objMismatch =
      std::mismatch(objFolder.begin(), objFolder.end(), objFile.begin(), objFile.end());
  return objMismatch.first == objFolder.end() && objMismatch.second != objFile.end();
}

void AttachListed(ews::Item& objItem, const CString& strHtmPath, EmptyLines eEmpty) {
  auto objReader = platform::WideLineReader::Open(strHtmPath + u"11comtextjjAttach.t");
  if (!objReader) return;
  CString strLine;
  while (objReader->ReadLine(strLine)) {
    strLine = RemoveSlash(strLine);
    if (strLine.IsEmpty() && eEmpty == EmptyLines::kSkipped) continue;
    const CString strPath = strHtmPath + strLine;
    if (!platform::PathExists(strPath)) continue;
    if (ews::Settings().bSafe && !LiesInWorkFolder(strPath)) continue;
    try {
      const CString strName(platform::FileNameOf(strPath));
      objItem.Attachments().AddFileAttachment(
          ews::Settings().bSafe ? Sendable(strName.View()) : strName, strPath);
    } catch (...) {  // one file costs no other
    }
  }
}
