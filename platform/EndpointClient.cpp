#include "platform/EndpointClient.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <thread>

#include "platform/EndpointSocket.h"

namespace platform {
namespace {

constexpr std::chrono::milliseconds kBetweenTries{1};
constexpr int kForEver = -1;

// A connection to the title's endpoint, or none while nobody listens there.
UniqueFd TryConnect(const EndpointAddress& objAddress) {
  UniqueFd objFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!objFd) return objFd;
  const auto* pAddress = reinterpret_cast<const sockaddr*>(&objAddress.objAddress);
  if (connect(objFd.Get(), pAddress, objAddress.nLength) != 0) objFd.Reset();
  return objFd;
}

}  // namespace

EndpointClient::EndpointClient(std::string_view strTitle, std::chrono::milliseconds nTimeout) {
  const EndpointAddress objAddress = EndpointAddressOf(strTitle);
  const auto nGiveUp = std::chrono::steady_clock::now() + nTimeout;
  while (!(m_objFd = TryConnect(objAddress))) {
    if (std::chrono::steady_clock::now() >= nGiveUp) {
      throw EndpointError("the engine does not answer");
    }
    std::this_thread::sleep_for(kBetweenTries);
  }
  if (!PeerIsOurUser(m_objFd.Get())) throw EndpointError("the engine belongs to another user");
}

bool EndpointClient::IsServed(std::string_view strTitle) {
  const UniqueFd objFd = TryConnect(EndpointAddressOf(strTitle));
  return objFd && PeerIsOurUser(objFd.Get());
}

pid_t EndpointClient::ProcessOf(std::string_view strTitle) {
  const UniqueFd objFd = TryConnect(EndpointAddressOf(strTitle));
  return objFd && PeerIsOurUser(objFd.Get()) ? PeerProcess(objFd.Get()) : 0;
}

std::int32_t EndpointClient::SendCommand(std::uint32_t dwData, std::uint64_t hSender,
                                         std::span<const unsigned char> objBytes,
                                         const NotifyHandler& fnNotify) {
  std::vector<unsigned char> arrPayload;
  AppendLittleEndian(arrPayload, dwData);
  AppendLittleEndian(arrPayload, hSender);
  if (objBytes.size() > kMaxPayload - arrPayload.size()) {
    throw EndpointError("the command is too long");
  }
  arrPayload.insert(arrPayload.end(), objBytes.begin(), objBytes.end());
  Send(FrameKind::kCopyData, arrPayload);
  for (;;) {
    const Frame objFrame = ReadFrame();
    if (objFrame.eKind == FrameKind::kResult) {
      return ReadLittleEndian<std::int32_t>(objFrame.arrPayload, 0);
    }
    if (objFrame.eKind != FrameKind::kNotify) throw EndpointError("the engine sent a wrong frame");
    const std::span<const unsigned char> objNotify = objFrame.arrPayload;
    const auto nMessage = ReadLittleEndian<std::uint32_t>(objNotify, 0);
    std::vector<unsigned char> arrAnswer;
    AppendLittleEndian<std::int64_t>(arrAnswer,
                                     fnNotify ? fnNotify(nMessage, objNotify.subspan(4)) : 0);
    Send(FrameKind::kNotifyResult, arrAnswer);
  }
}

void EndpointClient::Close() { Send(FrameKind::kClose, {}); }

void EndpointClient::WaitForEnd() {
  try {
    for (;;) (void)ReadFrame();
  } catch (const EndpointError&) {
    // The one way out: it has hung up.
  }
}

void EndpointClient::Send(FrameKind eKind, std::span<const unsigned char> objPayload) {
  if (!SendAll(m_objFd.Get(), BuildFrame(eKind, objPayload), kForEver)) {
    throw EndpointError("the engine hung up");
  }
}

Frame EndpointClient::ReadFrame() {
  Frame objFrame;
  for (;;) {
    const FrameStatus eStatus = TakeFrame(m_arrBuffer, objFrame);
    if (eStatus == FrameStatus::kFrame) return objFrame;
    if (eStatus == FrameStatus::kMalformed) {
      throw EndpointError("the engine sent a malformed frame");
    }
    std::array<unsigned char, 65536> arrRead;
    const ssize_t nRead = recv(m_objFd.Get(), arrRead.data(), arrRead.size(), 0);
    if (nRead > 0) {
      m_arrBuffer.insert(m_arrBuffer.end(), arrRead.begin(), arrRead.begin() + nRead);
      continue;
    }
    if (nRead == 0 || (errno != EAGAIN && errno != EINTR)) {
      throw EndpointError("the engine hung up");
    }
    pollfd objPoll{m_objFd.Get(), POLLIN, 0};
    poll(&objPoll, 1, kForEver);  // whatever it gives, the next read tells
  }
}

}  // namespace platform
