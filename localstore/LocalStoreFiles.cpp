#include "localstore/LocalStoreFiles.h"

#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "localstore/LocalPstStore.h"
#include "localstore/OpenStore.h"
#include "mailboxd/store/StoreSchema.h"
#include "platform/Paths.h"
#include "platform/Sqlite.h"

namespace localstore {
namespace {

namespace fs = std::filesystem;

// To be read alone. Throws what opening throws.
platform::SqliteDatabase Unchanged(const std::string& file) {
  platform::SqliteDatabase database(OpenStore::Usable(file, OpenStore::Mode::kExisting),
                                    platform::SqliteDatabase::Open::kReadWrite);
  database.Execute("PRAGMA query_only=ON");
  return database;
}

// Why there can be no new file of that path; empty where there can.
std::string WhyNotMade(const fs::path& file) {
  const std::string folder = file.parent_path().string();
  std::error_code error;
  if (!fs::is_directory(folder, error)) return "there is no folder " + folder;
  if (access(folder.c_str(), W_OK) != 0) return folder + " cannot be written to";
  return {};
}

}  // namespace

std::optional<bool> LocalStoreFiles::IsThere(const CString& path) {
  const std::string file = platform::ResolvePath(path);
  std::error_code error;
  if (fs::status(file, error).type() == fs::file_type::not_found) return false;
  const std::uintmax_t size = fs::file_size(file, error);
  return error ? std::nullopt : std::optional(size > 0);
}

std::string LocalStoreFiles::Problem(const CString& path) {
  const std::string file = platform::ResolvePath(path);
  try {
    (void)OpenStore::Usable(file, OpenStore::Mode::kMayCreate);
    if (!fs::exists(file)) return WhyNotMade(file);
    platform::SqliteDatabase database = Unchanged(file);
    mailbox::RequireNotOthers(database, file);
    return {};
  } catch (const platform::SqliteError& error) {
    return "the store " + file + " cannot be used: " + error.what();
  } catch (const std::exception& error) {
    return error.what();
  }
}

std::optional<std::string> LocalStoreFiles::Identity(const CString& path) try {
  platform::SqliteDatabase database = Unchanged(platform::ResolvePath(path));
  return mailbox::IdentityIn(database);
} catch (const std::exception&) {
  return std::nullopt;
}

std::shared_ptr<rdo::PstStore> LocalStoreFiles::Look(const CString& path) {
  return std::make_shared<LocalPstStore>(nullptr, StoreEntry{{}, path.ToUtf8()});
}

}  // namespace localstore
