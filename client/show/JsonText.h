#pragma once

#include <string>

namespace client {

// A JSON value as output. Bytes of names and damaged mails need not be UTF-8; JSON must be.
template <typename Json>
std::string JsonText(const Json& value) {
  return value.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace client
