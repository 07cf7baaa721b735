#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "mailboxd/store/Store.h"

namespace client {

// The level of a Maildir tree that a folder becomes: modified UTF-7, in which what such a tree has
// a meaning for of its own ("/", a dot in front, "cur") is written as if it were no ASCII.
std::string MaildirLevel(std::string_view name);

// One Maildir that is new: mails in `cur`, their state in the letters behind their names, their
// categories as keywords (`dovecot-keywords`), the time when they came in name and file.
class MaildirWriter {
 public:
  // Makes the folders. Throws std::runtime_error, as all do.
  explicit MaildirWriter(std::filesystem::path folder);
  // Of an item with its details. A mail whose lines all end in CR LF gets LF, as Maildirs have
  // them.
  void Write(std::string mail, const mailbox::ItemInfo& item);
  // Writes the names of the keywords. Returns how many categories of mails had no letter left.
  std::uint64_t Finish();

 private:
  std::string LettersOf(const mailbox::ItemInfo& item);

  std::filesystem::path m_folder;
  std::vector<std::string> m_keywords;
  std::uint64_t m_leftOut = 0;
};

}  // namespace client
