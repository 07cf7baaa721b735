#include "pipeline/SeriesSaving.h"

#include <exception>

#include <fmt/format.h>

#include "ews/ExchangeService.h"
#include "ews/FindItems.h"
#include "ews/ServiceException.h"

namespace {

constexpr size_t kMostTold = 5;

// What earlier tries left behind.
void RemoveUnfinished(ews::ExchangeService& objService, const ews::FolderId& objFolder,
                      const CString& strMark) {
  const ews::IsEqualTo objFilter(ews::ItemKeyProperty(), strMark);
  const ews::FindItemsResults objFound =
      objService.FindItems(objFolder, &objFilter, ews::ItemView(ews::ItemView::kMostOnPage));
  for (const ews::FoundItem& objItem : objFound.arrItems) {
    if (objItem.strKey != strMark.Left(ews::kLongestFoundText)) continue;
    if (ews::Item::Delete(objService, objItem.strId)) continue;
    throw ews::ServiceException("What an earlier try left of this series cannot be deleted.");
  }
}

void SetKey(ews::Appointment& objItem, const CString& strKey) {
  objItem.SetExtendedProperty(ews::ItemKeyProperty(), strKey);
}

CString Complete(ews::Appointment& objItem, const CString& strKey) {
  CString strRefused = TextOfRefused(objItem.SaveOccurrences());
  if (!strKey.IsEmpty()) {
    SetKey(objItem, strKey);
    objItem.Update(ews::ConflictResolutionMode::AlwaysOverwrite,
                   ews::SendInvitationsOrCancellationsMode::SendToNone);
  }
  return strRefused;
}

}  // namespace

CString UnfinishedKey(const CString& strKey) { return CString(u"unfinished: ") + strKey; }

CString TextOfRefused(const std::vector<ews::RefusedOccurrence>& arrRefused) {
  if (arrRefused.empty()) return {};
  std::string strText = fmt::format(
      "The series is there, but {} of its occurrences could not be changed:", arrRefused.size());
  for (size_t n = 0; n < arrRefused.size() && n < kMostTold; ++n) {
    strText += fmt::format("{} number {}: {}", n == 0 ? "" : ";", arrRefused[n].nIndex,
                           arrRefused[n].strText);
  }
  return CString::FromUtf8(strText);
}

CString SaveWithOccurrences(ews::Appointment& objItem, const ews::FolderId& objFolder,
                            ews::ExchangeService& objService) {
  if (objItem.Occurrences().IsEmpty()) {
    objItem.Save(objFolder);
    return {};
  }
  const CString* pKey = objItem.TextProperty(ews::ItemKeyProperty());
  const CString strKey = pKey ? *pKey : CString();
  if (!strKey.IsEmpty()) {
    const CString strMark = UnfinishedKey(strKey);
    RemoveUnfinished(objService, objFolder, strMark);
    SetKey(objItem, strMark);
  }
  try {
    objItem.Save(objFolder);
    return Complete(objItem, strKey);
  } catch (const ews::ServiceException&) {
    const bool bLeft = objItem.Id().IsSet() && !objItem.Delete();
    if (!strKey.IsEmpty()) SetKey(objItem, strKey);
    if (!bLeft) throw;
  }
  throw ews::ServiceException(
      "Occurrences of the series could not be changed. It is there without.");
}
