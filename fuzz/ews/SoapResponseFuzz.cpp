#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "ews/SoapReader.h"

// Any bytes may come from a server. What is read out of them is never more than what was there, and
// a wait that a server asks for stays within its bound.

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void CheckBackOff(const std::optional<std::chrono::milliseconds>& backOff) {
  if (backOff) Require(backOff->count() >= 0 && *backOff <= ews::kMaxBackOff);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string_view xml(reinterpret_cast<const char*>(data), size);
  const auto response = ews::ReadSoapResponse(xml);
  if (!response) return 0;
  // Conversion to UTF-8 makes at most three bytes of one.
  const size_t most = size * 3;
  size_t total = 0;
  for (const auto& message : response->arrMessages) {
    total += message.strText.size() + message.strCode.size();
    for (const auto& folder : message.arrFolders) total += folder.strDisplayName.size();
    for (const auto& id : message.arrAttachmentIds) total += id.size();
    for (const auto& item : message.arrItems) {
      total += item.strClass.size() + item.strSubject.size();
      for (const auto& property : item.arrProperties) total += property.strValue.size();
    }
    Require(message.nTotalItemsInView >= 0);
    CheckBackOff(message.nBackOff);
  }
  Require(total <= most);
  if (response->objFault) {
    Require(response->arrMessages.empty());
    CheckBackOff(response->objFault->nBackOff);
  }
  return 0;
}
