#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <system_error>

namespace {

using platform::ChildOptions;
using platform::ChildProcess;
using platform::UniqueFd;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    read.Reset(ends[0]);
    write.Reset(ends[1]);
  }
  UniqueFd read;
  UniqueFd write;
};

// Runs a shell script and returns what it wrote.
std::string Output(const std::string& script, ChildOptions options = {}) {
  Pipe output;
  options.arrArguments = {"/bin/sh", "-c", script};
  options.nStdout = output.write.Get();
  ChildProcess child = ChildProcess::Start(options);
  output.write.Reset();
  std::string text;
  std::array<char, 4096> buffer;
  for (ssize_t count; (count = read(output.read.Get(), buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<size_t>(count));
  }
  EXPECT_EQ(platform::DescribeExit(child.Wait()), "exit code 0");
  return text;
}

TEST(ChildProcess, OnlyTheDescriptorsNamedStayOpen) {
  const UniqueFd leaked(open("/dev/null", O_RDONLY));  // not close-on-exec
  const UniqueFd high(fcntl(leaked.Get(), F_DUPFD, 80));
  const UniqueFd kept(fcntl(leaked.Get(), F_DUPFD_CLOEXEC, 57));
  const std::string list = "for f in $(seq 0 99); do [ ! -e /proc/$$/fd/$f ] || echo $f; done";
  EXPECT_EQ(Output(list), "0\n1\n2\n");
  ChildOptions options;
  options.arrInherit = {kept.Get()};
  EXPECT_EQ(Output(list, options), "0\n1\n2\n" + std::to_string(kept.Get()) + "\n");
}

TEST(ChildProcess, StandardDescriptorsMayBeOneAnothers) {
  Pipe input;
  EXPECT_EQ(write(input.write.Get(), "line\n", 5), 5);
  ChildOptions options;
  options.nStdin = input.read.Get();
  EXPECT_EQ(Output("cat <&0 & wait; head -n1", options), "line\n");
  ChildOptions swapped;
  swapped.nStderr = STDIN_FILENO;
  EXPECT_EQ(Output("readlink /proc/self/fd/0", swapped), "/dev/null\n");
}

TEST(ChildProcess, VariablesAreAddedOrReplaced) {
  setenv("PLATFORM_TEST", "ours", 1);
  setenv("PLATFORM_TEST_2", "stays", 1);
  ChildOptions options;
  options.arrEnvironment = {"PLATFORM_TEST=theirs", "PLATFORM_NEW=a=b"};
  EXPECT_EQ(Output("echo $PLATFORM_TEST $PLATFORM_TEST_2 $PLATFORM_NEW", options),
            "theirs stays a=b\n");
  unsetenv("PLATFORM_TEST");
  unsetenv("PLATFORM_TEST_2");
}

TEST(ChildProcess, ANewSessionIsItsOwn) {
  EXPECT_EQ(Output("set -- $(cat /proc/$$/stat); [ $6 = $$ ] && echo own"), "own\n");
  ChildOptions options;
  options.bNewSession = false;
  EXPECT_EQ(Output("set -- $(cat /proc/$$/stat); [ $6 = $$ ] || echo ours", options), "ours\n");
}

TEST(ChildProcess, AProgramThatDoesNotStartIsAnError) {
  ChildOptions options;
  options.arrArguments = {"/no/such/program"};
  try {
    ChildProcess::Start(options);
    ADD_FAILURE();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
  }
}

TEST(ChildProcess, TellsHowItEnded) {
  ChildOptions options;
  options.arrArguments = {"/bin/sh", "-c", "kill -STOP $$; exit 3"};
  ChildProcess child = ChildProcess::Start(options);
  EXPECT_EQ(child.TryWait(), std::nullopt);
  child.Signal(SIGKILL);
  EXPECT_EQ(platform::DescribeExit(child.Wait()), "signal 9");
  EXPECT_EQ(child.TryWait(), child.Wait());
  child.Signal(SIGKILL);  // reaches nobody

  options.arrArguments.back() = "exit 3";
  EXPECT_EQ(platform::DescribeExit(ChildProcess::Start(options).Wait()), "exit code 3");
}

}  // namespace
