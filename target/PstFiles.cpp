#include <string>

#include "platform/Files.h"
#include "target/CTarnyOutlookHandler.h"
#include "target/RdoProviders.h"

// A store file as the target: made and attached by a session; where that fails, made by the second
// way, which attaches it to nothing here, and then looked for in every profile. A step that fails
// leaves behind what the steps before it attached, for ClearPrevisInstance.
namespace {

constexpr std::u16string_view kExtension = u".PST";

CString DisplayName(const CString& strPath) { return u"Morvane " + strPath; }

// kept: all of the path is in upper case then, and every place that looks like the extension gets
// the number. A path without one would be tried for ever.
CString FreeName(const CString& strPath) {
  CString strFree = strPath;
  for (int n = 1; platform::PathExists(strFree); ++n) {
    strFree = strPath;
    strFree.MakeUpper();
    const CString strNumber = CString::FromUtf8("(" + std::to_string(n) + ")");
    (void)strFree.Replace(kExtension, strNumber + kExtension);
  }
  return strFree;
}

}  // namespace

int CTarnyOutlookHandler::CreatePstFile(CString strPstPath) {
  if (m_bStop) return kFailure;
  bool bLoggedOn = false;
  Guarded(nullptr, [&] { bLoggedOn = m_objRdoSession.GetLoggedOn(); });
  if (bLoggedOn) ClearPrevisInstance();
  strPstPath = FreeName(strPstPath);
  if (CreatePstFileWithRedemption(strPstPath)) return kSuccess;
  if (!CreatePstFileUsingOutlookAutomation(strPstPath)) return kFailure;
  return OpenPstFile(strPstPath) ? kSuccess : kFailure;
}

bool CTarnyOutlookHandler::CreatePstFileWithRedemption(CString strFileName) {
  if (m_bStop || !CreateSession()) return false;
  rdo::Logon objLogon;
  objLogon.nParentWindowHandle = m_hParentWnd;
  if (!Succeeds([&] { m_objRdoSession.Logon(objLogon); })) return false;
  if (!AttachStores()) return false;
  const auto AddStore = [&] {
    m_objRdoPstStore =
        m_objRdoStores.AddPSTStore(strFileName, rdo::kPstFormat, DisplayName(strFileName));
  };
  return Succeeds(AddStore);  // kept: also where no store came of it
}

bool CTarnyOutlookHandler::CreateSession() {
  return Succeeds([&] { m_objRdoSession = IRDOSession::Create(); }) && !m_objRdoSession.IsEmpty();
}

bool CTarnyOutlookHandler::AttachStores() {
  return Succeeds([&] { m_objRdoStores = m_objRdoSession.GetStores(); }) &&
         !m_objRdoStores.IsEmpty();
}

int CTarnyOutlookHandler::CreatePstFileUsingOutlookAutomation(CString strPath) {
  if (m_bStop) return kFailure;
  std::shared_ptr<rdo::OutlookApplication> pOutlook;
  Guarded(nullptr, [&] {
    pOutlook = std::dynamic_pointer_cast<rdo::OutlookApplication>(rdo::CreateObject(rdo::kOutlook));
  });
  if (!pOutlook) return kFailure;
  std::shared_ptr<rdo::OutlookNamespace> pNamespace;
  Guarded(nullptr, [&] { pNamespace = pOutlook->GetNamespace(u"MAPI"); });
  if (!pNamespace) return kFailure;  // kept: it is not told to quit
  bool bMade = false;
  if (Succeeds([&] { pNamespace->LogOn(CString(), CString()); })) {
    bMade = Succeeds([&] { pNamespace->AddStore(strPath); });
    Guarded(nullptr, [&] { pNamespace->LogOff(); });
  }
  pNamespace.reset();  // one that is held may keep the application from its end
  Guarded(nullptr, [&] { pOutlook->Quit(); });
  return bMade ? kSuccess : kFailure;
}

bool CTarnyOutlookHandler::OpenPstFile(CString strFileName) {
  if (m_bStop) return false;
  int nProfiles = 0;
  if (!Succeeds([&] { m_objRdoProfiles = m_objRdoSession.GetProfiles(); })) return false;
  if (!Succeeds([&] { nProfiles = m_objRdoProfiles.GetCount(); }) || nProfiles == 0) return false;
  for (int i = 1; i <= nProfiles; ++i) {
    rdo::Logon objLogon;
    if (!Succeeds([&] { objLogon.strProfileName = m_objRdoProfiles.Item(i); })) continue;
    if (!Succeeds([&] { m_objRdoSession.Logon(objLogon); }) || !AttachStores()) continue;
    if (TakeStoreOfPath(strFileName)) return true;
    Guarded(nullptr, [&] { m_objRdoSession.Logoff(); });
  }
  return true;  // kept: m_objRdoPstStore is the last store that was looked at
}

// Looks through the stores of the profile; the one that is found gets our display name.
bool CTarnyOutlookHandler::TakeStoreOfPath(const CString& strFileName) {
  int nStores = 0;
  Guarded(nullptr, [&] { nStores = m_objRdoStores.GetCount(); });
  for (int j = 1; j <= nStores && !m_bStop; ++j) {
    bool bFound = false;
    Guarded(nullptr, [&] {
      m_objRdoPstStore = m_objRdoStores.Item(j);
      bFound = m_objRdoPstStore.GetPstPath() == strFileName;
    });
    if (!bFound) continue;
    Guarded(nullptr, [&] { m_objRdoPstStore.SetName(DisplayName(strFileName)); });
    Guarded(nullptr, [&] { m_objRdoPstStore.Save(); });
    return true;
  }
  return false;
}
