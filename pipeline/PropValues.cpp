#include "pipeline/PropValues.h"

#include <charconv>
#include <chrono>
#include <string>

#include "ews/SoapWriter.h"
#include "pipeline/ItemProps.h"

using nlohmann::json;

namespace {

struct Civil {
  int nYear = 0, nMonth = 0, nDay = 0, nHour = 0, nMinute = 0, nSecond = 0;
};

// The digits of one field of a date; 0 where there is none, -1 for anything else.
int NumberAt(std::string_view str, size_t nAt, size_t nDigits) {
  if (nAt >= str.size()) return 0;
  const std::string_view strField = str.substr(nAt, nDigits);
  if (strField.find_first_not_of("0123456789") != std::string_view::npos) return -1;
  int nValue = -1;
  std::from_chars(strField.data(), strField.data() + strField.size(), nValue);
  return nValue;
}

// A date whose characters but its digits are those of the shape.
std::optional<Civil> CivilOf(const json& objValue, std::string_view strShape) {
  constexpr int kFirstYear = 1601;
  if (!objValue.is_string()) return std::nullopt;
  const std::string& str = objValue.get_ref<const std::string&>();
  if (str.size() != strShape.size()) return std::nullopt;
  for (size_t n = 0; n < str.size(); ++n) {
    if (strShape[n] != '0' && str[n] != strShape[n]) return std::nullopt;
  }
  const Civil objDate{NumberAt(str, 0, 4),  NumberAt(str, 5, 2),  NumberAt(str, 8, 2),
                      NumberAt(str, 11, 2), NumberAt(str, 14, 2), NumberAt(str, 17, 2)};
  const std::chrono::year_month_day objDay(
      std::chrono::year(objDate.nYear), std::chrono::month(static_cast<unsigned>(objDate.nMonth)),
      std::chrono::day(static_cast<unsigned>(objDate.nDay)));
  const bool bClock = objDate.nHour >= 0 && objDate.nHour <= 23 && objDate.nMinute >= 0 &&
                      objDate.nMinute <= 59 && objDate.nSecond >= 0 && objDate.nSecond <= 59;
  if (objDate.nYear < kFirstYear || !objDay.ok() || !bClock) return std::nullopt;
  return objDate;
}

std::optional<COleDateTime> DateOf(const json& objValue, std::string_view strShape) {
  const auto objDate = CivilOf(objValue, strShape);
  if (!objDate) return std::nullopt;
  return COleDateTime(objDate->nYear, objDate->nMonth, objDate->nDay, objDate->nHour,
                      objDate->nMinute, objDate->nSecond);
}

}  // namespace

const json& PropAt(const json& objJson, const char* pszName) {
  static const json objNone;
  const auto it = objJson.find(pszName);
  return it == objJson.end() ? objNone : *it;
}

std::optional<CString> PropText(const json& objValue) {
  if (!objValue.is_string()) return std::nullopt;
  const CString str = CString::FromUtf8(objValue.get_ref<const std::string&>());
  if (str.IsEmpty() || !ews::IsXmlText(str)) return std::nullopt;
  return str;
}

std::optional<ews::UtcTime> PropMoment(const json& objValue) {
  const auto objDate = CivilOf(objValue, "0000-00-00T00:00:00Z");
  if (!objDate) return std::nullopt;
  const std::chrono::sys_days objDay{std::chrono::year(objDate->nYear) / objDate->nMonth /
                                     objDate->nDay};
  const auto objMoment = objDay + std::chrono::hours(objDate->nHour) +
                         std::chrono::minutes(objDate->nMinute) +
                         std::chrono::seconds(objDate->nSecond);
  return ews::UtcTime{objMoment.time_since_epoch().count()};
}

std::optional<COleDateTime> PropWallClock(const json& objValue) {
  return DateOf(objValue, "0000-00-00T00:00:00");
}

std::optional<COleDateTime> PropDay(const json& objValue) { return DateOf(objValue, "0000-00-00"); }

std::optional<int> PropNumber(const json& objValue, int nLeast, int nMost) {
  if (!objValue.is_number_integer()) return std::nullopt;
  const bool bHuge = objValue.is_number_unsigned() && objValue.get<std::uint64_t>() > INT32_MAX;
  const std::int64_t nValue = bHuge ? INT64_MAX : objValue.get<std::int64_t>();
  if (nValue < nLeast || nValue > nMost) return std::nullopt;
  return static_cast<int>(nValue);
}

void NoteWrongProp(std::vector<CString>& arrNotes, const char* pszName) {
  arrNotes.push_back(CString(kItemPropsFile) + u" holds a wrong value, left out: " +
                     CString::FromUtf8(pszName));
}
