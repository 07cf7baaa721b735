#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace client {

// One line of a calendar or of a card: [group.]NAME[;parameters]:value.
struct ContentLine {
  struct Parameter {
    std::string name;  // upper case; "TYPE" for what a card of version 2.1 names by its value alone
    std::string value;
  };
  std::string group;                  // upper case; empty for most
  std::string name;                   // upper case; empty for a line that is none
  std::vector<Parameter> parameters;  // one for each value of a list
  std::string value;                  // as it stands, escapes and all

  // The first value of that parameter, empty without one. The name is in upper case.
  std::string_view Value(std::string_view wanted) const;
  // True if one of the parameter's values is that, in any case. Both are in upper case.
  bool Has(std::string_view wanted, std::string_view value) const;
};

// Reads the lines of a text one after the other. A line that begins with a blank or a tab goes on
// the one before it, as bytes: programs fold lines inside of characters. Line ends are LF or CR LF.
class ContentLineReader {
 public:
  // A mark of UTF-8 in front is passed over.
  explicit ContentLineReader(std::string_view text)
      : m_text(text), m_at(text.starts_with("\xEF\xBB\xBF") ? 3 : 0) {}

  // False at the end of the text.
  bool Next(ContentLine& line);
  // Where the line that was read last begins and ends, its line end included.
  std::size_t Begin() const { return m_begin; }
  std::size_t End() const { return m_at; }

  // The next line as it stands, without its end, and the step over it: for values that go on over
  // lines in ways of their own. Empty at the end of the text.
  std::string_view PeekRaw() const;
  void SkipRaw();
  bool AtEnd() const { return m_at == m_text.size(); }

 private:
  std::string_view m_text;
  std::size_t m_begin = 0;
  std::size_t m_at = 0;
};

std::string UpperAscii(std::string_view text);

// A text value without its escapes: "\n" and "\N" are a line end (LF), "\," a comma.
std::string UnescapedText(std::string_view value);
// The parts of a value between separators that are not escaped, each without its escapes.
std::vector<std::string> SplitValue(std::string_view value, char separator);

}  // namespace client
