#include "body/rtf/DecimalPoint.h"

#include <vector>

namespace rtf {
namespace {

constexpr std::string_view kHardBlank = "&#160;";
constexpr std::size_t kGroup = 3;  // digits

bool IsDigit(char ch) { return ch >= '0' && ch <= '9'; }

// The bytes of the tag, the reference or the letter at the beginning of str. A picture is a tag to
// come, between two control characters.
std::size_t UnitLength(std::string_view str) {
  std::size_t nEnd = 0;
  if (str[0] == '<') nEnd = str.find('>');
  if (str[0] == '&') nEnd = str.find(';');
  if (str[0] == '\x01') nEnd = str.find('\x01', 1);
  return nEnd == std::string_view::npos ? str.size() : nEnd + 1;
}

// Finds where the fraction of the first number begins.
class NumberScanner {
 public:
  // False behind the number's end.
  bool Take(std::string_view strUnit, std::size_t nAt) {
    const char ch = strUnit.size() == 1 ? strUnit[0] : '\0';
    if (IsDigit(ch)) {
      m_bNumber = true;
      ++m_nDigits;
      m_nEnd = nAt + 1;
      return true;
    }
    if (!m_bNumber) return true;
    if (ch == '.' || ch == ',') {
      m_bSeveralKinds = m_bSeveralKinds || (m_chPoint != '\0' && m_chPoint != ch);
      m_chPoint = ch;
      m_nPoint = nAt;
      m_nDigits = 0;
    }
    return ch == '.' || ch == ',' || ch == ' ' || ch == '\'' || strUnit == kHardBlank;
  }
  std::size_t FractionAt(std::size_t nSize) const {
    if (!m_bNumber) return nSize;
    const bool bGroups = m_nDigits == kGroup && !m_bSeveralKinds;
    return m_chPoint == '\0' || m_nDigits == 0 || bGroups ? m_nEnd : m_nPoint;
  }

 private:
  bool m_bNumber = false;
  bool m_bSeveralKinds = false;  // of separators
  char m_chPoint = '\0';         // the last one
  std::size_t m_nPoint = 0;
  std::size_t m_nDigits = 0;  // behind it
  std::size_t m_nEnd = 0;     // of the number
};

std::string_view TagName(std::string_view strTag) {
  return strTag.substr(1, strTag.find_first_of(" >") - 1);
}

}  // namespace

DecimalHalves SplitAtDecimalPoint(std::string_view strHtml) {
  NumberScanner objScanner;
  for (std::size_t n = 0; n < strHtml.size();) {
    const std::string_view strUnit = strHtml.substr(n, UnitLength(strHtml.substr(n)));
    if (strUnit[0] != '<' && !objScanner.Take(strUnit, n)) break;
    n += strUnit.size();
  }
  const std::size_t nCut = objScanner.FractionAt(strHtml.size());
  std::vector<std::string_view> arrOpen;
  std::size_t nBefore = 0, nBehind = 0;  // letters
  for (std::size_t n = 0; n < strHtml.size();) {
    const std::string_view strUnit = strHtml.substr(n, UnitLength(strHtml.substr(n)));
    if (strUnit[0] != '<') ++(n < nCut ? nBefore : nBehind);
    if (strUnit[0] == '<' && n < nCut) {
      if (!strUnit.starts_with("</")) {
        arrOpen.push_back(strUnit);
      } else if (!arrOpen.empty()) {
        arrOpen.pop_back();
      }
    }
    n += strUnit.size();
  }
  if (nBehind == 0) return {std::string(strHtml), {}, 0};
  DecimalHalves objHalves{std::string(strHtml.substr(0, nCut)), {}, 0};
  for (const std::string_view strTag : arrOpen) objHalves.strFraction += strTag;
  for (; !arrOpen.empty(); arrOpen.pop_back()) {
    objHalves.strWhole.append("</").append(TagName(arrOpen.back())).append(">");
  }
  const bool bBlank = strHtml[nCut] == ' ';  // would vanish where a box begins
  if (bBlank) objHalves.strFraction += kHardBlank;
  objHalves.strFraction += strHtml.substr(nCut + (bBlank ? 1 : 0));
  objHalves.nFractionPart = nBehind * 100 / (nBefore + nBehind);
  return objHalves;
}

}  // namespace rtf
