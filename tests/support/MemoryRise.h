#pragma once

#include <fstream>
#include <string>

namespace test_support {

// A figure of this process in MB: "VmRSS", "VmHWM".
inline long MemoryFigure(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return std::stol(line.substr(name.size() + 1)) / 1024;
  }
  return 0;
}

// By how many MB the memory of this process rises meanwhile.
template <typename Work>
long MemoryRise(Work work) {
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak begins anew
  const long before = MemoryFigure("VmRSS");
  work();
  return MemoryFigure("VmHWM") - before;
}

}  // namespace test_support
