#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace client_test {

struct Result {
  int exitCode = -1;
  std::string out;
  std::string err;
};

// Runs tarny with arguments that go through a shell. Its standard input is a file of those bytes,
// whose path stands for INPUT in the arguments.
inline Result Tarny(std::string arguments, const std::string& input) {
  const test_support::TemporaryFolder folder;
  const std::string file = folder.Write("input", input);
  if (const auto place = arguments.find("INPUT"); place != std::string::npos) {
    arguments.replace(place, 5, file);
  }
  const std::string command = TARNY_BIN "/tarny " + arguments + " < " + file + " > " +
                              folder.File("out") + " 2> " + folder.File("err");
  const int status = std::system(command.c_str());
  EXPECT_TRUE(WIFEXITED(status)) << command;
  return {WEXITSTATUS(status), test_support::ReadAll(folder.File("out")),
          test_support::ReadAll(folder.File("err"))};
}

}  // namespace client_test
