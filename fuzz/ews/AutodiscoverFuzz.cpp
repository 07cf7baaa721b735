#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "ews/PoxMessages.h"
#include "ews/Url.h"

// The answer of an autodiscovery server, and the address that it names: an address that is accepted
// has a host and resolves to itself.

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void CheckUrl(std::string_view text) {
  const auto url = ews::ParseUrl(text);
  if (!url) return;
  Require(url->strScheme == "http" || url->strScheme == "https");
  Require(!url->strHost.empty());
  Require(url->strHost.find('@') == std::string::npos);
  const std::string resolved = ews::ResolveUrl("https://example.com/a/b", text);
  if (resolved.empty()) return;
  const auto again = ews::ParseUrl(resolved);
  Require(again.has_value() && again->strHost == url->strHost);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const ews::PoxAnswer answer = ews::ReadPoxAnswer(text);
  Require(!answer.strValue.empty());
  CheckUrl(answer.strValue);
  CheckUrl(text);
  return 0;
}
