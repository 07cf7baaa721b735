#include "client/run/WorkFolder.h"

#include <filesystem>
#include <system_error>

namespace client {

void EmptyWorkFolder(const std::string& workFolder) {
  std::error_code error;
  std::filesystem::create_directory(workFolder, error);
  for (auto entry = std::filesystem::directory_iterator(workFolder, error);
       !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::filesystem::remove_all(entry->path(), error);
    if (error) break;
  }
  if (error) throw WriteError(workFolder + " cannot be emptied: " + error.message());
}

void CopyPreparedFiles(const std::string& folder, const PreparedFiles& files,
                       const std::string& workFolder) {
  for (const std::string& name : files.folders) {
    std::error_code error;
    std::filesystem::create_directory(workFolder + "/" + name, error);
    if (error) throw WriteError(workFolder + "/" + name + ": " + error.message());
  }
  for (const std::string& name : files.files) {
    NewFile file(workFolder + "/" + name);
    ReadPreparedFile(folder, name, [&](std::string_view bytes) { file.Write(bytes); });
    file.Close();
  }
}

}  // namespace client
