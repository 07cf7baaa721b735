#include "base/AsciiText.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace mail {
namespace {

constexpr std::size_t kNotFound = std::string_view::npos;

// Parts up to this length are compared at each place where their first letter stands; longer ones
// are searched by memmem in lower case, which stays linear for every text.
constexpr std::size_t kShortPart = 32;

std::string lowered(std::string_view strText) {
  std::string strLower(strText);
  std::transform(strLower.begin(), strLower.end(), strLower.begin(), toLowerAscii);
  return strLower;
}

std::size_t nextOf(std::string_view strText, char ch, std::size_t nFrom) {
  const void* pFound = memchr(strText.data() + nFrom, ch, strText.size() - nFrom);
  return pFound == nullptr ? kNotFound : static_cast<const char*>(pFound) - strText.data();
}

// Goes from one place of the part's first letter to the next; each of its two cases is looked for
// anew only when the place found before lies behind.
std::size_t findShort(std::string_view strText, std::string_view strPart, std::size_t nFrom) {
  const char chLower = toLowerAscii(strPart[0]);
  const char chUpper = isAsciiLetter(chLower) ? static_cast<char>(chLower - ('a' - 'A')) : chLower;
  const std::size_t nEnd = strText.size() - strPart.size() + 1;
  const std::string_view strStarts = strText.substr(0, nEnd);
  std::size_t nLower = nextOf(strStarts, chLower, nFrom);
  std::size_t nUpper = chUpper == chLower ? kNotFound : nextOf(strStarts, chUpper, nFrom);
  for (;;) {
    const std::size_t nAt = std::min(nLower, nUpper);
    if (nAt == kNotFound) return kNotFound;
    if (equalsNoCase(strText.substr(nAt, strPart.size()), strPart)) return nAt;
    if (nAt == nLower) nLower = nextOf(strStarts, chLower, nAt + 1);
    if (nAt == nUpper) nUpper = nextOf(strStarts, chUpper, nAt + 1);
  }
}

}  // namespace

bool equalsNoCase(std::string_view strLeft, std::string_view strRight) {
  return std::equal(strLeft.begin(), strLeft.end(), strRight.begin(), strRight.end(),
                    [](char x, char y) { return toLowerAscii(x) == toLowerAscii(y); });
}

bool beginsWithNoCase(std::string_view strText, std::string_view strPart) {
  return equalsNoCase(strText.substr(0, strPart.size()), strPart);
}

std::size_t findNoCase(std::string_view strText, std::string_view strPart, std::size_t nFrom) {
  if (nFrom > strText.size() || strPart.size() > strText.size() - nFrom) return kNotFound;
  if (strPart.empty()) return nFrom;
  if (strPart.size() <= kShortPart) return findShort(strText, strPart, nFrom);
  return findBytes(lowered(strText), lowered(strPart), nFrom);
}

std::size_t findBytes(std::string_view strText, std::string_view strPart, std::size_t nFrom) {
  if (nFrom > strText.size() || strPart.size() > strText.size() - nFrom) return kNotFound;
  if (strPart.empty()) return nFrom;
  const void* pFound =
      memmem(strText.data() + nFrom, strText.size() - nFrom, strPart.data(), strPart.size());
  return pFound == nullptr ? kNotFound : static_cast<const char*>(pFound) - strText.data();
}

std::string_view trimmed(std::string_view strText) {
  while (!strText.empty() && isAsciiSpace(strText.front())) strText.remove_prefix(1);
  while (!strText.empty() && isAsciiSpace(strText.back())) strText.remove_suffix(1);
  return strText;
}

std::string_view trimmedWithNuls(std::string_view strText) {
  strText = trimmed(strText);
  while (!strText.empty() && (strText.back() == '\0' || isAsciiSpace(strText.back()))) {
    strText.remove_suffix(1);
  }
  return strText;
}

}  // namespace mail
