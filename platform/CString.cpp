#include "platform/CString.h"

#include <algorithm>

#include "platform/Unicode.h"

namespace {

bool IsSpaceUnit(char16_t ch) {
  if (ch < 0x80) return ch == u' ' || (ch >= u'\t' && ch <= u'\r');
  switch (ch) {
    case 0x0085:
    case 0x00A0:
    case 0x1680:
    case 0x180E:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000:
      return true;
    default:
      return ch >= 0x2000 && ch <= 0x200A;
  }
}

int PositionOf(size_t nPosition) {
  return nPosition == std::u16string::npos ? -1 : static_cast<int>(nPosition);
}

size_t CutToZero(int n) { return n > 0 ? static_cast<size_t>(n) : 0; }

}  // namespace

CString CString::FromUtf8(std::string_view strUtf8) {
  return CString(platform::Utf8ToUtf16(strUtf8));
}

std::string CString::ToUtf8() const { return platform::Utf16ToUtf8(m_str); }

void CString::Reserve(int nUnits) { m_str.reserve(CutToZero(nUnits)); }

CString CString::UpToNul() const { return CString(View().substr(0, m_str.find(u'\0'))); }

CString& CString::operator+=(char16_t ch) {
  m_str.push_back(ch);
  return *this;
}

CString& CString::Append(std::u16string_view str) {
  m_str.append(str);
  return *this;
}

int CString::Find(std::u16string_view strSub, int nStart) const {
  if (nStart < 0 || nStart > GetLength()) return -1;
  return PositionOf(m_str.find(strSub, static_cast<size_t>(nStart)));
}

int CString::Find(char16_t ch, int nStart) const {
  if (nStart < 0 || nStart > GetLength()) return -1;
  return PositionOf(m_str.find(ch, static_cast<size_t>(nStart)));
}

int CString::ReverseFind(char16_t ch) const { return PositionOf(m_str.rfind(ch)); }

int CString::FindOneOf(std::u16string_view strCharSet) const {
  return PositionOf(m_str.find_first_of(strCharSet));
}

CString CString::Mid(int nFirst) const { return Mid(nFirst, GetLength()); }

CString CString::Mid(int nFirst, int nCount) const {
  const size_t nFrom = std::min(CutToZero(nFirst), m_str.size());
  return CString(View().substr(nFrom, CutToZero(nCount)));
}

CString CString::Right(int nCount) const {
  const size_t nUnits = std::min(CutToZero(nCount), m_str.size());
  return CString(View().substr(m_str.size() - nUnits));
}

int CString::Replace(std::u16string_view strOld, std::u16string_view strNew) {
  if (strOld.empty()) return 0;
  size_t nHit = m_str.find(strOld);
  if (nHit == std::u16string::npos) return 0;
  std::u16string strResult;
  strResult.reserve(m_str.size());
  size_t nDone = 0;
  int nChanged = 0;
  for (; nHit != std::u16string::npos; nHit = m_str.find(strOld, nDone)) {
    strResult.append(m_str, nDone, nHit - nDone).append(strNew);
    nDone = nHit + strOld.size();
    ++nChanged;
  }
  strResult.append(m_str, nDone);
  m_str = std::move(strResult);
  return nChanged;
}

int CString::Replace(char16_t chOld, char16_t chNew) {
  if (chOld == chNew) return 0;
  int nChanged = 0;
  for (char16_t& ch : m_str) {
    if (ch != chOld) continue;
    ch = chNew;
    ++nChanged;
  }
  return nChanged;
}

int CString::Remove(char16_t chRemove) { return static_cast<int>(std::erase(m_str, chRemove)); }

int CString::Insert(int nIndex, std::u16string_view str) {
  m_str.insert(std::min(CutToZero(nIndex), m_str.size()), str);
  return GetLength();
}

int CString::Delete(int nIndex, int nCount) {
  const size_t nFrom = CutToZero(nIndex);
  if (nFrom < m_str.size()) m_str.erase(nFrom, CutToZero(nCount));
  return GetLength();
}

CString& CString::TrimLeft() {
  m_str.erase(m_str.begin(), std::find_if_not(m_str.begin(), m_str.end(), IsSpaceUnit));
  return *this;
}

CString& CString::TrimRight() {
  m_str.erase(std::find_if_not(m_str.rbegin(), m_str.rend(), IsSpaceUnit).base(), m_str.end());
  return *this;
}

CString& CString::Trim(char16_t ch) {
  m_str.erase(m_str.find_last_not_of(ch) + 1);
  m_str.erase(0, m_str.find_first_not_of(ch));
  return *this;
}

CString& CString::MakeUpper() {
  for (char16_t& ch : m_str) ch = platform::UpperUnit(ch);
  return *this;
}

CString& CString::MakeLower() {
  for (char16_t& ch : m_str) ch = platform::LowerUnit(ch);
  return *this;
}

int CString::CompareNoCase(std::u16string_view str) const {
  const size_t nCommon = std::min(m_str.size(), str.size());
  for (size_t i = 0; i < nCommon; ++i) {
    const int nDifference = platform::UpperUnit(m_str[i]) - platform::UpperUnit(str[i]);
    if (nDifference != 0) return nDifference;
  }
  if (m_str.size() == str.size()) return 0;
  return m_str.size() < str.size() ? -1 : 1;
}

CString operator+(const CString& a, std::u16string_view b) {
  std::u16string str;
  str.reserve(a.View().size() + b.size());
  str.append(a.View()).append(b);
  return CString(std::move(str));
}

CString operator+(const CString& a, const char16_t* b) {
  return a + (b ? std::u16string_view(b) : std::u16string_view());
}

CString operator+(const CString& a, const CString& b) { return a + b.View(); }

CString operator+(const char16_t* a, const CString& b) { return CString(a) + b.View(); }
