#include "mailboxd/Connections.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <utility>
#include <vector>

namespace mailbox {
namespace {

constexpr unsigned kSilence = 1000;  // milliseconds

// How long, in milliseconds; 0 while something waits to be read.
unsigned SilenceOf(int fd) {
  int unread = 0;
  tcp_info info{};
  socklen_t size = sizeof info;
  if (::ioctl(fd, FIONREAD, &unread) != 0 || unread > 0 ||
      ::getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) {
    return 0;
  }
  return std::min(info.tcpi_last_data_recv, info.tcpi_last_data_sent);
}

}  // namespace

void ForEachConnection(int port, const std::function<void(int fd, int peer)>& use) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
    const int fd = std::atoi(entry.path().filename().c_str());
    sockaddr_in here{};
    sockaddr_in there{};
    socklen_t hereSize = sizeof here;
    socklen_t thereSize = sizeof there;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&here), &hereSize) != 0 ||
        here.sin_family != AF_INET || ntohs(here.sin_port) != port ||
        ::getpeername(fd, reinterpret_cast<sockaddr*>(&there), &thereSize) != 0) {
      continue;
    }
    use(fd, ntohs(there.sin_port));
  }
}

void EndSilentConnections(int port, const std::set<int>& working, size_t count) {
  std::vector<std::pair<unsigned, int>> silent;
  ForEachConnection(port, [&](int fd, int peer) {
    const unsigned silence = working.contains(peer) ? 0 : SilenceOf(fd);
    if (silence >= kSilence) silent.emplace_back(silence, fd);
  });
  std::ranges::sort(silent, std::greater());
  silent.resize(std::min(silent.size(), count));
  for (const auto& [silence, fd] : silent) ::shutdown(fd, SHUT_RD);
}

}  // namespace mailbox
