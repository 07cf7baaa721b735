#include "mailboxd/Server.h"

#include <httplib.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <thread>

#include "base/AsciiText.h"
#include "base/WholeNumber.h"
#include "mailboxd/Certificate.h"
#include "mailboxd/Connections.h"
#include "mailboxd/Directory.h"
#include "mailboxd/Logins.h"
#include "mailboxd/RequestLog.h"
#include "mailboxd/RequestsInWork.h"
#include "mailboxd/Workers.h"
#include "mailboxd/ews/Autodiscover.h"
#include "mailboxd/ews/Operations.h"
#include "mailboxd/web/WebPages.h"
#include "platform/Sqlite.h"

namespace mailbox {
namespace {

constexpr size_t kLargestRequest = 300ull * 1024 * 1024;  // bytes
constexpr size_t kThreads = 64;                     // each connection that is served holds one
constexpr time_t kKeepAlive = 60;                   // seconds without a request
constexpr std::chrono::seconds kLongestUnread{30};  // until one that reads no answer is let go
constexpr std::chrono::seconds kFarewell{5};        // for answers that are on their way
constexpr int kBacklog = 256;                       // connections that wait to be taken
constexpr size_t kUnlimited = 1u << 30;             // requests on one connection

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), mail::toLowerAscii);
  return text;
}

// Only SO_REUSEADDR: with the port shared, a second server would take some of the requests.
void SocketOptions(int fd) {
  const int on = 1;
  ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

std::optional<DataFolderLock> LockOf(const ServerOptions& options) {
  return std::make_optional<DataFolderLock>(options.dataFolder, options.lifetime);
}

}  // namespace

// What its line in the log tells of a request.
struct LogNote {
  RequestNote request;
  size_t received = 0;  // bytes
};

class Server::Implementation {
 public:
  explicit Implementation(const ServerOptions& options)
      : m_options(options),
        m_isStoreFile(std::filesystem::is_regular_file(options.dataFolder)),
        m_lock(m_isStoreFile ? std::nullopt : LockOf(options)),
        m_store(m_isStoreFile ? options.dataFolder : options.dataFolder + "/mailbox.db",
                m_isStoreFile ? Store::Mode::kReadOnly : Store::Mode::kReadWrite),
        m_logins(options.user, options.password),
        m_log(options.logFile) {
    for (const std::string& fault : options.faults) {
      if (!m_faults.Add(fault)) throw std::invalid_argument("no such fault: " + fault);
    }
    MakeHttp();
    Configure();
    Route();
    Bind();
  }

  void Start() {
    m_thread = std::thread([this] { m_http->listen_after_bind(); });
    while (!m_http->is_running()) std::this_thread::yield();
  }

  void Stop() {
    if (!m_thread.joinable()) return;
    // Connections that wait for a next request, or for the rest of one, see their end at once. The
    // library is stopped behind that: it lets no answer go on then.
    const std::set<int> working = m_inWork.Close();
    ForEachConnection(m_port, [&](int fd, int peer) {
      if (!working.contains(peer)) ::shutdown(fd, SHUT_RD);
    });
    m_inWork.Wait(kFarewell);
    m_http->stop();
    ForEachConnection(m_port, [](int fd, int) { ::shutdown(fd, SHUT_RD); });
    m_thread.join();
  }

  void MakeHttp();
  void Configure();
  void Route();
  void Bind();
  template <typename Work>
  void Logged(const httplib::Request& request, httplib::Response& response, Work work);
  void HandlePost(const httplib::Request& request, httplib::Response& response,
                  const httplib::ContentReader& reader, LogNote& note);
  void HandleGet(const httplib::Request& request, httplib::Response& response, LogNote& note);
  void Handle(const httplib::Request& request, httplib::Response& response, std::string& body,
              RequestNote& note);
  void HandleEws(const httplib::Request& request, httplib::Response& response, std::string& body,
                 RequestNote& note);
  bool LetIn(const httplib::Request& request, httplib::Response& response);
  bool Fail(const httplib::Request& request, httplib::Response& response, Place place);
  bool FailAtMailbox(const httplib::Request& request, httplib::Response& response);
  bool BeginWork(const httplib::Request& request, httplib::Response& response);
  void CutConnection(const httplib::Request& request);
  bool Drop(Cut cut, const httplib::Request& request, Place place = Place::kMailbox);
  std::optional<std::string> Login(const httplib::Request& request) {
    return m_logins.NameIn(request.get_header_value("Authorization"));
  }
  void HandlePage(const httplib::Request& request, httplib::Response& response);
  void HandleDirectory(const httplib::Request& request, httplib::Response& response);
  std::string UrlFor(const std::string& host) const {
    return (m_options.https ? "https://" : "http://") + host;
  }
  std::string OwnHost() const { return "127.0.0.1:" + std::to_string(m_port); }

  ServerOptions m_options;
  // The file of one store is shown by the pages, beside whoever writes it, and never changed.
  const bool m_isStoreFile;
  std::optional<DataFolderLock> m_lock;
  Store m_store;
  Faults m_faults;
  std::atomic<std::int64_t> m_requests = 0;
  Logins m_logins;
  RequestLog m_log;
  RequestsInWork m_inWork;
  std::string m_certificate;
  std::unique_ptr<httplib::Server> m_http;
  int m_listening = -1;  // the library's own
  int m_port = 0;
  std::thread m_thread;
};

namespace {

// With a known length and a provider, the body is sent as it is: compressing for a client on the
// same machine only costs time.
void Send(httplib::Response& response, int status, const std::string& type, std::string body) {
  response.status = status;
  if (body.empty()) {  // a provider of nothing would leave the length out, and the client waiting
    response.set_content("", type);
    return;
  }
  auto text = std::make_shared<std::string>(std::move(body));
  response.set_content_provider(text->size(), type,
                                [text](size_t offset, size_t length, httplib::DataSink& sink) {
                                  return sink.write(text->data() + offset, length);
                                });
}

// In lower case; they are known in any.
constexpr std::string_view kEwsPath = "/ews/exchange.asmx";
constexpr std::string_view kAutodiscoverPath = "/autodiscover/autodiscover.xml";
constexpr std::string_view kFaultsPath = "/faults";

constexpr char kXml[] = "text/xml; charset=utf-8";
constexpr char kJson[] = "application/json";

void AskForLogin(httplib::Response& response) {
  response.set_header("WWW-Authenticate", "Basic realm=\"mailboxd\"");
  response.set_header("WWW-Authenticate", "Bearer");
}

// How long a request takes, for its line in the log.
class Stopwatch {
 public:
  RequestLog::Entry Entry(const httplib::Request& request,
                          const httplib::Response& response) const {
    using std::chrono::duration_cast, std::chrono::microseconds;
    const auto taken = std::chrono::steady_clock::now() - m_begin;
    return {request.method,
            request.path,
            "",
            "",
            std::max(response.status, 0),
            0,
            std::max(response.content_length_, response.body.size()),
            duration_cast<microseconds>(taken).count()};
  }

 private:
  std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

void Wait(int milliseconds) {
  if (milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool IsHost(const std::string& host) {
  return !host.empty() && host.size() < 300 &&
         host.find_first_not_of(
             "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
             ".-:[]") == std::string::npos;
}

// What is left of a body that is not read is no next request: behind this answer the connection
// ends.
void MakeLast(httplib::Response& response) { response.set_header("Connection", "close"); }
bool IsLast(const httplib::Response& response) {
  return response.get_header_value("Connection") == "close";
}

// The status for a request whose body is none that is read here, or has no end that is known; 0
// for any other.
int RefusalOf(const httplib::Request& request) {
  if (request.is_multipart_form_data()) return 415;
  // A few bytes may unpack to any number; no client of the service packs what it sends.
  if (request.has_header("Content-Encoding")) {
    if (Lower(request.get_header_value("Content-Encoding")) != "identity") return 415;
  }
  if (request.has_header("Transfer-Encoding")) {
    return Lower(request.get_header_value("Transfer-Encoding")) == "chunked" ? 0 : 501;
  }
  const size_t lengths = request.get_header_value_count("Content-Length");
  if (lengths == 0) return 411;
  const auto length = mail::wholeNumber<std::uint64_t>(request.get_header_value("Content-Length"));
  return lengths == 1 && length ? 0 : 400;
}

// `host` in lower case, with or without a port.
bool IsLoopbackName(std::string_view host) {
  const size_t colon = host.rfind(':');
  if (colon != std::string_view::npos && host.find(']', colon) == std::string_view::npos) {
    host = host.substr(0, colon);
  }
  return host == "127.0.0.1" || host == "localhost" || host == "[::1]";
}

}  // namespace

void Server::Implementation::MakeHttp() {
  if (m_options.https && m_isStoreFile) {
    throw std::runtime_error("the certificate of --https needs a folder as --data");
  }
  if (m_options.https) {
    const Certificate files = EnsureCertificate(m_options.dataFolder);
    m_certificate = files.certificateFile;
    m_http =
        std::make_unique<httplib::SSLServer>(files.certificateFile.c_str(), files.keyFile.c_str());
  } else {
    m_http = std::make_unique<httplib::Server>();
  }
  if (!m_http->is_valid()) throw std::runtime_error("the certificate cannot be used");
}

void Server::Implementation::Configure() {
  m_http->new_task_queue = [this] {  // freed by it
    return new Workers(kThreads, [this](size_t waiting) {
      EndSilentConnections(m_port, m_inWork.Ports(), waiting);
    });
  };
  m_http->set_socket_options([this](socket_t fd) {
    SocketOptions(fd);
    m_listening = fd;
  });
  m_http->set_tcp_nodelay(true);
  m_http->set_payload_max_length(kLargestRequest);
  m_http->set_keep_alive_max_count(kUnlimited);
  m_http->set_keep_alive_timeout(kKeepAlive);
  m_http->set_read_timeout(m_options.patience);
  m_http->set_write_timeout(std::min(m_options.patience, kLongestUnread));
}

void Server::Implementation::Route() {
  m_http->Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                            const httplib::ContentReader& reader) {
    Logged(request, response, [&](LogNote& note) { HandlePost(request, response, reader, note); });
  });
  m_http->Get(".*", [this](const httplib::Request& request, httplib::Response& response) {
    Logged(request, response, [&](LogNote& note) { HandleGet(request, response, note); });
  });
  m_http->Delete(std::string(kFaultsPath),
                 [this](const httplib::Request& request, httplib::Response& response) {
                   Logged(request, response, [&](LogNote&) {
                     if (!LetIn(request, response)) return;
                     m_faults.Clear();
                     response.status = 204;
                   });
                 });
  // Called when an answer is out.
  m_http->set_logger([this](const httplib::Request& request, const httplib::Response& response) {
    m_inWork.End(request.remote_port);
    if (IsLast(response)) CutConnection(request);
  });
}

void Server::Implementation::Bind() {
  if (m_options.port == 0) {
    m_port = m_http->bind_to_any_port("127.0.0.1");
    if (m_port <= 0) throw std::runtime_error("no port is free");
  } else {
    m_port = m_options.port;
    if (!m_http->bind_to_port("127.0.0.1", m_port)) {
      throw std::runtime_error("port " + std::to_string(m_port) + " is taken");
    }
  }
  // The library's backlog is 5; a burst of clients beyond it would wait a second each.
  ::listen(m_listening, kBacklog);
}

// Does the work and tells of it, also where it fails.
template <typename Work>
void Server::Implementation::Logged(const httplib::Request& request, httplib::Response& response,
                                    Work work) {
  const Stopwatch watch;
  LogNote note;
  try {
    work(note);
  } catch (const std::exception&) {
    Send(response, 500, kXml, WriteFault(FaultOf("ErrorInternalServerError")));
  }
  if (!m_log.IsOn()) return;
  RequestLog::Entry entry = watch.Entry(request, response);
  entry.operation = note.request.operation;
  entry.mailbox = note.request.mailbox;
  entry.received = note.received;
  m_log.Add(entry);
}

void Server::Implementation::HandlePost(const httplib::Request& request,
                                        httplib::Response& response,
                                        const httplib::ContentReader& reader, LogNote& note) {
  std::string body;
  if (const int status = RefusalOf(request); status != 0) {
    response.status = status;
    return MakeLast(response);
  }
  const auto length = request.get_header_value<std::uint64_t>("Content-Length");
  if (length <= kLargestRequest) body.reserve(static_cast<size_t>(length));
  const bool ews = Lower(request.path) == kEwsPath;
  if (ews && Drop(Cut::kBeforeBody, request)) return;
  int unread = 408;  // the status if the body does not come to its end
  const bool complete = reader([&](const char* data, size_t size) {
    if (size > kLargestRequest - body.size()) {
      unread = 413;
      return false;
    }
    if (ews && Drop(Cut::kInBody, request)) {
      unread = 0;
      return false;
    }
    body.append(data, size);
    return true;
  });
  note.received = body.size();
  if (!complete && response.status != 413) response.status = unread;
  if (!complete) return MakeLast(response);
  if (BeginWork(request, response)) Handle(request, response, body, note.request);
}

void Server::Implementation::HandleGet(const httplib::Request& request, httplib::Response& response,
                                       LogNote& note) {
  std::string none;
  const std::string path = Lower(request.path);
  if (!BeginWork(request, response)) return;
  if (IsPagePath(request.path)) {
    HandlePage(request, response);
  } else if (IsDirectoryPath(request.path)) {
    HandleDirectory(request, response);
  } else if (path == kAutodiscoverPath) {
    Handle(request, response, none, note.request);
  } else {
    response.status = path == kEwsPath || path == kFaultsPath ? 405 : 404;
  }
}

// False once the server ends: nothing is done then that might get no answer.
bool Server::Implementation::BeginWork(const httplib::Request& request,
                                       httplib::Response& response) {
  if (m_inWork.Begin(request.remote_port)) return true;
  response.status = 503;
  MakeLast(response);
  return false;
}

void Server::Implementation::CutConnection(const httplib::Request& request) {
  ForEachConnection(m_port, [&](int fd, int peer) {
    if (peer == request.remote_port) ::shutdown(fd, SHUT_RDWR);
  });
}

// Cuts the request's connection where that was ordered.
bool Server::Implementation::Drop(Cut cut, const httplib::Request& request, Place place) {
  if (!m_faults.Take(cut, place)) return false;
  CutConnection(request);
  return true;
}

// Failures on demand; true when the request is done with.
bool Server::Implementation::Fail(const httplib::Request& request, httplib::Response& response,
                                  Place place) {
  Wait(m_faults.Latency(place));
  if (Drop(Cut::kBehindBody, request, place)) return true;
  const auto failure = m_faults.TakeStatus(place);
  if (!failure) return false;
  response.status = failure->status;
  if (failure->status == 401) AskForLogin(response);
  if (failure->seconds > 0) response.set_header("Retry-After", std::to_string(failure->seconds));
  return true;
}

bool Server::Implementation::FailAtMailbox(const httplib::Request& request,
                                           httplib::Response& response) {
  if (Fail(request, response, Place::kMailbox)) return true;
  if (const std::string code = m_faults.TakeSoapFault(); !code.empty()) {
    Send(response, 500, kXml, WriteFault(FaultOf(code)));
    return true;
  }
  const auto backOff = m_faults.TakeBusy();
  if (!backOff) return false;
  SoapFault fault = FaultOf("ErrorServerBusy");
  fault.messageXml =
      "<t:Value Name=\"BackOffMilliseconds\">" + std::to_string(*backOff) + "</t:Value>";
  Send(response, 500, kXml, WriteFault(fault));
  return true;
}

void Server::Implementation::HandleEws(const httplib::Request& request, httplib::Response& response,
                                       std::string& body, RequestNote& note) {
  ++m_requests;
  if (FailAtMailbox(request, response)) return;
  const Context context{m_store, m_faults, Login(request).value_or(""),
                        m_options.maximumMessageSize};
  try {
    std::string answer = Answer(body, context, &note);
    if (m_faults.TakeBroken()) answer.resize(answer.size() / 2);
    Send(response, 200, kXml, std::move(answer));
  } catch (const SoapFault& fault) {
    Send(response, 500, kXml, WriteFault(fault));
  } catch (const platform::SqliteError&) {
    Send(response, 500, kXml, WriteFault(FaultOf("ErrorMailboxStoreUnavailable")));
  }
  Wait(m_faults.Hold());
  if (m_faults.TakeClose()) response.set_header("Connection", "close");
  Drop(Cut::kSaved, request);
}

// False for who is not, who is told so.
bool Server::Implementation::LetIn(const httplib::Request& request, httplib::Response& response) {
  const bool hasToken = Lower(request.get_header_value("Authorization")).starts_with("bearer ");
  if (hasToken && m_faults.TakeExpired()) {
    response.status = 401;
    response.set_header("WWW-Authenticate",
                        "Bearer error=\"invalid_token\", error_description=\"The token has "
                        "expired.\"");
    return false;
  }
  if (Login(request)) return true;
  response.status = 401;
  AskForLogin(response);
  return false;
}

void Server::Implementation::Handle(const httplib::Request& request, httplib::Response& response,
                                    std::string& body, RequestNote& note) {
  const std::string path = Lower(request.path);
  if (path.ends_with("/oauth2/v2.0/token")) {
    if (Fail(request, response, Place::kToken)) return;
    TokenEndpoint::Reply reply = m_logins.Tokens().Answer(body);
    Send(response, reply.status, kJson, std::move(reply.json));
    return;
  }
  const bool isEws = path == kEwsPath;
  if (!isEws && path != kAutodiscoverPath && path != kFaultsPath) {
    response.status = 404;
    return;
  }
  if (!LetIn(request, response)) return;
  if (isEws) return HandleEws(request, response, body, note);
  // A web page that is open in a browser cannot send this: it would need leave for the login.
  if (path == kFaultsPath) {
    response.status = m_faults.AddLines(body) ? 204 : 400;
    return;
  }
  if (Fail(request, response, Place::kAutodiscover)) return;
  std::string host = request.get_header_value("Host");
  if (!IsHost(host)) host = OwnHost();
  Send(response, 200, kXml, AnswerAutodiscover(body, UrlFor(host) + "/EWS/Exchange.asmx"));
}

void Server::Implementation::HandleDirectory(const httplib::Request& request,
                                             httplib::Response& response) {
  if (!LetIn(request, response) || FailAtMailbox(request, response)) return;
  std::string host = request.get_header_value("Host");
  if (!IsHost(host)) host = OwnHost();
  DirectoryReply reply =
      AnswerDirectory(m_store, m_options.dataFolder, request.path, request.get_param_value("$top"),
                      request.get_param_value("$skiptoken"), UrlFor(host) + request.path);
  Send(response, reply.status, kJson, std::move(reply.json));
}

// A page is open to the machine's user when any login is; but then only under a name of this
// machine, so that a web site whose name was turned to 127.0.0.1 cannot read mail.
void Server::Implementation::HandlePage(const httplib::Request& request,
                                        httplib::Response& response) {
  if (m_logins.IsOpen()) {
    if (!IsLoopbackName(Lower(request.get_header_value("Host")))) {
      response.status = 403;
      return;
    }
  } else if (!Login(request)) {
    response.status = 401;
    response.set_header("WWW-Authenticate", "Basic realm=\"mailboxd\", charset=\"UTF-8\"");
    return;
  }
  WebReply reply = AnswerPage(m_store, request.path,
                              {request.get_param_value("page"), request.get_param_value("q"),
                               request.get_param_value("month")});
  response.set_header("Content-Security-Policy", reply.policy);
  response.set_header("X-Content-Type-Options", "nosniff");
  response.set_header("Referrer-Policy", "no-referrer");
  response.set_header("Cache-Control", "no-store");
  if (!reply.disposition.empty()) {
    response.set_header("Content-Disposition", reply.disposition);
  }
  Send(response, reply.status, reply.type, std::move(reply.body));
}

Server::Server(const ServerOptions& options)
    : m_implementation(std::make_unique<Implementation>(options)) {}
Server::~Server() { m_implementation->Stop(); }
void Server::Start() { m_implementation->Start(); }
void Server::Stop() { m_implementation->Stop(); }
std::string Server::Url() const { return m_implementation->UrlFor(m_implementation->OwnHost()); }
std::string Server::EwsUrl() const { return Url() + "/EWS/Exchange.asmx"; }
std::string Server::AutodiscoverUrl() const { return Url() + "/autodiscover/autodiscover.xml"; }
std::string Server::CertificateFile() const { return m_implementation->m_certificate; }
std::int64_t Server::RequestCount() const { return m_implementation->m_requests; }
Store& Server::Mailboxes() { return m_implementation->m_store; }

}  // namespace mailbox
