#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace platform {

// The engine's side of the command endpoint: what its window was. One thread; one command at a
// time, in order of arrival, from any number of connections of the same user. A client that goes
// away in the middle of its command does not end it.
class EndpointServer {
 public:
  class Handler {
   public:
    virtual ~Handler() = default;
    // One command; the bytes live for the length of the call. The result goes to the client.
    virtual std::int32_t OnCopyData(std::uint32_t dwData, std::uint64_t hSender,
                                    std::span<const unsigned char> objBytes) = 0;
    // A request to end (a close frame, SIGTERM, SIGINT or SIGHUP). Ends only through Stop().
    virtual void OnClose() = 0;
  };

  // Binds the endpoint of the title (UTF-8). Throws std::system_error; EADDRINUSE means that an
  // engine of this title runs.
  explicit EndpointServer(std::string_view strTitle);
  ~EndpointServer();

  // Serves until Stop() was called; the result of the command in work still leaves. The first
  // SIGTERM, SIGINT or SIGHUP acts as a close after the command in work, a second one ends the
  // process.
  void Run(Handler& objHandler);
  void Stop();

  // Sends a message to the client with that handle, in the middle of its command, and returns its
  // answer; 0 when that client is gone or hangs up.
  std::int64_t Notify(std::uint64_t hSender, std::uint32_t nMessage,
                      std::span<const unsigned char> objBytes);

 private:
  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

}  // namespace platform
