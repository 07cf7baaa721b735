#include "mime/header/AddressText.h"

#include <algorithm>

#include "base/AsciiText.h"
#include "mime/header/EncodedWordMarks.h"

namespace mail::address_text {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool MayStandInLocalPart(char ch) {
  const char chLower = toLowerAscii(ch);
  return (chLower >= 'a' && chLower <= 'z') || (ch >= '0' && ch <= '9') ||
         std::string_view("!#$%&'*+-/=?^_`{|}~.").find(ch) != kNone;
}

bool HasAtSign(std::string_view strText) { return strText.find('@') != kNone; }

}  // namespace

bool isLocalAddress(std::string_view strPhrase) {
  return !strPhrase.empty() &&
         std::all_of(strPhrase.begin(), strPhrase.end(), MayStandInLocalPart) &&
         !hasEncodedWords(strPhrase);
}

std::string_view bare(std::string_view str) {
  str = trimmed(str);
  for (const std::string_view strScheme : {"mailto:", "smtp:"}) {
    if (beginsWithNoCase(str, strScheme)) str.remove_prefix(strScheme.size());
  }
  const auto nColon = str.starts_with('@') ? str.find(':') : kNone;
  if (nColon != kNone) str.remove_prefix(nColon + 1);  // a route
  const bool bQuoted =
      str.size() > 2 && str.front() == str.back() && (str.front() == '\'' || str.front() == '"');
  return trimmed(bQuoted ? str.substr(1, str.size() - 2) : str);
}

std::string addressIn(std::string_view strText) {
  const std::string_view strBare = bare(strText);
  const bool bWords =
      strBare.find(' ') != kNone && HasAtSign(strBare) && strBare.find('"') == kNone;
  if (!bWords) return std::string(strBare);
  const std::string strJoined = joinAtSigns(strBare);
  std::string_view strRest = strJoined;
  std::string_view strWord;
  do {
    strWord = takeWord(strRest);
  } while (!HasAtSign(strWord) && !strRest.empty());
  return std::string(strWord);
}

std::string joinAtSigns(std::string_view strPhrase) {
  std::string strJoined;
  for (const char ch : strPhrase) {
    if (ch == '@' && strJoined.ends_with(' ')) strJoined.pop_back();
    if (ch != ' ' || !strJoined.ends_with('@')) strJoined += ch;
  }
  return strJoined;
}

std::string_view takeWord(std::string_view& strRest) {
  const std::string_view strWord = strRest.substr(0, strRest.find(' '));
  strRest.remove_prefix(std::min(strWord.size() + 1, strRest.size()));
  return strWord;
}

bool holdsAddressesAlone(std::string_view strWords) {
  while (!strWords.empty()) {
    if (!HasAtSign(takeWord(strWords))) return false;
  }
  return true;
}

NameAndAddress nameAndAddress(std::string_view strWords) {
  NameAndAddress objFound;
  while (!strWords.empty()) {
    const std::string_view strWord = takeWord(strWords);
    if (HasAtSign(strWord)) {
      objFound.strAddress = strWord;
      continue;
    }
    if (!objFound.strName.empty()) objFound.strName += ' ';
    objFound.strName += strWord;
  }
  return objFound;
}

}  // namespace mail::address_text
