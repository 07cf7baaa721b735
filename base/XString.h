#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/DataBuffer.h"
#include "base/LibraryObject.h"
#include "base/StringBuffer.h"

namespace mail {

// A text that keeps up to three encodings of itself: UTF-8, the machine's ANSI code page, and
// UTF-16 in host order. A setter stores its form and drops the others; a getter converts on first
// use and keeps the result, which is why no getter is const.
//
// Conversion is that of EncodingConvert. It leaves out what the other form cannot hold, with one
// exception: the ANSI form of text that was set as UTF-16 has a "?" for each 16-bit unit that the
// page lacks, since such text is often a file name, and a name with a hole could be that of another
// file. A byte order mark at the start is no text and does not pass into another form; the mark of
// the other byte order, U+FFFE, says that the units behind it are the other way round.
//
// Nothing throws. False, or a form that is empty or ends early, for want of memory; an object whose
// validity word is wrong answers false or an empty text and does nothing.
class XString : public LibraryObject {
 public:
  static constexpr std::uint32_t kXStringValidityWord = 0xC8E20FF6;

  XString() = default;

  bool isValid() const { return m_xstringValidity.holds(); }

  bool setFromUtf8(std::string_view strUtf8);
  bool setFromAnsi(std::string_view strAnsi);
  bool setFromUtf16(std::u16string_view strUtf16);

  // Text that is all of one form stays in that form; else it goes on as UTF-8 (as UTF-16 if it was
  // set as that), so that nothing is lost to the ANSI page.
  bool appendUtf8(std::string_view strUtf8);
  bool appendAnsi(std::string_view strAnsi);
  bool appendUtf16(std::u16string_view strUtf16);
  bool append(XString& other);  // in the form in which the other was set

  // Good until the next change. A NUL stands behind each of them.
  const StringBuffer& utf8();
  const StringBuffer& ansi();
  std::u16string_view utf16();

  bool isEmpty() const { return bytesOf(m_nSource).empty(); }
  void clear();

 private:
  enum Form : std::uint8_t { kUtf8, kAnsi, kUtf16, kForms };

  bool setForm(Form nForm, std::string_view strBytes);
  bool appendForm(Form nForm, std::string_view strBytes);
  bool store(Form nForm, std::string_view strBytes);
  bool addTo(Form nForm, std::string_view strBytes);
  void makeForm(
      Form nForm);  // with pageOf in charset/XStringForms.cpp, where charsets are known
  static unsigned pageOf(Form nForm);
  void dropAllBut(Form nForm);  // nForm is what was set from now on
  std::string_view bytesOf(Form nForm) const;

  Validity<std::uint32_t, kXStringValidityWord> m_xstringValidity;
  StringBuffer m_strUtf8;
  StringBuffer m_strAnsi;
  DataBuffer m_arrUtf16;  // with a NUL unit at its end, or without any byte
  std::array<bool, kForms> m_aMade = {true, true, true};
  Form m_nSource = kUtf8;  // what was set, from which the others are made
};

}  // namespace mail
