#include "mailboxd/Directory.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <vector>

#include "base/WholeNumber.h"

namespace mailbox {
namespace {

using nlohmann::json;

constexpr std::string_view kRoot = "/v1.0/";
constexpr std::int64_t kDefaultPage = 100;
constexpr std::int64_t kLargestPage = 999;

struct Entry {
  std::string name;
  std::string address;
};

// The name in front of the @ stands for a person that nothing more is known of.
std::vector<Entry> MailboxEntries(Store& store) {
  std::vector<Entry> entries;
  for (const MailboxInfo& box : store.Mailboxes()) {
    if (box.address.empty()) continue;
    entries.push_back({box.address.substr(0, box.address.find('@')), box.address});
  }
  return entries;
}

void AddFromFile(const std::string& path, std::string_view kind, std::vector<Entry>& entries) {
  std::ifstream file(path, std::ios::binary);
  std::string line;
  while (std::getline(file, line)) {
    if (line.ends_with('\r')) line.pop_back();
    const size_t first = line.find('\t');
    const size_t second = first == std::string::npos ? first : line.find('\t', first + 1);
    if (second == std::string::npos || line.substr(0, first) != kind) continue;
    entries.push_back({line.substr(first + 1, second - first - 1), line.substr(second + 1)});
  }
}

json EntryJson(const Entry& entry, bool isUser) {
  json object = {{"displayName", entry.name}, {"mail", entry.address}};
  if (isUser) object["userPrincipalName"] = entry.address;
  return object;
}

DirectoryReply Refuse(const char* message) {
  return {400, json{{"error", {{"code", "Request_BadRequest"}, {"message", message}}}}.dump()};
}

}  // namespace

bool IsDirectoryPath(std::string_view path) {
  return path == "/v1.0/users" || path == "/v1.0/groups";
}

DirectoryReply AnswerDirectory(Store& store, const std::string& dataFolder, std::string_view path,
                               std::string_view top, std::string_view skip,
                               const std::string& url) {
  const std::string kind(path.substr(kRoot.size()));
  const bool isUsers = kind == "users";
  const auto size = top.empty() ? kDefaultPage : mail::wholeNumber<std::int64_t>(top).value_or(0);
  const auto begin = skip.empty() ? 0 : mail::wholeNumber<std::int64_t>(skip).value_or(-1);
  if (size < 1 || size > kLargestPage) return Refuse("Invalid page size specified.");
  if (begin < 0) return Refuse("The skip token is invalid.");
  std::vector<Entry> entries;
  if (isUsers) entries = MailboxEntries(store);
  AddFromFile(dataFolder + "/directory.txt", kind, entries);
  const auto total = static_cast<std::int64_t>(entries.size());
  const std::int64_t end = begin + std::min(size, std::max<std::int64_t>(total - begin, 0));
  json page = {{"@odata.context", url.substr(0, url.size() - kind.size()) + "$metadata#" + kind},
               {"value", json::array()}};
  for (std::int64_t i = begin; i < end; ++i) {
    page["value"].push_back(EntryJson(entries[static_cast<size_t>(i)], isUsers));
  }
  if (end < total) {
    page["@odata.nextLink"] =
        url + "?$top=" + std::to_string(size) + "&$skiptoken=" + std::to_string(end);
  }
  return {200, page.dump(-1, ' ', false, json::error_handler_t::replace)};
}

}  // namespace mailbox
