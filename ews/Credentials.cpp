#include "ews/Credentials.h"

#include "platform/Base64.h"

namespace ews {

Credentials::Credentials(const WebCredentials& obj)
    : m_objUser(obj),
      m_strHeader("Basic " +
                  platform::Base64Encode(obj.User().ToUtf8() + ":" + obj.Password().ToUtf8())) {}

Credentials::Credentials(const OAuthCredentials& obj)
    : m_strHeader("Bearer " + obj.Token().ToUtf8()) {}

}  // namespace ews
