#include "ews/SrvRecords.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <tuple>

#include <arpa/nameser.h>
#include <netdb.h>
#include <netinet/in.h>
#include <resolv.h>

#include "ews/ServiceException.h"

namespace ews {
namespace {

constexpr size_t kMaxAnswerBytes = 4096;  // more is cut off: no answer over TCP is waited for
constexpr int kTries = 2;
constexpr size_t kFixedBytes = 6;  // of a record, in front of its host

std::uint16_t Number(const unsigned char* p) {
  return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}

std::optional<SrvRecord> ReadRecord(const ns_msg& objMessage, const ns_rr& objRecord) {
  if (ns_rr_type(objRecord) != ns_t_srv || ns_rr_rdlen(objRecord) <= kFixedBytes) return {};
  const unsigned char* pData = ns_rr_rdata(objRecord);
  std::array<char, NS_MAXDNAME> szHost{};
  const int nRead = dn_expand(ns_msg_base(objMessage), ns_msg_end(objMessage), pData + kFixedBytes,
                              szHost.data(), static_cast<int>(szHost.size()));
  if (nRead < 0 || szHost[0] == '\0') return {};
  return SrvRecord{szHost.data(), Number(pData + 4), Number(pData), Number(pData + 2)};
}

// The state that the look-ups of one call share.
class Resolver {
 public:
  Resolver(std::chrono::milliseconds nLimit, const sockaddr_in* pServer) {
    if (res_ninit(&m_objState) != 0) {
      throw ServiceException("The request failed. The name service cannot be used here.");
    }
    if (pServer) {
      m_objState.nscount = 1;
      m_objState.nsaddr_list[0] = *pServer;
    }
    // Every server is asked kTries times; only datagrams keep to the time.
    const auto nSeconds = std::chrono::duration_cast<std::chrono::seconds>(nLimit).count();
    m_objState.retry = kTries;
    m_objState.retrans =
        std::max(1, static_cast<int>(nSeconds) / (kTries * std::max(m_objState.nscount, 1)));
    m_objState.options |= RES_IGNTC;
    m_objState.options &= ~static_cast<unsigned long>(RES_USEVC);
  }
  ~Resolver() { res_nclose(&m_objState); }
  Resolver(const Resolver&) = delete;
  Resolver& operator=(const Resolver&) = delete;

  // The bytes of the answer, or none.
  std::span<const unsigned char> Query(const std::string& strName) {
    const int n = res_nquery(&m_objState, strName.c_str(), ns_c_in, ns_t_srv, m_arrAnswer.data(),
                             static_cast<int>(m_arrAnswer.size()));
    if (n < 0) return {};
    return std::span(m_arrAnswer).first(std::min(static_cast<size_t>(n), m_arrAnswer.size()));
  }
  // After a query without an answer: true if nobody has said that there is no such record.
  bool MayPass() const { return m_objState.res_h_errno == TRY_AGAIN; }

 private:
  struct __res_state m_objState {};
  std::array<unsigned char, kMaxAnswerBytes> m_arrAnswer{};
};

}  // namespace

std::vector<SrvRecord> ReadSrvAnswer(std::span<const unsigned char> objAnswer) {
  ns_msg objMessage{};
  if (objAnswer.size() > kMaxAnswerBytes ||
      ns_initparse(objAnswer.data(), static_cast<int>(objAnswer.size()), &objMessage) != 0) {
    return {};
  }
  std::vector<SrvRecord> arrRecords;
  for (int i = 0; i < ns_msg_count(objMessage, ns_s_an); ++i) {
    ns_rr objRecord{};
    if (ns_parserr(&objMessage, ns_s_an, i, &objRecord) != 0) break;
    if (auto obj = ReadRecord(objMessage, objRecord)) arrRecords.push_back(std::move(*obj));
  }
  std::stable_sort(arrRecords.begin(), arrRecords.end(), [](const auto& a, const auto& b) {
    return std::tuple(a.nPriority, b.nWeight) < std::tuple(b.nPriority, a.nWeight);
  });
  return arrRecords;
}

std::vector<SrvRecord> QuerySrv(const std::string& strName, std::chrono::milliseconds nLimit,
                                const sockaddr_in* pServer) {
  const auto pResolver = std::make_unique<Resolver>(nLimit, pServer);
  const auto objAnswer = pResolver->Query(strName);
  if (objAnswer.empty() && pResolver->MayPass()) {
    Failure objFailure;
    objFailure.bOutage = true;
    throw ServiceException("The request failed. No name server answered for " + strName + ".",
                           objFailure);
  }
  std::vector<SrvRecord> arrRecords = ReadSrvAnswer(objAnswer);
  if (arrRecords.empty()) {
    throw ServiceException("The name service knows no server by " + strName + ".");
  }
  return arrRecords;
}

}  // namespace ews
