#include "client/commands/CommandFiles.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <stdexcept>

#include <fmt/format.h>

#include "client/show/OutputText.h"
#include "client/sources/SourceFiles.h"
#include "platform/NarrowText.h"

namespace client {

std::string CannotRead(std::string_view path, std::string_view reason) {
  return fmt::format("cannot read {}: {}", OneLine(path), reason);
}

void RequireReadable(const std::string& path) {
  try {
    (void)OpenSourceFile(path, Links::kFollow);
  } catch (const ReadError& error) {
    throw std::runtime_error(CannotRead(path, error.Reason()));
  }
}

std::string ReadInput() {
  std::string input;
  std::array<char, 65536> block;
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), stdin)) {
    input.append(block.data(), count);
  }
  if (std::ferror(stdin) == 0) return input;
  throw std::runtime_error(CannotRead("the input", std::strerror(errno)));
}

std::string ReadFileOrInput(const std::string& path) {
  if (path.empty()) return ReadInput();
  try {
    return ReadWholeFile(path);
  } catch (const ReadError& error) {
    throw std::runtime_error(CannotRead(path, error.Reason()));
  }
}

std::string ReadMailFile(const std::string& path) {
  constexpr unsigned kWesternPage = 1252;
  platform::SetAnsiCodePage(kWesternPage);
  try {
    std::string bytes = ReadWholeFile(path);
    if (bytes.empty()) throw ReadError("it is empty");
    return bytes;
  } catch (const ReadError& error) {
    throw std::runtime_error(CannotRead(path, error.Reason()));
  }
}

void WriteOutput(std::string_view bytes) {
  // Null, as the view of nothing may be, is no pointer for fwrite.
  if (!bytes.empty()) (void)std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  RequireOutputWritten();
}

void RequireOutputWritten() {
  std::cout.flush();
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good()) return;
  throw std::runtime_error(fmt::format("cannot write the output: {}", std::strerror(errno)));
}

}  // namespace client
