#include "target/StoreFolders.h"

#include <algorithm>
#include <array>
#include <optional>

#include "ews/FolderNameTable.h"
#include "ews/FolderPath.h"
#include "ews/Settings.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/StoreError.h"

// A path of the source's names becomes a folder of the local store. Every failure counts as "not
// there", or as "could not be made": the empty list then ends the walk.
namespace {

struct TypeClass {
  int nType;
  std::u16string_view strClass;
};
constexpr std::array<TypeClass, 5> kClassesByType{{
    {2, kClassTask},
    {7, kClassTask},
    {13, kClassTask},
    {6, kClassAppointment},
    {14, kClassContact},
}};

bool IsOfMail(int nType) {
  return std::ranges::find(kClassesByType, nType, &TypeClass::nType) == kClassesByType.end();
}

CString Upper(CString str) { return str.MakeUpper(); }

// Whether there is such a folder; nothing where that cannot be read, with the words of it.
std::optional<bool> LookFor(const CString& strName, const IRDOFolders& objFolders,
                            CString& strWords) {
  std::optional<bool> bFound;
  (void)DoneInStore(strWords,
                    [&] { (void)objFolders.GetCount(); });  // kept: nobody asks what it says
  (void)DoneInStore(strWords, [&] { bFound = !FindFolder(strName, objFolders).IsEmpty(); });
  return bFound;
}

}  // namespace

CString GetFolderTypeGroupwise(const CString& strName, int nType, bool bChangeViewOfCalender) {
  const CString strUpper = Upper(strName);
  if (strUpper == u"CONTACTS") return kClassContact;
  if (strUpper == u"TASKS") return kClassTask;
  if (strUpper == u"CALENDAR") return bChangeViewOfCalender ? kClassNote : kClassAppointment;
  const auto it = std::ranges::find(kClassesByType, nType, &TypeClass::nType);
  return it == kClassesByType.end() ? kClassNote : it->strClass;
}

IRDOFolder FindFolder(const CString& strLevel, const IRDOFolders& objFolders) {
  const CString strWanted = Upper(UpdateName(strLevel));
  IRDOFolder objFolder = objFolders.GetFirst();
  while (!objFolder.IsEmpty() && Upper(objFolder.GetName()) != strWanted) {
    objFolder = objFolders.GetNext();
  }
  return objFolder;
}

bool CTarnyOutlookHandler::CheckIfFolderExist(CString strName, IRDOFolders olF2Temp) {
  return LookFor(strName, olF2Temp, m_strErrorMsg).value_or(false);
}

IRDOFolders CTarnyOutlookHandler::GetFolderHandle(CString strName, IRDOFolders olF2Temp) {
  IRDOFolders objBelow;
  const auto Enter = [&] {
    m_objCurrFolder = FindFolder(strName, olF2Temp);
    objBelow = m_objCurrFolder.GetFolders();
  };
  if (!DoneInStore(m_strErrorMsg, Enter) || m_objCurrFolder.IsEmpty()) {
    m_objCurrFolder.Release();
    m_objParentFolder.Release();
  }
  return objBelow;
}

IRDOFolders CTarnyOutlookHandler::MakeFolder(CString strName, IRDOFolders olF2Temp, CString ver) {
  IRDOFolders objBelow;
  (void)DoneInStore(m_strErrorMsg, [&] {
    const IRDOFolder objFolder = olF2Temp.Add(UpdateName(strName), ver);
    if (objFolder.IsEmpty()) return;
    m_objCurrFolder = objFolder;
    objBelow = m_objCurrFolder.GetFolders();
  });
  return objBelow;
}

CString CTarnyOutlookHandler::GetFolderType(CString sItem) {
  if (!m_strFolderType.IsEmpty() && m_strFolderType == sItem) return kClassAppointment;
  return kClassNote;
}

IRDOFolders CTarnyOutlookHandler::CreateFolder(CString foldername, IRDOFolders olF2, int nType) {
  const int nLevels = getTotCountSlash(foldername);
  for (int k = 0; k < nLevels && !olF2.IsEmpty(); ++k) {
    const CString strName = GetNameBySlash(foldername, k);
    const std::optional<bool> bFound = LookFor(strName, olF2, m_strErrorMsg);
    if (!bFound && ews::Settings().bSafe) return {};  // else one that is there comes twice
    if (bFound.value_or(false)) {
      olF2 = GetFolderHandle(strName, olF2);
    } else {
      const bool bLast = k == nLevels - 1;
      const bool bOfMail = ews::Settings().bSafe && k > 0 && IsOfMail(nType);
      olF2 = MakeFolder(strName, olF2,
                        bLast && !bOfMail ? GetFolderTypeGroupwise(strName, nType, m_bChangeView)
                                          : GetFolderType(strName));
    }
  }
  return olF2;
}
