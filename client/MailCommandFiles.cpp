#include "client/MailCommandFiles.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fmt/format.h>

#include "client/SourceFiles.h"
#include "platform/NarrowText.h"

namespace client {

std::string ReadMailFile(const std::string& path) {
  constexpr unsigned kWesternPage = 1252;
  platform::SetAnsiCodePage(kWesternPage);
  return ReadWholeFile(path);
}

void WriteOutput(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() &&
      std::fflush(stdout) == 0) {
    return;
  }
  throw SourceError(fmt::format("cannot write the output: {}", std::strerror(errno)));
}

std::string SizeText(std::size_t bytes) {
  return fmt::format("{} byte{}", bytes, bytes == 1 ? "" : "s");
}

}  // namespace client
