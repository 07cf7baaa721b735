#include "client/run/BootClock.h"

#include <ctime>
#include <fstream>

namespace client {

BootReading ReadBootClock() {
  BootReading reading;
  std::ifstream("/proc/sys/kernel/random/boot_id") >> reading.boot;
  timespec now{};
  if (clock_gettime(CLOCK_BOOTTIME, &now) != 0) return {};
  reading.time = std::chrono::seconds(now.tv_sec);
  return reading;
}

}  // namespace client
