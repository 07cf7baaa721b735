#include "platform/ZoneClock.h"

#include <unicode/basictz.h>
#include <unicode/timezone.h>

namespace platform {
namespace {

constexpr std::int64_t kMillisecond = 1000;  // of them a second has

icu::UnicodeString IdOfWindows(std::string_view strName) {
  icu::UnicodeString strId;
  UErrorCode eError = U_ZERO_ERROR;
  const icu::StringPiece objName(strName.data(), static_cast<std::int32_t>(strName.size()));
  icu::TimeZone::getIDForWindowsID(icu::UnicodeString::fromUTF8(objName), "001", strId, eError);
  return U_SUCCESS(eError) ? strId : icu::UnicodeString();
}

}  // namespace

struct ZoneClock::Rules {
  std::unique_ptr<icu::BasicTimeZone> pZone;
};

std::optional<ZoneClock> ZoneClock::OfWindows(std::string_view strName) {
  constexpr std::size_t kLongestName = 100;  // bytes; those there are have half of that
  if (strName.size() > kLongestName) return std::nullopt;
  const icu::UnicodeString strId = IdOfWindows(strName);
  if (strId.isEmpty()) return std::nullopt;
  std::unique_ptr<icu::TimeZone> pZone(icu::TimeZone::createTimeZone(strId));
  if (!dynamic_cast<icu::BasicTimeZone*>(pZone.get())) return std::nullopt;
  const auto pRules = std::make_shared<Rules>();
  pRules->pZone.reset(static_cast<icu::BasicTimeZone*>(pZone.release()));
  ZoneClock objClock;
  objClock.m_pRules = pRules;
  return objClock;
}

std::int64_t ZoneClock::ToWall(std::int64_t nUtc) const {
  if (!m_pRules) return nUtc + m_nAhead;
  std::int32_t nRaw = 0;
  std::int32_t nSummer = 0;
  UErrorCode eError = U_ZERO_ERROR;
  m_pRules->pZone->getOffset(static_cast<UDate>(nUtc * kMillisecond), false, nRaw, nSummer, eError);
  return nUtc + (nRaw + nSummer) / kMillisecond;
}

std::int64_t ZoneClock::ToUtc(std::int64_t nWall) const {
  if (!m_pRules) return nWall - m_nAhead;
  std::int32_t nRaw = 0;
  std::int32_t nSummer = 0;
  UErrorCode eError = U_ZERO_ERROR;
  m_pRules->pZone->getOffsetFromLocal(static_cast<UDate>(nWall * kMillisecond),
                                      UCAL_TZ_LOCAL_STANDARD_FORMER, UCAL_TZ_LOCAL_STANDARD_FORMER,
                                      nRaw, nSummer, eError);
  return nWall - (nRaw + nSummer) / kMillisecond;
}

}  // namespace platform
