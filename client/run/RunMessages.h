#pragma once

#include <cstdint>
#include <functional>
#include <string>

// What a run has to tell while it is at work. How it is shown is for those who start it.
namespace client {

// Takes one line for people. Is called from any thread.
using Say = std::function<void(const std::string& line)>;

// One item is done.
struct Step {
  std::uint64_t done = 0;  // items so far, this one included
  std::uint64_t total = 0;
  std::string name;  // of the item
  std::string line;  // what became of it
  bool failed = false;
};
using OnStep = std::function<void(const Step& step)>;

}  // namespace client
