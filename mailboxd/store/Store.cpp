#include "mailboxd/store/Store.h"

#include <algorithm>
#include <ctime>
#include <map>

#include "base/AsciiText.h"
#include "mailboxd/store/DateTime.h"
#include "mailboxd/store/FolderLanguages.h"
#include "mailboxd/store/StoreImplementation.h"
#include "mailboxd/store/StoreSchema.h"
#include "platform/Unicode.h"

// Mailboxes and folders; items are in StoreItems.cpp.
namespace mailbox {
namespace {

// Names are compared without regard to case by this key.
std::string NameKey(std::string_view name) {
  return platform::Utf16ToUtf8(platform::UpperUnits(platform::Utf8ToUtf16(name)));
}

const RowShape<FolderInfo> kFolders("folders", {{"id", Into<&FolderInfo::id>},
                                                {"parent", Into<&FolderInfo::parent>},
                                                {"mailbox", Into<&FolderInfo::mailbox>},
                                                {"name", Into<&FolderInfo::name>},
                                                {"class", Into<&FolderInfo::folderClass>},
                                                {"well_known", Into<&FolderInfo::wellKnown>},
                                                {"version", Into<&FolderInfo::version>},
                                                {"total", Into<&FolderInfo::total>},
                                                {"unread", Into<&FolderInfo::unread>},
                                                {"children", Into<&FolderInfo::children>}});

const RowShape<MailboxInfo> kMailboxes("mailboxes", {{"id", Into<&MailboxInfo::id>},
                                                     {"address", Into<&MailboxInfo::address>}});

}  // namespace

std::string UtcNow() { return FormatDateTime(std::time(nullptr)); }

std::string NormalAddress(std::string_view address) {
  std::string normal(mail::trimmed(address));
  std::transform(normal.begin(), normal.end(), normal.begin(), mail::toLowerAscii);
  return normal;
}

std::optional<std::int64_t> Store::Implementation::FindMailbox(const std::string& address) {
  if (const auto known = m_mailboxes.find(address); known != m_mailboxes.end()) {
    return known->second;
  }
  const auto found = Number("SELECT id FROM mailboxes WHERE address=?", address);
  if (found) m_mailboxes[address] = *found;
  return found;
}

std::int64_t Store::Implementation::InsertFolder(std::int64_t mailbox, std::int64_t parent,
                                                 std::string_view name,
                                                 std::string_view folderClass,
                                                 std::string_view wellKnown) {
  Run("INSERT INTO folders(mailbox,parent,name,name_key,class,well_known)"
      " VALUES(?,nullif(?,0),?,?,?,nullif(?,''))",
      mailbox, parent, name, NameKey(name), folderClass, wellKnown);
  return LastRow();
}

std::int64_t Store::Implementation::MakeMailbox(const std::string& address) {
  if (const auto found = FindMailbox(address)) return *found;
  Transaction transaction(*this);
  Run("INSERT INTO mailboxes(address) VALUES(?)", address);
  const std::int64_t id = LastRow();
  if (address.empty()) {
    InsertFolder(id, 0, kPublicRoot.name, kPublicRoot.folderClass, kPublicRoot.id);
  } else {
    std::map<std::string_view, std::int64_t> rows;
    for (const WellKnownFolder& folder : WellKnownFolders()) {
      rows[folder.id] = InsertFolder(id, folder.parent.empty() ? 0 : rows[folder.parent],
                                     NameOfFolder(folder), folder.folderClass, folder.id);
    }
  }
  transaction.Commit();
  return m_mailboxes[address] = id;
}

Store::Store(const std::string& path, Mode mode)
    : m_implementation(std::make_unique<Implementation>(path, mode)) {}
Store::~Store() = default;

std::vector<MailboxInfo> Store::Mailboxes() {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->All(kMailboxes, "ORDER BY address");
}

std::int64_t Store::Mailbox(std::string_view address) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->MakeMailbox(NormalAddress(address));
}

std::optional<std::int64_t> Store::FindMailbox(std::string_view address) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->FindMailbox(NormalAddress(address));
}

std::optional<std::int64_t> Store::FindWellKnown(std::int64_t mailbox, std::string_view id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  if (id == kPublicRoot.id) mailbox = m_implementation->MakeMailbox("");
  return m_implementation->Number("SELECT id FROM folders WHERE mailbox=? AND well_known=?",
                                  mailbox, id);
}

std::optional<FolderInfo> Store::Folder(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->One(kFolders, "WHERE id=?", id);
}

std::vector<FolderInfo> Store::Folders(std::int64_t mailbox) {
  const std::lock_guard lock(m_implementation->m_mutex);
  return m_implementation->All(kFolders, "WHERE mailbox=? ORDER BY id", mailbox);
}

std::vector<FolderInfo> Store::ChildFolders(std::int64_t parent, bool deep) {
  const std::lock_guard lock(m_implementation->m_mutex);
  constexpr std::string_view kBelow =
      "WHERE id IN (WITH RECURSIVE below(row) AS (SELECT id FROM folders WHERE parent=? UNION ALL "
      "SELECT folders.id FROM folders JOIN below ON folders.parent=below.row) SELECT row FROM "
      "below) ORDER BY name_key,id";
  return m_implementation->All(kFolders, deep ? kBelow : "WHERE parent=? ORDER BY name_key",
                               parent);
}

std::string Store::FolderPath(std::int64_t id) {
  const std::lock_guard lock(m_implementation->m_mutex);
  std::vector<std::string> names;
  while (id != 0) {
    const auto found = m_implementation->One(kFolders, "WHERE id=?", id);
    if (!found) break;
    const FolderInfo& folder = *found;
    if (folder.parent == 0 || folder.wellKnown == "msgfolderroot") break;
    names.push_back(folder.wellKnown == "archivemsgfolderroot" ? "Archive" : folder.name);
    id = folder.parent;
  }
  std::string path;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    if (!path.empty()) path += '/';
    for (const char c : *name) path.append(c == '/' ? 2 : 1, c);
  }
  return path;
}

std::optional<FolderInfo> Store::CreateFolder(const FolderInfo& parent, std::string_view name,
                                              std::string_view folderClass) {
  const std::lock_guard lock(m_implementation->m_mutex);
  if (m_implementation->Number("SELECT 1 FROM folders WHERE parent=? AND name_key=?", parent.id,
                               NameKey(name))) {
    return std::nullopt;
  }
  FolderInfo folder;
  folder.id = m_implementation->InsertFolder(parent.mailbox, parent.id, name, folderClass, "");
  folder.parent = parent.id;
  folder.mailbox = parent.mailbox;
  folder.name = name;
  folder.folderClass = folderClass;
  return folder;
}

}  // namespace mailbox
