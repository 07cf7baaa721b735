#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/ExtPtrArray.h"
#include "base/LogBase.h"
#include "mime/header/CkEmailAddress.h"

namespace mail {

// Reads an address list as mails hold it, which is often not as RFC 5322 has it. One pass over the
// text; what is met becomes part of the mailbox being read:
//
//   phrase    words, text in quotes and encoded words; what it is (name, address, both, the name of
//             a group) shows when the mailbox ends
//   address   what stood in brackets, or a quoted text with "@" and a domain right behind it
//   comment   the name when nothing else is, and part of it between the phrase and an address in
//             brackets
//
// A phrase that a comma ends is held back until the next mailbox shows what it is: all of a name
// or, in "Lee, Ann <ann@example.org>", whose quotes are missing, the first part of one.
//
// Quotes, comments and brackets that never end are taken for stray characters. Each is looked for
// once: where one search for the end of a quote or comment ran to the end of the text, later ones
// need not begin.
class AddressParser {
 public:
  AddressParser(std::string_view strText, ExtPtrArrayOf<_ckEmailAddress>& arrAddresses,
                LogBase& log)
      : m_strText(strText), m_arrAddresses(arrAddresses), m_log(log) {}

  void run();

 private:
  void step();
  void takePlain();
  void takeQuoted();
  bool takeLocalPart(std::size_t nQuote);
  void takeComment();
  void takeEncodedWord();
  void takeEscape();
  void takeAngle();
  void takeSquare();
  void takeColon();

  std::size_t endOfQuoted() const;
  std::size_t endOfComment() const;
  std::string angleText();
  void takeQuotedInAngle(std::string& strText);
  void setAddress(std::string_view strRaw);
  void joinHeld();

  void finish();
  void finishAtComma();
  void addHeld();
  std::string nameWithComment() const;
  void finishInFrontOfPhrase();
  void finishBare();
  void readInner(std::string_view strList);
  void finishWithAt(std::string_view strPhrase, std::string_view strComment);
  void reset();
  void add(std::string_view strName, std::string_view strAddress);
  std::string decoded(std::string_view strRaw);
  std::string_view rest() const { return m_strText.substr(m_nAt); }

  std::string_view m_strText;
  ExtPtrArrayOf<_ckEmailAddress>& m_arrAddresses;
  LogBase& m_log;
  std::size_t m_nAt = 0;

  std::string m_strPhrase;  // blanks shrunk, encoded words as they stand
  bool m_bAtSign = false;   // one stands in the phrase, outside encoded words
  bool m_bQuoted = false;   // part of the phrase, or of the name, stood in quotes
  bool m_bHasAddress = false;
  bool m_bBare = false;   // it stood without brackets
  std::string m_strName;  // the phrase in front of the address
  std::string m_strAddress;
  std::string m_strComment;
  std::size_t m_nCommentAt = 0;  // bytes of the phrase in front of it
  std::string m_strHeld;         // the phrase in front of the last comma, as m_strPhrase

  bool m_bQuotesEnd = true;     // false: no quote is closed from here on
  bool m_bCommentsNest = true;  // false: a comment did not end; from here on ")" ends any
  bool m_bCommentsEnd = true;
  bool m_bInner = false;  // the text was an encoded word of another list
};

}  // namespace mail
