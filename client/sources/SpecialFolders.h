#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace client {

// The folders that every mail program has, whatever it calls them.
enum class SpecialFolder { kIncoming, kSent, kDrafts, kDeleted, kJunk, kArchive, kOutbox };

// What Exchange calls it in English, by which the engine knows it in a mailbox of any language.
std::string_view ExchangeName(SpecialFolder folder);

// Of the name of a folder at the top of its source, in UTF-8; compared without regard to case and
// to how accents are composed.
std::optional<SpecialFolder> SpecialFolderNamed(std::string_view name);

// A path of a source, each level ended by a backslash, with its special folder by Exchange's name:
// "Gesendet\2024\" becomes "Sent Items\2024\", "INBOX\Trash\" and "[Gmail]\Trash\" become
// "Deleted Items\". Elsewhere such a name is a customer's: "Customer\Sent\" stays.
std::string WithExchangeNames(const std::string& path);

// True for the path of one, by its name, or below one; what lies below the Inbox may be anything.
bool NamesSpecialFolder(const std::string& path);

// Paths of a source of which it says itself what they are for.
using FolderMarks = std::map<std::string, SpecialFolder, std::less<>>;
// A path that leads to one of them or below, with the special folder by Exchange's name; empty for
// any other.
std::string WithMarkedName(const std::string& path, const FolderMarks& marks);

// Equal for names and paths that differ in case, or in how accents are composed, alone.
std::string FoldedName(std::string_view name);

}  // namespace client
