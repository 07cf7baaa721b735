#pragma once

#include <optional>
#include <string>

#include "platform/CString.h"

namespace ews {

// A user name with its password.
class WebCredentials {
 public:
  WebCredentials(CString strUser, CString strPassword)
      : m_strUser(std::move(strUser)), m_strPassword(std::move(strPassword)) {}
  const CString& User() const { return m_strUser; }
  const CString& Password() const { return m_strPassword; }

 private:
  CString m_strUser;
  CString m_strPassword;
};

// A token of a registered application.
class OAuthCredentials {
 public:
  explicit OAuthCredentials(CString strToken) : m_strToken(std::move(strToken)) {}
  const CString& Token() const { return m_strToken; }

 private:
  CString m_strToken;
};

// What goes into the Authorization header, or nothing. A user name with its password is there as
// itself, too: a server may want it in a handshake instead.
class Credentials {
 public:
  Credentials() = default;
  Credentials(const WebCredentials& obj);    // NOLINT: implicit by design
  Credentials(const OAuthCredentials& obj);  // NOLINT: implicit by design

  bool IsEmpty() const { return m_strHeader.empty(); }
  // The header's value ("Basic …", "Bearer …"). Belongs in a request and in no log.
  const std::string& HeaderValue() const { return m_strHeader; }
  // Null for a token.
  const WebCredentials* UserAndPassword() const { return m_objUser ? &*m_objUser : nullptr; }

 private:
  std::optional<WebCredentials> m_objUser;
  std::string m_strHeader;
};

}  // namespace ews
