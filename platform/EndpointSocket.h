#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

// What both sides of the command endpoint share below the frames.
namespace platform {

struct EndpointAddress {
  sockaddr_un objAddress{};
  socklen_t nLength = 0;  // an abstract name has no terminator, its length counts
};
EndpointAddress EndpointAddressOf(std::string_view strTitle);

// True if the other side of the connection is a process of our own user.
bool PeerIsOurUser(int nFd);

// Sends all of the bytes, waiting nTimeout milliseconds at most for the peer to read on (-1: for
// ever). False when it does not, or is gone. No signal is raised.
bool SendAll(int nFd, std::span<const unsigned char> objBytes, int nTimeout);

template <typename Integer>
void AppendLittleEndian(std::vector<unsigned char>& arr, Integer nValue) {
  const auto nBits = static_cast<std::make_unsigned_t<Integer>>(nValue);
  for (size_t i = 0; i < sizeof nBits; ++i) {
    arr.push_back(static_cast<unsigned char>(nBits >> (8 * i)));
  }
}

// The integer at an offset; the caller has checked that it is there.
template <typename Integer>
Integer ReadLittleEndian(std::span<const unsigned char> objBytes, size_t nOffset) {
  std::make_unsigned_t<Integer> nBits = 0;
  for (size_t i = sizeof nBits; i-- > 0;) {
    nBits = static_cast<decltype(nBits)>(nBits << 8 | objBytes[nOffset + i]);
  }
  return static_cast<Integer>(nBits);
}

}  // namespace platform
