#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace mailbox {

// Gives out bearer tokens for client credentials and remembers them while they are good. All calls
// may come from any thread.
class TokenEndpoint {
 public:
  // The secret that every client must know; "" accepts any.
  explicit TokenEndpoint(std::string secret) : m_secret(std::move(secret)) {}

  struct Reply {
    int status = 200;  // HTTP
    std::string json;
  };
  // A form-encoded request body.
  Reply Answer(std::string_view form);

  // The client that a token was given to, while it is good.
  std::optional<std::string> ClientOf(const std::string& token);

 private:
  struct Grant {
    std::string client;
    std::chrono::steady_clock::time_point end;
  };
  std::string m_secret;
  std::mutex m_mutex;
  std::map<std::string, Grant> m_grants;
};

// True if both are the same, in a time that tells nothing of where they differ.
bool SameSecret(std::string_view a, std::string_view b);

}  // namespace mailbox
