#pragma once

#include <cstddef>
#include <functional>
#include <set>

namespace mailbox {

// The sockets of this process that clients of a port of ours are connected to. A client is known by
// its own port.

void ForEachConnection(int port, const std::function<void(int fd, int peer)>& use);

// Ends so many of those from which nothing has come, and to which nothing went, for a second: the
// longest silent first, and none of the clients in `working`.
void EndSilentConnections(int port, const std::set<int>& working, size_t count);

}  // namespace mailbox
