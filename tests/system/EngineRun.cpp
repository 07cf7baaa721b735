#include "tests/system/EngineRun.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "platform/Sqlite.h"
#include "tests/client/WideText.h"

namespace system_test {
namespace {

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
  m_client = std::make_unique<client::EngineClient>(m_folder.Title(), std::chrono::minutes(4));
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
  login.strLoginId = CString::FromUtf8(kUser);
  login.strLoginPassword = u"secret";
  login.strTargetType = CString::FromUtf8(target);
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
  login.strImpersonatedUserMail = CString::FromUtf8(mailbox);
  return m_client->Logon(login);
}

int EngineRun::CreateFolder(std::string_view path, int type) {
  return m_client->CreateFolder({CString::FromUtf8(path), type});
}

int EngineRun::CreateNewFolder(std::string_view path) {
  return m_client->CreateNewFolder({CString::FromUtf8(path), 0});
}

void EngineRun::Work(const std::string& name, std::string_view bytes) const {
  WriteFile(File("Temp/" + name), bytes);
}

void EngineRun::WorkWide(const std::string& name, std::string_view utf8) const {
  Work(name, client_test::Wide(utf8));
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
  return m_client->InsertItem({CString::FromUtf8(WindowsForm(File("Temp/"))), u"run.txt", flag});
}

int EngineRun::InsertEml(const std::string& key, std::string_view mime) {
  NewMail({.key = key});
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

EngineRun& EngineSetting::Start(std::vector<std::string> options,
                                const std::function<void(const std::string&)>& prepare) {
  run.reset();
  std::filesystem::remove_all(folder.File("run"));
  if (!mailbox) mailbox.emplace(folder.Path(), std::vector<std::string>());
  options.insert(options.end(), {"--ews-url", mailbox->Url() + "/EWS/Exchange.asmx"});
  return run.emplace(folder.Path(), options, std::vector<std::string>(), prepare);
}

EngineRun& EngineSetting::StartIn(const std::string& path, std::vector<std::string> options,
                                  const std::function<void(const std::string&)>& prepare) {
  EngineRun& engine = Start(std::move(options), prepare);
  EXPECT_TRUE(engine.Logon());
  EXPECT_EQ(engine.CreateFolder(path), 1);
  engine.Trace();
  EXPECT_EQ(engine.Status(), kFolderStatus);
  return engine;
}

StoredItem EngineSetting::OnlyItem() const {
  std::vector<StoredItem> items = Items();
  EXPECT_EQ(items.size(), 1u);
  return items.empty() ? StoredItem() : items.front();
}

const std::string kFolderStatus = "Folder Creation in Office 365 done..\r\r\n";
const std::string kSuccessStatus = "\t\tSaving Status : Success\r\r\n";
const std::string kFailStatus = "\t\t+Saving Status : Fail\r\r\n\t\tError Message :";

}  // namespace system_test
