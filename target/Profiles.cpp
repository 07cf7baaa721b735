#include "target/CTarnyOutlookHandler.h"

// The stores of an existing profile, to be listed or taken as the target.

int CTarnyOutlookHandler::GetAllExchangeProfiles(CStringArray* /*p_strArr*/) {
  return CreateSession() ? kSuccess : kFailure;  // kept: the names are their caller's affair
}

// The number of stores in a profile that is logged on to; nothing on failure.
std::optional<int> CTarnyOutlookHandler::LogonToProfile(const CString& strProfileName) {
  if (strProfileName.IsEmpty()) return std::nullopt;
  Guarded(nullptr, [&] {
    if (m_objRdoSession.GetLoggedOn()) m_objRdoSession.Logoff();
  });
  rdo::Logon objLogon;
  objLogon.strProfileName = strProfileName;
  if (!Succeeds([&] { m_objRdoSession.Logon(objLogon); })) return std::nullopt;
  if (!Succeeds([&] { m_objRdoStores = m_objRdoSession.GetStores(); })) return std::nullopt;
  int nStores = 0;
  Guarded(nullptr, [&] { nStores = m_objRdoStores.GetCount(); });
  return nStores;
}

int CTarnyOutlookHandler::GetAllProfilesPath(CString strProfileName, CStringArray& strArrStore,
                                             CStringArray& strArrFilePath) {
  const std::optional<int> nStores = LogonToProfile(strProfileName);
  if (!nStores) return kFailure;
  for (int n = 1; n <= *nStores; ++n) {
    if (m_bStop) return kFailure;
    Guarded(nullptr, [&] {
      const IRDOPstStore objStore = m_objRdoStores.Item(n);
      const CString strPath = objStore.GetPstPath();
      const CString strName = objStore.GetName();
      strArrStore.Add(strName);
      strArrFilePath.Add(strPath);
    });
  }
  return kSuccess;
}

int CTarnyOutlookHandler::SetEnvironmentForExchange(CString strProfileName, CString strStoreName,
                                                    CString /*strFilePath*/) {
  const std::optional<int> nStores = LogonToProfile(strProfileName);
  if (!nStores) return kFailure;
  for (int n = 1; n <= *nStores; ++n) {
    if (m_bStop) return kFailure;
    bool bFound = false;
    Guarded(nullptr, [&] {
      const IRDOPstStore objStore = m_objRdoStores.Item(n);
      (void)objStore.GetPstPath();  // kept: a store whose path cannot be read is passed over
      bFound = objStore.GetName() == strStoreName;
      if (bFound) m_objRdoPstStore = objStore;  // kept: the first of that name, whatever its path
    });
    if (bFound) return kSuccess;
  }
  return kFailure;
}
