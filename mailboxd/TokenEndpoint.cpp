#include "mailboxd/TokenEndpoint.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace mailbox {
namespace {

constexpr std::chrono::seconds kLifetime{3599};
constexpr size_t kTokenBytes = 32;

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string Unescape(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && text.size() - i > 2 && HexDigit(text[i + 1]) >= 0 &&
        HexDigit(text[i + 2]) >= 0) {
      out += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
      i += 2;
    } else {
      out += text[i] == '+' ? ' ' : text[i];
    }
  }
  return out;
}

std::map<std::string, std::string> ReadForm(std::string_view form) {
  std::map<std::string, std::string> fields;
  while (!form.empty()) {
    const size_t end = form.find('&');
    const std::string_view pair = form.substr(0, end);
    form.remove_prefix(end == std::string_view::npos ? form.size() : end + 1);
    const size_t equals = pair.find('=');
    if (equals == std::string_view::npos) continue;
    fields[Unescape(pair.substr(0, equals))] = Unescape(pair.substr(equals + 1));
  }
  return fields;
}

std::string RandomToken() {
  std::array<unsigned char, kTokenBytes> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("no random bytes");
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string token;
  for (const unsigned char byte : bytes) {
    token += kDigits[byte >> 4];
    token += kDigits[byte & 15];
  }
  return token;
}

TokenEndpoint::Reply Refuse(int status, const char* error, const char* description) {
  return {status, nlohmann::json{{"error", error}, {"error_description", description}}.dump()};
}

}  // namespace

bool SameSecret(std::string_view a, std::string_view b) {
  return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

TokenEndpoint::Reply TokenEndpoint::Answer(std::string_view form) {
  std::map<std::string, std::string> fields = ReadForm(form);
  if (fields["grant_type"] != "client_credentials") {
    return Refuse(400, "unsupported_grant_type", "The grant type must be client_credentials.");
  }
  if (fields["client_id"].empty()) {
    return Refuse(400, "invalid_request", "The request body must contain client_id.");
  }
  if (fields["client_secret"].empty()) {
    return Refuse(401, "invalid_client", "The request body must contain client_secret.");
  }
  if (!m_secret.empty() && !SameSecret(fields["client_secret"], m_secret)) {
    return Refuse(401, "invalid_client", "Invalid client secret provided.");
  }
  const std::string token = RandomToken();
  const auto now = std::chrono::steady_clock::now();
  {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_grants, [&](const auto& grant) { return grant.second.end < now; });
    m_grants[token] = {fields["client_id"], now + kLifetime};
  }
  const nlohmann::json reply = {{"token_type", "Bearer"},
                                {"expires_in", kLifetime.count()},
                                {"ext_expires_in", kLifetime.count()},
                                {"access_token", token}};
  return {200, reply.dump()};
}

std::optional<std::string> TokenEndpoint::ClientOf(const std::string& token) {
  const std::lock_guard lock(m_mutex);
  const auto found = m_grants.find(token);
  if (found == m_grants.end() || found->second.end < std::chrono::steady_clock::now()) {
    return std::nullopt;
  }
  return found->second.client;
}

}  // namespace mailbox
