#include "pipeline/ItemProps.h"

#include <array>
#include <charconv>
#include <chrono>
#include <string>

#include <nlohmann/json.hpp>

#include "ews/FindItems.h"
#include "ews/Item.h"
#include "ews/SoapWriter.h"
#include "platform/Files.h"

namespace {

using ews::ExtendedPropertyDefinition;
using ews::MapiPropertyType;
using nlohmann::json;

constexpr int kMaxDepth = 4;  // of the JSON; its own needs 2

constexpr int kMessageDeliveryTime = 0x0E06;
constexpr int kClientSubmitTime = 0x0039;
constexpr int kMessageFlags = 0x0E07;
constexpr int kFlagStatus = 0x1090;
constexpr int kLastVerb = 0x1081;
constexpr int kIconIndex = 0x1080;

constexpr std::int32_t kReadAndUnsent = 1 | 8;
constexpr std::int32_t kFlagged = 2;

struct Reply {
  std::int32_t nVerb;
  std::int32_t nIcon;
};
constexpr Reply kReplied{102, 0x105};
constexpr Reply kForwarded{104, 0x106};

struct FlagName {
  std::string_view strName;
  bool ItemProps::*pFlag;
};
constexpr std::array<FlagName, 4> kFlags{{
    {"answered", &ItemProps::bAnswered},
    {"forwarded", &ItemProps::bForwarded},
    {"flagged", &ItemProps::bFlagged},
    {"draft", &ItemProps::bDraft},
}};

// Nothing for what the service could not be told.
std::optional<CString> TextOf(const json& objValue) {
  if (!objValue.is_string()) return std::nullopt;
  const CString str = CString::FromUtf8(objValue.get_ref<const std::string&>());
  if (str.IsEmpty() || !ews::IsXmlText(str)) return std::nullopt;
  return str;
}

// The digits of one field of a date; -1 for anything else.
int NumberAt(std::string_view str, size_t nAt, size_t nDigits) {
  const std::string_view strField = str.substr(nAt, nDigits);
  if (strField.find_first_not_of("0123456789") != std::string_view::npos) return -1;
  int nValue = -1;
  std::from_chars(strField.data(), strField.data() + strField.size(), nValue);
  return nValue;
}

// "2019-03-05T09:00:01Z" and nothing else.
std::optional<ews::UtcTime> TimeOf(const json& objValue) {
  constexpr std::string_view kShape = "0000-00-00T00:00:00Z";
  constexpr int kFirstYear = 1601;
  if (!objValue.is_string()) return std::nullopt;
  const std::string& str = objValue.get_ref<const std::string&>();
  if (str.size() != kShape.size()) return std::nullopt;
  for (size_t n = 0; n < str.size(); ++n) {
    if (kShape[n] != '0' && str[n] != kShape[n]) return std::nullopt;
  }
  const int nYear = NumberAt(str, 0, 4);
  const int nMonth = NumberAt(str, 5, 2);
  const int nDay = NumberAt(str, 8, 2);
  const int nHour = NumberAt(str, 11, 2);
  const int nMinute = NumberAt(str, 14, 2);
  const int nSecond = NumberAt(str, 17, 2);
  if (nYear < kFirstYear || nMonth < 1 || nDay < 1) return std::nullopt;
  if (nHour < 0 || nHour > 23 || nMinute < 0 || nMinute > 59 || nSecond < 0 || nSecond > 59) {
    return std::nullopt;
  }
  const std::chrono::year_month_day objDate(std::chrono::year(nYear),
                                            std::chrono::month(static_cast<unsigned>(nMonth)),
                                            std::chrono::day(static_cast<unsigned>(nDay)));
  if (!objDate.ok()) return std::nullopt;
  const auto objMoment = std::chrono::sys_days(objDate) + std::chrono::hours(nHour) +
                         std::chrono::minutes(nMinute) + std::chrono::seconds(nSecond);
  return ews::UtcTime{objMoment.time_since_epoch().count()};
}

bool TakeFlag(const json& objValue, ItemProps& objProps) {
  if (!objValue.is_string()) return false;
  for (const FlagName& objFlag : kFlags) {
    if (objValue.get_ref<const std::string&>() != objFlag.strName) continue;
    objProps.*objFlag.pFlag = true;
    return true;
  }
  return false;
}

bool TakeCategory(const json& objValue, ItemProps& objProps) {
  auto strCategory = TextOf(objValue);
  if (!strCategory) return false;
  objProps.arrCategories.push_back(std::move(*strCategory));
  return true;
}

bool TakeKey(const json& objValue, ItemProps& objProps) {
  objProps.strKey = TextOf(objValue).value_or(CString());
  return !objProps.strKey.IsEmpty();
}

template <std::optional<ews::UtcTime> ItemProps::*pTime>
bool TakeTime(const json& objValue, ItemProps& objProps) {
  objProps.*pTime = TimeOf(objValue);
  return (objProps.*pTime).has_value();
}

// Each entry of an array by itself. False where one was left out, or for what is no array.
template <bool (*fnTakeOne)(const json&, ItemProps&)>
bool TakeEach(const json& objValue, ItemProps& objProps) {
  if (!objValue.is_array()) return false;
  bool bAll = true;
  for (const json& objEntry : objValue) bAll = fnTakeOne(objEntry, objProps) && bAll;
  return bAll;
}

struct Member {
  const char* pszName;
  bool (*fnTake)(const json&, ItemProps&);
};
constexpr std::array<Member, 5> kMembers{{
    {"key", &TakeKey},
    {"received", &TakeTime<&ItemProps::objReceived>},
    {"sent", &TakeTime<&ItemProps::objSent>},
    {"flags", &TakeEach<&TakeFlag>},
    {"categories", &TakeEach<&TakeCategory>},
}};

void Note(std::vector<CString>& arrNotes, const char16_t* pszText) {
  arrNotes.push_back(CString(kItemPropsFile) + u" " + pszText);
}

void SetInteger(ews::Item& objItem, int nTag, std::int32_t nValue) {
  objItem.SetExtendedProperty(ExtendedPropertyDefinition(nTag, MapiPropertyType::Integer), nValue);
}

void SetTime(ews::Item& objItem, int nTag, const std::optional<ews::UtcTime>& objTime) {
  if (!objTime) return;
  objItem.SetExtendedProperty(ExtendedPropertyDefinition(nTag, MapiPropertyType::SystemTime),
                              *objTime);
}

}  // namespace

ItemProps ReadItemProps(const CString& strPath, std::vector<CString>& arrNotes) {
  auto objFile = platform::File::Open(strPath, platform::OpenMode::kRead);
  if (!objFile) {
    Note(arrNotes, platform::PathExists(strPath) ? u"cannot be read" : u"is not there");
    return {};
  }
  const std::uint64_t nLength = objFile->Length();
  if (nLength > kMaxItemPropsBytes) {
    Note(arrNotes, u"is too large");
    return {};
  }
  std::string strJson(static_cast<size_t>(nLength), '\0');
  auto* pBytes = reinterpret_cast<unsigned char*>(strJson.data());
  strJson.resize(objFile->Read({pBytes, strJson.size()}));
  return ParseItemProps(strJson, arrNotes);
}

ItemProps ParseItemProps(std::string_view strJson, std::vector<CString>& arrNotes) {
  const auto IsShallow = [](int nDepth, json::parse_event_t, json&) { return nDepth <= kMaxDepth; };
  const json objJson = json::parse(strJson, IsShallow, /*allow_exceptions=*/false);
  ItemProps objProps;
  if (!objJson.is_object()) {
    Note(arrNotes, u"is no JSON object");
    return objProps;
  }
  for (const Member& objMember : kMembers) {
    const auto it = objJson.find(objMember.pszName);
    if (it == objJson.end() || objMember.fnTake(*it, objProps)) continue;
    arrNotes.push_back(CString(kItemPropsFile) + u" holds a wrong value, left out: " +
                       CString::FromUtf8(objMember.pszName));
  }
  return objProps;
}

void ApplyItemProps(const ItemProps& objProps, ews::Item& objItem) {
  if (!objProps.strKey.IsEmpty()) {
    objItem.SetExtendedProperty(ews::ItemKeyProperty(), objProps.strKey);
  }
  SetTime(objItem, kMessageDeliveryTime, objProps.objReceived);
  SetTime(objItem, kClientSubmitTime, objProps.objSent);
  if (objProps.bAnswered || objProps.bForwarded) {
    const Reply& objReply = objProps.bForwarded ? kForwarded : kReplied;
    SetInteger(objItem, kLastVerb, objReply.nVerb);
    SetInteger(objItem, kIconIndex, objReply.nIcon);
  }
  if (objProps.bFlagged) SetInteger(objItem, kFlagStatus, kFlagged);
  if (objProps.bDraft) SetInteger(objItem, kMessageFlags, kReadAndUnsent);
  if (!objProps.arrCategories.empty()) objItem.SetCategories(objProps.arrCategories);
}
