#include <unicode/uchar.h>

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
//    parts; numbers stand in the order of the locale (a year of four digits may lead in any), or
//    the month is a name. A time is 13:05, 13:05:09 or 1:05 PM.
//
// Nothing is guessed: a part out of its range makes the date invalid and does not change its place.
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
  bool bName = false;
};

std::optional<DatePart> TakeDatePart(std::u16string_view& str, const DateNames& objNames) {
  if (const auto nMonth = TakeName(str, objNames.arrMonths)) {
    // The dot of a short name, when something else parts it from what follows.
    const bool bDot =
        str.size() > 1 && str[0] == u'.' && (IsBlank(str[1]) || IsPunctuation(str[1]));
    if (bDot) str.remove_prefix(1);
    return DatePart{{*nMonth, 2}, true};
  }
  const auto objNumber = TakeNumber(str);
  return objNumber ? std::optional(DatePart{*objNumber, false}) : std::nullopt;
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

std::optional<int> YearOf(const Number& objNumber) {
  if (objNumber.nDigits == 4) return objNumber.nValue;
  if (objNumber.nDigits != 2) return std::nullopt;
  return objNumber.nValue + (objNumber.nValue < kPivot ? 2000 : 1900);
}

// The order of three parts, as letters; empty when they make no date.
std::string OrderOfParts(const std::array<DatePart, 3>& arrParts, const std::string& strOrder) {
  size_t nName = 3;
  for (size_t i = 0; i < arrParts.size(); ++i) {
    if (!arrParts[i].bName) continue;
    if (nName != 3) return {};
    nName = i;
  }
  if (nName == 3) return arrParts[0].objNumber.nDigits == 4 ? "YMD" : strOrder;
  const DatePart& objFirst = arrParts[nName == 0 ? 1 : 0];
  const DatePart& objSecond = arrParts[nName == 2 ? 1 : 2];
  bool bYearFirst = strOrder.find('Y') < strOrder.find('D');
  if (objFirst.objNumber.nDigits == 4) bYearFirst = true;
  if (objSecond.objNumber.nDigits == 4) bYearFirst = false;
  std::string strResult = bYearFirst ? "YD" : "DY";
  return strResult.insert(nName, "M");
}

// Three parts with what parts them; nothing if they are not there.
std::optional<std::array<DatePart, 3>> TakeDateParts(std::u16string_view& str,
                                                     const DateNames& objNames) {
  std::array<DatePart, 3> arrParts;
  std::array<char16_t, 2> arrBreaks{};
  for (size_t i = 0; i < arrParts.size(); ++i) {
    if (i > 0 && (arrBreaks[i - 1] = TakeDateBreak(str)) == 0) return std::nullopt;
    const auto objPart = TakeDatePart(str, objNames);
    if (!objPart) return std::nullopt;
    arrParts[i] = *objPart;
  }
  const bool bName = arrParts[0].bName || arrParts[1].bName || arrParts[2].bName;
  const bool bBreaksAlike = arrBreaks[0] == arrBreaks[1] && arrBreaks[0] != u',';
  if (!bName && !bBreaksAlike) return std::nullopt;
  if (arrBreaks[1] == u'.') TakeUnit(str, u".");  // some locales end a date so
  return arrParts;
}

// The date of parts that stand in the order of the letters.
std::optional<Date> DateOfParts(const std::array<DatePart, 3>& arrParts,
                                const std::string& strOrder) {
  if (strOrder.empty()) return std::nullopt;
  Date objDate;
  for (size_t i = 0; i < strOrder.size(); ++i) {
    const Number& objNumber = arrParts[i].objNumber;
    if (strOrder[i] == 'Y') {
      const auto nYear = YearOf(objNumber);
      if (!nYear) return std::nullopt;
      objDate.nYear = *nYear;
    } else {
      if (objNumber.nDigits > 2) return std::nullopt;
      (strOrder[i] == 'M' ? objDate.nMonth : objDate.nDay) = objNumber.nValue;
    }
  }
  return objDate;
}

std::optional<Date> TakeDate(std::u16string_view& str, const DateNames& objNames) {
  const auto arrParts = TakeDateParts(str, objNames);
  if (!arrParts) return std::nullopt;
  return DateOfParts(*arrParts, OrderOfParts(*arrParts, objNames.strOrder));
}

bool LooksLikeTime(std::u16string_view str) {
  const size_t nDigits = str.size() > 1 && IsDigit(str[1]) ? 2 : 1;
  return str.size() > nDigits && IsDigit(str[0]) && str[nDigits] == u':';
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
  if (!TakeTimePart(str, 23, objTime.nHour) || !TakeUnit(str, u":")) return std::nullopt;
  if (!TakeTimePart(str, 59, objTime.nMinute)) return std::nullopt;
  if (TakeUnit(str, u":") && !TakeTimePart(str, 59, objTime.nSecond)) return std::nullopt;
  if (!nHalf) {
    std::u16string_view strAhead = str;
    TakeBlanks(strAhead);
    if ((nHalf = TakeName(strAhead, objNames.arrDayHalves))) str = strAhead;
    if (nHalf) TakeUnit(str, u".");  // "p.m."
  }
  if (!nHalf) return objTime;
  if (objTime.nHour < 1 || objTime.nHour > 12) return std::nullopt;
  objTime.nHour = objTime.nHour % 12 + 12 * *nHalf;
  return objTime;
}

bool StartsWithTime(std::u16string_view str, const DateNames& objNames) {
  return LooksLikeTime(str) || TakeName(str, objNames.arrDayHalves).has_value();
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
  if (const auto dt = ParseIso(str)) return *dt;
  return ParseOwn(str, *UserDateNames());
}

}  // namespace platform
