#include "mime/tree/DashRuns.h"

#include <algorithm>
#include <chrono>

#include "base/ByteSearch.h"

namespace mail {
namespace {

__extension__ typedef unsigned __int128 Wide;

constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;

// What the author of a mail cannot know: the time and where the process lies in memory.
std::uint64_t drawPlace() {
  static const char chSomewhere = 0;
  auto n = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
           static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&chSomewhere)) << 20;
  for (const std::uint64_t nFactor : {0xBF58476D1CE4E5B9U, 0x94D049BB133111EBU}) {
    n = (n ^ (n >> 30)) * nFactor;
  }
  return (n >> 4) + 256;
}

}  // namespace

std::vector<DashRun> findDashRuns(std::string_view strText) {
  std::vector<DashRun> arrRuns;
  std::size_t n = 0;
  while ((n = byte_search::findPair(strText, '-', '-', n)) != byte_search::npos) {
    const std::size_t nEnd = std::min(strText.find_first_not_of('-', n), strText.size());
    arrRuns.push_back({n, nEnd});
    n = nEnd;
  }
  return arrRuns;
}

std::uint64_t FrontHash::prepend(std::string_view strFront, std::uint64_t nHash) {
  static const std::uint64_t nPlace = drawPlace();
  for (std::size_t n = strFront.size(); n-- > 0;) {
    const Wide nProduct = static_cast<Wide>(nHash) * nPlace;
    nHash = static_cast<std::uint64_t>(nProduct & kPrime) +
            static_cast<std::uint64_t>(nProduct >> 61) + static_cast<unsigned char>(strFront[n]) +
            1;
    nHash = (nHash & kPrime) + (nHash >> 61);
    if (nHash >= kPrime) nHash -= kPrime;
  }
  return nHash;
}

}  // namespace mail
