#include "ews/FolderPath.h"

#include "ews/FolderNameTable.h"

int getTotCountSlash(const CString& foldername) {
  int nCount = 0;
  for (int nAt = foldername.Find(u'\\'); nAt > 0; nAt = foldername.Find(u'\\', nAt + 1)) ++nCount;
  return nCount;
}

CString GetNameBySlash(const CString& foldername, int i) {
  int nStart = 0;
  for (int nSkipped = 0; nSkipped < i; ++nSkipped) {
    const int nAt = foldername.Find(u'\\', nStart);
    if (nAt < 0) return {};
    nStart = nAt + 1;
  }
  // The first level's closing backslash is looked for behind its first character.
  const int nEnd = foldername.Find(u'\\', i == 0 ? 1 : nStart);
  return nEnd < 0 ? CString() : foldername.Mid(nStart, nEnd - nStart);
}

CString UpdateName(const CString& sItem) { return CString(TargetFolderName(sItem)); }
