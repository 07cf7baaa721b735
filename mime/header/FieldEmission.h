#pragma once

#include <cstddef>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LogBase.h"
#include "base/StringBuffer.h"

namespace mail {

// A text as it goes into a header whose mail is in a code page: its bytes, the page they are in
// (which is 65001 where the mail's page lacks a character), and the form of encoded words that goes
// with the mail's page: B for pages of the Far East and for UTF-16, Q for all others.
class PreparedText {
 public:
  // nCodePage 0 is UTF-8. The text must outlive the object.
  PreparedText(std::string_view strUtf8, int nCodePage, LogBase& log);

  std::string_view bytes() const { return m_bConverted ? m_converted.view() : m_strUtf8; }
  // Whether its first line holds what only an encoded word can carry.
  bool needsEncoding() const;
  // A 7-bit text of a mail in ISO-2022: is written as it stands, never folded.
  bool standsAsItIs() const { return m_b7bit && m_bIso2022; }

  // How the words come out: one, or several on lines of their own. kOneInAddress hides commas,
  // kOneInQuotes what would end the quotes around it.
  enum class Words : unsigned char { kOne, kSeveral, kOneInAddress, kOneInQuotes };
  void appendWords(Words nWords, StringBuffer& strOut, LogBase& log) const;

 private:
  void convert(LogBase& log);
  bool convertTo(int nCodePage, LogBase& log);

  std::string_view m_strUtf8;
  int m_nPage;  // of bytes()
  bool m_b7bit;
  bool m_bWordsInB;
  bool m_bIso2022;
  bool m_bConverted = false;
  DataBuffer m_converted;
};

// Appends an attribute list, each value as an encoded word in quotes where it must be. Not folded.
// With bIsLocation nothing gets quotes that had none: the value is a URL.
void appendAttributes(std::string_view strValueUtf8, int nCodePage, bool bIsLocation,
                      StringBuffer& strOut, LogBase& log);

}  // namespace mail
