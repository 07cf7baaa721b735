#include "localstore/LocalFolders.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include "localstore/LocalItems.h"

namespace localstore {
namespace {

constexpr int kLongestName = 255;  // units, as mailboxes have it

class LocalFolders : public rdo::Folders {
 public:
  LocalFolders(std::shared_ptr<OpenStore> store, mailbox::FolderInfo parent)
      : m_store(std::move(store)), m_parent(std::move(parent)) {}

  int Count() override {
    const auto parent = m_store->Do([&](auto& store) { return store.Folder(m_parent.id); });
    return parent ? static_cast<int>(parent->children) : 0;
  }
  // The children as they are now; GetNext goes on through these.
  std::shared_ptr<rdo::Folder> GetFirst() override {
    m_children =
        m_store->Do([&](auto& store) { return store.ChildFolders(m_parent.id, /*deep=*/false); });
    m_next = 0;
    return GetNext();
  }
  std::shared_ptr<rdo::Folder> GetNext() override {
    if (m_next >= m_children.size()) return nullptr;
    return FolderOf(m_store, m_children[m_next++]);
  }
  std::shared_ptr<rdo::Folder> Add(const CString& name, const CString& folderClass) override {
    if (name.IsEmpty()) throw std::runtime_error("A folder needs a name.");
    if (name.GetLength() > kLongestName) throw std::runtime_error("The folder's name is too long.");
    const std::string kept = name.ToUtf8();
    auto made = m_store->Do(
        [&](auto& store) { return store.CreateFolder(m_parent, kept, folderClass.ToUtf8()); });
    if (!made) return Alike(name, CString::FromUtf8(kept));
    m_store->RequireThere();
    return FolderOf(m_store, std::move(*made));
  }

 private:
  // The folder that has that name already. A half of a pair of surrogates is kept as U+FFFD, and so
  // is not found again by its own name.
  std::shared_ptr<rdo::Folder> Alike(const CString& name, const CString& kept) {
    for (auto child = kept == name ? nullptr : GetFirst(); child; child = GetNext()) {
      if (CString(child->Name()).MakeUpper() == CString(kept).MakeUpper()) return child;
    }
    throw std::runtime_error("There is a folder of that name.");
  }

  std::shared_ptr<OpenStore> m_store;
  mailbox::FolderInfo m_parent;
  std::vector<mailbox::FolderInfo> m_children;
  std::size_t m_next = 0;
};

class LocalFolder : public rdo::Folder {
 public:
  LocalFolder(std::shared_ptr<OpenStore> store, mailbox::FolderInfo info)
      : m_store(std::move(store)), m_info(std::move(info)) {}

  CString Name() override { return CString::FromUtf8(m_info.name); }
  std::shared_ptr<rdo::Folders> GetFolders() override {
    return std::make_shared<LocalFolders>(m_store, m_info);
  }
  std::shared_ptr<rdo::Items> GetItems() override { return ItemsOf(m_store, m_info.id); }
  void Save() override { m_store->RequireThere(); }  // each change is on disk when it returns

 private:
  std::shared_ptr<OpenStore> m_store;
  mailbox::FolderInfo m_info;
};

}  // namespace

std::shared_ptr<rdo::Folder> FolderOf(std::shared_ptr<OpenStore> store, mailbox::FolderInfo info) {
  return std::make_shared<LocalFolder>(std::move(store), std::move(info));
}

}  // namespace localstore
