#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "mailboxd/store/DataFolderLock.h"
#include "mailboxd/store/Store.h"

namespace mailbox {

struct ServerOptions {
  // Path of this system, made with mode 0700 when missing; or a store's file, of which the pages
  // alone are served.
  std::string dataFolder;
  int port = 0;            // 0: any that is free
  bool https = false;
  // "": any login is accepted, and its name is the mailbox. Otherwise this one only, with the
  // password, which is then also the secret of token clients.
  std::string user;
  std::string password;
  std::int64_t maximumMessageSize = 150 * 1024 * 1024;  // bytes
  std::vector<std::string> faults;                      // see Faults.h
  std::string logFile;                                  // see RequestLog.h; "" for none
  std::chrono::seconds patience{300};                   // for a client's next byte
  // Who starts it ends it so; another server waits for one that is about to end.
  DataFolderLock::Lifetime lifetime = DataFolderLock::Lifetime::kUntilStopped;
};

// A mailbox server on 127.0.0.1. It holds the folder's lock, if it has one, while it lives.
class Server {
 public:
  // Opens the folder and the port; requests wait from here on. Throws std::runtime_error, whose
  // message is for the user, std::invalid_argument for a fault that is no order.
  explicit Server(const ServerOptions& options);
  ~Server();  // stops
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  void Start();  // answers requests on threads of its own
  // Ends the connections, each behind the answer that is in work, which is waited for 5 s at most.
  void Stop();

  std::string Url() const;  // "https://127.0.0.1:8443"
  std::string EwsUrl() const;
  std::string AutodiscoverUrl() const;
  std::string CertificateFile() const;  // "" without https
  Store& Mailboxes();
  std::int64_t RequestCount() const;  // to the mailbox, up to now

 private:
  class Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

}  // namespace mailbox
