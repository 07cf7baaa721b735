#include "platform/EndpointSocket.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>

#include "platform/EndpointFrame.h"

namespace platform {

EndpointAddress EndpointAddressOf(std::string_view strTitle) {
  const std::string strName = EndpointName(strTitle);
  EndpointAddress objResult;
  static_assert(sizeof(objResult.objAddress.sun_path) >= 6 + 10 + 1 + 64 + 1, "the longest name");
  objResult.objAddress.sun_family = AF_UNIX;
  std::copy(strName.begin(), strName.end(), objResult.objAddress.sun_path + 1);
  objResult.nLength = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + strName.size());
  return objResult;
}

namespace {

std::optional<ucred> PeerOf(int nFd) {
  ucred objPeer{};
  socklen_t nLength = sizeof objPeer;
  if (getsockopt(nFd, SOL_SOCKET, SO_PEERCRED, &objPeer, &nLength) != 0) return std::nullopt;
  return objPeer;
}

}  // namespace

bool PeerIsOurUser(int nFd) {
  const auto objPeer = PeerOf(nFd);
  return objPeer && objPeer->uid == geteuid();
}

pid_t PeerProcess(int nFd) {
  const auto objPeer = PeerOf(nFd);
  return objPeer ? objPeer->pid : 0;
}

bool SendAll(int nFd, std::span<const unsigned char> objBytes, int nTimeout) {
  while (!objBytes.empty()) {
    const ssize_t nSent = send(nFd, objBytes.data(), objBytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (nSent > 0) {
      objBytes = objBytes.subspan(static_cast<size_t>(nSent));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return false;
    pollfd objPoll{nFd, POLLOUT, 0};
    const int nReady = poll(&objPoll, 1, nTimeout);
    if (nReady == 0 || (nReady < 0 && errno != EINTR)) return false;
  }
  return true;
}

}  // namespace platform
