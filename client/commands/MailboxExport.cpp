#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/commands/Commands.h"
#include "client/commands/ExportedCalendar.h"
#include "client/commands/ExportedCard.h"
#include "client/commands/MailboxParts.h"
#include "client/run/NewFile.h"
#include "client/show/ItemMime.h"
#include "client/show/OutputText.h"
#include "client/sources/Names.h"

namespace client {
namespace {

std::string CountOf(std::uint64_t attachments) {
  return attachments == 1 ? "1 attachment" : fmt::format("{} attachments", attachments);
}

void MakeFolder(const std::filesystem::path& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) throw std::runtime_error(path.string() + " cannot be made: " + error.message());
}

// Gives each name once below a folder, without regard to case, so that the tree can be carried to
// any file system.
class UniqueNames {
 public:
  std::string Take(const std::string& wanted) {
    int& count = m_counts[Key(wanted)];  // so that many of one name are no matter
    std::string name = wanted;
    while (!m_taken.insert(Key(name)).second) name = NumberedFileName(wanted, ++count + 1);
    return name;
  }

 private:
  static std::string Key(std::string name) {
    for (char& c : name) c = mail::toLowerAscii(c);
    return name;
  }
  std::set<std::string> m_taken;
  std::map<std::string, int> m_counts;
};

struct Exported {
  std::uint64_t written = 0;
  std::uint64_t leftOut = 0;      // of kinds that have no form as a file
  std::uint64_t attachments = 0;  // of contacts, left out
};

// What an item is written as; empty where there is nothing to write.
struct ExportedFile {
  const char* extension;
  std::string bytes;
};
ExportedFile FileOf(mailbox::Store& store, const mailbox::ItemInfo& item, Exported& count) {
  if (item.element == "CalendarItem" || item.element == "Task") {
    return {".ics", CalendarTextOf(store, item)};
  }
  if (item.element == "Contact" || item.element == "DistributionList") {
    return {".vcf", CardTextOf(store, item, count.attachments)};
  }
  std::string mime = MimeOf(store, item.id);
  if (item.element == "Message") {
    mime = mime.empty() ? ItemMime(store, item) : WithHead(store, item, std::move(mime));
  }
  return {".eml", std::move(mime)};
}

void ExportMailbox(mailbox::Store& store, std::int64_t id, const std::filesystem::path& out,
                   Exported& count) {
  std::map<std::int64_t, std::filesystem::path> places;
  std::map<std::filesystem::path, UniqueNames> names;
  for (const mailbox::FolderInfo& folder : store.Folders(id)) {
    // A root stands for the mailbox itself.
    const auto parent = places.find(folder.parent);
    const std::filesystem::path base = parent == places.end() ? out : parent->second;
    const std::filesystem::path place =
        folder.parent == 0 ? base : base / names[base].Take(FileName(folder.name));
    places[folder.id] = place;
    if (folder.total == 0) continue;
    MakeFolder(place);
    for (const mailbox::ItemInfo& item : ItemsOf(store, folder)) {
      const ExportedFile file = FileOf(store, item, count);
      ++(file.bytes.empty() ? count.leftOut : count.written);
      if (file.bytes.empty()) continue;
      const std::string subject = item.subject.empty() ? "untitled" : item.subject;
      NewFile(place / names[place].Take(FileName(subject + file.extension))).Write(file.bytes);
    }
  }
}

}  // namespace

int ExportMailboxes(mailbox::Store& store, const std::string& address, const std::string& out) {
  MakeFolder(out);
  if (!std::filesystem::is_empty(out)) {
    throw std::runtime_error(out + " is there already and not empty");
  }
  Exported count;
  UniqueNames names;
  for (const mailbox::MailboxInfo& info : ChosenMailboxes(store, address)) {
    const std::string name = names.Take(FileName(MailboxTitle(info.address)));
    ExportMailbox(store, info.id, std::filesystem::path(out) / name, count);
  }
  std::cerr << fmt::format("{} written to {}\n", ItemCount(count.written), OneLine(out));
  if (count.attachments > 0) {
    std::cerr << fmt::format("{} left out of contacts: a card has no place for them\n",
                             CountOf(count.attachments));
  }
  if (count.leftOut == 0) return count.attachments == 0 ? kExitDone : kExitFailed;
  std::cerr << fmt::format("{} left out: there is no file for their kind\n",
                           ItemCount(count.leftOut));
  return kExitFailed;
}

}  // namespace client
