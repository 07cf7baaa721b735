#pragma once

#include <memory>
#include <string>
#include <vector>

namespace platform {

// What a locale's users write in a date, in the Gregorian calendar: facts from ICU.
struct DateNames {
  struct Name {
    std::u16string strUpper;  // in upper case, without a dot at its end
    int nValue = 0;           // month 1 to 12; 0 for AM, 1 for PM
  };
  std::string strOrder;            // "DMY", "MDY" or "YMD", of the short date
  std::vector<Name> arrMonths;     // long and short, of the language and English; longest first
  std::vector<Name> arrDayHalves;  // AM and PM, of the language and English; longest first
};

// Those of the user's locale (platform/Locale.h), kept until the locale changes.
std::shared_ptr<const DateNames> UserDateNames();

}  // namespace platform
