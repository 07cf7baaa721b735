#pragma once

#include <sys/types.h>

namespace client {

// True once SIGINT, SIGTERM or SIGHUP came. The first asks for a stop after the item in work, a
// second SIGINT or SIGTERM ends the process at once.
bool StopRequested();
void InstallStopHandler();

// The process that a stop is passed on to, once, as SIGTERM and at once where it was asked for
// already; 0 for none. It must not have been waited for.
void PassStopTo(pid_t pid);

}  // namespace client
