#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <httplib.h>

#include "tests/support/LoopbackThread.h"

namespace archive_support {

// A web site on loopback: pages by path, and what was asked for.
class PageServer {
 public:
  PageServer() : m_thread((SetUp(), m_server)) {}

  void Put(const std::string& path, const std::string& body, const std::string& type = "text/html",
           int status = 200) {
    m_pages[path] = {body, type, {}, status};
  }
  void Header(const std::string& path, const std::string& name, const std::string& value) {
    m_pages[path].headers.emplace(name, value);
  }
  void Redirect(const std::string& from, const std::string& to) {
    Put(from, "moved", "text/html", 302);
    Header(from, "Location", to);
  }
  std::string Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_thread.Port()) + path;
  }
  // The requests so far for a path, with their headers.
  std::vector<httplib::Headers> Asked(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    return m_asked[path];
  }

 private:
  struct Page {
    std::string body, type;
    httplib::Headers headers;
    int status = 200;
  };

  void SetUp() {
    m_server.set_keep_alive_max_count(100000);
    m_server.set_tcp_nodelay(true);
    m_server.Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
      const std::lock_guard lock(m_mutex);
      m_asked[request.target].push_back(request.headers);
      const auto it = m_pages.find(request.target);
      if (it == m_pages.end()) {
        response.status = 404;
        return;
      }
      response.status = it->second.status;
      for (const auto& [name, value] : it->second.headers) response.set_header(name, value);
      response.set_content(it->second.body, it->second.type);
    });
  }

  std::mutex m_mutex;
  std::map<std::string, Page> m_pages;
  std::map<std::string, std::vector<httplib::Headers>> m_asked;
  httplib::Server m_server;
  test_support::LoopbackThread m_thread;  // goes first
};

}  // namespace archive_support
