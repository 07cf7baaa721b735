#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/commands/Commands.h"
#include "client/commands/ExportedCalendar.h"
#include "client/commands/ExportedCard.h"
#include "client/commands/MailboxParts.h"
#include "client/commands/MaildirExport.h"
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

// Gives each name once below a folder; without regard to case, so that the tree can be carried to
// any file system, but where case says something.
class UniqueNames {
 public:
  enum class Case { kAlike, kApart };
  explicit UniqueNames(Case letters = Case::kAlike) : m_letters(letters) {}
  std::string Take(const std::string& wanted) {
    int& count = m_counts[Key(wanted)];  // so that many of one name are no matter
    std::string name = wanted;
    while (!m_taken.insert(Key(name)).second) name = NumberedFileName(wanted, ++count + 1);
    return name;
  }

 private:
  std::string Key(std::string name) const {
    if (m_letters == Case::kApart) return name;
    for (char& c : name) c = mail::toLowerAscii(c);
    return name;
  }
  Case m_letters;
  std::set<std::string> m_taken;
  std::map<std::string, int> m_counts;
};

struct Exported {
  std::uint64_t written = 0;
  std::uint64_t leftOut = 0;      // of kinds that have no form as a file
  std::uint64_t attachments = 0;  // of contacts, left out
  std::uint64_t categories = 0;   // of mails, likewise
  bool IsWhole() const { return leftOut == 0 && attachments == 0 && categories == 0; }
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

// How the folders of a mailbox become folders on disk.
struct TreeForm {
  UniqueNames::Case letters;
  // Its name in the folder that holds it; nothing for one that stands for that itself.
  std::optional<std::string> (*levelOf)(const mailbox::FolderInfo& folder);
};

// Hands over each folder, its place, and the names that are taken there; parents come first.
template <typename Write>
void EachPlace(mailbox::Store& store, std::int64_t id, const std::filesystem::path& out,
               const TreeForm& form, Write write) {
  std::map<std::int64_t, std::filesystem::path> places;
  std::map<std::filesystem::path, UniqueNames> names;
  const auto namesIn = [&](const std::filesystem::path& place) -> UniqueNames& {
    return names.try_emplace(place, form.letters).first->second;
  };
  for (const mailbox::FolderInfo& folder : store.Folders(id)) {
    const auto parent = places.find(folder.parent);
    std::filesystem::path place = parent == places.end() ? out : parent->second;
    if (const auto level = form.levelOf(folder)) place /= namesIn(place).Take(*level);
    places[folder.id] = place;
    write(folder, place, namesIn(place));
  }
}

// A root stands for the mailbox itself.
constexpr TreeForm kFileTree = {UniqueNames::Case::kAlike, [](const mailbox::FolderInfo& folder) {
                                  return folder.parent == 0 ? std::nullopt
                                                            : std::optional(FileName(folder.name));
                                }};

void ExportMailbox(mailbox::Store& store, std::int64_t id, const std::filesystem::path& out,
                   Exported& count) {
  const auto write = [&](const mailbox::FolderInfo& folder, const std::filesystem::path& place,
                         UniqueNames& names) {
    if (folder.total == 0) return;
    MakeFolder(place);
    for (const std::int64_t row : store.Rows(folder.id, 0, -1)) {
      const std::optional<mailbox::ItemInfo> item = store.Item(row);
      if (!item) continue;  // taken away meanwhile
      const ExportedFile file = FileOf(store, *item, count);
      ++(file.bytes.empty() ? count.leftOut : count.written);
      if (file.bytes.empty()) continue;
      const std::string subject = item->subject.empty() ? "untitled" : item->subject;
      WriteNewFile(place / names.Take(FileName(subject + file.extension)), file.bytes);
    }
  };
  EachPlace(store, id, out, kFileTree, write);
}

void ExportMaildir(mailbox::Store& store, const mailbox::FolderInfo& folder,
                   const std::filesystem::path& place, Exported& count) {
  MaildirWriter maildir(place);
  for (const std::int64_t row : store.Rows(folder.id, 0, -1)) {
    const std::optional<mailbox::ItemInfo> item = store.Item(row);
    if (!item) continue;  // taken away meanwhile
    ExportedFile file = FileOf(store, *item, count);
    const bool isMail = file.extension == std::string_view(".eml") && !file.bytes.empty();
    ++(isMail ? count.written : count.leftOut);
    if (isMail) maildir.Write(std::move(file.bytes), *item);
  }
  count.categories += maildir.Finish();
}

// The Inbox is the root, and what lies below it stands below INBOX; the others lie in the root.
constexpr TreeForm kMaildirTree = {
    UniqueNames::Case::kApart, [](const mailbox::FolderInfo& folder) -> std::optional<std::string> {
      if (folder.wellKnown == "inbox") return "INBOX";
      if (folder.wellKnown == "archivemsgfolderroot") return "In-Place Archive";
      if (folder.parent == 0 || folder.wellKnown == "msgfolderroot") return std::nullopt;
      return MaildirLevel(folder.name);
    }};

void ExportAsMaildirs(mailbox::Store& store, std::int64_t id, const std::filesystem::path& out,
                      Exported& count) {
  const auto write = [&](const mailbox::FolderInfo& folder, const std::filesystem::path& place,
                         UniqueNames&) {
    const bool isInbox = folder.wellKnown == "inbox";
    if (isInbox || folder.total > 0) ExportMaildir(store, folder, isInbox ? out : place, count);
  };
  EachPlace(store, id, out, kMaildirTree, write);
}

void TellLeftOut(const Exported& count, bool maildir) {
  if (count.attachments > 0) {
    std::cerr << fmt::format("{} left out of contacts: a card has no place for them\n",
                             CountOf(count.attachments));
  }
  if (count.categories > 0) {
    std::cerr << fmt::format("{} of mails left out: a Maildir has 26 at most\n",
                             Counted(count.categories, "category", "categories"));
  }
  if (count.leftOut > 0) {
    std::cerr << fmt::format(
        "{} left out: {}\n", ItemCount(count.leftOut),
        maildir ? "a Maildir holds mail alone" : "there is no file for their kind");
  }
}

}  // namespace

int ExportMailboxes(mailbox::Store& store, const MailboxExport& options) {
  const std::string& out = options.out;
  MakeFolder(out);
  if (!std::filesystem::is_empty(out)) {
    throw std::runtime_error(out + " is there already and not empty");
  }
  Exported count;
  UniqueNames names;
  for (const mailbox::MailboxInfo& info : ChosenMailboxes(store, options.address)) {
    const std::string name = names.Take(FileName(MailboxTitle(info.address)));
    const auto write = options.maildir ? ExportAsMaildirs : ExportMailbox;
    write(store, info.id, std::filesystem::path(out) / name, count);
  }
  std::cerr << fmt::format("{} written to {}\n", ItemCount(count.written), OneLine(out));
  TellLeftOut(count, options.maildir);
  return count.IsWhole() ? kExitDone : kExitFailed;
}

}  // namespace client
