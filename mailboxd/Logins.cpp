#include "mailboxd/Logins.h"

#include <string_view>
#include <utility>

#include "base/AsciiText.h"
#include "mailboxd/store/Store.h"
#include "platform/Base64.h"

namespace mailbox {

Logins::Logins(std::string user, std::string password)
    : m_user(std::move(user)),
      m_password(std::move(password)),
      m_tokens(m_user.empty() ? "" : m_password) {}

std::optional<std::string> Logins::NameIn(const std::string& authorization) {
  const size_t blank = authorization.find(' ');
  if (blank == std::string::npos) return std::nullopt;
  const std::string_view scheme = std::string_view(authorization).substr(0, blank);
  const std::string rest = authorization.substr(blank + 1);
  if (mail::equalsNoCase(scheme, "basic")) return BasicName(rest);
  if (mail::equalsNoCase(scheme, "bearer")) return BearerName(rest);
  return std::nullopt;
}

std::optional<std::string> Logins::BasicName(const std::string& credentials) const {
  std::string decoded;
  if (!platform::Base64Decode(credentials, decoded)) return std::nullopt;
  const size_t colon = decoded.find(':');
  if (colon == std::string::npos || colon == 0) return std::nullopt;
  const std::string name = decoded.substr(0, colon);
  if (IsOpen()) return name;
  if (NormalAddress(name) != NormalAddress(m_user) ||
      !SameSecret(std::string_view(decoded).substr(colon + 1), m_password)) {
    return std::nullopt;
  }
  return name;
}

std::optional<std::string> Logins::BearerName(const std::string& token) {
  if (token.empty()) return std::nullopt;
  if (auto client = m_tokens.ClientOf(token)) return client;
  if (IsOpen()) return "application";
  return std::nullopt;
}

}  // namespace mailbox
