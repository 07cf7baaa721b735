#include <cstdlib>
#include <filesystem>

#include "tests/mailboxd/HttpCall.h"
#include "tests/mailboxd/LocalMailbox.h"
#include "tests/support/MailFiles.h"

using namespace mailbox_test;

namespace {

// What it asks, and which answers are right, stands in tests/interop/client.js.
TEST(IndependentClient, GetsRightAnswers) {
  const std::string folder = std::string(TARNY_SOURCE) + "/tests/interop";
  if (std::system("command -v node > /dev/null 2>&1") != 0) GTEST_SKIP() << "no Node.js here";
  if (!std::filesystem::is_directory(folder + "/node_modules/ews-javascript-api")) {
    GTEST_SKIP() << "run npm ci in tests/interop first";
  }
  RunningServer server;
  const TempFolder output;
  const std::string command = "cd '" + folder +
                              "' && TZ=America/New_York timeout 240 node client.js " +
                              server->EwsUrl() + " > " + output.File("out") + " 2>&1";
  EXPECT_EQ(std::system(command.c_str()), 0) << test_support::ReadBytes(output.File("out"));
}

}  // namespace
