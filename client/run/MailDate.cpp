#include "client/run/MailDate.h"

#include <ctime>

#include <fmt/format.h>

namespace client {

std::string DescriptorDate(std::int64_t utcSeconds) {
  const std::time_t time = utcSeconds;
  std::tm local{};
  if (!localtime_r(&time, &local)) return {};
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", local.tm_year + 1900, local.tm_mon + 1,
                     local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

}  // namespace client
