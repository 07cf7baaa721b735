#include "pipeline/SaverSteps.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

#include "body/BodyText.h"
#include "body/WorkFileReaders.h"
#include "ews/Settings.h"
#include "pipeline/ItemDescriptor.h"
#include "pipeline/Losses.h"
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

CString SentText(const CString& strText) {
  return ews::Settings().bSafe ? Sendable(strText.View()) : strText;
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

namespace {

// With the safe switch in whatever form its bytes show, without it in 16-bit units.
std::vector<CString> LinesOf(const CString& strPath, CLogManager& objLog) {
  std::vector<CString> arrLines;
  if (!ews::Settings().bSafe) {
    CString strLine;
    auto objReader = platform::WideLineReader::Open(strPath);
    while (objReader && objReader->ReadLine(strLine)) arrLines.push_back(strLine);
    return arrLines;
  }
  if (!platform::PathExists(strPath)) return arrLines;
  std::unique_ptr<unsigned char[]> pBytes;
  int nLength = 0;
  try {
    pBytes.reset(GetPureMime(strPath, &nLength));
  } catch (const std::exception&) {  // told below
  }
  if (!pBytes) NoteLoss(objLog, u"the files of a list", u"the list cannot be read");
  const CString strText =
      BodyText({reinterpret_cast<const char*>(pBytes.get()), static_cast<size_t>(nLength)});
  for (std::u16string_view strRest = strText.View(); !strRest.empty();) {
    const size_t nEnd = std::min(strRest.find(u'\n'), strRest.size());
    arrLines.emplace_back(strRest.substr(0, nEnd));
    strRest.remove_prefix(std::min(nEnd + 1, strRest.size()));
  }
  return arrLines;
}

// Why it was not attached; empty when it was.
std::u16string_view Attach(ews::Item& objItem, const CString& strPath) {
  if (!platform::PathExists(strPath)) return u"there is no such file";
  if (ews::Settings().bSafe && !LiesInWorkFolder(strPath)) return u"it lies elsewhere";
  try {
    const CString strName(platform::FileNameOf(strPath));
    objItem.Attachments().AddFileAttachment(SentText(strName), strPath);
    return {};
  } catch (...) {  // one file costs no other
    return u"it cannot be read";
  }
}

}  // namespace

void AttachListed(ews::Item& objItem, const CString& strFolder, const CString& strList,
                  EmptyLines eEmpty, CLogManager& objLog) {
  const bool bSkips = eEmpty == EmptyLines::kSkipped || ews::Settings().bSafe;
  for (const CString& strLine : LinesOf(strFolder + strList, objLog)) {
    const CString strName = RemoveSlash(strLine);
    if (strName.IsEmpty() && bSkips) continue;
    const std::u16string_view strWhy = Attach(objItem, strFolder + strName);
    if (!strWhy.empty()) NoteLoss(objLog, strName, strWhy);
  }
}
