#pragma once

#include <string>
#include <string_view>

// A counted string of 16-bit units (UTF-16, possibly ill-formed), with the method names of the
// framework that the engine's classes were first written for. It may hold NUL units anywhere;
// lengths and positions are counted in units from 0, and a search that finds nothing gives -1.
// Positions and counts outside the text are cut to it, as the framework does; operator[] and GetAt
// want a position inside it.
class CString {
 public:
  CString() = default;
  CString(const char16_t* psz) : m_str(psz ? psz : u"") {}  // NOLINT: implicit by design
  CString(std::u16string_view str) : m_str(str) {}          // NOLINT: implicit by design
  CString(std::u16string str) : m_str(std::move(str)) {}    // NOLINT: implicit by design
  explicit CString(char16_t ch, int nRepeat = 1)
      : m_str(nRepeat > 0 ? static_cast<size_t>(nRepeat) : 0, ch) {}

  // UTF-8 both ways. What is ill-formed becomes U+FFFD; neither throws.
  static CString FromUtf8(std::string_view strUtf8);
  std::string ToUtf8() const;

  int GetLength() const { return static_cast<int>(m_str.size()); }
  bool IsEmpty() const { return m_str.empty(); }
  void Empty() { m_str.clear(); }
  char16_t GetAt(int nIndex) const { return m_str[static_cast<size_t>(nIndex)]; }
  char16_t operator[](int nIndex) const { return GetAt(nIndex); }
  void SetAt(int nIndex, char16_t ch) { m_str[static_cast<size_t>(nIndex)] = ch; }
  void Reserve(int nUnits);

  // Views stay good until the string changes or ends.
  std::u16string_view View() const { return m_str; }
  operator std::u16string_view() const { return m_str; }  // NOLINT: implicit by design
  const char16_t* GetString() const { return m_str.c_str(); }

  // What a reader of terminated strings sees: the text up to the first NUL unit.
  CString UpToNul() const;

  CString& operator+=(std::u16string_view str) { return Append(str); }
  CString& operator+=(char16_t ch);
  CString& Append(std::u16string_view str);

  // Returns the position of the first occurrence at or after nStart, or -1. An empty strSub is
  // found at nStart. nStart outside the text finds nothing.
  int Find(std::u16string_view strSub, int nStart = 0) const;
  int Find(char16_t ch, int nStart = 0) const;
  int ReverseFind(char16_t ch) const;
  int FindOneOf(std::u16string_view strCharSet) const;
  bool Contains(std::u16string_view strSub) const { return Find(strSub) >= 0; }

  CString Mid(int nFirst) const;
  CString Mid(int nFirst, int nCount) const;
  CString Left(int nCount) const { return Mid(0, nCount); }
  CString Right(int nCount) const;

  // Each returns the number of places changed. Replace goes from left to right, in linear time, and
  // does not look at what it has put in; an empty strOld changes nothing.
  int Replace(std::u16string_view strOld, std::u16string_view strNew);
  int Replace(char16_t chOld, char16_t chNew);
  int Remove(char16_t chRemove);
  int Insert(int nIndex, std::u16string_view str);  // Returns the new length.
  int Delete(int nIndex, int nCount = 1);           // Returns the new length.

  // White space is what the framework's character tables call so: U+0009 to U+000D, U+0020, U+0085,
  // U+00A0, U+1680, U+180E, U+2000 to U+200A, U+2028, U+2029, U+202F, U+205F, U+3000.
  CString& Trim() { return TrimRight().TrimLeft(); }
  CString& TrimLeft();
  CString& TrimRight();
  CString& Trim(char16_t ch);

  // One unit to one unit, whatever the locale (see platform/Unicode.h).
  CString& MakeUpper();
  CString& MakeLower();

  // By unit value; below, equal or above 0. CompareNoCase compares the upper-case forms.
  int Compare(std::u16string_view str) const { return View().compare(str); }
  int CompareNoCase(std::u16string_view str) const;

  friend bool operator==(const CString& a, const CString& b) { return a.m_str == b.m_str; }
  friend bool operator==(const CString& a, std::u16string_view b) { return a.View() == b; }
  friend bool operator==(const CString& a, const char16_t* b) { return a.View() == b; }
  friend auto operator<=>(const CString& a, const CString& b) { return a.m_str <=> b.m_str; }

 private:
  std::u16string m_str;
};

CString operator+(const CString& a, std::u16string_view b);
CString operator+(const CString& a, const char16_t* b);
CString operator+(const CString& a, const CString& b);
CString operator+(const char16_t* a, const CString& b);
