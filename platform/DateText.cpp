#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <vector>

#include "platform/COleDateTime.h"
#include "platform/DateNames.h"
#include "platform/Unicode.h"

// Two readings of a text, tried one after the other:
//
// 1. ISO 8601, extended or basic: 2024-03-31, 2024-03-31T13:05, 20240331T130500Z. With a zone, the
//    instant is told in local time. A blank may stand for the T.
// 2. The user's own: a date, a time or both in either order, parted by blanks. A date has three
//    parts or two: numbers, or numbers and the name of a month. A time is 13:05, 13:05:09 or 1:05
//    PM.
//
// The parts are tried in the order of the locale first, then with day and month changing places,
// then with the year at the other end, and the first that is a date of the calendar counts: in
// en-US 3/4/2024 is 4 March, 13/4/2024 is 13 April and 30/4/5 is 30 April 2005. Of two parts, day
// and month are of this year, month and year mean the first day: 3/15, 3/2024, Mar 5, Mar 2024.
// What stands behind a number in Chinese, Japanese and Korean fixes its place.
namespace platform {
namespace {

constexpr size_t kLongestText = 200;  // units; no date is that long
constexpr int kPivot = 30;            // two-digit years below it are of this century

bool IsDigit(char16_t ch) { return ch >= u'0' && ch <= u'9'; }

// The last two are the blanks that locales put in front of AM and PM.
bool IsBlank(char16_t ch) { return ch == u' ' || ch == u'\t' || ch == 0x00A0 || ch == 0x202F; }

bool IsPunctuation(char16_t ch) { return ch == u'/' || ch == u'-' || ch == u'.' || ch == u','; }

bool TakeUnit(std::u16string_view& str, std::u16string_view strOneOf) {
  if (str.empty() || strOneOf.find(str.front()) == std::u16string_view::npos) return false;
  str.remove_prefix(1);
  return true;
}

struct Number {
  int nValue = 0;
  size_t nDigits = 0;
};

// All digits at the front, four at most.
std::optional<Number> TakeNumber(std::u16string_view& str) {
  Number objNumber;
  while (objNumber.nDigits < str.size() && IsDigit(str[objNumber.nDigits])) {
    if (objNumber.nDigits == 4) return std::nullopt;
    objNumber.nValue = objNumber.nValue * 10 + (str[objNumber.nDigits++] - u'0');
  }
  str.remove_prefix(objNumber.nDigits);
  return objNumber.nDigits > 0 ? std::optional(objNumber) : std::nullopt;
}

bool TakeDigits(std::u16string_view& str, size_t nDigits, int& nValue) {
  if (str.size() < nDigits) return false;
  std::u16string_view strDigits = str.substr(0, nDigits);
  const auto objNumber = TakeNumber(strDigits);
  if (!objNumber || objNumber->nDigits != nDigits) return false;
  nValue = objNumber->nValue;
  str.remove_prefix(nDigits);
  return true;
}

size_t TakeBlanks(std::u16string_view& str) {
  size_t nBlanks = 0;
  while (nBlanks < str.size() && IsBlank(str[nBlanks])) ++nBlanks;
  str.remove_prefix(nBlanks);
  return nBlanks;
}

// The longest name that stands at the front and is no part of a longer word.
std::optional<int> TakeName(std::u16string_view& str,
                            const std::vector<DateNames::Name>& arrNames) {
  for (const DateNames::Name& objName : arrNames) {
    const size_t nUnits = objName.strUpper.size();
    if (!EqualNoCase(str.substr(0, nUnits), objName.strUpper)) continue;
    if (str.size() > nUnits && u_isalpha(str[nUnits])) continue;
    str.remove_prefix(nUnits);
    return objName.nValue;
  }
  return std::nullopt;
}

struct Date {
  int nYear = 1899;  // of a time alone: day 0
  int nMonth = 12;
  int nDay = 30;
};

struct Time {
  int nHour = 0;
  int nMinute = 0;
  int nSecond = 0;
};

COleDateTime Join(const Date& objDate, const Time& objTime) {
  return {objDate.nYear, objDate.nMonth,  objDate.nDay,
          objTime.nHour, objTime.nMinute, objTime.nSecond};
}

// ---- ISO 8601

bool TakeIsoTime(std::u16string_view& str, bool bExtended, Time& objTime) {
  if (!TakeDigits(str, 2, objTime.nHour)) return false;
  if (bExtended && !TakeUnit(str, u":")) return false;
  if (!TakeDigits(str, 2, objTime.nMinute)) return false;
  const bool bSeconds = bExtended ? TakeUnit(str, u":") : !str.empty() && IsDigit(str.front());
  if (!bSeconds) return true;
  if (!TakeDigits(str, 2, objTime.nSecond)) return false;
  if (!TakeUnit(str, u".,")) return true;
  if (str.empty() || !IsDigit(str.front())) return false;
  while (!str.empty() && IsDigit(str.front())) str.remove_prefix(1);  // whole seconds count
  return true;
}

// The zone's offset in seconds east, if one stands there.
bool TakeIsoZone(std::u16string_view& str, std::optional<int>& nOffset) {
  if (str.empty()) return true;
  if (TakeUnit(str, u"Zz")) {
    nOffset = 0;
    return true;
  }
  const int nSign = str.front() == u'-' ? -1 : 1;
  int nHours = 0;
  int nMinutes = 0;
  if (!TakeUnit(str, u"+-") || !TakeDigits(str, 2, nHours)) return false;
  const bool bColon = TakeUnit(str, u":");
  if ((bColon || !str.empty()) && !TakeDigits(str, 2, nMinutes)) return false;
  if (nHours > 23 || nMinutes > 59) return false;
  nOffset = nSign * (nHours * 3600 + nMinutes * 60);
  return true;
}

COleDateTime InLocalTime(const COleDateTime& dt, int nOffset) {
  std::tm objTime{};
  objTime.tm_year = dt.GetYear() - 1900;
  objTime.tm_mon = dt.GetMonth() - 1;
  objTime.tm_mday = dt.GetDay();
  objTime.tm_hour = dt.GetHour();
  objTime.tm_min = dt.GetMinute();
  objTime.tm_sec = dt.GetSecond();
  return UtcSecondsToLocal(timegm(&objTime) - nOffset);
}

std::optional<COleDateTime> ParseIso(std::u16string_view str) {
  Date objDate;
  if (!TakeDigits(str, 4, objDate.nYear)) return std::nullopt;
  const bool bExtended = TakeUnit(str, u"-");
  if (!TakeDigits(str, 2, objDate.nMonth)) return std::nullopt;
  if (bExtended && !TakeUnit(str, u"-")) return std::nullopt;
  if (!TakeDigits(str, 2, objDate.nDay)) return std::nullopt;
  Time objTime;
  std::optional<int> nOffset;
  if (TakeUnit(str, u"Tt ") &&
      (!TakeIsoTime(str, bExtended, objTime) || !TakeIsoZone(str, nOffset))) {
    return std::nullopt;
  }
  if (!str.empty()) return std::nullopt;
  const COleDateTime dt = Join(objDate, objTime);
  return nOffset && dt.GetStatus() == COleDateTime::valid ? InLocalTime(dt, *nOffset) : dt;
}

// ---- The user's own way

struct DatePart {
  Number objNumber;
  char chLetter = '\0';  // 'Y', 'M' or 'D' where it can be nothing else
  bool bMarked =
      false;  // by what stands behind it, so that nothing else need part it from the next
};
using DateParts = std::vector<DatePart>;

char LetterOfMark(char16_t ch) {
  constexpr std::u16string_view kMarks = u"\u5E74\uB144\u6708\uC6D4\u65E5\uC77C";
  const size_t nAt = kMarks.find(ch);
  return nAt == kMarks.npos ? '\0' : "YMD"[nAt / 2];
}

std::optional<DatePart> TakeMarkedNumber(std::u16string_view& str) {
  std::u16string_view strAhead = str;
  const auto objNumber = TakeNumber(strAhead);
  const char chLetter = objNumber && !strAhead.empty() ? LetterOfMark(strAhead.front()) : '\0';
  if (chLetter == '\0') return std::nullopt;
  strAhead.remove_prefix(1);
  str = strAhead;
  return DatePart{*objNumber, chLetter, /*bMarked=*/true};
}

std::optional<DatePart> TakeDatePart(std::u16string_view& str, const DateNames& objNames) {
  if (const auto objMarked = TakeMarkedNumber(str)) return objMarked;
  if (const auto nMonth = TakeName(str, objNames.arrMonths)) {
    // The dot of a short name, when something else parts it from what follows.
    const bool bDot =
        str.size() > 1 && str[0] == u'.' && (IsBlank(str[1]) || IsPunctuation(str[1]));
    if (bDot) str.remove_prefix(1);
    return DatePart{{*nMonth, 2}, 'M'};
  }
  const auto objNumber = TakeNumber(str);
  return objNumber ? std::optional(DatePart{*objNumber}) : std::nullopt;
}

// What parts two parts of a date: one punctuation mark with blanks around it, or blanks alone (told
// as a blank); 0 if neither is there.
char16_t TakeDateBreak(std::u16string_view& str) {
  const size_t nBlanks = TakeBlanks(str);
  if (str.empty() || !IsPunctuation(str.front())) return nBlanks > 0 ? u' ' : u'\0';
  const char16_t ch = str.front();
  str.remove_prefix(1);
  TakeBlanks(str);
  return ch;
}

int YearOf(const Number& objNumber) {
  if (objNumber.nDigits > 2) return objNumber.nValue;
  return objNumber.nValue + (objNumber.nValue < kPivot ? 2000 : 1900);
}

// The orders that are tried for the parts of a date, by the locale's own. Those behind the bar are
// for dates with a named or marked part alone.
struct PartOrders {
  std::string_view strLocale;
  std::string_view strThree;
  std::string_view strTwo;
};
constexpr std::array<PartOrders, 3> kOrders{{
    {"MDY", "MDY DMY YMD YDM|MYD DYM", "MD DM MY YM"},
    {"DMY", "DMY MDY YMD YDM|DYM MYD", "DM MD MY YM"},
    {"YMD", "YMD YDM MDY DMY|MYD DYM", "MD DM YM MY"},
}};

// The date of parts that stand in the order of the letters; nothing where that is none.
std::optional<Date> DateOfParts(const DateParts& arrParts, std::string_view strOrder) {
  Date objDate{COleDateTime::GetCurrentTime().GetYear(), 1, 1};
  for (size_t i = 0; i < strOrder.size(); ++i) {
    const DatePart& objPart = arrParts[i];
    if (objPart.chLetter != '\0' && objPart.chLetter != strOrder[i]) return std::nullopt;
    if (strOrder[i] == 'Y') {
      objDate.nYear = YearOf(objPart.objNumber);
    } else {
      if (objPart.objNumber.nDigits > 2) return std::nullopt;
      (strOrder[i] == 'M' ? objDate.nMonth : objDate.nDay) = objPart.objNumber.nValue;
    }
  }
  const bool bValid = Join(objDate, Time()).GetStatus() == COleDateTime::valid;
  return bValid ? std::optional(objDate) : std::nullopt;
}

std::optional<Date> FirstDateOf(const DateParts& arrParts, const std::string& strLocaleOrder) {
  const auto* pOrders = kOrders.begin();
  while (pOrders->strLocale != strLocaleOrder && pOrders + 1 != kOrders.end()) ++pOrders;
  std::string_view strOrders = arrParts.size() == 3 ? pOrders->strThree : pOrders->strTwo;
  const bool bNumbers = std::ranges::all_of(
      arrParts, [](const DatePart& objPart) { return objPart.chLetter == '\0'; });
  if (bNumbers) strOrders = strOrders.substr(0, strOrders.find('|'));
  for (size_t nAt = 0; nAt < strOrders.size(); nAt += arrParts.size() + 1) {
    if (const auto objDate = DateOfParts(arrParts, strOrders.substr(nAt, arrParts.size()))) {
      return objDate;
    }
  }
  return std::nullopt;
}

bool LooksLikeTime(std::u16string_view str) {
  const size_t nDigits = str.size() > 1 && IsDigit(str[1]) ? 2 : 1;
  return str.size() > nDigits && IsDigit(str[0]) && str[nDigits] == u':';
}

// "1 PM"
bool LooksLikeHour(std::u16string_view str, const DateNames& objNames) {
  const auto objNumber = TakeNumber(str);
  if (!objNumber || objNumber->nDigits > 2) return false;
  TakeBlanks(str);
  return TakeName(str, objNames.arrDayHalves).has_value();
}

bool StartsWithTime(std::u16string_view str, const DateNames& objNames) {
  return LooksLikeTime(str) || LooksLikeHour(str, objNames) ||
         TakeName(str, objNames.arrDayHalves).has_value();
}

// Two or three parts with what parts them; nothing if they are not there. A blank makes no date of
// two numbers, and a dot only where another one ends it: "3.5" is a number.
std::optional<DateParts> TakeDateParts(std::u16string_view& str, const DateNames& objNames) {
  DateParts arrParts;
  std::u16string strBreaks;
  while (arrParts.size() < 3) {
    std::u16string_view strAhead = str;
    if (!arrParts.empty()) {
      const char16_t chBreak = TakeDateBreak(strAhead);
      if (chBreak == u'\0' && !arrParts.back().bMarked) break;
      if (StartsWithTime(strAhead, objNames)) break;
      if (chBreak != u'\0') strBreaks += chBreak;
    }
    const auto objPart = TakeDatePart(strAhead, objNames);
    if (!objPart) break;
    arrParts.push_back(*objPart);
    str = strAhead;
  }
  if (arrParts.size() < 2) return std::nullopt;
  const bool bNumbers = std::ranges::all_of(
      arrParts, [](const DatePart& objPart) { return objPart.chLetter == '\0'; });
  if (!bNumbers) return arrParts;
  strBreaks.resize(arrParts.size() - 1);
  const char16_t chBreak = strBreaks.front();
  if (chBreak == u',' || strBreaks.back() != chBreak) return std::nullopt;
  const bool bEndDot = chBreak == u'.' && TakeUnit(str, u".");  // some locales end a date so
  if (arrParts.size() == 2 && (chBreak == u' ' || (chBreak == u'.' && !bEndDot))) {
    return std::nullopt;
  }
  return arrParts;
}

std::optional<Date> TakeDate(std::u16string_view& str, const DateNames& objNames) {
  const auto arrParts = TakeDateParts(str, objNames);
  return arrParts ? FirstDateOf(*arrParts, objNames.strOrder) : std::nullopt;
}

// A number of one or two digits, at most nMost.
bool TakeTimePart(std::u16string_view& str, int nMost, int& nValue) {
  const auto objNumber = TakeNumber(str);
  if (!objNumber || objNumber->nDigits > 2 || objNumber->nValue > nMost) return false;
  nValue = objNumber->nValue;
  return true;
}

std::optional<Time> TakeTime(std::u16string_view& str, const DateNames& objNames) {
  std::optional<int> nHalf = TakeName(str, objNames.arrDayHalves);
  TakeBlanks(str);
  Time objTime;
  if (!TakeTimePart(str, 23, objTime.nHour)) return std::nullopt;
  const bool bMinutes = TakeUnit(str, u":");
  if (bMinutes && !TakeTimePart(str, 59, objTime.nMinute)) return std::nullopt;
  const bool bSeconds = bMinutes && TakeUnit(str, u":");
  if (bSeconds && !TakeTimePart(str, 59, objTime.nSecond)) return std::nullopt;
  if (!nHalf) {
    std::u16string_view strAhead = str;
    TakeBlanks(strAhead);
    if ((nHalf = TakeName(strAhead, objNames.arrDayHalves))) str = strAhead;
    if (nHalf) TakeUnit(str, u".");  // "p.m."
  }
  if (!nHalf) return bMinutes ? std::optional(objTime) : std::nullopt;
  if (objTime.nHour < 1 || objTime.nHour > 12) return std::nullopt;
  objTime.nHour = objTime.nHour % 12 + 12 * *nHalf;
  return objTime;
}

COleDateTime ParseOwn(std::u16string_view str, const DateNames& objNames) {
  std::optional<Date> objDate;
  std::optional<Time> objTime;
  while (!str.empty()) {
    const bool bTime = StartsWithTime(str, objNames);
    if (bTime ? objTime.has_value() : objDate.has_value()) return COleDateTime::Invalid();
    if (bTime) {
      objTime = TakeTime(str, objNames);
    } else {
      objDate = TakeDate(str, objNames);
      if (!objTime && str.size() > 1) TakeUnit(str, u",");
    }
    if (bTime ? !objTime : !objDate) return COleDateTime::Invalid();
    if (TakeBlanks(str) == 0 && !str.empty()) return COleDateTime::Invalid();
  }
  if (!objDate && !objTime) return COleDateTime::Invalid();
  return Join(objDate.value_or(Date()), objTime.value_or(Time()));
}

}  // namespace

COleDateTime ParseDateText(std::u16string_view strText) {
  CString strTrimmed(strText);
  const std::u16string_view str = strTrimmed.Trim();
  if (str.size() > kLongestText) return COleDateTime::Invalid();
  const auto dt = ParseIso(str);
  if (dt && dt->GetStatus() == COleDateTime::valid) return *dt;
  return ParseOwn(str, *UserDateNames());
}

}  // namespace platform
