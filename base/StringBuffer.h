#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/LibraryObject.h"

namespace mail {

template <class T>
class ExtPtrArrayOf;
class StringBuffer;
using ExtPtrArraySb = ExtPtrArrayOf<StringBuffer>;

// A byte string with a length, always followed by a NUL. Bytes are of any encoding; UTF-8 unless
// the owner says otherwise. Lengths and positions are in bytes.
//
// Text of up to kInlineBytes lives inside the object; longer text on the heap, whose
// capacity becomes the needed length + grow step + 1; the step is half the capacity after that, up
// to kMaxGrowStep. Inner NULs are kept, NULs at the end are not: a length never counts a trailing
// NUL.
//
// Nothing throws. What cannot be done for want of memory (or past 4 GiB) returns false and leaves
// the text as it was; an object whose validity byte is wrong answers false, 0 or "" and does
// nothing. Arguments may lie inside the buffer's own text.
class StringBuffer : public LibraryObject {
 public:
  static constexpr std::uint8_t kValidityByte = 0xAA;
  static constexpr std::uint32_t kInlineBytes = 81;      // without the NUL
  static constexpr std::uint32_t kFirstGrowStep = 200;   // bytes
  static constexpr std::uint32_t kMaxGrowStep = 500000;  // bytes
  static constexpr std::size_t kMaxReplaceChars = 5;

  StringBuffer() { m_aInline[0] = '\0'; }
  explicit StringBuffer(std::string_view strText) : StringBuffer() { (void)append(strText); }
  StringBuffer(const StringBuffer& other);  // empty if memory is short
  StringBuffer(StringBuffer&& other) noexcept;
  StringBuffer& operator=(const StringBuffer& other);  // empty if memory is short
  StringBuffer& operator=(StringBuffer&& other) noexcept;
  ~StringBuffer() override;

  bool isValid() const { return m_validity.holds(); }

  // --- Adding and setting. ---
  bool append(const char* pszText);  // up to its NUL; null adds nothing, true
  bool append(std::string_view strBytes);
  bool append(const StringBuffer& other);
  bool appendN(const void* pBytes, std::size_t nBytes);  // null or 0 bytes add nothing, true
  bool appendChar(char ch);                              // a NUL adds nothing, true
  bool setString(std::string_view strBytes);
  // Makes room for that many further bytes without changing the text.
  bool reserve(std::size_t nExtra);
  // The same, and returns where they begin, for a producer that writes in place and then says with
  // commit how many it wrote (at most nExtra). Null on failure. Good until the next change.
  char* prepare(std::size_t nExtra);
  void commit(std::size_t nWritten);

  // Empties the text and frees the heap storage.
  void clear();
  // Empties the text and keeps the storage.
  void weakClear();

  // --- Reading. The pointer and the view are good until the next change. ---
  std::uint32_t getSize() const { return isValid() ? m_nLength : 0; }
  bool isEmpty() const { return getSize() == 0; }
  const char* getString() const { return isValid() ? m_pText : ""; }
  std::string_view view() const { return {getString(), getSize()}; }
  char lastChar() const { return getSize() != 0 ? m_pText[m_nLength - 1] : '\0'; }
  std::uint32_t capacity() const { return m_nCapacity; }  // bytes, the NUL's place among them
  bool isInline() const { return m_pHeap == nullptr; }

  // --- Comparing. Without case means that ASCII letters of both cases are equal. ---
  bool equals(std::string_view strOther) const { return view() == strOther; }
  bool equalsIgnoreCase(std::string_view strOther) const;  // true when equal
  bool contains(std::string_view strPart) const;           // the empty part is in every text
  bool containsIgnoreCase(std::string_view strPart) const;
  bool beginsWith(std::string_view strPart) const { return view().starts_with(strPart); }
  bool beginsWithIgnoreCase(std::string_view strPart) const;
  bool endsWith(std::string_view strPart) const { return view().ends_with(strPart); }

  // --- Changing. ---
  // Replaces from the left, not inside what was put in; returns how often. An empty part, and a
  // want of memory, give 0 and no change.
  std::uint32_t replaceAll(std::string_view strPart, std::string_view strNew);
  // Removes the first part found; false if there is none.
  bool removeFirst(std::string_view strPart);
  // Each of up to kMaxReplaceChars characters becomes ch; further ones are ignored.
  void replaceAnyOf(std::string_view strChars, char ch);
  void removeChar(char ch);
  void trim();         // blank, tab, CR and LF at both ends
  bool toCrLf();       // every CR LF, lone CR and lone LF becomes CR LF
  void toLowerCase();  // ASCII letters alone, so that UTF-8 stays UTF-8
  // And the Latin-1 capitals 0xC0 to 0xDF, but for one that leads a two-byte character of UTF-8.
  void toLowerCaseLatin1();
  void chop(std::size_t nBytes);  // at the end; all of the text if it is shorter
  // The named entities of HTML in UTF-8 text become their characters, see html/NamedEntities.h,
  // where this is defined.
  bool decodeNamedEntities();

  // Adds each line, without its end (CR LF, lone CR or lone LF), to arrLines; a line end at the end
  // of the text begins no further line. Text behind nMaxLines lines is passed over. False for want
  // of memory.
  bool splitLines(ExtPtrArraySb& arrLines, std::size_t nMaxLines) const;

 private:
  bool growTo(std::uint32_t nNeeded);
  bool appendRaw(std::string_view strBytes);  // keeps NULs at the end; its bytes must not move
  bool isOwn(const char* pBytes) const;
  void setLength(std::uint32_t nLength);
  void takeOver(StringBuffer& other) noexcept;

  Validity<std::uint8_t, kValidityByte> m_validity;
  char* m_pText = m_aInline;
  char m_aInline[kInlineBytes + 1];
  char* m_pHeap = nullptr;  // null while inline; from Reallocate
  std::uint32_t m_nCapacity = kInlineBytes + 1;
  std::uint32_t m_nLength = 0;
  std::uint32_t m_nGrowStep = kFirstGrowStep;
};

}  // namespace mail
