#include "ews/CWebAccessHandler.h"

#include "ews/Autodiscover.h"
#include "ews/Connection.h"
#include "ews/ServiceException.h"
#include "ews/ServicePointManager.h"
#include "ews/Settings.h"

namespace {

constexpr std::u16string_view kGroupTarget = u"Group";  // compared exactly: blanks make it another

void SetNetworkRules() {
  ews::ServicePointManager::SetSecurityProtocol(ews::kSsl3 | ews::kTls | ews::kTls11 | ews::kTls12);
  ews::ServicePointManager::SetServerCertificateValidationCallback(&CMyClass::AcceptingCertificate);
}

ews::ImpersonatedUserId Impersonated(const CString& strMail) {
  return ews::ImpersonatedUserId(ews::ConnectingIdType::SmtpAddress, strMail);
}

}  // namespace

bool CWebAccessHandler::LogonUserAndServer(CString strLoginId, CString strLoginPassword,
                                           CString strImpersonatedUserMail, CString strTargetType,
                                           CString& strErrorMsg, CString& strTenantId,
                                           CString& strClientId, CString& strClientSecret,
                                           const int* iConnType, CString& strLogFilePath) {
  if (*iConnType == 1) {
    return RefreshModernConnectionMethod(strTenantId, strClientId, strClientSecret,
                                         strImpersonatedUserMail, strLogFilePath, strTargetType);
  }
  try {
    WriteLog(u"CWebAccessHandler::LogonUserAndServer_Start_1");
    m_pService = std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
    WriteLog(u"CWebAccessHandler::LogonUserAndServer_Start_2");
    m_pService->SetCredentials(ews::WebCredentials(strLoginId, strLoginPassword));
    WriteLog(u"CWebAccessHandler::LogonUserAndServer_Start_3");
    SetNetworkRules();
    WriteLog(u"CWebAccessHandler::LogonUserAndServer_Start_4");
    m_pService->AutodiscoverUrl(strLoginId, &Device::RedirectionUrlValidationCallback);
    WriteLog(u"CWebAccessHandler::LogonUserAndServer_Start_5");
    if (strTargetType != kGroupTarget && !strImpersonatedUserMail.IsEmpty()) {
      m_pService->SetImpersonatedUserId(Impersonated(strImpersonatedUserMail));
    }
    WriteLog(u"CWebAccessHandler::LogonUserAndServer_Start_7");
    WriteLog(u"CWebAccessHandler::LogonUserAndServer_Start_8");
    return true;
  } catch (const std::exception& e) {
    strErrorMsg = CString::FromUtf8(e.what());
    return false;
  }
}

bool CWebAccessHandler::RefreshModernConnectionMethod(CString strTenantId, CString strClientId,
                                                      CString strClientSecret,
                                                      CString strImpersonatedUserMail,
                                                      CString /*strLogFilePath*/,
                                                      CString strTargetType) {
  CString strError;
  ConnectionDLL::Connection objConnection;
  const CString strToken =
      objConnection.GetAccessToken(strTenantId, strClientId, strClientSecret, strError);
  m_strRefreshError.Empty();
  if (strToken.IsEmpty()) {
    WriteLog(strError);
    const std::string strReason = strError.ToUtf8();
    m_strRefreshError = CString::FromUtf8(
        objConnection.Cause().bOutage ? strReason : ews::WithLogonRefused(strReason));
    return false;
  }
  m_dtTime = COleDateTime::GetCurrentTime();
  try {
    m_pService = std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
    m_pService->SetUrl(ews::Settings().TokenRouteUrl());
    m_pService->SetCredentials(ews::OAuthCredentials(strToken));
    m_pService->SetNewLogon([=] {
      return ews::Credentials(ConnectionDLL::NewToken(strTenantId, strClientId, strClientSecret));
    });
    SetNetworkRules();
    if (strTargetType != kGroupTarget) {
      // An empty address is set as well: the first request then fails with words.
      m_pService->SetImpersonatedUserId(Impersonated(strImpersonatedUserMail));
      m_pService->HttpHeaders().Add(u"X-AnchorMailbox", strImpersonatedUserMail);
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

int CWebAccessHandler::CheckArchiveMailboxLogin(const ews::FolderId& olF2) {
  try {
    (void)Service().FindFolders(olF2, ews::FolderView(10));  // that it comes back is the answer
    return 1;
  } catch (...) {  // every kind of failure means the same
    return 0;
  }
}

ews::ExchangeService& CWebAccessHandler::Service() const {
  if (!m_pService) throw ews::ServiceException(ews::kNoService);
  return *m_pService;
}
