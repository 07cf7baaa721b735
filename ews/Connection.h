#pragma once

#include <vector>

#include "ews/Credentials.h"
#include "ews/DirectoryLists.h"
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

  // Each writes a list of the tenant's directory to the file: UTF-8, a line "name<TAB>address" for
  // each entry (ews/DirectoryLists.h). A file of that name is deleted first, and one is there
  // afterwards only when the list is whole; ListError() tells what went wrong otherwise.
  void GetOneDriveUsers(CString& strTenantId, CString& strClientId, CString& strClientSecret,
                        CString& strOutputFile);
  void GetUnifiedGroupList(CString& strTenantId, CString& strClientId, CString& strClientSecret,
                           CString& strOutputFile);
  const CString& ListError() const { return m_strListError; }  // empty: the last one was written

 private:
  void WriteList(ews::DirectoryList eList, const CString& strTenantId, const CString& strClientId,
                 const CString& strClientSecret, const CString& strOutputFile);

  ews::Failure m_objFailure;
  CString m_strListError;
};

// A token in the place of one that the mailbox server refuses: never out of the cache. Throws
// ews::ServiceException.
ews::OAuthCredentials NewToken(const CString& strTenantId, const CString& strClientId,
                               const CString& strClientSecret);

// A list of the directory, with a token of its own for it. Throws ews::ServiceException.
std::vector<ews::DirectoryEntry> ListDirectory(ews::DirectoryList eList, const CString& strTenantId,
                                               const CString& strClientId,
                                               const CString& strClientSecret);

}  // namespace ConnectionDLL
