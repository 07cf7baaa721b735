#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct sockaddr_in;

// Where the name service says that a domain's services are.
namespace ews {

struct SrvRecord {
  std::string strHost;  // as the answer spells it, without the dot at its end; no checked name
  std::uint16_t nPort = 0;
  std::uint16_t nPriority = 0;  // the lowest first
  std::uint16_t nWeight = 0;    // the highest first among equals
};

// The records of an answer in the order in which they are to be tried; none for what is no answer.
// One that says that there is no such service (a root for a host) is left out.
std::vector<SrvRecord> ReadSrvAnswer(std::span<const unsigned char> objAnswer);

// Asks the system's name servers for such a name as "_service._tcp.example.com", or the one given.
// Takes about nLimit at most, and two seconds for each of its servers at least. Throws
// ServiceException when there is no answer (an outage) or no record in it.
std::vector<SrvRecord> QuerySrv(const std::string& strName, std::chrono::milliseconds nLimit,
                                const sockaddr_in* pServer = nullptr);

}  // namespace ews
