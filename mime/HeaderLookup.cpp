#include "mime/HeaderLookup.h"

#include <algorithm>

namespace mime {
namespace {

bool IsBlank(char ch) { return ch == ' ' || ch == '\t'; }

// Takes the next line, without its end, off the front of the text.
std::string_view TakeLine(std::string_view& strText) {
  const size_t nEnd = strText.find('\n');
  std::string_view strLine = strText.substr(0, nEnd);
  strText.remove_prefix(nEnd == std::string_view::npos ? strText.size() : nEnd + 1);
  if (strLine.ends_with('\r')) strLine.remove_suffix(1);
  return strLine;
}

std::string_view Trim(std::string_view str) {
  while (!str.empty() && IsBlank(str.front())) str.remove_prefix(1);
  while (!str.empty() && IsBlank(str.back())) str.remove_suffix(1);
  return str;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  const auto fnLower = [](char ch) {
    return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch | 0x20) : ch;
  };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return fnLower(x) == fnLower(y); });
}

}  // namespace

std::optional<std::string> FindHeader(std::string_view strMessage, std::string_view strName) {
  while (!strMessage.empty()) {
    const std::string_view strLine = TakeLine(strMessage);
    if (strLine.empty()) return std::nullopt;
    const size_t nColon = strLine.find(':');
    if (nColon == std::string_view::npos || IsBlank(strLine.front())) continue;
    if (!EqualNoCase(Trim(strLine.substr(0, nColon)), strName)) continue;
    std::string strValue(strLine.substr(nColon + 1));
    while (!strMessage.empty() && IsBlank(strMessage.front())) strValue += TakeLine(strMessage);
    return std::string(Trim(strValue));
  }
  return std::nullopt;
}

}  // namespace mime
