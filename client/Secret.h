#pragma once

#include <string>

namespace client {

// The first line of a file, or what a person types at a prompt with the echo off where the file's
// name is empty. Secrets come no other way: an argument can be read by every user of a machine.
// Throws std::runtime_error with a text for people.
std::string ReadSecret(const std::string& fileName, const std::string& prompt,
                       const std::string& option);

}  // namespace client
