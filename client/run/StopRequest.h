#pragma once

namespace client {

// True once SIGINT or SIGTERM came. The first asks for a stop after the item in work, a second one
// ends the process at once.
bool StopRequested();
void InstallStopHandler();

}  // namespace client
