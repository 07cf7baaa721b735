#include "client/run/NewFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace client {

NewFile::NewFile(const std::string& path)
    : m_path(path),
      m_file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600)) {
  if (!m_file) Fail();
}

void NewFile::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(m_file.Get(), bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) Fail();
    if (written > 0) bytes.remove_prefix(static_cast<size_t>(written));
  }
}

void NewFile::Close() {
  if (close(m_file.Release()) != 0) Fail();
}

void NewFile::Fail() const {
  throw WriteError(m_path + " cannot be written: " + std::strerror(errno));
}

void WriteNewFile(const std::string& path, std::string_view bytes) {
  NewFile file(path);
  file.Write(bytes);
  file.Close();
}

}  // namespace client
