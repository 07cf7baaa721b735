#pragma once

#include <chrono>
#include <string>

namespace client {

// A clock that nobody sets: it counts from the boot of the machine on, through its sleep, too. Two
// readings can be compared where both are of the same boot.
struct BootReading {
  std::string boot;  // its id; empty where the system tells none
  std::chrono::seconds time{0};
};
BootReading ReadBootClock();

}  // namespace client
