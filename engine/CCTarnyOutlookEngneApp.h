#pragma once

#include <span>
#include <string>

// The engine as a process.
class CCTarnyOutlookEngneApp {  // sic
 public:
  // Runs the engine to its end. The arguments are those behind the program's name. Returns the exit
  // code: 0 for an ordinary end and for a start without the marker, 1 when the title is served
  // already, 2 for a bad option. Throws what a command lets pass.
  int InitInstance(std::span<const std::string> arrArguments);
};
