#pragma once

#include <cstdlib>
#include <ctime>

namespace test_support {

// The zone of this process while the object lives; none is set behind it.
struct TimeZone {
  explicit TimeZone(const char* name) {
    setenv("TZ", name, 1);
    tzset();
  }
  ~TimeZone() {
    unsetenv("TZ");
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;
};

}  // namespace test_support
