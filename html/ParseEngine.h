#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "base/StringBuffer.h"

namespace mail {

// Reads through a text, which it never changes, with a position that only the calls below and the
// caller move. What it captures is appended. The text must outlive the object: it is not copied.
//
// A text may be read to its end as often as it has tags, so nothing here looks at a byte more often
// than a fixed number of times: where an unbalanced quote would make each search run to the end of
// the text, the text is looked through once more, from its end, and searches know at their start
// whether they would find anything.
class ParseEngine {
 public:
  explicit ParseEngine(std::string_view strText) : m_strText(strText) {}

  std::size_t position() const { return m_nPosition; }
  void setPosition(std::size_t nPosition);  // the end of the text for one behind it
  bool atEnd() const { return m_nPosition == m_strText.size(); }
  char current() const { return atEnd() ? '\0' : m_strText[m_nPosition]; }
  void skip() { m_nPosition += atEnd() ? 0 : 1; }

  // Any case. Appends everything up to and with the needle and moves past it; false if there is
  // none, and nothing is moved or appended.
  bool seekAndCopy(std::string_view strNeedle, StringBuffer& strOut);
  bool seek(std::string_view strNeedle);  // stops in front of it, copies nothing

  void skipAnyOf(std::string_view strChars);

  // Up to the first character of the set, or to the end of the text; stops in front of it.
  void captureUntilAnyOf(std::string_view strSet, StringBuffer& strOut);
  // The same, but a character behind a backslash does not count.
  void captureUntilAnyOfUnescaped(std::string_view strSet, StringBuffer& strOut);
  void captureToChar(char ch, StringBuffer& strOut);
  // A ch between double or single quotes does not count. When the text ends first, it acts as
  // captureToChar, so that an unbalanced quote does not swallow the document.
  void captureToUnquoted(char ch, StringBuffer& strOut) { captureBy(Quotes::kAll, ch, strOut); }
  // The same, but no quote counts in the double-byte text of ISO-2022-JP, whose bytes may look like
  // quotes.
  void captureToUnquotedIso(char ch, StringBuffer& strOut) {
    captureBy(Quotes::kNotInIso, ch, strOut);
  }
  // As captureToUnquoted, without a copy: a view into the text.
  std::string_view takeToUnquoted(char ch) { return takeTo(endOfUnquoted(Quotes::kAll, ch)); }

 private:
  static constexpr std::size_t kNone = std::string_view::npos;
  enum class Quotes { kAll, kNotInIso };

  void captureBy(Quotes nQuotes, char ch, StringBuffer& strOut);
  std::size_t endOfUnquoted(Quotes nQuotes, char ch);
  std::size_t findUnquoted(Quotes nQuotes, char ch) const;
  void noteReach(Quotes nQuotes, char ch);
  std::string_view takeTo(std::size_t nEnd);
  void captureTo(std::size_t nEnd, StringBuffer& strOut);

  std::string_view m_strText;
  std::size_t m_nPosition = 0;
  // For each position whether a search for m_chReach from there, outside quotes, finds one. Made at
  // the first search that does not; empty before.
  std::vector<bool> m_arrReach;
  Quotes m_nReachQuotes = Quotes::kAll;
  char m_chReach = '\0';
};

}  // namespace mail
