#include "platform/EndpointServer.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <map>
#include <optional>
#include <system_error>

#include "platform/EndSignals.h"
#include "platform/EndpointFrame.h"
#include "platform/EndpointSocket.h"
#include "platform/UniqueFd.h"

// One thread serves all connections. Each is read one frame at a time, never beyond it, and not at
// all while a frame of it waits; so a client holds at most one frame of memory here. The kernel
// keeps the connections that became readable in the order of their arrival (epoll's ready list),
// also while a command is in work and nobody looks; each is reported once and then armed again,
// which puts it behind those that wait already. That gives commands in order of arrival without a
// second thread.
namespace platform {
namespace {

constexpr size_t kMostConnections = 64;  // further ones wait to be accepted
constexpr int kSendTimeout = 30000;      // milliseconds, for a client that does not read
constexpr int kAcceptPause = 100;        // milliseconds, while no descriptor is to be had
constexpr std::uint64_t kListenerId = 0;
constexpr std::uint64_t kSignalId = 1;

[[noreturn]] void ThrowErrno(const char* pszWhat) {
  throw std::system_error(errno, std::generic_category(), pszWhat);
}

UniqueFd Checked(int nFd, const char* pszWhat) {
  if (nFd < 0) ThrowErrno(pszWhat);
  return UniqueFd(nFd);
}

enum class ReadResult { kFrame, kNeedMore, kGone };

struct Connection {
  UniqueFd objFd;
  std::vector<unsigned char> arrBuffer;  // at most one frame
  Frame objWaiting;                      // valid while the connection stands in the queue

  // Reads what is missing of the next frame and no byte more.
  ReadResult Read(Frame& objFrame) {
    for (;;) {
      size_t nSize = 0;
      const FrameStatus eStatus = NextFrameSize(arrBuffer, nSize);
      if (eStatus == FrameStatus::kMalformed) return ReadResult::kGone;
      if (eStatus == FrameStatus::kFrame) {
        (void)TakeFrame(arrBuffer, objFrame);  // it is whole
        return ReadResult::kFrame;
      }
      std::array<unsigned char, 65536> arrRead;
      const size_t nWanted = std::min(nSize - arrBuffer.size(), arrRead.size());
      const ssize_t nRead = recv(objFd.Get(), arrRead.data(), nWanted, MSG_DONTWAIT);
      if (nRead > 0) {
        arrBuffer.insert(arrBuffer.end(), arrRead.begin(), arrRead.begin() + nRead);
      } else if (nRead < 0 && errno == EAGAIN) {
        return ReadResult::kNeedMore;
      } else if (nRead == 0 || errno != EINTR) {
        return ReadResult::kGone;
      }
    }
  }
};

}  // namespace

struct EndpointServer::Impl {
  explicit Impl(std::string_view strTitle);
  void Run(Handler& objHandler);
  void WaitForFrames(int nTimeout);
  void Accept();
  void ReadFrom(std::uint64_t nId);
  void Arm(int nOperation, int nFd, std::uint64_t nId, std::uint32_t nEvents);
  void ArmAgain(std::uint64_t nId);
  void Drop(std::uint64_t nId);
  void Serve(Handler& objHandler, std::uint64_t nId);
  void ServeCommand(Handler& objHandler, std::uint64_t nId, const Frame& objFrame);
  std::optional<std::int64_t> WaitForAnswer(Connection& objClient);

  EndSignals m_objSignals;
  UniqueFd m_objEpoll;
  UniqueFd m_objListener;
  std::map<std::uint64_t, Connection> m_arrConnections;
  std::deque<std::uint64_t> m_arrQueue;  // connections whose frame waits, in order of arrival
  std::uint64_t m_nNextId = kSignalId + 1;
  std::uint64_t m_nInWork = 0;  // the connection whose command is in work, 0 if none
  std::uint64_t m_hSenderInWork = 0;
  bool m_bAcceptArmed = true;
  bool m_bSignal = false;
  int m_nClosesKept = 0;  // close frames that came while their client's command was in work
  bool m_bStop = false;
};

EndpointServer::Impl::Impl(std::string_view strTitle)
    : m_objEpoll(Checked(epoll_create1(EPOLL_CLOEXEC), "epoll")),
      m_objListener(
          Checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket")) {
  const EndpointAddress objAddress = EndpointAddressOf(strTitle);
  const auto* pAddress = reinterpret_cast<const sockaddr*>(&objAddress.objAddress);
  if (bind(m_objListener.Get(), pAddress, objAddress.nLength) != 0) ThrowErrno("bind");
  if (listen(m_objListener.Get(), SOMAXCONN) != 0) ThrowErrno("listen");
  Arm(EPOLL_CTL_ADD, m_objListener.Get(), kListenerId, EPOLLIN | EPOLLONESHOT);
  Arm(EPOLL_CTL_ADD, m_objSignals.Fd(), kSignalId, EPOLLIN);
}

void EndpointServer::Impl::Arm(int nOperation, int nFd, std::uint64_t nId, std::uint32_t nEvents) {
  epoll_event objEvent{};
  objEvent.events = nEvents;
  objEvent.data.u64 = nId;
  if (epoll_ctl(m_objEpoll.Get(), nOperation, nFd, &objEvent) != 0) ThrowErrno("epoll");
}

void EndpointServer::Impl::ArmAgain(std::uint64_t nId) {
  Arm(EPOLL_CTL_MOD, m_arrConnections.at(nId).objFd.Get(), nId, EPOLLIN | EPOLLONESHOT);
}

void EndpointServer::Impl::Drop(std::uint64_t nId) { m_arrConnections.erase(nId); }

void EndpointServer::Impl::Run(Handler& objHandler) {
  while (!m_bStop) {
    WaitForFrames(m_arrQueue.empty() && m_nClosesKept == 0 ? -1 : 0);
    if (m_bSignal) {
      m_bSignal = false;
      objHandler.OnClose();
    } else if (m_nClosesKept > 0) {
      --m_nClosesKept;
      objHandler.OnClose();
    } else if (!m_arrQueue.empty()) {
      const std::uint64_t nId = m_arrQueue.front();
      m_arrQueue.pop_front();
      Serve(objHandler, nId);
    }
  }
}

void EndpointServer::Impl::WaitForFrames(int nTimeout) {
  if (!m_bAcceptArmed && m_arrConnections.size() < kMostConnections) {
    Arm(EPOLL_CTL_MOD, m_objListener.Get(), kListenerId, EPOLLIN | EPOLLONESHOT);
    m_bAcceptArmed = true;
  }
  std::array<epoll_event, 16> arrEvents;
  const int nEvents =
      epoll_wait(m_objEpoll.Get(), arrEvents.data(), static_cast<int>(arrEvents.size()), nTimeout);
  for (int i = 0; i < nEvents; ++i) {
    const std::uint64_t nId = arrEvents[static_cast<size_t>(i)].data.u64;
    if (nId == kListenerId) {
      Accept();
    } else if (nId == kSignalId) {
      m_bSignal = m_objSignals.Take() || m_bSignal;
    } else {
      ReadFrom(nId);
    }
  }
}

void EndpointServer::Impl::Accept() {
  m_bAcceptArmed = false;  // armed again by the next wait if there is room
  UniqueFd objFd(accept4(m_objListener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  if (!objFd) {
    const bool bNoRoom = errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS;
    if (bNoRoom) poll(nullptr, 0, kAcceptPause);  // the listener stays ready: no spinning
    return;
  }
  if (!PeerIsOurUser(objFd.Get())) return;
  const std::uint64_t nId = m_nNextId++;
  Arm(EPOLL_CTL_ADD, objFd.Get(), nId, EPOLLIN | EPOLLONESHOT);
  m_arrConnections[nId].objFd = std::move(objFd);
}

void EndpointServer::Impl::ReadFrom(std::uint64_t nId) {
  Connection& objClient = m_arrConnections.at(nId);
  switch (objClient.Read(objClient.objWaiting)) {
    case ReadResult::kFrame:
      m_arrQueue.push_back(nId);
      return;
    case ReadResult::kNeedMore:
      ArmAgain(nId);
      return;
    case ReadResult::kGone:
      Drop(nId);
      return;
  }
}

void EndpointServer::Impl::Serve(Handler& objHandler, std::uint64_t nId) {
  const Frame objFrame = std::move(m_arrConnections.at(nId).objWaiting);
  if (objFrame.eKind == FrameKind::kClose) {
    ArmAgain(nId);
    objHandler.OnClose();
    return;
  }
  if (objFrame.eKind == FrameKind::kCopyData) {
    ServeCommand(objHandler, nId, objFrame);
  } else {  // a kind that a client does not send here
    Drop(nId);
  }
}

void EndpointServer::Impl::ServeCommand(Handler& objHandler, std::uint64_t nId,
                                        const Frame& objFrame) {
  const std::span<const unsigned char> objPayload = objFrame.arrPayload;
  m_nInWork = nId;
  m_hSenderInWork = ReadLittleEndian<std::uint64_t>(objPayload, 4);
  const std::int32_t nResult = objHandler.OnCopyData(ReadLittleEndian<std::uint32_t>(objPayload, 0),
                                                     m_hSenderInWork, objPayload.subspan(12));
  m_nInWork = 0;
  const auto it = m_arrConnections.find(nId);
  if (it == m_arrConnections.end()) return;  // it went away during a notification
  std::vector<unsigned char> arrResult;
  AppendLittleEndian(arrResult, nResult);
  if (SendAll(it->second.objFd.Get(), BuildFrame(FrameKind::kResult, arrResult), kSendTimeout)) {
    ArmAgain(nId);
  } else {
    Drop(nId);
  }
}

// Waits for the answer of the client whose command is in work. Only that connection is read, and
// while it waits it may ask for a close, but not send a command.
std::optional<std::int64_t> EndpointServer::Impl::WaitForAnswer(Connection& objClient) {
  for (;;) {
    Frame objFrame;
    switch (objClient.Read(objFrame)) {
      case ReadResult::kGone:
        return std::nullopt;
      case ReadResult::kNeedMore: {
        pollfd objPoll{objClient.objFd.Get(), POLLIN, 0};
        poll(&objPoll, 1, -1);  // whatever it gives, the next read tells
        break;
      }
      case ReadResult::kFrame:
        if (objFrame.eKind == FrameKind::kNotifyResult) {
          return ReadLittleEndian<std::int64_t>(objFrame.arrPayload, 0);
        }
        if (objFrame.eKind != FrameKind::kClose) return std::nullopt;
        m_nClosesKept = 1;  // several ask for the same
        break;
    }
  }
}

EndpointServer::EndpointServer(std::string_view strTitle)
    : m_pImpl(std::make_unique<Impl>(strTitle)) {}

// The name is given up before the clients see the end, so that whoever waited for it can serve the
// same title at once.
EndpointServer::~EndpointServer() {
  m_pImpl->m_objListener.Reset();
  m_pImpl->m_arrConnections.clear();
}

void EndpointServer::Run(Handler& objHandler) { m_pImpl->Run(objHandler); }

void EndpointServer::Stop() { m_pImpl->m_bStop = true; }

std::int64_t EndpointServer::Notify(std::uint64_t hSender, std::uint32_t nMessage,
                                    std::span<const unsigned char> objBytes) {
  const std::uint64_t nId = m_pImpl->m_nInWork;
  const auto it = m_pImpl->m_arrConnections.find(nId);
  if (it == m_pImpl->m_arrConnections.end() || hSender != m_pImpl->m_hSenderInWork) return 0;
  std::vector<unsigned char> arrPayload;
  AppendLittleEndian(arrPayload, nMessage);
  arrPayload.insert(arrPayload.end(), objBytes.begin(), objBytes.end());
  std::optional<std::int64_t> nAnswer;
  if (SendAll(it->second.objFd.Get(), BuildFrame(FrameKind::kNotify, arrPayload), kSendTimeout)) {
    nAnswer = m_pImpl->WaitForAnswer(it->second);
  }
  if (!nAnswer) m_pImpl->Drop(nId);
  return nAnswer.value_or(0);
}

}  // namespace platform
