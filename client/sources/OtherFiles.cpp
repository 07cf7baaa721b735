#include "client/sources/OtherFiles.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "base/AsciiText.h"
#include "client/sources/ArchiveFiles.h"
#include "client/sources/MboxBegin.h"
#include "client/sources/PathParts.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::array kNames = std::to_array<std::string_view>(
    {"subscriptions",     "maildirfolder",      "maildirsize",
     "table_of_contents", "folderTree.json",    "popstate.dat",
     "filterlog.html",    "msgFilterRules.dat", "rules.dat",
     "descmap.pce",       "Info.plist",         "Thumbs.db",
     "desktop.ini",       "feeds.json",         "feeditems.json",
     "feeds.rdf",         "feeditems.rdf",      "virtualFolders.dat",
     "folders.db",        "junklog.html",       "archive_browser.html",
     "profiles.ini",      "installs.ini",       "times.json"});
constexpr std::array kBeginnings =
    std::to_array<std::string_view>({"dovecot", "courierimap", "courierpop3", "maildirsize",
                                     "popstate-", "msgFilterRules.dat.", "feeditems_error"});
constexpr std::array kEnds = std::to_array<std::string_view>(
    {".msf", ".cmeta", ".ibex.index", ".ibex.index.data", ".toc", ".log", ".sqlite", ".sqlite-wal",
     ".sqlite-shm", ".db-wal", ".db-shm", ".ev-summary", ".ev-summary-meta"});
// Or begins with it.
constexpr std::array kHidden = std::to_array<std::string_view>(
    {".DS_Store", ".claws_", ".customflags", ".directory", ".dovecot", ".isyncuidmap",
     ".mbsyncstate", ".mh_sequences", ".overview", ".sylpheed_", ".uidvalidity", ".xmhcache"});
// Of which programs make mails that are elsewhere as well, or parts of them.
constexpr std::array kCopies = std::to_array<std::string_view>({".wdseml", ".emlxpart"});

struct Form {
  std::string_view beginning;
  std::string_view name;
};
constexpr std::array<Form, 10> kForms{{
    {"\xCF\xAD\x12\xFE", "a folder of Outlook Express (.dbx)"},
    {"JMF6", "a folder of Outlook Express (.mbx)"},
    {"JMF9", "a folder of Outlook Express (.mbx)"},
    {"!BDN", "an Outlook data file (.pst)"},
    {"\x78\x9F\x3E\x22", "a mail of Outlook (winmail.dat)"},
    {{"\x1A\0\0\x04\0\0", 6}, "a database of Notes (.nsf)"},
    {"!\x09p\x19", "a folder of The Bat! (.tbb)"},
    {"*mbx*", "a mailbox of the mbx form"},
    {"BABYL OPTIONS:", "a Babyl file"},
    {":msg:", "a file of the mix form"},
}};

// "2 M1e C5c7e4f00"
bool IsDbox(std::string_view head) {
  constexpr std::string_view kBegin = "2 M";
  if (!head.starts_with(kBegin)) return false;
  const std::size_t end = head.find_first_not_of("0123456789abcdefABCDEF", kBegin.size());
  return end != kBegin.size() && head.substr(std::min(end, head.size())).starts_with(" C");
}

// "Inbox.pst"
constexpr std::array kOfMail = std::to_array<std::string_view>(
    {".mbox", ".mbx", ".mbs", ".mmdf", ".msg", ".oft", ".pst", ".ost", ".olm", ".dbx", ".nsf",
     ".tbb", ".edb", ".imm", ".olk14message", ".olk14msgsource", ".olk15message",
     ".olk15msgsource"});

// A compound file whose list of streams begins with those of an item.
bool HoldsStreamsOfItem(const std::string& path, std::string_view head) {
  constexpr std::size_t kHeader = 512;  // bytes
  constexpr std::size_t kList = 4096;
  constexpr unsigned kMostShift = 12;
  static constexpr std::array<std::string_view, 3> kStreams = {"__nameid_", "__properties_",
                                                               "__substg1"};
  if (head.size() < kHeader) return false;
  const auto at = [&](std::size_t place) { return static_cast<unsigned char>(head[place]); };
  const unsigned shift = at(30);  // of the size of a sector
  if (shift > kMostShift) return false;
  const std::uint64_t sector = at(48) | at(49) << 8 | at(50) << 16 | std::uint64_t{at(51)} << 24;
  std::string list = ReadFileRange(path, (sector + 1) << shift, kList);
  std::erase(list, '\0');  // of the UTF-16 of its names
  return std::ranges::any_of(
      kStreams, [&](std::string_view name) { return list.find(name) != std::string::npos; });
}

bool IsOutlookItem(const std::string& path, std::string_view head) {
  constexpr std::string_view kCompound = "\xD0\xCF\x11\xE0";
  if (!head.starts_with(kCompound)) return false;
  return EndsWithNoCase(path, ".msg") || HoldsStreamsOfItem(path, head);
}

}  // namespace

bool IsBesideMail(std::string_view name) {
  const auto is = [&](std::string_view each) { return mail::equalsNoCase(each, name); };
  const auto begins = [&](std::string_view each) { return name.starts_with(each); };
  return std::ranges::any_of(kNames, is) || std::ranges::any_of(kBeginnings, begins) ||
         EndsWithOneOf(name, kEnds);
}

bool IsCopyOfMbox(std::string_view name) {
  constexpr std::string_view kCompacted = "nstmp";
  return name.starts_with(kCompacted) &&
         name.find_first_not_of("-0123456789", kCompacted.size()) == std::string_view::npos;
}

bool IsHiddenBesideMail(std::string_view name) {
  return std::ranges::any_of(kHidden,
                             [&](std::string_view each) { return name.starts_with(each); });
}

bool IsCopyOfMail(std::string_view name) {
  return IsCopyOfMbox(name) || EndsWithOneOf(name, kCopies);
}

bool IsAddressBook(std::string_view name) {
  const std::string_view last = LastName(name);
  return EndsWithNoCase(last, ".mab") || EndsWithNoCase(last, ".wab") || last == "history.sqlite" ||
         last == "contacts.db" || (last.starts_with("abook") && last.ends_with(".sqlite"));
}

bool BeginsWithFields(std::string_view head) {
  head = WithoutRelayTrace(head);
  const std::size_t end = head.find('\n');
  return end != std::string_view::npos && LooksLikeField(head.substr(0, end)) &&
         LooksLikeField(head.substr(end + 1));
}

std::string_view MailFormOf(std::string_view head) {
  const auto row = std::ranges::find_if(
      kForms, [&](const Form& form) { return head.starts_with(form.beginning); });
  if (row != kForms.end()) return row->name;
  if (IsMboxInUtf16(head)) return "an mbox in UTF-16";
  return IsDbox(head) ? "a file of the dbox form" : "";
}

bool IsCalledAsMail(std::string_view name) { return EndsWithOneOf(name, kOfMail); }

std::string UnreadMailForm(const std::string& path, std::uint64_t size, std::string_view head) {
  if (std::string packed = ArchiveReason(path, size, head); !packed.empty()) return packed;
  if (const std::string_view form = MailFormOf(head); !form.empty()) {
    return fmt::format("it looks like {}, which is not read", form);
  }
  if (IsOutlookItem(path, head)) {
    return "it is a mail of Outlook (.msg), which is not read: save it as .eml";
  }
  if (BeginsWithFields(head)) return "it looks like a mail by another name than .eml";
  return IsCalledAsMail(path)
             ? "it is called as files of mail are, and what is in it looks like none that is read"
             : "";
}

}  // namespace client
