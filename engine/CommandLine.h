#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/CString.h"

namespace ews {
struct ServiceSettings;
}

// The engine runs only when its command line holds the marker: whoever drives it puts it there,
// with an identifier behind it.
inline constexpr std::u16string_view kMarker = u"<GUID>";

// What the arguments say. Options stand in front of the marker; what follows it is the identifier,
// never an option.
struct CommandLine {
  bool bMarker = false;
  CString strTitle;      // from the first marker to the end, the marker included; empty without one
  std::string strError;  // for a bad option: what is wrong, for people; empty otherwise
};

// The command line is the arguments behind the program's name, joined by one blank each, as UTF-8.
// Fills objSettings from the options up to a bad one. Does not throw.
CommandLine ReadCommandLine(std::span<const std::string> arrArguments,
                            ews::ServiceSettings& objSettings);
