#pragma once

#include <sys/types.h>

namespace client {

// True once SIGINT, SIGTERM or SIGHUP came. The first asks for a stop after the item in work, a
// second SIGINT or SIGTERM ends the process at once.
bool StopRequested();
void InstallStopHandler();

// The engine at work, which must not have been waited for; 0 for none. A second request ends it at
// once; with kFirst it gets the first one, too, as SIGTERM, and at once where that came already.
enum class StopPassing { kFirst, kSecondAlone };
void PassStopTo(pid_t pid, StopPassing passing = StopPassing::kFirst);

}  // namespace client
