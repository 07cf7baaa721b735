#pragma once

#include <optional>
#include <string>

#include "mailboxd/TokenEndpoint.h"

namespace mailbox {

// Who is let in. All calls may come from any thread.
class Logins {
 public:
  // The one login that counts, whose password is the secret of token clients, too; "" lets in
  // anybody.
  Logins(std::string user, std::string password);

  bool IsOpen() const { return m_user.empty(); }
  // The name that an Authorization header proves; nothing for one that is not let in.
  std::optional<std::string> NameIn(const std::string& authorization);
  TokenEndpoint& Tokens() { return m_tokens; }

 private:
  std::optional<std::string> BasicName(const std::string& credentials) const;
  std::optional<std::string> BearerName(const std::string& token);

  std::string m_user;
  std::string m_password;
  TokenEndpoint m_tokens;
};

}  // namespace mailbox
