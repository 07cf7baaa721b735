#include "platform/WindowsTimeZone.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include <unicode/strenum.h>
#include <unicode/timezone.h>

// A name alone is not to be trusted: the system and ICU read TZ by different rules and from
// different tables, and a wrong zone would move every meeting of a series by an hour for half of
// the year. So a zone counts only if its offsets are those of the system's own clock, at points
// that are dense enough to see each change between standard and summer time, and around each
// change.
namespace platform {
namespace {

namespace chrono = std::chrono;

constexpr chrono::sys_days kFirstDay{chrono::year{2016} / 1 / 1};
constexpr chrono::sys_days kLastDay{chrono::year{2031} / 1 / 1};
constexpr std::time_t kStep = chrono::seconds(chrono::days(10)).count();

struct Offset {
  std::time_t nTime = 0;
  long nSeconds = 0;  // east of UTC
};

std::time_t SecondsOf(chrono::sys_days objDay) {
  return chrono::sys_seconds(objDay).time_since_epoch().count();
}

Offset SystemOffset(std::time_t nTime) {
  std::tm objLocal{};
  return {nTime, localtime_r(&nTime, &objLocal) ? objLocal.tm_gmtoff : 0};
}

// The first second of the offset that holds at objEnd, if there is one change since objStart.
Offset FindChange(Offset objStart, Offset objEnd) {
  while (objEnd.nTime - objStart.nTime > 1) {
    const Offset objMiddle = SystemOffset(objStart.nTime + (objEnd.nTime - objStart.nTime) / 2);
    (objMiddle.nSeconds == objStart.nSeconds ? objStart : objEnd) = objMiddle;
  }
  return objEnd;
}

std::vector<Offset> SystemOffsets() {
  tzset();
  std::vector<Offset> arrOffsets{SystemOffset(SecondsOf(kFirstDay))};
  while (arrOffsets.back().nTime < SecondsOf(kLastDay)) {
    const Offset objLast = arrOffsets.back();
    const Offset objNext = SystemOffset(objLast.nTime + kStep);
    if (objNext.nSeconds != objLast.nSeconds) {
      const Offset objChange = FindChange(objLast, objNext);
      arrOffsets.push_back(SystemOffset(objChange.nTime - 1));
      arrOffsets.push_back(objChange);
    }
    arrOffsets.push_back(objNext);
  }
  return arrOffsets;
}

bool Keeps(const icu::TimeZone& objZone, const std::vector<Offset>& arrOffsets) {
  return std::all_of(arrOffsets.begin(), arrOffsets.end(), [&](const Offset& objOffset) {
    std::int32_t nRaw = 0;
    std::int32_t nSummer = 0;
    UErrorCode eError = U_ZERO_ERROR;
    objZone.getOffset(static_cast<UDate>(objOffset.nTime) * 1000, false, nRaw, nSummer, eError);
    return U_SUCCESS(eError) && (nRaw + nSummer) / 1000 == objOffset.nSeconds;
  });
}

icu::UnicodeString WindowsNameOf(const icu::UnicodeString& strId) {
  icu::UnicodeString strName;
  UErrorCode eError = U_ZERO_ERROR;
  icu::TimeZone::getWindowsID(strId, strName, eError);
  return U_SUCCESS(eError) ? strName : icu::UnicodeString();
}

// The name of the system's zone, if the clock goes by it.
icu::UnicodeString NameOfHostZone(const std::vector<Offset>& arrOffsets) {
  const std::unique_ptr<icu::TimeZone> pZone(icu::TimeZone::detectHostTimeZone());
  icu::UnicodeString strId;
  if (!pZone || !Keeps(*pZone, arrOffsets)) return {};
  return WindowsNameOf(pZone->getID(strId));
}

// True for the zone that Windows means by the name when no country is given.
bool IsMainZone(const icu::UnicodeString& strId, const icu::UnicodeString& strName) {
  icu::UnicodeString strMain;
  UErrorCode eError = U_ZERO_ERROR;
  icu::TimeZone::getIDForWindowsID(strName, "001", strMain, eError);
  return U_SUCCESS(eError) && strMain == strId;
}

// The first zone of all whose clock is the system's.
icu::UnicodeString NameByOffsets(const std::vector<Offset>& arrOffsets) {
  UErrorCode eError = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> pIds(
      icu::TimeZone::createTimeZoneIDEnumeration(UCAL_ZONE_TYPE_ANY, nullptr, nullptr, eError));
  if (U_FAILURE(eError) || !pIds) return {};
  while (const icu::UnicodeString* pId = pIds->snext(eError)) {
    const icu::UnicodeString strName = WindowsNameOf(*pId);
    if (strName.isEmpty() || !IsMainZone(*pId, strName)) continue;
    const std::unique_ptr<icu::TimeZone> pZone(icu::TimeZone::createTimeZone(*pId));
    if (pZone && Keeps(*pZone, arrOffsets)) return strName;
  }
  return {};
}

std::string FindName() {
  const std::vector<Offset> arrOffsets = SystemOffsets();
  const auto IsZero = [](const Offset& objOffset) { return objOffset.nSeconds == 0; };
  if (std::all_of(arrOffsets.begin(), arrOffsets.end(), IsZero)) return "UTC";
  icu::UnicodeString strName = NameOfHostZone(arrOffsets);
  if (strName.isEmpty()) strName = NameByOffsets(arrOffsets);
  std::string strResult;
  return strName.toUTF8String(strResult);
}

}  // namespace

std::string WindowsTimeZoneName() {
  static std::mutex objMutex;
  static std::map<std::string, std::string> mapNames;
  const char* pszZone = std::getenv("TZ");
  const std::scoped_lock objLock(objMutex);
  // Unset is not the same as empty, which means UTC.
  const auto [it, bNew] = mapNames.try_emplace(pszZone ? std::string("=") + pszZone : "");
  if (bNew) it->second = FindName();
  return it->second;
}

}  // namespace platform
