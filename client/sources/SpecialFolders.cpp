#include "client/sources/SpecialFolders.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include "client/sources/SpecialFolderTable.h"

namespace client {
namespace {

constexpr std::array<std::string_view, 7> kExchangeNames = {
    "Inbox", "Sent Items", "Drafts", "Deleted Items", "Junk E-mail", "Archive", "Outbox"};

// Folders whose children are what other mailboxes have at their top.
constexpr std::array<std::string_view, 3> kTops = {"inbox", "[gmail]", "[google mail]"};

struct AtTop {
  SpecialFolder folder;
  std::size_t end;  // of its name in the path, the backslash behind it
};

using Names = std::unordered_map<std::string, SpecialFolder>;

const Names& FoldedNames() {
  static const Names kNames = [] {
    Names names;
    for (const SpecialFolderName& row : kSpecialFolderNames) {
      names.emplace(FoldedName(row.name), row.folder);
    }
    return names;
  }();
  return kNames;
}

std::optional<AtTop> FindAtTop(const std::string& path) {
  const std::size_t end = path.find('\\');
  if (end == std::string::npos) return std::nullopt;
  const std::string first = path.substr(0, end);
  const std::size_t next = path.find('\\', end + 1);
  if (next != std::string::npos && std::ranges::count(kTops, FoldedName(first)) > 0) {
    const auto special = SpecialFolderNamed(path.substr(end + 1, next - end - 1));
    if (special) return AtTop{*special, next};
  }
  const auto special = SpecialFolderNamed(first);
  return special ? std::optional(AtTop{*special, end}) : std::nullopt;
}

}  // namespace

std::string_view ExchangeName(SpecialFolder folder) {
  return kExchangeNames[static_cast<std::size_t>(folder)];
}

std::string FoldedName(std::string_view name) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* const composed = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return std::string(name);
  auto units = icu::UnicodeString::fromUTF8(
      icu::StringPiece(name.data(), static_cast<std::int32_t>(name.size())));
  units = composed->normalize(units, status).foldCase();
  std::string text;
  composed->normalize(units, status).toUTF8String(text);
  return U_FAILURE(status) ? std::string(name) : text;
}

std::optional<SpecialFolder> SpecialFolderNamed(std::string_view name) {
  const auto found = FoldedNames().find(FoldedName(name));
  return found == FoldedNames().end() ? std::nullopt : std::optional(found->second);
}

std::string WithExchangeNames(const std::string& path) {
  const auto found = FindAtTop(path);
  return found ? std::string(ExchangeName(found->folder)) + path.substr(found->end) : path;
}

bool NamesSpecialFolder(const std::string& path) {
  const auto found = FindAtTop(path);
  if (!found) return false;
  return found->folder != SpecialFolder::kIncoming || found->end + 1 == path.size();
}

std::string WithMarkedName(const std::string& path, const FolderMarks& marks) {
  if (marks.empty()) return {};
  for (std::size_t end = path.size(); end > 0; end = end < 2 ? 0 : path.rfind('\\', end - 2) + 1) {
    const auto mark = marks.find(std::string_view(path).substr(0, end));
    if (mark == marks.end()) continue;
    return std::string(ExchangeName(mark->second)) + "\\" + path.substr(end);
  }
  return {};
}

}  // namespace client
