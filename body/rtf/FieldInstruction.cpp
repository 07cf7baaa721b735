#include "body/rtf/FieldInstruction.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "platform/Unicode.h"

namespace rtf {
namespace {

constexpr std::size_t kMostTarget = 8192;  // units
constexpr std::size_t kMostWords = 64;

// Links that run something in the reader's program instead of leading somewhere.
constexpr std::array<std::u16string_view, 2> kScripts = {u"JAVASCRIPT:", u"VBSCRIPT:"};

bool IsBlank(char16_t ch) { return ch <= u' ' || ch == 0xA0; }
bool IsQuote(char16_t ch) { return ch == u'"' || ch == 0x201C || ch == 0x201D; }

// Inside quotes a backslash stands before a quote or another backslash.
std::u16string TakeQuoted(std::u16string_view str, std::size_t& n) {
  std::u16string strWord;
  for (++n; n < str.size() && !IsQuote(str[n]); ++n) {
    const bool bEscape =
        str[n] == u'\\' && n + 1 < str.size() && (str[n + 1] == u'\\' || IsQuote(str[n + 1]));
    if (bEscape) ++n;
    strWord += str[n];
  }
  if (n < str.size()) ++n;
  return strWord;
}

struct Argument {
  std::u16string strText;
  bool bSwitch = false;  // \l and its like
};

std::vector<Argument> SplitArguments(std::u16string_view str) {
  std::vector<Argument> arrWords;
  for (std::size_t n = 0; n < str.size() && arrWords.size() < kMostWords;) {
    if (IsBlank(str[n])) {
      ++n;
    } else if (IsQuote(str[n])) {
      arrWords.push_back({TakeQuoted(str, n)});
    } else {
      const std::size_t nStart = n;
      while (n < str.size() && !IsBlank(str[n]) && !IsQuote(str[n])) ++n;
      const std::u16string strWord(str.substr(nStart, n - nStart));
      arrWords.push_back({strWord, strWord.size() == 2 && strWord[0] == u'\\'});
    }
  }
  return arrWords;
}

// The argument of a switch, which is no switch itself.
std::optional<std::u16string> ArgumentOf(const std::vector<Argument>& arrWords, char16_t chSwitch) {
  for (std::size_t n = 1; n + 1 < arrWords.size(); ++n) {
    const bool bThis = arrWords[n].bSwitch && arrWords[n].strText[1] == chSwitch;
    if (bThis && !arrWords[n + 1].bSwitch) return arrWords[n + 1].strText;
  }
  return std::nullopt;
}

bool IsScript(std::u16string_view strTarget) {
  std::u16string strStart;
  for (const char16_t ch : strTarget) {
    if (!IsBlank(ch)) strStart += platform::UpperUnit(ch);
    if (strStart.size() > 16) break;
  }
  return std::ranges::any_of(
      kScripts, [&](std::u16string_view strScript) { return strStart.starts_with(strScript); });
}

std::u16string LinkTarget(const std::vector<Argument>& arrWords) {
  std::u16string strTarget;
  if (arrWords.size() > 1 && !arrWords[1].bSwitch) strTarget = arrWords[1].strText;
  if (const auto strPlace = ArgumentOf(arrWords, u'l')) strTarget += u'#' + *strPlace;
  if (IsScript(strTarget) || strTarget.size() > kMostTarget) strTarget.clear();
  return strTarget;
}

char32_t ToNumber(std::u16string_view str) {
  const bool bHex = str.starts_with(u"0x") || str.starts_with(u"0X");
  char32_t nNumber = 0;
  for (const char16_t ch : str.substr(bHex ? 2 : 0, 6)) {
    const char16_t chUpper = platform::UpperUnit(ch);
    const char16_t chZero = chUpper >= u'A' ? u'A' - 10 : u'0';
    const unsigned nDigit = static_cast<unsigned>(chUpper) - chZero;
    if (nDigit >= (bHex ? 16U : 10U)) break;
    nNumber = nNumber * (bHex ? 16 : 10) + nDigit;
  }
  return nNumber;
}

}  // namespace

FieldInstruction ParseFieldInstruction(std::u16string_view strInstruction) {
  const std::vector<Argument> arrWords = SplitArguments(strInstruction);
  FieldInstruction objField;
  if (arrWords.empty()) return objField;
  const std::u16string strName = platform::UpperUnits(arrWords[0].strText);
  if (strName == u"HYPERLINK") {
    objField.eKind = FieldInstruction::Kind::kLink;
    objField.strTarget = LinkTarget(arrWords);
  } else if (strName == u"INCLUDEPICTURE" && arrWords.size() > 1) {
    objField.eKind = FieldInstruction::Kind::kPicture;
    objField.strTarget = LinkTarget(arrWords);
  } else if (strName == u"SYMBOL" && arrWords.size() > 1) {
    objField.eKind = FieldInstruction::Kind::kSymbol;
    objField.chSymbol = ToNumber(arrWords[1].strText);
    objField.strFont = ArgumentOf(arrWords, u'f').value_or(u"");
  }
  return objField;
}

}  // namespace rtf
