#pragma once

#include "base/XString.h"

// A text for the library's narrow interfaces. Narrow text, in and out, is in the machine's ANSI
// code page while Utf8 is false (as at the start) and UTF-8 while it is true. The flag says only
// how text is read and given out: what is held already is given out in the new form at once.
//
// A null pointer counts as the empty text. Returned pointers belong to the object and are good
// until its next change. Nothing throws; for want of memory texts come out empty.
class CkString {
 public:
  bool get_Utf8() const { return m_bUtf8; }
  void put_Utf8(bool bUtf8) { m_bUtf8 = bUtf8; }

  void setString(const char* pszText);
  void setStringU(const char16_t* pszText);  // UTF-16, up to its NUL
  void append(const char* pszText);
  void appendU(const char16_t* pszText);
  void clear() { m_strText.clear(); }

  // Text set as UTF-16 has a "?" in its ANSI form for each 16-bit unit that the page lacks; other
  // text leaves out what the other form cannot hold.
  const char* getString();
  const char* getUtf8() { return m_strText.utf8().getString(); }
  const char* getAnsi() { return m_strText.ansi().getString(); }
  const char16_t* getUnicode() { return m_strText.utf16().data(); }
  bool isEmpty() const { return m_strText.isEmpty(); }

  // The text itself, for the library's own use.
  mail::XString& text() { return m_strText; }

 private:
  mail::XString m_strText;
  bool m_bUtf8 = false;
};
