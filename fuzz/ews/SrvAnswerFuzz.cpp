#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <tuple>

#include "ews/SrvRecords.h"

// An answer of the name service: no more records than could stand in it, each with a host, in the
// order of their priorities.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  constexpr size_t kLeastRecord = 12 + 6;  // a record's header, and what stands before its host
  const auto records = ews::ReadSrvAnswer({data, size});
  const auto before = [](const ews::SrvRecord& a, const ews::SrvRecord& b) {
    return std::tuple(a.nPriority, b.nWeight) < std::tuple(b.nPriority, a.nWeight);
  };
  if (records.size() > size / kLeastRecord) std::abort();
  if (!std::is_sorted(records.begin(), records.end(), before)) std::abort();
  for (const ews::SrvRecord& record : records) {
    if (record.strHost.empty() || record.strHost == ".") std::abort();
  }
  return 0;
}
