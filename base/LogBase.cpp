#include "base/LogBase.h"

#include <charconv>

namespace mail {

void LogBase::LogDataLong(std::string_view strName, std::int64_t nValue) {
  char aDigits[24];
  const auto objEnd = std::to_chars(aDigits, aDigits + sizeof(aDigits), nValue);
  LogData(strName, std::string_view(aDigits, static_cast<std::size_t>(objEnd.ptr - aDigits)));
}

}  // namespace mail
