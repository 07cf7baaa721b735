#include "client/sources/OtherFiles.h"

#include <algorithm>
#include <array>

#include "base/AsciiText.h"
#include "client/sources/SourceFiles.h"

namespace client {
namespace {

constexpr std::array<std::string_view, 21> kNames = {
    "subscriptions",       "maildirfolder",      "maildirsize",    "table_of_contents",
    "folderTree.json",     "popstate.dat",       "nstmp",          "filterlog.html",
    "msgFilterRules.dat",  "descmap.pce",        "Info.plist",     "Thumbs.db",
    "desktop.ini",         "feeds.json",         "feeditems.json", "feeds.rdf",
    "feeditems.rdf",       "virtualFolders.dat", "folders.db",     "junklog.html",
    "archive_browser.html"};
constexpr std::array<std::string_view, 3> kBeginnings = {"dovecot", "courierimap", "maildirsize"};
constexpr std::array<std::string_view, 9> kEnds = {
    ".msf", ".cmeta",  ".ibex.index", ".ibex.index.data", ".toc",
    ".log", ".wdseml", ".emlxpart",   ".sqlite"};

struct Form {
  std::string_view beginning;
  std::string_view name;
};
constexpr std::array<Form, 7> kForms{{
    {"\xCF\xAD\x12\xFE", "a folder of Outlook Express (.dbx)"},
    {"!BDN", "an Outlook data file (.pst)"},
    {"*mbx*", "a mailbox of the mbx form"},
    {"BABYL OPTIONS:", "a Babyl file"},
    {":msg:", "a file of the mix form"},
    {"2 M", "a file of the dbox form"},
    {"\x01\x01\x01\x01\n", "an MMDF file"},
}};

}  // namespace

bool IsBesideMail(std::string_view name) {
  const auto is = [&](std::string_view each) { return mail::equalsNoCase(each, name); };
  const auto begins = [&](std::string_view each) { return name.starts_with(each); };
  const auto ends = [&](std::string_view each) { return EndsWithNoCase(name, each); };
  return std::ranges::any_of(kNames, is) || std::ranges::any_of(kBeginnings, begins) ||
         std::ranges::any_of(kEnds, ends);
}

std::string UnreadMailForm(std::string_view head) {
  for (const Form& form : kForms) {
    if (head.starts_with(form.beginning)) {
      return std::string("it looks like ") + std::string(form.name) + ", which is not read";
    }
  }
  // Two fields in a row are a header; one alone may be a line of any text.
  const std::size_t end = head.find('\n');
  const bool isHeader = end != std::string_view::npos && LooksLikeField(head.substr(0, end)) &&
                        LooksLikeField(head.substr(end + 1));
  return isHeader ? "it looks like a mail by another name than .eml" : "";
}

}  // namespace client
