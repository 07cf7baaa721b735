#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "platform/EndpointFrame.h"
#include "platform/UniqueFd.h"

namespace platform {

// The engine hung up or sent something malformed.
class EndpointError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The driving program's side of the command endpoint.
class EndpointClient {
 public:
  // Answers a message that the engine sends in the middle of a command.
  using NotifyHandler =
      std::function<std::int64_t(std::uint32_t nMessage, std::span<const unsigned char> objBytes)>;

  // Tries until the endpoint answers or the time is over; throws EndpointError then, and when the
  // peer belongs to another user. strTitle is UTF-8.
  EndpointClient(std::string_view strTitle, std::chrono::milliseconds nTimeout);
  // True if an engine serves that title now.
  static bool IsServed(std::string_view strTitle);
  // The engine's process, for a signal; 0 for none, or one that cannot be named here.
  static pid_t ProcessOf(std::string_view strTitle);

  // Sends one command and waits for its result, however long it takes. Throws EndpointError.
  std::int32_t SendCommand(std::uint32_t dwData, std::uint64_t hSender,
                           std::span<const unsigned char> objBytes,
                           const NotifyHandler& fnNotify = {});
  void Close();       // sends the request to end; the engine ends after its command
  void WaitForEnd();  // until the engine has hung up
  int Fd() const { return m_objFd.Get(); }

 private:
  void Send(FrameKind eKind, std::span<const unsigned char> objPayload);
  Frame ReadFrame();
  UniqueFd m_objFd;
  std::vector<unsigned char> m_arrBuffer;
};

}  // namespace platform
