#pragma once

#include <stdexcept>
#include <string>

namespace client {

// There is neither a file nor a terminal that a secret could come from.
class SecretError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The first line of a file, or what a person types at a prompt with the echo off where the file's
// name is empty. Secrets come no other way: an argument can be read by every user of a machine.
// Throws SecretError, and std::runtime_error for a file that cannot be read and a text that is
// empty.
std::string ReadSecret(const std::string& fileName, const std::string& prompt,
                       const std::string& option);

}  // namespace client
