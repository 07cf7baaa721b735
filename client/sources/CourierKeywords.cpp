#include "client/sources/CourierKeywords.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "client/sources/MaildirName.h"
#include "client/sources/Pieces.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::uint64_t kMostList = 64 << 20;  // bytes
constexpr std::uint64_t kMostFile = 65536;
constexpr std::size_t kMostKeywords = 256;  // of one mail

bool BeginsWithColon(std::string_view name) {
  return std::ranges::any_of(kColons,
                             [&](std::string_view colon) { return name.starts_with(colon); });
}

}  // namespace

CourierKeywords::CourierKeywords(const std::string& maildir, std::vector<SourceProblem>& problems) {
  const std::string folder = maildir + "/courierimapkeywords";
  struct stat status;
  if (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return;
  std::vector<SourceProblem> unread;
  for (const std::string_view colon : kColons) {
    TakeList(HeadOfFile(folder + "/" + std::string(colon) + "list", kMostList, unread));
  }
  TakeFiles(folder, unread);
  for (SourceProblem& each : unread) {
    each.isUnread = false;  // keywords alone: the mails are there
    problems.push_back(std::move(each));
  }
}

void CourierKeywords::TakeList(std::string_view text) {
  std::vector<std::string> names;
  while (!text.empty()) {
    const std::string_view line = mail::trimmed(TakeUpTo(text, '\n'));
    if (line.empty()) break;
    names.emplace_back(line);
  }
  while (!text.empty()) {
    std::string_view line = mail::trimmed(TakeUpTo(text, '\n'));
    std::vector<std::string>& keywords = m_keywords[std::string(TakeUpTo(line, ':'))];
    while (!line.empty() && keywords.size() < kMostKeywords) {
      const auto number = mail::wholeNumber<std::size_t>(TakeUpTo(line, ' '));
      if (number && *number < names.size()) keywords.push_back(names[*number]);
    }
  }
}

void CourierKeywords::TakeFiles(const std::string& folder, std::vector<SourceProblem>& unread) {
  std::unordered_map<std::string, std::size_t> versions;
  EachEntry(folder, unread, [&](const FolderEntry& entry) {
    std::string_view name = entry.name;
    if (entry.kind != EntryKind::kFile || BeginsWithColon(name)) return;
    std::size_t version = 0;
    if (name.starts_with('.')) {
      name.remove_prefix(1);
      version = mail::wholeNumber<std::size_t>(TakeUpTo(name, '.')).value_or(0);
    }
    const auto [known, isNew] = versions.try_emplace(std::string(name), version);
    if (!isNew && known->second > version) return;
    known->second = version;
    std::vector<std::string>& keywords = m_keywords[std::string(name)];
    keywords.clear();
    const std::string text = HeadOfFile(folder + "/" + entry.name, kMostFile, unread);
    for (std::string_view rest = text; !rest.empty() && keywords.size() < kMostKeywords;) {
      const std::string_view keyword = mail::trimmed(TakeUpTo(rest, '\n'));
      if (!keyword.empty()) keywords.emplace_back(keyword);
    }
  });
}

const std::vector<std::string>& CourierKeywords::Of(std::string_view fileName) const {
  static const std::vector<std::string> kNone;
  if (m_keywords.empty()) return kNone;
  const auto found = m_keywords.find(std::string(ParseMaildirName(fileName).base));
  return found == m_keywords.end() ? kNone : found->second;
}

}  // namespace client
