#pragma once

#include <memory>
#include <optional>
#include <string>

#include "client/run/LineDrain.h"
#include "client/run/RunMessages.h"
#include "platform/ChildProcess.h"

namespace client {

// A mailboxd of our own on a data folder. It lives as long as somebody holds the other end of its
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
  int LifeLine() const { return m_stdin.Get(); }  // to be inherited by the engine
  // Nothing while it runs; then how it ended.
  std::optional<std::string> Ended();

 private:
  // Returns what it writes to its standard output; its messages go to that descriptor.
  platform::UniqueFd Start(const std::string& program, const platform::UniqueFd& messages);

  std::string m_dataFolder;
  std::string m_url;
  platform::UniqueFd m_stdin;
  std::optional<platform::ChildProcess> m_process;
  std::unique_ptr<LineDrain> m_drain;
};

}  // namespace client
