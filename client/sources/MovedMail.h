#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace client {

// Where the mails of Maildirs lie that are not at their paths any more: whoever reads one takes it
// from new/ to cur/ and gives it other letters. May be asked from several threads.
class MovedMail {
 public:
  // Empty where it is at its path or nowhere, and for what is in no Maildir.
  std::string WhereMoved(const std::string& path);
  // SourceFiles' ReadMail, of a mail that may have moved so since it was listed.
  std::string Read(const std::string& path);

 private:
  std::string Find(const std::string& maildir, std::string_view lasting);
  void Look(const std::string& maildir, std::string_view lasting);

  std::mutex m_mutex;
  // Of the Maildir that was searched last: a program may rename all mails of one at once.
  std::string m_maildir;
  std::unordered_map<std::string, std::string> m_names;  // below it, by what stays of them
  bool m_isWhole = false;
};

}  // namespace client
