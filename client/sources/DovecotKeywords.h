#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace client {

// What the letters "a" to "z" behind a mail's name in a Dovecot's Maildir mean: its file
// "dovecot-keywords" has one a line, "0 $Forwarded", numbered for this folder alone.
class DovecotKeywords {
 public:
  explicit DovecotKeywords(std::string_view text);
  // Empty for one that the file does not name, and for no such letter.
  const std::string& Of(char letter) const;
  // How many it names that have no letter: which mails have them is in the server's index alone.
  std::size_t WithoutLetter() const { return m_withoutLetter; }

 private:
  std::array<std::string, 26> m_keywords;
  std::size_t m_withoutLetter = 0;
};

}  // namespace client
