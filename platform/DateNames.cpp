#include "platform/DateNames.h"

#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>

#include <algorithm>
#include <mutex>

#include "platform/Locale.h"
#include "platform/Unicode.h"

namespace platform {
namespace {

// A country's own calendar would count other months; mail is dated in this one.
icu::Locale GregorianLocale(const UserLocale& objLocale) {
  std::string strName = objLocale.strLanguage;
  for (const std::string& strPart : {objLocale.strScript, objLocale.strTerritory}) {
    if (!strPart.empty()) strName += "_" + strPart;
  }
  return icu::Locale::createFromName((strName + "@calendar=gregorian").c_str());
}

bool IsNoBreakSpace(char16_t ch) { return ch == 0x00A0 || ch == 0x202F; }

void AddNames(std::vector<DateNames::Name>& arrNames, const icu::UnicodeString* pNames, int nCount,
              int nFirstValue) {
  for (int i = 0; i < nCount && pNames; ++i) {
    std::u16string str(pNames[i].getBuffer(), static_cast<size_t>(pNames[i].length()));
    while (str.ends_with(u'.')) str.pop_back();
    if (str.empty()) continue;
    arrNames.push_back({UpperUnits(str), nFirstValue + i});
    // Spanish has "p.\u00A0m."; people type an ordinary blank.
    std::ranges::replace_if(str, IsNoBreakSpace, u' ');
    if (UpperUnits(str) != arrNames.back().strUpper) {
      arrNames.push_back({UpperUnits(str), nFirstValue + i});
    }
  }
}

void AddNamesOf(const icu::Locale& objLocale, DateNames& objNames) {
  using Symbols = icu::DateFormatSymbols;
  UErrorCode nError = U_ZERO_ERROR;
  const Symbols objSymbols(objLocale, nError);
  if (U_FAILURE(nError)) return;
  int nCount = 0;
  for (const auto eContext : {Symbols::FORMAT, Symbols::STANDALONE}) {
    for (const auto eWidth : {Symbols::WIDE, Symbols::ABBREVIATED}) {
      const icu::UnicodeString* pNames = objSymbols.getMonths(nCount, eContext, eWidth);
      AddNames(objNames.arrMonths, pNames, std::min(nCount, 12), 1);
    }
  }
  const icu::UnicodeString* pHalves = objSymbols.getAmPmStrings(nCount);
  AddNames(objNames.arrDayHalves, pHalves, std::min(nCount, 2), 0);
}

std::string OrderOf(const icu::Locale& objLocale) {
  const std::unique_ptr<icu::DateFormat> pFormat(
      icu::DateFormat::createDateInstance(icu::DateFormat::kShort, objLocale));
  icu::UnicodeString strPattern;
  if (const auto* pSimple = dynamic_cast<const icu::SimpleDateFormat*>(pFormat.get())) {
    pSimple->toPattern(strPattern);
  }
  std::string strOrder;
  for (int i = 0; i < strPattern.length(); ++i) {
    const char16_t ch = strPattern[i] == u'L' ? u'M' : UpperUnit(strPattern[i]);
    const bool bPart = ch == u'D' || ch == u'M' || ch == u'Y';
    if (bPart && strOrder.find(static_cast<char>(ch)) == std::string::npos) {
      strOrder += static_cast<char>(ch);
    }
  }
  return strOrder.size() == 3 ? strOrder : "MDY";
}

DateNames MakeDateNames(const UserLocale& objUser) {
  const icu::Locale objLocale = GregorianLocale(objUser);
  DateNames objNames;
  objNames.strOrder = OrderOf(objLocale);
  AddNamesOf(objLocale, objNames);
  AddNamesOf(icu::Locale::getUS(), objNames);
  const auto fnLonger = [](const DateNames::Name& a, const DateNames::Name& b) {
    return a.strUpper.size() > b.strUpper.size();
  };
  // Stable: of two names alike, the user's language goes before English.
  std::stable_sort(objNames.arrMonths.begin(), objNames.arrMonths.end(), fnLonger);
  std::stable_sort(objNames.arrDayHalves.begin(), objNames.arrDayHalves.end(), fnLonger);
  return objNames;
}

}  // namespace

std::shared_ptr<const DateNames> UserDateNames() {
  static std::mutex objMutex;
  static UserLocale objKnown;
  static std::shared_ptr<const DateNames> pKnown;
  const UserLocale objLocale = CurrentUserLocale();
  const std::lock_guard objLock(objMutex);
  if (!pKnown || objLocale != objKnown) {
    pKnown = std::make_shared<const DateNames>(MakeDateNames(objLocale));
    objKnown = objLocale;
  }
  return pKnown;
}

}  // namespace platform
