#pragma once

#include <string>

#include "client/run/NewFile.h"
#include "client/sources/PreparedItem.h"

// The folder that the engine reads an item's files from. Paths are of this system.
namespace client {

// Makes the folder if it is missing, and deletes all it holds. Throws WriteError.
void EmptyWorkFolder(const std::string& workFolder);

// Copies a prepared item into a work folder that was emptied. Throws SourceError and WriteError.
void CopyPreparedFiles(const std::string& folder, const PreparedFiles& files,
                       const std::string& workFolder);

}  // namespace client
