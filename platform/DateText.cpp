#include <array>

#include "platform/COleDateTime.h"

namespace platform {
namespace {

bool IsDigit(char16_t ch) { return ch >= u'0' && ch <= u'9'; }

// Up to nMost digits at the front; false if there is none.
bool TakeNumber(std::u16string_view& str, size_t nMost, int& nValue) {
  size_t nDigits = 0;
  nValue = 0;
  while (nDigits < nMost && nDigits < str.size() && IsDigit(str[nDigits])) {
    nValue = nValue * 10 + (str[nDigits++] - u'0');
  }
  str.remove_prefix(nDigits);
  return nDigits > 0;
}

bool TakeUnit(std::u16string_view& str, std::u16string_view strOneOf) {
  if (str.empty() || strOneOf.find(str.front()) == std::u16string_view::npos) return false;
  str.remove_prefix(1);
  return true;
}

}  // namespace

COleDateTime ParseDateText(std::u16string_view strText) {
  CString strTrimmed(strText);
  std::u16string_view str = strTrimmed.Trim();
  std::array<int, 6> arrParts{};
  if (!TakeNumber(str, 4, arrParts[0]) || !TakeUnit(str, u"-") ||
      !TakeNumber(str, 2, arrParts[1]) || !TakeUnit(str, u"-") ||
      !TakeNumber(str, 2, arrParts[2])) {
    return COleDateTime::Invalid();
  }
  if (TakeUnit(str, u" T")) {
    if (!TakeNumber(str, 2, arrParts[3]) || !TakeUnit(str, u":") ||
        !TakeNumber(str, 2, arrParts[4])) {
      return COleDateTime::Invalid();
    }
    if (TakeUnit(str, u":") && !TakeNumber(str, 2, arrParts[5])) return COleDateTime::Invalid();
  }
  if (!str.empty()) return COleDateTime::Invalid();
  return {arrParts[0], arrParts[1], arrParts[2], arrParts[3], arrParts[4], arrParts[5]};
}

}  // namespace platform
