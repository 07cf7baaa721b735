#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/StringBuffer.h"

namespace mail {

// The parameters of a Content-Type or Content-Disposition value, one after the other:
//
//   text/plain; charset=us-ascii (plain); name = "a;b.txt"
//
// gives the head "text/plain", then charset, then name with "a;b.txt". Damage is read as it was
// meant: semicolons may lack behind the head and behind a quoted value, whose end may lie outside
// the quotes ("a".txt), and quotes may lack at the end (the value then ends at the next semicolon,
// and keeps its blanks). Linear in the value.
class AttributeReader {
 public:
  // What becomes of blanks within a value that has no quotes.
  enum class Blanks : std::uint8_t { kDropped, kKept };

  explicit AttributeReader(std::string_view strValue, Blanks nBlanks = Blanks::kDropped);

  // All before the first ";" or white space.
  std::string_view head() const { return m_strHead; }
  // Moves on to the next parameter; false when there is none.
  bool next();
  // Of the present one, good until next(): the name, the value without its quotes and trimmed
  // (but for pieces of a longer one, "name*1", which may begin or end with a blank), without line
  // ends. Outside quotes comments at the end are dropped too, and blanks and tabs as asked for.
  std::string_view name() const { return m_strName; }
  std::string_view value() const { return m_strValue; }

 private:
  void readQuoted();
  void readOpen();
  void readPlain();

  void setValue(std::string_view strInner);

  Blanks m_nBlanks;
  std::string_view m_strHead;
  std::string_view m_strRest;
  std::string m_strName;
  std::string m_strValue;
  bool m_bQuotesEnd = true;  // false once a quote was found without another behind it
};

// Appends the parameters of a value, whatever they are, as "; name=content", but for those of one
// name.
void appendOtherParameters(std::string_view strValue, std::string_view strName,
                           StringBuffer& strOut);

// Where the quote that opens a text at its front is closed, or npos. A backslash hides a quote.
std::size_t closingQuote(std::string_view strText);

// The word that a value begins with, without quotes, comment or parameters behind it: "base64" of
// "\"base64\"; x". A view of the value.
std::string_view firstWord(std::string_view strValue);

// A value without quotes up to the comments that end it, "utf-8 (Unicode)" for example. What stands
// in the middle is none: "Report (1).pdf".
std::string_view withoutComments(std::string_view strPlain);

// Appends the text that stands between quotes: a backslash in front of a quote or another backslash
// vanishes. Others stay, since file names with folders are written without care.
void unquote(std::string_view strInner, std::string& strOut);
// And back: appends the text in quotes.
void appendQuoted(std::string_view strText, StringBuffer& strOut);
// Whether a value is another one, or none, when it stands without quotes.
bool needsQuotes(std::string_view strText);

}  // namespace mail
