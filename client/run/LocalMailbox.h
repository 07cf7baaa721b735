#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "client/run/LineDrain.h"
#include "client/run/RunMessages.h"
#include "platform/ChildProcess.h"

namespace client {

// A mailboxd of our own on a data folder. One that ends while it is needed is started again at the
// same address, some times. It lives as long as somebody holds the other end of its
// standard input: we do, and the engine that works with it, so that it outlives a driver which dies
// in the middle of a command. The destructor lets go of it and waits for its end.
class LocalMailbox {
 public:
  // Throws RunError when it does not come up: another mailboxd serves the folder, for example. One
  // whose driver and engine have just gone is waited for.
  LocalMailbox(const std::string& program, const std::string& dataFolder, const Say& say);
  ~LocalMailbox();
  LocalMailbox(const LocalMailbox&) = delete;
  LocalMailbox& operator=(const LocalMailbox&) = delete;

  const std::string& Url() const { return m_url; }  // https://127.0.0.1:PORT
  std::string AutodiscoverUrl() const { return m_url + "/autodiscover/autodiscover.xml"; }
  std::string CertificateFile() const { return m_dataFolder + "/certificate.pem"; }
  int LifeLine() const { return m_lifeLine.Get(); }  // to be inherited by the engine
  // Nothing while it is served; then how it ended for good.
  std::optional<std::string> Ended() const;

 private:
  // Starts the program and returns the first line that it writes.
  std::string Start(std::vector<std::string> more);
  // Waits for its ends and starts it again; on a thread of its own.
  void Watch(const Say& say);

  std::string m_program;
  std::string m_dataFolder;
  std::string m_url;
  platform::UniqueFd m_stdin;     // what it reads until it is to end
  platform::UniqueFd m_lifeLine;  // the other end of it
  platform::UniqueFd m_messages;  // where it writes them
  std::optional<platform::ChildProcess> m_process;
  std::unique_ptr<LineDrain> m_drain;
  mutable std::mutex m_mutex;  // of the next two
  bool m_ending = false;
  std::optional<std::string> m_end;
  std::thread m_watch;
};

}  // namespace client
