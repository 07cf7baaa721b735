#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ews/EmailMessage.h"
#include "ews/EwsTransport.h"
#include "ews/ExchangeService.h"
#include "ews/RequestBody.h"
#include "ews/ServiceException.h"
#include "ews/Settings.h"

// A transport that gives the answers of its script in order and keeps what was sent. Its clock
// moves only when somebody waits.
class ScriptedTransport : public ews::EwsTransport {
 public:
  struct Sent {
    std::string method;
    std::string url;
    ews::Headers headers;
    std::string authorization;
    std::string body;
    std::chrono::milliseconds timeout;
  };

  void Push(ews::HttpResponse response) { m_script.push_back({std::move(response), {}}); }
  void Push(std::string body, int status = 200) { Push({status, {}, std::move(body)}); }
  void PushAll(std::vector<std::string> bodies) {
    for (std::string& body : bodies) Push(std::move(body));
  }
  void PushRedirect(std::string url, int status = 302) {
    Push({status, {{"Location", std::move(url)}}, ""});
  }
  // The request gets no answer.
  void PushFailure(std::string text, ews::Failure failure = {}) {
    m_script.push_back({{-1, {}, std::move(text)}, failure});
  }

  void Clear() { m_script.clear(); }

  void PushServers(std::vector<ews::SrvRecord> servers) { m_servers = std::move(servers); }

  const std::vector<Sent>& Requests() const { return m_sent; }
  std::chrono::milliseconds Waited() const { return m_waited; }

  std::vector<ews::SrvRecord> LookUpService(const std::string& name,
                                            std::chrono::milliseconds) override {
    m_sent.push_back({"SRV", name, {}, "", "", {}});
    if (m_servers.empty()) throw ews::ServiceException("no record " + name);
    return std::exchange(m_servers, {});
  }
  std::chrono::steady_clock::time_point Now() override {
    return std::chrono::steady_clock::time_point(m_waited);
  }
  void Wait(std::chrono::milliseconds time) override { m_waited += time; }

 private:
  ews::HttpResponse DoSend(const ews::HttpRequest& request) override {
    std::string body;
    if (request.pBody) {
      body.resize(request.pBody->Length());
      const size_t n = request.pBody->Read(body);
      char more = 0;
      if (n != body.size() || request.pBody->Read({&more, 1}) != 0) {
        throw std::logic_error("the body is not as long as it says");
      }
    }
    m_sent.push_back({request.strMethod, request.strUrl, request.arrHeaders,
                      request.objCredentials.HeaderValue(), std::move(body), request.nTimeout});
    if (m_script.empty()) throw ews::ServiceException("the script has ended");
    auto [response, failure] = std::move(m_script.front());
    m_script.pop_front();
    if (response.nStatus < 0) throw ews::ServiceException(response.strBody, failure);
    return response;
  }

  struct Step {
    ews::HttpResponse response;
    ews::Failure failure;
  };

  std::deque<Step> m_script;
  std::vector<ews::SrvRecord> m_servers;
  std::vector<Sent> m_sent;
  std::chrono::milliseconds m_waited{0};
};

// The process's settings as they were, once the object ends.
class SettingsKeeper {
 public:
  SettingsKeeper() : m_saved(ews::Settings()) {}
  ~SettingsKeeper() { ews::Settings() = m_saved; }
  SettingsKeeper(const SettingsKeeper&) = delete;
  SettingsKeeper& operator=(const SettingsKeeper&) = delete;

 private:
  ews::ServiceSettings m_saved;
};

// A test whose requests meet a scripted transport.
class Scripted : public testing::Test {
 protected:
  const std::string& Url(size_t n) const { return m_transport.Requests().at(n).url; }
  const std::string& LastBody() const { return m_transport.Requests().back().body; }

  SettingsKeeper m_settings;
  ScriptedTransport m_transport;
  ews::ScopedTransport m_scope{m_transport};
};

// A mailbox service that has its endpoint.
inline std::shared_ptr<ews::ExchangeService> ServiceAt(
    const CString& url = u"https://mail.example.com/EWS/Exchange.asmx") {
  auto service = std::make_shared<ews::ExchangeService>(ews::ExchangeVersion::Exchange2013_SP1);
  service->SetUrl(url);
  return service;
}

// The text of the exception that the call raises, or "no exception".
template <typename Call>
std::string TextOf(Call call) {
  try {
    call();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "no exception";
}

// The two kinds of request that matter to whoever sends them: a question, which may be asked again,
// and what creates something. Both return the text of the exception, or "no exception".
inline std::string Find(ews::ExchangeService& service) {
  return TextOf(
      [&] { service.FindFolders(ews::WellKnownFolderName::MsgFolderRoot, ews::FolderView(10)); });
}
inline std::string Save(const std::shared_ptr<ews::ExchangeService>& service) {
  return TextOf([&] { ews::EmailMessage(service).Save(ews::WellKnownFolderName::Inbox); });
}

// A test of such a service that meets a scripted transport.
class ScriptedService : public Scripted {
 protected:
  std::string Find() { return ::Find(*m_service); }
  std::string Save() { return ::Save(m_service); }

  std::shared_ptr<ews::ExchangeService> m_service = ServiceAt();
};
