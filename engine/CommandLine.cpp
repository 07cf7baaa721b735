#include "engine/CommandLine.h"

#include <array>

#include "ews/Settings.h"

namespace {

using ews::ServiceSettings;

// Exactly one of the members is set: options with text take the next argument.
struct Option {
  std::string_view strName;
  CString ServiceSettings::*pText = nullptr;
  bool ServiceSettings::*pSwitch = nullptr;
  std::vector<CString> ServiceSettings::*pList = nullptr;
};

constexpr std::array<Option, 9> kOptions{{
    {"--ews-url", &ServiceSettings::strEwsUrl, nullptr, nullptr},
    {"--autodiscover-url", &ServiceSettings::strAutodiscoverUrl, nullptr, nullptr},
    {"--authority-url", &ServiceSettings::strAuthorityUrl, nullptr, nullptr},
    {"--graph-url", &ServiceSettings::strGraphUrl, nullptr, nullptr},
    {"--ca-file", &ServiceSettings::strCaFile, nullptr, nullptr},
    {"--trust-host", nullptr, nullptr, &ServiceSettings::arrTrustHosts},
    {"--verify-certificates", nullptr, &ServiceSettings::bVerifyCertificates, nullptr},
    {"--token-cache", nullptr, &ServiceSettings::bTokenCache, nullptr},
    {"--safe", nullptr, &ServiceSettings::bSafe, nullptr},
}};

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
