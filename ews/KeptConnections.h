#pragma once

#include <set>

#include <curl/curl.h>

namespace ews {

// The sockets of the connections that a libcurl handle holds. A server that ends an idle connection
// says so over TLS before it closes it, often right behind an answer, and libcurl takes a
// connection with such a message unread for a live one: the next request is written into it, and
// nobody knows whether it was carried out. A server has nothing to say on an idle connection, so
// whatever is there to read there means that it is of no more use.
//
// Lives longer than the handle that it follows.
class KeptConnections {
 public:
  KeptConnections() = default;
  KeptConnections(const KeptConnections&) = delete;
  KeptConnections& operator=(const KeptConnections&) = delete;

  // Sets the options by which the sockets are known; for each request, since a reset drops them.
  void Follow(CURL* pCurl);
  // Makes libcurl see the end of every connection that has ended. Between two requests only.
  void EndWhereEnded();

 private:
  static curl_socket_t OnOpen(void* pUser, curlsocktype ePurpose, curl_sockaddr* pAddress);
  static int OnClose(void* pUser, curl_socket_t nSocket);

  std::set<curl_socket_t> m_setSockets;
};

}  // namespace ews
