#pragma once

#include <stdexcept>
#include <string>

namespace client {

// What is wrong with the option's file, or that nothing was typed.
class SecretError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The first line of a file, or what a person types at a prompt with the echo off where the file's
// name is empty. Secrets come no other way: an argument can be read by every user of a machine.
// Throws SecretError.
std::string ReadSecret(const std::string& fileName, const std::string& prompt,
                       const std::string& option);

}  // namespace client
