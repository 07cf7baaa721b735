#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

// What a scripted server does with one request.
struct ScriptedAnswer {
  enum class Fault {
    kNone,
    kDropInBody,      // the connection ends behind half of the body
    kDropUnanswered,  // the connection ends instead of an answer
    kReset,           // the same, as a process that dies ends it
    kSilence,         // no answer until the server ends
  };
  int status = 200;
  std::string body = {};
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string contentType = "text/xml; charset=utf-8";
  Fault fault = Fault::kNone;
};

struct SeenRequest {
  std::string method;
  std::string path;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  int remotePort = 0;  // tells connections apart

  // The first header of that name without regard to case, or "".
  std::string Header(std::string_view name) const;
};

// A server on loopback that gives the answers of its script in order, whatever is asked, and keeps
// what it was asked. Behind the end of the script it answers 500. It speaks plain HTTP, or HTTPS
// with a certificate for 127.0.0.1 and localhost that signs itself. It ends with the object.
class ScriptedServer {
 public:
  // The highest version of TLS, as in a record; 1.0 is the lowest.
  enum class Tls { kNone, k10 = 0x0301, k11 = 0x0302, k13 = 0x0304 };

  explicit ScriptedServer(Tls highest = Tls::kNone);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  void Push(ScriptedAnswer answer);
  int Port() const;
  std::string Url(const std::string& path = "/", const std::string& host = "127.0.0.1") const;
  std::vector<SeenRequest> Requests() const;

  // With TLS only. EndConnections says its end on every connection so far, as a server does with an
  // idle one.
  void EndConnections();
  const std::string& CertificateFile() const;  // the one that it serves with, PEM

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace test_support
