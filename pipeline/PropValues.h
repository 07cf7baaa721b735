#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "ews/WireTime.h"
#include "platform/COleDateTime.h"
#include "platform/CString.h"

// The values of ItemProps.json; nothing for one of another form.

// A member that is not there is null.
const nlohmann::json& PropAt(const nlohmann::json& objJson, const char* pszName);

// A text that the service can be told, and no empty one.
std::optional<CString> PropText(const nlohmann::json& objValue);
// "2019-03-05T09:00:01Z", "2019-03-05T09:00:01" of some wall, "2019-03-05"; from 1601 on.
std::optional<ews::UtcTime> PropMoment(const nlohmann::json& objValue);
std::optional<COleDateTime> PropWallClock(const nlohmann::json& objValue);
std::optional<COleDateTime> PropDay(const nlohmann::json& objValue);
std::optional<int> PropNumber(const nlohmann::json& objValue, int nLeast, int nMost);

// The one of these whose name on the wire it is.
template <typename Enum, size_t kCount>
std::optional<Enum> PropChoice(const nlohmann::json& objValue,
                               const std::array<Enum, kCount>& arrChoices) {
  if (!objValue.is_string()) return std::nullopt;
  for (const Enum e : arrChoices) {
    if (objValue.get_ref<const std::string&>() == WireName(e)) return e;
  }
  return std::nullopt;
}

// What a member does to its target; false where the value, or part of it, is left out.
template <typename Target>
struct PropMember {
  const char* pszName;
  bool (*fnTake)(const nlohmann::json& objValue, Target& objTarget);
};

void NoteWrongProp(std::vector<CString>& arrNotes, const char* pszName);

template <typename Target, size_t kCount>
void TakeProps(const std::array<PropMember<Target>, kCount>& arrMembers,
               const nlohmann::json& objJson, Target& objTarget, std::vector<CString>& arrNotes) {
  for (const PropMember<Target>& objMember : arrMembers) {
    const auto it = objJson.find(objMember.pszName);
    if (it == objJson.end() || objMember.fnTake(*it, objTarget)) continue;
    NoteWrongProp(arrNotes, objMember.pszName);
  }
}
