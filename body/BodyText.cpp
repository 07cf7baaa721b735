#include "body/BodyText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "base/AsciiText.h"
#include "charset/WideText.h"
#include "html/PageCharset.h"
#include "html/WholeText.h"
#include "platform/NarrowText.h"
#include "platform/Unicode.h"

// Work files hold 16-bit text, the lower half of each unit first, and no mark; some drivers write
// narrow text all the same. What tells the two apart:
//
//   NULs        are the upper halves of Latin letters, blanks and line ends. Text without any is
//               narrow, or a run of signs such as "你好", whose bytes are "`O}Y".
//   blanks and  fall upon upper halves in narrow text ("to the" is U+6F74 U+7420 U+6568, and a
//   line ends   CR LF always does). As such they belong to currency signs and the like, which
//               hardly a text has, and to alphabets, of which a word has nothing else.
//   odd length  is that of narrow text.
//   ASCII       is nearly all of a narrow page, or of a text in Latin letters; of sixteen bits of
//               ideographs half, for each byte has its own range, and of kana the upper half is
//               always the same sign.
//   UTF-8       is seldom valid by chance.
namespace {

enum class Half : std::size_t { kLower, kUpper };

char16_t UnitAt(std::string_view strBytes, std::size_t nUnit, Half eFirst) {
  const auto at = [&](Half eHalf) {
    const std::size_t nByte = 2 * nUnit + (eHalf == eFirst ? 0 : 1);
    return static_cast<unsigned char>(strBytes[nByte]);
  };
  return static_cast<char16_t>(at(Half::kLower) | at(Half::kUpper) << 8);
}

CString FromUnits(std::string_view strBytes, Half eFirst) {
  std::u16string strUnits(strBytes.size() / 2, u'\0');
  for (std::size_t n = 0; n < strUnits.size(); ++n) strUnits[n] = UnitAt(strBytes, n, eFirst);
  return CString(std::move(strUnits));
}

// Whether the upper half of a unit is a blank, tab or line end, and the unit no sign that texts
// have: U+2000 to U+203F are dashes, quotes and dots.
bool IsSplitWord(char16_t chUnit) {
  constexpr char16_t kEuro = u'\u20AC';
  const int nUpper = chUnit >> 8;
  if (nUpper == ' ') return chUnit >= u'\u2040' && chUnit != kEuro;
  return nUpper == '\t' || nUpper == '\n' || nUpper == '\r';
}

// Whether half the units or more have one upper half, as those of an alphabet do.
bool IsOfOneAlphabet(std::string_view strBytes) {
  std::array<std::size_t, 256> arrCounts{};
  for (std::size_t n = 1; n < strBytes.size(); n += 2) {
    ++arrCounts[static_cast<unsigned char>(strBytes[n])];
  }
  return *std::ranges::max_element(arrCounts) * 4 >= strBytes.size();
}

bool IsAsciiText(char ch) { return (ch >= ' ' && ch <= '~') || mail::isAsciiSpace(ch); }
bool IsOfWord(char ch) {
  constexpr std::string_view kOthers = "0123456789 .,!?'-";
  return mail::isAsciiLetter(ch) || kOthers.find(ch) != std::string_view::npos;
}

bool LooksNarrow(std::string_view strBytes) {
  constexpr std::size_t kShort = 8, kLong = 32;  // bytes
  if (strBytes.size() < 6 || IsOfOneAlphabet(strBytes)) return false;
  if (strBytes.size() < kShort) return std::ranges::all_of(strBytes, IsOfWord);
  if (strBytes.size() >= kShort + 4 && platform::IsValidUtf8(strBytes)) return true;
  const auto nText = static_cast<std::size_t>(std::ranges::count_if(strBytes, IsAsciiText));
  return strBytes.size() < kLong ? nText * 16 >= strBytes.size() * 15
                                 : nText * 8 >= strBytes.size() * 7;
}

bool IsNarrow(std::string_view strBytes) {
  if (strBytes.find('\0') != std::string_view::npos) return false;
  const std::size_t nUnits = strBytes.size() / 2;
  if (strBytes.size() % 2 != 0) return true;
  std::size_t nSplit = 0;
  for (std::size_t n = 0; n < nUnits; ++n) nSplit += IsSplitWord(UnitAt(strBytes, n, Half::kLower));
  return (nSplit > 0 && nSplit <= nUnits / 2) || LooksNarrow(strBytes);
}

}  // namespace

CString BodyText(std::string_view strBytes) {
  constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
  if (strBytes.starts_with("\xFF\xFE")) return FromUnits(strBytes.substr(2), Half::kLower);
  if (strBytes.starts_with("\xFE\xFF")) return FromUnits(strBytes.substr(2), Half::kUpper);
  const bool bMarked = strBytes.starts_with(kUtf8Mark);
  if (bMarked) strBytes.remove_prefix(kUtf8Mark.size());
  if (!bMarked && !IsNarrow(strBytes)) return FromUnits(strBytes, Half::kLower);
  return platform::IsValidUtf8(strBytes) ? CString::FromUtf8(strBytes)
                                         : CString(platform::NarrowToWide(strBytes));
}

CString PageText(std::string_view strBytes) {
  // Tags in sixteen bits show in their NULs; a text without any goes by what all texts do.
  const bool bShows = mail::wideTextPage(strBytes) != 0 || mail::charsetOfMeta(strBytes) != 0;
  if (!bShows && !IsNarrow(strBytes)) return BodyText(strBytes);
  return CString::FromUtf8(mail::pageAsUtf8(strBytes, platform::AnsiCodePage()));
}

CString InLines(const CString& strText) {
  std::u16string strLines;
  strLines.reserve(strText.View().size() + 2);
  for (std::u16string_view strRest = strText.View(); !strRest.empty();) {
    const std::size_t nEnd = strRest.find(u'\n');
    std::u16string_view strLine = strRest.substr(0, nEnd);
    strRest.remove_prefix(nEnd == strRest.npos ? strRest.size() : nEnd + 1);
    if (strLine.ends_with(u'\r')) strLine.remove_suffix(1);
    strLines.append(strLine).append(u"\r\n");
  }
  return CString(std::move(strLines));
}

bool ShowsNothing(std::string_view strHtml) {
  if (mail::findNoCase(strHtml, "<img") != std::string_view::npos) return false;
  return CString::FromUtf8(mail::wholeText(std::string(strHtml))).Trim().IsEmpty();
}
