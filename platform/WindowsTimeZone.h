#pragma once

#include <string>

namespace platform {

// The name that Windows has for the machine's time zone, such as "W. Europe Standard Time": mailbox
// servers know zones by these. Always one whose clock agrees with the local time of this process
// over the years around now, also where TZ is a rule of its own ("CET-1CEST,M3.5.0,M10.5.0/3");
// empty where Windows has none. ASCII. Found once for each value of TZ; does not throw.
std::string WindowsTimeZoneName();

}  // namespace platform
