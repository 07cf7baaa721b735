#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <span>
#include <string_view>

// What both sides of the command endpoint share below the frames.
namespace platform {

struct EndpointAddress {
  sockaddr_un objAddress{};
  socklen_t nLength = 0;  // an abstract name has no terminator, its length counts
};
EndpointAddress EndpointAddressOf(std::string_view strTitle);

// True if the other side of the connection is a process of our own user.
bool PeerIsOurUser(int nFd);
pid_t PeerProcess(int nFd);  // the process there, or that listened there; 0 if it is not known

// Sends all of the bytes, waiting nTimeout milliseconds at most for the peer to read on (-1: for
// ever). False when it does not, or is gone. No signal is raised.
bool SendAll(int nFd, std::span<const unsigned char> objBytes, int nTimeout);

}  // namespace platform
