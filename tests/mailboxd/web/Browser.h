#pragma once

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "client/run/LineDrain.h"
#include "platform/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace mailbox_test {

// A page in a headless Chromium, driven over its pipe for debuggers. What fails, or takes too long,
// throws. It ends with the object.
class Browser {
 public:
  static bool IsThere() { return std::system("command -v chromium > /dev/null 2>&1") == 0; }

  Browser() {
    client::Pipe in = client::MakePipe();
    client::Pipe out = client::MakePipe();
    const auto path = [](const platform::UniqueFd& end) {
      return "/proc/self/fd/" + std::to_string(end.Get());
    };
    platform::ChildOptions options;
    // The browser wants its pipe as 3 and 4.
    options.arrArguments = {"/bin/sh", "-c",
                            "exec chromium --headless --no-sandbox --disable-gpu "
                            "--remote-debugging-pipe --user-data-dir=" +
                                m_folder.File("profile") + " about:blank 3<" + path(in.readEnd) +
                                " 4>" + path(out.writeEnd)};
    options.arrInherit = {in.readEnd.Get(), out.writeEnd.Get()};
    m_process.emplace(platform::ChildProcess::Start(options));
    m_in = std::move(in.writeEnd);
    m_out = std::move(out.readEnd);
    const auto target = Call("Target.createTarget", {{"url", "about:blank"}})["targetId"];
    m_session =
        Call("Target.attachToTarget", {{"targetId", target}, {"flatten", true}})["sessionId"];
    Call("Page.enable");
  }
  ~Browser() {
    m_process->Signal(SIGKILL);
    m_process->Wait();
  }
  Browser(const Browser&) = delete;
  Browser& operator=(const Browser&) = delete;

  nlohmann::json Call(const std::string& method,
                      nlohmann::json parameters = nlohmann::json::object()) {
    const int id = ++m_calls;
    nlohmann::json call = {{"id", id}, {"method", method}, {"params", std::move(parameters)}};
    if (!m_session.empty()) call["sessionId"] = m_session;
    const std::string text = call.dump() + '\0';
    if (write(m_in.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      throw std::runtime_error("the browser is gone");
    }
    for (;;) {
      const nlohmann::json message = Read();
      if (message.value("id", 0) != id) continue;
      if (message.contains("error")) throw std::runtime_error(message["error"].dump());
      return message["result"];
    }
  }
  void Open(const std::string& url) {
    Call("Page.navigate", {{"url", url}});
    AwaitPage();
  }
  // Until the page that was asked for last is there.
  void AwaitPage() {
    while (Read().value("method", "") != "Page.loadEventFired") continue;
  }
  void Press(const std::string& key, int code, const std::string& text = "") {
    for (const char* const type : {text.empty() ? "rawKeyDown" : "keyDown", "keyUp"}) {
      Call("Input.dispatchKeyEvent",
           {{"type", type}, {"key", key}, {"windowsVirtualKeyCode", code}, {"text", text}});
    }
  }
  void PressTab() { Press("Tab", 9); }
  void PressEnter() { Press("Enter", 13, "\r"); }
  // The value of an expression.
  nlohmann::json Value(const std::string& expression) {
    const nlohmann::json result =
        Call("Runtime.evaluate", {{"expression", expression}, {"returnByValue", true}});
    if (result.contains("exceptionDetails")) {
      throw std::runtime_error(result["exceptionDetails"].dump());
    }
    return result["result"].value("value", nlohmann::json());
  }

 private:
  // The next message, whose end is a NUL.
  nlohmann::json Read() {
    constexpr int kLongest = 240'000;  // milliseconds
    size_t end = 0;
    while ((end = m_read.find('\0')) == std::string::npos) {
      pollfd there{m_out.Get(), POLLIN, 0};
      char bytes[65536];
      const ssize_t got =
          ::poll(&there, 1, kLongest) == 1 ? ::read(m_out.Get(), bytes, sizeof bytes) : 0;
      if (got <= 0) throw std::runtime_error("the browser does not answer");
      m_read.append(bytes, static_cast<size_t>(got));
    }
    const nlohmann::json message = nlohmann::json::parse(m_read.substr(0, end));
    m_read.erase(0, end + 1);
    return message;
  }

  test_support::TemporaryFolder m_folder;
  platform::UniqueFd m_in;
  platform::UniqueFd m_out;
  std::optional<platform::ChildProcess> m_process;
  std::string m_session;
  std::string m_read;
  int m_calls = 0;
};

}  // namespace mailbox_test
