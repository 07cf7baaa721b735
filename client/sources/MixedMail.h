#pragma once

#include <string>
#include <string_view>

namespace client {

// A mail that files are attached to: it becomes a multipart/mixed, of which what the mail was is
// the first part, with the fields that tell of its content. Its other fields and its body stay
// byte for byte. One whose body has none of the parts that its Content-Type speaks of is text: so a
// program leaves it that put the parts away. The same mail and files give the same bytes.
class MixedMail {
 public:
  explicit MixedMail(std::string_view mail);
  // The name is UTF-8.
  void Attach(std::string_view name, std::string_view bytes);
  std::string Finish() &&;

 private:
  std::string m_lineEnd;
  std::string m_boundary;
  std::string m_mail;
};

}  // namespace client
