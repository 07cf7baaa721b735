#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "client/sources/PreparedItem.h"

// The folder that the engine reads an item's files from. Paths are of this system.
namespace client {

// A work file could not be written; what() names it and says why.
class WorkFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Makes the folder if it is missing, and deletes all it holds. Throws WorkFileError.
void EmptyWorkFolder(const std::string& workFolder);

// Makes a file that is not there yet. Throws WorkFileError.
void WriteWorkFile(const std::string& path, std::string_view bytes);

// Copies a prepared item into a work folder that was emptied. Throws SourceError and WorkFileError.
void CopyPreparedFiles(const std::string& folder, const PreparedFiles& files,
                       const std::string& workFolder);

}  // namespace client
