#include "tests/support/ScriptedServer.h"

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include <httplib.h>
#include <openssl/ssl.h>

#include "base/AsciiText.h"
#include "mailboxd/Certificate.h"
#include "tests/support/Freer.h"
#include "tests/support/LoopbackThread.h"
#include "tests/support/TemporaryFolder.h"

namespace test_support {
namespace {

using Connection = std::unique_ptr<SSL, Freer<SSL_free>>;

// What a server needs for TLS: its certificate, and its connections to end them.
class TlsSide {
 public:
  bool SetUp(SSL_CTX& context, ScriptedServer::Tls highest) {
    SSL_CTX_set_security_level(&context, 0);
    SSL_CTX_set_cipher_list(&context, "ALL:@SECLEVEL=0");
    SSL_CTX_set_min_proto_version(&context, TLS1_VERSION);
    SSL_CTX_set_max_proto_version(&context, static_cast<int>(highest));
    SSL_CTX_set_app_data(&context, this);
    SSL_CTX_set_info_callback(&context, &OnState);
    return SSL_CTX_use_certificate_file(&context, CertificateFile().c_str(), SSL_FILETYPE_PEM) ==
               1 &&
           SSL_CTX_use_PrivateKey_file(&context, m_files.keyFile.c_str(), SSL_FILETYPE_PEM) == 1;
  }
  void EndConnections() {
    const std::lock_guard lock(m_mutex);
    for (const Connection& connection : m_connections) SSL_shutdown(connection.get());
    m_connections.clear();
  }
  const std::string& CertificateFile() const { return m_files.certificateFile; }

 private:
  static void OnState(const SSL* ssl, int where, int) {
    if ((where & SSL_CB_HANDSHAKE_DONE) == 0) return;
    auto* self = static_cast<TlsSide*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(ssl)));
    auto* connection = const_cast<SSL*>(ssl);
    SSL_up_ref(connection);
    const std::lock_guard lock(self->m_mutex);
    self->m_connections.emplace_back(connection);
  }

  std::mutex m_mutex;
  std::vector<Connection> m_connections;
  const TemporaryFolder m_folder;
  const mailbox::Certificate m_files = mailbox::EnsureCertificate(m_folder.Path());
};

}  // namespace

struct ScriptedServer::Impl {
  std::optional<TlsSide> tls;
  std::unique_ptr<httplib::Server> server;
  mutable std::mutex mutex;
  std::condition_variable ending;
  bool ended = false;
  std::deque<ScriptedAnswer> script;
  std::vector<SeenRequest> seen;
  size_t answered = 0;  // of them
  int port = 0;
  std::optional<LoopbackThread> thread;  // goes first, while answers are at work

  ScriptedAnswer Take(const httplib::Request& request) {
    const std::lock_guard lock(mutex);
    seen.push_back({request.method,
                    request.path,
                    {request.headers.begin(), request.headers.end()},
                    request.body,
                    request.remote_port});
    if (script.empty()) return {.status = 500, .body = "the script has ended"};
    ScriptedAnswer answer = std::move(script.front());
    script.pop_front();
    return answer;
  }

  // The library hides its socket: it is the descriptor with these two ports.
  void EndConnection(int remotePort, ScriptedAnswer::Fault how) const {
    const auto portOf = [](int fd, auto getName) {
      sockaddr_in address{};
      socklen_t length = sizeof address;
      return getName(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0
                 ? ntohs(address.sin_port)
                 : -1;
    };
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    for (int fd = 0; fd < static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 65536)); ++fd) {
      if (portOf(fd, getsockname) == port && portOf(fd, getpeername) == remotePort) {
        const sockaddr none{.sa_family = AF_UNSPEC, .sa_data = {}};
        if (how == ScriptedAnswer::Fault::kReset) connect(fd, &none, sizeof none);
        shutdown(fd, SHUT_RDWR);
      }
    }
  }

  void WaitForEnd() {
    std::unique_lock lock(mutex);
    ending.wait(lock, [this] { return ended; });
  }

  void Answer(const httplib::Request& request, httplib::Response& response) {
    ScriptedAnswer answer = Take(request);
    if (answer.fault == ScriptedAnswer::Fault::kSilence) WaitForEnd();
    if (answer.fault == ScriptedAnswer::Fault::kDropUnanswered ||
        answer.fault == ScriptedAnswer::Fault::kReset) {
      EndConnection(request.remote_port, answer.fault);
    }
    response.status = answer.status;
    for (const auto& [name, value] : answer.headers) response.set_header(name, value);
    if (answer.fault == ScriptedAnswer::Fault::kDropInBody) {
      const size_t half = answer.body.size() / 2;
      response.set_content_provider(
          answer.body.size(), answer.contentType,
          [body = answer.body, half](size_t offset, size_t, httplib::DataSink& sink) {
            if (offset >= half) return false;
            return sink.write(body.data() + offset, half - offset);
          });
    } else {
      response.set_content(answer.body, answer.contentType);
    }
  }
};

std::string SeenRequest::Header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (mail::equalsNoCase(key, name)) return value;
  }
  return {};
}

ScriptedServer::ScriptedServer(Tls highest) : m_impl(std::make_unique<Impl>()) {
  if (highest == Tls::kNone) {
    m_impl->server = std::make_unique<httplib::Server>();
  } else {
    TlsSide& tls = m_impl->tls.emplace();
    m_impl->server = std::make_unique<httplib::SSLServer>(
        [&](SSL_CTX& context) { return tls.SetUp(context, highest); });
  }
  const auto handler = [impl = m_impl.get()](const httplib::Request& request,
                                             httplib::Response& response) {
    impl->Answer(request, response);
  };
  m_impl->server->Post(".*", handler);
  m_impl->server->Get(".*", handler);
  m_impl->server->set_keep_alive_max_count(1000);
  m_impl->server->set_tcp_nodelay(true);
  m_impl->server->set_logger(
      [impl = m_impl.get()](const auto&, const auto&) {  // behind each answer
        const std::lock_guard lock(impl->mutex);
        ++impl->answered;
        impl->ending.notify_all();
      });
  m_impl->port = m_impl->thread.emplace(*m_impl->server).Port();
}

ScriptedServer::~ScriptedServer() {
  {
    const std::lock_guard lock(m_impl->mutex);
    m_impl->ended = true;
  }
  m_impl->ending.notify_all();
}

void ScriptedServer::Push(ScriptedAnswer answer) {
  const std::lock_guard lock(m_impl->mutex);
  m_impl->script.push_back(std::move(answer));
}

int ScriptedServer::Port() const { return m_impl->port; }

std::string ScriptedServer::Url(const std::string& path, const std::string& host) const {
  return (m_impl->tls ? "https://" : "http://") + host + ":" + std::to_string(Port()) + path;
}

void ScriptedServer::EndConnections() {
  // The answer may be with the client while its thread here is still at work on the connection. One
  // that cannot be written is never told of, so that the wait has an end.
  std::unique_lock lock(m_impl->mutex);
  m_impl->ending.wait_for(lock, std::chrono::minutes(1),
                          [this] { return m_impl->answered == m_impl->seen.size(); });
  m_impl->tls.value().EndConnections();
}

const std::string& ScriptedServer::CertificateFile() const {
  return m_impl->tls.value().CertificateFile();
}

std::vector<SeenRequest> ScriptedServer::Requests() const {
  const std::lock_guard lock(m_impl->mutex);
  return m_impl->seen;
}

}  // namespace test_support
