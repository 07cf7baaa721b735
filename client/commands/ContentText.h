#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace client {

// Writes the lines of calendars and cards, folded to 75 bytes between characters. Texts are UTF-8.
class ContentText {
 public:
  // The value as it stands; `name` with its parameters ("DTSTART;VALUE=DATE").
  void Line(std::string_view name, std::string_view value);
  // Nothing for an empty text. What would end it or part it is escaped, line ends too.
  void Text(std::string_view name, std::string_view text);
  // Parts of one value, or entries of a list; nothing where all are empty.
  void Parts(std::string_view name, const std::vector<std::string>& parts, char between);
  // Lines that are whole.
  void Raw(std::string_view lines) { m_text += lines; }
  std::string Take() { return std::move(m_text); }

 private:
  std::string m_text;
};

// ";NAME=value", quoted where it must be; empty for an empty value.
std::string ContentParameter(std::string_view name, std::string_view value);

}  // namespace client
