#include "engine/CommandLine.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>

#include "ews/Settings.h"
#include "ews/Url.h"

namespace {

using ews::ServiceSettings;

constexpr std::chrono::hours kMaxPatience{7 * 24};

// Exactly one of the members is set: all options but switches take the next argument.
struct Option {
  std::string_view strName;
  CString ServiceSettings::*pText = nullptr;
  bool ServiceSettings::*pSwitch = nullptr;
  std::vector<CString> ServiceSettings::*pList = nullptr;
  // Takes the value over, or returns what it should have been.
  std::string_view (*pTake)(const std::string& strValue, ServiceSettings& objSettings) = nullptr;
};

std::string_view TakeProxy(const std::string& strValue, ServiceSettings& objSettings) {
  if (!ews::ParseUrl(strValue)) return "http://HOST:PORT or https://HOST:PORT without a user name";
  objSettings.strProxy = CString::FromUtf8(strValue);
  return {};
}

std::string_view TakePatience(const std::string& strValue, ServiceSettings& objSettings) {
  std::uint32_t nSeconds = 0;
  const char* pEnd = strValue.data() + strValue.size();
  const auto objRead = std::from_chars(strValue.data(), pEnd, nSeconds);
  const std::chrono::seconds nPatience(nSeconds);
  if (objRead.ec != std::errc() || objRead.ptr != pEnd || nPatience > kMaxPatience) {
    return "a number of seconds, 604800 at most";
  }
  objSettings.nPatience = nPatience;
  return {};
}
static_assert(std::chrono::seconds(kMaxPatience).count() == 604800, "the text above names it");

constexpr auto kOptions = std::to_array<Option>({
    {"--ews-url", &ServiceSettings::strEwsUrl, nullptr, nullptr},
    {"--autodiscover-url", &ServiceSettings::strAutodiscoverUrl, nullptr, nullptr},
    {"--authority-url", &ServiceSettings::strAuthorityUrl, nullptr, nullptr},
    {"--graph-url", &ServiceSettings::strGraphUrl, nullptr, nullptr},
    {"--store", &ServiceSettings::strStore, nullptr, nullptr},
    {"--ca-file", &ServiceSettings::strCaFile, nullptr, nullptr},
    {"--trust-host", nullptr, nullptr, &ServiceSettings::arrTrustHosts},
    {"--verify-certificates", nullptr, &ServiceSettings::bVerifyCertificates, nullptr},
    {"--token-cache", nullptr, &ServiceSettings::bTokenCache, nullptr},
    {"--known-server", nullptr, &ServiceSettings::bKnownServer, nullptr},
    {"--safe", nullptr, &ServiceSettings::bSafe, nullptr},
    {"--proxy", nullptr, nullptr, nullptr, &TakeProxy},
    {"--patience", nullptr, nullptr, nullptr, &TakePatience},
});

const Option* FindOption(std::string_view strName) {
  for (const Option& objOption : kOptions) {
    if (objOption.strName == strName) return &objOption;
  }
  return nullptr;
}

bool HoldsMarker(std::string_view str) { return str.find("<GUID>") != std::string_view::npos; }

// Returns what is wrong with the options in front of the marker, or nothing.
std::string ReadOptions(std::span<const std::string> arr, ServiceSettings& objSettings) {
  for (size_t i = 0; i < arr.size() && !HoldsMarker(arr[i]); ++i) {
    const Option* pOption = FindOption(arr[i]);
    if (!pOption && !arr[i].starts_with('-')) continue;  // a word that the title drops
    if (!pOption) return "unknown option: " + arr[i];
    if (pOption->pSwitch) {
      objSettings.*pOption->pSwitch = true;
      continue;
    }
    if (i + 1 == arr.size() || HoldsMarker(arr[i + 1]) || arr[i + 1].empty()) {
      return "option without its value: " + arr[i];
    }
    if (pOption->pTake) {
      const std::string_view strWanted = pOption->pTake(arr[++i], objSettings);
      if (!strWanted.empty()) return arr[i - 1] + " wants " + std::string(strWanted);
      continue;
    }
    const CString strValue = CString::FromUtf8(arr[++i]);
    if (pOption->pText) objSettings.*pOption->pText = strValue;
    if (pOption->pList) (objSettings.*pOption->pList).push_back(strValue);
  }
  return {};
}

}  // namespace

CommandLine ReadCommandLine(std::span<const std::string> arrArguments,
                            ServiceSettings& objSettings) {
  std::string strJoined;
  for (const std::string& strArgument : arrArguments) {
    if (&strArgument != arrArguments.data()) strJoined += ' ';
    strJoined += strArgument;
  }
  CommandLine objLine;
  const CString strAll = CString::FromUtf8(strJoined);
  const int nMarker = strAll.Find(kMarker);
  objLine.bMarker = nMarker >= 0;
  if (!objLine.bMarker) return objLine;  // what stands there is addressed to nobody
  objLine.strTitle = strAll.Mid(nMarker);
  objLine.strError = ReadOptions(arrArguments, objSettings);
  return objLine;
}
