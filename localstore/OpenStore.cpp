#include "localstore/OpenStore.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "platform/Paths.h"

namespace localstore {
namespace {

constexpr std::string_view kMailbox = "store";  // the one that a store file has

mailbox::Store Open(const std::string& path, mailbox::Store::Mode mode) try {
  return mailbox::Store(path, mode);
} catch (const std::exception& error) {
  throw rdo::StoreFailed("the store " + path + " cannot be used: " + error.what());
}

}  // namespace

std::string OpenStore::Usable(const std::string& path, Mode mode) {
  struct stat found {};
  const bool isThere = stat(path.c_str(), &found) == 0;
  if (!isThere && errno != ENOENT) {
    throw rdo::StoreFailed("the store " + path + " cannot be used: " + std::strerror(errno));
  }
  if (!isThere && mode == Mode::kExisting) throw rdo::StoreGone("there is no store " + path);
  if (isThere && !S_ISREG(found.st_mode)) throw rdo::StoreFailed(path + " is no file");
  return path;
}

OpenStore::OpenStore(const CString& path, Mode mode)
    : m_path(Usable(platform::ResolvePath(path), mode)),
      m_store(Open(m_path, mode == Mode::kMayCreate ? mailbox::Store::Mode::kReadWrite
                                                    : mailbox::Store::Mode::kExisting)) {
  m_file = Look(m_path);
}

std::optional<OpenStore::File> OpenStore::Look(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) == 0) return File{found.st_dev, found.st_ino};
  return errno == ENOENT ? std::optional<File>(File{}) : std::nullopt;
}

mailbox::FolderInfo OpenStore::Root() {
  const auto folder = Do([](mailbox::Store& store) {
    const auto root = store.FindWellKnown(store.Mailbox(kMailbox), "msgfolderroot");
    return root ? store.Folder(*root) : std::nullopt;
  });
  if (!folder) throw rdo::StoreFailed("the store " + m_path + " has no folders");
  return *folder;
}

void OpenStore::RequireThere() const {
  const std::optional<File> now = Look(m_path);
  const bool isAnother = now && m_file && *now != *m_file;
  if (!isAnother && now != File{}) return;
  throw rdo::StoreGone(m_path + " is not there any more");
}

}  // namespace localstore
