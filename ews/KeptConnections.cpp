#include "ews/KeptConnections.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace ews {

void KeptConnections::Follow(CURL* pCurl) {
  curl_easy_setopt(pCurl, CURLOPT_OPENSOCKETFUNCTION, &OnOpen);
  curl_easy_setopt(pCurl, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(pCurl, CURLOPT_CLOSESOCKETFUNCTION, &OnClose);
  curl_easy_setopt(pCurl, CURLOPT_CLOSESOCKETDATA, this);
}

void KeptConnections::EndWhereEnded() {
  constexpr int kMostReads = 64;  // who sends more than this unasked harms itself alone
  for (const curl_socket_t nSocket : m_setSockets) {
    pollfd objPoll{nSocket, POLLIN, 0};
    if (poll(&objPoll, 1, 0) <= 0) continue;
    shutdown(nSocket, SHUT_RD);  // what is read from then on is the end
    std::array<char, 4096> arrUnread;
    for (int n = 0; n < kMostReads; ++n) {
      if (recv(nSocket, arrUnread.data(), arrUnread.size(), MSG_DONTWAIT) <= 0) break;
    }
  }
}

curl_socket_t KeptConnections::OnOpen(void* pUser, curlsocktype, curl_sockaddr* pAddress) {
  const int nSocket =
      socket(pAddress->family, pAddress->socktype | SOCK_CLOEXEC, pAddress->protocol);
  if (nSocket < 0) return CURL_SOCKET_BAD;
  try {
    static_cast<KeptConnections*>(pUser)->m_setSockets.insert(nSocket);
  } catch (...) {  // no memory; an exception must not cross the C library
    close(nSocket);
    return CURL_SOCKET_BAD;
  }
  return nSocket;
}

int KeptConnections::OnClose(void* pUser, curl_socket_t nSocket) {
  static_cast<KeptConnections*>(pUser)->m_setSockets.erase(nSocket);
  return close(nSocket);
}

}  // namespace ews
