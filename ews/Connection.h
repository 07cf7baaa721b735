#pragma once

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

  // Each writes its list to the file; the list is empty until the directory is asked.
  void GetOneDriveUsers(CString& strTenantId, CString& strClientId, CString& strClientSecret,
                        CString& strOutputFile);
  void GetUnifiedGroupList(CString& strTenantId, CString& strClientId, CString& strClientSecret,
                           CString& strOutputFile);
};

}  // namespace ConnectionDLL
