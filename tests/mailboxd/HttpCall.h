#pragma once

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "mailboxd/Server.h"
#include "platform/Base64.h"
#include "tests/support/TemporaryFolder.h"

namespace mailbox_test {

// "name:password" as an Authorization header has it.
inline std::string Basic(const std::string& login) {
  return "Basic " + platform::Base64Encode(login);
}

struct Call {
  std::string url;
  std::string body = {};  // posted where it is not empty
  std::string authorization = Basic("user@example.com:secret");
  std::string host = {};
  std::string caFile = {};
  std::string method = {};  // POST or GET when left out
};

struct Reply {
  CURLcode result = CURLE_OK;
  long status = 0;
  std::string headers;
  std::string body;
};

inline size_t Collect(char* data, size_t size, size_t count, void* text) {
  static_cast<std::string*>(text)->append(data, size * count);
  return size * count;
}

inline Reply Send(const Call& call) {
  Reply reply;
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(),
                                                                 curl_easy_cleanup);
  curl_slist* list = curl_slist_append(nullptr, "Content-Type: text/xml; charset=utf-8");
  if (!call.authorization.empty()) {
    list = curl_slist_append(list, ("Authorization: " + call.authorization).c_str());
  }
  if (!call.host.empty()) list = curl_slist_append(list, ("Host: " + call.host).c_str());
  curl_easy_setopt(curl.get(), CURLOPT_URL, call.url.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, list);
  if (!call.body.empty()) {
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, call.body.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(call.body.size()));
  }
  if (!call.method.empty()) {
    curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, call.method.c_str());
  }
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply.body);
  curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, Collect);
  curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &reply.headers);
  curl_easy_setopt(curl.get(), CURLOPT_NOPROXY, "*");
  if (!call.caFile.empty()) curl_easy_setopt(curl.get(), CURLOPT_CAINFO, call.caFile.c_str());
  reply.result = curl_easy_perform(curl.get());
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &reply.status);
  curl_slist_free_all(list);
  return reply;
}

// A server in a folder of its own, that answers.
class RunningServer {
 public:
  explicit RunningServer(mailbox::ServerOptions options = {}) {
    options.dataFolder = m_folder.Path();
    m_server.emplace(options);
    m_server->Start();
  }
  mailbox::Server* operator->() { return &*m_server; }
  std::string File(const std::string& name) const { return m_folder.File(name); }

 private:
  test_support::TemporaryFolder m_folder;
  std::optional<mailbox::Server> m_server;
};

inline mailbox::ServerOptions WithFaults(std::vector<std::string> faults) {
  mailbox::ServerOptions options;
  options.faults = std::move(faults);
  return options;
}

// Open to that user alone, whose password is "secret".
inline mailbox::ServerOptions OwnedBy(const std::string& user) {
  mailbox::ServerOptions options;
  options.user = user;
  options.password = "secret";
  return options;
}

}  // namespace mailbox_test
