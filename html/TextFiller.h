#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace mail {

// Plain text that grows line by line: paragraphs filled to a margin, text that keeps its lines, and
// breaks. Lines end in CR LF; a column is a character of UTF-8.
//
// Words that arrive in many pieces are joined, with a blank between, and filled as if the line they
// continue were taken back and laid anew with them. They are put where they belong at once: what is
// laid stays, and only the last word of a line ever moves. So a line of any length grows in linear
// time. Two things are laid anew indeed: text that came as it stands, and a wrapped line whose
// indentation did not count when it was laid.
class TextFiller {
 public:
  explicit TextFiller(std::size_t nExpected = 0) { m_strOut.reserve(nExpected); }

  static constexpr std::string_view kLineEnd = "\r\n";

  // Adds text between nIndent blanks and a margin in columns, under 1 for none. Its white space,
  // "&nbsp;" too, is what separates words. A word that is longer than a line is cut. The columns of
  // a line that begins within the text do not count its indentation: it may run past the margin by
  // that.
  void emitText(std::string_view strText, std::size_t nIndent, std::int32_t nMargin);
  // Adds text as it stands, each of its lines behind nIndent blanks. A line end at its start adds
  // nothing behind a line end.
  void emitPre(std::string_view strText, std::size_t nIndent);
  // Adds text of one line behind what is there.
  void append(std::string_view strText) { m_strOut += strText; }

  void lineBreak();  // ends the line, without the blanks at its end
  void freshLine();  // ends the line unless it is empty
  void blankLine();  // and has an empty line in front of what follows
  // A line of dashes up to the margin; without one up to column 80.
  void rule(std::size_t nIndent, std::int32_t nMargin);
  void endLineTrimmed();  // ends it without any white space or empty lines in front of it

  const std::string& text() const { return m_strOut; }
  std::string takeText() { return std::move(m_strOut); }

 private:
  static constexpr std::size_t kNone = std::string_view::npos;

  bool endsLine() const { return m_strOut.ends_with(kLineEnd); }
  std::size_t column() const { return m_nBase + m_nChars; }
  void appendLines(std::string_view strLines);
  void startLine();
  void layAnew();
  void feed(std::string_view strText, bool bApart);
  void putBlank();
  void putWord(std::string_view strWord);
  void wrap();
  void moveLastWord();

  std::string m_strOut;
  std::size_t m_nIndent = 0;      // of the text in work
  std::size_t m_nMargin = kNone;  // kNone for no margin
  std::size_t m_nLine = 0;        // where the last line begins
  std::size_t m_nLaid = 0;        // up to where it is laid; behind it text as it stands
  std::size_t m_nBase = 0;        // columns that count in front of its text
  std::size_t m_nChars = 0;       // its text
  std::size_t m_nBlank = kNone;   // its last blank between words
  bool m_bWrapped = false;        // it begins within a text
};

}  // namespace mail
