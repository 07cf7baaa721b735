#pragma once

#include <stdexcept>
#include <string>

#include "platform/CString.h"

namespace ews {

// Any failure of a call to the mailbox service. what() is UTF-8 and is shown to people as it
// stands.
class ServiceException : public std::runtime_error {
 public:
  explicit ServiceException(const char* pszMessage) : std::runtime_error(pszMessage) {}
  explicit ServiceException(const std::string& strMessage) : std::runtime_error(strMessage) {}
  explicit ServiceException(const CString& strMessage) : std::runtime_error(strMessage.ToUtf8()) {}
};

// The server understood the request and refused it: what() is its text, unchanged (the message text
// of a response, the fault string of a fault).
class ServiceResponseException : public ServiceException {
 public:
  ServiceResponseException(const std::string& strMessage, std::string strCode)
      : ServiceException(strMessage), m_strCode(std::move(strCode)) {}
  const std::string& ErrorCode() const { return m_strCode; }  // such as "ErrorFolderExists"

 private:
  std::string m_strCode;
};

// The library's own texts that more than one class raises.
inline constexpr const char* kNoService =
    "There is no connection to the mailbox server: no logon has succeeded yet.";
inline constexpr const char* kNoAnswer =
    "The request failed. The server's answer holds nothing for it.";
inline constexpr const char* kHasId =
    "This operation can't be performed because this service object already has an ID. To update "
    "this service object, use the Update() method instead.";

}  // namespace ews
