#include "client/run/WorkFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/UniqueFd.h"

namespace client {
namespace {

// A file that was not there, written piece by piece.
class NewFile {
 public:
  explicit NewFile(const std::string& path)
      : m_path(path),
        m_file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (!m_file) Fail();
  }

  void Write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t written = write(m_file.Get(), bytes.data(), bytes.size());
      if (written < 0 && errno != EINTR) Fail();
      if (written > 0) bytes.remove_prefix(static_cast<size_t>(written));
    }
  }

 private:
  [[noreturn]] void Fail() const {
    throw WorkFileError(m_path + " cannot be written: " + std::strerror(errno));
  }

  std::string m_path;
  platform::UniqueFd m_file;
};

}  // namespace

void EmptyWorkFolder(const std::string& workFolder) {
  std::error_code error;
  std::filesystem::create_directory(workFolder, error);
  for (auto entry = std::filesystem::directory_iterator(workFolder, error);
       !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::filesystem::remove_all(entry->path(), error);
    if (error) break;
  }
  if (error) throw WorkFileError(workFolder + " cannot be emptied: " + error.message());
}

void WriteWorkFile(const std::string& path, std::string_view bytes) { NewFile(path).Write(bytes); }

void CopyPreparedFiles(const std::string& folder, const PreparedFiles& files,
                       const std::string& workFolder) {
  for (const std::string& name : files.folders) {
    std::error_code error;
    std::filesystem::create_directory(workFolder + "/" + name, error);
    if (error) throw WorkFileError(workFolder + "/" + name + ": " + error.message());
  }
  for (const std::string& name : files.files) {
    NewFile file(workFolder + "/" + name);
    ReadPreparedFile(folder, name, [&](std::string_view bytes) { file.Write(bytes); });
  }
}

}  // namespace client
