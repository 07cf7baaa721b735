#include "engine/ItemStatus.h"

namespace {

constexpr int kSaved = 1;
constexpr std::u16string_view kSuccessLine = u"\t\tSaving Status : Success";

// The item was saved in spite of the failure that the text tells of.
bool IsIndexOutOfRange(const CString& strErr) { return strErr.Contains(u"index is out of range"); }

CString SavedInSpiteOf(const CString& strErr) {
  return CString(kSuccessLine) + u"\r\n\t Message :" + strErr;
}

bool IsBadAddress(const CString& strErr) {
  return strErr.Contains(u"The invalid value") &&
         strErr.Contains(u"was specified for the 'EmailAddress' element.");
}

bool IsBadBody(const CString& strErr) {
  return strErr.Contains(u"was specified for the 'Body' element");
}

}  // namespace

CString ItemStatusLine(int& nResult, CString& strErr, const std::function<int(CString&)>& fnRetry) {
  if (nResult == kSaved) return kSuccessLine;
  if (IsIndexOutOfRange(strErr)) return SavedInSpiteOf(strErr);
  if (IsBadAddress(strErr)) {
    nResult = fnRetry(strErr);
    if (nResult == kSaved) return kSuccessLine;
    return IsIndexOutOfRange(strErr) ? SavedInSpiteOf(strErr) : CString();
  }
  if (IsBadBody(strErr)) return {};
  return FailureStatusLine(strErr);
}

CString FailureStatusLine(const CString& strErr) {
  CString strStatus = u"\t\t+Saving Status : Fail";
  if (!strErr.IsEmpty()) strStatus += CString(u"\r\n\t\tError Message :") + strErr;
  return strStatus;
}
