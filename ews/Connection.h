#pragma once

#include "ews/Credentials.h"
#include "ews/ServiceException.h"
#include "platform/CString.h"

namespace ConnectionDLL {

// The tenant's identity and directory services. No method throws. The arguments are passed by
// reference as callers of the component do; only strError changes.
class Connection {
 public:
  // A token for the mailbox endpoint by client credentials, or "" with the reason in strError (the
  // server's own words where it gives some). Each call asks the server, unless the settings turn on
  // the cache: then a token of the process with over five minutes left is given again.
  CString GetAccessToken(CString& strTenantId, CString& strClientId, CString& strClientSecret,
                         CString& strError);
  // What is known of the last GetAccessToken that failed, besides the reason.
  const ews::Failure& Cause() const { return m_objFailure; }

  // Each writes its list to the file; the list is empty until the directory is asked.
  void GetOneDriveUsers(CString& strTenantId, CString& strClientId, CString& strClientSecret,
                        CString& strOutputFile);
  void GetUnifiedGroupList(CString& strTenantId, CString& strClientId, CString& strClientSecret,
                           CString& strOutputFile);

 private:
  ews::Failure m_objFailure;
};

// A token in the place of one that the mailbox server refuses: never out of the cache. Throws
// ews::ServiceException.
ews::OAuthCredentials NewToken(const CString& strTenantId, const CString& strClientId,
                               const CString& strClientSecret);

}  // namespace ConnectionDLL
