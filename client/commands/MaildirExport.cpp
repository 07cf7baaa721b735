#include "client/commands/MaildirExport.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <stdexcept>

#include <fmt/format.h>

#include "client/commands/ExportedItem.h"
#include "client/run/NewFile.h"
#include "client/sources/ModifiedUtf7.h"
#include "client/sources/Names.h"
#include "mailboxd/store/DateTime.h"

namespace client {
namespace {

constexpr std::size_t kMostKeywords = 26;  // the letters a to z
constexpr std::string_view kEarlierVerb = "set:7d1f6b0c-52ae-4c8d-9a41-5e0b6c2f8a17:id:1";

// "1" to "9…" as the mailbox has the last verb and the flag status.
bool Has(const mailbox::ItemInfo& item, std::string_view key, std::string_view value) {
  return PropertyTextOf(item, key) == value;
}

// As Maildirs have them; a mail with line ends of several kinds keeps each.
std::string WithLf(std::string mail) {
  for (std::size_t at = mail.find_first_of("\r\n"); at != std::string::npos;
       at = mail.find_first_of("\r\n", at + 2)) {
    if (mail.compare(at, 2, "\r\n") != 0) return mail;
  }
  std::erase(mail, '\r');
  return mail;
}

std::int64_t TimeOf(const mailbox::ItemInfo& item) {
  for (const std::string& text : {item.received, item.sent, item.created}) {
    if (const auto seconds = mailbox::ReadSeconds(text); seconds && *seconds > 0) return *seconds;
  }
  return 0;
}

void SetTime(const std::string& path, std::int64_t seconds) {
  const std::array<timespec, 2> times{
      {{static_cast<std::time_t>(seconds), 0}, {static_cast<std::time_t>(seconds), 0}}};
  // A file whose time cannot be set has it in its name.
  (void)utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
}

}  // namespace

std::string MaildirLevel(std::string_view name) {
  constexpr std::size_t kLongest = 240;  // bytes, so that a number has room behind it
  std::string level;
  if (name == "cur" || name == "new" || name == "tmp" || name.starts_with('.')) {
    level = ToModifiedUtf7(name.substr(0, 1), name.substr(0, 1));
    name.remove_prefix(1);
  }
  level += ToModifiedUtf7(name, "/");
  return level.size() > kLongest ? FileName(name) : level;
}

MaildirWriter::MaildirWriter(std::filesystem::path folder) : m_folder(std::move(folder)) {
  for (const char* part : {"cur", "new", "tmp"}) {
    std::error_code error;
    std::filesystem::create_directories(m_folder / part, error);
    if (error) {
      throw std::runtime_error(
          fmt::format("{} cannot be made: {}", (m_folder / part).string(), error.message()));
    }
  }
}

std::string MaildirWriter::LettersOf(const mailbox::ItemInfo& item) {
  std::string letters;  // in the order of their bytes, as every program writes them
  if (item.isDraft) letters += 'D';
  if (Has(item, "tag:0x1090", "2")) letters += 'F';
  const bool isForwarded = Has(item, "tag:0x1081", "104");
  if (isForwarded) letters += 'P';
  // The mailbox itself knows the last thing alone that was done.
  const bool isAnswered = Has(item, "tag:0x1081", "102") || Has(item, "tag:0x1081", "103");
  if (isAnswered || (isForwarded && Has(item, kEarlierVerb, "102"))) letters += 'R';
  if (item.isRead) letters += 'S';
  std::set<char> ofKeywords;
  for (const std::string& category : item.categories) {
    const auto found = std::ranges::find(m_keywords, category);
    if (found == m_keywords.end() && m_keywords.size() == kMostKeywords) {
      ++m_leftOut;
      continue;
    }
    ofKeywords.insert(static_cast<char>('a' + (found - m_keywords.begin())));
    if (found == m_keywords.end()) m_keywords.push_back(category);
  }
  return letters.append(ofKeywords.begin(), ofKeywords.end());
}

void MaildirWriter::Write(std::string mail, const mailbox::ItemInfo& item) {
  mail = WithLf(std::move(mail));
  const std::int64_t time = TimeOf(item);
  const std::string name =
      fmt::format("{}.M{}.mailbox,S={}:2,{}", time, item.id, mail.size(), LettersOf(item));
  const std::string path = (m_folder / "cur" / name).string();
  WriteNewFile(path, mail);
  if (time > 0) SetTime(path, time);
}

std::uint64_t MaildirWriter::Finish() {
  std::string lines;
  for (std::size_t i = 0; i < m_keywords.size(); ++i) {
    // Mail programs take a keyword for one word without brackets and the like.
    lines += fmt::format("{} {}\n", i, ToModifiedUtf7(m_keywords[i], " (){%*\"\\]"));
  }
  if (!lines.empty()) {
    WriteNewFile((m_folder / "dovecot-keywords").string(), lines);
  }
  return m_leftOut;
}

}  // namespace client
