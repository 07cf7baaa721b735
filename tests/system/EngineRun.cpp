#include "tests/system/EngineRun.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "platform/Sqlite.h"

namespace system_test {
namespace {

CString Wide(std::string_view utf8) { return CString::FromUtf8(utf8); }

void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string WindowsForm(std::string path) {
  for (char& c : path) {
    if (c == '/') c = '\\';
  }
  return path;
}

}  // namespace

EngineRun::EngineRun(const std::string& folder, std::vector<std::string> options,
                     const std::vector<std::string>& wrapper,
                     const std::function<void(const std::string&)>& prepare)
    : m_folder(folder + "/run") {
  if (prepare) prepare(m_folder.File(""));
  options.push_back(m_folder.Title());
  m_process.emplace(m_folder.Start(options, wrapper));
  m_client = std::make_unique<client::EngineClient>(m_folder.Title(), std::chrono::seconds(60));
}

EngineRun::~EngineRun() {
  m_client.reset();
  if (m_process->TryWait()) return;
  m_process->Signal(SIGKILL);
  m_process->Wait();
}

int EngineRun::Close() {
  m_client->Close();
  return test_support::ExitCode(m_process->Wait());
}

ST_LOGIN_INFO EngineRun::LoginRecord(const std::string& target) const {
  ST_LOGIN_INFO login;
  login.strLoginId = Wide(kUser);
  login.strLoginPassword = u"secret";
  login.strTargetType = Wide(target);
  login.bAllowDuplicates = 1;
  return login;
}

bool EngineRun::Logon(const std::string& target, bool checksDuplicates) {
  ST_LOGIN_INFO login = LoginRecord(target);
  login.bAllowDuplicates = checksDuplicates ? 0xFF : 0;  // any byte but 0
  if (target == "Group") login.strImpersonatedUserMail = u"team@example.org";
  return m_client->Logon(login);
}

bool EngineRun::LogonByToken(const std::string& target, const std::string& mailbox) {
  ST_LOGIN_INFO login = LoginRecord(target);
  login.iConnType = kTokenRoute;
  login.strTenantId = u"contoso";
  login.strClientId = u"app";
  login.strClientSecret = u"secret";
  login.strImpersonatedUserMail = Wide(mailbox);
  return m_client->Logon(login);
}

int EngineRun::CreateFolder(std::string_view path, int type) {
  return m_client->CreateFolder({Wide(path), type});
}

int EngineRun::CreateNewFolder(std::string_view path) {
  return m_client->CreateNewFolder({Wide(path), 0});
}

void EngineRun::Work(const std::string& name, std::string_view bytes) const {
  WriteFile(File("Temp/" + name), bytes);
}

void EngineRun::WorkWide(const std::string& name, std::string_view utf8) const {
  const CString text = Wide(utf8);
  const std::u16string_view units = text.View();
  Work(name, {reinterpret_cast<const char*>(units.data()), units.size() * 2});
}

void EngineRun::NewMail(const MailFields& fields) const {
  for (const auto& entry : std::filesystem::directory_iterator(File("Temp"))) {
    std::filesystem::remove_all(entry.path());
  }
  // A label that stands alone would be taken for the value.
  const auto line = [](const char* label, const std::string& value) {
    return (value.empty() ? value : label + value) + "\r\n";
  };
  WorkWide("11comtextjj.t",
           fields.type + "\r\n" + fields.importance + "\n" + line("Creation Date : ", fields.date) +
               fields.unread + "\r\n" + line("From : ", fields.from) + line("To : ", fields.to) +
               line("CC : ", fields.cc) + line("Bcc : ", fields.bcc) +
               line("Subject : ", fields.subject) + line("MessageID : ", fields.key));
}

int EngineRun::Insert(int flag) {
  return m_client->InsertItem({Wide(WindowsForm(File("Temp/"))), u"run.txt", flag});
}

int EngineRun::InsertEml(const std::string& key, std::string_view mime) {
  MailFields fields;
  fields.key = key;
  NewMail(fields);
  Work("EmlFile.Eml", mime);
  return Insert();
}

std::vector<std::string> EngineRun::Ledger() const {
  platform::SqliteDatabase database(File("SQLLiteNew.db"));
  auto query =
      database.Prepare("SELECT FOLDERNAME, MESSAGE_ID, TARGET FROM MAILBOXINFO ORDER BY rowid");
  std::vector<std::string> rows;
  while (query.Step()) {
    rows.push_back(std::string(query.Text(0)) + "|" + std::string(query.Text(1)) + "|" +
                   std::string(query.Text(2)));
  }
  return rows;
}

std::string StoredItem::Property(const std::string& key) const {
  for (const mailbox::ExtendedProperty& property : info.properties) {
    if (property.key == key && !property.values.empty()) return property.values.front();
  }
  return {};
}

std::vector<StoredItem> ItemsOf(const std::string& dataFolder) {
  mailbox::Store store(dataFolder + "/mailbox.db", mailbox::Store::Mode::kReadOnly);
  std::vector<StoredItem> items;
  for (const mailbox::MailboxInfo& box : store.Mailboxes()) {
    for (const mailbox::FolderInfo& folder : store.Folders(box.id)) {
      for (const mailbox::ItemInfo& row : store.Items(folder.id, 0, -1)) {
        StoredItem& item = items.emplace_back();
        item.mailbox = box.address;
        item.folder = store.FolderPath(folder.id);
        item.info = store.Item(row.id).value();
        store.WithMime(row.id, [&](std::string_view, std::string_view bytes) {
          item.mime = std::string(bytes);
        });
        for (const mailbox::AttachmentInfo& file : store.Attachments(row.id)) {
          auto& attachment = item.attachments.emplace_back(file.name, "");
          store.WithAttachment(file.id, [&](std::string_view bytes) { attachment.second = bytes; });
        }
      }
    }
  }
  return items;
}

}  // namespace system_test
